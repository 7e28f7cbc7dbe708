#include "operations/pixels/Rotate.h"

namespace operations {

namespace {

constexpr const char* kArea = "Turns";

// Their values are places in dib::kTurns.
constexpr Choices kAngles({
    {"90", 5, "to the right"},
    {"180", 2, "upside down"},
    {"270", 7, "to the left"},
});

constexpr Parameters kTurn({choice("angle", "degrees, clockwise", kAngles)});

bool runTurn(const Job& job) { return turnBy(job, dib::kTurns[job.arguments.word("angle")]); }
bool runFlip(const Job& job) { return turnBy(job, dib::kTurns[3]); }
bool runMirror(const Job& job) { return turnBy(job, dib::kTurns[1]); }

constexpr Operation kOperations[] = {
    {{"turn",
      kArea,
      "Turns the picture by quarters; every pixel stays as it is.",
      "turn:90",
      {"turn:90", "turn:180", "turn:270"},
      kTurn,
      kAllDepths,
      kMovesPixels},
     "",
     replacing(runTurn)},
    {{"flip",
      kArea,
      "Exchanges top and bottom.",
      "flip",
      {"flip", "turn:90 flip", "canvas:50% flip"},
      kNoParameters,
      kAllDepths,
      kMovesPixels},
     "",
     replacing(runFlip)},
    {{"mirror",
      kArea,
      "Exchanges left and right.",
      "mirror",
      {"mirror", "turn:90 mirror", "crop:0,0,50%x100% mirror"},
      kNoParameters,
      kAllDepths,
      kMovesPixels},
     "",
     replacing(runMirror)},
};

}  // namespace

Area turnOps() { return kOperations; }

}  // namespace operations
