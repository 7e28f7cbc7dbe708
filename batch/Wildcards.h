// Names with wildcards.
#ifndef BATCH_WILDCARDS_H
#define BATCH_WILDCARDS_H

#include <string>

namespace batch {

// Whether any character of a name is special to matchesName().
bool isWild(const std::string& name);

// Whether a name matches a pattern: `*` is any characters, `?` is one, `[a-z]` is one of a set and `[!a-z]`
// one that is not in it. A backslash takes the character after it as it is, where it does not separate the
// parts of a path. A dot at the start must be asked for by a dot. Both texts are UTF-8; a byte that is not
// counts as a character. Where file systems ignore case, A to Z and a to z match each other.
bool matchesName(const std::string& pattern, const std::string& name);

}  // namespace batch

#endif
