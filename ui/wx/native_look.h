// What of a native control's look the toolkit has no operation for. One source file per toolkit.
// Window's thread.
#pragma once

#include <wx/anybutton.h>
#include <wx/colour.h>
#include <wx/gauge.h>
#include <wx/notebook.h>
#include <wx/textctrl.h>

namespace kor {

// Before it has pages: its tabs are that high, in device-independent pixels.
void SetTabHeight(wxNotebook* book, int height);
// Before the book is shown: the width that its tabs need, and the height that it takes beside that
// of its pages. The toolkit reckons without the frames.
wxSize FrameOfBook(wxNotebook* book);
// The bar has that height, in device-independent pixels, whatever the theme's has, and these
// colours where the theme lets it have its own.
void StyleBar(wxGauge* gauge, int height, const wxColour& bar, const wxColour& trough);
// While the keyboard works elsewhere, a text that is too long is drawn shortened in the middle; its
// value stays whole.
void ShortenDrawing(wxTextCtrl* text);
// Where the words of a button stand: several lines in the middle, or one at the left.
void CentreLines(wxAnyButton* button);
void AlignLeft(wxAnyButton* button);
// Whether the desktop asks for texts in its own strong colours alone.
bool IsHighContrast();
// Shows what lies behind the text: it reads like a label, and can be selected and copied.
void BlendIn(wxTextCtrl* text);

// Turns animations off for the whole program: scrolling to each new line of a text would draw it
// sixty times a second.
void StopAnimations();

} // namespace kor
