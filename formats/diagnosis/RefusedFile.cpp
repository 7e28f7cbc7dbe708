#include "formats/diagnosis/RefusedFile.h"

#include <cctype>
#include <cstdlib>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace formats {

std::string RefusedFile::text(std::int64_t at, std::size_t count) const {
    if (at < 0 || at >= size_ || !file_.seek(at)) return {};
    std::string bytes(std::min(count, dib::asSize(size_ - at)), '\0');
    bytes.resize(file_.copy(bytes.data(), bytes.size()));
    return bytes;
}

namespace {

template <auto read, std::size_t count>
std::uint32_t number(const RefusedFile& file, std::int64_t at) {
    std::string bytes = file.text(at, count);
    bytes.resize(count);
    return read(reinterpret_cast<const unsigned char*>(bytes.data()));
}

}  // namespace

std::uint32_t RefusedFile::byte(std::int64_t at) const {
    return number<[](const unsigned char* p) { return p[0]; }, 1>(*this, at);
}
std::uint32_t RefusedFile::le16(std::int64_t at) const { return number<dib::readLe16, 2>(*this, at); }
std::uint32_t RefusedFile::le32(std::int64_t at) const { return number<dib::readLe32, 4>(*this, at); }
std::uint32_t RefusedFile::be16(std::int64_t at) const { return number<dib::readBe16, 2>(*this, at); }
std::uint32_t RefusedFile::be32(std::int64_t at) const { return number<dib::readBe32, 4>(*this, at); }

std::string RefusedFile::line(std::int64_t& at) const {
    constexpr std::size_t kLongest = 127;
    std::string line = text(at, kLongest);
    const std::size_t end = line.find('\n');
    at += dib::asOffset(end == std::string::npos ? line.size() : end + 1);
    return line.substr(0, end);
}

Problem sizeProblem(std::int64_t width, std::int64_t height, int bitCount) {
    constexpr std::int64_t kMostBytes = INT32_MAX;
    // A negative height says which row comes first.
    const std::int64_t rows = std::abs(height);
    const std::string size = std::to_string(width) + "x" + std::to_string(rows) + " pixels";
    if (width < 0) return damaged("a width of " + std::to_string(width) + " is impossible");
    if (width == 0 || rows == 0) return damaged("a picture of " + size + " is empty");
    const std::int64_t rowBytes = (width * bitCount + 31) / 32 * 4;
    if (rowBytes <= kMostBytes / rows) return {};
    return {DIB_ERROR_MEMORY, "a picture of " + size + " is too large"};
}

std::string quoted(const std::string& name) {
    std::string text = "\"";
    for (const char c : name) text += std::isalnum(dib::byteOf(c)) != 0 || c == ' ' ? c : '?';
    return text + "\"";
}

}  // namespace formats
