// What is wrong with a file that a decoder refused without saying why: libraries and plug-ins report only
// that they failed. Each function looks at the file in the order in which the decoder of the format
// does, and returns the first thing that the decoder does not accept.
#ifndef FORMATS_DIAGNOSIS_DIAGNOSIS_H
#define FORMATS_DIAGNOSIS_DIAGNOSIS_H

#include <DibFile.h>

#include "formats/diagnosis/RefusedFile.h"

namespace formats {

using Diagnosis = Problem (*)(const RefusedFile& file);

Problem diagnoseTim(const RefusedFile& file);
Problem diagnosePng(const RefusedFile& file);
Problem diagnoseJpeg(const RefusedFile& file);
Problem diagnoseTiff(const RefusedFile& file);
Problem diagnoseExr(const RefusedFile& file);
Problem diagnoseDds(const RefusedFile& file);

// The diagnosis of a file, which may be null; where it finds nothing, what the decoder's code and the size of
// the file say. Always has a text and a code.
Problem whyRefused(ByteReader& file, Diagnosis diagnose, int errorCode);

// Stores a problem as the reason of a call; the first reason stays. Returns false.
bool refuse(DibFileResult& result, const Problem& problem);

}  // namespace formats

#endif
