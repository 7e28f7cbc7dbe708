#include <DibEffect.h>
#include <DibFile.h>

#include <cstdio>

#include "operations/Operations.h"

namespace operations {

namespace {

constexpr const char* kArea = "Second picture";

constexpr Choices kModes({{"stretch", 0, "brought to the size of the first"},
                          {"tile", 1, "repeated from the upper left corner"}});

constexpr Parameters kCompose({path("file", "the second picture"),
                               fraction("opacity", "share of the second picture", "0.5"),
                               choice("mode", "how the second picture covers the first", kModes, "stretch")});

// Notes about a picture, after the name of its file.
void passNotesOn(const DibFileResult& opened, std::string_view name, DibOperationResult& result) {
    constexpr int kLongestName = 60;
    const std::string file(name.substr(name.rfind('/') + 1));
    for (int i = 0; i < opened.noteCount && result.noteCount < DibOperationResult::kMostNotes; ++i) {
        DibNote& note = result.notes[result.noteCount++];
        note.kind = opened.notes[i].kind;
        std::snprintf(note.text, sizeof note.text, "%.*s: %s", kLongestName, file.c_str(),
                      opened.notes[i].text);
    }
}

void openPicture(const Job& job, const std::string& name, DibStream& picture) {
    const DibApplyOptions& options = job.options;
    DibFileResult opened;
    const bool isOpen =
        options.open != nullptr
            ? options.open(options.context, name.c_str(), &picture, &opened, job.callback, job.user)
            : DibLoadFile(name.c_str(), &picture, options.load, &opened, job.callback, job.user);
    if (!isOpen) {
        throw Refusal{opened.code != DIB_OK ? static_cast<DibErrorCode>(opened.code) : DIB_ERROR_GENERAL,
                      quoted(name) + ": " + opened.reason};
    }
    if (picture.Header == nullptr || picture.Buffer == nullptr)
        throw Refusal{DIB_ERROR_INVALID, quoted(name) + ": there is no picture"};
    passNotesOn(opened, name, job.result);
}

bool runCompose(const Job& job) {
    DibStream second;
    openPicture(job, job.arguments.path("file"), second);
    return DibEffectCompose(job.callback, job.user, &job.image, &second, job.arguments.number("opacity"),
                            job.arguments.word("mode"));
}

constexpr Operation kOperations[] = {
    {{"compose",
      kArea,
      "Blends a second picture in, of any format that can be read.",
      "compose:other.bmp,0.5",
      {"compose:other.bmp", "compose:other.bmp,30%,mode=tile", "compose:other.bmp,0.8"},
      kCompose,
      depths({8, 24, 32})},
     "DibEffectCompose(nullptr, nullptr, &image, {file}, {opacity}, {mode})",
     runCompose},
};

}  // namespace

Area composeOps() { return kOperations; }

}  // namespace operations
