// Files that live in memory, for codecs that take a FILE*.
#ifndef TESTS_SUPPORT_BYTE_FILE_H
#define TESTS_SUPPORT_BYTE_FILE_H

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "dib/File.h"
#include "tests/support/System.h"

namespace testing_support {

// The bytes as a file open for reading; they must outlive it.
inline dib::FilePtr openBytes(const std::vector<unsigned char>& bytes) {
    return dib::FilePtr(openBlock(bytes.data(), bytes.size()));
}

// What `write` puts into a file opened for it.
inline std::vector<unsigned char> writtenBytes(const std::function<void(std::FILE*)>& write) {
    const dib::FilePtr file(std::tmpfile());
    write(file.get());
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::ftell(file.get())));
    std::rewind(file.get());
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    return bytes;
}

// Builds the bytes of a file field by field.
class ByteWriter {
public:
    ByteWriter& u8(unsigned value) {
        bytes.push_back(static_cast<unsigned char>(value));
        return *this;
    }
    ByteWriter& le16(std::uint32_t value) { return u8(value & 255).u8(value >> 8 & 255); }
    ByteWriter& le32(std::uint32_t value) { return le16(value & 0xFFFF).le16(value >> 16); }
    ByteWriter& be16(std::uint32_t value) { return u8(value >> 8 & 255).u8(value & 255); }
    ByteWriter& be32(std::uint32_t value) { return be16(value >> 16).be16(value & 0xFFFF); }
    ByteWriter& raw(const std::vector<unsigned char>& more) {
        bytes.insert(bytes.end(), more.begin(), more.end());
        return *this;
    }
    ByteWriter& fill(std::size_t count, unsigned value = 0) {
        bytes.insert(bytes.end(), count, static_cast<unsigned char>(value));
        return *this;
    }
    ByteWriter& text(const std::string& characters) {
        bytes.insert(bytes.end(), characters.begin(), characters.end());
        return *this;
    }

    std::vector<unsigned char> bytes;
};

}  // namespace testing_support

#endif
