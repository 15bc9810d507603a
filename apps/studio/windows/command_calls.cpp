#include "apps/studio/windows/command_calls.h"

#include "apps/studio/command_form.h"
#include "host/scene/scene.h"

void RunNow(StudioSession& session, const std::string& command, NodeHandle target,
            TArguments arguments, StudioSession::CommandDone done) {
    session.Do([=, &session, arguments = std::move(arguments)](Scene& scene) {
        INode* node = target ? scene.FindHandle(target) : nullptr;
        TCommandResult result =
            session.Commands().Run(command, scene, node ? node->GetName() : "", arguments);
        for (const std::string& warning : result.warnings)
            session.told.Send(MessageLevel::kWarning, warning);
        if (!result) session.told.Send(MessageLevel::kError, result.error);
        if (done) done(result);
    });
}

void RunNowWithForm(StudioSession& session, const std::string& command, NodeHandle target,
                    TArguments given, QWidget* parent) {
    const TCommand* found = session.Commands().Find(command);
    if (!found) return;
    CommandForm form(*found, given, parent);
    if (form.exec() == QDialog::Accepted && form.Read(&given))
        RunNow(session, command, target, given);
}

ParamInput PlaceInput(const Point3& place) {
    ParamInput::Array numbers;
    for (int i = 0; i < 3; ++i) numbers.emplace_back(double(place[i]));
    return ParamInput(std::move(numbers));
}

std::vector<std::string> TextsOf(const ParamInput& value) {
    std::vector<std::string> texts;
    if (auto* array = std::get_if<ParamInput::Array>(&value.value))
        for (const ParamInput& element : *array)
            if (auto* text = std::get_if<std::string>(&element.value)) texts.push_back(*text);
    return texts;
}
