#include "operations/SecondPicture.h"

#include <DibFile.h>
#include <DibPalette.h>

#include <cstdio>

#include "vexlibs/PathText.h"

namespace operations {

namespace {

// Notes about a picture, after the name of its file.
void passNotesOn(const DibFileResult& opened, std::string_view name, DibOperationResult& result) {
    constexpr int kLongestName = 60;
    const std::string file(vexlibs::nameIn(name));
    for (int i = 0; i < opened.noteCount && result.noteCount < DibOperationResult::kMostNotes; ++i) {
        DibNote& note = result.notes[result.noteCount++];
        note.kind = opened.notes[i].kind;
        std::snprintf(note.text, sizeof note.text, "%.*s: %s", kLongestName, file.c_str(),
                      opened.notes[i].text);
    }
}

}  // namespace

void openPicture(const Job& job, const std::string& name, DibStream& picture) {
    const DibApplyOptions& options = job.options;
    DibFileResult opened;
    bool isOpen = options.open != nullptr
                      ? options.open(options.context, name.c_str(), &picture, &opened, job.callback, job.user)
                      : DibLoadFile(name.c_str(), &picture, options.load, &opened, job.callback, job.user);
    const bool isUnknown = opened.format == nullptr && opened.code == DIB_ERROR_UNSUPPORTED;
    if (!isOpen && isUnknown && options.open == nullptr) isOpen = DibLoadPalette(name.c_str(), &picture);
    if (!isOpen) {
        throw Refusal{opened.code != DIB_OK ? static_cast<DibErrorCode>(opened.code) : DIB_ERROR_GENERAL,
                      quoted(name) + ": " + opened.reason};
    }
    if (picture.Header == nullptr || picture.Buffer == nullptr)
        throw Refusal{DIB_ERROR_INVALID, quoted(name) + ": there is no picture"};
    passNotesOn(opened, name, job.result);
}

}  // namespace operations
