// The cases of a bench. Names are operation/WIDTHxHEIGHT/bits/program, so that the results of all programs
// join.
#ifndef BENCH_HARNESS_CASES_H
#define BENCH_HARNESS_CASES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace pb {

// A result, for looking at what a program computed: rows from the top down.
struct Out {
    int w = 0, h = 0, ch = 0;
    bool rgb = false;
    std::vector<std::uint8_t> d;
};
Out outOf(const void* pixels, int width, int height, int channels, std::size_t stride, bool rgb = false);

struct Op {
    std::function<void()> run;  // what is timed, once
    std::function<Out()> out;   // the pixels that it made last; may be missing

    Op() = default;
    explicit Op(std::function<void()> timed, std::function<Out()> result = {})
        : run(std::move(timed)), out(std::move(result)) {}
};

// Adds a case. `make` prepares it when its turn comes. The note names the function that is called and says
// where the work is not the same as ours. Slow cases: 1 takes three repetitions of one call, 2 one call, 3
// waits for PEER_ALL.
void add(const std::string& op, int width, int height, int depth, const std::string& peer,
         const std::string& note, std::function<Op()> make, int slow = 0);

// Names the program and its version in the results: "opencv", "OpenCV 4.6.0".
void addProgram(const std::string& peer, const std::string& nameAndVersion);

// Runs the cases with Google Benchmark's options. With a folder in PEER_DUMP it writes the results there in
// place of measuring, as OPERATION__BITS__PROGRAM.raw: a line with "RAW width height channels bgr", then the
// rows.
int benchMain(int argc, char** argv);

// Throws std::runtime_error unless `done`; the case is then reported as failed.
void need(bool done, const char* what);

}  // namespace pb

#endif
