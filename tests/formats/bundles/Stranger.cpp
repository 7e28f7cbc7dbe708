// A shared object that is not a plug-in: its export has another name.
#include <DibExport.h>

extern "C" DIB_EXPORT bool LoadOther() { return true; }
