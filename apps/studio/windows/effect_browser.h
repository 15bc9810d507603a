// The effects library browser: effects that ship with the product, the user's and those of all
// users, in folders, with pictures where there are any. Loads one into the effect that it was
// opened on, and saves that one.
#pragma once

#include <functional>
#include <string>

#include <QWidget>

#include "apps/studio/studio_session.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QStandardItemModel;

class EffectBrowser : public QWidget {
public:
    EffectBrowser(StudioSession& session, QWidget* parent);

    // The effect of that id is open.
    void Show(const INode& node, const std::string& effectId, const std::string& effectName);
    // Reads what the library holds.
    void Fill();
    void SetLibrary(int library);  // 0 shipped, 1 user, 2 shared
    void OpenFolder(const std::string& folder);
    QListView& List() { return *m_list; }
    QPushButton* Button(const char* name) const;

    // Called when the user closes the window.
    std::function<void()> onClose;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void AddEntry(const std::string& name, bool isFolder);
    void ShowChosen();
    void Load();
    void Save();
    void Rename();
    void MakeFolder();
    void Delete();
    void Call(const char* command, TArguments arguments, bool fills);
    // Path of the chosen entry in the library; empty: none.
    std::string Chosen() const;
    bool IsFolder() const;
    std::string Below(const std::string& name) const;
    const char* LibraryName() const;

    StudioSession& m_session;
    QComboBox* m_library;
    QLabel *m_path, *m_picture, *m_about;
    QLineEdit* m_filter;
    QListView* m_list;
    QStandardItemModel* m_model;
    NodeHandle m_node = 0;
    std::string m_effectId, m_effectName, m_folder;
};
