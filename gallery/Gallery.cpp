#include "gallery/Gallery.h"

#include <DibFile.h>
#include <DibOperation.h>
#include <DibPictures.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <new>
#include <span>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "gallery/Page.h"
#include "texts/Tables.h"
#include "vexlibs/NativePath.h"

namespace gallery {

namespace {

constexpr const char* kInput = "in.bmp";
constexpr const char* kOther = "other.bmp";
constexpr const char* kPictureFolder = "pictures";
// The largest picture on the contact sheet.
constexpr int kTileWidth = 184;
constexpr int kTileHeight = 138;

// The contact sheet shows the second sample, which has more effect than the first one, unless there is
// nothing to set.
std::size_t sampleOfSheet(const DibOperation& operation) { return *operation.parameters == nullptr ? 0 : 1; }

void need(bool done, const std::string& title, const std::string& reason) {
    if (!done) throw std::runtime_error(title + ": " + (reason.empty() ? "failed" : reason));
}

void need(bool done, const std::string& title, const DibStream& image) {
    need(done, title, DibStream::GetErrorString(image.ErrorCode));
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

DibChain parsed(const std::string& text, bool (*parse)(const char*, DibChain*, DibOperationResult*)) {
    DibChain chain;
    DibOperationResult result;
    need(parse(text.c_str(), &chain, &result), text, result.reason);
    return chain;
}

std::span<const DibStep> stepsOf(const DibChain& chain) {
    return {chain.steps, static_cast<std::size_t>(chain.stepCount)};
}

// A chain with the switch of all steps that have it for their values.
std::string asClassic(const std::string& chain) {
    std::string text;
    std::istringstream steps(chain);
    for (std::string step; steps >> step;) {
        const std::string classic = step + (step.find(':') == std::string::npos ? ":classic" : ",classic");
        const DibChain plain = parsed(step, DibParseStep);
        const DibList parameters(plain.steps->operation->parameters);
        const bool hasSwitch = std::ranges::any_of(parameters, [](const DibParameter* parameter) {
            return parameter->name == std::string_view("classic");
        });
        DibChain changed;
        const bool isClassic = hasSwitch && DibParseStep(classic.c_str(), &changed);
        text += (text.empty() ? "" : " ") + (isClassic ? classic : step);
    }
    return text;
}

class Gallery {
public:
    Gallery(DibHandle input, std::string folder, std::string shownFolder, const Options& options)
        : input_(std::move(input)),
          folder_(std::move(folder)),
          shownFolder_(std::move(shownFolder)),
          options_(options) {}

    void make(const std::string& title) {
        fit(input_, options_.longerSide, title);
        std::error_code error;
        std::filesystem::create_directory(vexlibs::pathOf(pathOf(kPictureFolder)), error);
        DibHandle other(new DibStream);
        paintOther(*other);

        Page page(show(input_, kInput), show(other, kOther));
        addTile(input_.clone(), "original");
        for (const DibOperation* operation : texts::operations()) render(*operation, page);
        save(*contactSheet(), "contact-sheet.jpg");
        std::ofstream file(vexlibs::pathOf(pathOf("index.html")), std::ios::binary);
        file << page.text(options_.version);
        file.close();
        if (!file) throw NotWritten(shownFolder_ + "/index.html: save: the file cannot be written");
    }

private:
    std::string pathOf(const std::string& name) const { return folder_ + "/" + name; }

    static std::string pictureFile(const std::string& name) {
        return std::string(kPictureFolder) + "/" + name + ".png";
    }

    // In the format of the name's extension.
    void save(const DibStream& image, const std::string& name) {
        DibSaveOptions options;
        options.runLengths = false;
        DibFileResult result;
        if (!DibSaveFile(pathOf(name).c_str(), &image, &options, &result, options_.callback, options_.user))
            throw NotWritten(shownFolder_ + "/" + name + ": save: " + result.reason);
    }

    // Saves a picture of the page.
    ShownPicture show(const DibHandle& image, const std::string& file) {
        save(*image, file);
        return {file, image.width(), image.height(), image.bitCount()};
    }

    // Keeps a picture in the size that it has on the contact sheet.
    void addTile(DibHandle tile, const char* label) {
        const ShownSize shown = sizeInCell(tile.width(), tile.height(), {kTileWidth, kTileHeight});
        const std::string size = std::to_string(shown.width) + "x" + std::to_string(shown.height);
        const std::string chain = "bpp:24 resize:" + size + (shown.isWhole ? ",filter=nearest" : "");
        if (!DibApply(tile.get(), chain.c_str())) throw std::bad_alloc();
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
        const bool isDone =
            DibMontage(pictures.data(), static_cast<int>(pictures.size()), sheet.get(), &options, &result);
        need(isDone, "contact sheet", result.reason);
        need(sheet->ChangeBpp(24, 0), "contact sheet", *sheet);
        return sheet;
    }

    // Renders the samples of an operation and puts one of them on the sheet.
    void render(const DibOperation& operation, Page& page) {
        std::vector<ShownSample> samples;
        for (const char* sample : operation.samples) {
            const std::size_t index = samples.size();
            samples.push_back({options_.isClassic ? asClassic(sample) : sample, {}, {}, {}});
            DibHandle image = input_.clone();
            need(image.hasPixels(), kInput, *input_);
            apply(operation, image, samples.back());
            samples.back().result =
                show(image, pictureFile(operation.name + ("-" + std::to_string(index + 1))));
            if (index == sampleOfSheet(operation)) addTile(std::move(image), operation.name);
        }
        page.add(operation, samples);
    }

    // Applies the chain of a sample. Where other operations prepare the picture, it is saved before this one.
    void apply(const DibOperation& operation, DibHandle& image, ShownSample& sample) {
        const DibChain chain = parsed(sample.chain, DibParseChain);
        std::istringstream words(sample.chain);
        std::string preparation;
        bool isPreparing = true;
        for (const DibStep& step : stepsOf(chain)) {
            if (isPreparing && step.operation == &operation && !preparation.empty())
                sample.before = prepared(preparation, image);
            isPreparing = isPreparing && step.operation != &operation;
            options_.began(step.operation->name);
            sample.call += (sample.call.empty() ? "" : "\n") + texts::callText(step, *image);
            const DibApplyOptions options = {.open = openInFolder, .context = this, .inPlace = true};
            DibOperationResult result;
            need(DibApply(image.get(), &step, 1, &options, &result, options_.callback, options_.user), kInput,
                 result.reason);
            options_.ended();
            std::string word;
            words >> word;
            preparation += word + " ";
        }
    }

    // The file of the picture after a preparation, which samples share.
    std::string prepared(const std::string& preparation, const DibHandle& image) {
        const auto [found, isNew] = prepared_.try_emplace(preparation);
        if (isNew)
            found->second = show(image, pictureFile("before-" + std::to_string(prepared_.size()))).file;
        return found->second;
    }

    // As `DibApplyOptions::open`: samples name second pictures as the commands do, which run in the folder.
    static bool openInFolder(void* gallery, const char* name, DibStream* image, DibFileResult* result,
                             DibProgressCallback callback, void* user) {
        const std::string path = static_cast<Gallery*>(gallery)->pathOf(name);
        return DibLoadFile(path.c_str(), image, nullptr, result, callback, user);
    }

    DibHandle input_;
    std::string folder_;
    std::string shownFolder_;
    const Options& options_;
    std::map<std::string, std::string> prepared_;  // files, by the steps before
    std::vector<DibHandle> tiles_;                 // of the contact sheet
    std::vector<const char*> labels_;
};

}  // namespace

std::size_t stepCount() {
    std::size_t count = 0;
    for (const DibOperation* operation : texts::operations()) {
        for (const char* chain : operation->samples) count += stepsOf(parsed(chain, DibParseChain)).size();
    }
    return count;
}

void make(DibHandle input, const std::string& title, const std::string& folder,
          const std::string& shownFolder, const Options& options) {
    Gallery(std::move(input), folder, shownFolder, options).make(title);
}

}  // namespace gallery
