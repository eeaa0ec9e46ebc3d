// CommsLog: the communications trace (every line sent and received, with time stamps) and the job
// log (one dated line for each finished job). Both drop repeats against the text last written to
// either. Owned by DownloadApp. Any thread; lines stay whole and in order.
//
// No call waits for a disk: a thread of its own opens and writes the files, within some 10 ms. A
// line gets the time at which it was logged. When a disk is so slow that the next line finds no
// room, the trace ends there, so that it never has a gap, and a job line is lost; both are told.
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "files/simple_file.h"
#include "link/link_settings.h"
#include "link/side_thread.h"
#include "services/core/kor_text.h"
#include "services/core/thread_annotations.h"
#include "ui/form_dialog.h"

namespace kor {

// Whether a command may have a log written there: there is nothing, an empty file, or a trace or a
// job log already. A file that holds anything else, such as a program or the settings, must not be
// lost.
bool MayHoldLog(const KorText& path);

class CommsLog {
 public:
  enum class Replace { OnlyLogs, Anything };
  // What becomes of a text that equals the last logged one.
  enum class Repeated { Dropped, Traced };

  // Bytes that may wait for the disk. The last part is kept for job lines.
  static constexpr std::size_t kMostWaiting = 4 << 20, kMostTraceWaiting = 3 << 20;

  // tellFailure tells the user that a log can't be written, on any thread; a job log is told of
  // once until a line could be written again.
  CommsLog(SideThread& writerThread, std::function<void()> tellFailure);

  // Opens the trace (a running one is closed first) and writes its first line and the settings
  // header. When the file can't be written, or must not be replaced, that is told, and tracing is
  // off.
  void StartTrace(const KorText& path, const LinkSettings& settings, Replace replace);
  // Writes lastLine as a trace line and closes the trace; nothing when none is open.
  void StopTrace(const KorText& lastLine);
  bool IsTracing() const { return tracing != 0; }
  // The file of the trace that was started last, and the bytes that have been written to it.
  KorText TracePath();
  std::uint64_t TraceBytes() const { return traceBytes; }

  // Writes one trace line. The writer may sleep until it is woken: a reply goes out first.
  void Trace(const KorText& text, Repeated repeated);

  // Where job-log lines go, and whether any are written.
  void SetJobLog(const KorText& file, bool write);
  // One job-log line, dropped when equal to the last logged text.
  void LogJob(const EndedJob& job);

  // Written in front of each job-log line, right-aligned in eight columns.
  void SetJobTag(const KorText& tag);

 private:
  // These run on the writer's thread, which owns what they use.
  void OpenTrace(std::uint32_t number, const KorText& path, const LinkSettings& settings,
                 Replace replace, double now);
  void WriteTraceLine(const KorText& text, Repeated repeated, double now);
  void WriteHeader(const LinkSettings& settings);
  void WriteJobLine(const KorText& path, const KorText& tag, const EndedJob& job);

  // These run on any thread.
  void EndTrace(std::uint32_t number); // of a trace that can't be written; told once
  void TellJobFailure(bool isFailing);

  SideThread& writer;
  const std::function<void()> failed;
  std::atomic<std::uint32_t> tracing{0};   // the number of the trace that is wanted; 0: none
  std::atomic<std::uint32_t> toldTrace{0}; // the last one whose failure was told
  std::atomic<bool> jobFailureTold{false};
  Mutex mutex;
  std::uint32_t traces KOR_GUARDED_BY(mutex) = 0; // how many were started
  KorText jobFile KOR_GUARDED_BY(mutex);
  bool writeJobs KOR_GUARDED_BY(mutex) = false;
  KorText jobTag KOR_GUARDED_BY(mutex);
  KorText tracePath KOR_GUARDED_BY(mutex);
  std::atomic<std::uint64_t> traceBytes{0};

  // Owned by the writer's thread.
  std::unique_ptr<SimpleFile> trace;
  std::uint32_t openTrace = 0; // its number
  double startTime = 0;        // seconds of the high-resolution clock
  double previousOffset = 0;   // seconds since the start
  KorText lastLogged;
};

// Returns the time stamp of a trace line, "HH:MM:SS.ffffff (+S.ffffff)": t seconds since the start,
// d seconds since the line before.
KorText TraceStamp(double t, double d);

} // namespace kor
