using namespace dib;
using dib::allowed;

/* It
 * lets go of the row. */
const char* kText = "errors are "
                    "told by nobody";
const char* kOther = "errors are\ntold by nobody";
