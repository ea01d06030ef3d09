#include "core/heap.h"

#include <atomic>
#include <cstdlib>

namespace zv::core {
namespace {

constinit std::atomic<HeapGate> heapGate{nullptr};

bool admitted() {
    const HeapGate gate = heapGate.load(std::memory_order_relaxed);
    return gate == nullptr || gate();
}

} // namespace

void* heapAllocate(std::size_t size) noexcept {
    return admitted() ? std::malloc(size) : nullptr;
}

void* heapReallocate(void* block, std::size_t size) noexcept {
    return admitted() ? std::realloc(block, size) : nullptr;
}

void heapFree(void* block) noexcept {
    std::free(block);
}

void throwBadAllocation() {
    throw BadAllocation();
}

void setHeapGate(HeapGate gate) noexcept {
    heapGate.store(gate, std::memory_order_relaxed);
}

} // namespace zv::core
