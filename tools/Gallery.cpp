#include "tools/Gallery.h"

#include <DibCodec.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/CallText.h"
#include "tools/Cancel.h"
#include "tools/Chain.h"
#include "tools/ContactSheet.h"
#include "tools/ErrorText.h"
#include "tools/Failure.h"
#include "tools/GalleryPage.h"
#include "tools/ImagePtr.h"
#include "tools/Sides.h"

namespace tool {

namespace {

constexpr const char* kInput = "in.bmp";
constexpr const char* kOther = "other.bmp";
constexpr const char* kPictureFolder = "pictures";

// The sheet shows the second sample, which tells more than the plainest one, unless there is nothing to set.
std::size_t tellingSample(const Operation& operation) { return operation.parameters.empty() ? 0 : 1; }

void need(bool done, const std::string& title, const DibStream& image) {
    if (!done) throw Failure(kExitOperationFailed, title + ": " + errorText(image));
}

ImagePtr cloneOf(DibStream& image) {
    ImagePtr copy(image.Clone());
    need(copy != nullptr, kInput, image);
    return copy;
}

using Saver = bool (*)(const char* path, DibStream& image);

bool savePng(const char* path, DibStream& image) { return SavePNG(path, &image, nullptr, nullptr); }
bool saveJpeg(const char* path, DibStream& image) { return SaveJPEG(path, &image, nullptr, nullptr); }
bool saveBmp(const char* path, DibStream& image) { return image.SaveToFile(path); }

void save(DibStream& image, const std::string& name, Saver saver) {
    OutputFile file(name);
    if (!saver(file.path(), image)) {
        throw Failure(kExitOutputFailed, name + ": save: " + DibStream::GetErrorString(DIB_ERROR_WRITE));
    }
    file.commit();
}

std::string bytesOf(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

// Every operation accepts 24 bits. The sides are bounded, so that the settings of the samples suit every picture:
// the longer one is as wanted, and a picture more than three times as long as wide is cut at both ends.
void fit(DibStream& image, int longerSide, const std::string& title) {
    constexpr int kLongest = 3;
    need(image.ChangeBpp(24, 0), title, image);
    const int columns = std::min(width(image), kLongest * height(image));
    const int rows = std::min(height(image), kLongest * width(image));
    need(image.ChangeSize(columns, rows, 0), title, image);
    const double scale = static_cast<double>(longerSide) / std::max(columns, rows);
    const auto scaled = [scale](int side) { return static_cast<int>(std::lround(side * scale)); };
    const auto method = scale < 1 ? DibStream::DIB_RESIZE_INTEGRAL : DibStream::DIB_RESIZE_BILINEAR;
    need(image.Resize(scaled(columns), scaled(rows), method), title, image);
}

// Rings whose distance shrinks outwards, in two colours: a picture that shows well how it was laid over another.
void paintOther(DibStream& image) {
    constexpr int kWidth = 160;
    constexpr int kHeight = 120;
    constexpr int kRed[] = {250, 24};
    constexpr int kGreen[] = {196, 60};
    constexpr int kBlue[] = {72, 140};
    need(image.Create(kWidth, kHeight, 24), kOther, image);
    for (int y = 0; y < kHeight; ++y) {
        auto* row = reinterpret_cast<DibBGR*>(image.ScanLine(y));
        for (int x = 0; x < kWidth; ++x) {
            const int dx = 2 * x - kWidth + 1;
            const int dy = 2 * y - kHeight + 1;
            const int phase = (dx * dx + dy * dy) / 10 % 512;
            const int share = phase < 256 ? phase : 511 - phase;
            const auto mixed = [share](const int(&ends)[2]) {
                return static_cast<unsigned char>((ends[0] * (255 - share) + ends[1] * share) / 255);
            };
            row[x] = {mixed(kBlue), mixed(kGreen), mixed(kRed)};
        }
    }
}

ShownPicture shown(DibStream& image, const std::string& name) {
    const std::string path = std::string(kPictureFolder) + "/" + name + ".png";
    save(image, path, savePng);
    return {bytesOf(path), width(image), height(image), image.Header->biBitCount};
}

// Renders the samples one after the other and puts one of each operation on the sheet.
class Renderer {
public:
    Renderer(DibStream& input, ContactSheet& sheet, Progress& progress)
        : input_(input), sheet_(sheet), progress_(progress) {}

    ShownOperation render(const Operation& operation) {
        ShownOperation result{&operation, {}};
        for (std::size_t i = 0; i < operation.samples.size(); ++i) {
            const std::string name = std::string(operation.name) + "-" + std::to_string(i + 1);
            result.samples[i] = renderSample(operation.samples[i], name);
            if (i == tellingSample(operation)) addToSheet(operation.name);
        }
        return result;
    }

private:
    ShownSample renderSample(std::string_view chain, const std::string& name) {
        ShownSample sample;
        sample.chain = chain;
        image_ = cloneOf(input_);
        for (const Step& step : parseSample(chain)) {
            sample.call += (sample.call.empty() ? "" : "\n") + callText(step, *image_);
            applyStep(step, kInput, *image_, progress_);
        }
        sample.result = shown(*image_, name);
        return sample;
    }

    void addToSheet(std::string_view name) {
        need(image_->ChangeBpp(24, 0), kInput, *image_);
        sheet_.add(*image_, name);
    }

    DibStream& input_;
    ContactSheet& sheet_;
    Progress& progress_;
    ImagePtr image_;
};

std::size_t stepCount() {
    std::size_t count = 0;
    for (const Operation& operation : operations()) {
        for (const std::string_view chain : operation.samples) count += parseSample(chain).size();
    }
    return count;
}

}  // namespace

void makeGallery(const GalleryJob& job) {
    Progress progress(stepCount() + 1, job.showsProgress);
    DibStream input;
    {
        const InputFile file(job.input);
        loadPicture(file, inputFormatOf(file, job.input, job.inputFormat), input, progress);
        fit(input, job.longerSide, file.title());
    }
    makeFolder(job.folder);
    // The samples name their files as somebody does who runs them in that folder.
    std::filesystem::current_path(job.folder);
    makeFolder(kPictureFolder);
    save(input, kInput, saveBmp);
    DibStream other;
    paintOther(other);
    save(other, kOther, saveBmp);

    Gallery gallery{shown(input, "in"), shown(other, "other"), {}};
    ContactSheet sheet(static_cast<int>(operations().size()) + 1);
    sheet.add(input, "original");
    Renderer renderer(input, sheet, progress);
    for (const Operation& operation : operations()) gallery.operations.push_back(renderer.render(operation));
    stopIfCancelled();
    save(sheet.image(), "contact-sheet.jpg", saveJpeg);
    writeText("index.html", galleryPage(gallery));
}

}  // namespace tool
