// Outputs of a million items: glTF binary, USD text, NPZ, CSV and JSON as the command line writes
// them, and what the same bytes cost without any of our work: copied in memory, and written by one
// plain call to the same disk.
//
//   build/release/bench/host_io_bench          (writes to the folder of TMPDIR, else /tmp)
//
// Every output is the default set of fields; bytes_per_second counts the bytes of the file. Files
// are not flushed to the platters by either side.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "apps/dravin/item_table.h"
#include "bench/Dravin/engine/terrain_input.h"
#include "host/base/thread_pool.h"
#include "host/geom/primitives.h"
#include "host/io/gltf_export.h"
#include "host/io/table_stream.h"
#include "host/io/usd_writer.h"

namespace {

constexpr double kNumItems = 1e6;

const TDravinItemList& Items() {
    static TBuildInput input;
    static TDravinItemList items = [] {
        input = TerrainInput(MakeTerrain(100000), kNumItems, NumProcessors());
        TDravinItemList list;
        TBuildStatistics statistics;
        if (BuildItemArray(input, list, statistics) != TBuildStatus::kSuccess) std::abort();
        return list;
    }();
    return items;
}

// The items as instances of one cube, placed as the engine placed them.
class ItemCubes : public IInstanceSource {
public:
    ItemCubes() { Items().Count(); }
    std::string SourceName() const override { return "items"; }
    size_t NumPrototypes() const override { return 1; }
    std::string PrototypeName(size_t) const override { return "cube"; }
    const Mesh* PrototypeMesh(size_t) const override { return &m_cube; }
    Mtl* PrototypeMtl(size_t) const override { return nullptr; }
    size_t NumInstances() const override { return Items().Count(); }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
        TDravinItem item;
        for (size_t i = 0; i < out.size(); ++i) {
            Items().ReadStored(first + i, &item);
            out[i].transform = ItemTransform(item, false);
            out[i].id = int32_t(first + i);
            out[i].tint = item.tintColor;
            out[i].tintBlend = item.tintBlend;
        }
    }

private:
    Mesh m_cube = MakeBox(1, 1, 1);
};

std::string OutputPath(const char* name) {
    return (std::filesystem::temp_directory_path() / (std::string("dravin_bench.") + name))
        .string();
}

bool WriteOutput(const std::string& ending, const std::string& path, std::string* error) {
    static const ItemCubes cubes;
    const IInstanceSource* sources[] = {&cubes};
    if (ending == "glb") return ExportGltf(path, sources, {}, {}, error);
    if (ending == "usda") {
        std::vector<std::string> warnings;
        UsdOptions options;
        options.threads = NumProcessors();
        return ExportUsd(path, sources, {}, options, &warnings, error);
    }
    static const ItemTableColumns columns(DefaultItemFields());
    static const ItemTable table(Items(), columns);
    std::unique_ptr<ITableStream> stream;
    if (ending == "npz") stream = OpenNpzStream(path, columns.columns, false, {}, error);
    if (ending == "csv") stream = OpenCsvStream(path, columns.columns, error);
    if (ending == "json") stream = OpenJsonStream(path, columns.columns, error);
    if (!stream) return false;
    stream->BeginTable("items");
    stream->EndTable({}, table, NumProcessors());
    return stream->Commit(error);
}

// Bytes of an output of our own, for the two yardsticks.
std::vector<char> BytesOf(const std::string& path) {
    std::vector<char> bytes(std::filesystem::file_size(path));
    std::ifstream(path, std::ios::binary).read(bytes.data(), std::streamsize(bytes.size()));
    return bytes;
}

void Output(benchmark::State& state, const char* ending) {
    Items();
    std::string path = OutputPath(ending), error;
    for (auto _ : state)
        if (!WriteOutput(ending, path, &error)) return state.SkipWithError(error.c_str());
    int64_t size = int64_t(std::filesystem::file_size(path));
    state.SetBytesProcessed(state.iterations() * size);
    state.SetItemsProcessed(state.iterations() * int64_t(Items().Count()));
    state.counters["B/item"] = double(size) / double(Items().Count());
    std::filesystem::remove(path);
}

void PlainWrite(benchmark::State& state, const char* ending) {
    std::string path = OutputPath(ending), error;
    if (!WriteOutput(ending, path, &error)) return state.SkipWithError(error.c_str());
    std::vector<char> bytes = BytesOf(path);
    for (auto _ : state) {
        int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        size_t done = 0;
        while (done < bytes.size()) {
            ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
            if (n <= 0) break;
            done += size_t(n);
        }
        close(fd);
        if (done != bytes.size()) return state.SkipWithError("the disk took no more bytes");
    }
    state.SetBytesProcessed(state.iterations() * int64_t(bytes.size()));
    std::filesystem::remove(path);
}

void Memcpy(benchmark::State& state, const char* ending) {
    std::string path = OutputPath(ending), error;
    if (!WriteOutput(ending, path, &error)) return state.SkipWithError(error.c_str());
    std::vector<char> bytes = BytesOf(path), copy(bytes.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(bytes.size()));
    std::filesystem::remove(path);
}

#define OUTPUT_BENCHMARKS(ending)                                                                 \
    BENCHMARK_CAPTURE(Output, ending, #ending)->Unit(benchmark::kMillisecond)->UseRealTime();     \
    BENCHMARK_CAPTURE(PlainWrite, ending, #ending)->Unit(benchmark::kMillisecond)->UseRealTime(); \
    BENCHMARK_CAPTURE(Memcpy, ending, #ending)->Unit(benchmark::kMillisecond)->UseRealTime()
OUTPUT_BENCHMARKS(glb);
OUTPUT_BENCHMARKS(usda);
OUTPUT_BENCHMARKS(npz);
OUTPUT_BENCHMARKS(csv);
OUTPUT_BENCHMARKS(json);

}  // namespace
