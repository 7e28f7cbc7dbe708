// Savers, loaders of what they wrote, and loaders of cut and altered copies.
#include <DibCodec.h>

#include <cstdio>
#include <string_view>
#include <vector>

#include "dib/File.h"
#include "tests/digest/Digest.h"
#include "tests/digest/Loaders.h"
#include "tests/support/Paths.h"
#include "tests/support/System.h"

namespace digest {

namespace {

using Bytes = std::vector<unsigned char>;

Bytes readAll(const std::string& path) {
    const dib::FilePtr file = dib::openForReading(path.c_str());
    return file != nullptr ? testing_support::remainingBytes(file.get()) : Bytes();
}

void writeAll(const std::string& path, const unsigned char* bytes, std::size_t count) {
    const dib::FilePtr file = dib::openForWriting(path.c_str());
    if (file != nullptr) dib::writeBytes(file.get(), bytes, count);
}

// One for each process: two of them may run in one build.
std::string temporaryFile() {
    return testing_support::commonTemporaryFolder() + "/digest-file-" +
           std::to_string(testing_support::processNumber());
}

// Copies cut short, then copies with some bytes altered.
Hash loadDamaged(const Loader& loader, const Bytes& whole) {
    constexpr std::size_t kCuts = 24;
    constexpr int kAltered = 16;
    Hash hash;
    for (std::size_t i = 0; i < kCuts; ++i) {
        // Denser at the start, where the headers are.
        const std::size_t length = whole.size() * i * i / (kCuts * kCuts);
        writeAll(temporaryFile(), whole.data(), length);
        loadInto(hash, loader, temporaryFile(), -1);
    }
    testing_support::Random random(whole.size());
    for (int i = 0; i < kAltered; ++i) {
        Bytes altered = whole;
        const std::size_t within = i % 2 == 0 && altered.size() > 64 ? 64 : altered.size();
        for (int j = 0; j <= i % 3; ++j) {
            const std::size_t at = (random.next()) % within;
            altered[at] = static_cast<unsigned char>(random.next());
        }
        writeAll(temporaryFile(), altered.data(), altered.size());
        loadInto(hash, loader, temporaryFile(), -1);
    }
    return hash;
}

void printFormat(const Loader& loader, const Kind& kind) {
    const std::string path = temporaryFile();
    const std::string name = std::string(loader.name) + " " + nameOf(kind);
    std::remove(path.c_str());

    Hash saved;
    for (const int cancelAt : {2, -1}) {
        const DibPtr image = picture(kind, 23, 17);
        Progress progress(saved, cancelAt);
        saved.number(loader.save(path.c_str(), image.get(), Progress::callback, &progress));
        saved.image(*image);
        saved.file(path);
    }
    line("save " + name, loader.dependsOn, saved);

    const Bytes whole = readAll(path);
    std::remove(path.c_str());
    if (whole.empty()) return;
    Hash loaded;
    for (const int cancelAt : {-1, 0, 3}) {
        writeAll(path, whole.data(), whole.size());
        loadInto(loaded, loader, path, cancelAt);
    }
    line("load " + name, loader.dependsOn, loaded);
    line("load damaged " + name, loader.dependsOn, loadDamaged(loader, whole));
    std::remove(path.c_str());
}

}  // namespace

void printFiles(bool ownFormats) {
    for (const Loader& loader : loaders()) {
        if (loader.save == nullptr || (ownFormats && loader.dependsOn == std::string_view("codec"))) continue;
        for (const Kind& kind : kKinds) printFormat(loader, kind);
    }
}

}  // namespace digest
