#include "app/corrupt_installation.h"

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

void ReportCorruptInstallation(const KorText& location) {
  MessageRecord record;
  record.level = MessageLevel::Fatal;
  record.info = LookUpText(kTexts.corruptInstallation);
  if (location.IsEmpty())
    record.message = LookUpText(kTexts.noWorkingFolder);
  else
    record.message = KorText::Format(LookUpText(kTexts.programPathsNotIn), location);
  record.details = LookUpText(kTexts.setupAdvice);
  App().Report(record);
}

} // namespace kor
