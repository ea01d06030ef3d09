// Any bytes as the text of a registry file: the first writing of what was read settles it, nothing
// that did not load is lost, and a value that may be set reads back and moves no other.
#include "core/registry/ini_text.h"

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace zv::core;

void expect(bool condition) {
    if (!condition)
        std::abort();
}

bool sameEntries(const IniTable& left, const IniTable& right) {
    if (left.entryCount() != right.entryCount() ||
        left.sections().size() != right.sections().size())
        return false;
    for (const auto& [name, section] : left.sections()) {
        if (right.findSection(name) == nullptr)
            return false;
        for (const IniEntry::Pointer& entry : section.keys) {
            const IniEntry* other = right.find(name, entry->key());
            if (other == nullptr || other->key() != entry->key() ||
                other->value() != entry->value())
                return false;
        }
    }
    return true;
}

} // namespace

// A code page with bytes that are no text.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::setlocale(LC_ALL, "C.UTF-8");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    // The first two bytes choose a key and a value from what follows.
    const std::string_view text(reinterpret_cast<const char*>(data) + 2, size - 2);
    IniTable table;
    table.parse(text);
    const std::string written = table.write();
    IniTable again;
    again.parse(written);
    expect(sameEntries(table, again));
    expect(again.write() == written);
    // From a malformed section on every byte is kept.
    const std::size_t last = text.rfind("\n[");
    if (last != std::string_view::npos && text.find(']', last) == std::string_view::npos &&
        text.find_first_of("=\n", last + 1) == std::string_view::npos)
        expect(written.ends_with(text.substr(last + 1)));

    const std::u16string key = widen(text.substr(0, data[0] % 16));
    const std::u16string value = widen(text.substr(text.size() - data[1] % 16 % (text.size() + 1)));
    const std::u16string section =
        table.sections().empty() ? u"s" : table.sections().begin()->first;
    if (IniTable::checkSection(section) < 0 || IniTable::checkEntry(key, value) < 0 ||
        table.checkNeighbours(section, key) < 0)
        return 0;
    const std::size_t before = table.entryCount();
    const bool known = table.find(section, key) != nullptr;
    table.set(section, IniEntry::make(key, value));
    expect(table.entryCount() == before + (known ? 0 : 1));
    again.parse(table.write());
    expect(again.entryCount() == table.entryCount());
    return 0;
}
