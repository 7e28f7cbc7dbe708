#include "operations/Parameters.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <optional>

#include "dib/Bytes.h"
#include "dib/NumberText.h"
#include "operations/Refusal.h"
#include "operations/Suggestion.h"

namespace operations {

namespace {

constexpr const char* kNoColor = "must be a colour #rrggbb or #rrggbbaa";

std::optional<DibBGRA> colorOf(std::string_view text) {
    std::uint32_t word = 0;
    const std::string_view digits = text.substr(text.starts_with('#') ? 1 : text.size());
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, word, 16);
    if (error != std::errc() || stop != end) return std::nullopt;
    // The channels of #rgb and #rgba are digits, each standing for itself twice.
    const std::size_t count = digits.size() % 4 == 0 ? 4 : 3;
    if (digits.size() != count && digits.size() != 2 * count) return std::nullopt;
    const bool isShort = digits.size() == count;
    const int bits = isShort ? 4 : 8;
    if (count == 3) word = (word << bits) | ((1U << bits) - 1);
    const auto channel = [=](int place) {
        return dib::byteOf((word >> (place * bits) & ((1U << bits) - 1)) * (isShort ? 17 : 1));
    };
    return DibBGRA{.blue = channel(1), .green = channel(2), .red = channel(3), .alpha = channel(0)};
}

// The text of one parameter's value.
class Reader {
public:
    Reader(const DibParameter& parameter, std::string_view text) : parameter_(parameter), text_(text) {}

    Value read() const;

private:
    [[noreturn]] void fail(const std::string& why, const char* suggestion = nullptr) const {
        throw Refusal{
            DIB_ERROR_INVALID,
            std::string(parameter_.name) + ": " + quoted(text_) + " " + why + didYouMean(suggestion),
            &parameter_, suggestion};
    }

    // The whole of `text` as a finite number, or nothing.
    static std::optional<double> wholeNumber(std::string_view text) {
        double number = 0;
        const char* end = text.data() + text.size();
        const auto [stop, error] = dib::readNumber(text.data(), end, number);
        if (error != std::errc() || stop != end || !std::isfinite(number)) return std::nullopt;
        return number;
    }

    void checkBounds(double number) const {
        if (number < parameter_.min || number > parameter_.max)
            fail("is outside " + plainNumber(parameter_.min) + " to " + plainNumber(parameter_.max));
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

    // Percentages have bounds of their own: their size in pixels depends on the picture.
    double percentage(std::string_view text) const {
        const std::optional<double> number = wholeNumber(text);
        if (!number) fail("is not a percentage");
        const double least = parameter_.min >= 0 ? 0 : -1e6;
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
        if (cross != std::string_view::npos && text_.size() > 1) {
            const auto side = [this](std::string_view text) {
                if (text.empty()) return Measure{};
                const Measure given = measure(text, true);
                if (given.number == 0) fail("is an empty size");
                return given;
            };
            value.first = side(text_.substr(0, cross));
            value.second = side(text_.substr(cross + 1));
            return;
        }
        if (text_.ends_with('%')) {
            value.first = value.second = measure(text_, true);
        } else {
            fail("is not a size: 320x240, 320x, x240 and 50% are");
        }
        if (value.first.number == 0) fail("is an empty size");
    }

    std::string choiceNames(std::string_view separator) const {
        std::string names;
        for (const DibChoice* choice : DibList(parameter_.choices)) {
            if (!names.empty()) names += separator;
            names += choice->name;
        }
        return names;
    }

    std::uint32_t choice() const {
        for (const DibChoice* choice : DibList(parameter_.choices)) {
            if (text_ == choice->name) return choice->value;
        }
        // A number close to a valid one is not a misspelling.
        const bool isNumber = wholeNumber(text_).has_value();
        fail("is not one of " + choiceNames(", "),
             isNumber ? nullptr : nearestName(text_, DibList(parameter_.choices)));
    }

    std::uint32_t flags() const {
        std::uint32_t word = 0;
        std::string_view rest = text_ == "none" ? std::string_view{} : text_;
        while (!rest.empty()) {
            const DibChoice* found = nullptr;
            std::size_t length = 0;
            for (const DibChoice* choice : DibList(parameter_.choices)) {
                const std::string_view name = choice->name;
                if (!rest.starts_with(name) || name.size() <= length) continue;
                found = choice;
                length = name.size();
            }
            if (found == nullptr)
                fail("must be none, " + choiceNames(", ") + " or a combination such as " + choiceNames("+"));
            word |= found->value;
            rest.remove_prefix(length);
            if (rest.size() > 1 && rest.front() == '+') rest.remove_prefix(1);
        }
        return word;
    }

    bool mayBeNone() const {
        return parameter_.standard != nullptr && std::string_view(parameter_.standard) == "none";
    }

    DibBGRA color() const {
        const std::optional<DibBGRA> color = colorOf(text_);
        if (!color) fail(kNoColor + std::string(mayBeNone() ? ", or none" : ""));
        return *color;
    }

    const DibParameter& parameter_;
    std::string_view text_;
};

Value Reader::read() const {
    Value value;
    value.text = text_;
    switch (parameter_.kind) {
        case DIB_PARAMETER_INTEGER: value.first.number = integer(text_); break;
        case DIB_PARAMETER_NUMBER: value.first.number = decimal(text_); break;
        case DIB_PARAMETER_FRACTION: value.first.number = fraction(); break;
        case DIB_PARAMETER_ANGLE: value.first.number = radians(); break;
        case DIB_PARAMETER_LENGTH: value.first = measure(text_, true); break;
        case DIB_PARAMETER_POSITION: value.first = measure(text_, false); break;
        case DIB_PARAMETER_SIZE: readSize(value); break;
        case DIB_PARAMETER_CHOICE: value.word = choice(); break;
        case DIB_PARAMETER_FLAGS: value.word = flags(); break;
        case DIB_PARAMETER_FILL:
            if (mayBeNone() && text_ == "none") break;
            value.isColor = text_.starts_with('#');
            if (!value.isColor) {
                value.first.number = integer(text_);
                break;
            }
            [[fallthrough]];
        case DIB_PARAMETER_COLOR:
            if (mayBeNone() && text_ == "none") break;
            value.isColor = true;
            value.color = color();
            break;
        case DIB_PARAMETER_SWITCH:
            if (text_ != "yes" && text_ != "no") fail("is not yes or no");
            value.word = text_ == "yes" ? 1 : 0;
            break;
        case DIB_PARAMETER_TEXT:
        case DIB_PARAMETER_PATH: break;
    }
    return value;
}

}  // namespace

Value readValue(const DibParameter& parameter, std::string_view text) {
    if (text.empty() && parameter.kind != DIB_PARAMETER_TEXT) {
        const char* standard = parameter.standard;
        throw Refusal{DIB_ERROR_INVALID,
                      std::string(parameter.name) + ": the value is empty" +
                          (standard != nullptr ? "; leave it out for " + std::string(standard) : ""),
                      &parameter};
    }
    return Reader(parameter, text).read();
}

std::string plainNumber(double number) {
    char text[32];
    std::snprintf(text, sizeof text, std::fabs(number) < 1e10 ? "%.10g" : "%g", number);
    return text;
}

}  // namespace operations

bool DibParseColor(const char* text, DibBGRA* color, DibOperationResult* result) {
    return operations::runCall(result, [&](DibOperationResult&) {
        if (text == nullptr || color == nullptr)
            throw operations::Refusal{DIB_ERROR_INVALID, "there is no text, or no place for the colour"};
        const std::optional<DibBGRA> parsed = operations::colorOf(text);
        if (!parsed)
            throw operations::Refusal{DIB_ERROR_INVALID,
                                      operations::quoted(text) + " " + operations::kNoColor};
        *color = *parsed;
        return true;
    });
}
