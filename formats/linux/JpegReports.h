// What libjpeg reports, and the markers that reading and writing share.
#ifndef FORMATS_LINUX_JPEG_REPORTS_H
#define FORMATS_LINUX_JPEG_REPORTS_H

#include <cstdio>
// jpeglib.h needs FILE from the header above.
#include <jerror.h>
#include <jpeglib.h>

#include "formats/linux/ErrorJump.h"

namespace formats {

constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr unsigned char kExifStart[] = {'E', 'x', 'i', 'f', 0, 0};

// What the library's callbacks find behind their error manager.
struct JpegReports {
    jpeg_error_mgr manager{};  // first: the library knows this address only
    ErrorJump jump;
    bool fileEnded = false;    // the library went on with an end marker of its own
    bool pixelsEnded = false;  // the end marker came before the last pixel

    static JpegReports& of(j_common_ptr codec) { return *reinterpret_cast<JpegReports*>(codec->err); }

    jpeg_error_mgr* connect() {
        jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr codec) { of(codec).jump.leave(); };
        manager.emit_message = [](j_common_ptr codec, int) { of(codec).note(codec); };
        manager.output_message = [](j_common_ptr) {};
        return &manager;
    }

    void note(j_common_ptr codec) {
        if (manager.msg_code == JWRN_JPEG_EOF) fileEnded = true;
        if (manager.msg_code == JWRN_HIT_MARKER && codec->is_decompressor != 0 &&
            reinterpret_cast<j_decompress_ptr>(codec)->unread_marker == JPEG_EOI) {
            pixelsEnded = true;
        }
    }
};

}  // namespace formats

#endif
