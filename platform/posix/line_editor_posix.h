// The line editor of a POSIX terminal: libedit, with its keys of Emacs, cursor keys and a history.
#pragma once

#include <memory>

#include "ui/line_editor.h"

namespace kor {

// Makes an editor, which needs no terminal. Null when the system has no pseudo-terminal left.
std::unique_ptr<LineEditor> MakeSystemLineEditor();

} // namespace kor
