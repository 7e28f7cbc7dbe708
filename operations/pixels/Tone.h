// Operations that change each colour by itself.
#ifndef OPERATIONS_PIXELS_TONE_H
#define OPERATIONS_PIXELS_TONE_H

#include "dib/PixelShuffles.h"
#include "dib/ToneLookup.h"
#include "operations/Operations.h"

namespace operations {

// Maps the channels `channels` of every colour through a table: bit 0 is red, 1 green, 2 blue.
inline constexpr std::uint32_t kRed = 1;
inline constexpr std::uint32_t kGreen = 2;
inline constexpr std::uint32_t kBlue = 4;
bool mapChannels(const Job& job, const dib::ToneTable& table, std::uint32_t channels);

// Replaces every colour by its grey in all three channels, or by the table entry of that.
bool mapGreys(const Job& job, const dib::GreyShares& weights, const dib::ToneTable* table = nullptr);

// Lays a picture with alpha over a colour: the result has 24 bits. Other depths stay as they are.
bool flatten(const Job& job, const DibBGRA& background);

}  // namespace operations

#endif
