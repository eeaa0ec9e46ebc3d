#include "app/corrupt_installation.h"

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

void ReportCorruptInstallation(const KorText& location) {
  MessageRecord record;
  record.level = MessageLevel::Fatal;
  record.info = LookUpText(15324, u"Corrupt Installation");
  if (location.IsEmpty())
    record.message = LookUpText(
        15327, u"Unable to locate Program Paths\n\nWorking directory has not been setup.");
  else
    record.message =
        KorText::Format(LookUpText(15326, u"Unable to locate Program Paths in\n\n%s"), location);
  record.details =
      LookUpText(15478, u"ncedl-setup --main FOLDER makes the folders and their list, KOR.INI");
  App().Report(record);
}

} // namespace kor
