// The run-time heap as the library uses it: operator new and the buffers allocate here, so that a
// test can fail each allocation in turn.
#ifndef ZVSUPPORT_CORE_HEAP_H
#define ZVSUPPORT_CORE_HEAP_H

#include <cstddef>
#include <new>

namespace zv::core {

// malloc, realloc and free; null when the heap is exhausted. Any thread.
void* heapAllocate(std::size_t size) noexcept;
void* heapReallocate(void* block, std::size_t size) noexcept;
void heapFree(void* block) noexcept;

// std::bad_alloc with the library's own text.
class BadAllocation : public std::bad_alloc {
public:
    const char* what() const noexcept override { return "bad allocation"; }
};

[[noreturn]] void throwBadAllocation();

// Asked before each allocation; false makes it fail. Null (the normal state) admits all. For tests,
// set while no other thread allocates.
using HeapGate = bool (*)();
void setHeapGate(HeapGate gate) noexcept;

} // namespace zv::core

#endif
