// Numbers written as text, the same in every locale, by C++ libraries of any age.
#ifndef DIB_NUMBER_TEXT_H
#define DIB_NUMBER_TEXT_H

#include <charconv>
#include <string>
#include <system_error>
#if !defined(__cpp_lib_to_chars)
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <limits>
#endif

namespace dib {

#if defined(__cpp_lib_to_chars)

// std::from_chars: the number that the text begins with.
inline std::from_chars_result readNumber(const char* first, const char* last, double& number) {
    return std::from_chars(first, last, number);
}

// The shortest text that is exactly this float.
inline std::string shortestText(float number) {
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

#else

// The C++ library of browsers has no std::from_chars for numbers with a point. Its C library has one locale,
// so strtod reads what std::from_chars would. Blanks, signs and hexadecimal digits stop it here.
inline std::from_chars_result readNumber(const char* first, const char* last, double& number) {
    const char* digits = first != last && *first == '-' ? first + 1 : first;
    const bool isWord = digits != last && std::isalpha(static_cast<unsigned char>(*digits)) != 0;
    const auto isPart = [isWord](char c) {
        const bool isLetter = std::isalpha(static_cast<unsigned char>(c)) != 0;
        const bool isDigit = std::isdigit(static_cast<unsigned char>(c)) != 0;
        return isWord ? isLetter : isDigit || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-';
    };
    if (digits == last || *digits == '+' || *digits == '-') return {first, std::errc::invalid_argument};
    const std::string text(first, std::find_if_not(digits, last, isPart));
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end == text.c_str()) return {first, std::errc::invalid_argument};
    const char* const stop = first + (end - text.c_str());
    if (!isWord &&
        (value > std::numeric_limits<double>::max() || value < std::numeric_limits<double>::lowest()))
        return {stop, std::errc::result_out_of_range};
    number = value;
    return {stop, std::errc()};
}

inline std::string shortestText(float number) {
    char digits[32];
    for (int count = 1; count <= std::numeric_limits<float>::max_digits10; ++count) {
        std::snprintf(digits, sizeof digits, "%.*g", count, static_cast<double>(number));
        if (std::strtof(digits, nullptr) == number) break;
    }
    return digits;
}

#endif

}  // namespace dib

#endif
