#include "operations/pixels/Unsharp.h"

namespace operations {

namespace {

constexpr const char* kArea = "Blur and sharpen";

constexpr Parameters kUnsharp(
    {number("radius", "standard deviation of the blur", {0.1, 100}, "2", "px"),
     fraction("amount", "how much of the difference from the blurred picture is added", "1", {0, 10}),
     number("threshold", "smaller differences are left alone", {0, 255}, "0")});

bool runUnsharp(const Job& job) {
    const Arguments& given = job.arguments;
    return unsharp(job, {given.number("radius"), given.number("amount"), given.number("threshold")});
}

constexpr Operation kOperations[] = {
    {{"unsharp",
      kArea,
      "Sharpens by the difference from a blurred picture (unsharp mask).",
      "unsharp:1.5,150%,threshold=2",
      {"unsharp", "unsharp:1,300%", "unsharp:20,40%"},
      kUnsharp,
      kAllDepths},
     "",
     runUnsharp},
};

}  // namespace

Area unsharpOps() { return kOperations; }

}  // namespace operations
