#include "ui/wx/program_icon.h"

#include <wx/iconbndl.h>

namespace kor {

// Of the program's resources, in all sizes.
void SetProgramIcon(wxTopLevelWindow& window) {
  window.SetIcons(wxIconBundle("A_NCEDL", nullptr));
}

} // namespace kor
