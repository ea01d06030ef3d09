#include "text/external_charset.h"

#include "core/com/components.h"
#include "core/registry/native_reg_key.h"
#include "lang/exception.h"
#include "lang/string.h"
#include "platform/win32.h"
#include "text/com_converters.h"

#include <string>

namespace ZVCL {

namespace {

using zv::core::Guid;

ResultCode findCodecClass(const char16_t* name, Guid& clsid) {
    const std::u16string component = std::u16string(u"Zentrova.CharCodec.") + name;
    return zv::core::ClsidFromProgId(component.c_str(), clsid);
}

ResultCode createCodec(const Guid& clsid, ZvRef<IZvCharCodec>& codec) {
    void* object = nullptr;
    const ResultCode code = zv::core::CreateInstance(clsid, nullptr, IZvCharCodec::kIid, &object);
    codec = ZvRef<IZvCharCodec>::adopt(static_cast<IZvCharCodec*>(object));
    return code;
}

ZvRef<CZvObject> makeConverter(IZvCharCodec* codec, ConverterDirection direction) {
    if (direction == ConverterDirection::charToByte)
        return makeRef<CZvCTBCom>(codec);
    return makeRef<CZvBTCCom>(codec);
}

} // namespace

ZvRef<CZvObject> createExternalConverter(const char16_t* name, ConverterDirection direction) {
    Guid clsid{};
    ZvRef<IZvCharCodec> codec;
    if (findCodecClass(name, clsid) < 0 || createCodec(clsid, codec) < 0)
        throw EZvUnknownEncoding(CZvString(name));
    return makeConverter(codec.get(), direction);
}

ZvRef<CZvObject> CodePageComponent::createConverter(std::uint32_t codePage, const char16_t* name,
                                                    ConverterDirection direction) {
    Finding found = recall(codePage);
    ResultCode code = zv::core::kOk;
    const bool remembered = found.valid;
    if (!remembered) {
        // Counted before the search: a change that comes during it may have been missed.
        found.registryChanges = zv::core::NativeRegChanges();
        found.time = GetTickCount();
        found.codePage = codePage;
        code = findCodecClass(name, found.clsid);
        found.served = code >= 0;
    }
    ZvRef<IZvCharCodec> codec;
    if (found.served)
        code = createCodec(found.clsid, codec);
    found.served = bool(codec);
    // Want of memory says nothing about the component.
    if ((!remembered || code < 0) && code != zv::core::kOutOfMemory) {
        found.valid = true;
        keep(found);
    }
    return codec ? makeConverter(codec.get(), direction) : nullptr;
}

CodePageComponent::Finding CodePageComponent::recall(std::uint32_t codePage) noexcept {
    if (taken.test_and_set(std::memory_order_acquire))
        return {};
    Finding found = last;
    taken.clear(std::memory_order_release);
    found.valid = found.valid && found.codePage == codePage &&
                  found.registryChanges == zv::core::NativeRegChanges() &&
                  GetTickCount() - found.time < kTrustedTime;
    return found;
}

void CodePageComponent::keep(const Finding& finding) noexcept {
    if (taken.test_and_set(std::memory_order_acquire))
        return;
    last = finding;
    taken.clear(std::memory_order_release);
}

} // namespace ZVCL
