#include "fuzz/FuzzSupport.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"

namespace fuzz {

std::uint8_t Input::byte() {
    if (left_ == 0) return 0;
    --left_;
    return *data_++;
}

std::uint32_t Input::word() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = (value << 8) | byte();
    return value;
}

float Input::anyFloat() {
    const std::uint32_t bits = word();
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void Input::fill(unsigned char* out, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) out[i] = byte();
}

void withFile(const std::uint8_t* data, std::size_t size, const std::function<void(std::FILE*)>& read) {
    unsigned char none = 0;
    void* bytes = size > 0 ? const_cast<std::uint8_t*>(data) : &none;
    std::FILE* file = fmemopen(bytes, size > 0 ? size : 1, "rb");
    require(file != nullptr, "a file can be opened in memory");
    if (size == 0) std::fgetc(file);
    read(file);
    std::fclose(file);
}

void withPath(const std::uint8_t* data, std::size_t size, const std::function<void(const char*)>& use) {
    const int file = ::memfd_create("input", MFD_CLOEXEC);
    require(file >= 0, "a file can be made in memory");
    require(::write(file, data, size) == static_cast<ssize_t>(size), "a file in memory can be written");
    use(("/proc/self/fd/" + std::to_string(file)).c_str());
    ::close(file);
}

void require(bool kept, const char* promise) {
    if (kept) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

void randomImage(Input& input, DibStream& image, int maxSide) {
    constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};
    const int depth = kDepths[input.below(6)];
    const int width = 1 + input.below(maxSide);
    const int height = 1 + input.below(maxSide);
    require(image.Create(width, input.below(2) == 0 ? height : -height, depth), "a small image can be made");
    image.SetMonoPalette();
    // A cheap pattern where the input is too short, so that pictures are not mostly black.
    std::uint32_t state = input.word();
    const std::size_t bytes = dib::admitSize(*image.Header).imageBytes;
    for (std::size_t i = 0; i < bytes; ++i) {
        state = state * 1664525U + 1013904223U;
        image.Buffer[i] = static_cast<unsigned char>((state >> 24) ^ input.byte());
    }
}

dib::MallocPtr<unsigned char> lendHeader(Input& input, DibStream& image) {
    const std::size_t entries = 1 + static_cast<std::size_t>(input.below(300));
    auto block = dib::allocateArray<unsigned char>(dib::kHeaderBytes + entries * dib::kEntryBytes);
    require(block != nullptr, "a small block can be made");
    std::memcpy(block.get(), image.Header, dib::kHeaderBytes);
    input.fill(block.get() + dib::kHeaderBytes, entries * dib::kEntryBytes);
    image.HeaderFree();
    image.Header = reinterpret_cast<BITMAPINFOHEADER*>(block.get());
    image.Header->biClrUsed = static_cast<std::uint32_t>(entries);
    return block;
}

void checkImage(const DibStream& image) {
    require((image.Header == nullptr) == (image.Buffer == nullptr), "both blocks exist or neither does");
    if (image.Header == nullptr) return;
    const dib::ImageSize size = dib::admitSize(*image.Header);
    require(size.admitted, "the size is admissible");
    unsigned sum = 0;
    for (std::size_t i = 0; i < size.imageBytes; ++i) sum += image.Buffer[i];
    const auto* header = reinterpret_cast<const unsigned char*>(image.Header);
    const std::size_t headerBytes =
        dib::kHeaderBytes + dib::addressableEntries(image.Header->biBitCount) * dib::kEntryBytes;
    for (std::size_t i = 0; i < headerBytes; ++i) sum += header[i];
    volatile unsigned sink = sum;
    (void)sink;
}

}  // namespace fuzz
