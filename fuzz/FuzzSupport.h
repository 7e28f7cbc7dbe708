// What fuzz targets share: decisions read from the input, and files in memory.
#ifndef FUZZ_FUZZ_SUPPORT_H
#define FUZZ_FUZZ_SUPPORT_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>

#include "dib/Memory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// Takes numbers from the front of the input; gives 0 once it is used up.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}
    std::uint8_t byte();
    std::uint32_t word();
    int below(int count) { return static_cast<int>(word() % static_cast<std::uint32_t>(count)); }
    // Any bit pattern, so NaN and infinities occur.
    float anyFloat();
    bool empty() const { return left_ == 0; }
    std::size_t left() const { return left_; }
    void fill(unsigned char* out, std::size_t bytes);

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

// Calls `read` with the bytes as an open file.
void withFile(const std::uint8_t* data, std::size_t size, const std::function<void(std::FILE*)>& read);

// Calls `use` with the path of a file in memory that holds the bytes, for functions that take paths only.
void withPath(const std::uint8_t* data, std::size_t size, const std::function<void(const char*)>& use);

// Stops the process with a message when a promise is broken.
void require(bool kept, const char* promise);

// An image of at most maxSide x maxSide in any depth and row order, filled from the input.
void randomImage(Input& input, DibStream& image, int maxSide);

// Gives the image a borrowed header whose table has exactly the announced length, mostly not the one that the
// depth addresses. The block must outlive the image's use of it.
dib::MallocPtr<unsigned char> lendHeader(Input& input, DibStream& image);

// Every byte of a loaded image can be read, and its blocks fit its header.
void checkImage(const DibStream& image);

}  // namespace fuzz

#endif
