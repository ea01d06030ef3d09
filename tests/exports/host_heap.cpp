#include "exports/host_heap.h"

#include <cstddef>
#include <cstdlib>
#include <new>

constinit std::atomic<long> hostAllocations{0};

namespace {
constexpr std::size_t kHostHeader = 64;
} // namespace

void* operator new(std::size_t size) {
    ++hostAllocations;
    auto* block = static_cast<char*>(std::malloc(size + kHostHeader));
    if (block == nullptr)
        throw std::bad_alloc();
    return block + kHostHeader;
}
void operator delete(void* block) noexcept {
    if (block != nullptr)
        std::free(static_cast<char*>(block) - kHostHeader);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
