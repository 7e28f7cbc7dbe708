// `dib gallery`: what every operation of the table does to one picture.
#include <DibHandle.h>
#include <DibPictures.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <fstream>
#include <new>
#include <optional>
#include <span>
#include <sstream>
#include <utility>
#include <vector>

#include "tools/cli/Cancel.h"
#include "tools/cli/ExitCode.h"
#include "tools/cli/Options.h"
#include "tools/commands/Pictures.h"
#include "tools/gallery/GalleryPage.h"
#include "tools/io/Formats.h"
#include "tools/io/Operations.h"
#include "tools/io/OutputFolder.h"

namespace tool {

namespace {

// How wide a side of the shown pictures can be.
constexpr int kSmallestSide = 240;
constexpr int kLargestSide = 1024;

struct GalleryJob {
    std::string input;
    std::string folder;
    PictureOptions pictures;  // how the input is opened
    int longerSide = 320;     // of the shown picture
    bool isClassic = false;   // steps have their switch `classic`
    bool showsProgress = false;
};

constexpr const char* kInput = "in.bmp";
constexpr const char* kOther = "other.bmp";
constexpr const char* kPictureFolder = "pictures";

// The contact sheet shows the second sample, which has more effect than the first one, unless there is
// nothing to set.
std::size_t sampleOfSheet(const DibOperation& operation) { return *operation.parameters == nullptr ? 0 : 1; }

void need(bool done, const std::string& title, const DibStream& image) {
    const std::string reason = DibStream::GetErrorString(image.ErrorCode);
    if (!done) throw Failure(kExitOperationFailed, title + ": " + (reason.empty() ? "failed" : reason));
}

// Converts to 24 bits, which every operation accepts, and to sizes that suit the settings of the samples: the
// longer side is `longerSide`, and a picture longer than three times its width is cut at both ends.
void fit(DibHandle& image, int longerSide, const std::string& title) {
    constexpr int kLongest = 3;
    need(image->ChangeBpp(24, 0), title, *image);
    const int columns = std::min(image.width(), kLongest * image.height());
    const int rows = std::min(image.height(), kLongest * image.width());
    need(image->ChangeSize(columns, rows, 0), title, *image);
    const double scale = static_cast<double>(longerSide) / std::max(columns, rows);
    const auto scaled = [scale](int side) { return static_cast<int>(std::lround(side * scale)); };
    const auto method = scale < 1 ? DibStream::DIB_RESIZE_INTEGRAL : DibStream::DIB_RESIZE_BILINEAR;
    need(image->Resize(scaled(columns), scaled(rows), method), title, *image);
}

// Rings in yellow and blue whose distance shrinks outwards: blended into another picture, they show how.
void paintOther(DibStream& image) {
    constexpr int kWidth = 160;
    constexpr int kHeight = 120;
    need(image.Create(kWidth, kHeight, 24), kOther, image);
    for (int y = 0; y < kHeight; ++y) {
        auto* row = reinterpret_cast<DibBGR*>(image.ScanLine(y));
        for (int x = 0; x < kWidth; ++x) {
            const int dx = 2 * x - kWidth + 1;
            const int dy = 2 * y - kHeight + 1;
            const int phase = (dx * dx + dy * dy) / 10 % 512;
            const int share = phase < 256 ? phase : 511 - phase;
            const auto mixed = [share](int yellow, int blue) {
                return static_cast<unsigned char>((yellow * (255 - share) + blue * share) / 255);
            };
            row[x] = {mixed(72, 140), mixed(196, 60), mixed(250, 24)};
        }
    }
}

// A chain with the switch of all steps that have it for their values.
std::string asClassic(const std::string& chain) {
    std::string text;
    for (const std::string& step : CLI::detail::split(chain, ' ')) {
        const std::string classic = step + (step.find(':') == std::string::npos ? ":classic" : ",classic");
        const DibOperation& operation = *parseStep(step).steps->operation;
        const DibList parameters(operation.parameters);
        const bool hasSwitch =
            parameters.size() > 0 && std::string_view(parameters[parameters.size() - 1]->name) == "classic";
        DibChain parsed;
        const bool isClassic = hasSwitch && DibParseStep(classic.c_str(), &parsed);
        text += (text.empty() ? "" : " ") + (isClassic ? classic : step);
    }
    return text;
}

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
class Gallery {
public:
    explicit Gallery(const GalleryJob& job) : job_(job) {}

    void make() {
        const InputFile file(job_.input);
        loadPicture(file, *input_, job_.pictures, progress_, notes_);
        fit(input_, job_.longerSide, file.title());
        folder_.emplace(job_.folder);
        makeFolder(*folder_ / kPictureFolder);
        save(*input_, kInput);
        DibHandle other(new DibStream);
        paintOther(*other);
        save(*other, kOther);

        GalleryPage page(show(input_, "in"), show(other, "other"));
        addTile(input_.clone(), "original");
        for (const DibOperation* operation : operations()) render(*operation, page);
        stopIfCancelled();
        save(*contactSheet(), "contact-sheet.jpg");
        writeText(*folder_ / "index.html", page.text());
        folder_->finish();
    }

private:
    // In the format of the name's extension.
    void save(const DibStream& image, const std::string& name) {
        savePicture(*folder_ / name, *formatOfExtension(name), image, job_.pictures, progress_, notes_,
                    job_.folder + "/" + name);
    }

    // Saves a picture of the page.
    ShownPicture show(const DibHandle& image, const std::string& name) {
        const std::string picture = std::string(kPictureFolder) + "/" + name + ".png";
        save(*image, picture);
        std::ifstream file(*folder_ / picture, std::ios::binary);
        std::ostringstream bytes;
        bytes << file.rdbuf();
        return {bytes.str(), image.width(), image.height(), image.bitCount()};
    }

    // Keeps a picture in the size that it has on the contact sheet.
    void addTile(DibHandle tile, const char* label) {
        if (!tile.hasPixels() || !DibApply(tile.get(), "fit:184x138 bpp:24")) throw std::bad_alloc();
        tiles_.push_back(std::move(tile));
        labels_.push_back(label);
    }

    DibHandle contactSheet() const {
        std::vector<const DibStream*> pictures;
        for (const DibHandle& tile : tiles_) pictures.push_back(tile.get());
        DibMontageOptions options;
        options.columns = 8;
        options.gap = 14;
        options.background = {28, 23, 21, 255};
        options.labels = labels_.data();
        options.labelSize = 20;
        options.labelColor = {218, 226, 232, 255};
        DibHandle sheet(new DibStream);
        DibOperationResult result;
        if (!DibMontage(pictures.data(), static_cast<int>(pictures.size()), sheet.get(), &options, &result))
            throw Failure(kExitOperationFailed, std::string("contact sheet: ") + result.reason);
        need(sheet->ChangeBpp(24, 0), "contact sheet", *sheet);
        return sheet;
    }

    // Renders the samples of an operation and puts one of them on the sheet.
    void render(const DibOperation& operation, GalleryPage& page) {
        std::vector<ShownSample> samples;
        for (const char* sample : operation.samples) {
            const std::string chain = job_.isClassic ? asClassic(sample) : sample;
            const std::size_t index = samples.size();
            DibHandle image = input_.clone();
            need(image.hasPixels(), kInput, *input_);
            samples.push_back({chain, applied(chain, *image), {}});
            samples.back().result = show(image, operation.name + ("-" + std::to_string(index + 1)));
            if (index == sampleOfSheet(operation)) addTile(std::move(image), operation.name);
        }
        page.add(operation, samples);
    }

    // Applies a chain and gives it in C++.
    std::string applied(const std::string& chain, DibStream& image) {
        std::string call;
        const DibChain parsed = parseChain(chain);
        for (const DibStep& step : std::span(parsed.steps, static_cast<std::size_t>(parsed.stepCount))) {
            call += (call.empty() ? "" : "\n") + callText(step, image);
            applyStep(step, image, {kInput, job_.pictures, progress_, notes_, *folder_ / ""});
        }
        return call;
    }

    const GalleryJob& job_;
    std::optional<OutputFolder> folder_;
    Notes notes_{job_.pictures};
    Progress progress_{stepCount() + 1, job_.showsProgress};
    DibHandle input_{new DibStream};
    std::vector<DibHandle> tiles_;  // of the contact sheet
    std::vector<const char*> labels_;
};

}  // namespace

void declareGallery(CLI::App& command) {
    const auto job = std::make_shared<GalleryJob>();
    addOperand(command, "INPUT", job->input, "A picture; '-' is standard input");
    addOperand(command, "FOLDER", job->folder, "Folder for the page; a new or an empty one");
    addOpening(command, job->pictures.load);
    command
        .add_option("--side", job->longerSide,
                    "Pixels of the longer side of the pictures, " + std::to_string(kSmallestSide) + " to " +
                        std::to_string(kLargestSide) + "; default " + std::to_string(job->longerSide))
        ->check(between(kSmallestSide, kLargestSide))
        ->type_name("PIXELS");
    command.add_flag("--classic", job->isClassic,
                     "Shows what the classic functions do, whatever the palette and alpha");
    addProgress(command, job->showsProgress);
    command.callback([job] { Gallery(*job).make(); });
}

}  // namespace tool
