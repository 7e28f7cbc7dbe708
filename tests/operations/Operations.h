/// What tests of the table of operations share.
#ifndef TESTS_OPERATIONS_OPERATIONS_H
#define TESTS_OPERATIONS_OPERATIONS_H

#include <DibOperation.h>
#include <gtest/gtest.h>

#include <span>
#include <string>

namespace operations_test {

inline DibList<DibOperation> all() { return DibList(DibGetOperations()); }

inline std::span<const DibStep> stepsOf(const DibChain& chain) {
    return {chain.steps, static_cast<std::size_t>(chain.stepCount)};
}

inline std::string textOf(const DibBytes& bytes) {
    return bytes.data != nullptr ? std::string(reinterpret_cast<const char*>(bytes.data), bytes.size) : "";
}

}  // namespace operations_test

#endif
