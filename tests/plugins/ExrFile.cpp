#include "tests/plugins/ExrFile.h"

#include <Imath/half.h>
#include <OpenEXR/ImfArray.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfDeepFrameBuffer.h>
#include <OpenEXR/ImfDeepScanLineOutputFile.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfStdIO.h>
#include <OpenEXR/ImfTiledOutputFile.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "plugins/exr/Reader.h"

namespace exr_test {

namespace {

Imath::Box2i boxOf(const Window& window) {
    return {Imath::V2i(window.left, window.top), Imath::V2i(window.right, window.bottom)};
}

// The samples of a file's channels, in the channels' own types.
class Samples {
public:
    Samples(const FileContents& layout, const Sampler& sampler) {
        for (std::size_t i = 0; i < layout.channels.size(); ++i) {
            planes_.push_back(planeOf(layout, i, sampler));
            frame.insert(layout.channels[i].name, sliceOf(layout, i));
        }
    }
    Imf::FrameBuffer frame;

private:
    static std::size_t sizeOf(Imf::PixelType type) { return type == Imf::HALF ? 2 : 4; }

    static std::vector<char> planeOf(const FileContents& layout, std::size_t i, const Sampler& sampler) {
        std::vector<char> plane;
        const auto append = [&plane](auto value) {
            char bytes[sizeof value];
            std::memcpy(bytes, &value, sizeof value);
            plane.insert(plane.end(), bytes, bytes + sizeof value);
        };
        for (int y = layout.data.top; y <= layout.data.bottom; ++y) {
            for (int x = layout.data.left; x <= layout.data.right; ++x) {
                const float sample = sampler(i, x, y);
                if (layout.channels[i].type == Imf::HALF) append(Imath::half(sample));
                if (layout.channels[i].type == Imf::FLOAT) append(sample);
                if (layout.channels[i].type == Imf::UINT) append(static_cast<unsigned>(sample));
            }
        }
        return plane;
    }

    // Coordinates are divided by the sampling, so that a coarse channel uses the first samples of its plane.
    Imf::Slice sliceOf(const FileContents& layout, std::size_t i) {
        const ChannelContents& channel = layout.channels[i];
        const std::size_t pixel = sizeOf(channel.type);
        const auto width = static_cast<std::size_t>(layout.data.right - layout.data.left + 1);
        const std::ptrdiff_t origin =
            layout.data.top / channel.sampling * static_cast<std::ptrdiff_t>(width * pixel) +
            layout.data.left / channel.sampling * static_cast<std::ptrdiff_t>(pixel);
        return {channel.type,  planes_[i].data() - origin, pixel,
                width * pixel, channel.sampling,           channel.sampling};
    }

    std::vector<std::vector<char>> planes_;
};

Imf::Header headerOf(const FileContents& layout) {
    Imf::Header header(boxOf(layout.display), boxOf(layout.data));
    header.compression() = layout.compression;
    header.lineOrder() = layout.isBottomUp ? Imf::DECREASING_Y : Imf::INCREASING_Y;
    for (const ChannelContents& channel : layout.channels) {
        header.channels().insert(channel.name,
                                 Imf::Channel(channel.type, channel.sampling, channel.sampling));
    }
    if (layout.tileSide > 0) {
        const auto side = static_cast<unsigned>(layout.tileSide);
        header.setTileDescription(Imf::TileDescription(side, side, layout.levels));
    }
    return header;
}

Bytes bytesOf(const Imf::StdOSStream& stream) {
    const std::string text = stream.str();
    return {text.begin(), text.end()};
}

}  // namespace

Bytes write(const FileContents& layout, const Sampler& sampler) {
    const Samples samples(layout, sampler);
    Imf::StdOSStream stream;
    if (layout.tileSide == 0) {
        Imf::OutputFile file(stream, headerOf(layout), 0);
        file.setFrameBuffer(samples.frame);
        file.writePixels(layout.data.bottom - layout.data.top + 1);
    } else {
        Imf::TiledOutputFile file(stream, headerOf(layout), 0);
        file.setFrameBuffer(samples.frame);
        // The smaller levels show the corner of the same picture.
        for (int y = 0; y < file.numYLevels(); ++y) {
            for (int x = 0; x < file.numXLevels(); ++x) {
                if (file.isValidLevel(x, y))
                    file.writeTiles(0, file.numXTiles(x) - 1, 0, file.numYTiles(y) - 1, x, y);
            }
        }
    }
    return bytesOf(stream);
}

Bytes writeTwoParts(const FileContents& first, const Sampler& sampler) {
    FileContents second = first;
    second.data = {0, 0, 0, 0};
    Imf::Header headers[] = {headerOf(first), headerOf(second)};
    headers[0].setName("first");
    headers[1].setName("second");
    for (Imf::Header& header : headers) header.setType(Imf::SCANLINEIMAGE);
    Imf::StdOSStream stream;
    {
        Imf::MultiPartOutputFile file(stream, headers, 2, false, 0);
        int index = 0;
        for (const FileContents& layout : {first, second}) {
            const Samples samples(layout, sampler);
            Imf::OutputPart part(file, index++);
            part.setFrameBuffer(samples.frame);
            part.writePixels(layout.data.bottom - layout.data.top + 1);
        }
    }
    return bytesOf(stream);
}

Bytes writeDeep() {
    Imf::Header header(1, 1);
    header.channels().insert("R", Imf::Channel(Imf::HALF));
    header.setType(Imf::DEEPSCANLINE);
    header.compression() = Imf::ZIPS_COMPRESSION;
    unsigned count = 1;
    Imath::half sample(1.0F);
    char* samples = reinterpret_cast<char*>(&sample);
    Imf::DeepFrameBuffer frame;
    frame.insertSampleCountSlice(Imf::Slice(Imf::UINT, reinterpret_cast<char*>(&count), 4, 4));
    frame.insert("R", Imf::DeepSlice(Imf::HALF, reinterpret_cast<char*>(&samples), 8, 8, sizeof sample));
    Imf::StdOSStream stream;
    {
        Imf::DeepScanLineOutputFile file(stream, header, 0);
        file.setFrameBuffer(frame);
        file.writePixels(1);
    }
    return bytesOf(stream);
}

Bytes withValue(Bytes bytes, const std::string& name, const std::string& type, const Bytes& value,
                bool isSecond) {
    const std::string mark =
        name + '\0' + type + '\0' + static_cast<char>(value.size()) + std::string(3, '\0');
    auto at = std::search(bytes.begin(), bytes.end(), mark.begin(), mark.end());
    if (isSecond && at != bytes.end()) at = std::search(at + 1, bytes.end(), mark.begin(), mark.end());
    if (at == bytes.end()) return {};
    std::copy(value.begin(), value.end(), at + static_cast<std::ptrdiff_t>(mark.size()));
    return bytes;
}

Bytes withWindow(const Bytes& bytes, const Window& window, bool isSecond) {
    testing_support::ByteWriter value;
    for (const int number : {window.left, window.top, window.right, window.bottom}) {
        value.le32(static_cast<std::uint32_t>(number));
    }
    return withValue(bytes, "dataWindow", "box2i", value.bytes, isSecond);
}

Bytes withTiles(const Bytes& bytes, std::uint32_t columns, std::uint32_t rows, unsigned char mode) {
    testing_support::ByteWriter value;
    value.le32(columns).le32(rows).raw({mode});
    return withValue(bytes, "tiles", "tiledesc", value.bytes);
}

std::map<std::string, std::vector<float>> readSamples(const Bytes& bytes, Window& data) {
    Imf::StdISStream stream;
    stream.str(std::string(bytes.begin(), bytes.end()));
    Imf::InputFile file(stream, 0);
    const Imath::Box2i box = file.header().dataWindow();
    data = {box.min.x, box.min.y, box.max.x, box.max.y};
    const auto width = static_cast<std::size_t>(box.max.x - box.min.x + 1);
    const auto height = static_cast<std::size_t>(box.max.y - box.min.y + 1);
    std::map<std::string, std::vector<float>> planes;
    Imf::FrameBuffer frame;
    const Imf::ChannelList& channels = file.header().channels();
    for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
        if (channel.channel().xSampling != 1 || channel.channel().ySampling != 1) continue;
        std::vector<float>& plane = planes[channel.name()];
        plane.resize(width * height);
        const std::ptrdiff_t origin = box.min.y * static_cast<std::ptrdiff_t>(width * 4) + box.min.x * 4L;
        frame.insert(channel.name(),
                     Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(plane.data()) - origin, 4, width * 4));
    }
    file.setFrameBuffer(frame);
    file.readPixels(box.min.y, box.max.y);
    return planes;
}

FileContents colors(int width, int height, Imf::PixelType type) {
    FileContents layout;
    layout.data = {0, 0, width - 1, height - 1};
    layout.display = layout.data;
    for (const char* name : {"A", "B", "G", "R"}) layout.channels.push_back({name, type});
    return layout;
}

float sampleAt(std::size_t channel, int x, int y) {
    const auto c = static_cast<float>(channel);
    return 0.6F + 0.6F * std::sin(static_cast<float>(x) / 5 + c) * std::cos(static_cast<float>(y) / 7 - c);
}

bool read(const Bytes& bytes, plugins::Picture& picture, plugin_test::ProgressLog* log) {
    return plugin_test::read(plugins::exr::read, bytes, picture, log);
}

Bytes pixels(const Bytes& bytes) { return plugin_test::pixels(plugins::exr::read, bytes); }

namespace {

unsigned char curve(float sample) {
    if (!(sample > 0)) return 0;
    return static_cast<unsigned char>(
        std::min(std::floor(std::pow(double{sample}, 0.45454543828964233) * 255.0 + 0.5), 255.0));
}

}  // namespace

Bytes expectedPixels(const Bytes& bytes) {
    Window data;
    auto planes = readSamples(bytes, data);
    const auto count = static_cast<std::size_t>((data.right - data.left + 1) * (data.bottom - data.top + 1));
    Bytes all;
    const bool hasColors = planes.count("R") + planes.count("G") + planes.count("B") > 0;
    // Of a file that has layers alone, the first one.
    std::string layer;
    for (const auto& [name, plane] : planes) {
        if (!hasColors && planes.count("Y") == 0 && layer.empty() && name.find('.') != std::string::npos) {
            layer = name.substr(0, name.rfind('.') + 1);
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        for (const std::string name : {"B", "G", "R", "A"}) {
            const bool isAlpha = name == "A";
            const auto plane = planes.find(hasColors || isAlpha || !layer.empty() ? layer + name : "Y");
            all.push_back(plane != planes.end() ? curve(plane->second[i]) : isAlpha ? 255 : 0);
        }
    }
    return all;
}

}  // namespace exr_test
