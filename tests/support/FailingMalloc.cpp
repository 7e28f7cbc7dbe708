#include "tests/support/FailingMalloc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr long kNever = -1;

std::atomic<long> failAt{kNever};
std::atomic<long> counted{0};
std::atomic<bool> met{false};
std::atomic<long> live{0};
std::atomic<std::size_t> largest{0};
constexpr int kNoFill = -1;
std::atomic<int> fill{kNoFill};

bool mustFail(std::size_t bytes) {
    largest = std::max(largest.load(), bytes);
    if (failAt == kNever || counted++ != failAt) return false;
    met = true;
    return true;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_calloc(std::size_t count, std::size_t bytes);
void* __real_realloc(void* block, std::size_t bytes);
void __real_free(void* block);

void* __wrap_malloc(std::size_t bytes) {
    if (mustFail(bytes)) return nullptr;
    void* block = __real_malloc(bytes);
    if (block == nullptr) return nullptr;
    ++live;
    if (fill != kNoFill) std::memset(block, fill, bytes);
    return block;
}

void* __wrap_calloc(std::size_t count, std::size_t bytes) {
    if (mustFail(count * bytes)) return nullptr;
    void* block = __real_calloc(count, bytes);
    if (block != nullptr) ++live;
    return block;
}

void* __wrap_realloc(void* block, std::size_t bytes) {
    if (mustFail(bytes)) return nullptr;
    void* moved = __real_realloc(block, bytes);
    if (block == nullptr && moved != nullptr) ++live;
    return moved;
}

void __wrap_free(void* block) {
    if (block != nullptr) --live;
    __real_free(block);
}
}

void* operator new(std::size_t bytes) {
    if (void* block = __wrap_malloc(std::max(bytes, std::size_t{1}))) return block;
    throw std::bad_alloc();
}
void* operator new[](std::size_t bytes) { return operator new(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return __wrap_malloc(std::max(bytes, std::size_t{1}));
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return __wrap_malloc(std::max(bytes, std::size_t{1}));
}
void operator delete(void* block) noexcept { __wrap_free(block); }
void operator delete[](void* block) noexcept { __wrap_free(block); }
void operator delete(void* block, std::size_t) noexcept { __wrap_free(block); }
void operator delete[](void* block, std::size_t) noexcept { __wrap_free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { __wrap_free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { __wrap_free(block); }

namespace testing_support {

FailNthAllocation::FailNthAllocation(long n) {
    counted = 0;
    met = false;
    failAt = n;
}

FailNthAllocation::~FailNthAllocation() { failAt = kNever; }

bool FailNthAllocation::failed() const { return met; }

FillNewBlocks::FillNewBlocks(unsigned char byte) { fill = byte; }

FillNewBlocks::~FillNewBlocks() { fill = kNoFill; }

long liveAllocations() { return live; }

std::size_t largestAllocation() { return largest; }
void resetLargestAllocation() { largest = 0; }

int forEachFailingAllocation(const std::function<void()>& prepare, const std::function<void()>& act,
                             const std::function<void(bool failureMet)>& judge) {
    prepare();
    act();
    judge(false);  // first-use caches of the C and C++ libraries are not leaks
    try {
        throw std::bad_alloc();  // neither are those of the first exception
    } catch (const std::bad_alloc&) {
    }
    bool reached = false;
    const auto leakedAt = [&](long n) {
        const long before = live;
        prepare();
        {
            FailNthAllocation failure(n);
            act();
            reached = failure.failed();
        }
        judge(reached);
        return live - before;
    };
    for (long n = 0;; ++n) {
        long leaked = leakedAt(n);
        if (leaked != 0) leaked = leakedAt(n);  // what the first use of a path keeps is no leak
        EXPECT_EQ(leaked, 0) << "blocks leaked when allocation " << n << " failed";
        if (!reached || ::testing::Test::HasFailure()) return static_cast<int>(n);
    }
}

}  // namespace testing_support
