// Commands of the table run from the window: where they take arguments, a form asks for them.
#pragma once

#include <QDialog>

#include "Dravin/commands/command_table.h"

class QFormLayout;
class QLabel;
class StudioSession;

// Runs the command on the panel's object, or the selected node. `given` is not asked for; a command
// that takes more opens a form.
void RunWithForm(StudioSession& session, const std::string& command, TArguments given,
                 QWidget* parent);
// The same without a form: what is not given keeps its default.
void RunOnSelection(StudioSession& session, const std::string& command, const TArguments& given);

// A field for each argument that is not given.
class CommandForm : public QDialog {
public:
    CommandForm(const TCommand& command, TArguments given, QWidget* parent);
    // The arguments as typed; false with the reason, shown in the form, when one is wrong.
    bool Read(TArguments* arguments);
    // The field of an argument, null for none.
    QWidget* FieldOf(const std::string& argument) const;

private:
    bool ReadField(const TArgumentInfo& info, ParamInput* out, bool* isGiven, std::string* error);

    const TCommand& m_command;
    TArguments m_given;
    std::vector<std::pair<const TArgumentInfo*, QWidget*>> m_fields;
    QLabel* m_error;
};
