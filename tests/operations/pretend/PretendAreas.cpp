// The areas of the table and one more, with an operation that exists nowhere else (tests/system/pretend.sh).
#define areas areasOfTheTable
#include "operations/Areas.cpp"
#undef areas

namespace operations {

namespace {

constexpr Choices kModes({{"light", 0, "as at noon", "kLight"}, {"dark", 1, "as at night", "kDark"}});

constexpr Parameters kPretend({integer("amount", "how much to pretend", {1, 9}, nullptr, "px"),
                               choice("mode", "which way", kModes, "light")});

constexpr Operation kOperations[] = {
    {{"pretend",
      "Pretences",
      "Pretends to change the picture.",
      "pretend:3",
      {"pretend:3", "pretend:3,mode=dark", "invert pretend:9"},
      kPretend,
      kAllDepths},
     "pretend(image, {amount}, {mode})",
     [](const Job& job) { return job.image.InvertTone(); }},
};

}  // namespace

std::span<const Area> areas();

std::span<const Area> areas() {
    static const std::vector<Area> all = [] {
        const std::span<const Area> table = areasOfTheTable();
        std::vector<Area> more(table.begin(), table.end());
        more.emplace_back(kOperations);
        return more;
    }();
    return all;
}

}  // namespace operations
