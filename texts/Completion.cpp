// The scripts for the shells, and the program's answers to them.
#include <algorithm>
#include <string_view>

#include "texts/Assets.h"
#include "texts/Commands.h"
#include "texts/Tables.h"

namespace texts {

namespace {

// The words that begin with what was typed.
class Offers {
public:
    explicit Offers(std::string_view typed) : typed_(typed) {}

    void add(const std::string& word, std::string_view help = {}) {
        if (word.starts_with(typed_)) lines_ += word + (help.empty() ? "" : "\t" + std::string(help)) + "\n";
    }
    // The choices have '|' between them.
    void addEach(const std::string& head, std::string_view choices) {
        while (!choices.empty()) {
            const std::size_t end = std::min(choices.find('|'), choices.size());
            add(head + std::string(choices.substr(0, end)));
            choices.remove_prefix(std::min(end + 1, choices.size()));
        }
    }
    void alsoFiles() { kind_ = "files\n"; }
    std::string text() const { return kind_ + lines_; }

private:
    std::string_view typed_;
    std::string kind_ = "words\n";
    std::string lines_;
};

void offerOptions(const Command& command, const std::string& typed, Offers& offers) {
    const std::size_t equals = typed.find('=');
    for (const Option& option : command.options) {
        if (equals == std::string::npos) {
            offers.add(option.name + (option.values.empty() ? "" : "="), option.help);
        } else if (option.name != typed.substr(0, equals)) {
            continue;
        } else if (option.values == kFormatPlaceholder) {
            for (const DibFormat* format : formats()) offers.add(option.name + "=" + format->name);
        } else if (option.values.find('|') != std::string::npos) {
            offers.addEach(option.name + "=", option.values);
        }
    }
}

void offerValues(const DibParameter& parameter, const std::string& head, Offers& offers) {
    if (parameter.kind == DIB_PARAMETER_FLAGS) offers.add(head + "none");
    if (parameter.kind == DIB_PARAMETER_SWITCH) offers.addEach(head, "yes|no");
    for (const DibChoice* choice : DibList(parameter.choices)) offers.add(head + choice->name, choice->help);
}

// What can follow the last colon or comma of "bpp:8,method=".
void offerParameters(const DibOperation& operation, const std::string& typed, Offers& offers) {
    const std::size_t separator = typed.find_last_of(":,");
    const std::string head = typed.substr(0, separator + 1);
    const std::string value = typed.substr(separator + 1);
    const std::size_t equals = value.find('=');
    for (const DibParameter* parameter : DibList(operation.parameters)) {
        const std::string key = std::string(parameter->name) + "=";
        if (equals == std::string::npos) {
            const bool isSwitch = parameter->kind == DIB_PARAMETER_SWITCH;
            offers.add(head + (isSwitch ? parameter->name : key), parameter->help);
        } else if (value.starts_with(key)) {
            offerValues(*parameter, head + key, offers);
        }
    }
    const bool isFirst = typed[separator] == ':' && equals == std::string::npos;
    if (isFirst && *operation.parameters != nullptr) offerValues(**operation.parameters, head, offers);
}

bool takesValues(const DibOperation& operation) {
    const DibParameter* first = *operation.parameters;
    return first != nullptr && first->kind != DIB_PARAMETER_SWITCH;
}

void offerOperations(const std::string& typed, Offers& offers) {
    const std::size_t colon = typed.find(':');
    const DibOperation* begun =
        colon != std::string::npos ? DibFindOperation(typed.substr(0, colon).c_str()) : nullptr;
    if (begun != nullptr) return offerParameters(*begun, typed, offers);
    for (const DibOperation* operation : operations())
        offers.add(std::string(operation->name) + (takesValues(*operation) ? ":" : ""), operation->help);
    offers.alsoFiles();
}

void offerCommands(const std::vector<Command>& commands, Offers& offers) {
    for (const Command& command : commands) offers.add(command.name, command.help);
}

void offerOperands(const std::vector<Command>& commands, std::string_view command, const std::string& typed,
                   Offers& offers) {
    if (command == "run" || command == "each") return offerOperations(typed, offers);
    if (command == "completion") return offers.addEach("", kShells);
    if (command == "formats") {
        for (const DibFormat* format : formats()) offers.add(format->name, format->title);
        return;
    }
    if (command == "help") offerCommands(commands, offers);
    if (command != "help" && command != "ops") return offers.alsoFiles();
    for (const DibOperation* operation : operations()) offers.add(operation->name, operation->help);
}

}  // namespace

std::string completions(const std::vector<Command>& commands, const std::vector<std::string>& words) {
    const std::string typed = words.empty() ? "" : words.back();
    Offers offers(typed);
    if (words.size() < 2) {
        offerCommands(commands, offers);
        offers.addEach("", "--help|--version");
        return offers.text();
    }
    const auto command = std::ranges::find(commands, words.front(), &Command::name);
    if (command == commands.end()) return offers.text();
    if (typed.starts_with('-')) {
        offerOptions(*command, typed, offers);
    } else {
        offerOperands(commands, command->name, typed, offers);
    }
    return offers.text();
}

std::string completionScript(const std::string& shell) {
    return std::string(shell == "bash" ? kBashScript : shell == "zsh" ? kZshScript : kFishScript);
}

}  // namespace texts
