// Asks how many copies a drag with Shift leaves, and of which kind.
#pragma once

#include <QDialog>

#include "apps/studio/tools/edit_target.h"

class QRadioButton;

class CopyQuestion : public QDialog {
public:
    // canShare: copies of nodes may show the very object of what they copy.
    CopyQuestion(bool canShare, QWidget* parent);
    ToolCopies Copies() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    int m_count = 1;
    QRadioButton* m_shares = nullptr;
};
