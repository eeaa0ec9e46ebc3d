// The window of an object that has none: everything is dropped, every question is cancelled.
#pragma once

#include "ui/form_dialog.h"

namespace kor {

// Lives as long as the program; any thread.
FormDialog& NoWindow();

} // namespace kor
