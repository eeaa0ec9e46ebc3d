// RecordLine: keeps what travels, both ways, in a file that people and scripts can read: "C" and
// what this side sent, "H" and what the host sent, up to 16 bytes a line in hexadecimal and, behind
// a bar, as text. A line ends after a carriage return; one that goes on begins with a blank.
//
//   C 58 59 5A 0D                                     | XYZ.
//
// Owned by main, used by one thread.
#pragma once

#include <memory>
#include <string>

#include "services/core/os_files.h"
#include "tools/nce_controller/line.h"

namespace kor::controller {

class RecordLine : public Line {
 public:
  // file: open for writing. inner outlives the line.
  RecordLine(Line& toUse, std::unique_ptr<OsFile> file);
  ~RecordLine() override { EndLine(); }
  RecordLine(const RecordLine&) = delete;
  RecordLine& operator=(const RecordLine&) = delete;

  Time Now() override { return inner.Now(); }
  LineState Read(std::string& to, Time until) override;
  LineState Write(std::string_view bytes, Time until, std::size_t& written) override;
  void Abandon() override { inner.Abandon(); }
  LineCounts Counts() const override { return inner.Counts(); }
  std::string FailureText() const override { return inner.FailureText(); }

 private:
  void Keep(char side, std::string_view bytes);
  void EndLine();

  Line& inner;
  std::unique_ptr<OsFile> file;
  char side = 0;
  bool goesOn = false; // the line at work continues the one before
  std::string bytes;   // of the line at work
};

} // namespace kor::controller
