// JobList: the jobs of the day, newest first: result, time, program, what was done. Each day begins a new
// list. Window's thread.
#pragma once

#include <wx/listbox.h>

#include "ui/form_dialog.h"

namespace kor {

class JobList : public wxListBox {
 public:
  static constexpr unsigned int kMostJobs = 1000; // the oldest goes
  explicit JobList(wxWindow* parent);
  void Add(const EndedJob& job);
  void BeginDay(const SystemTime& today); // nothing happens while it is the day of the list

 private:
  SystemTime day;
};

} // namespace kor
