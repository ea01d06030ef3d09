#include "text/c_codec.h"

#include "zvsupport/zvsupport.h"

#include <stdlib.h>
#include <string.h>

typedef struct Iid {
    uint32_t data1;
    uint16_t data2, data3;
    uint8_t data4[8];
} Iid;

static const Iid kComparable = {
    0x72038029, 0xFA65, 0x4255, {0xA9, 0x16, 0x1C, 0x56, 0x80, 0xAC, 0xFE, 0xBF}};

#define UNKNOWN_SLOTS(This)                                                                        \
    int32_t(ZV_STDCALL* QueryInterface)(This * self, const Iid* iid, void** object);               \
    uint32_t(ZV_STDCALL* AddRef)(This * self);                                                     \
    uint32_t(ZV_STDCALL* Release)(This * self)

typedef struct Comparable {
    const struct ComparableSlots* slots;
} Comparable;
struct ComparableSlots {
    UNKNOWN_SLOTS(Comparable);
    int32_t(ZV_STDCALL* CompareTo)(Comparable* self, void* other, int32_t* order);
    int32_t(ZV_STDCALL* HashCode)(Comparable* self, uint32_t* hash);
};

typedef struct Buffer {
    const struct BufferSlots* slots;
} Buffer;
struct BufferSlots {
    UNKNOWN_SLOTS(Buffer);
    int32_t(ZV_STDCALL* GetLength)(Buffer* self);
    const void*(ZV_STDCALL* GetBuffer)(Buffer* self);
    int32_t(ZV_STDCALL* LockRead)(Buffer* self, const void** data);
    int32_t(ZV_STDCALL* UnlockRead)(Buffer* self);
    _Bool(ZV_STDCALL* IsWritable)(Buffer* self);
    int32_t(ZV_STDCALL* LockWrite)(Buffer* self, int32_t minLength, void** data);
    int32_t(ZV_STDCALL* Reserve)(Buffer* self, int32_t minCapacity, void** data);
    int32_t(ZV_STDCALL* UnlockWrite)(Buffer* self, int32_t newLength);
    int32_t(ZV_STDCALL* Compact)(Buffer* self);
};

typedef struct Codec {
    const struct CodecSlots* slots;
    int references;
} Codec;
struct CodecSlots {
    UNKNOWN_SLOTS(Codec);
    int32_t(ZV_STDCALL* GetName)(Codec* self, Buffer* name);
    int32_t(ZV_STDCALL* GetMaxBytesPerChar)(Codec* self, int32_t* value);
    int32_t(ZV_STDCALL* GetMaxCharsPerByte)(Codec* self, int32_t* value);
    int32_t(ZV_STDCALL* DecodeChar)(Codec* self, const uint8_t* input, int32_t* inOutCount,
                                    uint32_t* codePoint);
    int32_t(ZV_STDCALL* EncodeChar)(Codec* self, uint32_t codePoint, Buffer* buffer);
};

enum { kFirst = 0x400, kFailure = -1 };

static int32_t ZV_STDCALL queryInterface(Codec* self, const Iid* iid, void** object) {
    (void)self;
    (void)iid;
    *object = NULL;
    return kFailure;
}
static uint32_t ZV_STDCALL addRef(Codec* self) {
    return (uint32_t)++self->references;
}
static uint32_t ZV_STDCALL release(Codec* self) {
    const int left = --self->references;
    if (left == 0)
        free(self);
    return (uint32_t)left;
}

/* Appends to a buffer of the library by its write protocol. */
static int32_t append(Buffer* buffer, const void* data, int32_t count, size_t unit) {
    const int32_t before = buffer->slots->GetLength(buffer);
    void* to = NULL;
    if (!buffer->slots->IsWritable(buffer) ||
        buffer->slots->LockWrite(buffer, before + count, &to) != 0)
        return kFailure;
    memcpy((char*)to + (size_t)before * unit, data, (size_t)count * unit);
    return buffer->slots->UnlockWrite(buffer, before + count);
}

static int32_t ZV_STDCALL getName(Codec* self, Buffer* name) {
    static const uint16_t kName[] = {'X', '-', 'C'};
    (void)self;
    return append(name, kName, 3, sizeof kName[0]);
}
static int32_t ZV_STDCALL getFactor(Codec* self, int32_t* value) {
    (void)self;
    *value = 1;
    return 0;
}
static int32_t ZV_STDCALL decodeChar(Codec* self, const uint8_t* input, int32_t* inOutCount,
                                     uint32_t* codePoint) {
    (void)self;
    *inOutCount = 1;
    *codePoint = kFirst + (uint32_t)*input;
    return 0;
}
static int32_t ZV_STDCALL encodeChar(Codec* self, uint32_t codePoint, Buffer* buffer) {
    const uint8_t byte = (uint8_t)(codePoint - kFirst);
    (void)self;
    return codePoint - kFirst > 0xFF ? kFailure : append(buffer, &byte, 1, 1);
}

static const struct CodecSlots kCodecSlots = {queryInterface, addRef,    release,    getName,
                                              getFactor,      getFactor, decodeChar, encodeChar};

void* cCodecCreate(void) {
    Codec* codec = malloc(sizeof *codec);
    if (codec != NULL) {
        codec->slots = &kCodecSlots;
        codec->references = 1;
    }
    return codec;
}

int cCodecReferences(const void* codec) {
    return ((const Codec*)codec)->references;
}

int cCompare(void* unknown, void* other, int32_t* order, uint32_t* hash) {
    Comparable* first = unknown;
    Comparable* comparable = NULL;
    if (first->slots->QueryInterface(first, &kComparable, (void**)&comparable) != 0)
        return 1;
    const int wrong = comparable->slots->CompareTo(comparable, other, order) != 0 ||
                      comparable->slots->HashCode(comparable, hash) != 0 ||
                      comparable->slots->AddRef(comparable) != 3;
    comparable->slots->Release(comparable);
    return comparable->slots->Release(comparable) != 1 || wrong;
}
