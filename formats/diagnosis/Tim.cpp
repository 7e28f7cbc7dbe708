#include "formats/diagnosis/Diagnosis.h"

namespace formats {

Problem diagnoseTim(const RefusedFile& file) {
    if (file.le32(0) != 0x10) return damaged("not a TIM file");
    if (file.size() < 8) return cutShort(kShortHeader);
    const std::uint32_t flags = file.le32(4);
    const std::uint32_t mode = flags & 7;
    if (mode > 3) return unread("pixel mode " + std::to_string(mode) + " is not read");
    const int bitCount = mode == 3 ? 24 : 4 << mode;
    const std::int64_t block = (flags & 8) != 0 ? 8 + std::int64_t{file.le32(8)} : 8;
    if (file.size() < block + 12) return cutShort(kShortHeader);
    return sizeProblem(std::int64_t{file.le16(block + 8)} * 16 / bitCount, file.le16(block + 10), bitCount);
}

}  // namespace formats
