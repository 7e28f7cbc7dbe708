// The manual page: what the program is, its commands, and the library's tables.
#include <algorithm>
#include <string_view>

#include "texts/Commands.h"
#include "texts/Tables.h"

namespace texts {

namespace {

// When the wording last changed. The date of the build would make builds differ.
constexpr const char* kDate = "2026-11-22";

// Text that roff prints unchanged: escapes, requests and hyphens are masked.
std::string escaped(std::string_view text) {
    std::string roff;
    for (const char c : text) {
        if ((c == '.' || c == '\'') && (roff.empty() || roff.back() == '\n')) roff += "\\&";
        if (c == '\\') {
            roff += "\\e";
        } else if (c == '-') {
            roff += "\\-";
        } else {
            roff += c;
        }
    }
    return roff;
}

// Text in short lines, with each sentence on a new one, as is usual in roff.
std::string paragraph(std::string_view text) {
    constexpr std::size_t kLineLength = 60;
    std::string lines;
    std::size_t lineStart = 0;
    for (const char c : text) {
        const bool breaks = c == ' ' && (lines.ends_with('.') || lines.size() - lineStart >= kLineLength);
        lines += breaks ? '\n' : c;
        if (breaks) lineStart = lines.size();
    }
    return escaped(lines);
}

std::string bold(std::string_view text) { return "\\fB" + escaped(text) + "\\fR"; }

// A paragraph with a hanging tag.
std::string item(const std::string& tag, const std::string& body) {
    return ".TP\n" + tag + "\n" + body + "\n";
}

// The text below the help of a command: paragraphs with an empty line between them.
std::string remarks(const std::string& text) {
    std::string roff;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find("\n\n", start), text.size());
        std::string lines = text.substr(start, end - start);
        std::ranges::replace(lines, '\n', ' ');
        roff += ".sp\n" + paragraph(lines) + "\n";
        start = end + 2;
    }
    return roff;
}

std::string commandSection(const std::vector<Command>& commands) {
    std::string roff = ".SH COMMANDS\n";
    for (const Command& command : commands) {
        std::string tag = bold(command.name);
        if (!command.operands.empty()) tag += " " + escaped(command.operands);
        roff += item(tag, paragraph(command.help + ".")) + remarks(command.remarks);
        for (const Option& option : command.options) {
            if (option.name == "--help") continue;
            roff += ".RS\n" +
                    item(bold(option.name) + (option.values.empty() ? "" : "=" + escaped(option.values)),
                         paragraph(option.help + ".")) +
                    ".RE\n";
        }
    }
    return roff;
}

std::string choices(const DibParameter& parameter) {
    std::string roff;
    for (const DibChoice* choice : DibList(parameter.choices)) {
        roff += item(bold(choice->name), paragraph(std::string(choice->help) + "."));
    }
    return roff.empty() ? roff : ".RS\n" + roff + ".RE\n";
}

// May be broken after each choice and before each parameter: a line that cannot be is longer than the page.
std::string synopsis(const DibOperation& operation) {
    std::string roff;
    for (const char c : escaped(description(operation, DIB_DESCRIBE_SYNOPSIS))) {
        if (c == '[') roff += "\\:";
        roff += c;
        if (c == '|') roff += "\\:";
    }
    return roff;
}

std::string operationTable() {
    std::string roff = ".SH OPERATIONS\n";
    for (const DibOperation* operation : operations()) {
        roff += ".SS " + synopsis(*operation) + "\n" + paragraph(operation->help) + "\n";
        for (const DibParameter* parameter : DibList(operation->parameters)) {
            const std::string limits = constraints(*parameter);
            roff += item(bold(parameter->name), paragraph(std::string(parameter->help) +
                                                          (limits.empty() ? "" : " (" + limits + ")") + "."));
            roff += choices(*parameter);
        }
        roff += ".PP\nExample: " + bold(operation->example) + "\n";
    }
    return roff;
}

std::string formatTable() {
    std::string roff = ".SH FORMATS\n";
    for (const DibFormat* format : formats()) {
        roff += item(bold(format->name), paragraph(format->title) +
                                             ".\nReads: " + escaped(depthsText(format->readDepths)) +
                                             ".\nWrites: " + escaped(depthsText(format->writeDepths)) + ".");
    }
    return roff;
}

std::string exitStatus(const std::vector<ExitCode>& codes) {
    std::string roff = ".SH EXIT STATUS\n";
    for (const auto& [code, meaning] : codes) roff += item(bold(std::to_string(code)), paragraph(meaning));
    return roff;
}

}  // namespace

std::string manualPage(const std::string& version, const std::vector<Command>& commands,
                       const std::vector<ExitCode>& exitCodes) {
    return std::string(".TH DIB 1 ") + kDate + " \"DibStream " + version + "\"\n" +
           // Lines of a synopsis cannot be adjusted on both sides.
           ".ad l\n.SH NAME\ndib \\- read, change and write pictures\n"
           ".SH SYNOPSIS\n.B dib run\n.I INPUT\n.RI [ OPERATION ]...\n.I OUTPUT\n.br\n"
           ".B dib each\n.IR INPUT ...\n.RI [ OPERATION ]...\n.I OUTPUT\n.br\n"
           ".B dib info\n.IR FILE ...\n.RB [ \\-\\-json ]\n.br\n"
           ".B dib\n.I COMMAND\n.RI [ ARGUMENT ]...\n"
           ".SH DESCRIPTION\n"
           "An operation is written as its name, a colon and its parameters,\nseparated by commas.\n"
           "A parameter is given by its place or as\n.IR name = value .\n"
           "A comma or a backslash inside a value is written with a backslash before it.\n.PP\n"
           "A file\n.B \\-\nis standard input or standard output.\n"
           "An output appears under its name only when it is complete.\nA file that it replaces stays until "
           "then.\n" +
           commandSection(commands) + operationTable() + formatTable() + ".SH ENVIRONMENT\n" +
           item(bold("TMPDIR"), "Folder for temporary files; /tmp when unset.") +
           item(bold("DIB_KERNELS"),
                "Limits the instructions in use, to measure them: baseline, avx2 or avx512.\n"
                "The pictures are the same.") +
           exitStatus(exitCodes) +
           ".SH EXAMPLES\n.nf\n"
           "dib run in.bmp bpp:8,method=median out.bmp\n"
           "dib run \\- bpp:1 \\- < in.bmp > out.bmp\n"
           "dib each 'in/**/*.png' resize:200x 'out/{folder}/{name}.jpg'\n"
           "dib info *.bmp \\-\\-json\n.fi\n";
}

}  // namespace texts
