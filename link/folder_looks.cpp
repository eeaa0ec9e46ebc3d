#include "link/folder_looks.h"

#include <algorithm>

#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr double kPatience = 5.0; // seconds

KorText AnswerTimer(int question) {
  return KorText::Format(u"DownloadApp::Answer %i", question);
}

} // namespace

void FolderLooks::Start() {
  for (SideThread& looker : lookers)
    looker.Start();
}

bool FolderLooks::Stop(std::chrono::steady_clock::time_point until) {
  bool ended = true;
  for (SideThread& looker : lookers)
    ended = looker.Stop(until) && ended;
  return ended;
}

void FolderLooks::Finish() {
  for (SideThread& looker : lookers)
    looker.Finish();
}

void FolderLooks::RunHere() {
  for (SideThread& looker : lookers)
    looker.RunHere();
}

bool FolderLooks::Add(const std::function<void()>& look) {
  return std::ranges::any_of(lookers, [&](SideThread& looker) { return looker.Add(1, look); });
}

int FolderLooks::Await(const std::function<void()>& refuse) {
  const int question = ++questions;
  ++unanswered;
  timers.Create(AnswerTimer(question), kPatience, App().HighResolutionSeconds(),
                TimerState::Started, [this, question, refuse] {
                  if (Take(question)) refuse();
                });
  return question;
}

bool FolderLooks::Take(int question) {
  if (!timers.IsStarted(AnswerTimer(question))) return false;
  timers.Delete(AnswerTimer(question));
  --unanswered;
  return true;
}

} // namespace kor
