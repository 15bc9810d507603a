#include "host/io/import_helper.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/base/input_limit.h"
#include "host/base/program_part.h"
#include "host/base/text.h"
#include "host/io/bitmap.h"
#include "host/io/model_readers.h"
#include "host/io/model_rig.h"
#include "host/io/model_stream.h"

namespace {

using Clock = std::chrono::steady_clock;

// The helper as a running process, leader of a process group of its own, whose answer arrives
// through a pipe. Whatever way it ends, its group ends with it.
class Process {
public:
    ~Process() {
        if (m_answer >= 0) close(m_answer);
        if (m_pid > 0) kill(-m_pid, SIGKILL), Wait();
    }

    bool Start(const std::string& program, const std::vector<std::string>& arguments,
               std::string* error) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return *error = std::strerror(errno), false;
        m_answer = ends[0];
        fcntl(m_answer, F_SETFL, O_NONBLOCK);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
        posix_spawnattr_setpgroup(&attributes, 0);
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        int status =
            posix_spawn(&m_pid, program.c_str(), &actions, &attributes, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
        close(ends[1]);
        if (status != 0) m_pid = -1;
        if (status != 0) *error = std::strerror(status);
        return status == 0;
    }

    // Collects the answer until the helper ends or closes it. False at the deadline or beyond the
    // limit, and when nobody wants it any more. Another process may hold the pipe open for ever:
    // when the helper itself has ended, all that it wrote is there.
    bool Collect(Clock::time_point deadline, uint64_t limit, const ModelFiles& files,
                 std::string* answer, std::string* error) {
        constexpr int kLookMs = 50;  // how often it is asked whether the helper lives
        while (true) {
            bool hasEnded = HasEnded();
            if (hasEnded) kill(-m_pid, SIGKILL);
            bool isClosed = false;
            if (!Drain(limit, answer, &isClosed))
                return *error = fmt::format(
                           "its answer has more than {} bytes; a larger --input-limit helps",
                           limit),
                       false;
            if (isClosed || hasEnded) return true;
            if (files.IsCancelled()) return *error = "cancelled", false;
            if (Clock::now() >= deadline) return *error = "it took too long", false;
            pollfd wait{m_answer, POLLIN, 0};
            poll(&wait, 1, kLookMs);
        }
    }

    int Wait() {
        int status = 0;
        while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        m_pid = -1;
        return status;
    }
    // The status of a helper that has closed its answer; it is given until the deadline to end.
    int WaitUntil(Clock::time_point deadline) {
        while (!HasEnded() && Clock::now() < deadline) usleep(1000);
        kill(-m_pid, SIGKILL);
        return Wait();
    }

private:
    bool HasEnded() const {
        siginfo_t info{};
        return waitid(P_PID, id_t(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == m_pid;
    }
    // Takes what stands in the pipe. False when the answer goes beyond the limit.
    bool Drain(uint64_t limit, std::string* answer, bool* isClosed) {
        std::vector<char>& buffer = m_buffer;
        buffer.resize(1 << 20);
        while (true) {
            ssize_t n = read(m_answer, buffer.data(), buffer.size());
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return *isClosed = n == 0, true;
            if (answer->size() + size_t(n) > limit) return false;
            answer->append(buffer.data(), size_t(n));
        }
    }

    pid_t m_pid = -1;
    int m_answer = -1;
    std::vector<char> m_buffer;
};

std::string DescribeEnd(int status) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) return "it took too long";
    if (WIFSIGNALED(status))
        return fmt::format("the reader crashed ({})", strsignal(WTERMSIG(status)));
    return fmt::format("the reader failed with status {}", WEXITSTATUS(status));
}

std::shared_ptr<BitmapTex> ToTexture(ModelFiles& files, const std::vector<StreamTexture>& textures,
                                     const char* slot, ImportedMaterial* report) {
    if (textures.empty()) return nullptr;
    const StreamTexture& source = textures[0];
    std::shared_ptr<BitmapTex> map;
    if (source.bytes.empty()) {
        map = files.Texture(source.file, slot, report);
    } else {
        std::string reason;
        report->textures.push_back({slot, "embedded", true});
        std::string name = source.file.empty() ? "packed image" : source.file;
        auto image = files.PackedImage(source.bytes, name, &reason);
        if (!image) return files.Warn("texture left out: " + reason), nullptr;
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

std::shared_ptr<StandardMtl> ToMaterial(const StreamMaterial& source, ModelFiles& files) {
    auto material = std::make_shared<StandardMtl>();
    ImportedMaterial report;
    material->name = report.name = source.name;
    material->diffuse = source.diffuse;
    material->opacity = source.opacity;
    material->twoSided = source.twoSided != 0;
    material->vertexColors = true;
    material->diffuseMap = ToTexture(files, source.diffuseMap, "diffuse", &report);
    material->opacityMap = ToTexture(files, source.opacityMap, "opacity", &report);
    MendMaterial(*material, files);
    bool isOpaque = material->opacity == 1.0f && !material->opacityMap;
    report.alpha = isOpaque ? ImportedAlpha::kOpaque : ImportedAlpha::kBlend;
    files.Model().materials.push_back(std::move(report));
    return material;
}

void ToImported(StreamModel&& stream, ModelFiles& files) {
    ImportedModel& model = files.Model();
    model.up = UpAxis(stream.up);
    model.metresPerUnit = stream.metresPerUnit;
    for (const std::string& kind : stream.leftOut) files.LeaveOut(kind);
    std::vector<std::shared_ptr<Mtl>> materials;
    for (const StreamMaterial& source : stream.materials)
        materials.push_back(ToMaterial(source, files));
    std::vector<std::shared_ptr<Mtl>> ofObjects;
    for (const StreamObject& object : stream.objects) {
        std::vector<std::shared_ptr<Mtl>> own;
        for (uint32_t m : object.materials) own.push_back(materials[m]);
        ofObjects.push_back(CombineMaterials(own));
    }
    for (const StreamAnimation& a : stream.animations)
        model.animations.push_back({a.name, a.seconds, a.isRead != 0});
    auto rig = std::make_shared<ModelRig>(std::move(stream), std::move(ofObjects));
    model.objects = rig->Rest();
    if (rig->IsAnimated()) model.poses = rig;
}

// What a model of so many bytes can sensibly take to read, and unfold to.
HelperLimits LimitsFor(HelperLimits limits, const std::string& path) {
    constexpr uint64_t kLeastSeconds = 10, kBytesForSecond = 1 << 16;
    constexpr uint64_t kLeastMemory = 1 << 30, kMemoryForByte = 256;
    constexpr uint64_t kLeastAnswer = 256 << 20, kAnswerForByte = 64;
    std::string ignored;
    uint64_t fileBytes = RegularFileSize(path, &ignored).value_or(0);
    uint64_t seconds = kLeastSeconds + fileBytes / kBytesForSecond;
    limits.seconds = int(std::min<uint64_t>(uint64_t(limits.seconds), seconds));
    auto bytes = [&](uint64_t most, uint64_t least, uint64_t forByte) {
        uint64_t sensible = RaisedByInputLimit(std::min(most, least + forByte * fileBytes));
        return std::min<uint64_t>(sensible, INT64_MAX);
    };
    limits.memoryBytes = bytes(limits.memoryBytes, kLeastMemory, kMemoryForByte);
    limits.answerBytes = bytes(limits.answerBytes, kLeastAnswer, kAnswerForByte);
    return limits;
}

}  // namespace

std::string FindImportHelper() {
    return FindProgramPart(
        "DRAVIN_IMPORT_HELPER",
        {"dravin_import", "../libexec/dravin/dravin_import", "../../libexec/dravin/dravin_import",
         "../../../../libexec/dravin/dravin_import"},  // the last: of the Python package
        DRAVIN_IMPORT_HELPER_BUILT);
}

bool ReadByHelper(const HelperLimits& most, ModelFiles& files, ImportError* error) {
    HelperLimits limits = LimitsFor(most, files.Path());
    std::string program = limits.program.empty() ? FindImportHelper() : limits.program;
    std::string reason, answer;
    auto fail = [&](ImportFailure kind) {
        return FailImport(error, fmt::format("{}: cannot read the model: {}", files.Path(), reason),
                          kind);
    };
    if (program.empty()) {
        reason = "the program dravin_import is not installed";
        return fail(ImportFailure::kMissingInput);
    }
    Process process;
    auto deadline = Clock::now() + std::chrono::seconds(limits.seconds);
    std::vector<std::string> arguments{files.Path(), fmt::format("{}", limits.seconds),
                                       fmt::format("{}", limits.memoryBytes), files.Animation()};
    for (const std::filesystem::path& root : files.Roots()) arguments.push_back(root.string());
    if (!process.Start(program, arguments, &reason)) return fail(ImportFailure::kMissingInput);
    if (!process.Collect(deadline, limits.answerBytes, files, &answer, &reason))
        return fail(ImportFailure::kLimit);
    int status = process.WaitUntil(deadline);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kHelperOutOfMemory) {
        reason = fmt::format("it needs more than {} bytes of memory; a larger --input-limit helps",
                             limits.memoryBytes);
        return fail(ImportFailure::kLimit);
    }
    if (status != 0) return reason = DescribeEnd(status), fail(ImportFailure::kMalformed);

    std::optional<StreamModel> stream = ReadModelStream(answer, &reason);
    if (!stream) return reason = FirstLine(reason), fail(ImportFailure::kMalformed);
    ToImported(std::move(*stream), files);
    return true;
}
