// Distortions and sizes.
#include <cmath>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/peers/OpenCv.h"

namespace pb {
namespace {

constexpr float kCenterX = (W - 1) * .5f, kCenterY = (H - 1) * .5f, kTurn = 6.2831855f;

cv::Point2f turned(float x, float y, float angle) {
    const float dx = x - kCenterX, dy = y - kCenterY;
    const float s = std::sin(angle), c = std::cos(angle);
    return {dx * c - dy * s + kCenterX, c * dy + dx * s + kCenterY};
}

float distance(float x, float y) {
    const float dx = x - kCenterX, dy = y - kCenterY;
    return std::sqrt(dx * dx + dy * dy);
}

// Where the pixel at x, y comes from, as an application would write it: part of the loop over the pixels.
constexpr auto whirl = [](float x, float y) { return turned(x, y, distance(x, y) * kWhirlTwist); };
constexpr auto ripple = [](float x, float y) {
    return turned(x, y, std::sin(distance(x, y) / kRippleLen * kTurn) * kRippleAmp);
};
constexpr auto wave = [](float x, float y) {
    return cv::Point2f(x, y + std::sin((x - kCenterX) / kWaveLen * kTurn) * kWaveAmp);
};

template <class Place>
void fillMaps(const Place& place, cv::Mat& mapX, cv::Mat& mapY) {
    for (int y = 0; y < H; ++y) {
        auto *const rowX = mapX.ptr<float>(y), *const rowY = mapY.ptr<float>(y);
        for (int x = 0; x < W; ++x) {
            const cv::Point2f source = place(static_cast<float>(x), static_cast<float>(y));
            rowX[x] = source.x;
            rowY[x] = source.y;
        }
    }
}

template <class Place>
void warp(const char* op, const char* note, const Place& place, bool ready = false) {
    add(op, W, H, 24, "opencv", note, [=] {
        const cv::Mat source = matOf(img(W, H, 3));
        const auto result = std::make_shared<cv::Mat>();
        const auto mapX = std::make_shared<cv::Mat>(H, W, CV_32F),
                   mapY = std::make_shared<cv::Mat>(H, W, CV_32F);
        fillMaps(place, *mapX, *mapY);
        return Op(
            [=] {
                if (!ready) fillMaps(place, *mapX, *mapY);
                cv::remap(source, *result, *mapX, *mapY, cv::INTER_LINEAR, kReplicate);
            },
            [=] { return outOf(result->data, W, H, 3, result->step); });
    });
}

void rotate(const cv::Mat& source, cv::Mat& result) {
    const cv::Point2f center(static_cast<float>(source.cols - 1) * .5f,
                             static_cast<float>(source.rows - 1) * .5f);
    cv::warpAffine(source, result, cv::getRotationMatrix2D(center, kRotateDeg, 1), source.size(),
                   cv::INTER_LINEAR, kReplicate);
}

void mosaic(const cv::Mat& source, cv::Mat& result) {
    cv::Mat blocks;
    cv::resize(source, blocks, {source.cols / kMosaic, source.rows / kMosaic}, 0, 0, cv::INTER_AREA);
    cv::resize(blocks, result, source.size(), 0, 0, cv::INTER_NEAREST);
}

void size(const char* op, int depth, const char* note, int width, int height, int method, int fromW = W,
          int fromH = H) {
    addCv(
        op, depth, note,
        [=](const cv::Mat& source, cv::Mat& result) {
            cv::resize(source, result, {width, height}, 0, 0, method);
        },
        fromW, fromH);
}

}  // namespace

void addCvGeometry() {
    for (const int depth : {8, 24, 32}) {
        addCv("rotate30", depth, "`warpAffine`, weights of 5 bits", rotate);
        addCv("mosaic10", depth, "`resize` to blocks and back", mosaic);
    }
    addCv("rotate30", 24, "`warpAffine`, weights of 5 bits", rotate, W4, H4);
    warp("whirl", "maps in C++, `remap`, weights of 5 bits", whirl);
    warp("ripple", "maps in C++, `remap`, weights of 5 bits", ripple);
    warp("wave", "maps in C++, `remap`, weights of 5 bits", wave);
    warp("whirl_sampling_only", "`remap` alone, its maps are ready", whirl, true);
    for (const int depth : {24, 32}) {
        size("resize_bilinear_up", depth, "`resize`", UpW, UpH, cv::INTER_LINEAR);
        size("resize_bilinear_down", depth, "`resize`", DnW, DnH, cv::INTER_LINEAR);
        size("resize_area_037", depth, "`resize`", ArW, ArH, cv::INTER_AREA);
        size("resize_half", depth, "`resize`, rounds", HfW, HfH, cv::INTER_AREA);
    }
    size("resize_half", 24, "`resize`, rounds", W4 / 2, H4 / 2, cv::INTER_AREA, W4, H4);
    size("resize_area_037", 24, "`resize`", 1515, 1515, cv::INTER_AREA, W4, H4);
}

}  // namespace pb
