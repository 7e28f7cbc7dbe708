#include "batch/Patterns.h"

#include <algorithm>

#include "batch/Wildcards.h"
#include "vexlibs/NativePath.h"

namespace batch {

namespace {

namespace fs = std::filesystem;

constexpr const char* kAnyFolders = "**";

bool isHidden(const fs::path& name) { return *name.c_str() == '.'; }

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.empty() ? "." : folder))
        names.push_back(entry.path().filename());
    return names;
}

class Search {
public:
    explicit Search(const fs::path& pattern) {
        for (const fs::path& part : pattern) {
            // A second "**" in a row would find every file again.
            if (part != kAnyFolders || parts_.empty() || parts_.back() != kAnyFolders)
                parts_.push_back(vexlibs::textOf(part));
        }
        if (!parts_.empty() && parts_.back() == kAnyFolders) parts_.emplace_back("*");
    }

    FoundFiles run() {
        std::size_t fixed = 0;
        while (fixed + 1 < parts_.size() && !isWild(parts_[fixed]))
            found_.folder /= vexlibs::pathOf(parts_[fixed++]);
        visit(found_.folder, fixed);
        std::ranges::sort(found_.files);
        return std::move(found_);
    }

private:
    // Finds what the parts from `index` on match in a folder.
    void visit(const fs::path& folder, std::size_t index) {
        std::error_code none;
        if (index == parts_.size() || !fs::is_directory(folder.empty() ? "." : folder, none)) return;
        const std::string& part = parts_[index];
        const bool isAnyFolders = part == kAnyFolders;
        if (isAnyFolders) visit(folder, index + 1);
        for (const fs::path& name : entriesOf(folder)) {
            const fs::path path = folder / name;
            if (isAnyFolders) {
                const bool isInner = !isHidden(name) && !fs::is_symlink(path, none);
                if (isInner) visit(path, index);
            } else if (matchesName(part, vexlibs::textOf(name))) {
                if (index + 1 < parts_.size()) {
                    visit(path, index + 1);
                } else if (!fs::is_directory(path, none)) {
                    found_.files.push_back(path);
                }
            }
        }
    }

    std::vector<std::string> parts_;
    FoundFiles found_;
};

}  // namespace

FoundFiles findFiles(const std::string& pattern) {
    const fs::path path = vexlibs::pathOf(pattern);
    std::error_code none;
    if (fs::symlink_status(path, none).type() != fs::file_type::not_found && !fs::is_directory(path, none))
        return {path.parent_path(), {path}};
    return Search(path).run();
}

}  // namespace batch
