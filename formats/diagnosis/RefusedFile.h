// A file that a decoder refused, and what all formats can say about it.
#ifndef FORMATS_DIAGNOSIS_REFUSED_FILE_H
#define FORMATS_DIAGNOSIS_REFUSED_FILE_H

#include <DibTypes.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "formats/ByteReader.h"

namespace formats {

// Something that a decoder does not accept, with the code of the call that fails for it.
struct Problem {
    DibErrorCode code = DIB_OK;
    std::string text;  // empty when there is none

    bool empty() const { return text.empty(); }
};
inline Problem cutShort(std::string text) { return {DIB_ERROR_READ, std::move(text)}; }
inline Problem damaged(std::string text) { return {DIB_ERROR_INVALID, std::move(text)}; }
// What remains when nothing was found. The decoder's own code decides.
inline Problem guessed(std::string text) { return {DIB_OK, std::move(text)}; }
// Of a kind that is not read.
inline Problem unread(std::string text) { return {DIB_ERROR_UNSUPPORTED, std::move(text)}; }

// Random access to the bytes of a file; those beyond its end read as 0.
class RefusedFile {
public:
    explicit RefusedFile(ByteReader& file) : file_(file), size_(std::max<std::int64_t>(file.size(), 0)) {}

    std::int64_t size() const { return size_; }
    std::uint32_t byte(std::int64_t at) const;
    std::uint32_t le16(std::int64_t at) const;
    std::uint32_t le32(std::int64_t at) const;
    std::uint32_t be16(std::int64_t at) const;
    std::uint32_t be32(std::int64_t at) const;
    // As many bytes as there are, `count` at most.
    std::string text(std::int64_t at, std::size_t count) const;
    // The line that begins at `at`, without its line feed; moves `at` after it. Long lines are cut.
    std::string line(std::int64_t& at) const;

private:
    ByteReader& file_;
    std::int64_t size_;
};

// Why no picture of that size can exist.
Problem sizeProblem(std::int64_t width, std::int64_t height, int bitCount);

// Four characters that name something in a file, in quotes; others than letters, digits and blanks appear as
// '?'.
std::string quoted(const std::string& name);

inline constexpr const char* kShortHeader = "the file ends inside its header";
inline constexpr const char* kShortPixels = "the file ends before its pixels do";

}  // namespace formats

#endif
