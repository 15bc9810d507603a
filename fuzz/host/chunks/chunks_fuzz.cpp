#include "fuzz/fuzz_file.h"
#include "host/chunks/chunk_reader.h"
#include "host/chunks/chunk_writer.h"

namespace {

constexpr ChunkFileKind kAnyFile{0x595A5A46, "fuzzed file", 1};

// Every chunk again: groups chunk by chunk, the others as bytes.
void Copy(ChunkReader& reader, ChunkWriter& writer) {
    reader.ForEachChunk([&](uint32_t id) {
        if (!reader.HoldsChunks() || reader.ChunkLength() == 0)
            return writer.WriteKept(reader.KeepChunk());
        writer.BeginChunk(id, reader.ChunkVersion());
        Copy(reader, writer);
        writer.EndChunk();
    });
}

// As a client reads that believes the ids.
void ReadTyped(ChunkReader& reader, size_t size) {
    reader.ForEachChunk([&](uint32_t id) {
        if (reader.HoldsChunks()) return ReadTyped(reader, size);
        std::vector<double> numbers;
        char record[16];
        switch (id % 5) {
            case 0:
                return Promise(reader.ReadText().size() <= size);
            case 1:
                reader.ReadArray(&numbers);
                return Promise(numbers.size() * sizeof(double) <= size);
            case 2:
                return void(reader.Read<bool>());
            case 3:
                return Promise(reader.ReadBytesUpTo(record, sizeof record) <= sizeof record);
            default:
                return reader.ReadBytes(record, sizeof record);
        }
    });
}

void Try(std::string_view bytes) {
    ChunkReader reader;
    ChunkWriter writer;
    std::string error;
    if (reader.OpenBytes(bytes, "input", kAnyFile)) {
        writer.OpenMemory({kAnyFile.id, kAnyFile.name, reader.FileVersion()});
        Copy(reader, writer);
        auto copy = writer.TakeBytes(&error);
        Promise(copy.has_value());
        if (reader.Finish()) Promise(*copy == bytes);
    }
    Promise(reader.Finish() == reader.Error().empty());
    reader.OpenBytes(bytes, "input", kAnyFile);
    ReadTyped(reader, bytes.size());
    Promise(reader.Finish() == reader.Error().empty());
}

}  // namespace

// What can be walked is written again byte for byte, and nothing that is read is larger than what
// was there. Once as it is, once behind a header that fits, which chance does not find.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    Try(bytes);
    ChunkWriter header;
    std::string error;
    header.OpenMemory(kAnyFile);
    std::string file = *header.TakeBytes(&error) + std::string(bytes);
    uint64_t whole = file.size();
    std::memcpy(file.data() + kFileHeaderBytes - sizeof whole, &whole, sizeof whole);
    Try(file);
    return 0;
}
