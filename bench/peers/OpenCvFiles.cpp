// Files by `imread` and `imwrite`.
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <vector>

#include "bench/peers/OpenCv.h"

namespace pb {
namespace {

void load(const char* op, int depth, int flags, const char* note, int width = W, int height = H) {
    add(op, width, height, depth, "opencv", note, [=] {
        const std::string path = loadFile(op, width);
        return Op([=] { need(!cv::imread(path, flags).empty(), "imread"); });
    });
}

void save(const char* op, const char* extension, int depth, const char* note,
          const std::vector<int>& settings = {}, int width = W, int height = H) {
    add(op, width, height, depth, "opencv", note, [=] {
        const std::string path = file(std::string("out_opencv") + extension);
        const auto source = std::make_shared<cv::Mat>(matOf(img(width, height, depth / 8)));
        return Op([=] { need(cv::imwrite(path, *source, settings), "imwrite"); });
    });
}

void loadRadiance() {
    add("load_hdr_rle", W, H, 24, "opencv", "`imread` of floats, `pow` of 1/2.2, `convertTo`", [] {
        const std::string path = loadFile("load_hdr_rle");
        const auto result = std::make_shared<cv::Mat>();
        return Op(
            [=] {
                const cv::Mat light = cv::imread(path, cv::IMREAD_ANYDEPTH | cv::IMREAD_COLOR);
                need(!light.empty(), "imread");
                cv::Mat corrected;
                cv::pow(light, 1 / kGamma, corrected);
                corrected.convertTo(*result, CV_8U, 255);
            },
            [=] { return outOf(result->data, W, H, 3, result->step); });
    });
}

}  // namespace

void addCvFiles() {
    load("load_bmp24", 24, cv::IMREAD_COLOR, "`imread`");
    load("load_bmp24", 24, cv::IMREAD_COLOR, "`imread`", W4, H4);
    load("load_bmp32", 32, cv::IMREAD_UNCHANGED, "`imread`");
    load("load_bmp8", 8, cv::IMREAD_COLOR, "`imread`, makes 24 bits");
    load("load_bmp_rle8", 8, cv::IMREAD_COLOR, "`imread`, makes 24 bits");
    load("load_ppm_p6", 24, cv::IMREAD_COLOR, "`imread`");
    load("load_ppm_p6", 24, cv::IMREAD_COLOR, "`imread`", W4, H4);
    load("load_pgm_p5", 8, cv::IMREAD_GRAYSCALE, "`imread`");
    load("load_png24", 24, cv::IMREAD_COLOR, "`imread`");
    load("load_jpeg", 24, cv::IMREAD_COLOR, "`imread`");
    load("load_tiff24", 24, cv::IMREAD_COLOR, "`imread`");
    load("load_tiff24_lzw", 24, cv::IMREAD_COLOR, "`imread`");
    loadRadiance();
    save("save_bmp24", ".bmp", 24, "`imwrite`");
    save("save_bmp24", ".bmp", 24, "`imwrite`", {}, W4, H4);
    save("save_bmp8", ".bmp", 8, "`imwrite` of grey");
    save("save_ppm_p6", ".ppm", 24, "`imwrite`");
    save("save_png24", ".png", 24, "`imwrite`, level 1 with one filter");
    save("save_jpeg", ".jpg", 24, "`imwrite`, quality 90", {cv::IMWRITE_JPEG_QUALITY, 90});
    save("save_tiff24", ".tif", 24, "`imwrite`, not packed", {cv::IMWRITE_TIFF_COMPRESSION, 1});
    save("save_tiff24_lzw", ".tif", 24, "`imwrite`, LZW with differences");
}

}  // namespace pb
