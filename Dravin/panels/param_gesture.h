// A number being dragged: things follow while the hand moves, and one undo step remains.
//
// Between, nothing is recorded, so that other steps may be made and taken back meanwhile without
// meeting a half-made one. One thread, the scene's, where its session is current.
#pragma once

#include <string>
#include <vector>

#include "Dravin/panels/panel_values.h"
#include "host/params/param_value.h"

class TParamGesture {
public:
    // The things stay alive as long as it does.
    TParamGesture(TPanel panel, TParamKey key);
    // What was previewed and not committed is taken back.
    ~TParamGesture() { Cancel(); }
    TParamGesture(const TParamGesture&) = delete;
    TParamGesture& operator=(const TParamGesture&) = delete;

    // The value as the control shows it, for all things.
    void Preview(double shown);
    // Adds to each thing's own value at the beginning.
    void PreviewOffset(double offset);
    // Makes what was previewed last one undo step; without a difference none.
    void Commit();
    // The things are as they were before.
    void Cancel();
    bool IsOpen() const { return m_isOpen; }

private:
    struct Before {
        std::shared_ptr<ReferenceTarget> thing;
        double shown = 0;
        std::vector<std::vector<ParamElement>> elements;  // of all that may change
    };
    bool Differs() const;
    void PutBack();
    void Show();

    TPanel m_panel;
    TParamKey m_key;
    std::vector<TParamKey> m_changed;
    std::vector<Before> m_before;
    std::vector<double> m_last;  // by object; empty: none shown yet
    bool m_isOpen = true;
};
