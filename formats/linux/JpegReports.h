// What libjpeg reports, and the markers that reading and writing share.
#ifndef FORMATS_LINUX_JPEG_REPORTS_H
#define FORMATS_LINUX_JPEG_REPORTS_H

#include <cstdio>
// jpeglib.h needs FILE from the header above, and jerror.h numbers its messages by what jpeglib.h defines.
#include <jpeglib.h>

#include <jerror.h>

#include "formats/linux/ErrorJump.h"

namespace formats {

constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr unsigned char kExifStart[] = {'E', 'x', 'i', 'f', 0, 0};
constexpr char kXmpStart[] = "http://ns.adobe.com/xap/1.0/";  // with its NUL

// The error manager of the library and what its callbacks note.
struct JpegReports {
    jpeg_error_mgr manager{};  // first: the library knows this address only
    ErrorJump jump;
    bool fileEnded = false;     // the library went on with an end marker of its own
    bool pixelsEnded = false;   // the end marker came before the last pixel
    bool pixelsBroken = false;  // codes of pixels mean nothing, or a marker is among them
    bool isShortOfMemory = false;
    bool hasBytesAfter = false;  // codes remain after the last pixel of a scan

    static JpegReports& of(j_common_ptr codec) { return *reinterpret_cast<JpegReports*>(codec->err); }

    jpeg_error_mgr* connect() {
        jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr codec) { of(codec).leave(); };
        manager.emit_message = [](j_common_ptr codec, int) { of(codec).note(codec); };
        manager.output_message = [](j_common_ptr) {};
        return &manager;
    }

    [[noreturn]] void leave() {
        isShortOfMemory = manager.msg_code == JERR_OUT_OF_MEMORY || manager.msg_code == JERR_NO_BACKING_STORE;
        jump.leave();
    }
    void note(j_common_ptr codec) {
        if (codec->is_decompressor == 0) return;
        const auto* jpeg = reinterpret_cast<j_decompress_ptr>(codec);
        switch (manager.msg_code) {
            case JWRN_JPEG_EOF: fileEnded = true; break;
            case JWRN_HIT_MARKER:
                (jpeg->unread_marker == JPEG_EOI ? pixelsEnded : pixelsBroken) = true;
                break;
            case JWRN_HUFF_BAD_CODE:
            case JWRN_ARITH_BAD_CODE:
            case JWRN_MUST_RESYNC: pixelsBroken = true; break;
            case JWRN_EXTRANEOUS_DATA: hasBytesAfter = hasBytesAfter || jpeg->input_scan_number > 0; break;
            default: break;
        }
    }
};

}  // namespace formats

#endif
