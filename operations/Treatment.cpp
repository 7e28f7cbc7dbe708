// How operations handle palettes and alpha. A step with a treatment has three stages: a picture whose pixels
// are indices is widened to colours, the classic function runs and alpha is corrected, and a grey picture
// becomes one of 8 bits again.
#include <DibHandle.h>

#include <optional>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "effects/weighted/AlphaPlane.h"
#include "operations/Borrowing.h"
#include "operations/Descriptions.h"
#include "operations/Operations.h"
#include "operations/pixels/Multiplied.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

bool isPalette(const DibStream& image) { return image.Header->biBitCount <= 8; }

// Whether the indices of a picture are its levels of grey, all of which its table announces.
bool isGreyRamp(const DibStream& image) {
    if (image.Header->biBitCount != 8 || dib::announcedEntries(*image.Header) < 256 || !isGrey(image))
        return false;
    const auto table = dib::readColorTable(*image.Header);
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (table[i].blue != i) return false;
    }
    return true;
}

bool hasRightColors(const DibStream& image, const Treatment& treatment) {
    const int bitCount = image.Header->biBitCount;
    if (isPalette(image) && !isGreyRamp(image)) return false;
    return (treatment.depths & depthBit(bitCount)) != 0;
}

// Replaces the indices of a picture by colours.
bool makeColors(const Job& job, bool toGrey, unsigned int depths) {
    DibStream& image = job.image;
    if (!toGrey) {
        widen(job);
        return true;
    }
    if (!isGreyRamp(image)) {
        addNote(job.result, DIB_NOTE_LOSS,
                std::string(job.arguments.operation().info.name) + ": the palette of " +
                    bitsText(image.Header->biBitCount) + " became 8 bits of grey");
    }
    const bool runsOnGrey = (depths & depthBit(8)) != 0;
    return image.ChangeBpp(24, 0) && (!runsOnGrey || image.ChangeBpp(8, 0));
}

// Runs the classic function and restores the alpha of a picture of 32 bits.
bool runKeepingAlpha(const Job& job) {
    const Run run = job.arguments.operation().run;
    if (job.image.Header->biBitCount != 32) return run(job);
    const std::optional<std::uint8_t> alpha = dib::commonAlpha(job.image);
    DibHandle alphas(alpha ? nullptr : job.image.CreateAlphaDib());
    if ((!alpha && !alphas) || !run(job)) return false;
    ownPixels(job.image);  // some functions return at once where they change nothing
    if (!alpha) return job.image.SetAlphaPlane(alphas.get());
    dib::fillAlpha(job.image, *alpha);
    return true;
}

// Runs the classic function, which mixes all channels alike, on colours that are multiplied with alpha.
bool runMultiplied(const Job& job) {
    ownPixels(job.image);
    multiplyByAlpha(job.image);
    if (!job.arguments.operation().run(job)) return false;
    divideByAlpha(job.image);
    return true;
}

}  // namespace

bool Run::operator()(const Job& job) const {
    if (!replacesPixels_) ownPixels(job.image);
    return function_(job);
}

bool wantsClassic(const Job& job) { return job.options.classic || job.arguments.isOn("classic"); }

void requireDepth(const DibStream& image, unsigned int depths) {
    requirePixels(&image);
    const int bitCount = image.Header->biBitCount;
    if ((depths & depthBit(bitCount)) != 0) return;
    throw Refusal{DIB_ERROR_MISMATCH,
                  "does not accept pictures of " + bitsText(bitCount) + ", only of " + depthsText(depths)};
}

bool runWidened(const Job& job, const Treatment& treatment, const std::function<bool(const Job&)>& run) {
    if (hasRightColors(job.image, treatment)) return run(job);
    const bool staysGrey = isGrey(job.image) && !treatment.addsColors;
    if (!makeColors(job, staysGrey, treatment.depths) || !run(job)) return false;
    return !staysGrey || isPalette(job.image) || job.image.ChangeBpp(8, 0);
}

bool runOnColors(const Job& job) {
    const Operation& operation = job.arguments.operation();
    const Treatment& treatment = operation.treatment;
    if (treatment.right != nullptr) return treatment.right(job);
    if (treatment.alpha == Alpha::kAsRun) return operation.run(job);
    const bool differ = job.image.Header->biBitCount == 32 && !dib::commonAlpha(job.image);
    if (differ && treatment.alpha == Alpha::kWeights)
        return treatment.weighted != nullptr ? treatment.weighted(job) : runMultiplied(job);
    return runKeepingAlpha(job);
}

bool runTreated(const Job& job) {
    const Operation& operation = job.arguments.operation();
    const Treatment& treatment = operation.treatment;
    if (!treatment.isGiven()) return operation.run(job);
    if (wantsClassic(job)) {
        requireDepth(job.image, treatment.classicDepths);
        return operation.run(job);
    }
    if (treatment.isApart != nullptr && treatment.isApart(job.arguments, job.image))
        return treatment.apart(job);
    if (treatment.palette != nullptr && !hasRightColors(job.image, treatment) && isPalette(job.image))
        return treatment.palette(job);
    return runWidened(job, treatment, runOnColors);
}

bool invertPalette(const Job& job) {
    BITMAPINFOHEADER& header = *job.image.Header;
    const std::size_t entries = dib::usableEntries(header);
    for (DibBGRA& entry : std::span(dib::colorTable(&header), entries)) {
        entry.blue = dib::byteOf(255 - entry.blue);
        entry.green = dib::byteOf(255 - entry.green);
        entry.red = dib::byteOf(255 - entry.red);
    }
    return true;
}

bool isClassic(const Arguments& step, const DibStream& image) {
    const Treatment& treatment = step.operation().treatment;
    if (step.operation().call.empty()) return false;
    if (!treatment.isGiven() || step.isOn("classic")) return true;
    if (treatment.isApart != nullptr && treatment.isApart(step, image)) return false;
    if (treatment.right != nullptr) return false;
    if (!hasRightColors(image, treatment))
        return isPalette(image) && treatment.palette == step.operation().run;
    return image.Header->biBitCount != 32 || treatment.alpha == Alpha::kAsRun;
}

}  // namespace operations
