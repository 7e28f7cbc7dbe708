#include "operations/Call.h"

#include <stdexcept>

namespace operations {

Placeholder takePlaceholder(std::string_view& call, const Operation& operation) {
    const std::size_t open = call.find('{');
    Placeholder found{call.substr(0, open)};
    if (open == std::string_view::npos) return found;
    const std::size_t close = call.find('}', open);
    const std::string_view text = call.substr(open + 1, close - open - 1);
    const std::string_view name = text.substr(0, text.find(':'));
    for (const DibParameter* parameter : DibList(operation.info.parameters)) {
        if (parameter->name == name) found.parameter = parameter;
    }
    if (found.parameter == nullptr) throw std::logic_error("no parameter '" + std::string(name) + "'");
    found.isAlongHeight = text.ends_with(":height");
    call.remove_prefix(close + 1);
    return found;
}

// Lines before the last one prepare the call.
CallArguments::CallArguments(const Arguments& arguments, const DibStream& image)
    : arguments_(arguments), image_(image), rest_(arguments.operation().call) {
    rest_.remove_prefix(rest_.rfind('\n') + 1);
}

std::pair<const DibParameter&, bool> CallArguments::take() {
    const Placeholder place = takePlaceholder(rest_, arguments_.operation());
    if (place.parameter == nullptr) throw std::logic_error("the call has too few arguments");
    return {*place.parameter, place.isAlongHeight};
}

template <>
int CallArguments::next<int>() {
    const auto& [parameter, isAlongHeight] = take();
    if (parameter.kind != DIB_PARAMETER_SIZE) return arguments_.integer(parameter.name);
    const PixelSize size = arguments_.size(parameter.name, image_);
    return isAlongHeight ? size.height : size.width;
}

template <>
unsigned int CallArguments::next<unsigned int>() {
    const DibParameter& parameter = take().first;
    return parameter.kind == DIB_PARAMETER_FILL ? arguments_.fill(parameter.name, image_)
                                                : arguments_.word(parameter.name);
}

template <>
float CallArguments::next<float>() {
    const auto& [parameter, isAlongHeight] = take();
    if (parameter.kind != DIB_PARAMETER_POSITION) return arguments_.number(parameter.name);
    return arguments_.position(parameter.name, isAlongHeight ? height(image_) : width(image_));
}

template <>
DibBGRA CallArguments::next<DibBGRA>() {
    return arguments_.color(take().first.name);
}

}  // namespace operations
