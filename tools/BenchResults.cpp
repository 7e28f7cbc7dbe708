#include "tools/BenchResults.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "tools/Failure.h"
#include "tools/Files.h"

namespace tool {

namespace {

using Json = nlohmann::json;

// The values of one case and peer before they become medians.
struct Samples {
    std::vector<double> nanoseconds;
    double peakBytes = -1;
};
using AllSamples = std::map<BenchCase, std::map<std::string, Samples>>;

bool isName(std::string_view text) {
    constexpr std::string_view kLetters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.+-";
    return !text.empty() && text.size() <= 64 && text.find_first_not_of(kLetters) == std::string_view::npos;
}

// The whole of a text as a number from 1 to a million, or 0.
int wholeNumber(std::string_view text) {
    constexpr int kLargest = 1000000;
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && number >= 1 && number <= kLargest ? number : 0;
}

struct ParsedName {
    BenchCase benchCase;
    std::string peer;
};

// "operation/WIDTHxHEIGHT/depth/peer"; what the benchmark library adds to it stands after another slash.
std::optional<ParsedName> parseName(std::string_view name) {
    std::vector<std::string_view> parts;
    for (std::size_t start = 0; start <= name.size();) {
        const std::size_t end = std::min(name.find('/', start), name.size());
        parts.push_back(name.substr(start, end - start));
        start = end + 1;
    }
    if (parts.size() < 4 || !isName(parts[0]) || !isName(parts[3])) return std::nullopt;
    const std::size_t cross = parts[1].find('x');
    if (cross == std::string_view::npos) return std::nullopt;
    const int width = wholeNumber(parts[1].substr(0, cross));
    const int height = wholeNumber(parts[1].substr(cross + 1));
    const int depth = wholeNumber(parts[2]);
    if (width == 0 || height == 0 || depth == 0) return std::nullopt;
    return ParsedName{{std::string(parts[0]), width, height, depth}, std::string(parts[3])};
}

// Reads one file; knows whom to name when it is wrong.
class Reader {
public:
    Reader(const std::string& name, BenchResults& results, AllSamples& samples)
        : title_(name), results_(results), samples_(samples) {
        const InputFile file(name);
        title_ = file.title();
        std::ifstream stream(file.path(), std::ios::binary);
        try {
            const Json json = Json::parse(stream);
            if (!json.is_object() || !json.contains("benchmarks") || !json["benchmarks"].is_array()) {
                fail("has no list of benchmarks");
            }
            if (results_.machine.empty() && json.contains("context")) {
                results_.machine = machineOf(json["context"]);
            }
            for (const Json& entry : json["benchmarks"]) take(entry);
        } catch (const Json::exception& error) {
            fail(std::string("is not the JSON of benchmarks: ") + error.what());
        }
    }

private:
    [[noreturn]] void fail(const std::string& why) const {
        throw Failure(kExitBadInput, title_ + ": " + why);
    }

    static std::string machineOf(const Json& context) {
        if (!context.is_object()) return {};
        std::string text;
        if (const auto processors = context.find("num_cpus");
            processors != context.end() && processors->is_number_unsigned()) {
            text += processors->dump() + (*processors == 1 ? " processor" : " processors");
            if (const auto clock = context.find("mhz_per_cpu");
                clock != context.end() && clock->is_number_unsigned()) {
                text += " at " + clock->dump() + " MHz";
            }
        }
        if (const auto date = context.find("date"); date != context.end() && date->is_string()) {
            const std::string day = date->get<std::string>().substr(0, 10);
            if (isName(day)) text += (text.empty() ? "" : ", ") + day;
        }
        return text;
    }

    double number(const Json& entry, const char* key, const std::string& name) const {
        const Json& value = entry.at(key);
        if (!value.is_number()) fail(name + ": " + key + " is not a number");
        const auto number = value.get<double>();
        if (!(number >= 0) || number > 1e18) fail(name + ": " + key + " is " + value.dump());
        return number;
    }

    double nanosecondsOfUnit(const Json& entry, const std::string& name) const {
        const std::string unit = entry.value("time_unit", "ns");
        if (unit == "ns") return 1;
        if (unit == "us") return 1e3;
        if (unit == "ms") return 1e6;
        if (unit == "s") return 1e9;
        fail(name + ": no time unit '" + unit.substr(0, 20) + "'");
    }

    void take(const Json& entry) {
        if (!entry.is_object()) fail("a benchmark is no object");
        // Means and medians of the repetitions, which are entries as well.
        if (entry.value("run_type", "iteration") != "iteration") return;
        const auto name = entry.at("name").get<std::string>();
        const std::optional<ParsedName> parsed = parseName(name);
        if (!parsed) {
            ++results_.unknown;
            return;
        }
        if (entry.value("error_occurred", false)) {
            ++results_.failures;
            return;
        }
        const double time = number(entry, "cpu_time", name) * nanosecondsOfUnit(entry, name);
        // Too short for the clock: nothing was learnt.
        if (time == 0) return;
        Samples& samples = samples_[parsed->benchCase][parsed->peer];
        samples.nanoseconds.push_back(time);
        if (entry.contains("max_bytes_used")) {
            samples.peakBytes = std::max(samples.peakBytes, number(entry, "max_bytes_used", name));
        }
    }

    std::string title_;
    BenchResults& results_;
    AllSamples& samples_;
};

double median(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

BenchResults readBenchResults(const std::vector<std::string>& files) {
    BenchResults results;
    AllSamples all;
    for (const std::string& file : files) Reader(file, results, all);
    for (auto& [benchCase, peers] : all) {
        for (auto& [peer, samples] : peers) {
            results.cases[benchCase][peer] = {median(std::move(samples.nanoseconds)), samples.peakBytes};
        }
    }
    return results;
}

}  // namespace tool
