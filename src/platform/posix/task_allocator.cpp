// The COM task allocator: the C heap behind the interface that component code expects.
#include "platform/win32.h"

#include <cstdlib>
#include <cstring>

#include <malloc.h>

namespace {

constexpr std::int32_t kNoInterface = static_cast<std::int32_t>(0x80004002);
constexpr std::int32_t kNullPointer = static_cast<std::int32_t>(0x80004003);
constexpr std::int32_t kInvalidArgument = static_cast<std::int32_t>(0x80070057);

// {00000000-0000-0000-C000-000000000046} and {00000002-…}, as they lie in memory.
constexpr BYTE kUnknownId[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};
constexpr BYTE kMallocId[16] = {2, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};

// One for the process, and never destroyed: like the system's own it does not count references.
class TaskAllocator final : public IMalloc {
public:
    std::int32_t QueryInterface(const void* iid, void** object) override {
        if (object == nullptr)
            return kNullPointer;
        *object = nullptr;
        if (iid == nullptr)
            return kInvalidArgument;
        if (std::memcmp(iid, kUnknownId, sizeof kUnknownId) != 0 &&
            std::memcmp(iid, kMallocId, sizeof kMallocId) != 0)
            return kNoInterface;
        AddRef();
        *object = static_cast<IMalloc*>(this);
        return 0;
    }
    std::uint32_t AddRef() override { return 2; }
    std::uint32_t Release() override { return 1; }

    void* Alloc(std::size_t size) override { return std::malloc(size); }
    void* Realloc(void* block, std::size_t size) override {
        if (block == nullptr || size != 0)
            return std::realloc(block, size);
        std::free(block);
        return nullptr;
    }
    void Free(void* block) override { std::free(block); }
    std::size_t GetSize(void* block) override {
        return block != nullptr ? malloc_usable_size(block) : static_cast<std::size_t>(-1);
    }
    std::int32_t DidAlloc(void*) override { return -1; } // cannot tell
    void HeapMinimize() override { malloc_trim(0); }
};

constinit TaskAllocator taskAllocator;

} // namespace

std::int32_t CoGetMalloc(DWORD context, IMalloc** allocator) {
    if (allocator == nullptr)
        return kInvalidArgument;
    *allocator = nullptr;
    if (context != 1)
        return kInvalidArgument;
    taskAllocator.AddRef();
    *allocator = &taskAllocator;
    return 0;
}
