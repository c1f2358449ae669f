#include "support/allocation_meter.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local bool isMeasuring = false;
thread_local std::size_t largestAllocation = 0;
thread_local std::size_t totalAllocated = 0;
thread_local bool isFailing = false;
thread_local std::size_t allocationsBeforeFailure = 0;

void count(std::size_t size) noexcept {
    if (!isMeasuring) return;
    largestAllocation = std::max(largestAllocation, size);
    totalAllocated += size;
}

void* allocate(std::size_t size) noexcept {
    if (isFailing) {
        if (allocationsBeforeFailure == 0) return nullptr;
        --allocationsBeforeFailure;
    }
    count(size);
    return std::malloc(std::max<std::size_t>(size, 1));
}

// Pixel stores are aligned to more than the default.
void* allocateAligned(std::size_t size, std::size_t alignment) {
    count(size);
    void* memory = nullptr;
    if (posix_memalign(&memory, std::max(alignment, sizeof(void*)), size) != 0) {
        throw std::bad_alloc();
    }
    return memory;
}

void* allocateOrThrow(std::size_t size) {
    void* memory = allocate(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

// The whole family is replaced, so that no sanitizer sees one half of it meet the other.
void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateAligned(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateAligned(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

namespace ptmatch::testing {

AllocationMeter::AllocationMeter() {
    largestAllocation = 0;
    totalAllocated = 0;
    isMeasuring = true;
}

AllocationMeter::~AllocationMeter() {
    isMeasuring = false;
}

std::size_t AllocationMeter::largest() const {
    return largestAllocation;
}

std::size_t AllocationMeter::total() const {
    return totalAllocated;
}

AllocationFailure::AllocationFailure(std::size_t successes) {
    allocationsBeforeFailure = successes;
    isFailing = true;
}

AllocationFailure::~AllocationFailure() {
    isFailing = false;
}

}  // namespace ptmatch::testing
