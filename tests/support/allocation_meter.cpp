#include "support/allocation_meter.h"

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local bool isMeasuring = false;
thread_local std::size_t largestAllocation = 0;
thread_local std::size_t totalAllocated = 0;
thread_local bool isBalancing = false;
thread_local std::int64_t blocksHeld = 0;
thread_local std::int64_t bytesHeld = 0;
thread_local bool isFailing = false;
thread_local std::size_t successesLeft = 0;
thread_local std::size_t failuresLeft = 0;
thread_local std::size_t numAllocated = 0;
thread_local std::size_t numFailed = 0;

bool mustFail() noexcept {
    if (!isFailing) return false;
    ++numAllocated;
    if (successesLeft > 0) {
        --successesLeft;
        return false;
    }
    if (failuresLeft == 0) return false;
    if (failuresLeft != ptmatch::testing::AllocationFailure::kAllLater) --failuresLeft;
    ++numFailed;
    return true;
}

void measure(std::size_t size) noexcept {
    if (!isMeasuring) return;
    largestAllocation = std::max(largestAllocation, size);
    totalAllocated += size;
}

void* balanced(void* memory) noexcept {
    if (isBalancing && memory != nullptr) {
        ++blocksHeld;
        bytesHeld += static_cast<std::int64_t>(malloc_usable_size(memory));
    }
    return memory;
}

void* allocate(std::size_t size) noexcept {
    if (mustFail()) return nullptr;
    measure(size);  // also what the heap refuses
    return balanced(std::malloc(std::max<std::size_t>(size, 1)));
}

// Pixel stores are aligned to more than the default.
void* allocateAligned(std::size_t size, std::align_val_t alignment) noexcept {
    if (mustFail()) return nullptr;
    measure(size);
    void* memory = nullptr;
    const auto bytes = std::max(static_cast<std::size_t>(alignment), sizeof(void*));
    if (posix_memalign(&memory, bytes, std::max<std::size_t>(size, 1)) != 0) return nullptr;
    return balanced(memory);
}

void* orThrow(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void release(void* memory) noexcept {
    if (isBalancing && memory != nullptr) {
        --blocksHeld;
        bytesHeld -= static_cast<std::int64_t>(malloc_usable_size(memory));
    }
    std::free(memory);
}

}  // namespace

// The whole family is replaced, so that no sanitizer sees one half of it meet the other.
void* operator new(std::size_t size) {
    return orThrow(allocate(size));
}
void* operator new[](std::size_t size) {
    return orThrow(allocate(size));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(allocateAligned(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return orThrow(allocateAligned(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocateAligned(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocateAligned(size, alignment);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    release(memory);
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

AllocationBalance::AllocationBalance() {
    blocksHeld = 0;
    bytesHeld = 0;
    isBalancing = true;
}

AllocationBalance::~AllocationBalance() {
    isBalancing = false;
}

std::int64_t AllocationBalance::blocks() const {
    return blocksHeld;
}

std::int64_t AllocationBalance::bytes() const {
    return bytesHeld;
}

AllocationFailure::AllocationFailure(std::size_t successes, std::size_t failures) {
    successesLeft = successes;
    failuresLeft = failures;
    numAllocated = 0;
    numFailed = 0;
    isFailing = true;
}

AllocationFailure::~AllocationFailure() {
    isFailing = false;
}

std::size_t AllocationFailure::numAllocations() const {
    return numAllocated;
}

std::size_t AllocationFailure::numFailures() const {
    return numFailed;
}

}  // namespace ptmatch::testing
