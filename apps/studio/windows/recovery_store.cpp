#include "apps/studio/windows/recovery_store.h"

#include <algorithm>

#include <fmt/format.h>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSaveFile>
#include <QUuid>

namespace {

constexpr const char* kEnding = ".session";
constexpr int kKeptDays = 30;  // copies in the state folder that no record names

QString Text(const std::string& text) { return QString::fromStdString(text); }

QJsonObject ObjectOf(const SceneCopy& copy) {
    return {{"path", Text(copy.path)},
            {"saved", copy.saved.toUTC().toString(Qt::ISODateWithMs)},
            {"changes", copy.numChanges}};
}

SceneCopy CopyOf(const QJsonObject& object) {
    return {object["path"].toString().toStdString(),
            QDateTime::fromString(object["saved"].toString(), Qt::ISODateWithMs).toLocalTime(),
            object["changes"].toInt()};
}

std::optional<QJsonObject> ReadRecord(const std::string& path) {
    QFile file(Text(path));
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject()) return std::nullopt;
    return document.object();
}

// Whole or not at all.
bool WriteRecord(const std::string& path, const QJsonObject& record, std::string* error) {
    QSaveFile file(Text(path));
    bool isDone = file.open(QIODevice::WriteOnly) &&
                  file.write(QJsonDocument(record).toJson()) >= 0 && file.commit();
    if (!isDone) *error = fmt::format("{}: {}", path, file.errorString().toStdString());
    return isDone;
}

// Nobody holds the lock any more.
bool IsDead(const std::string& lockFile) {
    QLockFile lock(Text(lockFile));
    lock.setStaleLockTime(0);  // however old: only the end of its process frees it
    return lock.tryLock(0);
}

// A copy that is a file and holds something.
bool IsThere(const SceneCopy& copy) {
    QFileInfo file(Text(copy.path));
    return file.isFile() && file.size() > 0;
}

void RemoveOldCopies(const QString& folder, const std::vector<std::string>& claimed) {
    QDateTime oldest = QDateTime::currentDateTime().addDays(-kKeptDays);
    for (const QFileInfo& file : QDir(folder).entryInfoList({"*.autosave-?.*"}, QDir::Files)) {
        std::string path = file.filePath().toStdString();
        bool isClaimed = std::find(claimed.begin(), claimed.end(), path) != claimed.end();
        if (!isClaimed && file.lastModified() < oldest) QFile::remove(file.filePath());
    }
}

}  // namespace

std::string StudioStateFolder() {
    QString root = qEnvironmentVariable("XDG_STATE_HOME");
    if (!QDir::isAbsolutePath(root)) root = QDir::homePath() + "/.local/state";
    return (root + "/dravin/studio").toStdString();
}

RecoveryStore::RecoveryStore(std::string folder)
    : m_folder(std::move(folder)),
      m_id(QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString()) {
    if (!QDir().mkpath(Text(m_folder))) {
        m_error = fmt::format("the folder {} cannot be made", m_folder);
        return;
    }
    m_lock = std::make_unique<QLockFile>(Text(File(m_id, ".lock")));
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(0)) m_error = fmt::format("the folder {} cannot be written to", m_folder);
    RemoveOldCopies(Text(m_folder), Claimed());
}

RecoveryStore::~RecoveryStore() { Forget(); }

std::string RecoveryStore::File(const std::string& id, const char* ending) const {
    return m_folder + "/" + id + ending;
}

std::vector<std::string> RecoveryStore::Ids() const {
    std::vector<std::string> ids;
    QString pattern = QString("*") + kEnding;
    for (const QString& name : QDir(Text(m_folder)).entryList({pattern}, QDir::Files))
        ids.push_back(name.chopped(int(qstrlen(kEnding))).toStdString());
    return ids;
}

// The newest copy of each other session, living or lost.
std::vector<std::string> RecoveryStore::Claimed() const {
    std::vector<std::string> claimed;
    for (const std::string& id : Ids()) {
        auto record = id == m_id ? std::nullopt : ReadRecord(File(id, kEnding));
        if (record && !(*record)["skipped"].toBool())
            claimed.push_back(CopyOf((*record)["copies"].toArray()[0].toObject()).path);
    }
    return claimed;
}

std::string RecoveryStore::NextCopy(const std::string& scene) const {
    QFileInfo file(Text(scene));
    QFileInfo beside(file.absolutePath());
    bool isBeside = !scene.empty() && beside.isDir() && beside.isWritable();
    QString stem = isBeside ? file.absolutePath() + "/" + file.completeBaseName()
                   : scene.empty()
                       ? Text(m_folder + "/unsaved-" + m_id)
                       : Text(m_folder) + "/" + file.completeBaseName() + "-" + Text(m_id);
    QString ending = file.suffix().isEmpty() ? "json" : file.suffix();
    std::vector<std::string> claimed = Claimed();
    QString oldest;
    for (int n = 1; n <= kMaxCopies; ++n) {
        QFileInfo copy(QString("%1.autosave-%2.%3").arg(stem).arg(n).arg(ending));
        std::string path = copy.filePath().toStdString();
        if (std::find(claimed.begin(), claimed.end(), path) != claimed.end()) continue;
        if (!copy.exists()) return path;
        if (oldest.isEmpty() || copy.lastModified() < QFileInfo(oldest).lastModified())
            oldest = copy.filePath();
    }
    if (oldest.isEmpty()) return File(m_id, (".autosave-1." + ending.toStdString()).c_str());
    return oldest.toStdString();
}

bool RecoveryStore::Note(const std::string& scene, const SceneCopy& copy, const QImage& picture,
                         std::string* error) {
    if (scene != m_scene) m_copies.clear();
    m_scene = scene;
    std::erase_if(m_copies, [&](const SceneCopy& old) { return old.path == copy.path; });
    m_copies.insert(m_copies.begin(), copy);
    if (m_copies.size() > kMaxCopies) m_copies.pop_back();
    QJsonArray copies;
    for (const SceneCopy& each : m_copies) copies.append(ObjectOf(each));
    if (!picture.isNull()) picture.save(Text(File(m_id, ".png")));
    return WriteRecord(File(m_id, kEnding), {{"scene", Text(scene)}, {"copies", copies}}, error);
}

void RecoveryStore::Forget() {
    Remove(m_id);
    m_copies.clear();
}

std::vector<LostSession> RecoveryStore::Lost(bool withSkipped) const {
    std::vector<LostSession> found;
    for (const std::string& id : Ids()) {
        auto record = id == m_id ? std::nullopt : ReadRecord(File(id, kEnding));
        if (!record || !IsDead(File(id, ".lock"))) continue;
        LostSession lost{id,
                         (*record)["scene"].toString().toStdString(),
                         {},
                         QImage(Text(File(id, ".png"))),
                         (*record)["skipped"].toBool()};
        for (const QJsonValue& each : (*record)["copies"].toArray())
            if (SceneCopy copy = CopyOf(each.toObject()); IsThere(copy))
                lost.copies.push_back(std::move(copy));
        bool isOffered = withSkipped || !lost.isSkipped;
        if (isOffered && !lost.copies.empty()) found.push_back(std::move(lost));
    }
    std::sort(found.begin(), found.end(), [](const LostSession& a, const LostSession& b) {
        return a.copies[0].saved > b.copies[0].saved;
    });
    return found;
}

void RecoveryStore::Skip(const std::string& id) const {
    std::string error;
    auto record = ReadRecord(File(id, kEnding));
    if (!record) return;
    record->insert("skipped", true);
    WriteRecord(File(id, kEnding), *record, &error);
}

void RecoveryStore::Remove(const std::string& id) const {
    for (const char* ending : {kEnding, ".png"}) QFile::remove(Text(File(id, ending)));
}
