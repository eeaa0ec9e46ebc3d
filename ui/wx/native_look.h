// Changes to the look of native controls for which the toolkit has no operation. Each toolkit has
// its own source file. Window's thread.
#pragma once

#include <wx/anybutton.h>
#include <wx/colour.h>
#include <wx/dataview.h>
#include <wx/gauge.h>
#include <wx/notebook.h>
#include <wx/textctrl.h>

namespace kor {

// Sets the height of the tabs in device-independent pixels. Call this before the book has pages.
void SetTabHeight(wxNotebook* book, int height);
// Returns the width that the tabs need, and the height that the book takes in addition to its
// pages. The toolkit's own figures leave out the frames. Call this before the book is shown.
wxSize FrameOfBook(wxNotebook* book);
// Gives the bar this height, in device-independent pixels, whatever the theme says, and these
// colours where the theme allows it.
void StyleBar(wxGauge* gauge, int height, const wxColour& bar, const wxColour& trough);
// Draws a text that is too long shortened in its middle, except while it has the keyboard. Its
// value stays whole.
void ShortenDrawing(wxTextCtrl* text);
// These place the words of a button: several lines centred, or one line at the left.
void CentreLines(wxAnyButton* button);
void AlignLeft(wxAnyButton* button);
// Returns whether the desktop asks for texts only in its own high-contrast colours.
bool IsHighContrast();
// Lays out and paints the table anew. The toolkit may not notice that it has become higher.
void LayOutAgain(wxDataViewCtrl* table);
// Lets the ground behind the text show, so that it looks like a label but can be selected and
// copied.
void BlendIn(wxTextCtrl* text);

// Turns animations off for the whole program: scrolling to each new line of a text would draw it
// sixty times a second.
void StopAnimations();

} // namespace kor
