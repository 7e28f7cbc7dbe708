// Hashes of what operations leave behind: result, code, header, colour table, pixels and the calls of the
// callback. A line of the digest is one operation on one kind of image; whatever a caller can see enters its
// hash.
#ifndef TESTS_DIGEST_DIGEST_H
#define TESTS_DIGEST_DIGEST_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/TestImages.h"

namespace digest {

using testing_support::DibPtr;

/// FNV-1a over everything that is added.
class Hash {
public:
    void bytes(const void* data, std::size_t count);
    void number(std::int64_t value) { bytes(&value, sizeof value); }
    void text(const std::string& text) { bytes(text.data(), text.size()); }
    /// The whole state of an image: code, ownership, header, announced colours and the block of pixels.
    void image(const DibStream& image);
    /// The bytes of a file; its absence is a value of its own.
    void file(const std::string& path);
    std::uint64_t value() const { return value_; }

private:
    void block(const std::vector<unsigned char>& bytes) { this->bytes(bytes.data(), bytes.size()); }
    std::uint64_t value_ = 0xCBF29CE484222325U;
};

/// A callback that adds every fraction to a hash and cancels at one of its calls.
class Progress {
public:
    explicit Progress(Hash& hash, int cancelAt = -1) : hash_(hash), cancelAt_(cancelAt) {}
    static bool callback(float fraction, void* self);

private:
    Hash& hash_;
    int cancelAt_;
    int calls_ = 0;
};

/// Prints a line: its name, on what it depends beside this library ("-", "rand", "libm" or "codec"), and the
/// hash.
void line(const std::string& name, const char* dependsOn, const Hash& hash);

struct Kind {
    int bitCount;
    bool topDown;
};
/// "24 bottom-up"
std::string nameOf(const Kind& kind);
inline constexpr Kind kKinds[] = {{1, false},  {1, true},  {4, false},  {4, true},  {8, false},  {8, true},
                                  {16, false}, {16, true}, {24, false}, {24, true}, {32, false}, {32, true}};

/// An image of random pixels, fill bytes and colours that depend on nothing but the arguments.
DibPtr picture(const Kind& kind, int width, int height);

/// Runs an operation on images of several sizes, and once more with a callback that cancels at its third
/// call.
using Operation = std::function<bool(DibProgressCallback, void*, DibStream*)>;
Hash runOnSizes(const Kind& kind, const Operation& operation);

void printEffects();
void printConversions();
void printGeometry();
/// Savers, loaders of what they wrote, and loaders of damaged copies: of all formats, or of those that need
/// no other library.
void printFiles(bool ownFormats);
/// Every file below a folder through every loader, whole and cancelled.
void printSamples(const std::string& folder);

}  // namespace digest

#endif
