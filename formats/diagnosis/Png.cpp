#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/diagnosis/Diagnosis.h"

#include <cstdint>

namespace formats {

namespace {

constexpr std::size_t kChunkFrame = 12;  // length, name and checksum

std::uint32_t checksum(const std::string& bytes) {
    std::uint32_t sum = 0xFFFFFFFF;
    for (const char c : bytes) {
        sum ^= dib::byteOf(c);
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~sum;
}

Problem chunkProblem(const RefusedFile& file, std::int64_t at) {
    const std::string name = file.text(at + 4, 4);
    const std::int64_t length = file.be32(at);
    if (file.size() - at < dib::asOffset(kChunkFrame) + length)
        return cutShort("the file ends inside its chunk " + quoted(name));
    if (checksum(file.text(at + 4, dib::asSize(length) + 4)) != file.be32(at + 8 + length))
        return damaged("the checksum of the chunk " + quoted(name) + " is wrong");
    return {};
}

}  // namespace

Problem diagnosePng(const RefusedFile& file) {
    constexpr std::int64_t kSignatureBytes = 8;
    if (file.text(0, kSignatureBytes) != "\x89PNG\r\n\x1A\n") return damaged("not a PNG file");
    if (file.size() < 33) return cutShort(kShortHeader);
    if (file.text(12, 4) != "IHDR") return damaged("the header chunk (IHDR) is missing");
    bool hasPixels = false;
    std::string name;
    for (std::int64_t at = kSignatureBytes; name != "IEND";) {
        name = file.text(at + 4, 4);
        if (name.empty()) return cutShort("the file ends before its last chunk (IEND)");
        if (Problem problem = chunkProblem(file, at); !problem.empty()) return problem;
        hasPixels = hasPixels || name == "IDAT";
        at += std::int64_t{kChunkFrame} + file.be32(at);
    }
    if (Problem problem = sizeProblem(file.be32(16), file.be32(20), 32); !problem.empty()) return problem;
    return hasPixels ? Problem() : damaged("the pixels (IDAT) are missing");
}

}  // namespace formats
