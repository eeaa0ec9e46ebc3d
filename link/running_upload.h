// RunningUpload: the file of the upload that runs, its status and byte counter, and the note that
// tells the user when the controller has stopped sending. Owned by Exchange. Worker's thread.
#pragma once

#include <string_view>

#include "link/status_teller.h"
#include "link/upload_file.h"

namespace kor {

class RunningUpload {
 public:
  RunningUpload(StatusTeller& statusTeller, const FormDialog& formDialog)
      : status(statusTeller), window(formDialog) {}

  bool Open(const KorText& path); // Writes beside the target.
  // Shows the opened upload as running, with the note beside its status.
  void Begin(const KorText& note = {});
  bool IsOpen() const { return file.IsOpen(); }
  bool Write(std::string_view bytes) { return file.Write(bytes); } // False unless all were taken.
  void Count(std::size_t bytes);                                   // Adds received bytes.
  // Replaces the target by the received program. Returns false if it was not stored whole.
  bool Commit();
  void Discard() { file.Discard(); }
  // Called after every poll. An upload whose end mark never comes would wait for ever, so after a
  // minute of silence the note says what to do.
  void Watch();

 private:
  void ShowNote(); // the one that fits standsStill

  StatusTeller& status;
  const FormDialog& window;
  UploadFile file;
  KorText note;             // beside the status
  double moved = 0;         // time of the last bytes, in seconds
  bool standsStill = false; // The note says that nothing comes.
};

} // namespace kor
