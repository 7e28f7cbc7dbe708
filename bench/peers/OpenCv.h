// What the files of the OpenCV bench share.
#ifndef BENCH_PEERS_OPEN_CV_H
#define BENCH_PEERS_OPEN_CV_H

#include <functional>
#include <opencv2/core.hpp>
#include <string>

#include "bench/harness/Harness.h"

namespace pb {

constexpr int kReplicate = cv::BORDER_REPLICATE;

// The pixels of a picture, not a copy; OpenCV has no type for those that are only read.
cv::Mat matOf(const Image& picture);

// An operation whose result keeps its memory from call to call: OpenCV's best case.
using MatOperation = std::function<void(const cv::Mat& source, cv::Mat& result)>;
void addCv(const std::string& op, int depth, const std::string& note, const MatOperation& operate,
           int width = W, int height = H);

void addCvFiles();
void addCvFilters();
void addCvGeometry();
void addCvPixels();

}  // namespace pb

#endif
