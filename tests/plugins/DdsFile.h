// DDS files made field by field, and what the plug-in makes of them.
#ifndef TESTS_PLUGINS_DDS_FILE_H
#define TESTS_PLUGINS_DDS_FILE_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "plugins/dds/Reader.h"
#include "tests/plugins/PictureTest.h"
#include "tests/support/ByteFile.h"

namespace dds_test {

using plugin_test::Bytes;
using testing_support::ByteWriter;

struct Format {
    std::uint32_t flags = 0;
    std::string fourCc = std::string(4, '\0');
    std::uint32_t bits = 0;
    std::array<std::uint32_t, 4> masks{};
    int number = -1;  // of the second header, which is written when it is not negative
    std::uint32_t alphaMode = 0;
};

inline Format named(const std::string& fourCc) { return {4, fourCc, 0, {}, -1, 0}; }
inline Format numbered(int number, std::uint32_t alphaMode = 0) {
    return {4, "DX10", 0, {}, number, alphaMode};
}
inline Format masked(std::uint32_t flags, std::uint32_t bits, std::array<std::uint32_t, 4> masks) {
    return {flags, std::string(4, '\0'), bits, masks, -1, 0};
}

inline Bytes file(std::uint32_t width, std::uint32_t height, const Format& format, const Bytes& data) {
    ByteWriter out;
    out.text("DDS ").le32(124).le32(0x1007).le32(height).le32(width).fill(56);
    out.le32(32).le32(format.flags).text(format.fourCc).le32(format.bits);
    for (const std::uint32_t mask : format.masks) out.le32(mask);
    out.le32(0x1000).fill(16);
    if (format.number >= 0) {
        out.le32(static_cast<std::uint32_t>(format.number)).le32(3).le32(0).le32(1).le32(format.alphaMode);
    }
    return out.raw(data).bytes;
}

// By the plug-in.
inline bool read(const Bytes& bytes, plugins::Picture& picture, plugin_test::ProgressLog* log = nullptr) {
    return plugin_test::read(plugins::dds::read, bytes, picture, log);
}
inline Bytes pixels(const Bytes& bytes) { return plugin_test::pixels(plugins::dds::read, bytes); }

}  // namespace dds_test

#endif
