// Makes single allocations fail, to prove that every operation survives every failure.
#ifndef TESTS_SUPPORT_FAILING_MALLOC_H
#define TESTS_SUPPORT_FAILING_MALLOC_H

#include <cstddef>
#include <functional>

namespace testing_support {

// While alive, allocation number `n` (counted from 0) of malloc, calloc, realloc and operator new fails;
// every other succeeds. Allocations of the C library itself are not counted.
class FailNthAllocation {
public:
    explicit FailNthAllocation(long n);
    ~FailNthAllocation();
    FailNthAllocation(const FailNthAllocation&) = delete;
    FailNthAllocation& operator=(const FailNthAllocation&) = delete;

    // Whether allocation n was reached.
    bool failed() const;
};

// While alive, new blocks of malloc hold nothing but `byte`: bytes that still do were not written.
class FillNewBlocks {
public:
    explicit FillNewBlocks(unsigned char byte);
    ~FillNewBlocks();
    FillNewBlocks(const FillNewBlocks&) = delete;
    FillNewBlocks& operator=(const FillNewBlocks&) = delete;
};

// Blocks allocated through the wrapper and not yet freed.
long liveAllocations();

// Largest single allocation asked for since the last reset.
std::size_t largestAllocation();
void resetLargestAllocation();

// Arms the failure only around `act`, so that preparing and judging never fail.
//
// For n = 0, 1, 2 ...: calls `prepare`, then `act` with allocation n failing, then `judge` with whether that
// failure was met (the last round meets none and must succeed), and checks that no block stays alive.
// Everything made by `prepare` and `act` must be freed by the end of `judge`. Returns the number of failures
// that were met.
int forEachFailingAllocation(const std::function<void()>& prepare, const std::function<void()>& act,
                             const std::function<void(bool failureMet)>& judge);

}  // namespace testing_support

#endif
