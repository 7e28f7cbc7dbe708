#include "texts/Tables.h"

#include <new>

namespace texts {

namespace {

std::string textOf(bool isMade, const DibBytes& bytes) {
    if (!isMade) throw std::bad_alloc();
    return {reinterpret_cast<const char*>(bytes.data), bytes.size};
}

}  // namespace

std::string description(const DibOperation& operation, DibDescription form) {
    DibBytes bytes;
    return textOf(DibDescribeOperation(&operation, form, &bytes), bytes);
}

std::string descriptions(DibDescription form) {
    DibBytes bytes;
    return textOf(DibDescribeOperations(form, &bytes), bytes);
}

std::string constraints(const DibParameter& parameter) {
    DibBytes bytes;
    return textOf(DibDescribeParameter(&parameter, &bytes), bytes);
}

std::string callText(const DibStep& step, const DibStream& image) {
    DibBytes bytes;
    return textOf(DibDescribeCall(&step, &image, &bytes), bytes);
}

std::string depthsText(unsigned int depths) {
    std::string text;
    for (const char* bits : {"1", "4", "8", "16", "24", "32"}) {
        if ((depths & 1) != 0) text += (text.empty() ? "" : ", ") + std::string(bits);
        depths >>= 1;
    }
    return text.empty() ? "no" : text + " bits";
}

std::string countText(int count, const std::string& thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

}  // namespace texts
