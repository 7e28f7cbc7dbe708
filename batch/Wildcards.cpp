#include "batch/Wildcards.h"

#include <string_view>

#include "vexlibs/Utf8.h"

namespace batch {

namespace {

using Characters = std::u32string;
using View = std::u32string_view;

#if defined(_WIN32)
constexpr bool kIgnoresCase = true;
constexpr std::string_view kWild = "*?[";
#else
constexpr bool kIgnoresCase = false;
constexpr std::string_view kWild = "*?[\\";
#endif

char32_t folded(char32_t character) {
    return kIgnoresCase && character >= 'A' && character <= 'Z' ? character - 'A' + 'a' : character;
}

Characters charactersOf(std::string_view text) {
    Characters characters;
    while (!text.empty()) {
        const vexlibs::Decoded next = vexlibs::numberAt(text);
        characters.push_back(folded(next.character));
        text.remove_prefix(next.length);
    }
    return characters;
}

// The character at the front of a pattern, after a backslash if there is one; it is removed.
char32_t takeCharacter(View& pattern) {
    if (pattern.front() == '\\' && pattern.size() > 1) pattern.remove_prefix(1);
    const char32_t character = pattern.front();
    pattern.remove_prefix(1);
    return character;
}

// Whether the set at the front of a pattern, behind its bracket, has a character. Removes it with the bracket
// that closes it; without one there is no set, and `isSet` becomes false.
bool takeSet(View& pattern, char32_t character, bool& isSet) {
    View rest = pattern;
    const bool isInverse = rest.starts_with(U'!') || rest.starts_with(U'^');
    if (isInverse) rest.remove_prefix(1);
    bool isFound = false;
    for (bool isFirst = true; !rest.empty() && (isFirst || rest.front() != ']'); isFirst = false) {
        const char32_t low = takeCharacter(rest);
        char32_t high = low;
        if (rest.size() > 1 && rest[0] == '-' && rest[1] != ']') {
            rest.remove_prefix(1);
            high = takeCharacter(rest);
        }
        isFound = isFound || (character >= low && character <= high);
    }
    isSet = !rest.empty();
    if (isSet) pattern = rest.substr(1);
    return isFound != isInverse;
}

// Removes what matches one character from the front of a pattern. False when that does not.
bool takeOne(View& pattern, char32_t character) {
    if (pattern.empty()) return false;
    if (pattern.front() == '?') {
        pattern.remove_prefix(1);
        return true;
    }
    if (pattern.front() == '[') {
        View set = pattern.substr(1);
        bool isSet = false;
        const bool isIn = takeSet(set, character, isSet);
        if (isSet) pattern = set;
        if (isSet) return isIn;
    }
    return takeCharacter(pattern) == character;
}

bool matches(View pattern, View name) {
    // Where to go on when the last star takes one character more.
    View afterStar;
    View atStar;
    bool hasStar = false;
    while (!name.empty() || !pattern.empty()) {
        if (pattern.starts_with(U'*')) {
            pattern.remove_prefix(1);
            afterStar = pattern;
            atStar = name;
            hasStar = true;
        } else if (!name.empty() && takeOne(pattern, name.front())) {
            name.remove_prefix(1);
        } else if (hasStar && !atStar.empty()) {
            atStar.remove_prefix(1);
            name = atStar;
            pattern = afterStar;
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace

bool isWild(const std::string& name) { return name.find_first_of(kWild) != std::string::npos; }

bool matchesName(const std::string& pattern, const std::string& name) {
    const bool asksForDot = pattern.starts_with('.') || pattern.starts_with("\\.");
    if (name.starts_with('.') && !asksForDot) return false;
    return matches(charactersOf(pattern), charactersOf(name));
}

}  // namespace batch
