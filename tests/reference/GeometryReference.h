// Size, position and tone as plain loops over single pixels and bits. Images are values: each operation
// returns what the image becomes, or nothing where it is refused.
#ifndef TESTS_REFERENCE_GEOMETRY_REFERENCE_H
#define TESTS_REFERENCE_GEOMETRY_REFERENCE_H

#include <DibStream.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace reference {

struct Image {
    int width = 0;
    int height = 0;  // signed as in the header
    int depth = 0;
    std::vector<unsigned char> pixels;
    std::vector<unsigned char> table;  // 4-byte entries

    Image() = default;
    // Zero pixels, the table of another image as far as the depth addresses it, black beyond that.
    Image(int width, int height, const Image& like);
    explicit Image(const DibStream& dib);

    int rows() const { return height < 0 ? -height : height; }
    int rowBytes() const { return (depth * width + 31) / 32 * 4; }
    unsigned char* row(int bufferRow) {
        return pixels.data() + std::size_t(bufferRow) * std::size_t(rowBytes());
    }
    const unsigned char* row(int bufferRow) const {
        return pixels.data() + std::size_t(bufferRow) * std::size_t(rowBytes());
    }
    // The index, or the word up to 32 bits, of a pixel in a buffer row.
    std::uint32_t get(int x, int bufferRow) const;
    void set(int x, int bufferRow, std::uint32_t value);

    // Whether the DIB holds exactly this image.
    bool equals(const DibStream& dib) const;
};

using Result = std::optional<Image>;

Result resize(const Image& image, int width, int height, int method);
Result resizeHalf(const Image& image);
Result resizeBilinear(const Image& image, int width, int height);
Result resizeIntegral(const Image& image, int width, int height);
Result changeSize(const Image& image, int width, int height, std::uint32_t fill);
Result clipCut(const Image& image, int x, int y, int width, int height);
Result clipClone(const Image& image, int x, int y, int width, int height);
Result scroll(const Image& image, int dx, int dy);
Result upDown(const Image& image, bool topDown);
Result invertTone(const Image& image);
Result brighten(const Image& image, float factor);

}  // namespace reference

#endif
