// Headers that are lines of text.
#ifndef FORMATS_HEADER_TEXT_H
#define FORMATS_HEADER_TEXT_H

#include <cstdint>

#include "formats/ByteReader.h"

namespace formats {

// Reads a header line by line. A line longer than 127 characters comes in pieces of that length.
class HeaderLines {
public:
    explicit HeaderLines(ByteReader& source) : source_(source) {}

    // Reads the next line, line feed included. False when there is none, or when a stream without a known end
    // has given as many lines as no header has.
    bool next();
    // The line, ended by NUL; empty after a failure.
    const char* text() const { return line_; }

private:
    ByteReader& source_;
    std::int64_t linesRead_ = 0;
    char line_[128] = {};
};

// Reads a decimal number at `at`, white space and a sign before it allowed, and moves behind it. Numbers that
// do not fit are cut to the nearest int. False, with nothing changed, when there is no number.
bool readNumber(const char*& at, int& number);

}  // namespace formats

#endif
