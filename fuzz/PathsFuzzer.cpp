// Any text as a name: of files, extensions, formats and operations, as wide text, and as a pattern of many
// names. A line feed separates the pattern from the name that it is matched with.
#include <DibFile.h>
#include <DibOperation.h>
#include <VexLibs.h>

#include <unistd.h>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>

#include "batch/OutputNames.h"
#include "batch/Wildcards.h"
#include "fuzz/FuzzSupport.h"

namespace {

// A folder with two files that lasts as long as the process.
class Folder {
public:
    Folder() : path_(std::filesystem::temp_directory_path() / ("paths-fuzzer-" + std::to_string(getpid()))) {
        std::filesystem::create_directories(path_);
        std::ofstream(path_ / "a.bmp") << "BM";
        std::ofstream(path_ / "b.png") << "none";
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string fileOf(const std::string& name) const { return (path_ / "").string() + name; }

private:
    std::filesystem::path path_;
};

void checkWide(const std::string& text) {
    const VexString wide = VexString::fromUtf8String(text.c_str());
    fuzz::require(wide.isValid(), "8-bit text has a wide form");
    fuzz::require(text == wide.toUtf8String().c_str(), "8-bit text comes back from its wide form");
}

void checkExtension(const std::string& text) {
    const auto out = std::make_unique<char[]>(text.size() + 1);
    GetFileExtension(out.get(), text.c_str());
    const std::string extension = out.get();
    fuzz::require(extension.find('.') == std::string::npos && extension.find('/') == std::string::npos,
                  "an extension follows the last dot of the last part");
    fuzz::require(text.ends_with(extension), "an extension ends the path");
    if (DibFindFormat(extension.c_str()) != nullptr)
        fuzz::require(!extension.empty(), "formats have extensions with letters");
}

void checkNames(const std::string& text) {
    const char* const names[] = {"gaussian", "rotate", "resize", "x", nullptr};
    const char* nearest = DibNearestName(text.c_str(), names);
    if (DibFindOperation(text.c_str()) != nullptr)
        fuzz::require(text == DibFindOperation(text.c_str())->name,
                      "an operation has the name it is found by");
    for (const char* const* name = names; *name != nullptr; ++name)
        if (text == *name) fuzz::require(nearest == *name, "a name is the nearest to itself");
    DibBGRA color = {1, 2, 3, 4};
    DibOperationResult result;
    const bool isColor = DibParseColor(text.c_str(), &color, &result);
    fuzz::require(isColor == (result.reason[0] == '\0'), "a text that is no color has a reason");
    fuzz::require(isColor || (color.blue == 1 && color.alpha == 4), "a refused color changes nothing");
}

// Opens files below the folder only.
void checkOpening(const Folder& folder, const std::string& name) {
    if (name.find("..") != std::string::npos) return;
    const std::string path = folder.fileOf(name);
    DibFileInfo info;
    DibFileResult narrow, wide;
    fuzz::require(!DibProbeFile(path.c_str(), &info, nullptr, &narrow), "neither file there holds a picture");
    DibProbeFile(VexString::fromUtf8String(path.c_str()).c_str(), &info, nullptr, &wide);
    fuzz::require(narrow.code == wide.code && std::strcmp(narrow.reason, wide.reason) == 0,
                  "both kinds of paths give the same result");
    DibStream image;
    fuzz::require(!DibLoadFile(path.c_str(), &image, nullptr, &narrow) && image.Header == nullptr,
                  "a file without a picture leaves the image empty");
    fuzz::require(std::memchr(narrow.reason, 0, sizeof narrow.reason) != nullptr, "reasons end");
}

void checkPatterns(const Folder& folder, const std::string& pattern, const std::string& name) {
    const bool isPlain = pattern.find_first_of("*?[\\") == std::string::npos;
    const bool isMatch = batch::matchesName(pattern, name);
    fuzz::require(isPlain == !batch::isWild(pattern), "wildcards are found");
    if (isPlain) fuzz::require(isMatch == (pattern == name), "a plain pattern matches itself alone");
    if (!name.starts_with('.')) fuzz::require(batch::matchesName("*", name), "a star matches every name");

    batch::Inputs inputs;
    inputs.add(folder.fileOf("a.bmp"));
    inputs.add(folder.fileOf("b.png"));
    try {
        const auto outputs = batch::outputNames(inputs, folder.fileOf(pattern));
        fuzz::require(std::set<std::string>(outputs.begin(), outputs.end()).size() == 2,
                      "every result has a name of its own");
    } catch (const batch::BadNames& bad) {
        fuzz::require(bad.what()[0] != '\0', "bad names have a reason");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    if (size > 300) return 0;  // longer than file names
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(text.find('\n'), size);
    const std::string pattern = text.substr(0, end).c_str();  // up to its first zero byte
    const std::string name = end < size ? text.substr(end + 1).c_str() : "";
    checkWide(pattern);
    checkExtension(pattern);
    checkNames(pattern);
    checkOpening(folder, pattern);
    checkPatterns(folder, pattern, name);
    return 0;
}
