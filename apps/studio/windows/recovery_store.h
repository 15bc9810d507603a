// What sessions of the application leave for the case that they do not end well.
//
// Each session has a record in the state folder ("ID.session", JSON) and holds a lock ("ID.lock")
// as long as it lives. The record says which scene has changes and which copies of it were saved
// by themselves; it goes when nothing can be lost any more, and when the session ends. A record
// whose lock nobody holds is that of a crash. Copies lie beside their scene
// ("forest.autosave-2.json"), or in the state folder where the scene has no file yet or its folder
// takes none. One thread.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QDateTime>
#include <QImage>

class QLockFile;

inline constexpr int kMaxCopies = 5;  // of one scene

struct SceneCopy {
    std::string path;
    QDateTime saved;
    int numChanges = 0;  // that the scene's file does not have
};

struct LostSession {
    std::string id;
    std::string scene;              // its file; empty: never saved
    std::vector<SceneCopy> copies;  // newest first; those that are still there and hold something
    QImage picture;                 // of the view; null for none
    bool isSkipped = false;
};

// $XDG_STATE_HOME/dravin/studio, else below ~/.local/state.
std::string StudioStateFolder();

class RecoveryStore {
public:
    // Takes a lock in the folder, which is made where it is missing. Without one (Error() says
    // why) nothing can be recovered.
    explicit RecoveryStore(std::string folder);
    ~RecoveryStore();  // the session ends well
    const std::string& Error() const { return m_error; }
    const std::string& Folder() const { return m_folder; }

    // Where the next copy of a scene goes: a place that is free, else that of its oldest copy, but
    // none that a record of another session names.
    std::string NextCopy(const std::string& scene) const;
    // The copy has been written. False with a reason in `error`.
    bool Note(const std::string& scene, const SceneCopy& copy, const QImage& picture,
              std::string* error);
    // The scene is saved, or given up.
    void Forget();

    // Of sessions that did not end well; newest first.
    std::vector<LostSession> Lost(bool withSkipped) const;
    // Offered no more; its copies stay.
    void Skip(const std::string& id) const;
    // Recovered: its record goes.
    void Remove(const std::string& id) const;

private:
    std::string File(const std::string& id, const char* ending) const;
    std::vector<std::string> Ids() const;
    std::vector<std::string> Claimed() const;

    std::string m_folder, m_id, m_error;
    std::unique_ptr<QLockFile> m_lock;
    std::string m_scene;
    std::vector<SceneCopy> m_copies;  // newest first
};
