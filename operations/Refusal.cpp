#include "operations/Refusal.h"

#include <algorithm>

#include "dib/Bytes.h"

namespace operations {

namespace {

// How many of the first `most` bytes are left when no UTF-8 character is cut in two.
std::size_t wholeCharacters(std::string_view text, std::size_t most) {
    if (text.size() <= most) return text.size();
    std::size_t end = most;
    while (end > 0 && (dib::byteOf(text[end]) & 0xC0) == 0x80) --end;
    return end;
}

}  // namespace

std::string quoted(std::string_view text) {
    constexpr std::size_t kLongest = 120;
    const std::size_t length = wholeCharacters(text, kLongest);
    return "'" + std::string(text.substr(0, length)) + (length < text.size() ? "..." : "") + "'";
}

std::string didYouMean(const char* suggestion) {
    return suggestion != nullptr ? std::string("; did you mean '") + suggestion + "'?" : std::string();
}

bool store(const Refusal& refusal, DibOperationResult& result) {
    result.code = refusal.code;
    result.parameter = refusal.parameter;
    result.suggestion = refusal.suggestion;
    const char* name = result.operation != nullptr ? result.operation->name : "";
    const std::string reason = std::string(name) + (*name != '\0' ? ": " : "") + refusal.reason;
    const std::size_t length = wholeCharacters(reason, sizeof result.reason - 1);
    reason.copy(result.reason, length);
    result.reason[length] = '\0';
    return false;
}

}  // namespace operations
