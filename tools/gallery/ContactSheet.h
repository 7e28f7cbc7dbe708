// Many small pictures with their names on one.
#ifndef TOOLS_GALLERY_CONTACT_SHEET_H
#define TOOLS_GALLERY_CONTACT_SHEET_H

#include <DibHandle.h>

#include <string_view>

namespace tool {

class ContactSheet {
public:
    // Throws std::bad_alloc, as does add().
    explicit ContactSheet(int pictureCount);

    // Puts a picture of 24 bits at the next place, left to right and top to bottom, scaled down to fit.
    // `name` has letters, digits and hyphens; it is shown in capitals.
    void add(DibStream& picture, std::string_view name);

    DibStream& image() { return *sheet_; }

private:
    DibHandle sheet_ = DibHandle::make();
    int count_ = 0;
};

}  // namespace tool

#endif
