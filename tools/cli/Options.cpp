#include "tools/cli/Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <climits>
#include <memory>

#include "files/Program.h"
#include "texts/Commands.h"
#include "tools/cli/Suggestion.h"
#include "tools/io/Formats.h"
#include "tools/io/PluginFolder.h"

namespace tool {

namespace {

// "100M" as a number; the letters are powers of 1000.
std::uint64_t amount(const std::string& text, std::uint64_t least) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const std::string unit(stop, end);
    const std::uint64_t factor = unit.empty() ? 1 : unit == "K" ? 1000 : unit == "M" ? 1000000 : 1000000000;
    const bool isUnit = unit.empty() || unit == "K" || unit == "M" || unit == "G";
    if (error != std::errc() || !isUnit || number < least || number > UINT64_MAX / factor) {
        throw usageFailure("--limit: '" + text + "' is not a whole number of " + std::to_string(least) +
                           " or more, optionally with K, M or G");
    }
    return number * factor;
}

// "pixels:100M,layers:50".
void setLimits(DibLoadOptions& options, const std::string& text) {
    for (const std::string& part : CLI::detail::split(text, ',')) {
        const std::size_t colon = std::min(part.find(':'), part.size());
        const std::string name = part.substr(0, colon);
        if (colon == part.size() || (name != "pixels" && name != "bytes" && name != "layers"))
            throw usageFailure("--limit: '" + part + "' is not pixels:N, bytes:N or layers:N" +
                               suggestion(name, {"pixels", "bytes", "layers"}));
        const std::uint64_t most = amount(part.substr(colon + 1), name == "layers" ? 0 : 1);
        if (name == "pixels") options.mostPixels = most;
        if (name == "bytes") options.mostBytes = most;
        if (name == "layers") options.mostLayers = static_cast<int>(std::min<std::uint64_t>(most, INT_MAX));
    }
}

}  // namespace

CLI::Validator oneOf(const std::string& choices) {
    const auto mistakeIn = [choices](const std::string& value) {
        const std::vector<std::string> all = CLI::detail::split(choices, '|');
        if (std::ranges::find(all, value) != all.end()) return std::string();
        return "'" + value + "' is not one of " + CLI::detail::join(all, ", ") + suggestion(value, all);
    };
    return {mistakeIn, ""};
}

CLI::Validator between(int least, int most) {
    const auto mistakeIn = [least, most](const std::string& value) {
        int number = 0;
        const char* end = value.data() + value.size();
        const auto [stop, error] = std::from_chars(value.data(), end, number);
        if (error == std::errc() && stop == end && number >= least && number <= most) return std::string();
        return "'" + value + "' is not a whole number from " + std::to_string(least) + " to " +
               std::to_string(most);
    };
    return {mistakeIn, ""};
}

CLI::Option* addOperand(CLI::App& command, const std::string& name, std::string& value,
                        const std::string& help) {
    return command.add_option(name, value, help)->type_name("")->required();
}

void addFormat(CLI::App& command, const std::string& name, const char*& format, const std::string& help) {
    command
        .add_option_function<std::string>(
            name, [&format](const std::string& chosen) { format = formatNamed(chosen); }, help)
        ->type_name(texts::kFormatPlaceholder);
}

void addOpening(CLI::App& command, DibLoadOptions& options) {
    addFormat(command, "--from", options.format,
              "Format of the input; overrides detection. Also used for second pictures whose format cannot "
              "be detected");
    command.add_flag_callback(
        "--keep-damaged", [&options] { options.damage = DIB_DAMAGE_KEEP; },
        "Keeps the rows that can be read of a damaged file; the others are black");
    addLimit(
        command, options,
        "Refuses larger inputs: pixels:N, bytes:N of memory or layers:N, separated by commas; K, M and G "
        "are powers of 1000");
    addPlugins(command);
}

void addLimit(CLI::App& command, DibLoadOptions& options, const std::string& help) {
    command
        .add_option_function<std::string>(
            "--limit", [&options](const std::string& text) { setLimits(options, text); }, help)
        ->type_name("LIMITS");
}

namespace {

// An option that is a number from 0 or, in other words, a name.
void addNumberOrName(CLI::App& command, const std::string& option, int& number, const char*& name,
                     const std::string& help, const std::string& placeholder) {
    const auto text = std::make_shared<std::string>();
    const auto choose = [text, &number, &name](const std::string& chosen) {
        const char* end = chosen.data() + chosen.size();
        int value = 0;
        const auto [stop, error] = std::from_chars(chosen.data(), end, value);
        if (error == std::errc() && stop == end && value >= 0) {
            number = value;
            return;
        }
        *text = chosen;
        name = text->c_str();
    };
    command.add_option_function<std::string>(option, choose, help)->type_name(placeholder);
}

}  // namespace

void addParts(CLI::App& command, DibLoadOptions& options) {
    addNumberOrName(command, "--page", options.page, options.pageName,
                    "Page of a file with several, from 0; of an EXR file also the name of the part", "PAGE");
    addNumberOrName(command, "--layer", options.layer, options.layerName,
                    "Layer of the input, from 0 or by its name, in place of the merged picture", "LAYER");
    command.add_option("--level", options.level, "Size of a picture with several, from 0, the largest")
        ->check(between(0, INT_MAX))
        ->type_name("LEVEL");
}

void addSaving(CLI::App& command, PictureOptions& options, const std::string& formatHelp) {
    addFormat(command, "--to", options.save.format, formatHelp);
    const auto chooseQuality = [&options](int quality) {
        options.save.quality = quality;
        options.save.isLossy = true;
    };
    command
        .add_option_function<int>("--quality", chooseQuality,
                                  "Quality of JPEG files, 1 to 100; default 90. Also that of WebP files, "
                                  "which keep every pixel without it")
        ->check(between(1, 100))
        ->type_name("QUALITY");
    addNoClobber(command, options.save);
    command.add_flag(
        "--strict", options.isStrict,
        "Fails before a picture is written of which anything is lost, assumed or damaged, and lists it");
    command.add_flag("--verbose", options.isVerbose, "Lists what is lost and assumed, not only damage");
}

void addNoClobber(CLI::App& command, DibSaveOptions& options) {
    command.add_flag("--no-clobber", options.keepsExisting, "Fails where an output exists already");
}

void addPlugins(CLI::App& command) {
    command
        .add_option_function<std::string>("--plugins", usePluginFolder,
                                          "Folder of the plug-ins that read EXR, DDS, WebP and GIF files; "
                                          "overrides the installed one")
        ->type_name("FOLDER");
}

void addProgress(CLI::App& command, bool& isShown) {
    constexpr const char* kChoices = "auto|always|never";
    isShown = files::isTerminal(stderr);
    const auto choose = [&isShown](const std::string& when) {
        if (when != "auto") isShown = when == "always";
    };
    command
        .add_option_function<std::string>("--progress", choose,
                                          "Draws a progress bar; auto: when standard error is a terminal")
        ->check(oneOf(kChoices))
        ->type_name(kChoices);
}

void addJson(CLI::App& command, bool& asJson) { command.add_flag("--json", asJson, "Prints JSON"); }

}  // namespace tool
