// Opens any picture, sharpens, inverts and blurs it, and saves it, with progress. Ctrl-C cancels.
#include <DibEffect.h>
#include <DibFile.h>
#include <DibHandle.h>

#include <csignal>
#include <cstdio>

static volatile std::sig_atomic_t isCancelled = 0;

static bool showProgress(float fraction, void* step) {
    std::fprintf(stderr, "\r%s: %3.0f %%", static_cast<const char*>(step), 100.0 * fraction);
    return isCancelled == 0;
}

static bool edit(DibHandle& picture) {
    char step[] = "edit";
    return picture->ChangeBpp(24, 0) && DibEffectSharpLittle(showProgress, step, picture.get(), 0U) &&
           DibEffectReverse(showProgress, step, picture.get()) &&
           DibEffectBlur(showProgress, step, picture.get(), 2, 0);
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: edit_picture IN OUT\n");
        return 2;
    }
    std::signal(SIGINT, [](int) { isCancelled = 1; });
    char opening[] = "open", saving[] = "save";
    DibHandle picture = DibHandle::make();
    DibFileResult result;
    bool isDone = picture && DibLoadFile(argv[1], picture.get(), nullptr, &result, showProgress, opening);
    if (isDone) {
        std::printf("%d x %d pixels of %d bits\n", picture.width(), picture.height(), picture.bitCount());
        DibSaveOptions options;
        options.metadata = &result.metadata;  // resolution, colour profile and EXIF go along
        isDone =
            edit(picture) && DibSaveFile(argv[2], picture.get(), &options, &result, showProgress, saving);
    }
    const char* why = result.reason[0] != '\0' ? result.reason : "cancelled, or short of memory";
    std::fprintf(stderr, "\n%s\n", isDone ? "done" : why);
    return isDone ? 0 : 1;
}
