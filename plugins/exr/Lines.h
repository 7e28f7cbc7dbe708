// The lines of a part, one after the other, as floats.
#ifndef PLUGINS_EXR_LINES_H
#define PLUGINS_EXR_LINES_H

#include <OpenEXR/ImfIO.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "plugins/exr/Part.h"

namespace plugins::exr {

// The file as OpenEXR's classes read it.
class Stream final : public Imf::IStream {
public:
    explicit Stream(Job& job) : IStream("EXR file"), job_(job) {}
    bool read(char* bytes, int count) override;
    std::uint64_t tellg() override { return position_; }
    void seekg(std::uint64_t position) override { position_ = position; }
    // Whether the file ended before what was to be read.
    bool isShort() const { return isShort_; }

private:
    Job& job_;
    bool isShort_ = false;
    std::uint64_t position_ = 0;
};

// The samples of one channel in a line; null when the picture has none.
struct Line {
    const float* samples = nullptr;
    int xSampling = 1;
    bool isWhole = false;
};

class Lines {
public:
    virtual ~Lines() = default;
    // Counted from the top of the picture; each line once, in this order. Throws std::exception.
    virtual void read(std::int64_t line) = 0;
    // For byte `place` of a pixel.
    virtual Line lineFor(unsigned place) const = 0;
};

// The part and the stream must outlive it. Throws std::exception.
std::unique_ptr<Lines> openLines(Stream& stream, const Part& part);

}  // namespace plugins::exr

#endif
