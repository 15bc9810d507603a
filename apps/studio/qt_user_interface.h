// The user-interface port with windows: boxes, questions, file pickers, forms of one line.
//
// Any thread may call; where it is not the window's, it waits for the answer.
#pragma once

#include <memory>

#include "host/scene/user_interface.h"

class QWidget;

// parent: of the boxes; must outlive the port.
std::unique_ptr<IUserInterface> MakeQtUserInterface(QWidget* parent);
