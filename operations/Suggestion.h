// "Did you mean": the known name nearest to an unknown one.
#ifndef OPERATIONS_SUGGESTION_H
#define OPERATIONS_SUGGESTION_H

#include <DibOperation.h>

#include <string_view>

namespace operations {

// Names at this distance or more are not suggested.
std::size_t farDistance(std::string_view typed);
// Whether `name` is nearer to what was typed than `least`, which is then its distance.
bool isNearer(std::string_view typed, std::string_view name, std::size_t& least);

// The name of the record that is nearest to what was typed, or null.
template <class Record>
const char* nearestName(std::string_view typed, const DibList<Record>& records) {
    std::size_t least = farDistance(typed);
    const char* nearest = nullptr;
    for (const Record* record : records) {
        if (isNearer(typed, record->name, least)) nearest = record->name;
    }
    return nearest;
}

}  // namespace operations

#endif
