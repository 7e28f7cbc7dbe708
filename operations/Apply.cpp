// Applies chains to images. The steps work on an image that borrows the caller's pixels; the result replaces
// the caller's image.
#include <algorithm>
#include <cstring>

#include "dib/LentPixels.h"
#include "dib/Memory.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "operations/Borrowing.h"
#include "operations/Operations.h"

namespace operations {

namespace {

// The caller's options with the defaults of the fields that the caller's version of the record did not have.
DibApplyOptions completed(const DibApplyOptions* options) {
    DibApplyOptions complete;
    if (options != nullptr) std::memcpy(&complete, options, std::min(options->size, sizeof complete));
    complete.size = sizeof complete;
    return complete;
}

// The progress of a chain, in which each step has the same share.
class Progress {
public:
    Progress(DibProgressCallback callback, void* user, std::size_t stepCount)
        : callback_(callback), user_(user), stepCount_(static_cast<double>(stepCount)) {}

    // Throws Refusal when the caller cancels, or has done so.
    void beginStep(std::size_t step) {
        stepsDone_ = static_cast<double>(step);
        report(0);
        stopIfCancelled();
    }
    void end() {
        report(stepCount_ - stepsDone_);
        stopIfCancelled();
    }
    void stopIfCancelled() const {
        if (isCancelled_) throw Refusal{DIB_ERROR_INTERRUPTED, "cancelled"};
    }
    // The callback of a step, for which `user` is the address of this object.
    DibProgressCallback ofStep() const { return callback_ != nullptr ? &Progress::forward : nullptr; }

private:
    static bool forward(float fraction, void* progress) {
        return static_cast<Progress*>(progress)->report(std::min(static_cast<double>(fraction), 1.0));
    }
    // NaN counts as 0.
    bool report(double stepsSinceBegin) {
        if (callback_ == nullptr || isCancelled_) return !isCancelled_;
        const double whole = stepCount_ > 0 ? (stepsDone_ + stepsSinceBegin) / stepCount_ : 1;
        last_ = std::max(last_, static_cast<float>(whole));
        isCancelled_ = !callback_(last_, user_);
        return !isCancelled_;
    }

    DibProgressCallback callback_;
    void* user_;
    double stepCount_;
    double stepsDone_ = 0;
    float last_ = 0;
    bool isCancelled_ = false;
};

void applyStep(const Job& job) {
    requireDepth(job.image, job.arguments.operation().info.depths);
    // Operations do not clear the code of an earlier failure, and not every failure sets one.
    job.image.ErrorCode = DIB_OK;
    if (runTreated(job)) return;
    // Parameters and depth were checked: what is left is memory, unless there is another code.
    const int code = job.image.ErrorCode;
    if (code == DIB_OK || code == DIB_ERROR_MEMORY) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    throw Refusal{static_cast<DibErrorCode>(code), DibStream::GetErrorString(code)};
}

void applySteps(DibStream& image, const std::vector<Arguments>& steps, const DibApplyOptions& options,
                DibOperationResult& result, Progress& progress) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        result.step = dib::asInt(i);
        result.operation = &steps[i].operation().info;
        if (!result.operation->movesPixels) result.paletteAlpha = DibBytes();
        progress.beginStep(i);
        const Job job = {image, steps[i], options, result, progress.ofStep(), &progress};
        try {
            applyStep(job);
        } catch (const Refusal&) {
            progress.stopIfCancelled();  // then this is why the step failed
            throw;
        }
    }
    result.step = -1;
    result.operation = nullptr;
    progress.end();
}

void applyChain(DibStream* image, const std::vector<Arguments>& steps, const DibApplyOptions* given,
                DibOperationResult& result, DibProgressCallback callback, void* user) {
    result.step = -1;
    result.operation = nullptr;
    requirePixels(image);
    const DibApplyOptions options = completed(given);
    Progress progress(callback, user, steps.size());
    if (options.inPlace) return applySteps(*image, steps, options, result, progress);
    const ImagePtr working = borrow(*image);
    applySteps(*working, steps, options, result, progress);
    ownPixels(*working);
    working->HeaderOwner = dib::kOwned;
    dib::moveBlocks(*working, *image);
}

// Applies what `parse` makes of the caller's steps.
template <class Parse>
bool apply(DibStream* image, const DibApplyOptions* options, DibOperationResult* result,
           DibProgressCallback callback, void* user, const Parse& parse) {
    DibOperationResult own;
    if (result == nullptr) result = &own;
    const bool isDone = runCall(result, [&](DibOperationResult& out) {
        applyChain(image, parse(out), options, out, callback, user);
        return true;
    });
    result->exchangesAxes &= isDone;
    if (image != nullptr) image->ErrorCode = result->code;
    return isDone;
}

}  // namespace

}  // namespace operations

bool DibApply(DibStream* image, const char* chain, const DibApplyOptions* options, DibOperationResult* result,
              DibProgressCallback callback, void* user) {
    return operations::apply(image, options, result, callback, user, [=](DibOperationResult& out) {
        if (chain == nullptr) throw operations::Refusal{DIB_ERROR_INVALID, "there is no chain"};
        return operations::parseChain(chain, out);
    });
}

bool DibApply(DibStream* image, const DibStep* steps, int stepCount, const DibApplyOptions* options,
              DibOperationResult* result, DibProgressCallback callback, void* user) {
    return operations::apply(image, options, result, callback, user, [=](DibOperationResult& out) {
        if (steps == nullptr && stepCount != 0)
            throw operations::Refusal{DIB_ERROR_INVALID, "there is no chain"};
        std::vector<operations::Arguments> parsed;
        for (int i = 0; i < stepCount; ++i) {
            out.step = i;
            parsed.push_back(operations::argumentsOf(steps[i], out));
        }
        return parsed;
    });
}
