// StatusBoard: the one place of the link status, on which both threads keep what the status display
// shows, and whether that has changed. Owned by DownloadApp. Every operation may be called from any
// thread; the lamps are plain flags. A job is told without the board's lock, so that whoever only
// looks at the status does not wait for what is done with the job.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <vector>

#include "services/core/kor_text.h"
#include "services/core/thread_annotations.h"
#include "ui/form_dialog.h"

namespace kor {

class StatusBoard {
 public:
  // onJob receives each job whose line belongs in the job log, without a time, on the thread of
  // TellJobs.
  explicit StatusBoard(std::function<void(const EndedJob&)> onJob);

  // Counts even if unchanged: two jobs may end alike. The note tells beside the text what the user
  // should know of this state.
  void Set(LinkStatus code, const KorText& note = {});
  void SetNote(const KorText& text); // of the state as it is
  LinkStatus Code() const { return code.load(); }

  void SetFileName(const KorText& name);
  void SetMachine(const KorText& machine, bool serverRole);
  void SetLinkReason(const KorText& reason); // shown while there is no link
  void SetBytesDone(std::int64_t bytes) { Keep(bytesDone, bytes); }
  void AddBytesDone(std::int64_t bytes) { Keep(bytesDone, bytesDone + bytes); } // by one thread
  std::int64_t BytesDone() const { return bytesDone; }
  std::int64_t BytesTotal() const { return bytesTotal; }
  // Begins a transfer of so many bytes, of which none is done.
  void BeginBytes(std::int64_t total);
  // Sets position and range of the progress bar.
  void SetBar(std::int64_t position, std::int64_t range);

  void SetLamp(Lamp lamp, bool on) { Keep(lamps[lamp], on); }

  void ClearActivity() {
    SetLamp(kLampReceive, false);
    SetLamp(kLampWrite, false);
  }

  // Whether something is to be shown that was not, or may be, since TakeChange was last true.
  bool IsChanged() const { return changed; }
  bool TakeChange() { return changed.exchange(false); }
  void MarkChanged() { changed = true; }

  // Forms the status line and returns what is to be shown.
  StatusView TakeView();
  // Forms the line and tells the job when the code ends one, once each time the code was set. One
  // thread calls this after each Set of such a code.
  void TellJobs();

 private:
  template <class Value> void Keep(std::atomic<Value>& where, Value value) {
    if (where.exchange(value) != value) MarkChanged();
  }
  void FormLine() KOR_REQUIRES(mutex);
  std::vector<EndedJob> TakeJobs();

  std::function<void(const EndedJob&)> onJob;
  std::atomic<bool> changed{true};
  Mutex mutex;
  std::atomic<LinkStatus> code{LinkStatus::Waiting};
  std::atomic<std::uint32_t> timesSet{0};
  std::atomic<std::int64_t> bytesDone{0};
  std::atomic<std::int64_t> bytesTotal{0};
  std::atomic<std::int64_t> barPosition{0};
  std::atomic<std::int64_t> barRange{0};
  std::array<std::atomic<bool>, kLampCount> lamps{};
  StatusFacts facts KOR_GUARDED_BY(mutex);
  KorText line KOR_GUARDED_BY(mutex);
  KorText linkReason KOR_GUARDED_BY(mutex);
  KorText note KOR_GUARDED_BY(mutex);
  std::uint32_t toldTime KOR_GUARDED_BY(mutex) = 0; // timesSet when jobs were told last
};

} // namespace kor
