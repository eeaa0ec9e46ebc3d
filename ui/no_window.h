// The window of an object that has none. It drops everything and cancels every question.
#pragma once

#include "ui/form_dialog.h"

namespace kor {

// It lives as long as the program; any thread may call it.
FormDialog& NoWindow();

} // namespace kor
