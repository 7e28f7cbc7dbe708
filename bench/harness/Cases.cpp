#include "bench/harness/Cases.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>

#include "bench/harness/Pictures.h"
#include "dib/Numbers.h"

namespace pb {
namespace {

struct Case {
    std::string op, peer, note;
    int w, h, depth, slow;
    std::function<Op()> make;

    [[nodiscard]] std::string name() const {
        return op + "/" + std::to_string(w) + "x" + std::to_string(h) + "/" + std::to_string(depth) + "/" +
               peer;
    }
};

std::vector<std::unique_ptr<Case>>& cases() {
    static std::vector<std::unique_ptr<Case>> all;
    return all;
}

// Lines of the file that PEER_SLOW names: how slow, and the name of a case.
int knownSlowness(const std::string& name) {
    static const std::map<std::string, int> known = [] {
        std::map<std::string, int> levels;
        if (const char* const path = std::getenv("PEER_SLOW")) {
            std::ifstream lines(path);
            int level = 0;
            for (std::string slow; lines >> level >> slow;) levels[slow] = level;
        }
        return levels;
    }();
    const auto found = known.find(name);
    return found == known.end() ? 0 : found->second;
}

void dump(const Case& one, const std::string& folder) {
    const Op op = one.make();
    if (!op.out) return;
    op.run();
    const Out out = op.out();
    std::ofstream file(folder + "/" + one.op + "__" + std::to_string(one.depth) + "__" + one.peer + ".raw",
                       std::ios::binary);
    file << "RAW " << out.w << " " << out.h << " " << out.ch << (out.rgb ? " rgb\n" : " bgr\n");
    for (const std::uint8_t value : out.d) file.put(static_cast<char>(value));
}

void dumpAll(const std::string& folder) {
    const char* const only = std::getenv("PEER_ONLY");
    for (const auto& one : cases()) {
        if (one->w != W || (only != nullptr && one->op.find(only) == std::string::npos)) continue;
        try {
            dump(*one, folder);
        } catch (const std::exception& error) {
            std::cerr << one->name() << ": " << error.what() << "\n";
        }
    }
}

// The repetitions of a case share what it prepared; the next case frees it.
void prepare(const Case& one, Op& op) {
    static const Case* prepared = nullptr;
    if (prepared == &one) return;
    op = Op();
    prepared = &one;
    op = one.make();
    need(static_cast<bool>(op.run), "no operation");
    if (one.slow < 2) op.run();  // pages, tables and plans that only the first call makes
}

void runCase(benchmark::State& state, const Case& one) {
    static Op op;
    try {
        prepare(one, op);
        for ([[maybe_unused]] auto step : state) {
            op.run();
            benchmark::ClobberMemory();
        }
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
    } catch (...) {
        state.SkipWithError("exception");
    }
    state.counters["px"] = static_cast<double>(one.w) * one.h;
    state.SetLabel(one.note);
}

}  // namespace

Out outOf(const void* pixels, int width, int height, int channels, std::size_t stride, bool rgb) {
    Out out{width, height, channels, rgb, {}};
    const std::size_t bytes = dib::asSize(width) * dib::asSize(channels);
    const auto* row = static_cast<const std::uint8_t*>(pixels);
    for (int y = 0; y < height; ++y, row += stride) out.d.insert(out.d.end(), row, row + bytes);
    return out;
}

void add(const std::string& op, int width, int height, int depth, const std::string& peer,
         const std::string& note, std::function<Op()> make, int slow) {
    if (slow >= 3 && std::getenv("PEER_ALL") == nullptr) return;
    auto one = std::make_unique<Case>(Case{op, peer, note, width, height, depth, slow, std::move(make)});
    one->slow = std::max(slow, knownSlowness(one->name()));
    cases().push_back(std::move(one));
}

void addProgram(const std::string& peer, const std::string& nameAndVersion) {
    benchmark::AddCustomContext("program " + peer, nameAndVersion);
}

int benchMain(int argc, char** argv) {
    if (const char* const folder = std::getenv("PEER_DUMP")) {
        dumpAll(folder);
        return 0;
    }
    for (const auto& one : cases()) {
        auto* const registered = benchmark::RegisterBenchmark(
            one->name().c_str(), [c = one.get()](benchmark::State& state) { runCase(state, *c); });
        registered->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMicrosecond);
        if (one->slow > 0) registered->Iterations(1)->Repetitions(one->slow == 1 ? 3 : 1);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

void need(bool done, const char* what) {
    if (!done) throw std::runtime_error(what);
}

}  // namespace pb
