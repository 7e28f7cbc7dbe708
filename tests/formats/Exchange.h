// Command lines of other programs that files are exchanged with.
#ifndef TESTS_FORMATS_EXCHANGE_H
#define TESTS_FORMATS_EXCHANGE_H

#include <cstdlib>
#include <map>
#include <string>

#include "tests/formats/CodecTest.h"

namespace codec_test {

inline bool run(const std::string& command) {
    return std::system(("(" + command + ") >/dev/null 2>&1").c_str()) == 0;
}
inline bool installed(const std::string& program) {
    static std::map<std::string, bool> known;
    const auto [entry, isNew] = known.try_emplace(program, false);
    if (isNew) entry->second = run("command -v " + program);
    return entry->second;
}

inline std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
    return text;
}

// A command line, in which IN and OUT stand for files. Its first word is the program.
inline std::string program(const std::string& command) { return command.substr(0, command.find(' ')); }
inline bool convert(const std::string& command, const TemporaryFile& in, const TemporaryFile& out) {
    return run(replaced(replaced(command, "IN", in.path()), "OUT", out.path()));
}

}  // namespace codec_test

#endif
