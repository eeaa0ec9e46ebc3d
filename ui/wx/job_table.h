// JobTable: lists the jobs of the day, newest first, and below the date those of the day before. A
// row shows result and direction as signs, then time, program, result in words, and bytes. Equal
// jobs each have a row. The table follows the newest job unless it was scrolled back; then the rows
// being read stay in place. Window's thread.
#pragma once

#include <deque>
#include <vector>

#include <wx/dataview.h>
#include <wx/panel.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "ui/form_dialog.h"

namespace kor {

class JobTable : public wxPanel {
 public:
  static constexpr std::size_t kMostJobs = 1000; // the oldest goes
  explicit JobTable(wxWindow* parent);

  void Add(const EndedJob& job);
  // Adds jobs, oldest first, below those that are there already. Only those of today and of the day
  // before are taken.
  void AddEarlier(const std::vector<EndedJob>& earlier);
  void BeginDay(const SystemTime& today); // nothing happens while it is the day of the table
  void ApplyLook();
  wxDataViewListCtrl& List() { return *list; }

 private:
  class Store;

  void MakeColumns();
  void FitColumns();
  void MakeRoomFor(const wxString& words, wxUIntPtr kind); // in the column of the results
  void Build();
  void TakeBackNoJobs();
  void Insert(unsigned row, const EndedJob& job);
  void InsertWords(unsigned row, const wxString& words, wxUIntPtr kind);
  bool IsOfToday(const EndedJob& job) const;
  std::size_t CountOfToday() const;
  void ShowCounts();
  void KeepPlace();

  SystemTime day;
  std::deque<EndedJob> jobs; // newest first
  wxStaticText* caption = nullptr;
  wxStaticText* counts = nullptr;
  wxDataViewListCtrl* list = nullptr;
  wxDataViewColumn* result = nullptr;
  wxTimer placeTimer;   // runs until a new row is laid out
  wxDataViewItem kept;  // that was on top before it
  int otherColumns = 0; // pixels of their width
  int widestResult = 0; // pixels
};

} // namespace kor
