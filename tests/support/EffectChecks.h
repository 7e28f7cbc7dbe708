// Checks that every effect must pass: equality with plain loops, refusals, progress, cancellation, and
// failing allocations.
#ifndef TESTS_SUPPORT_EFFECT_CHECKS_H
#define TESTS_SUPPORT_EFFECT_CHECKS_H

#include <DibEffect.h>
#include <gtest/gtest.h>

#include <cstring>
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

// Both runs must agree in result, picture and progress on a picture of 9 x 8 pixels and 24 bits, which they
// must report, and give false without pixels.
void expectSameRun(const EffectRun& run, const EffectRun& expected);

// The overload with a record must do what the direct one does, and leave the record unchanged.
template <class Info>
void expectRecordOverload(const EffectRun& direct,
                          bool (*overload)(DibProgressCallback, void*, DibStream*, Info*), const Info& info) {
    Info passed = info;
    passed.tag = 0x87654321;
    const Info before = passed;
    expectSameRun([&](DibProgressCallback callback, void* user,
                      DibStream* image) { return overload(callback, user, image, &passed); },
                  direct);
    EXPECT_EQ(std::memcmp(&passed, &before, sizeof passed), 0);
}

}  // namespace testing_support

#endif
