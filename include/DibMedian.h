/// @file
/// The median-cut quantizer: divides the colours of a picture into boxes, each to become a palette entry.
///
/// The colour cube starts as one box around all pixels. The box with the greatest score (significant bits of
/// its pixel count times its longest side) is cut across its longest side at the median of its pixels, and
/// both halves shrink to their pixels, until there are as many boxes as wanted or the box with the greatest
/// score is a single colour; boxes with lower scores may then still hold several. A binary tree records the
/// cuts.
///
/// How a caller uses the result: palette entry i is the centre of box i, per channel low + extent / 2. The
/// index of a pixel is found from the root: at an inner node left when the pixel's component on the node's
/// axis is below the cut, else right; the leaf holds the index.
///
/// Axes are numbered by the byte of the channel in `DibBGR`: 0 blue, 1 green, 2 red. Only
/// `mediancut::execute` is exported by the library; the other members serve it.
#ifndef DIBSTREAM_DIBMEDIAN_H
#define DIBSTREAM_DIBMEDIAN_H

#include <DibStream.h>

#include <cstdint>

namespace dibmedian {

/// A box of the colour cube. Along each channel it spans low to low + extent - 1.
struct colinfo {
    std::int32_t redLow;       ///< Smallest red.
    std::int32_t greenLow;     ///< Smallest green.
    std::int32_t blueLow;      ///< Smallest blue.
    std::int32_t redExtent;    ///< Red values spanned.
    std::int32_t greenExtent;  ///< Green values spanned.
    std::int32_t blueExtent;   ///< Blue values spanned.
    std::int32_t count;        ///< Pixels inside the box.
};

/// A node of the decision tree; owns its children.
class coltree {
public:
    std::int32_t axis = -1;    ///< The axis that the node divides; -1 in a leaf.
    std::int32_t cut = 0;      ///< Components below it go left.
    coltree* left = nullptr;   ///< Null in a leaf.
    coltree* right = nullptr;  ///< Null in a leaf.
    std::int32_t index = 0;    ///< Palette index of a leaf.

    coltree() = default;
    coltree(const coltree&) = delete;
    coltree& operator=(const coltree&) = delete;
    ~coltree() {
        delete left;
        delete right;
    }
};

/// One cell of a histogram: the pixels themselves, duplicates included.
class medianhistdata {
public:
    std::int32_t capacity;  ///< Entries that `entries` has room for.
    DibBGR* entries;        ///< Grown with `realloc`; freed by the histogram's owner with `free`.
    std::int32_t count;     ///< Entries in use.

    /// Appends a pixel; a full array first grows to 2 x capacity + 128 entries.
    /// @return False, with nothing changed, when memory is short.
    DIB_LOCAL bool add(DibBGR pixel);
};

/// All pixels in 16 x 16 x 16 cells by the top four bits of their channels. Must be zeroed before use and
/// cleared after it. `execute` finds the same boxes by counting distinct colours, which is several times
/// faster.
class medianhist {
public:
    medianhistdata cells[16][16][16];  ///< [red >> 4][green >> 4][blue >> 4].

    /// Appends a pixel to its cell. @return False when memory is short.
    DIB_LOCAL bool add(DibBGR pixel);
    /// Frees the entries of every cell.
    DIB_LOCAL void clear();
    /// Adds 1 to `histogram[component on axis]` for every pixel within the inclusive bounds.
    /// @return The number of such pixels.
    DIB_LOCAL int search(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, int* histogram,
                         int axis) const;
    /// Lowers the minima and raises the maxima to the components of every pixel within the inclusive bounds.
    DIB_LOCAL void rect(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, int& rMin, int& rMax, int& gMin,
                        int& gMax, int& bMin, int& bMax) const;

private:
    template <class Visit>
    void visit(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, Visit visitor) const;
};

/// The state and the result of a quantization, normally on the caller's stack. An object is used for one
/// `execute`.
class mediancut {
public:
    /// The rows of the table of boxes, and so the limit of any `maxColours`.
    static constexpr int kMaxBoxes = 260;

    /// A box and its leaf, which the tree owns.
    struct Box {
        colinfo info;   ///< Its bounds and pixels.
        coltree* leaf;  ///< Its leaf.
    };

    coltree* root = nullptr;    ///< The tree; null before `execute`.
    Box boxes[kMaxBoxes];       ///< The first `boxCount` are in use.
    std::int32_t boxCount = 0;  ///< Boxes made.

    mediancut() = default;
    mediancut(const mediancut&) = delete;
    mediancut& operator=(const mediancut&) = delete;
    ~mediancut() { delete root; }

    /// Divides the colours of a picture.
    /// @param pixels     width x height pixels, rows packed without fill bytes.
    /// @param width      Pixels per row. A picture without pixels gives one box at black, with count 0.
    /// @param height     Rows, not negative.
    /// @param maxColours Boxes wanted; fewer are made when the box with the greatest score is a single
    ///                   colour, and never more than `kMaxBoxes`.
    /// @return True; false only when memory is short, and the boxes made so far are then of no use.
    DIB_EXPORT bool execute(DibBGR* pixels, int width, int height, int maxColours);

    /// Appends a box with a new leaf; the first leaf ever made becomes the root.
    /// @return Its index; -1 when memory is short.
    DIB_LOCAL int add(const colinfo& info);
    /// The box to cut next: the greatest score above 0, the earlier one among equals; -1 when there is none.
    DIB_LOCAL int get_index() const;
    /// Replaces a box by its halves below and from `cut` on: the last box takes the freed row, and the halves
    /// (with count 0, not yet shrunk) become the last two. @return False when memory is short; the tree stays
    /// whole.
    DIB_LOCAL bool slice(int box, int axis, int cut, int& lowBox, int& highBox);
};

}  // namespace dibmedian

#endif
