// The pixels of an image as a cv::Mat, and those of a cv::Mat as an image.
#include <DibEffect.h>
#include <DibStream.h>

#include <cstdio>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

// The first row of a matrix is the top row: UpDown(true) reorders the rows in place.
cv::Mat matrixOf(DibStream& image) {
    if (!image.UpDown(true)) return {};
    const int type = image.Header->biBitCount == 8    ? CV_8UC1
                     : image.Header->biBitCount == 24 ? CV_8UC3
                     : image.Header->biBitCount == 32 ? CV_8UC4
                                                      : -1;
    if (type < 0) return {};
    return {-image.Header->biHeight, image.Header->biWidth, type, image.Buffer, image.GetPitch()};
}

// The image borrows matrix and header, and both must live longer. Rows of an image are padded to 4 bytes,
// so CV_8UC4 always fits, other types only when their rows are a multiple of 4 bytes.
bool viewOf(cv::Mat& matrix, BITMAPINFOHEADER& header, DibStream& image) {
    const int bitCount = static_cast<int>(matrix.elemSize() * 8);
    if (matrix.depth() != CV_8U || bitCount < 24) return false;
    if (!image.SetBitmapInfo(header, matrix.cols, -matrix.rows, bitCount)) return false;
    return image.SetDib(&header, 0, matrix.data, 0) && image.GetPitch() == matrix.step;
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: opencv IN.bmp OUT.bmp\n");
        return 2;
    }
    DibStream image;
    if (!image.LoadFromFile(argv[1], DibStream::DIB_ACCEPT_ALL) || !image.ChangeBpp(24, 0)) return 1;

    cv::Mat matrix = matrixOf(image);
    if (matrix.data != image.Buffer) return 1;
    cv::rectangle(matrix, {0, 0}, {0, 0}, cv::Scalar(10, 20, 30));  // one pixel
    const auto* pixel = reinterpret_cast<const DibBGR*>(image.Pixel(0, 0));
    if (pixel->blue != 10 || pixel->green != 20 || pixel->red != 30) return 1;

    cv::Mat opaque;
    cv::cvtColor(matrix, opaque, cv::COLOR_BGR2BGRA);
    BITMAPINFOHEADER header{};
    DibStream view;
    if (!viewOf(opaque, header, view) || !DibEffectReverse(nullptr, nullptr, &view)) return 1;
    if (opaque.at<cv::Vec4b>(0, 0) != cv::Vec4b(245, 235, 225, 0)) return 1;

    return image.SaveToFile(argv[2]) ? 0 : 1;
}
