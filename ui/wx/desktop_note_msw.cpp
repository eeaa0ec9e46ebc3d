#include "ui/wx/desktop_note.h"

#include <wx/notifmsg.h>

#include "ui/wx/wx_text.h"

namespace kor {

// The system takes it over.
void ShowDesktopNote(wxTopLevelWindow& window, const KorText& title, const KorText& text) {
  wxNotificationMessage(ToWx(title), ToWx(text), &window, wxICON_ERROR).Show();
}

} // namespace kor
