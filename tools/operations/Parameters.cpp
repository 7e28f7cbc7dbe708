#include "tools/operations/Parameters.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <optional>

#include "tools/cli/ExitCode.h"

namespace tool {

namespace {

// Reads one parameter's text; knows whom to name when it is wrong.
class Reader {
public:
    Reader(const Parameter& parameter, std::string_view text, std::string_view operationName)
        : parameter_(parameter), text_(text), operationName_(operationName) {}

    Value read() const;

private:
    [[noreturn]] void fail(const std::string& why) const {
        throw usageFailure(std::string(operationName_) + ": " + std::string(parameter_.name) + ": '" +
                           std::string(text_) + "' " + why);
    }

    // The whole of `text` as a finite number, or nothing.
    static std::optional<double> wholeNumber(std::string_view text) {
        double number = 0;
        const char* end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, number);
        if (error != std::errc() || stop != end || !std::isfinite(number)) return std::nullopt;
        return number;
    }

    void checkBounds(double number) const {
        const Bounds& bounds = parameter_.bounds;
        if (number < bounds.min || number > bounds.max) {
            fail("is outside " + plainNumber(bounds.min) + " to " + plainNumber(bounds.max));
        }
    }

    double decimal(std::string_view text) const {
        const std::optional<double> number = wholeNumber(text);
        if (!number) fail("is not a number");
        checkBounds(*number);
        return *number;
    }

    double integer(std::string_view text) const {
        const std::optional<double> number = wholeNumber(text);
        const bool digitsOnly = text.find_first_not_of("-0123456789") == std::string_view::npos;
        if (!number || !digitsOnly) fail("is not a whole number");
        checkBounds(*number);
        return *number;
    }

    // Percentages have bounds of their own: what they come to is known only when there is a picture.
    double percentage(std::string_view text) const {
        const std::optional<double> number = wholeNumber(text);
        if (!number) fail("is not a percentage");
        const double least = parameter_.bounds.min >= 0 ? 0 : -1e6;
        if (*number < least || *number > 1e6) fail("is outside " + plainNumber(least) + "% to 1000000%");
        return *number;
    }

    Measure measure(std::string_view text, bool wholePixels) const {
        if (text.ends_with('%')) return {percentage(text.substr(0, text.size() - 1)), true};
        return {wholePixels ? integer(text) : decimal(text), false};
    }

    double fraction() const {
        if (!text_.ends_with('%')) return decimal(text_);
        const double number = percentage(text_.substr(0, text_.size() - 1)) / 100;
        checkBounds(number);
        return number;
    }

    double radians() const {
        if (text_.ends_with("rad")) return decimal(text_.substr(0, text_.size() - 3));
        const std::string_view degrees = text_.ends_with("deg") ? text_.substr(0, text_.size() - 3) : text_;
        return decimal(degrees) * std::numbers::pi / 180;
    }

    void readSize(Value& value) const {
        const std::size_t cross = text_.find('x');
        if (cross != std::string_view::npos) {
            value.first = measure(text_.substr(0, cross), true);
            value.second = measure(text_.substr(cross + 1), true);
        } else if (text_.ends_with('%')) {
            value.first = value.second = measure(text_, true);
        } else {
            fail("must be WIDTHxHEIGHT or a percentage");
        }
        if (value.first.number == 0 || value.second.number == 0) fail("is an empty size");
    }

    std::string choiceNames(std::string_view separator) const {
        std::string names;
        for (const Choice& choice : parameter_.choices) {
            if (!names.empty()) names += separator;
            names += choice.name;
        }
        return names;
    }

    std::uint32_t choice() const {
        for (const Choice& choice : parameter_.choices) {
            if (text_ == choice.name) return choice.value;
        }
        fail("is not one of " + choiceNames(", "));
    }

    std::uint32_t flags() const {
        std::uint32_t word = 0;
        std::string_view rest = text_ == "none" ? std::string_view{} : text_;
        while (!rest.empty() || text_.empty()) {
            const Choice* found = nullptr;
            for (const Choice& choice : parameter_.choices) {
                const bool isLonger = found == nullptr || choice.name.size() > found->name.size();
                if (rest.starts_with(choice.name) && isLonger) found = &choice;
            }
            if (found == nullptr)
                fail("must be none, " + choiceNames(", ") + " or a combination such as " + choiceNames("+"));
            word |= found->value;
            rest.remove_prefix(found->name.size());
            if (rest.size() > 1 && rest.front() == '+') rest.remove_prefix(1);
        }
        return word;
    }

    DibBGRA color() const {
        std::uint32_t word = 0;
        const std::string_view digits = text_.substr(text_.starts_with('#') ? 1 : text_.size());
        const char* end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, word, 16);
        if (error != std::errc() || stop != end || (digits.size() != 6 && digits.size() != 8)) {
            fail("must be a colour #rrggbb or #rrggbbaa");
        }
        if (digits.size() == 6) word = (word << 8) | 0xFF;
        const auto byte = [word](int shift) { return static_cast<std::uint8_t>(word >> shift); };
        return {.blue = byte(8), .green = byte(16), .red = byte(24), .alpha = byte(0)};
    }

    const Parameter& parameter_;
    std::string_view text_;
    std::string_view operationName_;
};

Value Reader::read() const {
    Value value;
    value.text = text_;
    switch (parameter_.kind) {
        case ParameterKind::Integer: value.first.number = integer(text_); break;
        case ParameterKind::Number: value.first.number = decimal(text_); break;
        case ParameterKind::Fraction: value.first.number = fraction(); break;
        case ParameterKind::Angle: value.first.number = radians(); break;
        case ParameterKind::Length: value.first = measure(text_, true); break;
        case ParameterKind::Position: value.first = measure(text_, false); break;
        case ParameterKind::Size: readSize(value); break;
        case ParameterKind::Choice: value.word = choice(); break;
        case ParameterKind::Flags: value.word = flags(); break;
        case ParameterKind::Fill:
            value.isColor = text_.starts_with('#');
            if (!value.isColor) {
                value.first.number = integer(text_);
                break;
            }
            [[fallthrough]];
        case ParameterKind::Color: value.color = color(); break;
        case ParameterKind::Path:
            if (text_.empty()) fail("is not a file name");
            break;
    }
    return value;
}

}  // namespace

Value parseValue(const Parameter& parameter, std::string_view text, std::string_view operationName) {
    return Reader(parameter, text, operationName).read();
}

std::string plainNumber(double number) {
    char text[32];
    std::snprintf(text, sizeof text, std::fabs(number) < 1e10 ? "%.10g" : "%g", number);
    return text;
}

std::string_view kindName(ParameterKind kind) {
    switch (kind) {
        case ParameterKind::Integer: return "integer";
        case ParameterKind::Number: return "number";
        case ParameterKind::Fraction: return "fraction";
        case ParameterKind::Angle: return "angle";
        case ParameterKind::Length: return "length";
        case ParameterKind::Position: return "position";
        case ParameterKind::Size: return "size";
        case ParameterKind::Choice: return "choice";
        case ParameterKind::Flags: return "flags";
        case ParameterKind::Color: return "color";
        case ParameterKind::Fill: return "fill";
        case ParameterKind::Path: return "path";
    }
    return {};
}

}  // namespace tool
