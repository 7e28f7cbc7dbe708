// BMP files of every version. `DibStream` has a reader and a writer of its own, which are older and narrower.
#ifndef FORMATS_BMP_H
#define FORMATS_BMP_H

#include "formats/door/Request.h"

namespace formats {

bool probeBmp(ProbeRequest& request);
bool readBmp(ReadRequest& request);
bool findBmpLosses(LossRequest& request);
bool writeBmp(WriteRequest& request);

}  // namespace formats

#endif
