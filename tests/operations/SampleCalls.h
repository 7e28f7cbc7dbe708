/// The C++ calls of the samples, compiled.
#ifndef TESTS_OPERATIONS_SAMPLE_CALLS_H
#define TESTS_OPERATIONS_SAMPLE_CALLS_H

#include <DibStream.h>

#include <span>
#include <string>

namespace operations_test {

inline constexpr int kCalledWidth = 320;
inline constexpr int kCalledHeight = 240;

struct SampleCall {
    std::string chain;               ///< The sample.
    void (*make)(DibStream& image);  ///< What is said to do the same to a picture of that size.
};

/// Every sample of every operation, in the order of the table.
std::span<const SampleCall> sampleCalls();

}  // namespace operations_test

#endif
