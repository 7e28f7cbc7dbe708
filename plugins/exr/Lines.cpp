#include "plugins/exr/Lines.h"

#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfTiledInputPart.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "dib/Numbers.h"

namespace plugins::exr {

bool Stream::read(char* bytes, int count) {
    const auto wanted = dib::asSize(count);
    if (count < 0 || job_.readAt(position_, bytes, wanted) != wanted) {
        isShort_ = true;
        throw std::runtime_error("short file");
    }
    position_ += wanted;
    return true;
}

namespace {

constexpr unsigned kPlaces = 4;  // bytes of a pixel

// Planes of floats for each channel that the picture shows, with room for some lines.
class Planes {
public:
    Planes(const Part& part, std::int64_t lines) : part_(part) {
        for (unsigned channel = 0; channel < kChannels; ++channel) {
            if (!part.isShown(channel)) continue;
            const int sampling = part.channels[channel].xSampling;
            width_[channel] = dib::asSize((part.width + sampling - 1) / sampling);
            planes_[channel].resize(width_[channel] * dib::asSize(lines));
        }
    }
    // OpenEXR adds coordinates times strides to an address: `left` and `top` are those of the first sample.
    // With a stride of 0 every line is read to the same place.
    Imf::FrameBuffer frame(std::int64_t left, std::int64_t top, bool keepsLines) {
        Imf::FrameBuffer frame;
        for (unsigned channel = 0; channel < kChannels; ++channel) {
            if (planes_[channel].empty()) continue;
            const Samples& samples = part_.channels[channel];
            const std::size_t lineBytes = keepsLines ? width_[channel] * sizeof(float) : 0;
            const std::intptr_t first = left / samples.xSampling * std::intptr_t{sizeof(float)} +
                                        top / samples.ySampling * static_cast<std::intptr_t>(lineBytes);
            auto* base =
                reinterpret_cast<char*>(reinterpret_cast<std::intptr_t>(planes_[channel].data()) - first);
            frame.insert(samples.name, Imf::Slice(Imf::FLOAT, base, sizeof(float), lineBytes,
                                                  samples.xSampling, samples.ySampling));
        }
        return frame;
    }
    Line line(unsigned channel, std::size_t index) const {
        if (planes_[channel].empty()) return {};
        const Samples& samples = part_.channels[channel];
        return {planes_[channel].data() + index * width_[channel], samples.xSampling, samples.isWhole};
    }
    unsigned channelFor(unsigned place) const {
        return part_.isShown(kLuminance) && place != kAlpha ? kLuminance : place;
    }

private:
    const Part& part_;
    std::size_t width_[kChannels] = {};
    std::vector<float> planes_[kChannels];
};

// Luminance and chroma as colours: RY and BY are (R - Y) / Y and (B - Y) / Y, and Y is
// 0.2126 R + 0.7152 G + 0.0722 B.
class ColorsOfChroma {
public:
    explicit ColorsOfChroma(const Part& part) {
        for (std::vector<float>& color : colors_) color.resize(dib::asSize(part.width));
    }
    void convert(const Line& luminance, const Line& redness, const Line& blueness) {
        for (std::size_t x = 0; x < colors_[0].size(); ++x) {
            const auto at = [x](const Line& line) {
                const auto step = dib::asSize(line.xSampling);
                return line.samples != nullptr ? line.samples[x / step] : 0.0F;
            };
            const float y = at(luminance);
            const float red = (at(redness) + 1) * y;
            const float blue = (at(blueness) + 1) * y;
            colors_[kRed][x] = red;
            colors_[kBlue][x] = blue;
            colors_[kGreen][x] = (y - 0.2126F * red - 0.0722F * blue) / 0.7152F;
        }
    }
    Line line(unsigned place) const { return {colors_[place].data()}; }

private:
    std::vector<float> colors_[3];
};

// One line of a file or of a further part at a time.
template <class File>
class PlainLines final : public Lines {
public:
    template <class... From>
    explicit PlainLines(const Part& part, From&&... from)
        : part_(part), file_(std::forward<From>(from)...), planes_(part, 1), colors_(part) {
        file_.setFrameBuffer(planes_.frame(part.left, 0, false));
    }
    void read(std::int64_t line) override {
        file_.readPixels(dib::asInt(part_.top + line));
        if (part_.hasChroma()) {
            colors_.convert(planes_.line(kLuminance, 0), planes_.line(kRedness, 0),
                            planes_.line(kBlueness, 0));
        }
    }
    Line lineFor(unsigned place) const override {
        if (part_.hasChroma() && place != kAlpha) return colors_.line(place);
        return planes_.line(planes_.channelFor(place), 0);
    }

private:
    const Part& part_;
    File file_;
    Planes planes_;
    ColorsOfChroma colors_;
};

// A part that needs all parts to be opened.
class FurtherPart {
public:
    FurtherPart(Imf::IStream& stream, int number) : file_(stream, 0), part_(file_, number) {}
    void setFrameBuffer(const Imf::FrameBuffer& frame) { part_.setFrameBuffer(frame); }
    void readPixels(int line) { part_.readPixels(line); }

private:
    Imf::MultiPartInputFile file_;
    Imf::InputPart part_;
};

// A row of tiles at a time, of a level that is not the largest.
class LevelLines final : public Lines {
public:
    LevelLines(Imf::IStream& stream, const Part& part)
        : part_(part),
          file_(stream, 0),
          tiles_(file_, part.number),
          tileRows_(std::min<std::int64_t>(tiles_.tileYSize(), part.height)),
          planes_(part, tileRows_),
          colors_(part) {}
    void read(std::int64_t line) override {
        line_ = line % tileRows_;
        const auto row = dib::asInt(line / tileRows_);
        // An unreadable row of tiles is read again for each of its lines.
        if (row != tileRow_) {
            tileRow_ = -1;
            tiles_.setFrameBuffer(planes_.frame(part_.left, part_.top + line - line_, true));
            tiles_.readTiles(0, tiles_.numXTiles(part_.level) - 1, row, row, part_.level, part_.level);
            tileRow_ = row;
        }
        if (part_.hasChroma()) colors_.convert(lineOf(kLuminance), lineOf(kRedness), lineOf(kBlueness));
    }
    Line lineFor(unsigned place) const override {
        if (part_.hasChroma() && place != kAlpha) return colors_.line(place);
        return lineOf(planes_.channelFor(place));
    }

private:
    Line lineOf(unsigned channel) const { return planes_.line(channel, dib::asSize(line_)); }

    const Part& part_;
    Imf::MultiPartInputFile file_;
    Imf::TiledInputPart tiles_;
    std::int64_t tileRows_;
    Planes planes_;
    ColorsOfChroma colors_;
    std::int64_t line_ = 0;
    int tileRow_ = -1;  // that the planes hold
};

// Luminance and chroma at half the resolution, which OpenEXR converts to colours.
class FilteredChroma final : public Lines {
public:
    FilteredChroma(Imf::IStream& stream, const Part& part)
        : part_(part), file_(stream, 0), line_(dib::asSize(part.width)) {
        const auto start = reinterpret_cast<std::intptr_t>(line_.data());
        const std::intptr_t origin = start - part.left * std::intptr_t{sizeof(Imf::Rgba)};
        file_.setFrameBuffer(reinterpret_cast<Imf::Rgba*>(origin), 1, 0);
        for (unsigned place = 0; place < (part.has(kAlpha) ? kPlaces : kPlaces - 1); ++place)
            planes_[place].resize(line_.size());
    }
    void read(std::int64_t line) override {
        file_.readPixels(dib::asInt(part_.top + line));
        for (std::size_t x = 0; x < line_.size(); ++x) {
            planes_[kBlue][x] = line_[x].b;
            planes_[kGreen][x] = line_[x].g;
            planes_[kRed][x] = line_[x].r;
            if (part_.has(kAlpha)) planes_[kAlpha][x] = line_[x].a;
        }
    }
    Line lineFor(unsigned place) const override {
        return planes_[place].empty() ? Line() : Line{planes_[place].data()};
    }

private:
    const Part& part_;
    Imf::RgbaInputFile file_;
    std::vector<Imf::Rgba> line_;
    std::vector<float> planes_[kPlaces];
};

}  // namespace

std::unique_ptr<Lines> openLines(Stream& stream, const Part& part) {
    if (part.isFilteredChroma) return std::make_unique<FilteredChroma>(stream, part);
    if (part.level > 0) return std::make_unique<LevelLines>(stream, part);
    if (part.number > 0) return std::make_unique<PlainLines<FurtherPart>>(part, stream, part.number);
    return std::make_unique<PlainLines<Imf::InputFile>>(part, stream, 0);
}

}  // namespace plugins::exr
