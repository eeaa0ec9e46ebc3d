#include "link/running_upload.h"

#include <utility>

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr double kPatience = 60.0; // seconds without a line until the user is told

double Now() {
  return App().HighResolutionSeconds();
}

} // namespace

bool RunningUpload::Open(const KorText& path) {
  status.Board().SetFileName(path);
  return file.Open(path);
}

void RunningUpload::Begin(const KorText& newNote) {
  status.Board().SetBytesDone(0);
  note = newNote;
  moved = Now();
  standsStill = false;
  status.Enter(LinkStatus::Uploading, note);
}

void RunningUpload::Count(std::size_t bytes) {
  status.Board().AddBytesDone(static_cast<std::int64_t>(bytes));
  moved = Now();
  if (std::exchange(standsStill, false)) ShowNote();
}

bool RunningUpload::Commit() {
  if (file.IsOpen()) status.Board().SetBytesDone(static_cast<std::int64_t>(file.Size()));
  return file.Commit();
}

void RunningUpload::Watch() {
  if (standsStill || status.Code() != LinkStatus::Uploading) return;
  if (Now() - moved < kPatience) return;
  standsStill = true;
  ShowNote();
}

void RunningUpload::ShowNote() {
  status.ChangeNote(
      standsStill ? KorText::Format(LookUpText(kTexts.uploadStands), window.CancelName()) : note);
}

} // namespace kor
