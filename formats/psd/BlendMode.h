// How layers blend: the four letters of the file, and the numbers of the interface.
#ifndef FORMATS_PSD_BLEND_MODE_H
#define FORMATS_PSD_BLEND_MODE_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace formats::psd {

struct BlendKey {
    char key[5];
    std::int32_t mode;
};

// The numbers are part of the interface; 17 has never been given to a mode.
inline constexpr BlendKey kBlendKeys[] = {
    {"norm", 0},  {"dark", 1},  {"lite", 2},  {"hue ", 3},  {"sat ", 4},  {"colr", 5},  {"lum ", 6},
    {"mul ", 7},  {"scrn", 8},  {"diss", 9},  {"over", 10}, {"hLit", 11}, {"sLit", 12}, {"diff", 13},
    {"smud", 14}, {"div ", 15}, {"idiv", 16}, {"lddg", 18}, {"vLit", 19}, {"lLit", 20}, {"pLit", 21},
    {"hMix", 22}, {"pass", 23}, {"dkCl", 24}, {"lgCl", 25},
};

// -1 for other letters.
inline std::int32_t blendModeOf(const char* key) {
    const auto* known = std::find_if(std::begin(kBlendKeys), std::end(kBlendKeys),
                                     [&](const BlendKey& k) { return std::memcmp(k.key, key, 4) == 0; });
    return known != std::end(kBlendKeys) ? known->mode : -1;
}

}  // namespace formats::psd

#endif
