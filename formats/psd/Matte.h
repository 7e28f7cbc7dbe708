// Colours of half-transparent pixels are stored mixed with white, as they look on paper. Here the white is
// taken away: the ink of a colour, which is what it keeps of the light, is divided by alpha.
#ifndef FORMATS_PSD_MATTE_H
#define FORMATS_PSD_MATTE_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace formats::psd {

// Whether alpha is neither 0 nor 255 anywhere.
bool hasHalfTransparent(const unsigned char* alpha, std::size_t count);

// The nearest bytes of colours without white: 255 - (255 - mixed) x 255 / alpha, but not below 0. Where alpha
// is 0 the colours stay as they are.

// Planes of bytes, red, green, blue, black when there are five, and alpha, become pixels of blue, green, red
// and alpha. Black darkens the other colours.
void joinWithoutWhite(std::span<const unsigned char* const> planes, unsigned char* pixels, std::size_t count);
// Samples of a colour, of 16 bits, from 0 to 65535.
void wordsWithoutWhite(const unsigned char* mixed, const unsigned char* alpha, unsigned char* to,
                       std::size_t count);
// The same of floats, which are light. Alpha outside of 0 to 1 keeps the colours as they are, too.
void floatsWithoutWhite(const unsigned char* mixed, const unsigned char* alpha, unsigned char* to,
                        std::size_t count);

// Mixing leaves no more ink than alpha. Programs that do not mix store darker colours, too: ImageMagick does
// so and says nothing of it.
class InkCensus {
public:
    // Counts the half-transparent ones of up to 65535 samples of a colour, of 1 or 2 bytes each. Alpha
    // has 1.
    void add(const unsigned char* samples, std::size_t sampleBytes, const unsigned char* alpha,
             std::size_t count);
    // Whether all but a few stray samples can be mixed with white.
    bool isMixed() const { return canBecomeMixed(0); }
    // The same of these and as many more as are to come.
    bool canBecomeMixed(std::uint64_t more) const { return dark_ <= (half_ + more) / kFewestPerStray; }

private:
    static constexpr std::size_t kFewestPerStray = 64;
    std::size_t half_ = 0;
    std::size_t dark_ = 0;  // of these, with more ink than alpha and rounding allow
};

}  // namespace formats::psd

#endif
