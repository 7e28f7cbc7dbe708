// Calls as rows of the table write them: in C++, with the names of parameters in braces. Most operations get
// their arguments from this text, so that what documents show is what runs.
#ifndef OPERATIONS_CALL_H
#define OPERATIONS_CALL_H

#include <tuple>
#include <utility>

#include "operations/Operations.h"

namespace operations {

// "{angle}", or "{x:height}" for what is measured along a side of the picture.
struct Placeholder {
    std::string_view before;                  // text between the placeholder before and this one
    const DibParameter* parameter = nullptr;  // null at the end of the call
    bool isAlongHeight = false;
};
// Removes the next placeholder from the start of `call`, with the text before it. Throws std::logic_error if
// the operation has no such parameter.
Placeholder takePlaceholder(std::string_view& call, const Operation& operation);

// The arguments of a call, from left to right, for a picture.
class CallArguments {
public:
    CallArguments(const Arguments& arguments, const DibStream& image);

    // `int`, `unsigned int`, `float` or `DibBGRA`, as the function takes it.
    template <class T>
    T next();

private:
    // Throws std::logic_error at the end of the call.
    std::pair<const DibParameter&, bool> take();

    const Arguments& arguments_;
    const DibStream& image_;
    std::string_view rest_;
};

// Operations that are one effect of the library; `T` are the parameters after the image.
template <class... T>
struct Effect {
    template <bool (*effect)(DibProgressCallback, void*, DibStream*, T...)>
    static bool run(const Job& job) {
        [[maybe_unused]] CallArguments next(job.arguments, job.image);
        const std::tuple<T...> all{next.template next<T>()...};
        return std::apply(
            [&](const T&... each) { return effect(job.callback, job.user, &job.image, each...); }, all);
    }
};

// Operations that are one method of images.
template <class... T>
struct Method {
    template <bool (DibStream::*method)(T...)>
    static bool run(const Job& job) {
        [[maybe_unused]] CallArguments next(job.arguments, job.image);
        const std::tuple<T...> all{next.template next<T>()...};
        return std::apply([&](const T&... each) { return (job.image.*method)(each...); }, all);
    }
};

}  // namespace operations

#endif
