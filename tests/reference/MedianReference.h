// The median cut in its plainest form: every pixel kept, every box searched anew, every index found by the
// tree.
#ifndef TESTS_REFERENCE_MEDIAN_REFERENCE_H
#define TESTS_REFERENCE_MEDIAN_REFERENCE_H

#include <DibStream.h>

#include <memory>
#include <vector>

namespace reference {

class MedianCut {
public:
    struct Box {
        int redLow, greenLow, blueLow;
        int redExtent, greenExtent, blueExtent;
        int count;
    };

    MedianCut(const std::vector<DibBGR>& pixels, int maxColours);

    const std::vector<Box>& boxes() const { return boxes_; }
    // The number of the box that a colour falls into.
    int indexOf(DibBGR color) const;
    // The palette entry of a box.
    DibBGRA centre(int box) const;

private:
    struct Node {
        int axis = -1;
        int cut = 0;
        Node* left = nullptr;
        Node* right = nullptr;
        int index = 0;
    };

    int choose() const;
    void divide(int chosen);
    void remove(int box);
    int append(const Box& box);
    void shrink(Box& box) const;
    bool inside(const Box& box, DibBGR pixel) const;

    std::vector<DibBGR> pixels_;
    std::vector<Box> boxes_;
    std::vector<Node*> leaves_;
    std::vector<std::unique_ptr<Node>> nodes_;
};

}  // namespace reference

#endif
