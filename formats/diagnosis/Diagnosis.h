// What is wrong with a file that a loader refused, in words: loaders answer with a code, which often says no
// more than that they failed. Each function looks at the file in the order in which the loader of the format
// does, and returns the first thing that the loader does not accept: "run-length grey is not read". It is
// empty when nothing of the kind is found.
#ifndef FORMATS_DIAGNOSIS_DIAGNOSIS_H
#define FORMATS_DIAGNOSIS_DIAGNOSIS_H

#include <string>

#include "formats/diagnosis/RefusedFile.h"

namespace formats {

using Diagnosis = std::string (*)(const RefusedFile& file);

std::string diagnoseBmp(const RefusedFile& file);
std::string diagnoseTga(const RefusedFile& file);
std::string diagnosePpm(const RefusedFile& file);
std::string diagnoseTim(const RefusedFile& file);
std::string diagnoseIff(const RefusedFile& file);
std::string diagnoseHdr(const RefusedFile& file);
std::string diagnosePsd(const RefusedFile& file);
std::string diagnosePng(const RefusedFile& file);
std::string diagnoseJpeg(const RefusedFile& file);
std::string diagnoseTiff(const RefusedFile& file);
std::string diagnoseExr(const RefusedFile& file);
std::string diagnoseDds(const RefusedFile& file);

// Never empty: where the format's own diagnosis finds nothing, what the loader's code and the size of the
// file say.
std::string whyRefused(ByteReader& file, Diagnosis diagnose, int errorCode);
std::string whyRefused(const char* path, Diagnosis diagnose, int errorCode);

}  // namespace formats

#endif
