// The header of a PSD document: 26 bytes.
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/psd/Document.h"

namespace formats::psd {

bool readHeader(Document& document) {
    if (!document.report()) return false;
    Document::Header& header = document.header;
    header = {};
    // Sections lead back and forth, so a pipe is no document.
    if (document.file.size() < 0 || !document.file.read(header.signature, 4) ||
        std::memcmp(header.signature, "8BPS", 4) != 0) {
        document.setError(DIB_ERROR_INVALID);
        return false;
    }
    // Bytes beyond the end of the file count as 0; the checks below refuse the result.
    unsigned char fields[22] = {};
    document.file.copy(fields, sizeof fields);
    header.version = dib::readBe16(fields);
    std::memcpy(header.reserved, fields + 2, 6);
    header.channels = dib::readBe16(fields + 8);
    header.rows = dib::readBe32(fields + 10);
    header.columns = dib::readBe32(fields + 14);
    header.depth = dib::readBe16(fields + 18);
    header.mode = dib::readBe16(fields + 20);

    document.log("Channels: %d\n", header.channels);
    document.log("Rows: %d\n", dib::asInt(header.rows));
    document.log("Columns: %d\n", dib::asInt(header.columns));
    document.log("Depth: %d\n", header.depth);
    document.log("Mode: %d\n", header.mode);

    if (header.version == 1 && isVariant(header.mode, header.depth)) return true;
    document.setError(DIB_ERROR_UNSUPPORTED);
    return false;
}

}  // namespace formats::psd
