#include "Dravin/panels/param_gesture.h"

#include "host/params/undo_step.h"

TParamGesture::TParamGesture(TPanel panel, TParamKey key)
    : m_panel(std::move(panel)), m_key(key), m_changed(TPanel::ChangedWith(key)) {
    for (ReferenceTarget* thing : m_panel.All()) {
        Before before{thing->shared_from_this(), m_panel.ShownNumberOf(*thing, key), {}};
        for (TParamKey changed : m_changed)
            before.elements.push_back(TPanel::TableOf(*thing, changed).GetElements(changed.id));
        m_before.push_back(std::move(before));
    }
}

void TParamGesture::Preview(double shown) {
    m_last.assign(m_before.size(), shown);
    Show();
}

void TParamGesture::PreviewOffset(double offset) {
    m_last.clear();
    for (const Before& before : m_before) m_last.push_back(before.shown + offset);
    Show();
}

void TParamGesture::Show() {
    if (!m_isOpen) return;
    HoldSuspender unrecorded(CurrentHold());
    PutBack();
    for (size_t i = 0; i < m_before.size(); ++i)
        m_panel.Assign(*m_before[i].thing, m_key, m_last[i]);
}

// Keys and all, as they stood at the beginning.
void TParamGesture::PutBack() {
    for (const Before& before : m_before)
        for (size_t i = 0; i < m_changed.size(); ++i) {
            ValueTable table = TPanel::TableOf(*before.thing, m_changed[i]);
            if (table.GetElements(m_changed[i].id) != before.elements[i])
                table.SetElements(m_changed[i].id, before.elements[i]);
        }
}

bool TParamGesture::Differs() const {
    for (const Before& before : m_before)
        for (size_t i = 0; i < m_changed.size(); ++i)
            if (TPanel::TableOf(*before.thing, m_changed[i]).GetElements(m_changed[i].id) !=
                before.elements[i])
                return true;
    return false;
}

void TParamGesture::Commit() {
    if (!m_isOpen) return;
    bool isChange = !m_last.empty() && Differs();
    Cancel();
    if (!isChange) return;
    UndoStep step(m_panel.StepName(m_key));
    for (size_t i = 0; i < m_before.size(); ++i)
        m_panel.Assign(*m_before[i].thing, m_key, m_last[i]);
}

void TParamGesture::Cancel() {
    if (!m_isOpen) return;
    HoldSuspender unrecorded(CurrentHold());
    PutBack();
    m_isOpen = false;
}
