// The whole family of PBM, PGM, PPM, PAM and PFM files. Ppm.cpp has the classic reader and writer of two of
// them, whose headers are three lines.
#ifndef FORMATS_PNM_H
#define FORMATS_PNM_H

#include "formats/Formats.h"

namespace formats {

bool recognizesPnm(FirstBytes bytes);
bool probePnm(ProbeRequest& request);
bool readPnm(ReadRequest& request);
bool findPnmLosses(LossRequest& request);
bool writePnm(WriteRequest& request);

}  // namespace formats

#endif
