#include "apps/studio/windows/action_keys.h"

#include <QAction>
#include <QSettings>

namespace {

QString SettingOf(const ActionKeys::Row& row) { return "keys/" + QString::fromStdString(row.name); }

}  // namespace

ActionKeys::ActionKeys(const std::map<std::string, QAction*>& actions) {
    QSettings settings;
    for (const auto& [name, action] : actions) {
        m_rows.push_back({name, action->iconText(), action, action->shortcuts()});
        QVariant keys = settings.value(SettingOf(m_rows.back()));
        if (keys.isValid())
            action->setShortcut(QKeySequence(keys.toString(), QKeySequence::PortableText));
    }
}

QString ActionKeys::KeysOf(size_t row) const {
    return QKeySequence::listToString(m_rows[row].action->shortcuts(), QKeySequence::NativeText);
}

bool ActionKeys::IsDefault(size_t row) const {
    return m_rows[row].action->shortcuts() == m_rows[row].defaults;
}

bool ActionKeys::IsFree(size_t row, const QList<QKeySequence>& keys, QString* error) const {
    for (size_t other = 0; other < m_rows.size(); ++other)
        for (const QKeySequence& key : keys) {
            if (other == row || !m_rows[other].action->shortcuts().contains(key)) continue;
            *error = key.toString(QKeySequence::NativeText) + " belongs to \"" +
                     m_rows[other].text + "\"; take it away there first";
            return false;
        }
    return true;
}

bool ActionKeys::Set(size_t row, const QKeySequence& keys, QString* error) {
    QList<QKeySequence> wanted;
    if (!keys.isEmpty()) wanted.append(keys);
    if (!IsFree(row, wanted, error)) return false;
    m_rows[row].action->setShortcuts(wanted);
    QSettings().setValue(SettingOf(m_rows[row]), keys.toString(QKeySequence::PortableText));
    return true;
}

bool ActionKeys::Reset(size_t row, QString* error) {
    if (!IsFree(row, m_rows[row].defaults, error)) return false;
    m_rows[row].action->setShortcuts(m_rows[row].defaults);
    QSettings().remove(SettingOf(m_rows[row]));
    return true;
}
