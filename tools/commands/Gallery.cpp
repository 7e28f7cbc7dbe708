// `dib gallery`: what every operation of the table does to one picture.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/cli/Cancel.h"
#include "tools/cli/ExitCode.h"
#include "tools/cli/Options.h"
#include "tools/commands/Pictures.h"
#include "tools/gallery/ContactSheet.h"
#include "tools/gallery/GalleryPage.h"
#include "tools/io/Formats.h"
#include "tools/io/Images.h"
#include "tools/io/Operations.h"

namespace tool {

namespace {

// How wide a side of the shown pictures can be.
constexpr int kSmallestSide = 240;
constexpr int kLargestSide = 1024;

struct GalleryJob {
    std::string input;
    std::string folder;       // created if missing
    PictureOptions pictures;  // how the input is opened
    int longerSide = 320;     // of the shown picture
    bool showsProgress = false;
};

constexpr const char* kInput = "in.bmp";
constexpr const char* kOther = "other.bmp";
constexpr const char* kPictureFolder = "pictures";

// The contact sheet shows the second sample, which has more effect than the first one, unless there is
// nothing to set.
std::size_t sampleOfSheet(const DibOperation& operation) { return *operation.parameters == nullptr ? 0 : 1; }

void need(bool done, const std::string& title, const DibStream& image) {
    if (!done) throw Failure(kExitOperationFailed, title + ": " + errorText(image));
}

ImagePtr cloneOf(DibStream& image) {
    ImagePtr copy(image.Clone());
    need(copy != nullptr, kInput, image);
    return copy;
}

// The folder that the gallery is written to.
class Folder {
public:
    Folder(const GalleryJob& job, Progress& progress, Notes& notes)
        : path_(job.folder), pictures_(job.pictures), progress_(progress), notes_(notes) {
        makeFolder(path_);
        makeFolder(pathOf(kPictureFolder));
    }

    const std::string& path() const { return path_; }
    std::string pathOf(const std::string& name) const { return std::filesystem::path(path_) / name; }

    // In the format of the name's extension.
    void save(DibStream& image, const std::string& name) const {
        savePicture(pathOf(name), *formatOfExtension(name), image, pictures_, progress_, notes_);
    }

    // Saves a picture of the page.
    ShownPicture show(DibStream& image, const std::string& name) const {
        const std::string picture = std::string(kPictureFolder) + "/" + name + ".png";
        save(image, picture);
        std::ifstream file(pathOf(picture), std::ios::binary);
        std::ostringstream bytes;
        bytes << file.rdbuf();
        return {bytes.str(), width(image), height(image), image.Header->biBitCount};
    }

private:
    const std::string& path_;
    const PictureOptions& pictures_;
    Progress& progress_;
    Notes& notes_;
};

// Converts to 24 bits, which every operation accepts, and to sizes that suit the settings of the samples: the
// longer side is `longerSide`, and a picture longer than three times its width is cut at both ends.
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

// Rings in two colours whose distance shrinks outwards: blended into another picture, they show how.
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

// Renders the samples one after the other and puts one of each operation on the sheet.
class Renderer {
public:
    // File names on the page are relative to its folder.
    Renderer(const Folder& folder, DibStream& input, ContactSheet& sheet, const StepFrame& frame)
        : folder_(folder), input_(input), sheet_(sheet), frame_(frame) {}

    ShownOperation render(const DibOperation& operation) {
        ShownOperation result{&operation, {}};
        for (std::size_t i = 0; i < std::size(operation.samples); ++i) {
            const std::string name = std::string(operation.name) + "-" + std::to_string(i + 1);
            result.samples[i] = renderSample(operation.samples[i], name);
            if (i == sampleOfSheet(operation)) addToSheet(operation.name);
        }
        return result;
    }

private:
    ShownSample renderSample(const char* chain, const std::string& name) {
        ShownSample sample;
        sample.chain = chain;
        image_ = cloneOf(input_);
        const DibChain parsed = parseChain(chain);
        for (const DibStep& step : std::span(parsed.steps, static_cast<std::size_t>(parsed.stepCount))) {
            sample.call += (sample.call.empty() ? "" : "\n") + callText(step, *image_);
            applyStep(step, *image_, frame_);
        }
        sample.result = folder_.show(*image_, name);
        return sample;
    }

    void addToSheet(std::string_view name) {
        need(image_->ChangeBpp(24, 0), kInput, *image_);
        sheet_.add(*image_, name);
    }

    const Folder& folder_;
    DibStream& input_;
    ContactSheet& sheet_;
    const StepFrame& frame_;
    ImagePtr image_;
};

std::size_t stepCount() {
    std::size_t count = 0;
    for (const DibOperation* operation : operations()) {
        for (const char* chain : operation->samples)
            count += static_cast<std::size_t>(parseChain(chain).stepCount);
    }
    return count;
}

// Writes "index.html", a page with every sample of every operation, their pictures and a contact sheet. The
// commands on the page start from "in.bmp" and "other.bmp", which are written too: run in the folder, they
// give what the page shows.
void makeGallery(const GalleryJob& job) {
    Notes notes(job.pictures);
    Progress progress(stepCount() + 1, job.showsProgress);
    DibStream input;
    const InputFile file(job.input);
    loadPicture(file, input, job.pictures, progress, notes);
    fit(input, job.longerSide, file.title());
    const Folder folder(job, progress, notes);
    folder.save(input, kInput);
    DibStream other;
    paintOther(other);
    folder.save(other, kOther);

    Gallery gallery{folder.show(input, "in"), folder.show(other, "other"), {}};
    ContactSheet sheet(static_cast<int>(operations().size()) + 1);
    sheet.add(input, "original");
    const std::string title = kInput;
    const StepFrame frame = {title, job.pictures, progress, notes, folder.path()};
    Renderer renderer(folder, input, sheet, frame);
    for (const DibOperation* operation : operations())
        gallery.operations.push_back(renderer.render(*operation));
    stopIfCancelled();
    folder.save(sheet.image(), "contact-sheet.jpg");
    writeText(folder.pathOf("index.html"), galleryPage(gallery));
}

}  // namespace

void declareGallery(CLI::App& command) {
    const auto job = std::make_shared<GalleryJob>();
    addOperand(command, "INPUT", job->input, "A picture; '-' is standard input");
    addOperand(command, "FOLDER", job->folder, "Folder for the page; created if missing");
    addOpening(command, job->pictures.load);
    command
        .add_option("--side", job->longerSide,
                    "Pixels of the longer side of the pictures, " + std::to_string(kSmallestSide) + " to " +
                        std::to_string(kLargestSide) + "; default " + std::to_string(job->longerSide))
        ->check(between(kSmallestSide, kLargestSide))
        ->type_name("PIXELS");
    addProgress(command, job->showsProgress);
    command.callback([job] { makeGallery(*job); });
}

}  // namespace tool
