// What users do with the list of effects, without a window: add, delete, reorder, open the editor
// or the library browser, and change parameters.
//
// The editor and the browser exclude each other, and while one of them is open the list keeps its
// rows. Every change marks the machines of the object for rebuilding. Messages go to the
// user-interface port. One thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "common/pbstore/pb_store.h"
#include "host/params/hold.h"

// A fresh effect id: 38 characters, braces around groups of 8, 4, 4, 4 and 12 lower-case
// hexadecimal digits, drawn from the C library's rand().
std::string MakeEffectId();

// One row of the parameter lists, column by column: what an undo step of the editor holds.
struct TEffectParameterRecord {
    std::string id, effectId, name, description;
    int kind = 0, numberKind = 1;
    bool limit = false;
    std::map<ParamID, ParamElement> values;  // by parameter: value, minimum, maximum, default, …
};

class TEffectCommands {
public:
    // block: the effect block of an object. mark: called after each change that needs new machines.
    explicit TEffectCommands(std::shared_ptr<IParamBlock2> block, std::function<void()> mark = {});

    PBStore& Rows() { return m_effects; }

    // --- the list; all refused while the editor or the browser is open
    // Appends an effect "Effect%d" and selects it; the row, or none when refused.
    std::optional<int> Add();
    bool Delete();
    bool MoveUp();
    bool MoveDown();

    // --- the windows
    // Opens the window on the selected effect or, when it is open, closes it. canClose: whether the
    // window agrees to close. True when its state changed.
    bool ToggleEditor(const std::function<bool()>& canClose = {});
    bool ToggleBrowser(const std::function<bool()>& canClose = {});
    int EditorIndex() const { return m_editor; }    // effect in the editor; -1: closed
    int BrowserIndex() const { return m_browser; }  // effect in the browser; -1: closed

    // --- parameters
    // Row of the parameter with this id; -1 when there is none.
    int FindParameter(const std::string& id) const;
    // Writes a parameter found by its id, or appends a row to every list.
    void AddOrUpdateParameter(const TEffectParameterRecord& record);
    TEffectParameterRecord ReadParameter(int row) const;
    // Shows the description of a parameter, titled with its name.
    void ShowDescription(int row) const;
    void ClearTexture(int row);

private:
    bool IsRefused() const;
    std::optional<int> SelectedEffect() const;
    bool Toggle(int& index, int other, const char* otherOpen,
                const std::function<bool()>& canClose);
    void Mark() const {
        if (m_mark) m_mark();
    }

    std::shared_ptr<IParamBlock2> m_block;
    PBStore m_effects, m_parameters;
    std::function<void()> m_mark;
    int m_editor = -1, m_browser = -1;
};

// Undo and redo of a parameter changed in the effects editor: the record goes to the editor, which
// applies it; without a running editor nothing happens.
class TEffParamRestore : public RestoreObj {
public:
    // apply: hands a record to the editor; returns false when none is running.
    using Apply = std::function<bool(const TEffectParameterRecord&)>;
    TEffParamRestore(TEffectParameterRecord before, TEffectParameterRecord after, Apply apply)
        : m_before(std::move(before)), m_after(std::move(after)), m_apply(std::move(apply)) {}
    void Restore(bool) override { m_apply(m_before); }
    void Redo() override { m_apply(m_after); }

private:
    TEffectParameterRecord m_before, m_after;
    Apply m_apply;
};

// The effects folders as the settings hold them: value name -> path.
struct TEffectsFolders {
    std::string library;  // shared by all users of the machine
    std::string user;
};
// Completes `values` and makes the folders that it names for the first time: "effects" inside
// dataFolder, "Dravin Pack/effects" inside documentsFolder. Folders that exist are no error. None
// with a reason when a folder cannot be made.
std::optional<TEffectsFolders> EffectsFolders(std::map<std::string, std::string>& values,
                                              const std::string& dataFolder,
                                              const std::string& documentsFolder,
                                              std::string* error);
