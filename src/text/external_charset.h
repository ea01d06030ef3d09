// Converters for charsets that the registry does not know, made from codec components: in-process
// servers that the system's registry has under "Zentrova.CharCodec." and the charset's name
// (docs/codec-components.md).
#ifndef ZVSUPPORT_TEXT_EXTERNAL_CHARSET_H
#define ZVSUPPORT_TEXT_EXTERNAL_CHARSET_H

#include "core/guid.h"
#include "lang/object.h"
#include "lang/ref.h"
#include "text/converter_direction.h"

#include <atomic>
#include <cstdint>

namespace ZVCL {

// A new converter around the codec component for `name`, which is looked for as it is given, at
// every call. Throws EZvUnknownEncoding, with the name as its message, when there is no such
// component or it cannot be created; EZvResultException with the code of a component that refuses
// to tell its name or its factors. Any thread.
ZvRef<CZvObject> createExternalConverter(const char16_t* name, ConverterDirection direction);

// The codec component of a code page. Every conversion in the default charset asks for it, mostly
// in vain, so what the system's registry said is trusted for a moment: until this process sets a
// value there, or else for kTrustedTime, so that a component which another process has registered
// meanwhile is found soon.
//
// Any thread. Nobody waits: who meets another thread at the memory searches the registry.
class CodePageComponent {
public:
    static constexpr std::uint32_t kTrustedTime = 100; // milliseconds

    // As createExternalConverter with the page's charset name, but null when there is no component
    // or it cannot be created.
    ZvRef<CZvObject> createConverter(std::uint32_t codePage, const char16_t* name,
                                     ConverterDirection direction);

private:
    // What was found for a code page, and when.
    struct Finding {
        bool valid = false;
        bool served = false;
        std::uint32_t codePage = 0;
        std::uint32_t registryChanges = 0;
        std::uint32_t time = 0;
        zv::core::Guid clsid = {}; // where served
    };

    Finding recall(std::uint32_t codePage) noexcept; // not valid: nothing to be trusted
    void keep(const Finding& finding) noexcept;

    std::atomic_flag taken; // guards last
    Finding last;
};

} // namespace ZVCL

#endif
