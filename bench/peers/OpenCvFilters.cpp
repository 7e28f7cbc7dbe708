// Blurs, ranks, edges and noise.
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "bench/peers/OpenCv.h"

namespace pb {
namespace {

MatOperation boxOf(int radius) {
    return [=](const cv::Mat& source, cv::Mat& result) {
        cv::blur(source, result, {2 * radius + 1, 2 * radius + 1}, {-1, -1}, kReplicate);
    };
}

MatOperation filterOf(const cv::Mat& kernel, double offset = 0) {
    return [=](const cv::Mat& source, cv::Mat& result) {
        cv::filter2D(source, result, -1, kernel, {-1, -1}, offset, kReplicate);
    };
}

void blurs() {
    const cv::Mat light = (cv::Mat_<float>(3, 3) << 0, .25f, 0, .25f, 0, .25f, 0, .25f, 0);
    const cv::Mat sharp = (cv::Mat_<float>(3, 3) << 0, -1, 0, -1, 5, -1, 0, -1, 0);
    for (const int depth : {8, 24, 32}) {
        for (const int radius : {2, 10, 50}) {
            addCv("box_blur_r" + std::to_string(radius), depth, "`blur`, rounds", boxOf(radius));
        }
        addCv("blur_light", depth, "`filter2D`, rounds", filterOf(light));
        addCv("sharpen_light", depth, "`filter2D`", filterOf(sharp));
        for (const int size : {5, 15, 50}) {
            addCv("gauss_R" + std::to_string(size), depth, "`GaussianBlur`, two passes, rounds",
                  [=](const cv::Mat& source, cv::Mat& result) {
                      cv::GaussianBlur(source, result, {2 * size + 1, 2 * size + 1}, size / 3.0, size / 3.0,
                                       kReplicate);
                  });
        }
    }
    addCv("box_blur_r10", 24, "`blur`, rounds", boxOf(10), W4, H4);
}

// The samples along the line, each spread over the four pixels around it; later ones count less.
cv::Mat motionKernel() {
    cv::Mat kernel(2 * kMotionLen - 1, 2 * kMotionLen - 1, CV_32F, cv::Scalar(0));
    const int middle = kMotionLen - 1;
    const float total = kMotionLen * (kMotionLen + 1) / 2.0f;
    for (int i = 0; i < kMotionLen; ++i) {
        const auto step = static_cast<float>(i);
        const float x = middle + step * std::cos(kMotionAngle), y = middle + step * std::sin(kMotionAngle);
        const int left = static_cast<int>(x), top = static_cast<int>(y);
        const float fx = x - static_cast<float>(left), fy = y - static_cast<float>(top);
        const float weight = static_cast<float>(kMotionLen - i) / total;
        const auto spread = [&](int row, int column, float share) {
            if (row < kernel.rows && column < kernel.cols) kernel.at<float>(row, column) += weight * share;
        };
        spread(top, left, (1 - fx) * (1 - fy));
        spread(top, left + 1, fx * (1 - fy));
        spread(top + 1, left, (1 - fx) * fy);
        spread(top + 1, left + 1, fx * fy);
    }
    return kernel;
}

void ranks() {
    for (const int depth : {8, 24, 32}) {
        for (const int radius : {1, 5}) {
            const cv::Mat square =
                cv::getStructuringElement(cv::MORPH_RECT, {2 * radius + 1, 2 * radius + 1});
            addCv("max_r" + std::to_string(radius), depth, "`dilate`, each channel by itself",
                  [=](const cv::Mat& source, cv::Mat& result) {
                      cv::dilate(source, result, square, {-1, -1}, 1, kReplicate);
                  });
            addCv("min_r" + std::to_string(radius), depth, "`erode`, each channel by itself",
                  [=](const cv::Mat& source, cv::Mat& result) {
                      cv::erode(source, result, square, {-1, -1}, 1, kReplicate);
                  });
        }
        for (const int radius : {1, 3, 5}) {
            addCv("median_r" + std::to_string(radius), depth, "`medianBlur`, each channel by itself",
                  [=](const cv::Mat& source, cv::Mat& result) {
                      cv::medianBlur(source, result, 2 * radius + 1);
                  });
        }
    }
}

void edges(const cv::Mat& source, cv::Mat& result) {
    cv::Mat across, down, length;
    cv::Sobel(source, across, CV_32F, 1, 0, 1, 1, 0, kReplicate);
    cv::Sobel(source, down, CV_32F, 0, 1, 1, 1, 0, kReplicate);
    cv::magnitude(across.reshape(1), down.reshape(1), length);
    length.reshape(source.channels()).convertTo(result, CV_8U);
}

void noise(const cv::Mat& source, cv::Mat& result) {
    cv::Mat values(source.size(), CV_16S);
    cv::randu(values, -kNoise, kNoise + 1);
    if (source.channels() == 3) cv::merge(std::vector<cv::Mat>{values, values, values}, values);
    cv::add(source, values, result, cv::noArray(), CV_8U);
}

}  // namespace

void addCvFilters() {
    blurs();
    ranks();
    const cv::Mat relief = (cv::Mat_<float>(3, 3) << -.35f, -.35f, 0, -.35f, 0, .35f, 0, .35f, .35f);
    for (const int depth : {8, 24}) {
        addCv("motion_blur_15", depth, "`filter2D` with the weights of the line", filterOf(motionKernel()));
        addCv("edge_mag", depth, "two `Sobel` of size 1, `magnitude`, floats", edges);
        addCv("emboss", depth, "`filter2D`, a fixed square of 3 x 3", filterOf(relief, 127.5));
        addCv("noise20", depth, "`randu`, `add`, numbers of its own", noise);
    }
}

}  // namespace pb
