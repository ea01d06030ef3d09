// A codec component: it teaches the library the charset CESU-8, the form of UTF-8 in which a
// character beyond the 16-bit range is written as its two surrogate halves, three bytes each.
//
// docs/codec-components.md tells how to build and to register it.
#include "zvsupport/char_codec.h"

#include <atomic>
#include <cstring>
#include <new>

namespace {

using namespace zvsupport;

// {8C3E6A52-4F0B-4B7E-9D61-2A7C5E90B314}: this codec's class. Every component makes its own.
constexpr ZvGuid kClassId = {
    0x8C3E6A52, 0x4F0B, 0x4B7E, {0x9D, 0x61, 0x2A, 0x7C, 0x5E, 0x90, 0xB3, 0x14}};

// A UTF-16 unit has the bits 1110xxxx 10xxxxxx 10xxxxxx, in fewer bytes where the upper ones are
// all zero.
std::int32_t encodeUnit(std::uint32_t unit, std::uint8_t* to) {
    if (unit < 0x80) {
        to[0] = static_cast<std::uint8_t>(unit);
        return 1;
    }
    if (unit < 0x800) {
        to[0] = static_cast<std::uint8_t>(0xC0 | unit >> 6);
        to[1] = static_cast<std::uint8_t>(0x80 | (unit & 0x3F));
        return 2;
    }
    to[0] = static_cast<std::uint8_t>(0xE0 | unit >> 12);
    to[1] = static_cast<std::uint8_t>(0x80 | (unit >> 6 & 0x3F));
    to[2] = static_cast<std::uint8_t>(0x80 | (unit & 0x3F));
    return 3;
}

// Answers how many bytes the unit takes: 0 when it goes on behind the end, -1 when it is malformed.
std::int32_t decodeUnit(const std::uint8_t* from, std::int32_t count, std::uint32_t& unit) {
    const std::uint8_t first = from[0];
    if (first < 0x80) {
        unit = first;
        return 1;
    }
    const std::int32_t length = first >= 0xC2 && first <= 0xDF ? 2 : (first & 0xF0) == 0xE0 ? 3 : 0;
    if (length == 0)
        return -1;
    unit = length == 2 ? first & 0x1Fu : first & 0x0Fu;
    for (std::int32_t i = 1; i < length; ++i) {
        if (i == count)
            return 0;
        if ((from[i] & 0xC0) != 0x80)
            return -1;
        unit = unit << 6 | (from[i] & 0x3Fu);
        if (first == 0xE0 && unit < 0x20) // there is a shorter form
            return -1;
    }
    return length;
}

bool isLead(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isTrail(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

template <typename Buffer, typename Unit>
ResultCode append(Buffer* buffer, const Unit* units, std::int32_t count) {
    const std::int32_t before = buffer->GetLength();
    Unit* to = nullptr;
    const ResultCode code = buffer->LockWrite(before + count, &to);
    if (code < 0)
        return code;
    std::memcpy(to + before, units, static_cast<std::size_t>(count) * sizeof(Unit));
    return buffer->UnlockWrite(before + count);
}

class Codec final : public IZvCharCodec {
public:
    ResultCode ZV_STDCALL QueryInterface(const ZvGuid& iid, void** object) override {
        const bool known = iid == kIZvUnknownId || iid == kIZvCharCodecId;
        *object = known ? this : nullptr;
        if (!known)
            return kNoInterface;
        AddRef();
        return kOk;
    }
    std::uint32_t ZV_STDCALL AddRef() override { return ++references; }
    std::uint32_t ZV_STDCALL Release() override {
        const std::uint32_t left = --references;
        if (left == 0)
            delete this;
        return left;
    }

    ResultCode ZV_STDCALL GetName(IZvCharBuffer* nameBuffer) override {
        return append(nameBuffer, u"CESU-8", 6);
    }
    // A pair of surrogate halves is two characters and six bytes.
    ResultCode ZV_STDCALL GetMaxBytesPerChar(std::int32_t* value) override {
        *value = 3;
        return kOk;
    }
    ResultCode ZV_STDCALL GetMaxCharsPerByte(std::int32_t* value) override {
        *value = 1;
        return kOk;
    }

    ResultCode ZV_STDCALL DecodeChar(const std::uint8_t* input, std::int32_t* inOutCount,
                                     std::uint32_t* codePoint) override {
        const std::int32_t available = *inOutCount;
        std::uint32_t unit = 0;
        const std::int32_t length = decodeUnit(input, available, unit);
        if (length <= 0) {
            *inOutCount = length == 0 ? 0 : 1; // to be continued, or one byte that means nothing
            return kOk;
        }
        *inOutCount = length;
        if (isTrail(unit))
            return kOk; // half of nothing
        if (!isLead(unit)) {
            *codePoint = unit;
            return kOk;
        }
        std::uint32_t trail = 0;
        const std::int32_t more =
            length < available ? decodeUnit(input + length, available - length, trail) : 0;
        if (more == 0) {
            *inOutCount = 0;
        } else if (more == 3 && isTrail(trail)) {
            *inOutCount = length + more;
            *codePoint = 0x10000 + ((unit - 0xD800) << 10) + (trail - 0xDC00);
        }
        return kOk;
    }

    ResultCode ZV_STDCALL EncodeChar(std::uint32_t codePoint, IZvByteBuffer* buffer) override {
        if (isLead(codePoint) || isTrail(codePoint))
            return kFail;
        std::uint8_t bytes[6];
        std::int32_t count = 0;
        if (codePoint > 0xFFFF) {
            count = encodeUnit(0xD800 + ((codePoint - 0x10000) >> 10), bytes);
            codePoint = 0xDC00 + (codePoint & 0x3FF);
        }
        count += encodeUnit(codePoint, bytes + count);
        return append(buffer, bytes, count);
    }

private:
    ~Codec() = default;

    std::atomic<std::uint32_t> references{1};
};

// It lives as long as the server is loaded, so its references need no counting.
class CodecClass final : public IClassFactory {
public:
    ResultCode ZV_STDCALL QueryInterface(const ZvGuid& iid, void** object) override {
        const bool known = iid == kIZvUnknownId || iid == kIClassFactoryId;
        *object = known ? this : nullptr;
        return known ? kOk : kNoInterface;
    }
    std::uint32_t ZV_STDCALL AddRef() override { return 2; }
    std::uint32_t ZV_STDCALL Release() override { return 1; }

    ResultCode ZV_STDCALL CreateInstance(IZvUnknown* outer, const ZvGuid& iid,
                                         void** object) override {
        *object = nullptr;
        if (outer != nullptr)
            return kNoAggregation;
        try {
            Codec* codec = new Codec;
            const ResultCode code = codec->QueryInterface(iid, object);
            codec->Release();
            return code;
        } catch (const std::bad_alloc&) {
            return kOutOfMemory;
        }
    }
    ResultCode ZV_STDCALL LockServer(std::int32_t) override { return kNotImplemented; }
};

CodecClass codecClass;

} // namespace

ZV_ENTRY_POINT ResultCode ZV_STDCALL DllGetClassObject(const ZvGuid& clsid, const ZvGuid& iid,
                                                       void** object) {
    *object = nullptr;
    return clsid == kClassId ? codecClass.QueryInterface(iid, object) : kClassNotAvailable;
}
