// 256 MiB of chunks, as 16 arrays of floats and as chunks of 100 bytes: written to a file and read
// from it, beside what the same bytes cost without any of our work: fwrite and fread of the whole
// in one call, and a copy in memory.
//
//   TMPDIR=/dev/shm build/release/bench/host_chunks_bench
//
// bytes_per_second counts the bytes of the payload. Files go to the folder of TMPDIR, else /tmp;
// both sides sync what they write.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numeric>

#include "host/chunks/chunk_reader.h"
#include "host/chunks/chunk_writer.h"

namespace {

constexpr ChunkFileKind kBenchFile{0x48434E42, "file of this benchmark", 1};
constexpr size_t kBytes = size_t{256} << 20;
constexpr size_t kNumArrays = 16, kArraySize = kBytes / kNumArrays / sizeof(float);
constexpr size_t kSmallBytes = 100, kNumSmall = kBytes / kSmallBytes;

std::string Path() { return (std::filesystem::temp_directory_path() / "dravin_chunks").string(); }

const std::vector<float>& Floats() {
    static const std::vector<float> floats = [] {
        std::vector<float> made(kArraySize);
        std::iota(made.begin(), made.end(), 0.0f);
        return made;
    }();
    return floats;
}

void WriteChunks(ChunkWriter& writer, bool isSmall) {
    std::span<const float> floats = Floats();
    const char* bytes = reinterpret_cast<const char*>(floats.data());
    writer.BeginChunk(1);
    for (uint32_t i = 0; i < (isSmall ? kNumSmall : kNumArrays); ++i) {
        writer.BeginChunk(i);
        if (isSmall)
            writer.WriteBytes({bytes + i % 1000, kSmallBytes});
        else
            writer.WriteArray(floats);
        writer.EndChunk();
    }
    writer.EndChunk();
}

bool WriteFile(bool isSmall) {
    ChunkWriter writer;
    std::string error;
    if (!writer.OpenFile(Path(), kBenchFile, &error)) return false;
    WriteChunks(writer, isSmall);
    return writer.Commit(&error);
}

void Write(benchmark::State& state, bool isSmall) {
    Floats();
    for (auto _ : state)
        if (!WriteFile(isSmall)) return state.SkipWithError("cannot write");
    state.SetBytesProcessed(state.iterations() * int64_t(kBytes));
    std::filesystem::remove(Path());
}

void Read(benchmark::State& state, bool isSmall) {
    if (!WriteFile(isSmall)) return state.SkipWithError("cannot write");
    std::vector<float> floats(kArraySize);
    char small[kSmallBytes];
    ChunkReader reader;
    for (auto _ : state) {
        reader.OpenFile(Path(), kBenchFile);
        reader.ForEachChunk([&](uint32_t) {
            reader.ForEachChunk([&](uint32_t) {
                if (!isSmall) return reader.ReadArray(&floats);
                reader.ReadBytes(small, kSmallBytes);
                benchmark::DoNotOptimize(small);
            });
        });
        if (!reader.Finish()) return state.SkipWithError(reader.Error().c_str());
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kBytes));
    std::filesystem::remove(Path());
}

void PlainWrite(benchmark::State& state) {
    std::vector<char> bytes(kBytes, 'x');
    for (auto _ : state) {
        std::FILE* file = std::fopen(Path().c_str(), "wb");
        bool good = file && std::fwrite(bytes.data(), 1, kBytes, file) == kBytes &&
                    fsync(fileno(file)) == 0;
        if (file) std::fclose(file);
        if (!good) return state.SkipWithError("cannot write");
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kBytes));
    std::filesystem::remove(Path());
}

void PlainRead(benchmark::State& state) {
    std::vector<char> bytes(kBytes);
    if (!WriteFile(false)) return state.SkipWithError("cannot write");
    for (auto _ : state) {
        std::FILE* file = std::fopen(Path().c_str(), "rb");
        bool good = file && std::fread(bytes.data(), 1, kBytes, file) == kBytes;
        if (file) std::fclose(file);
        if (!good) return state.SkipWithError("cannot read");
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kBytes));
    std::filesystem::remove(Path());
}

void Memcpy(benchmark::State& state) {
    std::vector<char> bytes(kBytes, 'x'), copy(kBytes);
    for (auto _ : state) {
        std::memcpy(copy.data(), bytes.data(), kBytes);
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kBytes));
}

BENCHMARK_CAPTURE(Write, arrays, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Write, small, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PlainWrite)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Read, arrays, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Read, small, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PlainRead)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Memcpy)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
