#include "ui/wx/guide.h"

#include <wx/stdpaths.h>
#include <wx/utils.h>

#include "services/core/app_interface.h"
#include "services/core/path_text.h"
#include "services/core/text_lookup.h"
#include "ui/wx/wx_text.h"

namespace kor {

KorText FindGuide(const KorText& programFolder) {
  for (const char16_t* const name : {u"user-guide.html", u"user-guide.md"})
    for (const char16_t* const folder :
         {u"docs/", u"../share/doc/ncedl/", u"../share/doc/ncedl-doc/"}) {
      const KorText path = WithTrailingSlash(programFolder) + folder + name;
      if (App().FileExists(path)) return path;
    }
  return {};
}

void OpenGuide() {
  const KorText guide = FindGuide(FolderOfPath(FromWx(wxStandardPaths::Get().GetExecutablePath())));
  if (!guide.IsEmpty() && wxLaunchDefaultApplication(ToWx(App().AbsolutePath(guide)))) return;
  App().Report({MessageLevel::Warn, LookUpText(kTexts.help), LookUpText(kTexts.noGuide), {}, 0});
}

} // namespace kor
