// OpenCV 4 (core, imgproc, imgcodecs), one thread.
#include "bench/peers/OpenCv.h"

#include <memory>
#include <opencv2/core/utils/logger.hpp>

namespace pb {

cv::Mat matOf(const Image& picture) {
    return {picture.h, picture.w, CV_8UC(picture.ch), const_cast<std::uint8_t*>(picture.d.data())};
}

void addCv(const std::string& op, int depth, const std::string& note, const MatOperation& operate, int width,
           int height) {
    add(op, width, height, depth, "opencv", note, [=] {
        const auto source = std::make_shared<cv::Mat>(matOf(img(width, height, depth / 8)));
        const auto result = std::make_shared<cv::Mat>();
        return Op([=] { operate(*source, *result); },
                  [=] {
                      return outOf(result->data, result->cols, result->rows, result->channels(),
                                   result->step);
                  });
    });
}

}  // namespace pb

int main(int argc, char** argv) {
    cv::setNumThreads(1);
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_ERROR);
    pb::addProgram("opencv", "OpenCV " CV_VERSION);
    pb::addCvFiles();
    pb::addCvFilters();
    pb::addCvGeometry();
    pb::addCvPixels();
    return pb::benchMain(argc, argv);
}
