#include "host/io/import_helper.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>

#include "host/io/bitmap.h"
#include "host/io/model_readers.h"
#include "host/io/model_stream.h"

namespace {

using Clock = std::chrono::steady_clock;

// The helper as a running process whose answer arrives through a pipe.
class Process {
public:
    ~Process() {
        if (m_answer >= 0) close(m_answer);
        if (m_pid > 0) Wait();
    }

    bool Start(const std::string& program, const std::vector<std::string>& arguments,
               std::string* error) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return *error = std::strerror(errno), false;
        m_answer = ends[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        int status = posix_spawn(&m_pid, program.c_str(), &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        if (status != 0) m_pid = -1;
        if (status != 0) *error = std::strerror(status);
        return status == 0;
    }

    // Collects the answer until the helper closes it. False at the deadline or beyond the limit.
    bool Collect(Clock::time_point deadline, uint64_t limit, std::string* answer,
                 std::string* error) {
        std::vector<char> buffer(1 << 20);
        while (true) {
            auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            pollfd wait{m_answer, POLLIN, 0};
            int ready = left.count() > 0 ? poll(&wait, 1, int(left.count())) : 0;
            if (ready < 0 && errno == EINTR) continue;
            if (ready <= 0) return Kill("it took too long", error);
            ssize_t n = read(m_answer, buffer.data(), buffer.size());
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return true;
            if (answer->size() + size_t(n) > limit) return Kill("it is too large", error);
            answer->append(buffer.data(), size_t(n));
        }
    }

    int Wait() {
        int status = 0;
        while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        m_pid = -1;
        return status;
    }

private:
    bool Kill(const char* reason, std::string* error) {
        kill(m_pid, SIGKILL);
        *error = reason;
        return false;
    }

    pid_t m_pid = -1;
    int m_answer = -1;
};

std::string DescribeEnd(int status) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) return "it took too long";
    if (WIFSIGNALED(status))
        return fmt::format("the reader crashed ({})", strsignal(WTERMSIG(status)));
    return fmt::format("the reader failed with status {}", WEXITSTATUS(status));
}

std::shared_ptr<BitmapTex> ToTexture(const std::string& path,
                                     const std::vector<StreamTexture>& textures,
                                     std::vector<std::string>* warnings) {
    if (textures.empty()) return nullptr;
    const StreamTexture& source = textures[0];
    std::shared_ptr<BitmapTex> map;
    if (source.bytes.empty()) {
        map = std::static_pointer_cast<BitmapTex>(TextureBeside(path, source.file, warnings));
    } else {
        std::string reason;
        auto image = ReadBitmapFromMemory(source.bytes, path + ": packed image", &reason);
        if (!image) return warnings->push_back(reason), nullptr;
        map = std::make_shared<BitmapTex>(ReadBitmap);
        map->SetImage(image);
    }
    if (!map) return nullptr;
    map->tiling = source.tiling, map->offset = source.offset;
    map->wrap = source.wrap == 1   ? BitmapTex::Wrap::kClamp
                : source.wrap == 2 ? BitmapTex::Wrap::kMirror
                                   : BitmapTex::Wrap::kTile;
    return map;
}

void ToImported(const std::string& path, StreamModel&& stream, ImportedModel* model) {
    std::vector<std::shared_ptr<Mtl>> materials;
    for (const StreamMaterial& source : stream.materials) {
        auto material = std::make_shared<StandardMtl>();
        material->name = source.name;
        material->diffuse = source.diffuse;
        material->opacity = source.opacity;
        material->twoSided = source.twoSided != 0;
        material->diffuseMap = ToTexture(path, source.diffuseMap, &model->warnings);
        material->opacityMap = ToTexture(path, source.opacityMap, &model->warnings);
        materials.push_back(material);
    }
    std::vector<std::shared_ptr<Mesh>> meshes;
    for (Mesh& mesh : stream.meshes) meshes.push_back(std::make_shared<Mesh>(std::move(mesh)));
    for (const StreamObject& object : stream.objects) {
        std::vector<std::shared_ptr<Mtl>> own;
        for (uint32_t m : object.materials) own.push_back(materials[m]);
        model->objects.push_back(
            {object.name, meshes[object.mesh], CombineMaterials(own), object.transform});
    }
}

bool IsProgram(const std::filesystem::path& path) { return access(path.c_str(), X_OK) == 0; }

}  // namespace

std::string FindImportHelper() {
    if (const char* named = std::getenv("DRAVIN_IMPORT_HELPER")) return named;
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&FindImportHelper), &info) && info.dli_fname) {
        std::error_code ignored;
        auto folder = std::filesystem::canonical(info.dli_fname, ignored).parent_path();
        for (const char* beside : {"dravin_import", "../libexec/dravin/dravin_import"})
            if (!folder.empty() && IsProgram(folder / beside)) return (folder / beside).string();
    }
    return IsProgram(DRAVIN_IMPORT_HELPER_BUILT) ? DRAVIN_IMPORT_HELPER_BUILT : "";
}

bool ReadByHelper(const std::string& path, const HelperLimits& limits, ImportedModel* model,
                  std::string* error) {
    std::string program = limits.program.empty() ? FindImportHelper() : limits.program;
    std::string reason, answer;
    auto fail = [&] {
        return *error = fmt::format("{}: cannot read the model: {}", path, reason), false;
    };
    if (program.empty()) return reason = "the program dravin_import is not installed", fail();

    Process process;
    auto deadline = Clock::now() + std::chrono::seconds(limits.seconds);
    if (!process.Start(
            program,
            {path, fmt::format("{}", limits.seconds), fmt::format("{}", limits.memoryBytes)},
            &reason))
        return fail();
    if (!process.Collect(deadline, limits.answerBytes, &answer, &reason)) return fail();
    if (int status = process.Wait(); status != 0) return reason = DescribeEnd(status), fail();

    std::optional<StreamModel> stream = ReadModelStream(answer, &reason);
    if (!stream) return fail();
    ToImported(path, std::move(*stream), model);
    return true;
}
