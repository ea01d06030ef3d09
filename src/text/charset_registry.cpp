#include "text/charset_registry.h"

#include "core/wide_text.h"
#include "lang/exception.h"
#include "lang/library.h"
#include "lang/mutex.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <optional>

namespace ZVCL {

namespace {

struct AliasRow {
    const char16_t* name;
    const char16_t* charToByteClass;
    const char16_t* byteToCharClass;
};

// The order tells which class serves a name that stands twice: the first row wins.
constexpr AliasRow kAliases[] = {
    {u"ASCII", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"ANSI_X3.4-1968", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"ISO-IR-6", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"ANSI_X3.4-1986", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"ISO_646.IRV:1991", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"ASCII", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"ISO646-US", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"US-ASCII", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"US", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"IBM367", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"CP367", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"CSASCII", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"646", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"DEFAULT", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"ASCII7", u"CZvCTBASCII", u"CZvBTCASCII"},
    {u"ISO8859_1", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"ISO_8859-1:1987", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"ISO-IR-100", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"ISO_8859-1", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"ISO-8859-1", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"LATIN1", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"L1", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"IBM819", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"CP819", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"CSISOLATIN1", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"8859_1", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"ISO_8859-1:1978", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"IBM-819", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"819", u"CZvCTBISO8859_1", u"CZvBTCISO8859_1"},
    {u"CP437", u"CZvCTBCP437", u"CZvBTCCP437"},
    {u"IBM437", u"CZvCTBCP437", u"CZvBTCCP437"},
    {u"437", u"CZvCTBCP437", u"CZvBTCCP437"},
    {u"CSPC8CODEPAGE437", u"CZvCTBCP437", u"CZvBTCCP437"},
    {u"IBM-437", u"CZvCTBCP437", u"CZvBTCCP437"},
    {u"CP1252", u"CZvCTBCP1252", u"CZvBTCCP1252"},
    {u"WINDOWS-1252", u"CZvCTBCP1252", u"CZvBTCCP1252"},
    {u"UTF-8", u"CZvCTBUTF8", u"CZvBTCUTF8"},
    {u"UTF8", u"CZvCTBUTF8", u"CZvBTCUTF8"},
    {u"UTF_8", u"CZvCTBUTF8", u"CZvBTCUTF8"},
    {u"UTF-16LE", u"CZvCTBUTF16LE", u"CZvBTCUTF16LE"},
    {u"UTF-16BE", u"CZvCTBUTF16BE", u"CZvBTCUTF16BE"},
    {u"UTF-32BE", u"CZvCTBUTF32BE", u"CZvBTCUTF32BE"},
    {u"UTF-32LE", u"CZvCTBUTF32LE", u"CZvBTCUTF32LE"},
    {nullptr, nullptr, nullptr},
};

// The one registry, or null; changed under the global lock. Release and acquire make the empty
// registry's construction visible to whoever meets the pointer outside it.
constinit std::atomic<CZvCharsetRegistry*> theRegistry{nullptr};

constexpr int foldAscii(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? unit - 0x20 : unit;
}

auto lowerBound(const std::vector<CZvCharsetRegistry::Entry>& entries, const char16_t* name) {
    return std::lower_bound(entries.begin(), entries.end(), name,
                            [](const CZvCharsetRegistry::Entry& entry, const char16_t* sought) {
                                return compareCharsetNames(entry.name, sought) < 0;
                            });
}

ZvRef<CZvObject> newInstance(const CZvCharsetRegistry::Entry& entry, ConverterDirection direction) {
    const ZvRef<CZvClass>& converterClass =
        direction == ConverterDirection::charToByte ? entry.charToByte : entry.byteToChar;
    return ZvRef<CZvObject>::share(converterClass->newInstance());
}

} // namespace

int compareCharsetNames(const char16_t* left, const char16_t* right) noexcept {
    for (;; ++left, ++right) {
        const int difference = foldAscii(*left) - foldAscii(*right);
        if (difference != 0 || *left == 0)
            return difference;
    }
}

CZvCharsetRegistry::CZvCharsetRegistry() {
    sorted.reserve(std::size(kAliases));
}

CZvCharsetRegistry& CZvCharsetRegistry::instance() {
    CZvCharsetRegistry* registry = theRegistry.load(std::memory_order_acquire);
    if (registry == nullptr) {
        if (g_pGlobalLock == nullptr)
            throw EZvIllegalState();
        const LockHold hold(*g_pGlobalLock);
        registry = theRegistry.load(std::memory_order_relaxed);
        if (registry == nullptr) {
            registry = new CZvCharsetRegistry;
            theRegistry.store(registry, std::memory_order_release);
        }
    }
    return *registry;
}

void CZvCharsetRegistry::insert(const char16_t* name, const char16_t* charToByteClass,
                                const char16_t* byteToCharClass) {
    const auto place = lowerBound(sorted, name);
    if (place != sorted.end() && compareCharsetNames(place->name, name) == 0)
        return;
    sorted.insert(
        place, Entry{name, CZvClass::forName(charToByteClass), CZvClass::forName(byteToCharClass)});
}

const CZvCharsetRegistry::Entry* CZvCharsetRegistry::find(const char16_t* name) const noexcept {
    const auto place = lowerBound(sorted, name);
    if (place == sorted.end() || compareCharsetNames(place->name, name) != 0)
        return nullptr;
    return &*place;
}

ZvRef<CZvObject> CZvCharsetRegistry::createConverter(const char16_t* name,
                                                     ConverterDirection direction) const {
    const Entry* entry = find(name);
    return entry != nullptr ? newInstance(*entry, direction)
                            : createExternalConverter(name, direction);
}

ZvRef<CZvObject> CZvCharsetRegistry::createCodePageConverter(std::uint32_t codePage,
                                                             ConverterDirection direction) {
    char16_t name[40] = u"CP";
    zv::core::_ltow(static_cast<long>(codePage), name + 2, 10);
    const Entry* entry = find(name);
    return entry != nullptr ? newInstance(*entry, direction)
                            : codePageComponent.createConverter(codePage, name, direction);
}

void createCharsetRegistry() {
    CZvCharsetRegistry& registry = CZvCharsetRegistry::instance();
    for (const AliasRow* row = kAliases; row->name != nullptr; ++row)
        registry.insert(row->name, row->charToByteClass, row->byteToCharClass);
}

void destroyCharsetRegistry() noexcept {
    if (theRegistry.load(std::memory_order_acquire) == nullptr)
        return;
    std::optional<LockHold> hold;
    try {
        if (g_pGlobalLock != nullptr)
            hold.emplace(*g_pGlobalLock);
    } catch (...) {
        // A lock that fails keeps nobody out, and the registry must not outlive the class table.
    }
    delete theRegistry.exchange(nullptr, std::memory_order_acq_rel);
}

} // namespace ZVCL
