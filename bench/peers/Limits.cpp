// What no program can be faster than: memory, files in the system's cache, and the calls that results depend
// on.
#include <benchmark/benchmark.h>
#include <sys/mman.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "bench/harness/Harness.h"
#include "dib/Numbers.h"

namespace pb {
namespace {

// Bytes at the start of a page, all of which have been written.
using Buffer = std::shared_ptr<std::uint8_t>;

Buffer bufferOf(std::size_t size) {
    constexpr std::size_t page = 4096;
    auto* const bytes = static_cast<std::uint8_t*>(std::aligned_alloc(page, (size + page - 1) / page * page));
    need(bytes != nullptr, "no memory");
    std::memset(bytes, 1, size);
    return {bytes, std::free};
}

void copyIntoFresh(const std::uint8_t* source, std::size_t size, bool hugePages) {
    void* const fresh = std::malloc(size);
    need(fresh != nullptr, "no memory");
    if (hugePages && size > (std::size_t{32} << 20)) {
        constexpr std::uintptr_t page = 4096;
        const auto start = (reinterpret_cast<std::uintptr_t>(fresh) + page - 1) / page * page;
        const auto end = (reinterpret_cast<std::uintptr_t>(fresh) + size) / page * page;
        madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
    }
    std::memcpy(fresh, source, size);
    benchmark::DoNotOptimize(fresh);
    benchmark::ClobberMemory();
    std::free(fresh);
}

void memory(int width, int height, int depth) {
    const std::size_t size = dib::asSize(width) * dib::asSize(height) * dib::asSize(depth / 8);
    add("memcpy", width, height, depth, "limit", "`memcpy` into memory in use", [=] {
        const Buffer from = bufferOf(size), to = bufferOf(size);
        return Op([=] { std::memcpy(to.get(), from.get(), size); });
    });
    add("memset", width, height, depth, "limit", "`memset` of memory in use", [=] {
        const Buffer to = bufferOf(size);
        return Op([=] { std::memset(to.get(), 7, size); });
    });
    add("clone_deep", width, height, depth, "limit.malloc_memcpy", "`malloc`, `memcpy` and `free`", [=] {
        const Buffer from = bufferOf(size);
        return Op([=] { copyIntoFresh(from.get(), size, false); });
    });
    add("clone_deep", width, height, depth, "limit.malloc_thp", "`malloc` of huge pages, `memcpy` and `free`",
        [=] {
            const Buffer from = bufferOf(size);
            return Op([=] { copyIntoFresh(from.get(), size, true); });
        });
    add("xor_inplace", width, height, depth, "limit", "every byte inverted in place", [=] {
        const Buffer bytes = bufferOf(size);
        return Op([=] {
            std::uint8_t* const values = bytes.get();
            for (std::size_t i = 0; i < size; ++i) values[i] ^= 0xFF;
        });
    });
    add("lut_inplace", width, height, depth, "limit.scalar", "every byte looked up, a plain loop", [=] {
        const Buffer bytes = bufferOf(size);
        return Op([=] {
            const std::uint8_t* const table = gammaTable();
            std::uint8_t* const values = bytes.get();
            for (std::size_t i = 0; i < size; ++i) values[i] = table[values[i]];
        });
    });
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

void files(const InputFile& input) {
    add(input.op, input.w, input.h, input.depth, "limit.fread", "`fread` of the file into memory in use",
        [=] {
            const std::string path = file(input.name);
            const std::size_t size = slurp(path).size();
            const Buffer bytes = bufferOf(size);
            return Op([=] {
                const File in(std::fopen(path.c_str(), "rb"), std::fclose);
                need(in != nullptr && std::fread(bytes.get(), 1, size, in.get()) == size, "fread");
            });
        });
    const std::string op = std::string("save") + (input.op + 4);
    add(op, input.w, input.h, input.depth, "limit.fwrite", "`fwrite` of the finished file", [=] {
        const auto bytes = std::make_shared<std::vector<std::uint8_t>>(slurp(file(input.name)));
        const std::string path = file("limit_out.bin");
        return Op([=] {
            const File out(std::fopen(path.c_str(), "wb"), std::fclose);
            need(out != nullptr && std::fwrite(bytes->data(), 1, bytes->size(), out.get()) == bytes->size(),
                 "fwrite");
        });
    });
}

// A million calls; `size` in the name says so.
template <class Call>
void calls(const char* op, const char* note, const Call& call) {
    add(op, 1000, 1000, 32, "limit.libc", note, [=] {
        return Op([=] {
            float x = 0;
            for (int i = 0; i < 1000000; ++i, x += 0.001f) benchmark::DoNotOptimize(call(x));
        });
    });
}

}  // namespace
}  // namespace pb

int main(int argc, char** argv) {
    for (const int depth : {8, 24, 32}) pb::memory(pb::W, pb::H, depth);
    for (const int depth : {24, 32}) pb::memory(pb::W4, pb::H4, depth);
    for (const pb::InputFile& input : pb::loadFiles()) pb::files(input);
    pb::calls("call_rand", "`rand`", [](float /*x*/) { return std::rand(); });
    pb::calls("call_sinf", "`sinf` from 0 to 1000", [](float x) { return std::sin(x); });
    pb::calls("call_sincosf", "`sincosf` from 0 to 1000", [](float x) { return std::sin(x) + std::cos(x); });
    pb::calls("call_powf", "`powf` of 1/2.2 from 0 to 1",
              [](float x) { return std::pow(x / 1000, 1 / 2.2f); });
    return pb::benchMain(argc, argv);
}
