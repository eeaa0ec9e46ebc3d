#include "ui/state_words.h"

#include <algorithm>

#include "services/core/path_text.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

struct Row {
  LinkStatus status;
  Direction direction;
  UserText word;
  UserText advice;
};

using enum LinkStatus;
constexpr auto kNone = Direction::None, kOut = Direction::ToMachine, kIn = Direction::FromMachine;

// For states that are not listed there is nothing to do.
constexpr Row kRows[] = {
    {Waiting, kNone, kTexts.ready, kTexts.adviceReady},
    {LoopBackTest, kNone, kTexts.wordLineGood, kTexts.adviceLineTested},
    {DirectoryListing, kNone, kTexts.wordListing, kTexts.adviceListing},
    {ControllerOption, kNone, kTexts.ready, kTexts.adviceNothingToDo},
    {DownloadWaiting, kOut, kTexts.wordPreparing, kTexts.adviceBegins},
    {DownloadRequested, kOut, kTexts.wordPreparing, kTexts.adviceBegins},
    {UploadRequested, kIn, kTexts.wordPreparing, kTexts.adviceBegins},
    {DownloadPreparation, kOut, kTexts.wordPreparing, kTexts.adviceWaitsForMachine},
    {DownloadCantOpen, kOut, kTexts.wordNotFound, kTexts.adviceNotFound},
    {UploadCantOpen, kIn, kTexts.wordFailed, kTexts.adviceNotStored},
    {UploadPreparation, kIn, kTexts.wordPreparing, kTexts.adviceBegins},
    {Downloading, kOut, kTexts.wordSending, kTexts.adviceSending},
    {Uploading, kIn, kTexts.wordReceiving, kTexts.adviceReceiving},
    {DownloadErrors, kOut, kTexts.wordFailed, kTexts.adviceOnlyAPart},
    {UploadErrors, kIn, kTexts.wordFailed, kTexts.adviceNothingKept},
    {DownloadCancelled, kOut, kTexts.wordCancelled, kTexts.adviceOnlyAPart},
    {UploadCancelled, kIn, kTexts.wordCancelled, kTexts.adviceNothingKept},
    {DownloadCompleted, kOut, kTexts.wordSent, kTexts.adviceSent},
    {UploadCompleted, kIn, kTexts.wordReceived, kTexts.adviceReceived},
    {AutoloadCutting, kOut, kTexts.wordDone, kTexts.adviceNothingToDo},
    {LoopbackFailure, kNone, kTexts.wordNoAnswer, kTexts.adviceNoEcho},
    {LoopbackSuccess, kNone, kTexts.wordLineGood, kTexts.adviceEcho},
    {DirectoryError, kNone, kTexts.wordFailed, kTexts.adviceNoList},
    {OverRun, kNone, kTexts.wordDataLost, kTexts.adviceDataLost},
    {UnexpectedError, kOut, kTexts.wordFailed, kTexts.adviceNotAProgram},
    {FormatError, kOut, kTexts.wordFailed, kTexts.adviceNotAProgram},
    {ItemNotFound, kOut, kTexts.wordNotFound, kTexts.adviceNotFound},
};

Row RowOf(LinkStatus code) {
  const auto* const row = std::ranges::find(kRows, code, &Row::status);
  if (row != std::end(kRows)) return *row;
  switch (ActivityOf(code)) {
  case LinkActivity::NoLink:
    return {code, kNone, kTexts.wordNoLink, kTexts.adviceNothingToDo};
  case LinkActivity::Idle:
    return {code, kNone, kTexts.ready, kTexts.adviceNothingToDo};
  case LinkActivity::Busy:
    return {code, kNone, kTexts.wordBusy, kTexts.adviceNothingToDo};
  case LinkActivity::Done:
    return {code, kNone, kTexts.wordDone, kTexts.adviceNothingToDo};
  case LinkActivity::Cancelled:
  case LinkActivity::Failed:
    break;
  }
  return {code, kNone, kTexts.wordFailed, kTexts.adviceOtherComputer};
}

// Returns the signal by which the machine holds the line; empty when none does.
KorText HoldingSignal(const StatusView& view) {
  constexpr const char16_t* kSignals[] = {u"CTS", u"DSR", u"RLSD", u"XOFF"};
  for (std::size_t lamp = kLampCtsHold; lamp <= kLampXoffHold; ++lamp)
    if (view.lamps[lamp]) return kSignals[lamp - kLampCtsHold];
  return {};
}

KorText ReceiptAdvice(bool hasBegun) {
  return KorText::Format(hasBegun ? LookUpText(kTexts.adviceComplete)
                                  : LookUpText(kTexts.adviceStartSending),
                         LookUpText(kTexts.complete));
}

// Returns the advice for a running transfer by what moves; empty where the state's own line fits.
KorText RunningAdvice(const Situation& now) {
  const StatusView& view = now.view;
  if (!IsTransfer(view.code)) return {};
  const KorText signal = HoldingSignal(view), time = TimeText(now.pace.standing);
  if (now.pace.held && !signal.IsEmpty())
    return KorText::Format(LookUpText(kTexts.adviceHeld), signal, time);
  if (now.byHand && view.code == Uploading) return ReceiptAdvice(view.bytesDone > 0);
  if (now.byHand && view.bytesDone == 0) return LookUpText(kTexts.adviceWaitsForMachine);
  return now.pace.held ? KorText::Format(LookUpText(kTexts.adviceStands), time) : KorText();
}

bool HasFailed(LinkActivity activity) {
  return activity == LinkActivity::Failed || activity == LinkActivity::Cancelled;
}

} // namespace

bool IsFolderAway(const StatusView& view) {
  return view.code == DownloadCantOpen && !view.note.IsEmpty();
}

bool IsHeld(const Situation& now) {
  // While nobody has begun at the machine yet, the transfer is waiting and not held.
  const bool isWaiting = now.byHand && now.view.bytesDone == 0 && HoldingSignal(now.view).IsEmpty();
  return now.pace.held && !isWaiting;
}

Direction ShownDirection(LinkStatus code) {
  return RowOf(code).direction;
}

Tone ToneOf(const Situation& now) {
  if (IsHeld(now)) return Tone::Attention;
  switch (now.view.activity) {
  case LinkActivity::NoLink:
    return Tone::Attention;
  case LinkActivity::Idle:
    return Tone::Neutral;
  case LinkActivity::Busy:
    return Tone::Busy;
  case LinkActivity::Done: // with a note the program is not known to be whole
    return now.view.note.IsEmpty() ? Tone::Done : Tone::Attention;
  case LinkActivity::Cancelled:
  case LinkActivity::Failed:
    break;
  }
  return Tone::Failed;
}

KorText WordOf(const Situation& now) {
  return IsHeld(now) ? LookUpText(kTexts.wordHeld) : LookUpText(RowOf(now.view.code).word);
}

KorText ProgramOf(const StatusView& view) {
  return RowOf(view.code).direction == kNone ? KorText() : ProgramName(view.fileName);
}

KorText AdviceOf(const Situation& now) {
  const StatusView& view = now.view;
  if (view.code == NoLink) return view.reason;
  if (IsFolderAway(view) || (!view.note.IsEmpty() && !HasFailed(view.activity))) return view.note;
  KorText advice = RunningAdvice(now);
  if (advice.IsEmpty())
    advice = KorText::Format(LookUpText(RowOf(view.code).advice), FolderOfPath(view.fileName));
  return view.note.IsEmpty() ? advice : view.note + u" " + advice;
}

std::vector<KorText> AdviceSamples() {
  constexpr char16_t kFolder[] = u"/srv/nc/programs/", kTime[] = u"00:00";
  std::vector<KorText> samples{KorText::Format(LookUpText(kTexts.adviceHeld), u"XOFF", kTime),
                               KorText::Format(LookUpText(kTexts.adviceStands), kTime),
                               ReceiptAdvice(false), ReceiptAdvice(true)};
  for (const Row& row : kRows)
    samples.push_back(KorText::Format(LookUpText(row.advice), kFolder));
  return samples;
}

bool IsGood(const EndedJob& job) {
  return ActivityOf(job.code) == LinkActivity::Done && job.note.IsEmpty();
}

KorText ResultText(const EndedJob& job) {
  const bool isOut = ShownDirection(job.code) == kOut, isIn = ShownDirection(job.code) == kIn;
  const LinkActivity activity = ActivityOf(job.code);
  KorText text = LookUpText(RowOf(job.code).word);
  if (job.code == DownloadCompleted) text = LookUpText(kTexts.resultSent);
  if (job.code == UploadCompleted) text = LookUpText(kTexts.resultReceived);
  if (activity == LinkActivity::Cancelled)
    text = isIn ? LookUpText(kTexts.resultReceiptCancelled)
                : LookUpText(kTexts.resultSendingCancelled);
  if (activity == LinkActivity::Failed && isIn) text = LookUpText(kTexts.resultReceivingFailed);
  if (job.code == DownloadErrors || (isOut && job.code == FormatError))
    text = LookUpText(kTexts.resultSendingFailed);
  if (job.code == DirectoryError) text = LookUpText(kTexts.listingFailed);
  return job.note.IsEmpty() ? text : text + u" \u2013 " + job.note;
}

} // namespace kor
