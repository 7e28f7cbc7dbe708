#include "formats/windows/WindowsEncoder.h"

#include <string>

namespace formats {

namespace {

const GUID& containerOf(DibCocoaUtil::DibCocoaFileType type) {
    switch (type) {
        case DibCocoaUtil::DIB_COCOA_JPEG: return GUID_ContainerFormatJpeg;
        case DibCocoaUtil::DIB_COCOA_TIFF: return GUID_ContainerFormatTiff;
        default: return GUID_ContainerFormatPng;
    }
}

bool setOption(IPropertyBag2& options, const wchar_t* name, VARIANT value) {
    std::wstring text(name);
    PROPBAG2 option = {};
    option.pstrName = text.data();
    return SUCCEEDED(options.Write(1, &option, &value));
}

bool setOptions(IPropertyBag2& options, const Encoding& encoding) {
    VARIANT value = {};
    if (encoding.type == DibCocoaUtil::DIB_COCOA_JPEG) {
        value.vt = VT_R4;
        value.fltVal = encoding.quality;
        return setOption(options, L"ImageQuality", value);
    }
    if (encoding.type == DibCocoaUtil::DIB_COCOA_TIFF) {
        value.vt = VT_UI1;
        value.bVal = static_cast<BYTE>(encoding.packing);
        return setOption(options, L"TiffCompressionMethod", value);
    }
    return true;
}

bool writePixels(IWICBitmapFrameEncode& frame, const Encoding& encoding, OutgoingRows& rows) {
    const GUID& wanted = encoding.hasAlpha ? GUID_WICPixelFormat32bppBGRA : GUID_WICPixelFormat24bppBGR;
    WICPixelFormatGUID format = wanted;
    if (FAILED(frame.SetSize(static_cast<UINT>(encoding.width), static_cast<UINT>(encoding.height))) ||
        FAILED(frame.SetPixelFormat(&format)) || !IsEqualGUID(format, wanted))
        return false;
    if (encoding.xResolution > 0 && FAILED(frame.SetResolution(encoding.xResolution, encoding.yResolution)))
        return false;
    const auto bytes = static_cast<UINT>(encoding.width * (encoding.hasAlpha ? 4 : 3));
    for (std::size_t y = 0; y < encoding.height; ++y) {
        const unsigned char* row = rows.row(y);
        if (row == nullptr || FAILED(frame.WritePixels(1, bytes, bytes, const_cast<BYTE*>(row))))
            return false;
    }
    return true;
}

}  // namespace

ComPtr<IStream> encodeByImagingComponent(const Encoding& encoding, OutgoingRows& rows) {
    const ComPtr<IWICImagingFactory> factory = imagingFactory();
    ComPtr<IStream> file;
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    ComPtr<IPropertyBag2> options;
    const bool isEncoded =
        factory && SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, file.out())) &&
        SUCCEEDED(factory->CreateEncoder(containerOf(encoding.type), nullptr, encoder.out())) &&
        SUCCEEDED(encoder->Initialize(file.get(), WICBitmapEncoderNoCache)) &&
        SUCCEEDED(encoder->CreateNewFrame(frame.out(), options.out())) &&
        setOptions(*options.get(), encoding) && SUCCEEDED(frame->Initialize(options.get())) &&
        writePixels(*frame.get(), encoding, rows) && SUCCEEDED(frame->Commit()) &&
        SUCCEEDED(encoder->Commit());
    return isEncoded ? std::move(file) : ComPtr<IStream>();
}

}  // namespace formats
