#include "host/params/edit_context.h"

EditContext& CurrentEdits() {
    thread_local EditContext edits;
    return edits;
}
