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

#include "Dravin/effects/effect_parameters.h"
#include "common/pbstore/pb_store.h"
#include "host/params/hold.h"

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
    TEffectParameters& Parameters() { return m_parameters; }
    int Count() const { return m_effects.Count(); }
    std::string IdOf(int row) const;
    // By id, else by name, capitals or not; the first one, -1 for none.
    int Find(const std::string& idOrName) const;

    // --- the list; all refused while the editor or the browser is open
    // Appends an effect "Effect%d" and selects it; the row, or none when refused.
    std::optional<int> Add();
    bool Delete();
    bool MoveUp() { return Move(true); }
    bool MoveDown() { return Move(false); }

    // --- one effect, by its row; the windows do not mind
    void Rename(int row, const std::string& name);
    void SetEnabled(int row, bool on);
    // A definition, or plain program text, which then stands in one.
    void SetText(int row, const std::string& text);
    // The program of a definition.
    std::string Program(int row) const;
    // Takes a definition as a library offers it: its text, its title as the name, and those of its
    // parameters that the effect has none of that name for. One undo step.
    void TakeDefinition(int row, const std::string& text);

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
    void ClearTextures(const std::vector<int>& rows);

private:
    bool Move(bool up);
    bool IsRefused() const;
    std::optional<int> SelectedEffect() const;
    bool Toggle(int& index, int other, const char* otherOpen,
                const std::function<bool()>& canClose);
    void Mark() const {
        if (m_mark) m_mark();
    }

    std::shared_ptr<IParamBlock2> m_block;
    PBStore m_effects;
    TEffectParameters m_parameters;
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
