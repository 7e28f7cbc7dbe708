// What the tests of both plug-ins share: reading files from memory, and the pixels of what comes of it.
#ifndef TESTS_PLUGINS_PICTURE_TEST_H
#define TESTS_PLUGINS_PICTURE_TEST_H

#include "plugins/Picture.h"
#include "tests/formats/CodecTest.h"

namespace plugin_test {

using codec_test::Bytes;
using codec_test::ProgressLog;
using Reader = bool (*)(std::FILE*, plugins::Picture&, DibProgressCallback, void*);

inline bool read(Reader reader, const Bytes& bytes, plugins::Picture& picture, ProgressLog* log = nullptr) {
    const dib::FilePtr opened = testing_support::openBytes(bytes);
    return reader(opened.get(), picture, log != nullptr ? ProgressLog::callback : nullptr, log);
}

// The pixels of a whole picture from the top, blue, green, red, alpha (or a grey); empty when it is refused.
inline Bytes pixels(Reader reader, const Bytes& bytes) {
    plugins::Picture picture;
    if (!read(reader, bytes, picture)) return {};
    Bytes all;
    const auto width = static_cast<std::size_t>(picture.header().biWidth * picture.header().biBitCount / 8);
    for (std::size_t y = 0; y < static_cast<std::size_t>(picture.header().biHeight); ++y) {
        all.insert(all.end(), picture.row(y), picture.row(y) + width);
    }
    return all;
}

}  // namespace plugin_test

#endif
