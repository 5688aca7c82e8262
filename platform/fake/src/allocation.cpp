// Replaces the non-throwing operator new of the whole program. Memory still comes from the throwing
// one, so that a sanitizer sees matching pairs.
#include <new>

#include "fake/failures.h"

namespace {

thread_local int gAllocationsLeft = 0; ///< 0: not armed; 1: the next one fails
thread_local bool gHappened = false;

bool refuseNext() {
    if (gAllocationsLeft == 0 || --gAllocationsLeft != 0)
        return false;
    gHappened = true;
    return true;
}

} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (refuseNext())
        return nullptr;
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (refuseNext())
        return nullptr;
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace fake {

AllocationFailure::AllocationFailure(int nth) {
    if (nth < 1 || gAllocationsLeft != 0)
        stopTest("one AllocationFailure at a time, counted from 1");
    gAllocationsLeft = nth;
    gHappened = false;
}

AllocationFailure::~AllocationFailure() {
    gAllocationsLeft = 0;
}

bool AllocationFailure::happened() const {
    return gHappened;
}

} // namespace fake
