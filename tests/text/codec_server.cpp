#include "text/codec_server.h"

#include <atomic>
#include <limits>

namespace zv::test {
namespace {

using namespace zvsupport;

template <typename Buffer, typename Unit>
ResultCode append(Buffer* buffer, const Unit* units, std::int32_t count) {
    const std::int32_t before = buffer->GetLength();
    Unit* to = nullptr;
    const ResultCode code = buffer->LockWrite(before + count, &to);
    if (code < 0)
        return code;
    for (std::int32_t i = 0; i < count; ++i)
        to[before + i] = units[i];
    return buffer->UnlockWrite(before + count);
}

class Codec final : public IZvCharCodec {
public:
    explicit Codec(WrongCodec which) : which(which) {}

    ResultCode ZV_STDCALL QueryInterface(const ZvGuid& iid, void** object) override {
        const bool known =
            iid == kIZvUnknownId || (iid == kIZvCharCodecId && which != WrongCodec::NotACodec);
        *object = known ? this : nullptr;
        if (known)
            AddRef();
        return known ? kOk : kNoInterface;
    }
    std::uint32_t ZV_STDCALL AddRef() override { return ++references; }
    std::uint32_t ZV_STDCALL Release() override {
        const std::uint32_t left = --references;
        if (left == 0)
            delete this;
        return left;
    }

    ResultCode ZV_STDCALL GetName(IZvCharBuffer* nameBuffer) override {
        if (which == WrongCodec::ThrowsName)
            throw 1;
        if (which == WrongCodec::NamesNothing)
            return kOk;
        const ResultCode code = append(nameBuffer, u"X-WRONG", 7);
        return which == WrongCodec::RefusesName ? kRefusal : code;
    }
    ResultCode ZV_STDCALL GetMaxBytesPerChar(std::int32_t* value) override {
        *value = factor();
        return which == WrongCodec::RefusesBytesPerChar ? kRefusal : kOk;
    }
    ResultCode ZV_STDCALL GetMaxCharsPerByte(std::int32_t* value) override {
        *value = factor();
        return which == WrongCodec::RefusesCharsPerByte ? kRefusal : kOk;
    }

    ResultCode ZV_STDCALL DecodeChar(const std::uint8_t* input, std::int32_t* inOutCount,
                                     std::uint32_t* codePoint) override {
        const std::int32_t available = *inOutCount;
        const std::uint8_t byte = input[0];
        if (which != WrongCodec::Misbehaves || byte < 'A' || byte > 'T') {
            *inOutCount = 1;
            *codePoint = byte;
            return kOk;
        }
        if (byte == 'T')
            throw 1;
        if (byte == 'C')
            return kOk;
        *inOutCount = byte == 'A' ? available + 1 : byte == 'B' ? -1 : byte == 'G' ? 0 : 1;
        *codePoint = byte == 'D' ? 0xD800u : byte == 'E' ? 0x110000u : byte;
        return byte == 'F' ? kFail : kOk;
    }

    ResultCode ZV_STDCALL EncodeChar(std::uint32_t codePoint, IZvByteBuffer* buffer) override {
        if (codePoint > 0xFF)
            return kFail;
        const auto byte = static_cast<std::uint8_t>(codePoint);
        std::uint8_t* to = nullptr;
        if (which == WrongCodec::Misbehaves) {
            switch (byte) {
            case 'A':
                return append(buffer, reinterpret_cast<const std::uint8_t*>("sevenal"), 7);
            case 'B':
                append(buffer, &byte, 1);
                buffer->UnlockWrite(std::numeric_limits<std::int32_t>::max());
                buffer->UnlockWrite(0);
                return kOk;
            case 'C':
                if (buffer->LockWrite(4, &to) == kOk)
                    to[0] = byte;
                return kOk;
            case 'D':
                buffer->LockWrite(std::numeric_limits<std::int32_t>::max(), &to);
                return kOk;
            case 'E':
                append(buffer, &byte, 1);
                return kFail;
            case 'F':
                kept = buffer;
                kept->AddRef();
                break;
            case 'G':
                append(kept, reinterpret_cast<const std::uint8_t*>("zzz"), 3);
                kept->Release();
                kept = nullptr;
                break;
            case 'H':
                buffer->LockWrite(-5, &to);
                buffer->UnlockWrite(-5);
                return kOk;
            case 'T':
                throw 1;
            }
        }
        return append(buffer, &byte, 1);
    }

private:
    ~Codec() {
        if (kept != nullptr)
            kept->Release();
    }

    std::int32_t factor() const {
        return which == WrongCodec::FactorsZero       ? 0
               : which == WrongCodec::FactorsNegative ? -3
               : which == WrongCodec::FactorsHuge     ? std::numeric_limits<std::int32_t>::max()
                                                      : 2;
    }

    const WrongCodec which;
    IZvByteBuffer* kept = nullptr;
    std::atomic<std::uint32_t> references{1};
};

class ClassObject final : public IClassFactory {
public:
    ResultCode ZV_STDCALL QueryInterface(const ZvGuid& iid, void** object) override {
        const bool known = iid == kIZvUnknownId || iid == kIClassFactoryId;
        *object = known ? this : nullptr;
        return known ? kOk : kNoInterface;
    }
    std::uint32_t ZV_STDCALL AddRef() override { return 2; }
    std::uint32_t ZV_STDCALL Release() override { return 1; }

    ResultCode ZV_STDCALL CreateInstance(IZvUnknown*, const ZvGuid& iid, void** object) override {
        *object = nullptr;
        if (which == WrongCodec::NotCreated)
            return kOutOfMemory;
        if (which == WrongCodec::ThrowsAtBirth)
            throw 1;
        Codec* codec = new Codec(which);
        const ResultCode code = codec->QueryInterface(iid, object);
        codec->Release();
        return code;
    }
    ResultCode ZV_STDCALL LockServer(std::int32_t) override { return kNotImplemented; }

    WrongCodec which = WrongCodec::Unserved;
};

constexpr std::uint8_t kLast = static_cast<std::uint8_t>(WrongCodec::Misbehaves);
ClassObject classObjects[kLast + 1];

} // namespace
} // namespace zv::test

ZV_ENTRY_POINT zvsupport::ResultCode ZV_STDCALL DllGetClassObject(const zvsupport::ZvGuid& clsid,
                                                                  const zvsupport::ZvGuid& iid,
                                                                  void** object) {
    using namespace zv::test;
    *object = nullptr;
    for (std::uint8_t i = 1; i <= kLast; ++i) {
        const auto which = static_cast<WrongCodec>(i);
        if (clsid == classId(which)) {
            classObjects[i].which = which;
            return classObjects[i].QueryInterface(iid, object);
        }
    }
    return zvsupport::kClassNotAvailable;
}
