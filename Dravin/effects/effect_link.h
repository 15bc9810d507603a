// What the effects editor and the library browser ask of the object that they work on.
//
// The windows hold a copy of one effect's parameters while they are open; the link hands values to
// and fro by ids, so that rows may have moved meanwhile. A call that finds its effect, parameter or
// node no more fails with kLinkError. One thread.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "Dravin/effects/effect_commands.h"

class Scene;

inline constexpr const char* kLinkError = "Internal Error";
inline constexpr const char* kNoConnection =
    "Error initializing Qt connection.\nPlease, contact with Tavu Software";
// What an integer field holds that has no value yet, and its text.
inline constexpr int32_t kUndefinedNumber = INT32_MIN;
std::string LinkNumberText(int32_t value);

class TQtLink {
public:
    struct Windows {
        std::string version, platform, renderer;  // what the windows are told
        std::function<bool()> connect;            // whether windows can be shown; none: yes
        std::function<void()> markAll;            // machines of all objects of the scene
    };
    // Both must outlive this.
    TQtLink(TEffectCommands& effects, Scene& scene, Windows windows);

    // False when there are no windows; the user is told.
    bool Connect();
    // "version", "platform" and "renderer".
    std::map<std::string, std::string> Description() const;

    // The name of a node, by its handle; the reason in `error` when there is none.
    std::optional<std::string> NodeName(uint32_t handle, std::string* error) const;
    // Sets a field of a node by its name: "name", or one of its user properties.
    bool SetNodeField(uint32_t handle, const std::string& field, const std::string& text,
                      std::string* error);

    // The parameters of an effect as a window edits them, in order; takes the present values, and
    // the present curves into their rows.
    bool Begin(const std::string& effectId, std::string* error);
    const std::vector<TEffectParameterRecord>& Values() const { return m_values; }
    // Forgets the values of what is being edited: integers are undefined, references none.
    void ResetValues();
    // Adds or updates one parameter, in one undo step.
    bool UpdateParameter(const TEffectParameterRecord& record, std::string* error);
    // The program or definition of the effect.
    bool UpdateText(const std::string& effectId, const std::string& text, std::string* error);
    // Curves of the owner go back into their parameters.
    void StoreCurves();
    // The next build of every object of the scene compiles its effects again.
    void MarkAll();

private:
    TEffectCommands& m_effects;
    Scene& m_scene;
    Windows m_windows;
    std::vector<TEffectParameterRecord> m_values;
};
