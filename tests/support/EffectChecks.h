// Checks that every effect must pass: equality with plain loops, refusals, progress, cancellation, and
// failing allocations.
#ifndef TESTS_SUPPORT_EFFECT_CHECKS_H
#define TESTS_SUPPORT_EFFECT_CHECKS_H

#include <DibEffect.h>

#include <functional>
#include <vector>

namespace testing_support {

// An effect with its parameters bound, and the same as plain loops.
using EffectRun = std::function<bool(DibProgressCallback, void*, DibStream*)>;
using EffectReference = std::function<void(DibStream&)>;

// Random images of these depths in every size of kSizes and both row orders, at every kernel level: the
// effect must give what the reference gives, row fill bytes included.
void expectEqualsReference(const EffectRun& run, const EffectReference& reference,
                           const std::vector<int>& depths);

// Null, empty and half-empty images and every depth that is not listed give false without a call of the
// callback or a change; an image without rows gives true without a call.
void expectRefusals(const EffectRun& run, const std::vector<int>& depths);

// (y + 1) / height after every row; a cancel at row y leaves rows 0 to y as a full run makes them and the
// others as they were.
void expectProgressByRow(const EffectRun& run, const std::vector<int>& depths);

// Whichever allocation fails, the effect gives false, changes nothing, error code included, and leaks
// nothing. Returns the number of allocations that were made to fail.
int expectSurvivesFailingAllocations(const EffectRun& run, const std::vector<int>& depths);

}  // namespace testing_support

#endif
