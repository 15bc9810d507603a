// dravin_import FILE SECONDS BYTES ANIMATION ROOT...: reads a model by the import library under
// limits on processor time and address space, and writes it to standard output as a model stream,
// with the animation of that name (empty: the first). Files that the model names are opened only
// below the roots. Started by the host only.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>

#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <assimp/Importer.hpp>

#include "apps/dravin_import/converter.h"
#include "apps/dravin_import/guarded_files.h"
#include "host/base/text.h"
#include "host/io/import_helper.h"

namespace {

void LimitResources(rlim_t seconds, rlim_t bytes) {
    rlimit time{seconds, seconds + 1};
    setrlimit(RLIMIT_CPU, &time);
    rlimit core{0, 0};
    setrlimit(RLIMIT_CORE, &core);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // The sanitizers' shadow memory alone is larger than any sensible limit.
    rlimit space{bytes, bytes};
    setrlimit(RLIMIT_AS, &space);
#endif
}

// What helps with formats of which the library knows the older half only.
std::string Remedy(const std::string& ending) {
    if (ending == ".blend") return " (Blender's own files are read up to 2.7; glTF is read best)";
    return ending == ".fbx" ? " (FBX is read from 7.1, of 2011, on)" : "";
}

std::string ReadModel(const std::string& path, const std::string& animation,
                      const std::vector<std::string>& roots) {
    Assimp::Importer importer;
    importer.SetIOHandler(new GuardedFiles(roots));  // the importer owns it
    const aiScene* scene = importer.ReadFile(path, 0);
    // What is wrong with its animations is no reason to refuse a model: they are taken out while
    // the library looks for faults.
    aiAnimation** animations = nullptr;
    unsigned numAnimations = 0;
    if (auto* changed = const_cast<aiScene*>(scene)) {
        animations = std::exchange(changed->mAnimations, nullptr);
        numAnimations = std::exchange(changed->mNumAnimations, 0);
        scene =
            importer.ApplyPostProcessing(aiProcess_Triangulate | aiProcess_JoinIdenticalVertices |
                                         aiProcess_ValidateDataStructure);
    }
    if (auto* changed = const_cast<aiScene*>(scene)) {
        changed->mAnimations = animations;
        changed->mNumAnimations = animations ? numAnimations : 0;
    }
    std::string ending = path.substr(std::min(path.find_last_of('.'), path.size()));
    if (!scene && !importer.IsExtensionSupported(ending))
        return WriteFailureStream("no reader knows files ending in \"" + ending + "\"");
    // The library catches what its readers throw, and keeps the text.
    if (!scene && std::string(importer.GetErrorString()) == std::bad_alloc().what())
        throw std::bad_alloc();
    if (!scene) return WriteFailureStream(importer.GetErrorString() + Remedy(ending));
    return WriteModelStream(ConvertScene(path, *scene, animation));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) return 2;
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // an interrupted host leaves no reader behind
    LimitResources(rlim_t(ParseInteger(argv[2]).value_or(60)),
                   rlim_t(ParseInteger(argv[3]).value_or(1ll << 32)));
    std::string answer;
    try {
        answer = ReadModel(argv[1], argv[4], {argv + 5, argv + argc});
    } catch (const std::bad_alloc&) {
        return kHelperOutOfMemory;
    } catch (const std::exception& failure) {
        answer = WriteFailureStream(failure.what());
    }
    bool ok = std::fwrite(answer.data(), 1, answer.size(), stdout) == answer.size();
    return ok && std::fflush(stdout) == 0 ? 0 : 1;
}
