// Tone, depths and copies.
#include <numeric>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "bench/peers/OpenCv.h"

namespace pb {
namespace {

void tone() {
    const cv::Mat table(1, 256, CV_8U, const_cast<std::uint8_t*>(gammaTable()));
    cv::Mat same(1, 256, CV_8U), tables;
    std::iota(same.begin<std::uint8_t>(), same.end<std::uint8_t>(), std::uint8_t{0});
    cv::merge(std::vector<cv::Mat>{table, table, table, same}, tables);
    const auto lookUp = [](const cv::Mat& values) {
        return [=](const cv::Mat& source, cv::Mat& result) { cv::LUT(source, values, result); };
    };
    addCv("gamma_lut", 24, "`LUT`", lookUp(table));
    addCv("gamma_lut", 24, "`LUT`", lookUp(table), W4, H4);
    addCv("gamma_lut", 32, "`LUT`, alpha stays", lookUp(tables));
    addCv("contrast", 24, "`convertTo`, arithmetic without a table",
          [](const cv::Mat& source, cv::Mat& result) {
              source.convertTo(result, -1, kContrast, ((1 - kContrast) * .5 + kBrightness) * 255);
          });
    const auto invert = [](const cv::Mat& source, cv::Mat& result) { cv::bitwise_not(source, result); };
    addCv("invert", 24, "`bitwise_not`", invert, W4, H4);
    for (const int depth : {8, 24, 32}) {
        addCv("invert", depth, "`bitwise_not`", invert);
        addCv("compose_half", depth, "`addWeighted`", [=](const cv::Mat& source, cv::Mat& result) {
            cv::addWeighted(source, 1 - kOpacity, matOf(img2(W, H, depth / 8)), kOpacity, 0, result);
        });
    }
}

void convert(const char* op, int depth, const char* note, int code, int width = W, int height = H) {
    addCv(
        op, depth, note, [=](const cv::Mat& source, cv::Mat& result) { cv::cvtColor(source, result, code); },
        width, height);
}

void depths() {
    convert("cvt_24_to_8grey", 24, "`cvtColor`, other weights", cv::COLOR_BGR2GRAY);
    convert("cvt_24_to_8grey", 24, "`cvtColor`, other weights", cv::COLOR_BGR2GRAY, W4, H4);
    convert("cvt_24_to_32", 24, "`cvtColor`", cv::COLOR_BGR2BGRA);
    convert("cvt_24_to_32", 24, "`cvtColor`", cv::COLOR_BGR2BGRA, W4, H4);
    convert("cvt_32_to_24", 32, "`cvtColor`", cv::COLOR_BGRA2BGR);
    convert("cvt_24_to_16", 24, "`cvtColor`", cv::COLOR_BGR2BGR555);
    convert("cvt_8_to_24", 8, "`cvtColor` of grey, no palette", cv::COLOR_GRAY2BGR);
}

void copies() {
    const auto turnOver = [](const cv::Mat& source, cv::Mat& result) { cv::flip(source, result, 0); };
    const auto mirror = [](const cv::Mat& source, cv::Mat& result) { cv::flip(source, result, 1); };
    const auto copy = [](const cv::Mat& source, cv::Mat& result) { source.copyTo(result); };
    for (const int depth : {8, 24, 32}) {
        addCv("flip_v", depth, "`flip`", turnOver);
        addCv("clone_deep", depth, "`copyTo` into memory in use", copy);
    }
    addCv("flip_v", 24, "`flip`", turnOver, W4, H4);
    addCv("clone_deep", 24, "`copyTo` into memory in use", copy, W4, H4);
    addCv("flip_h", 24, "`flip`", mirror);
    addCv("crop_half", 24, "`copyTo` of a rectangle into memory in use",
          [](const cv::Mat& source, cv::Mat& result) {
              source(cv::Rect(CropX, CropY, CropW, CropH)).copyTo(result);
          });
}

}  // namespace

void addCvPixels() {
    tone();
    depths();
    copies();
}

}  // namespace pb
