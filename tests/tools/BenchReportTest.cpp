#include "tools/BenchReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/tools/Program.h"
#include "tools/BenchPlots.h"
#include "tools/BenchResults.h"
#include "tools/Failure.h"

namespace tool_test {

namespace {

using Json = nlohmann::json;
using BenchReport = ToolTest;

// An entry as Google Benchmark writes it.
Json entry(const std::string& name, double microseconds) {
    return {{"name", name + "/process_time/real_time"},
            {"run_name", name},
            {"run_type", "iteration"},
            {"iterations", 10},
            {"real_time", microseconds * 1.5},
            {"cpu_time", microseconds},
            {"time_unit", "us"}};
}

void writeBenches(const std::string& file, const std::vector<Json>& entries) {
    const Json context = {{"date", "2026-11-21T12:00:00+00:00"},
                          {"num_cpus", 2},
                          {"mhz_per_cpu", 2100},
                          {"host_name", "secret"}};
    writeFile(file, Json{{"context", context}, {"benchmarks", entries}}.dump());
}

// Three operations of ours, two other programs, memcpy.
std::vector<Json> threeOperations() {
    return {entry("invert/1000x1000/24/ours", 200),   entry("invert/1000x1000/24/quick", 100),
            entry("invert/1000x1000/24/slow", 800),   entry("invert/1000x1000/24/ours.cb", 1),
            entry("mosaic10/1000x1000/24/ours", 400), entry("mosaic10/1000x1000/24/slow", 1000),
            entry("emboss/1000x1000/24/ours", 3000),  entry("memcpy/1000x1000/24/limit", 50),
            entry("other/1000x1000/24/quick", 1)};
}

tool::BenchCase caseOf(const std::string& operation, int width = 1000, int height = 1000, int depth = 24) {
    return {operation, width, height, depth};
}

// Reading.

TEST_F(BenchReport, MediansOfAllFilesCount) {
    writeBenches("a.json", {entry("invert/1000x1000/24/ours", 5), entry("invert/1000x1000/24/ours", 1)});
    writeBenches("b.json", {entry("invert/1000x1000/24/ours", 2), entry("invert/1000x1000/24/peer", 7)});
    const tool::BenchResults results = tool::readBenchResults({"a.json", "b.json"});
    ASSERT_EQ(results.cases.size(), 1U);
    const auto& peers = results.cases.at(caseOf("invert"));
    ASSERT_EQ(peers.size(), 2U);
    EXPECT_EQ(peers.at("ours").nanoseconds, 2000);
    EXPECT_EQ(peers.at("peer").nanoseconds, 7000);
    EXPECT_EQ(peers.at("ours").peakBytes, -1);
    EXPECT_EQ(results.machine, "2 processors at 2100 MHz, 2026-11-21");
    EXPECT_EQ(tool::readBenchResults({"a.json"}).cases.begin()->second.at("ours").nanoseconds, 3000);
}

TEST_F(BenchReport, UnitsAndMemoryAreRead) {
    Json inSeconds = entry("a/1x2/8/ours", 3);
    inSeconds["time_unit"] = "s";
    Json inNanoseconds = entry("b/1x2/8/ours", 3);
    inNanoseconds.erase("time_unit");
    inNanoseconds["max_bytes_used"] = 4096;
    Json inMilliseconds = entry("c/1x2/8/ours", 3);
    inMilliseconds["time_unit"] = "ms";
    writeBenches("a.json", {inSeconds, inNanoseconds, inMilliseconds});
    const tool::BenchResults results = tool::readBenchResults({"a.json"});
    EXPECT_EQ(results.cases.at(caseOf("a", 1, 2, 8)).at("ours").nanoseconds, 3e9);
    EXPECT_EQ(results.cases.at(caseOf("b", 1, 2, 8)).at("ours").nanoseconds, 3);
    EXPECT_EQ(results.cases.at(caseOf("b", 1, 2, 8)).at("ours").peakBytes, 4096);
    EXPECT_EQ(results.cases.at(caseOf("c", 1, 2, 8)).at("ours").nanoseconds, 3e6);
}

TEST_F(BenchReport, WhatIsNoMeasurementIsLeftOut) {
    Json aggregate = entry("a/1x2/8/ours", 3);
    aggregate["run_type"] = "aggregate";
    Json failed = entry("b/1x2/8/ours", 3);
    failed["error_occurred"] = true;
    std::vector<Json> entries = {aggregate, failed, entry("c/1x2/8/ours", 0)};
    for (const char* name :
         {"BM_plain", "a/1x2/8", "a/1x2/x/ours", "a/0x2/8/ours", "a/1x-2/8/ours", "a/1000001x2/8/ours",
          "a/99999999999x2/8/ours", "a/1x2/8/<b>", "/1x2/8/ours", "a b/1x2/8/ours", "a/12/8/ours"}) {
        entries.push_back(entry(name, 1));
        entries.back()["name"] = name;
    }
    writeBenches("a.json", entries);
    const tool::BenchResults results = tool::readBenchResults({"a.json"});
    EXPECT_TRUE(results.cases.empty());
    EXPECT_EQ(results.failures, 1U);
    EXPECT_EQ(results.unknown, 11U);
}

TEST_F(BenchReport, BrokenFilesAreNamed) {
    const std::pair<const char*, std::string> kCases[] = {
        {"", "bad.json: is not the JSON of benchmarks: "},
        {"{\"benchmarks\": [", "bad.json: is not the JSON of benchmarks: "},
        {"no json", "bad.json: is not the JSON of benchmarks: "},
        {"[]", "bad.json: has no list of benchmarks"},
        {"{}", "bad.json: has no list of benchmarks"},
        {"{\"benchmarks\": 3}", "bad.json: has no list of benchmarks"},
        {"{\"benchmarks\": [3]}", "bad.json: a benchmark is no object"},
        {"{\"benchmarks\": [{}]}", "bad.json: is not the JSON of benchmarks: "},
        {"{\"benchmarks\": [{\"name\": 3}]}", "bad.json: is not the JSON of benchmarks: "},
        {"{\"benchmarks\": [{\"name\": \"a/1x2/8/ours\"}]}", "bad.json: is not the JSON of benchmarks: "},
        {"{\"benchmarks\": [{\"name\": \"a/1x2/8/ours\", \"cpu_time\": \"3\"}]}",
         "bad.json: a/1x2/8/ours: cpu_time is not a number"},
        {"{\"benchmarks\": [{\"name\": \"a/1x2/8/ours\", \"cpu_time\": -1}]}",
         "bad.json: a/1x2/8/ours: cpu_time is -1"},
        {"{\"benchmarks\": [{\"name\": \"a/1x2/8/ours\", \"cpu_time\": 1e300}]}",
         "bad.json: a/1x2/8/ours: cpu_time is 1e+300"},
        {"{\"benchmarks\": [{\"name\": \"a/1x2/8/ours\", \"cpu_time\": 1e999}]}",
         "bad.json: is not the JSON of benchmarks: "},
        {"{\"benchmarks\": [{\"name\": \"a/1x2/8/ours\", \"cpu_time\": 1, \"time_unit\": \"h\"}]}",
         "bad.json: a/1x2/8/ours: no time unit 'h'"},
        {"{\"benchmarks\": [{\"name\": \"\xff\"}]}", "bad.json: is not the JSON of benchmarks: "},
    };
    writeBenches("good.json", threeOperations());
    for (const auto& [text, message] : kCases) {
        writeFile("bad.json", text);
        const Result result = run({"bench-report", "good.json", "bad.json", "out.html"});
        EXPECT_EQ(result.exitCode, 3) << text;
        EXPECT_TRUE(result.errors.starts_with("dib: " + message)) << text << ": " << result.errors;
        EXPECT_EQ(filesHere(), (std::vector<std::string>{"bad.json", "good.json", "in.bmp"}));
    }
    writeFile("bad.json", std::string(200000, '['));
    EXPECT_EQ(run({"bench-report", "bad.json", "out.html"}).exitCode, 3);
    EXPECT_EQ(run({"bench-report", "missing.json", "out.html"}).exitCode, 3);
}

// What the plots show.

TEST_F(BenchReport, RowsAreSortedBySpeedAndTellTheRatio) {
    writeBenches("a.json", threeOperations());
    const std::vector<tool::ThroughputPlot> plots = tool::throughputPlots(tool::readBenchResults({"a.json"}));
    ASSERT_EQ(plots.size(), 1U);
    EXPECT_EQ(plots[0].heading, "pictures of 1000x1000, 24 bits");
    const std::vector<tool::MarkRow>& rows = plots[0].plot.rows;
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0].label, "invert");
    EXPECT_EQ(rows[1].label, "mosaic10");
    EXPECT_EQ(rows[2].label, "emboss");
    // 3 million bytes in 200 microseconds.
    EXPECT_DOUBLE_EQ(rows[0].own.at(0).value, 15000);
    EXPECT_DOUBLE_EQ(rows[0].best.at(0).value, 30000);
    EXPECT_EQ(rows[0].best.at(0).text, "quick: 30000 MB/s, 0.100 ms");
    ASSERT_EQ(rows[0].others.size(), 1U);
    EXPECT_DOUBLE_EQ(rows[0].others[0].value, 3750);
    EXPECT_EQ(rows[0].remark, "0.500 x quick");
    EXPECT_TRUE(rows[0].isWarning);
    EXPECT_EQ(rows[1].remark, "2.50 x slow");
    EXPECT_FALSE(rows[1].isWarning);
    EXPECT_TRUE(rows[2].best.empty());
    EXPECT_EQ(rows[2].remark, "");
    for (const tool::MarkRow& row : rows) {
        ASSERT_EQ(row.bounds.size(), 1U);
        EXPECT_EQ(row.bounds[0].text, "memcpy: 60000 MB/s, 0.0500 ms");
    }
}

TEST_F(BenchReport, PlotsWithoutCompanyAreShownOnlyAmongThemselves) {
    std::vector<Json> alone;
    for (const char* operation : {"a", "b", "c", "d"}) {
        alone.push_back(entry(std::string(operation) + "/10x10/8/ours", 1));
    }
    writeBenches("alone.json", alone);
    writeBenches("a.json", threeOperations());
    const auto alonePlots = tool::throughputPlots(tool::readBenchResults({"alone.json"}));
    ASSERT_EQ(alonePlots.size(), 1U);
    EXPECT_EQ(alonePlots[0].heading, "pictures of 10x10, 8 bits");
    const auto plots = tool::throughputPlots(tool::readBenchResults({"alone.json", "a.json"}));
    ASSERT_EQ(plots.size(), 1U);
    EXPECT_EQ(plots[0].heading, "pictures of 1000x1000, 24 bits");
}

TEST_F(BenchReport, FilesHaveBoundsOfTheirOwn) {
    std::vector<Json> entries;
    for (const char* operation : {"load_a", "load_b", "save_c"}) {
        entries.push_back(entry(std::string(operation) + "/1000x1000/24/ours", 300));
        entries.push_back(entry("x_" + std::string(operation) + "/1000x1000/24/ours", 300));
    }
    entries.push_back(entry("load_a/1000x1000/24/limit.fread", 100));
    entries.push_back(entry("memcpy/1000x1000/24/limit", 50));
    writeBenches("a.json", entries);
    const tool::BenchResults results = tool::readBenchResults({"a.json"});
    const std::vector<tool::ThroughputPlot> plots = tool::throughputPlots(results);
    ASSERT_EQ(plots.size(), 2U);
    EXPECT_EQ(plots[0].heading, "pictures of 1000x1000, 24 bits");
    EXPECT_EQ(plots[1].heading, "files of 1000x1000, 24 bits");
    EXPECT_EQ(tool::boundOf(results, caseOf("load_a")).name, "fread");
    EXPECT_EQ(tool::boundOf(results, caseOf("load_a")).nanoseconds, 1e5);
    EXPECT_EQ(tool::boundOf(results, caseOf("load_b")).nanoseconds, 0);
    EXPECT_EQ(tool::boundOf(results, caseOf("x_load_a")).name, "memcpy");
}

TEST_F(BenchReport, GrowthHasALineForThreeSizes) {
    writeBenches("a.json", {entry("invert/1000x1000/24/ours", 100), entry("invert/100x100/24/ours", 2),
                            entry("invert/2000x2000/24/ours", 800), entry("emboss/1000x1000/24/ours", 1),
                            entry("emboss/100x100/24/ours", 1)});
    const tool::LinePlot plot = tool::sizePlot(tool::readBenchResults({"a.json"}));
    ASSERT_EQ(plot.lines.size(), 1U);
    EXPECT_EQ(plot.lines[0].label, "invert, 24");
    ASSERT_EQ(plot.lines[0].points.size(), 3U);
    EXPECT_DOUBLE_EQ(plot.lines[0].points[0].x, 0.01);
    EXPECT_DOUBLE_EQ(plot.lines[0].points[0].y, 0.2);
    EXPECT_DOUBLE_EQ(plot.lines[0].points[1].y, 0.1);
    EXPECT_DOUBLE_EQ(plot.lines[0].points[2].x, 4);
    EXPECT_DOUBLE_EQ(plot.lines[0].points[2].y, 0.2);
}

TEST_F(BenchReport, FamiliesGrowWithTheirRadius) {
    writeBenches("a.json", {entry("box_blur_r10/10x10/24/ours", 100), entry("box_blur_r2/10x10/24/ours", 90),
                            entry("box_blur_r2/10x10/24/peer", 200), entry("box_blur_r10/10x10/24/peer", 900),
                            entry("box_blur_r2/10x10/24/once", 200), entry("gauss_R5/10x10/24/ours", 1),
                            entry("blur_radius/10x10/24/ours", 1), entry("x_r/10x10/24/ours", 1),
                            entry("x_r0/10x10/24/ours", 1), entry("r7/10x10/24/ours", 1)});
    const std::vector<tool::LinePlot> plots = tool::radiusPlots(tool::readBenchResults({"a.json"}));
    ASSERT_EQ(plots.size(), 1U);
    EXPECT_EQ(plots[0].title, "box_blur, 10x10, 24 bits");
    ASSERT_EQ(plots[0].lines.size(), 2U);
    EXPECT_EQ(plots[0].lines[0].label, "peer");
    EXPECT_FALSE(plots[0].lines[0].isOwn);
    EXPECT_EQ(plots[0].lines[1].label, "ours");
    EXPECT_TRUE(plots[0].lines[1].isOwn);
    EXPECT_EQ(plots[0].lines[1].points[0].x, 2);
    EXPECT_DOUBLE_EQ(plots[0].lines[1].points[0].y, 0.09);
    EXPECT_EQ(plots[0].lines[1].points[1].x, 10);
}

TEST_F(BenchReport, MemoryIsToldForTheLargestPicture) {
    Json small = entry("invert/10x10/8/ours", 1);
    small["max_bytes_used"] = 100;
    Json large = entry("invert/1000x1000/8/ours", 1);
    large["max_bytes_used"] = 2500000;
    Json other = entry("emboss/10x10/8/ours", 1);
    other["max_bytes_used"] = 700;
    writeBenches("a.json", {small, large, other, entry("mosaic10/10x10/8/ours", 1)});
    const tool::BarPlot plot = tool::memoryPlot(tool::readBenchResults({"a.json"}));
    ASSERT_EQ(plot.bars.size(), 2U);
    EXPECT_EQ(plot.bars[0].label, "emboss");
    EXPECT_DOUBLE_EQ(plot.bars[0].value, 7);
    EXPECT_EQ(plot.bars[1].label, "invert");
    EXPECT_DOUBLE_EQ(plot.bars[1].value, 2.5);
    EXPECT_EQ(plot.bars[1].text, "2.50 (2.50 MB, 1000x1000x8)");
}

TEST(Svg, WritesThreeDigitsThatCount) {
    EXPECT_EQ(tool::threeDigits(0), "0");
    EXPECT_EQ(tool::threeDigits(0.01234), "0.0123");
    EXPECT_EQ(tool::threeDigits(1.234), "1.23");
    EXPECT_EQ(tool::threeDigits(123.4), "123");
    EXPECT_EQ(tool::threeDigits(12345), "12345");
    EXPECT_EQ(tool::threeDigits(-5), "-5.00");
}

TEST(Svg, PlacesMarksOnALogarithmicAxis) {
    tool::MarkPlot plot{"<title>", "MB/s", {}};
    for (const double value : {10.0, 100.0, 1000.0}) {
        tool::MarkRow row;
        row.own.push_back({value, "a & b"});
        plot.rows.push_back(row);
    }
    const std::string svg = tool::svgOf(plot);
    EXPECT_NE(svg.find("<title>&lt;title&gt;</title>"), std::string::npos);
    EXPECT_NE(svg.find("<title>a &amp; b</title>"), std::string::npos);
    // The middle of the axis from 204 to 740, and as far to both sides.
    EXPECT_NE(svg.find("cx=\"472.0\" cy=\"87.5\""), std::string::npos) << svg;
    EXPECT_NE(svg.find("cx=\"223.9\" cy=\"66.5\""), std::string::npos);
    EXPECT_NE(svg.find("cx=\"720.1\" cy=\"108.5\""), std::string::npos);
}

TEST(Svg, IsEmptyWithoutValues) {
    EXPECT_EQ(tool::svgOf(tool::MarkPlot{"t", "u", {}}), "");
    EXPECT_EQ(tool::svgOf(tool::LinePlot{"t", "x", "y", 960, {}}), "");
    EXPECT_EQ(tool::svgOf(tool::BarPlot{"t", "u", {}}), "");
}

// The page.

std::vector<Json> everything() {
    std::vector<Json> entries = threeOperations();
    for (Json& one : entries) one["max_bytes_used"] = 3000000;
    for (const char* name : {"invert/100x100/24/ours", "invert/500x500/24/ours", "box_r2/100x100/24/ours",
                             "box_r5/100x100/24/ours", "BM_other"}) {
        entries.push_back(entry(name, 1));
    }
    return entries;
}

TEST_F(BenchReport, IsOnePageWithEverySection) {
    writeBenches("a.json", everything());
    const Result result = run({"bench-report", "a.json", "out.html"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const std::string page = readFile("out.html");
    for (const char* part : {"<h2>Throughput</h2>", "<h2>Growth</h2>", "<h2>Memory</h2>", "0.500 x quick",
                             "2 processors at 2100 MHz, 2026-11-21", "7 measurements of ours",
                             "<th scope=\"row\">mosaic10</th><td>0.400</td><td>7500</td><td>memcpy</td>"
                             "<td>0.0500</td><td>slow</td><td>1.00</td><td>2.50</td>",
                             "1 entries are left out"}) {
        EXPECT_NE(page.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(page.find("secret"), std::string::npos);
    EXPECT_EQ(page.find("src="), std::string::npos);
}

TEST_F(BenchReport, TheSameInputGivesTheSameBytes) {
    std::vector<Json> entries = everything();
    writeBenches("a.json", entries);
    EXPECT_EQ(run({"bench-report", "a.json", "one.html"}).exitCode, 0);
    EXPECT_EQ(run({"bench-report", "a.json", "two.html"}).exitCode, 0);
    EXPECT_EQ(readFile("one.html"), readFile("two.html"));
    std::ranges::reverse(entries);
    writeBenches("a.json", entries);
    EXPECT_EQ(run({"bench-report", "a.json", "three.html"}).exitCode, 0);
    EXPECT_EQ(readFile("three.html"), readFile("one.html"));
}

TEST_F(BenchReport, WritesTheFirstPlotAlone) {
    writeBenches("a.json", threeOperations());
    ASSERT_EQ(run({"bench-report", "a.json", "plot.svg"}).exitCode, 0);
    const std::string svg = readFile("plot.svg");
    EXPECT_TRUE(svg.starts_with("<svg xmlns=\"http://www.w3.org/2000/svg\""));
    EXPECT_TRUE(svg.ends_with("</svg>\n"));
}

TEST_F(BenchReport, ReadsAndWritesStandardStreams) {
    writeBenches("a.json", threeOperations());
    ASSERT_EQ(run({"bench-report", "a.json", "out.html"}).exitCode, 0);
    const Result result = run({"bench-report", "-", "-"}, readFile("a.json"));
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_TRUE(result.output == readFile("out.html"));
}

TEST_F(BenchReport, SaysWhatIsMissing) {
    writeBenches("a.json", {entry("invert/10x10/8/ours", 1)});
    const Result few = run({"bench-report", "a.json", "out.html"});
    EXPECT_EQ(few.exitCode, 3);
    EXPECT_EQ(few.errors,
              "dib: bench-report: no three operations of 'ours' were measured on the same picture\n");
    EXPECT_EQ(run({"bench-report", "a.json"}).exitCode, 2);
    writeBenches("b.json", threeOperations());
    EXPECT_EQ(run({"bench-report", "b.json", "none/out.html"}).exitCode, 4);
    EXPECT_EQ(run({"bench-report", "b.json", "/dev/full"}).exitCode, 4);
}

}  // namespace

}  // namespace tool_test
