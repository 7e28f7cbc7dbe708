// Division of sums by the area of a square, by multiplication where that is exact.
#ifndef EFFECTS_BOX_MEAN_H
#define EFFECTS_BOX_MEAN_H

#include <cstddef>
#include <cstdint>

namespace dib {

class BoxMean {
public:
    // The divisor is the area of a square of side 2 radius + 1.
    explicit BoxMean(int radius);

    // The sum, taken as a signed number, divided by the divisor and cut towards zero.
    std::uint32_t of(std::uint32_t sum) const {
        return static_cast<std::uint32_t>(std::int64_t{static_cast<std::int32_t>(sum)} / divisor_);
    }
    // The same for a row of sums, low bytes.
    void ofSums(const std::uint32_t* sums, unsigned char* out, std::ptrdiff_t count) const;

    std::int32_t divisor() const { return divisor_; }

private:
    std::int32_t divisor_;
    bool mayWrap_;  // sums may pass 2^31
};

}  // namespace dib

#endif
