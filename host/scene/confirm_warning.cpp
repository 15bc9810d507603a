#include "host/scene/confirm_warning.h"

#include "host/scene/host_context.h"

bool ConfirmWarning(WarningQuestion& question, bool silently) {
    HostContext* session = HostContext::Current();
    if (!session || session->quiet || silently) return false;
    if (question.remembered) return *question.remembered;
    if (question.mayBeAsked && !question.mayBeAsked()) return false;
    bool never = false;
    QuestionKind kind = question.isNotice ? QuestionKind::kOk : QuestionKind::kYesNo;
    Answer answer = session->UserInterface().SuppressibleQuestion(question.text, question.caption,
                                                                  kind, &never);
    bool agrees = answer == Answer::kYes;
    if (never) question.remembered = agrees;
    return agrees;
}
