// CommsLog: the communications trace (every line sent and received, with time stamps) and the job log
// (one dated line for each finished job). Both drop repeats against the text last written to either.
// Owned by DownloadApp. Any thread; single lines stay whole. Every line reaches the operating system
// when it is written.
#pragma once

#include <memory>

#include "files/simple_file.h"
#include "link/link_settings.h"
#include "services/core/kor_text.h"
#include "services/core/thread_annotations.h"

namespace kor {

class CommsLog {
 public:
  // Opens the trace (a running one is closed first) and writes its first line and the settings header.
  // False when the file can't be written; tracing is then off.
  bool StartTrace(const KorText& path, const LinkSettings& settings);
  // Writes lastLine as a trace line and closes the trace; nothing when none is open.
  void StopTrace(const KorText& lastLine);
  bool IsTracing() const;

  // One trace line. Without force, a text equal to the last logged one is dropped.
  void Trace(const KorText& text, bool force);

  // Where job-log lines go, and whether any are written.
  void SetJobLog(const KorText& file, bool write);
  // One job-log line, dropped when equal to the last logged text. False when the file can't be
  // written; true when nothing was to be done.
  bool LogJob(const KorText& statusLine);

  // Written in front of each job-log line, right-aligned in eight columns.
  void SetJobTag(const KorText& tag);

 private:
  void WriteTraceLine(const KorText& text, bool force) KOR_REQUIRES(mutex);
  void WriteHeader(const LinkSettings& settings) KOR_REQUIRES(mutex);
  void CloseTrace(const KorText& lastLine) KOR_REQUIRES(mutex);

  Mutex jobMutex; // taken before the other: while a job line is written nothing else has to wait
  mutable Mutex mutex;
  std::unique_ptr<SimpleFile> trace KOR_GUARDED_BY(mutex);
  double startTime KOR_GUARDED_BY(mutex) = 0;      // seconds of the high-resolution clock
  double previousOffset KOR_GUARDED_BY(mutex) = 0; // seconds since the start
  KorText lastLogged KOR_GUARDED_BY(mutex);
  KorText jobFile KOR_GUARDED_BY(mutex);
  bool writeJobs KOR_GUARDED_BY(mutex) = false;
  KorText jobTag KOR_GUARDED_BY(mutex);
};

// The time stamp of a trace line: t seconds since the start, d seconds since the line before, as
// "HH:MM:SS.ffffff (+S.ffffff)".
KorText TraceStamp(double t, double d);

} // namespace kor
