// Whole numbers passed from one type to another, each step with a name that says what is known of the number.
// The interface and the headers of files count in int, memory in std::size_t, and positions have a sign.
#ifndef DIB_NUMBERS_H
#define DIB_NUMBERS_H

#include <climits>
#include <concepts>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace dib {

// A count, a size or an index, known not to be negative.
constexpr std::size_t asSize(std::integral auto number) { return static_cast<std::size_t>(number); }

// A number known to fit in an int.
constexpr int asInt(std::integral auto number) { return static_cast<int>(number); }

// A distance between addresses, rows or places in a file, which may be subtracted or negated.
constexpr std::ptrdiff_t asOffset(std::integral auto number) { return static_cast<std::ptrdiff_t>(number); }

// The same bits without a sign, and with one.
constexpr auto asUnsigned(std::integral auto number) {
    return static_cast<std::make_unsigned_t<decltype(number)>>(number);
}
constexpr auto asSigned(std::integral auto number) {
    return static_cast<std::make_signed_t<decltype(number)>>(number);
}

// The nearest int.
constexpr int saturatedInt(std::integral auto number) {
    if (std::cmp_less(number, INT_MIN)) return INT_MIN;
    return std::cmp_greater(number, INT_MAX) ? INT_MAX : static_cast<int>(number);
}

// How much of some work is done, from 0 to 1.
constexpr float doneShare(std::integral auto done, std::integral auto total) {
    return static_cast<float>(done) / static_cast<float>(total);
}

}  // namespace dib

#endif
