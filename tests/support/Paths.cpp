#include "tests/support/Paths.h"

#include "dib/File.h"
#include "tests/support/System.h"

namespace testing_support {

namespace {

// Tests run side by side, each in a process: files of one name may not meet.
class OwnFolder {
public:
    OwnFolder() { std::filesystem::create_directories(path_); }
    // Not for children of the process, which end earlier.
    ~OwnFolder() {
        std::error_code ignored;
        if (processNumber() == owner_) std::filesystem::remove_all(path_, ignored);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    int owner_ = processNumber();
    std::string path_ = commonTemporaryFolder() + "/" + std::to_string(owner_);
};

}  // namespace

std::string sourceFolder() { return DIB_SOURCE_DIR; }

std::string commonTemporaryFolder() { return DIB_TEST_TMP; }

std::string temporaryPath(const std::string& name) {
    static const OwnFolder folder;
    return name.empty() ? folder.path() : folder.path() + "/" + name;
}

std::string testBundles() { return DIB_TEST_BUNDLES; }

std::string builtPlugins() { return DIB_TEST_PLUGINS; }

std::vector<unsigned char> remainingBytes(std::FILE* file) {
    std::vector<unsigned char> bytes;
    constexpr std::size_t kStep = 1 << 16;
    std::size_t read = kStep;
    while (read == kStep) {
        const std::size_t before = bytes.size();
        bytes.resize(before + kStep);
        read = std::fread(bytes.data() + before, 1, kStep, file);
        bytes.resize(before + read);
    }
    return bytes;
}

std::vector<unsigned char> readFileBytes(const std::filesystem::path& path) {
    const dib::FilePtr file = dib::openForReading(path.c_str());
    return file != nullptr ? remainingBytes(file.get()) : std::vector<unsigned char>();
}

}  // namespace testing_support
