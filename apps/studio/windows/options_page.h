// The user's options, saved at once, and what all objects of a session share: log level, freezing,
// density of point clouds.
#pragma once

#include <functional>
#include <vector>

#include <QWidget>

#include "Dravin/panels/option_list.h"
#include "host/base/signal.h"

class QFormLayout;
class Scene;
class StudioSession;

class OptionsPage : public QWidget {
public:
    explicit OptionsPage(StudioSession& session, QWidget* parent = nullptr);
    // The control of an option, by its key in the file; null for none.
    QWidget* ControlOf(const std::string& key) const;

private:
    // What a control shows, and what it asks for.
    struct Value {
        const char* name;
        const char* label;
        std::string help;
        TOptionKind kind;
        std::vector<const char*> choices;
        int min, max, standard;
        std::function<int()> read;  // while the scene is free
        std::function<void(int)> set;
    };
    static QFormLayout* AddGroup(QWidget* parent, const char* title);
    void Add(QFormLayout* form, Value value);
    QWidget* MakeControl(const Value& value, std::function<void(int)>* show);
    QWidget* MakeNumber(const Value& value, std::function<void(int)>* show);
    void AddShared(QFormLayout* form);
    Value OptionValue(const TOptionEntry& entry);
    void Show();

    StudioSession& m_session;
    std::vector<Connection> m_connections;
    std::vector<std::function<void()>> m_shows;  // each brings one control up to date
    bool m_isShowing = false;
};
