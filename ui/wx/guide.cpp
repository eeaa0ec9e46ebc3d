#include "ui/wx/guide.h"

#include <wx/stdpaths.h>
#include <wx/utils.h>

#include "services/core/app_interface.h"
#include "services/core/path_text.h"
#include "services/core/text_lookup.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

KorText FindGuide(const KorText& programFolder) {
  for (const char16_t* const name : {u"user-guide.html", u"user-guide.md"})
    for (const char16_t* const folder :
         {u"docs/", u"../share/doc/ncedl/", u"../share/doc/ncedl-doc/"}) {
      const KorText path = WithTrailingSlash(programFolder) + folder + name;
      if (App().FileExists(path)) return path;
    }
  return {};
}

} // namespace

KorText OpenGuideWith(const KorText& programFolder,
                      const std::function<bool(const KorText&)>& openFile) {
  const KorText guide = FindGuide(programFolder);
  if (guide.IsEmpty()) return LookUpText(kTexts.noGuide);
  const KorText path = App().AbsolutePath(guide);
  if (openFile(path)) return {};
  return LookUpText(kTexts.guideNotOpened) + u"\n" + path;
}

void OpenGuide() {
  const KorText refusal =
      OpenGuideWith(FolderOfPath(FromWx(wxStandardPaths::Get().GetExecutablePath())),
                    [](const KorText& path) { return wxLaunchDefaultApplication(ToWx(path)); });
  if (!refusal.IsEmpty())
    App().Report({MessageLevel::Warn, LookUpText(kTexts.help), refusal, {}, 0});
}

} // namespace kor
