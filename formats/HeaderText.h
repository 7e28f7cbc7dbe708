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

    // Reads the next line, line feed included. False when there is none. The number of lines is limited when
    // the end of the source is unknown.
    bool next();
    // The line, ended by NUL; empty after a failure.
    const char* text() const { return line_; }

private:
    ByteReader& source_;
    std::int64_t linesRead_ = 0;
    char line_[128] = {};
};

// Reads a decimal number at `at` with optional white space and sign, and moves `at` past it. Numbers that do
// not fit become the nearest int. False, with nothing changed, when there is no number.
bool readNumber(const char*& at, int& number);

}  // namespace formats

#endif
