// Builds scenes made of the fuzzer's bytes, nonsense included: every build ends with a status, and
// its items can be read whole and as instances.
#include "Dravin/build/dravin_build.h"
#include "Dravin/engine/build_input.h"
#include "fuzz/fuzz_file.h"
#include "host/base/log.h"
#include "host/scene/instance_source.h"
#include "tests/Dravin/build/random_scene.h"

namespace {

// Reads a few of the items in every form that outputs use.
void ReadResult(TDravinBuild& build) {
    Promise(build.Status() == TBuildStatus::kSuccess || build.Items().IsEmpty());
    size_t count = build.Items().Count(), step = count / 16 + 1;
    for (size_t i = 0; i < count; i += step) {
        TDravinItem item = build.Items().Item(i);
        Promise(item.specimenIndex >= 0 &&
                size_t(item.specimenIndex) < build.Input()->specimens.size());
    }
    if (count == 0) return;
    std::unique_ptr<IInstanceSource> source = build.MakeInstanceSource();
    std::vector<InstanceRecord> records(std::min<size_t>(source->NumInstances(), 16));
    source->GetInstances(0, records);
    for (const InstanceRecord& record : records)
        Promise(source->PrototypeMesh(record.prototype) != nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SetLogSink([](LogKind, const std::string&) {});
    ByteChoices choices({data, size});
    RandomScene scene(choices, true);
    TBuildFlags flags;
    flags.noMesh = true;
    for (bool render : {false, true}) {
        flags.render = render;
        flags.forceThreads = render ? 2 : 1;
        scene.object->Build().BuildMesh(0, flags);
        ReadResult(scene.object->Build());
    }
    return 0;
}
