// The toolbar "Dravin Pack": its buttons, what they do, and when it is there.
//
// It stands beside the scene from the host's start on. The same actions are offered to whoever
// assigns menus and shortcuts. Windows are drawn by who shows the toolbar; it remembers its place
// in the layout file. One thread.
#pragma once

#include <array>
#include <string>

#include "host/base/signal.h"
#include "host/params/reference.h"
#include "host/scene/plugin_loader.h"

struct ToolbarAction {
    const char* name;  // of the button and in lists of actions
    const char* tooltip;
};

class TDToolbar : public ReferenceTarget {
public:
    static constexpr int kNumButtons = 4;
    static constexpr const char* kTitle = "Dravin Pack";
    static constexpr const char* kLayoutFile = "dravinpack_toolbar.ini";
    static constexpr const char* kLayoutSection = "dptoolbar";
    static constexpr int kWidth = 250, kHeight = 100;  // pixels, without a stored layout

    enum Action : int { kCreateDravin = 0, kCreateLod = 1, kOpenTools = 2, kOpenLibrary = 3 };
    static const std::array<ToolbarAction, kNumButtons>& Actions();

    // The host's user interface is ready: the toolbar appears. False where it is there already, or
    // the machine's settings forbid it ("DisableToolbars").
    bool Create();
    // The user interface goes.
    void Destroy();
    bool IsShown() const { return m_isShown; }
    Signal<bool> shown;

    // Runs a button's command; the library is opened by who listens to `libraryWanted`. False for
    // no such action, and where nothing in the session does it.
    bool Execute(int action);
    Signal<> libraryWanted;

    static constexpr ClassInfo kClass{{0x3d1c0123, 0x52a7}, kGlobalUtilityClass, "Dravin Toolbar"};
    ClassInfo Class() const override { return kClass; }
    // The copy is not shown.
    std::shared_ptr<ReferenceTarget> Clone(CloneMap&) const override {
        return std::make_shared<TDToolbar>();
    }

private:
    bool m_isShown = false;
};
