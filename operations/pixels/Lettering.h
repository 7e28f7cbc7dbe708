// Lines of letters, and how much of each pixel they cover.
#ifndef OPERATIONS_PIXELS_LETTERING_H
#define OPERATIONS_PIXELS_LETTERING_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace operations {

class Lettering {
public:
    Lettering() = default;
    virtual ~Lettering() = default;
    Lettering(const Lettering&) = delete;
    Lettering& operator=(const Lettering&) = delete;

    // In pixels.
    std::int64_t width() const { return width_; }
    std::int64_t height() const { return height_; }
    // The covered shares, 0 to 255, of `count` pixels of a row from `x` on, which may lie outside. Rows are
    // asked for from the top.
    virtual void cover(std::int64_t x, std::int64_t y, std::size_t count, std::uint8_t* shares) = 0;

protected:
    std::int64_t width_ = 0;
    std::int64_t height_ = 0;
};

// Lines in the letters of Letters.h. Bytes of UTF-8 that are no ASCII give one box for each character. `size`
// is that of the font's square, `align` as in TextStyle. Throws Refusal for text that no picture can hold.
std::unique_ptr<Lettering> writeInCells(std::string_view text, int size, int align);

}  // namespace operations

#endif
