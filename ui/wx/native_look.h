// What of a native control's look the toolkit has no operation for. One source file per toolkit.
// Window's thread.
#pragma once

#include <wx/gauge.h>
#include <wx/notebook.h>
#include <wx/textctrl.h>

namespace kor {

// The bar has that height, in device-independent pixels, whatever the theme's has.
void SetBarHeight(wxGauge* gauge, int height);
// Before it has pages: its tabs are that high, in device-independent pixels.
void SetTabHeight(wxNotebook* book, int height);
// Before the book is shown: the width that its tabs need, and the height that it takes beside that
// of its pages. The toolkit reckons without the frames.
wxSize FrameOfBook(wxNotebook* book);
// Shows what lies behind the text: it reads like a label, and can be selected and copied.
void BlendIn(wxTextCtrl* text);

// Turns animations off for the whole program: scrolling to each new line of a text would draw it
// sixty times a second.
void StopAnimations();

} // namespace kor
