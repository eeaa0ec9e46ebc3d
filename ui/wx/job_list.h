// JobList: the jobs of the day, newest first: result, time, program, what was done. Each day begins
// a new list. It shows the newest unless it was scrolled back, and then stays with what is read.
// Window's thread.
#pragma once

#include <vector>

#include <wx/listbox.h>
#include <wx/timer.h>

#include "ui/form_dialog.h"

namespace kor {

class JobList : public wxListBox {
 public:
  static constexpr unsigned int kMostJobs = 1000; // the oldest goes
  explicit JobList(wxWindow* parent);
  void Add(const EndedJob& job);
  // Below what has been added already; oldest first. Those of other days are left out.
  void AddEarlier(const std::vector<EndedJob>& jobs);
  void BeginDay(const SystemTime& today); // nothing happens while it is the day of the list

 private:
  void ShowNewest(int tries);
  void OnLayout();

  SystemTime day;
  wxTimer layoutTimer; // runs until a new row is laid out
  int triesLeft = 0;
};

} // namespace kor
