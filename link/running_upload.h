// RunningUpload: the upload that runs: its file, its status with the bytes that have come, and the
// word to the user when nothing comes any more. Owned by Exchange. Worker's thread.
#pragma once

#include <string_view>

#include "link/status_teller.h"
#include "link/upload_file.h"

namespace kor {

class RunningUpload {
 public:
  RunningUpload(StatusTeller& statusTeller, const FormDialog& formDialog)
      : status(statusTeller), window(formDialog) {}

  bool Open(const KorText& path); // safe write beside the target
  // The upload that was opened runs from now on; the note stands beside its status.
  void Begin(const KorText& note = {});
  bool IsOpen() const { return file.IsOpen(); }
  bool Write(std::string_view bytes) { return file.Write(bytes); } // false unless all were taken
  void Count(std::size_t bytes);                                   // that have come
  // The received program replaces the target. False when it could not be stored whole.
  bool Commit();
  void Discard() { file.Discard(); }
  // An upload whose end mark never comes waits for ever: whoever looks at the PC is told what to
  // do. Called after every poll.
  void Watch();

 private:
  void ShowNote(bool stands);

  StatusTeller& status;
  const FormDialog& window;
  UploadFile file;
  KorText note;             // beside the status
  double moved = 0;         // seconds, when it last brought something
  bool standsStill = false; // the user has been told so
};

} // namespace kor
