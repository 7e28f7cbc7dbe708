#include "plugins/exr/Reader.h"

#include <OpenEXR/openexr.h>

#include <cmath>
#include <cstring>
#include <exception>
#include <new>

#include "dib/Bytes.h"
#include "dib/File.h"
#include "dib/LightCurve.h"
#include "dib/Numbers.h"
#include "plugins/exr/Lines.h"
#include "plugins/exr/Part.h"

namespace plugins::exr {

namespace {

// Whole numbers are fractions of the highest one.
unsigned char byteOfWhole(float value) { return dib::byteOf(std::lround(value / 4294967295.0F * 255.0F)); }

// The curve applies to alpha, too: colours premultiplied by it stay premultiplied, since the power of a
// product is the product of powers.
void putLine(const Lines& lines, std::size_t pixelBytes, std::size_t width, unsigned char* pixels) {
    const dib::LightCurve& curve = dib::lightCurve();
    for (unsigned place = 0; place < pixelBytes; ++place) {
        const Line line = lines.lineFor(place);
        unsigned char* out = pixels + place;
        if (line.samples == nullptr) {
            for (std::size_t x = 0; x < width; ++x) out[x * pixelBytes] = place == kAlpha ? 255 : 0;
        } else if (line.xSampling == 1 && !line.isWhole) {
            for (std::size_t x = 0; x < width; ++x) out[x * pixelBytes] = curve(line.samples[x]);
        } else {
            const auto step = dib::asSize(line.xSampling);
            for (std::size_t x = 0; x < width; ++x) {
                const float sample = line.samples[x / step];
                out[x * pixelBytes] = line.isWhole ? byteOfWhole(sample) : curve(sample);
            }
        }
    }
}

bool refuseDamaged(Job& job, const Stream& stream) {
    return stream.isShort() ? job.refuse(DIB_ERROR_READ, "the file ends before its pixels do")
                            : job.refuse(DIB_ERROR_INVALID, "the pixels are damaged");
}

// Lines that cannot be read stay 0. Chunks may lie in any order, so lines after a missing one may exist.
bool readLines(Job& job, const Part& part, Stream& stream, Picture& picture) {
    const std::unique_ptr<Lines> lines = openLines(stream, part);
    const auto rows = dib::asSize(part.height);
    picture.rowsRead = 0;
    for (std::size_t y = 0; y < rows; ++y) {
        try {
            lines->read(dib::asOffset(y));
            putLine(*lines, part.isGrey() ? 1 : 4, dib::asSize(part.width), picture.row(y));
            ++picture.rowsRead;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            if (!job.keepsDamaged) return refuseDamaged(job, stream);
        }
        if (!job.report(y + 1, rows)) return false;
    }
    return picture.rowsRead == rows || refuseDamaged(job, stream);
}

void noteAssumptions(Job& job, const Part& part) {
    bool isWhole = false;
    bool isCoarse = false;
    for (unsigned channel = 0; channel < kChannels; ++channel) {
        const Samples& samples = part.channels[channel];
        isWhole = isWhole || (part.isShown(channel) && samples.isWhole);
        isCoarse = isCoarse ||
                   (part.isShown(channel) && channel < kRedness && samples.xSampling * samples.ySampling > 1);
    }
    if (isWhole) job.note(DIB_NOTE_ASSUMPTION, "whole numbers are shown as fractions of 4294967295");
    if (isCoarse) job.note(DIB_NOTE_ASSUMPTION, "channels of a lower resolution are shown in larger pixels");
}

bool read(Job& job, const Dialect& dialect, Picture& picture) {
    Stream stream(job);
    try {
        Part part;
        if (!readPart(job, dialect, part)) return false;
        const int bitCount = part.isGrey() ? Picture::kGrey : Picture::kColor;
        if (!Picture::isPossible(part.width, part.height, bitCount)) return false;
        if (!picture.create(part.width, part.height, bitCount))
            return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
        noteAssumptions(job, part);
        return readLines(job, part, stream, picture);
    } catch (const std::bad_alloc&) {
        picture.rowsRead = 0;
        return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
    } catch (const std::exception&) {
        return refuseDamaged(job, stream);
    }
}

bool recognizes(const unsigned char* bytes, std::size_t count) {
    return count >= 4 && std::memcmp(bytes, "\x76\x2F\x31\x01", 4) == 0;
}

bool probe(const DibPluginCall* call, DibPluginInfo* info) {
    CallJob job(*call);
    try {
        return probePart(job, *info);
    } catch (const std::bad_alloc&) {
        return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
    }
}

bool listLayers(const DibPluginCall* call, void* list, bool (*add)(void* list, const DibPluginLayer* layer)) {
    CallJob job(*call);
    try {
        return exr::listLayers(job, list, add);
    } catch (const std::bad_alloc&) {
        return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
    }
}

int findPage(const DibPluginCall* call, const char* name) {
    CallJob job(*call);
    try {
        return findPart(job, name);
    } catch (const std::bad_alloc&) {
        return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory") ? 0 : -1;
    }
}

bool readWide(Job& job, Picture& picture, DibPluginPicture& /*out*/) { return read(job, kWide, picture); }

constexpr const char* kExtensions[] = {"exr", nullptr};
constexpr const char* kTypes[] = {"image/x-exr", nullptr};

// The version of the library that is loaded, which may be newer than the one that this was built with.
const char* libraryName() {
    static char name[48];
    int major = 0;
    int minor = 0;
    int patch = 0;
    exr_get_library_version(&major, &minor, &patch, nullptr);
    std::snprintf(name, sizeof name, "OpenEXR %d.%d.%d", major, minor, patch);
    return name;
}

}  // namespace

bool read(std::FILE* file, Picture& picture, DibProgressCallback progress, void* user) {
    FileJob job(file, progress, user);
    return read(job, kClassic, picture);
}

bool read(const char* path, Picture& picture, DibProgressCallback progress, void* user) {
    const dib::FilePtr file(std::fopen(path, "rb"));
    return file != nullptr && read(file.get(), picture, progress, user);
}

const DibPluginDescription& description() {
    static const DibPluginDescription kDescription = {
        .size = sizeof(DibPluginDescription),
        .version = DIB_PLUGIN_VERSION,
        .name = "exr",
        .title = "OpenEXR",
        .extensions = kExtensions,
        .mimeTypes = kTypes,
        .library = libraryName(),
        .readDepths = DibStream::DIB_ACCEPT_8 | DibStream::DIB_ACCEPT_32,
        .hasLayers = true,
        .hasPages = true,
        .recognizes = recognizes,
        .probe = probe,
        .load = loadBy<readWide>,
        .listLayers = listLayers,
        .findPage = findPage,
    };
    return kDescription;
}

}  // namespace plugins::exr
