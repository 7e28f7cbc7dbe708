#include <CLI/CLI.hpp>

#include "tools/CommandLine.h"
#include "tools/Formats.h"
#include "tools/Operations.h"

namespace tool {

namespace {

// The words of "auto|always|never", or the formats where one is wanted; nothing for other placeholders.
std::vector<std::string> valuesOf(const OptionText& option) {
    std::vector<std::string> words;
    if (option.values == kFormatPlaceholder) {
        for (const Format& format : formats()) words.emplace_back(format.name);
    } else if (option.values.find('|') != std::string::npos) {
        words = CLI::detail::split(option.values, '|');
    }
    return words;
}

std::vector<std::string> valuesOf(const Parameter& parameter) {
    std::vector<std::string> words;
    if (parameter.kind == ParameterKind::Flags) words.emplace_back("none");
    for (const Choice& choice : parameter.choices) words.emplace_back(choice.name);
    return words;
}

std::string joined(const std::vector<std::string>& words, const std::string& prefix = {}) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + prefix + word;
    return text;
}

// "bpp:" for an operation that takes parameters, else its bare name.
std::string opening(const Operation& operation) {
    return std::string(operation.name) + (operation.parameters.empty() ? "" : ":");
}

std::vector<std::string> openings() {
    std::vector<std::string> words;
    for (const Operation& operation : operations()) words.push_back(opening(operation));
    return words;
}

std::string shells() { return joined(CLI::detail::split(kShells, '|')); }

std::vector<std::string> namesOf(const std::vector<CommandText>& commands) {
    std::vector<std::string> names;
    for (const CommandText& command : commands) names.push_back(command.name);
    return names;
}

std::vector<std::string> topics(const std::vector<CommandText>& commands) {
    std::vector<std::string> words = namesOf(commands);
    for (const Operation& operation : operations()) words.emplace_back(operation.name);
    return words;
}

std::vector<std::string> parameterNames(const Operation& operation) {
    std::vector<std::string> words;
    for (const Parameter& parameter : operation.parameters) {
        words.push_back(std::string(parameter.name) + "=");
    }
    return words;
}

// What may follow the first colon: the values of the first parameter and every parameter's name.
std::vector<std::string> firstValues(const Operation& operation) {
    std::vector<std::string> words = valuesOf(operation.parameters.front());
    for (std::string& name : parameterNames(operation)) words.push_back(std::move(name));
    return words;
}

// A shell function that prints the words for the value that is being written in "$1": what comes after the
// last colon or comma. The syntax is common to bash and zsh.
std::string operationCases() {
    std::string script = "_dib_values() {\n    case \"$1\" in\n";
    for (const Operation& operation : operations()) {
        if (operation.parameters.empty()) continue;
        const std::string pattern = opening(operation);
        for (const Parameter& parameter : operation.parameters) {
            if (parameter.choices.empty()) continue;
            const std::string key = std::string(parameter.name) + "=";
            for (const std::string& before : {pattern, pattern + "*,"}) {
                script +=
                    "        " + before + key + "*) echo '" + joined(valuesOf(parameter), key) + "' ;;\n";
            }
        }
        script += "        " + pattern + "*,*) echo '" + joined(parameterNames(operation)) + "' ;;\n";
        script += "        " + pattern + "*) echo '" + joined(firstValues(operation)) + "' ;;\n";
    }
    return script + "    esac\n}\n\n";
}

// The same for the options of a command, by "command --option=".
std::string optionCases(const std::vector<CommandText>& commands) {
    std::string script = "_dib_options() {\n    case \"$1 $2\" in\n";
    for (const CommandText& command : commands) {
        std::string names;
        for (const OptionText& option : command.options) {
            const std::string key = option.name + (option.values.empty() ? "" : "=");
            names += (names.empty() ? "" : " ") + key;
            if (option.values.empty()) continue;
            script += "        '" + command.name + " " + key + "'*) echo '" + joined(valuesOf(option), key) +
                      "' ;;\n";
        }
        script += "        '" + command.name + " '*) echo '" + names + "' ;;\n";
    }
    return script + "    esac\n}\n\n";
}

std::string bashScript(const std::vector<CommandText>& commands) {
    return "# bash completion for dib\n\n" + operationCases() + optionCases(commands) +
           "_dib() {\n"
           "    local line=${COMP_LINE:0:COMP_POINT} current head='' words='' word\n"
           "    local -a typed\n"
           "    read -ra typed <<<\"$line\"\n"
           "    current=${line##*[[:blank:]]}\n"
           "    COMPREPLY=()\n"
           "    if [[ $line =~ ^[[:blank:]]*[^[:blank:]]+[[:blank:]]+[^[:blank:]]*$ ]]; then\n"
           "        words='" +
           joined(namesOf(commands)) +
           " --help --version'\n"
           "    elif [[ $current == -* ]]; then\n"
           "        words=$(_dib_options \"${typed[1]}\" \"$current\")\n"
           "    else\n"
           "        case ${typed[1]} in\n"
           "            run)\n"
           "                words=$(_dib_values \"$current\")\n"
           "                if [[ -n $words ]]; then\n"
           "                    head=${current%\"${current##*[:,]}\"}\n"
           "                else\n"
           "                    words='" +
           joined(openings()) +
           "'\n"
           "                    mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
           "                fi ;;\n"
           "            help) words='" +
           joined(topics(commands)) +
           "' ;;\n"
           "            completion) words='" +
           shells() +
           "' ;;\n"
           "        esac\n"
           "    fi\n"
           "    # The line editor keeps what stands before its own last word break.\n"
           "    local kept=''\n"
           "    [[ $current == *[:=]* ]] && kept=${current%\"${current##*[:=]}\"}\n"
           "    for word in $words; do\n"
           "        [[ $head$word == \"$current\"* ]] || continue\n"
           "        word=$head$word\n"
           "        COMPREPLY+=(\"${word#\"$kept\"}\")\n"
           "        [[ $word == *[:=] ]] && compopt -o nospace 2>/dev/null\n"
           "    done\n"
           "}\n\n"
           "complete -o default -F _dib dib\n";
}

std::string shellQuoted(std::string_view text) {
    std::string result = "'";
    for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

// _describe splits "word:explanation" at the first bare colon.
std::string described(const std::string& word, std::string_view help) {
    std::string escaped;
    for (const char c : word) escaped += c == ':' ? std::string("\\:") : std::string(1, c);
    return "        " + shellQuoted(escaped + ":" + std::string(help)) + "\n";
}

std::string zshScript(const std::vector<CommandText>& commands) {
    std::string script = "#compdef dib\n\n" + operationCases() + optionCases(commands) +
                         "_dib() {\n    local -a commands operations words_found\n    commands=(\n";
    for (const CommandText& command : commands) script += described(command.name, command.help);
    script += "    )\n    operations=(\n";
    for (const Operation& operation : operations()) script += described(opening(operation), operation.help);
    return script +
           "    )\n"
           "    if (( CURRENT == 2 )); then\n"
           "        _describe command commands\n"
           "        return\n"
           "    fi\n"
           "    if [[ $PREFIX == -* ]]; then\n"
           "        words_found=(${=\"$(_dib_options $words[2] $PREFIX)\"})\n"
           "        compadd -S '' -- $words_found\n"
           "        return\n"
           "    fi\n"
           "    case $words[2] in\n"
           "        run)\n"
           "            words_found=(${=\"$(_dib_values $PREFIX)\"})\n"
           "            if (( $#words_found )); then\n"
           "                compset -P '*[:,]'\n"
           "                compadd -S '' -- $words_found\n"
           "            else\n"
           "                _describe -t operations operation operations -S ''\n"
           "                _files\n"
           "            fi ;;\n"
           "        info|layers|gallery|bench-report) _files ;;\n"
           "        help) compadd -- " +
           joined(topics(commands)) +
           " ;;\n"
           "        completion) compadd -- " +
           shells() +
           " ;;\n"
           "    esac\n"
           "}\n\n"
           "if [[ $funcstack[1] == _dib ]]; then\n"
           "    _dib \"$@\"\n"
           "else\n"
           "    compdef _dib dib\n"
           "fi\n";
}

std::string fishOperationCases() {
    std::string script =
        "function __dib_values\n    set -l word (commandline -ct)\n    set -l words\n"
        "    switch $word\n";
    for (const Operation& operation : operations()) {
        if (operation.parameters.empty()) continue;
        const std::string pattern = opening(operation);
        for (const Parameter& parameter : operation.parameters) {
            if (parameter.choices.empty()) continue;
            const std::string key = std::string(parameter.name) + "=";
            script += "        case '" + pattern + key + "*' '" + pattern + "*," + key +
                      "*'\n            set words " + joined(valuesOf(parameter), key) + "\n";
        }
        script += "        case '" + pattern + "*,*'\n            set words " +
                  joined(parameterNames(operation)) + "\n";
        script +=
            "        case '" + pattern + "*'\n            set words " + joined(firstValues(operation)) + "\n";
    }
    return script +
           "    end\n"
           "    set -l head (string replace -r '[^:,]*$' '' -- $word)\n"
           "    for candidate in $words\n"
           "        echo $head$candidate\n"
           "    end\n"
           "end\n\n";
}

std::string fishScript(const std::vector<CommandText>& commands) {
    std::string script = "# fish completion for dib\n\n" + fishOperationCases();
    for (const CommandText& command : commands) {
        script += "complete -c dib -n __fish_use_subcommand -f -a " + command.name + " -d " +
                  shellQuoted(command.help) + "\n";
        for (const OptionText& option : command.options) {
            script += "complete -c dib -n '__fish_seen_subcommand_from " + command.name + "' -l " +
                      option.name.substr(2) + " -d " + shellQuoted(option.help);
            if (!option.values.empty()) script += " -x -a " + shellQuoted(joined(valuesOf(option)));
            script += "\n";
        }
    }
    for (const Operation& operation : operations()) {
        script += "complete -c dib -n '__fish_seen_subcommand_from run' -a " +
                  shellQuoted(opening(operation)) + " -d " + shellQuoted(operation.help) + "\n";
    }
    return script + "complete -c dib -n '__fish_seen_subcommand_from run' -a '(__dib_values)'\n" +
           "complete -c dib -n '__fish_seen_subcommand_from help' -f -a '" + joined(topics(commands)) +
           "'\n" + "complete -c dib -n '__fish_seen_subcommand_from completion' -f -a '" + shells() + "'\n";
}

}  // namespace

std::string completionScript(const CLI::App& app, const std::string& shell) {
    const std::vector<CommandText> commands = commandTexts(app);
    if (shell == "bash") return bashScript(commands);
    if (shell == "zsh") return zshScript(commands);
    return fishScript(commands);
}

}  // namespace tool
