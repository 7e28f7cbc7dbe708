// The options of a call, checked.
#ifndef FORMATS_DOOR_OPTIONS_H
#define FORMATS_DOOR_OPTIONS_H

#include <DibFile.h>

namespace formats {

// The caller's options, with the defaults of the fields that the caller's version of the record does not
// have. Null options are the defaults. False with code 8 and a reason when a field is out of its range.
bool completeOptions(const DibLoadOptions* options, DibLoadOptions& complete, DibFileResult& result);
bool completeOptions(const DibSaveOptions* options, DibSaveOptions& complete, DibFileResult& result);
// The same for the metadata that a file is to hold.
bool isPossible(const DibMetadata& metadata, DibFileResult& result);

}  // namespace formats

#endif
