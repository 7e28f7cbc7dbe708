// What the tests of DibFile.h share.
#ifndef TESTS_FORMATS_DOOR_TEST_H
#define TESTS_FORMATS_DOOR_TEST_H

#include <DibFile.h>

#include <string>
#include <vector>

#include "tests/formats/CodecTest.h"

namespace door_test {

using codec_test::Bytes;
using testing_support::DibPtr;
using testing_support::ProgressLog;

// The formats that the library itself writes.
inline std::vector<const DibFormat*> writableFormats() {
    std::vector<const DibFormat*> writable;
    for (const DibFormat* const* format = DibGetFormats(); *format != nullptr; ++format) {
        if ((*format)->writeDepths != 0 && (*format)->plugin == nullptr) writable.push_back(*format);
    }
    return writable;
}

// The image as a file of that format; empty when it could not be saved.
inline Bytes saved(const DibStream& image, const char* format, DibFileResult* result = nullptr) {
    DibSaveOptions options;
    options.format = format;
    DibBytes bytes;
    if (!DibSaveMemory(&bytes, &image, &options, result)) return {};
    return {bytes.data, bytes.data + bytes.size};
}

struct Opened {
    DibPtr image{new DibStream};
    DibFileResult result;
    bool isLoaded = false;

    std::string reason() const { return result.reason; }
    std::string note(int i) const { return i < result.noteCount ? result.notes[i].text : ""; }
};

inline Opened opened(const Bytes& bytes, const DibLoadOptions& options = {}) {
    Opened opened;
    opened.isLoaded = DibLoadMemory(bytes.data(), bytes.size(), opened.image.get(), &options, &opened.result);
    return opened;
}

// Options for files whose format has no signature. The name must outlive them.
inline DibLoadOptions named(const char* name) {
    DibLoadOptions options;
    options.name = name;
    return options;
}
inline DibLoadOptions named(const std::string& name) { return named(name.c_str()); }

}  // namespace door_test

#endif
