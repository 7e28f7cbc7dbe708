// FreeImage 3, whose pictures lie in memory as ours do: blue, green, red, the bottom row first.
#include <FreeImage.h>

#include <functional>
#include <memory>

#include "bench/harness/Harness.h"

namespace pb {
namespace {

using Bitmap = std::shared_ptr<FIBITMAP>;

Bitmap adopt(FIBITMAP* bitmap) {
    need(bitmap != nullptr, "no bitmap");
    return {bitmap, FreeImage_Unload};
}

Bitmap bitmapOf(const Image& picture) {
    return adopt(FreeImage_ConvertFromRawBits(const_cast<std::uint8_t*>(picture.d.data()), picture.w,
                                              picture.h, static_cast<int>(picture.stride()),
                                              static_cast<unsigned>(picture.ch * 8), FI_RGBA_RED_MASK,
                                              FI_RGBA_GREEN_MASK, FI_RGBA_BLUE_MASK, TRUE));
}

Out resultOf(const Bitmap& bitmap) {
    const Bitmap turned = adopt(FreeImage_Clone(bitmap.get()));
    FreeImage_FlipVertical(turned.get());
    return outOf(FreeImage_GetBits(turned.get()), static_cast<int>(FreeImage_GetWidth(turned.get())),
                 static_cast<int>(FreeImage_GetHeight(turned.get())),
                 static_cast<int>(FreeImage_GetBPP(turned.get()) / 8), FreeImage_GetPitch(turned.get()));
}

// An operation that makes a new picture.
void making(const char* op, int depth, const char* note, const std::function<FIBITMAP*(FIBITMAP*)>& make,
            int width = W, int height = H) {
    add(op, width, height, depth, "freeimage", note, [=] {
        const Bitmap source = bitmapOf(img(width, height, depth / 8));
        const auto result = std::make_shared<Bitmap>();
        return Op([=] { *result = adopt(make(source.get())); }, [=] { return resultOf(*result); });
    });
}

// An operation on the same picture again and again; the result is that of one call.
void changing(const char* op, int depth, const char* note, const std::function<BOOL(FIBITMAP*)>& change) {
    add(op, W, H, depth, "freeimage", note, [=] {
        const Bitmap picture = bitmapOf(img(W, H, depth / 8));
        return Op([=] { need(change(picture.get()) != FALSE, "refused"); },
                  [=] {
                      const Bitmap fresh = bitmapOf(img(W, H, depth / 8));
                      change(fresh.get());
                      return resultOf(fresh);
                  });
    });
}

void load(const char* op, int depth, FREE_IMAGE_FORMAT format, int width = W, int height = H) {
    add(op, width, height, depth, "freeimage", "`FreeImage_Load`", [=] {
        const std::string path = loadFile(op, width);
        const int flags = format == FIF_JPEG ? JPEG_ACCURATE : 0;
        return Op([=] { adopt(FreeImage_Load(format, path.c_str(), flags)); });
    });
}

void save(const char* op, int depth, FREE_IMAGE_FORMAT format, int flags,
          const char* note = "`FreeImage_Save`") {
    add(op, W, H, depth, "freeimage", note, [=] {
        const std::string path = file(std::string("out_freeimage_") + op);
        const Bitmap picture = bitmapOf(img(W, H, depth / 8));
        return Op([=] { need(FreeImage_Save(format, picture.get(), path.c_str(), flags) != FALSE, "save"); });
    });
}

void files() {
    load("load_bmp24", 24, FIF_BMP);
    load("load_bmp24", 24, FIF_BMP, W4, H4);
    load("load_bmp32", 32, FIF_BMP);
    load("load_bmp8", 8, FIF_BMP);
    load("load_bmp_rle8", 8, FIF_BMP);
    load("load_tga24_raw", 24, FIF_TARGA);
    load("load_tga24_raw", 24, FIF_TARGA, W4, H4);
    load("load_tga24_rle", 24, FIF_TARGA);
    load("load_ppm_p6", 24, FIF_PPMRAW);
    load("load_ppm_p6", 24, FIF_PPMRAW, W4, H4);
    load("load_pgm_p5", 8, FIF_PGMRAW);
    load("load_psd_rle", 24, FIF_PSD);
    load("load_ilbm24", 24, FIF_IFF);
    load("load_ilbm8", 8, FIF_IFF);
    load("load_png24", 24, FIF_PNG);
    load("load_jpeg", 24, FIF_JPEG);
    load("load_tiff24", 24, FIF_TIFF);
    load("load_tiff24_lzw", 24, FIF_TIFF);
    save("save_bmp24", 24, FIF_BMP, BMP_DEFAULT);
    save("save_bmp8", 8, FIF_BMP, BMP_DEFAULT);
    save("save_tga24_raw", 24, FIF_TARGA, TARGA_DEFAULT);
    save("save_tga24_rle", 24, FIF_TARGA, TARGA_SAVE_RLE);
    save("save_ppm_p6", 24, FIF_PPMRAW, PNM_SAVE_RAW);
    save("save_png24", 24, FIF_PNG, PNG_DEFAULT, "`FreeImage_Save`, level 6");
    save("save_jpeg", 24, FIF_JPEG, 90, "`FreeImage_Save`, quality 90");
    save("save_tiff24", 24, FIF_TIFF, TIFF_NONE, "`FreeImage_Save`, not packed");
    save("save_tiff24_lzw", 24, FIF_TIFF, TIFF_LZW, "`FreeImage_Save`, LZW with differences");
}

void sizes(int depth) {
    const auto size = [=](const char* op, const char* note, int width, int height, FREE_IMAGE_FILTER filter) {
        making(op, depth, note,
               [=](FIBITMAP* source) { return FreeImage_Rescale(source, width, height, filter); });
    };
    size("resize_bilinear_up", "`FreeImage_Rescale`, bilinear", UpW, UpH, FILTER_BILINEAR);
    size("resize_bilinear_down", "`FreeImage_Rescale`, bilinear, averages more pixels", DnW, DnH,
         FILTER_BILINEAR);
    size("resize_area_037", "`FreeImage_Rescale`, box", ArW, ArH, FILTER_BOX);
    size("resize_half", "`FreeImage_Rescale`, box", HfW, HfH, FILTER_BOX);
}

void pixels() {
    const auto gamma = [](FIBITMAP* picture) {
        return FreeImage_AdjustCurve(picture, const_cast<BYTE*>(gammaTable()), FICC_RGB);
    };
    for (const int depth : {24, 32}) {
        sizes(depth);
        changing("gamma_lut", depth, "`FreeImage_AdjustCurve`, in place", gamma);
        changing("invert", depth, "`FreeImage_Invert`, in place", FreeImage_Invert);
        changing("flip_v", depth, "`FreeImage_FlipVertical`, in place", FreeImage_FlipVertical);
        add("compose_half", W, H, depth, "freeimage", "`FreeImage_Paste`, in place", [=] {
            const Bitmap picture = bitmapOf(img(W, H, depth / 8)), other = bitmapOf(img2(W, H, depth / 8));
            return Op(
                [=] { need(FreeImage_Paste(picture.get(), other.get(), 0, 0, 128) != FALSE, "paste"); });
        });
    }
    changing("flip_h", 24, "`FreeImage_FlipHorizontal`, in place", FreeImage_FlipHorizontal);
    making("dither_1bit", 24, "`FreeImage_Dither`, other shares of the error",
           [](FIBITMAP* source) { return FreeImage_Dither(source, FID_FS); });
    making("cvt_24_to_8grey", 24, "`FreeImage_ConvertToGreyscale`, other weights",
           FreeImage_ConvertToGreyscale);
    making("cvt_24_to_32", 24, "`FreeImage_ConvertTo32Bits`", FreeImage_ConvertTo32Bits);
    making("cvt_24_to_32", 24, "`FreeImage_ConvertTo32Bits`", FreeImage_ConvertTo32Bits, W4, H4);
    making("cvt_32_to_24", 32, "`FreeImage_ConvertTo24Bits`", FreeImage_ConvertTo24Bits);
    making("cvt_24_to_16", 24, "`FreeImage_ConvertTo16Bits555`", FreeImage_ConvertTo16Bits555);
    making("cvt_8_to_24", 8, "`FreeImage_ConvertTo24Bits`", FreeImage_ConvertTo24Bits);
    for (const int depth : {8, 24, 32}) making("clone_deep", depth, "`FreeImage_Clone`", FreeImage_Clone);
    making("clone_deep", 24, "`FreeImage_Clone`", FreeImage_Clone, W4, H4);
    making("crop_half", 24, "`FreeImage_Copy`", [](FIBITMAP* source) {
        return FreeImage_Copy(source, CropX, CropY, CropX + CropW, CropY + CropH);
    });
}

}  // namespace
}  // namespace pb

int main(int argc, char** argv) {
    FreeImage_Initialise(TRUE);
    pb::addProgram("freeimage", std::string("FreeImage ") + FreeImage_GetVersion());
    pb::files();
    pb::pixels();
    return pb::benchMain(argc, argv);
}
