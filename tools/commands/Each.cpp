// `dib each`: the same operations for many pictures, each in a process of its own.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <thread>

#include "batch/OutputNames.h"
#include "batch/Workers.h"
#include "tools/cli/Cancel.h"
#include "tools/cli/ExitCode.h"
#include "tools/cli/Options.h"
#include "tools/commands/Run.h"
#include "tools/io/JsonText.h"
#include "vexlibs/NativePath.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

struct EachJob {
    std::vector<std::string> words;    // inputs, operations and the pattern of the outputs
    std::vector<std::string> steps;    // the operations among them
    std::vector<CLI::Option*> shared;  // the options that `run` has, too
    batch::Inputs inputs;
    RunJob run;  // for each picture, with its input and output
    int jobs = std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
    bool isResumed = false;
    bool asJson = false;
};

struct Row {
    std::string input;
    std::string output;
    const char* result = "left out";
    batch::Outcome outcome = {};
};

bool isOperation(const std::string& word) {
    return DibFindOperation(word.substr(0, word.find(':')).c_str()) != nullptr;
}

// Sorts the words out: inputs end at the first operation.
void readWords(EachJob& job) {
    if (job.words.size() < 2) throw usageFailure("each: INPUT and OUTPUT are required");
    const auto last = job.words.end() - 1;
    // An input may have the name of an operation if it comes first.
    const auto steps = std::find_if(job.words.begin() + 1, last, isOperation);
    std::for_each(job.words.begin(), steps,
                  [&](const std::string& word) { addInput(job.inputs, "each", word); });
    job.steps.assign(steps, last);
    for (const std::string& word : job.steps) job.run.chains.push_back(parseStep(word));
}

// The rows of the table, before any work is done.
std::vector<Row> plan(EachJob& job) try {
    const std::vector<std::string> outputs = batch::outputNames(job.inputs, job.words.back());
    std::vector<Row> rows;
    for (const std::string& output : outputs) {
        rows.push_back({vexlibs::textOf(job.inputs.files()[rows.size()]), output});
        job.run.output = output;
        outputFormat(job.run);
    }
    return rows;
} catch (const batch::BadNames& error) {
    throw usageFailure(error.what());
}

// Whether the output was made from the input as it is now.
bool isFinished(const Row& row) {
    std::error_code none;
    std::error_code missing;
    const auto made = fs::last_write_time(vexlibs::pathOf(row.output), missing);
    return !missing && made >= fs::last_write_time(vexlibs::pathOf(row.input), none);
}

void makeFolderOf(const Row& row) {
    const std::string folder = vexlibs::textOf(vexlibs::pathOf(row.output).parent_path());
    if (!folder.empty()) makeFolder(folder);
}

// In a process of its own.
int runRow(EachJob& job, const Row& row) {
    return exitCodeOf([&] {
        job.run.input = row.input;
        job.run.output = row.output;
        makeFolderOf(row);
        runJob(job.run);
    });
}

// The same as a command line.
std::vector<std::string> runWords(const EachJob& job, const Row& row) {
    // Without the folder the process fails by itself.
    exitCodeOf([&] { makeFolderOf(row); });
    std::vector<std::string> words = {"run"};
    for (const CLI::Option* option : job.shared) {
        const std::string name = option->get_name();
        if (option->count() == 0 || name == "--progress") continue;
        const bool isFlag = option->get_items_expected_max() == 0;
        for (const std::string& value : option->results())
            words.push_back(isFlag ? name : name + "=" + value);
    }
    words.insert(words.end(), {"--", row.input});
    words.insert(words.end(), job.steps.begin(), job.steps.end());
    words.push_back(row.output);
    return words;
}

void note(Row& row, const batch::Outcome& outcome) {
    row.outcome = outcome;
    const int code = outcome.exitCode;
    row.result = code == kExitDone ? "done" : code == kExitCancelled ? "cancelled" : "failed";
    if (!outcome.crash.empty() && code != kExitCancelled)
        row.outcome.messages +=
            "dib: " + printable(row.input) + ": the process was ended by " + outcome.crash + "\n";
}

// Runs the rows that are to be done.
void process(EachJob& job, std::vector<Row>& rows) {
    std::vector<std::size_t> left;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (job.isResumed && isFinished(rows[i])) {
            rows[i].result = "skipped";
        } else {
            left.push_back(i);
        }
    }
    Progress progress(left.size(), std::exchange(job.run.showsProgress, false));
    batch::Tasks tasks;
    tasks.count = left.size();
    tasks.run = [&](std::size_t i) { return runRow(job, rows[left[i]]); };
    tasks.arguments = [&](std::size_t i) { return runWords(job, rows[left[i]]); };
    tasks.isCancelled = isCancelled;
    tasks.ended = [&](std::size_t i, const batch::Outcome& outcome) {
        Row& row = rows[left[i]];
        note(row, outcome);
        progress.hide();
        std::fputs(row.outcome.messages.c_str(), stderr);
        progress.endStep(printable(row.input));
    };
    batch::runInProcesses(tasks, static_cast<std::size_t>(job.jobs));
}

std::string secondsOf(const Row& row) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", row.outcome.seconds);
    return text;
}

std::string tableOf(const std::vector<Row>& rows) {
    std::string text = "result     seconds  file\n";
    for (const Row& row : rows) {
        char head[64];
        std::snprintf(head, sizeof head, "%-9s %8s  ", row.result, secondsOf(row).c_str());
        text += head + printable(row.input) + " -> " + printable(row.output) + "\n";
    }
    return text;
}

Json jsonOf(const std::vector<Row>& rows) {
    Json json = {{"schema", 1}, {"pictures", Json::array()}};
    for (const Row& row : rows) {
        Json messages = Json::array();
        for (const std::string& line : CLI::detail::split(row.outcome.messages, '\n')) {
            if (!line.empty()) messages.push_back(line.starts_with("dib: ") ? line.substr(5) : line);
        }
        json["pictures"].push_back({{"input", row.input},
                                    {"output", row.output},
                                    {"result", row.result},
                                    {"exitCode", row.outcome.exitCode},
                                    {"seconds", row.outcome.seconds},
                                    {"messages", messages}});
    }
    return json;
}

void runEach(EachJob& job) {
    readWords(job);
    std::vector<Row> rows = plan(job);
    checkPaths(job.run);
    process(job, rows);
    print(job.asJson ? jsonText(jsonOf(rows)) : tableOf(rows));
    stopIfCancelled();
    // The exit code of the failures, if they have one in common.
    std::vector<int> codes;
    for (const Row& row : rows) {
        if (row.outcome.exitCode != kExitDone) codes.push_back(std::min(row.outcome.exitCode, 127));
    }
    if (codes.empty()) return;
    const bool isCommon = std::ranges::count(codes, codes.front()) == std::ssize(codes);
    throw Failure(isCommon && codes.front() <= kExitStrict ? ExitCode(codes.front()) : kExitOperationFailed,
                  std::to_string(codes.size()) + " of " + std::to_string(rows.size()) + " pictures failed");
}

}  // namespace

void declareEach(CLI::App& command) {
    const auto job = std::make_shared<EachJob>();
    command.add_option("words", job->words)->group("");
    addRunning(command, job->run);
    job->shared = command.get_options([](const CLI::Option* option) { return option->nonpositional(); });
    command.add_option("--jobs", job->jobs, "Pictures at once; default: one for each processor")
        ->check(between(1, 1024))
        ->type_name("NUMBER");
    command.add_flag("--resume", job->isResumed, "Skips pictures whose output is newer than their input");
    addJson(command, job->asJson);
    command.footer(
        "Inputs are files and patterns: *, ? and [a-z] match within a name, ** any folders; quote patterns "
        "so\n"
        "that the shell leaves them alone. They end at the first operation.\n\n"
        "OUTPUT is a name for every result, with {name}, {folder}, {extension} and {number} of its input.\n"
        "{folder} counts from the folder that all inputs have in common; missing folders are created. Names\n"
        "that would clash are refused before work starts. The exit code is that of the pictures that failed, "
        "or\n1 when they failed for different reasons.");
    command.callback([job] { runEach(*job); });
}

}  // namespace tool
