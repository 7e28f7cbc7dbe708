// Handing the blocks of an image on.
#ifndef DIB_MOVE_BLOCKS_H
#define DIB_MOVE_BLOCKS_H

#include <DibStream.h>

namespace dib {

// Gives the blocks of an image to another one, which releases its own.
inline void moveBlocks(DibStream& from, DibStream& to) {
    to.SetDib(from.Header, from.HeaderOwner, from.Buffer, from.BufferOwner);
    from.HeaderOwner = from.BufferOwner = 0;
    from.Clear();
}

}  // namespace dib

#endif
