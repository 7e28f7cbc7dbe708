/// What tests of the table of operations share.
#ifndef TESTS_OPERATIONS_OPERATIONS_H
#define TESTS_OPERATIONS_OPERATIONS_H

#include <DibOperation.h>
#include <gtest/gtest.h>

#include <span>
#include <string>

namespace operations_test {

/// The records of a list that ends with a null.
template <class Record>
std::span<const Record* const> listed(const Record* const* list) {
    std::size_t count = 0;
    while (list != nullptr && list[count] != nullptr) ++count;
    return {list, count};
}

inline std::span<const DibOperation* const> all() { return listed(DibGetOperations()); }

inline std::span<const DibStep> stepsOf(const DibChain& chain) {
    return {chain.steps, static_cast<std::size_t>(chain.stepCount)};
}

inline std::string textOf(const DibBytes& bytes) {
    return bytes.data != nullptr ? std::string(reinterpret_cast<const char*>(bytes.data), bytes.size) : "";
}

}  // namespace operations_test

#endif
