#include "formats/diagnosis/Diagnosis.h"

namespace formats {

std::string diagnoseTim(const RefusedFile& file) {
    if (file.le32(0) != 0x10) return "not a TIM file";
    const std::uint32_t flags = file.le32(4);
    const std::uint32_t mode = flags & 7;
    if (mode == 3) return "pixels of 24 bits are not read";
    if (mode > 2) return "pixel mode " + std::to_string(mode) + " is not read";
    const int bitCount = 4 << mode;
    const std::int64_t block = (flags & 8) != 0 ? 8 + std::int64_t{file.le32(8)} : 8;
    return sizeProblem(std::int64_t{file.le16(block + 8)} * 16 / bitCount, file.le16(block + 10), bitCount);
}

}  // namespace formats
