#include "apps/studio/command_form.h"

#include <cmath>

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QVBoxLayout>

#include "Dravin/panels/number_entry.h"
#include "apps/dravin/command_values.h"
#include "apps/studio/studio_session.h"
#include "host/scene/scene.h"

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

constexpr double kMostWhole = 9007199254740992;  // 2 to 53: all below are exact

// "1 2 3", "1, 2, 3" or "[1, 2, 3]"; each number may be an expression.
bool ReadNumbers(QString text, bool isInteger, std::vector<double>* numbers, std::string* error) {
    text.remove('[').remove(']');
    for (const QString& part : text.split(QRegularExpression("[,;\\s]+"), Qt::SkipEmptyParts)) {
        TNumberEntry entry;
        double number = 0;
        if (!entry.Parse(part.toStdString(), {false, 1, isInteger}, error)) return false;
        if (!entry.Apply(0, &number, error)) return false;
        if (isInteger && number != std::floor(number))
            return *error = "a whole number is expected", false;
        if (isInteger && std::abs(number) > kMostWhole)
            return *error = "the number is too large", false;
        numbers->push_back(number);
    }
    return true;
}

ParamInput AsInput(double number, bool isInteger) {
    return isInteger ? ParamInput(int64_t(number)) : ParamInput(number);
}

std::string TargetOf(StudioSession& session, const TCommand& command, Scene& scene) {
    if (command.target == TCommandTarget::kScene) return {};
    if (command.target == TCommandTarget::kNode) {
        std::vector<INode*> nodes = scene.Selection();
        if (nodes.empty()) nodes = session.Shown(scene).nodes;
        return nodes.empty() ? "" : nodes[0]->GetName();
    }
    TPanel panel = session.Panel(scene);
    for (INode* node : scene.Nodes())
        if (panel.Holds(*node)) return node->GetName();
    return {};
}

// As large as what it shows, and with bars where the screen is smaller.
class FormScroll : public QScrollArea {
public:
    FormScroll() {
        setWidgetResizable(true);
        setFrameShape(QFrame::NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    }
    QSize sizeHint() const override { return widget()->sizeHint(); }
};

}  // namespace

CommandForm::CommandForm(const TCommand& command, TArguments given, QWidget* parent)
    : QDialog(parent), m_command(command), m_given(std::move(given)) {
    setWindowTitle(Text(command.label.empty() ? command.name : command.label));
    auto* column = new QVBoxLayout(this);
    auto* meaning = new QLabel(Text(command.meaning));
    meaning->setWordWrap(true);
    column->addWidget(meaning);
    auto* form = new QFormLayout;
    for (const TArgumentInfo& info : command.arguments) {
        if (m_given.contains(info.name)) continue;
        QWidget* field;
        if (info.kind == TArgumentKind::kBool) {
            auto* box = new QCheckBox;
            box->setTristate(!info.isRequired);
            if (!info.isRequired) box->setCheckState(Qt::PartiallyChecked);
            field = box;
        } else if (!info.choices.empty()) {
            auto* box = new QComboBox;
            if (!info.isRequired) box->addItem("");
            for (const std::string& choice : info.choices) box->addItem(Text(choice));
            field = box;
        } else {
            field = new QLineEdit;
        }
        field->setObjectName(Text(info.name));
        field->setAccessibleName(Text(info.name));
        field->setToolTip(Text(info.meaning));
        QString title = Text(info.name).replace('_', ' ') + (info.isRequired ? " *" : "");
        form->addRow(title, field);
        auto* help = new QLabel(Text(info.meaning));
        help->setWordWrap(true);
        help->setEnabled(false);
        form->addRow("", help);
        m_fields.emplace_back(&info, field);
    }
    auto* fields = new QWidget;
    fields->setLayout(form);
    auto* scroll = new FormScroll;
    scroll->setWidget(fields);
    column->addWidget(scroll, 1);
    m_error = new QLabel;
    m_error->setObjectName("notice");
    m_error->setWordWrap(true);
    column->addWidget(m_error);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        TArguments ignored;
        if (Read(&ignored)) accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    column->addWidget(buttons);
    setMinimumWidth(400);
}

QWidget* CommandForm::FieldOf(const std::string& argument) const {
    for (const auto& [info, field] : m_fields)
        if (info->name == argument) return field;
    return nullptr;
}

bool CommandForm::ReadField(const TArgumentInfo& info, ParamInput* out, bool* isGiven,
                            std::string* error) {
    QWidget* field = FieldOf(info.name);
    if (auto* box = qobject_cast<QCheckBox*>(field)) {
        *isGiven = box->checkState() != Qt::PartiallyChecked;
        *out = ParamInput(box->checkState() == Qt::Checked);
        return true;
    }
    auto* choice = qobject_cast<QComboBox*>(field);
    QString text = choice ? choice->currentText() : qobject_cast<QLineEdit*>(field)->text();
    *isGiven = !text.isEmpty();
    if (!*isGiven) return true;
    std::vector<double> numbers;
    bool isInteger = info.kind == TArgumentKind::kInteger || info.kind == TArgumentKind::kIntegers;
    switch (info.kind) {
        case TArgumentKind::kInteger:
        case TArgumentKind::kReal:
            if (!ReadNumbers(text, isInteger, &numbers, error)) return false;
            if (numbers.size() != 1) return *error = "one number is expected", false;
            *out = AsInput(numbers[0], isInteger);
            return true;
        case TArgumentKind::kPoint:
        case TArgumentKind::kIntegers:
        case TArgumentKind::kReals: {
            if (!ReadNumbers(text, isInteger, &numbers, error)) return false;
            bool isPoint = info.kind == TArgumentKind::kPoint;
            if (isPoint && numbers.size() != 3) return *error = "x, y and z are expected", false;
            ParamInput::Array array;
            for (double number : numbers) array.push_back(AsInput(number, isInteger));
            *out = ParamInput(std::move(array));
            return true;
        }
        case TArgumentKind::kTexts: {
            ParamInput::Array array;
            for (const QString& part : text.split(',', Qt::SkipEmptyParts))
                array.push_back(ParamInput(part.trimmed().toStdString()));
            *out = ParamInput(std::move(array));
            return true;
        }
        case TArgumentKind::kValue: {
            // As the command line reads it: JSON, or else text.
            std::string name;
            TArguments parsed;
            std::string call = "x.y value=" + text.toStdString();
            if (!ParseCommandText(call, &name, &parsed, error)) return false;
            *out = parsed["value"];
            return true;
        }
        default:
            *out = ParamInput(text.toStdString());
            return true;
    }
}

bool CommandForm::Read(TArguments* arguments) {
    *arguments = m_given;
    for (const auto& [info, field] : m_fields) {
        ParamInput input;
        bool isGiven = false;
        std::string error;
        bool isFine = ReadField(*info, &input, &isGiven, &error);
        if (isFine && !isGiven && info->isRequired) error = "it is needed", isFine = false;
        if (!isFine) {
            m_error->setText(Text(info->name + ": " + error));
            field->setFocus();
            return false;
        }
        if (isGiven) (*arguments)[info->name] = std::move(input);
    }
    m_error->clear();
    return true;
}

void RunWithForm(StudioSession& session, const std::string& name, TArguments given,
                 QWidget* parent) {
    const TCommand* command = session.Commands().Find(name);
    if (!command) return;
    if (command->arguments.size() > given.size()) {
        CommandForm form(*command, given, parent ? parent->window() : nullptr);
        if (form.exec() != QDialog::Accepted || !form.Read(&given)) return;
    }
    RunOnSelection(session, name, given);
}

void RunOnSelection(StudioSession& session, const std::string& name, const TArguments& given) {
    const TCommand* command = session.Commands().Find(name);
    if (!command) return;
    auto target = std::make_shared<std::string>();
    session.Look([=, &session](Scene& scene) {
        *target = TargetOf(session, *command, scene);
        // After this look, in its turn.
        session.Run(name, *target, given, [=, &session](const TCommandResult& result) {
            std::string value = CommandValueText(result.value);
            if (result && !value.empty() && value != "null")
                session.told.Send(MessageLevel::kNote, name + ": " + value);
        });
    });
}
