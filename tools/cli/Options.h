// Operands and options that several commands have.
#ifndef TOOLS_CLI_OPTIONS_H
#define TOOLS_CLI_OPTIONS_H

#include <string>

#include "tools/commands/Pictures.h"

namespace CLI {
class App;
class Option;
class Validator;
}  // namespace CLI

namespace tool {

// A check that a value is one of "a|b|c".
CLI::Validator oneOf(const std::string& choices);
// A check that it is a whole number in a range.
CLI::Validator between(int least, int most);
// An operand that must be given.
CLI::Option* addOperand(CLI::App& command, const std::string& name, std::string& value,
                        const std::string& help);
// "--from" or "--to"; `format` keeps its value where the option is not given.
void addFormat(CLI::App& command, const std::string& name, const char*& format, const std::string& help);
// How pictures are opened: "--from", "--keep-damaged", "--limit" and "--plugins".
void addOpening(CLI::App& command, DibLoadOptions& options);
// "--limit".
void addLimit(CLI::App& command, DibLoadOptions& options, const std::string& help);
// Which picture of the input: "--page", "--layer" and "--level".
void addParts(CLI::App& command, DibLoadOptions& options);
// How pictures are saved: "--to", "--quality", "--no-clobber", "--strict" and "--verbose".
void addSaving(CLI::App& command, PictureOptions& options, const std::string& formatHelp);
// "--no-clobber".
void addNoClobber(CLI::App& command, DibSaveOptions& options);
// "--plugins", which takes effect at once.
void addPlugins(CLI::App& command);
// "--progress"; `isShown` is set in any case.
void addProgress(CLI::App& command, bool& isShown);
// "--json".
void addJson(CLI::App& command, bool& asJson);

}  // namespace tool

#endif
