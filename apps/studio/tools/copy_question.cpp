#include "apps/studio/tools/copy_question.h"

#include <algorithm>
#include <cmath>

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QRadioButton>
#include <QTimer>

#include "apps/studio/panels/free_number.h"
#include "apps/studio/panels/number_field.h"

namespace {

constexpr double kMostCopies = 1000;

}  // namespace

CopyQuestion::CopyQuestion(bool canShare, QWidget* parent) : QDialog(parent) {
    setObjectName("copy_question");
    setWindowTitle("Copy");
    auto* form = new QFormLayout(this);
    if (canShare) {
        auto* copies = new QRadioButton("Copies, each with an object of its own");
        copies->setChecked(true);
        m_shares = new QRadioButton("Instances, which share the object");
        m_shares->setObjectName("copies_share");
        form->addRow(copies);
        form->addRow(m_shares);
    }
    auto field = std::make_shared<NumberField*>();
    FreeNumber number;
    number.name = "copies_count", number.help = "How many; each a step further than the one before";
    number.form.isInteger = true;
    number.bounded = [](double v) { return std::clamp(std::round(v), 1.0, kMostCopies); };
    number.set = [this, field](double v) {
        m_count = int(v);
        (*field)->Show(v, false, false, false);
    };
    number.reset = [set = number.set] { set(1); };
    *field = MakeFreeNumber(std::move(number));
    (*field)->Show(m_count, false, false, false);
    auto* label = new QLabel("Number");
    (*field)->AttachLabel(label);
    form->addRow(label, *field);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    (*field)->installEventFilter(this);
    (*field)->setFocus();
}

// Enter in the field answers, once the field has taken what was typed.
bool CopyQuestion::eventFilter(QObject* watched, QEvent* event) {
    auto* key = event->type() == QEvent::KeyPress ? static_cast<QKeyEvent*>(event) : nullptr;
    if (key && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter))
        QTimer::singleShot(0, this, [this, watched] {
            if (!watched->property("error").toBool()) accept();
        });
    return QDialog::eventFilter(watched, event);
}

ToolCopies CopyQuestion::Copies() const { return {m_count, m_shares && m_shares->isChecked()}; }
