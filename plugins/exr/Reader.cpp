#include "plugins/exr/Reader.h"

#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfRgbaFile.h>

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <vector>

#include "dib/File.h"
#include "dib/LightCurve.h"
#include "plugins/exr/Part.h"

namespace plugins::exr {

namespace {

class Stream final : public Imf::IStream {
public:
    explicit Stream(std::FILE* file) : IStream("EXR file"), file_(file) { seekg(0); }
    bool read(char* bytes, int count) override {
        const auto wanted = static_cast<std::size_t>(count);
        if (count < 0 || std::fread(bytes, 1, wanted, file_) != wanted)
            throw std::runtime_error("short file");
        return true;
    }
    std::uint64_t tellg() override { return static_cast<std::uint64_t>(std::ftell(file_)); }
    void seekg(std::uint64_t position) override {
        if (position > INT64_MAX || std::fseek(file_, static_cast<long>(position), SEEK_SET) != 0) {
            throw std::runtime_error("no such place");
        }
    }
    void clear() override { std::clearerr(file_); }

private:
    std::FILE* file_;
};

// One line of the file at a time, with a plane of floats for each channel that the picture shows.
class LineReader {
public:
    LineReader(Imf::IStream& stream, const Part& part) : part_(part), file_(stream, 0) {
        Imf::FrameBuffer frame;
        for (unsigned channel = 0; channel < kChannels; ++channel) {
            if (!part.isShown(channel)) continue;
            planes_[channel].resize(static_cast<std::size_t>(part.width));
            // OpenEXR adds the coordinate of a column times the size of a sample to this address, so the
            // first column is the plane's first sample. Every line is read to the same place.
            const auto start = reinterpret_cast<std::intptr_t>(planes_[channel].data());
            auto* base = reinterpret_cast<char*>(start - part.left * std::intptr_t{sizeof(float)});
            frame.insert(part.layer + kChannelNames[channel], Imf::Slice(Imf::FLOAT, base, sizeof(float), 0));
        }
        file_.setFrameBuffer(frame);
    }
    // Counted from the top of the picture.
    void read(std::int64_t line) { file_.readPixels(static_cast<int>(part_.top + line)); }
    // The samples for byte `place` of a pixel; empty when the file has no such channel.
    const std::vector<float>& samplesFor(unsigned place) const {
        return planes_[part_.isShown(kLuminance) && place != kAlpha ? kLuminance : place];
    }

private:
    const Part& part_;
    Imf::InputFile file_;
    std::vector<float> planes_[kChannels];
};

// The same for a file with luminance and chroma, which OpenEXR converts to colours.
class ChromaReader {
public:
    ChromaReader(Imf::IStream& stream, const Part& part)
        : part_(part), file_(stream, 0), line_(static_cast<std::size_t>(part.width)) {
        const auto start = reinterpret_cast<std::intptr_t>(line_.data());
        const std::intptr_t origin = start - part.left * std::intptr_t{sizeof(Imf::Rgba)};
        file_.setFrameBuffer(reinterpret_cast<Imf::Rgba*>(origin), 1, 0);
        for (unsigned place = 0; place < (part.has[kAlpha] ? 4U : 3U); ++place)
            planes_[place].resize(line_.size());
    }
    void read(std::int64_t line) {
        file_.readPixels(static_cast<int>(part_.top + line));
        for (std::size_t x = 0; x < line_.size(); ++x) {
            planes_[kBlue][x] = line_[x].b;
            planes_[kGreen][x] = line_[x].g;
            planes_[kRed][x] = line_[x].r;
            if (part_.has[kAlpha]) planes_[kAlpha][x] = line_[x].a;
        }
    }
    const std::vector<float>& samplesFor(unsigned place) const { return planes_[place]; }

private:
    const Part& part_;
    Imf::RgbaInputFile file_;
    std::vector<Imf::Rgba> line_;
    std::vector<float> planes_[4];
};

// Alpha takes the curve too: colours premultiplied by it stay premultiplied, since the power of a product is
// the product of powers.
template <class Reader>
void putLine(const Reader& reader, std::size_t pixelBytes, std::size_t width, unsigned char* pixels) {
    const dib::LightCurve& curve = dib::lightCurve();
    for (unsigned place = 0; place < pixelBytes; ++place) {
        const std::vector<float>& samples = reader.samplesFor(place);
        unsigned char* out = pixels + place;
        if (samples.empty()) {
            for (std::size_t x = 0; x < width; ++x) out[x * pixelBytes] = place == kAlpha ? 255 : 0;
        }
        for (std::size_t x = 0; x < samples.size(); ++x) out[x * pixelBytes] = curve(samples[x]);
    }
}

template <class Reader>
bool readLines(std::FILE* file, const Part& part, Picture& picture, DibProgressCallback progress,
               void* user) {
    Stream stream(file);
    Reader reader(stream, part);
    for (std::int64_t y = 0; y < part.height; ++y) {
        reader.read(y);
        putLine(reader, part.isGrey() ? 1 : 4, static_cast<std::size_t>(part.width),
                picture.row(static_cast<std::size_t>(y)));
        const float done = static_cast<float>(y + 1) / static_cast<float>(part.height);
        if (progress != nullptr && !progress(done, user)) return false;
    }
    return true;
}

}  // namespace

bool read(std::FILE* file, Picture& picture, DibProgressCallback progress, void* user) {
    try {
        Part part;
        if (!readPart(file, part)) return false;
        if (!picture.create(part.width, part.height, part.isGrey() ? Picture::kGrey : Picture::kColor))
            return false;
        return part.hasChroma ? readLines<ChromaReader>(file, part, picture, progress, user)
                              : readLines<LineReader>(file, part, picture, progress, user);
    } catch (const std::exception&) {
        return false;
    }
}

bool read(const char* path, Picture& picture, DibProgressCallback progress, void* user) {
    const dib::FilePtr file(std::fopen(path, "rb"));
    return file != nullptr && read(file.get(), picture, progress, user);
}

}  // namespace plugins::exr
