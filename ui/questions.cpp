#include "ui/questions.h"

#include "services/core/text_lookup.h"

namespace kor {

namespace {

// Returns the number of the program that is being transferred; empty where none of it has come yet.
KorText ProgramUnderWay(const StatusView& view) {
  return IsTransfer(view.code) ? ProgramName(view.fileName) : KorText();
}

KorText KeepRunning(const StatusView& view) {
  return view.code == LinkStatus::Uploading ? LookUpText(kTexts.keepReceiving)
                                            : LookUpText(kTexts.keepSending);
}

KorText EndText(const StatusView& view) {
  const KorText name = ProgramUnderWay(view);
  if (name.IsEmpty()) return LookUpText(kTexts.endTransferQuestion);
  const KorText text = view.code == LinkStatus::Uploading ? LookUpText(kTexts.endReceivingQuestion)
                                                          : LookUpText(kTexts.endSendingQuestion);
  return KorText::Format(text, name);
}

} // namespace

Question EndQuestion(const StatusView& running) {
  return {EndText(running), KeepRunning(running), LookUpText(kTexts.endTransfer)};
}

Question CloseQuestion(const StatusView& now) {
  const KorText end = LookUpText(kTexts.endProgram);
  const KorText idle = LookUpText(kTexts.endProgramQuestion);
  if (!IsExchange(now.code)) return {idle, LookUpText(kTexts.keepServing), end};
  const KorText after = LookUpText(kTexts.programEndsToo);
  return {EndText(now) + u"\n" + after, KeepRunning(now), end};
}

Question LoopbackQuestion() {
  return {LookUpText(kTexts.loopbackQuestion), LookUpText(kTexts.cancel),
          LookUpText(kTexts.startTest)};
}

bool IsSameExchange(const StatusView& asked, const StatusView& now) {
  if (!IsExchange(asked.code) || !IsExchange(now.code))
    return IsExchange(asked.code) == IsExchange(now.code);
  return asked.fileName == now.fileName;
}

} // namespace kor
