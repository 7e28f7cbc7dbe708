// A shared object that is no plug-in: its export has another name.
#include <DibExport.h>

extern "C" DIB_EXPORT bool LoadOther() { return true; }
