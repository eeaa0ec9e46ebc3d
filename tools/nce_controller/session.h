// Session: one conversation of the controller with the host over an open line. Each operation is
// one job of the controller's operator: line test, directory, download, upload, a line of one's
// own.
//
// Damage. Frames carry a length and an exclusive-or; nothing else on the line is protected: not
// requests, not acknowledgements, not directory pages, and the host takes an upload as it comes. A
// ">" that turns into "<" on its way repeats a frame, a "<" that turns into ">" skips one, and two
// damages of a frame can cancel each other. So a download in which damage was seen - a refused
// frame, a line that doesn't belong there - is never trusted alone: the program is fetched again
// until two transfers agree. With verify set, as for every run with made-up damage, this holds for
// clean transfers as well, and for directories; uploads are read back. Empty lines are out of its
// reach: the host never sends them, so one that damage adds to an upload or takes from it can't be
// seen.
//
// After a failure that damage can explain the job is begun again, at most `retries` times, each
// time after the line has been cleared and the line test has shown that both sides are in step. A
// host from which nothing at all has come for five time-outs is not there: that ends the job.
//
// Owned by main, used by one thread. The line outlives it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/nce_controller/frame.h"
#include "tools/nce_controller/line.h"
#include "tools/nce_controller/outcome.h"

namespace kor::controller {

struct SessionSettings {
  Time timeout = std::chrono::seconds(10); // silence after which an answer counts as missing
  Time byteTime{};                         // of the line; lengthens the waits that it makes longer
  int retries = 0;
  bool verify = false;
  bool sendsXon = false; // clearing the line begins with a byte 17, in case a 19 was made up
};

struct DirectoryReport {
  Verdict verdict;
  std::vector<DirectoryEntry> entries;
  int listings = 0; // how often it was asked for
};

struct FetchReport {
  Verdict verdict;
  std::string program;      // lines, each ended by LF
  std::int32_t number = 0;  // as the host named it
  std::uint64_t frames = 0; // of the transfer that counts
  int refusedFrames = 0;    // "<" sent, in all transfers
  int damagedFrames = 0;    // refused because of their length or checksum
  int transfers = 0;        // begun
  bool isConfirmed = false; // two transfers agreed
};

struct SendReport {
  Verdict verdict;
  std::uint64_t frames = 0;
  int repeatedFrames = 0; // answered with "<"
  int transfers = 0;
  bool isConfirmed = false; // read back and found equal
};

class Session {
 public:
  // Receives the bytes of the program that have passed by now.
  using Progress = std::function<void(std::uint64_t)>;

  Session(Line& line, const SessionSettings& settings);

  Verdict LineTest();
  // Repeats line tests until the host answers one. onSilence is called when the first one is not
  // answered.
  Verdict WaitForHost(Time atMost, const std::function<void()>& onSilence = {});
  DirectoryReport List();
  // number: what follows "FH ", usually digits.
  FetchReport Fetch(std::string_view number, const Progress& progress = {});
  // The host names an upload by its last download request, so the number is first asked for as a
  // download; whether the host has it doesn't matter. readBack: fetch the number afterwards and
  // compare; makes sense where the host's two folders are one.
  SendReport Send(std::string_view number, std::string_view program, bool readBack,
                  const Progress& progress = {});
  // Sends bytes and a carriage return, reads one line of answer. Neither is judged.
  Verdict Raw(std::string_view bytes, std::string& reply);
  Verdict ReadLine(std::string& reply);
  // Lets time pass, taking what arrives.
  Verdict Wait(Time span);

  // The next frames are refused this often although they are good, and must come again unchanged.
  void RefuseFrames(int times) { toRefuse = times; }
  const std::string& LastReply() const { return lastReply; }
  // Returns the bytes that arrived where nothing was expected, and were dropped.
  std::uint64_t StrayBytes() const { return strayBytes; }

  // Returns why a text can't stand in a request as a number; empty when it can.
  static std::string NumberObstacle(std::string_view number);

 private:
  struct Transfer; // one attempt at a download

  LineState Take(std::string& to, Time until); // as the line's Read
  Verdict TimedOut(std::string what) const;
  Verdict Put(std::string_view text);
  Verdict Get(std::string& reply, Time timeout);
  Verdict Get(std::string& reply) { return Get(reply, settings.timeout); }
  // Drops what nobody asked for, sends the request and takes the answer.
  Verdict Ask(std::string_view request, std::string& reply);
  Verdict Broken(LineState state) const; // Done while the line is open
  Verdict DropStray();
  // Drops what arrives until the line has been quiet for a while; dropped gets it.
  Verdict Settle(std::string& dropped);
  Verdict Resynchronise();
  Verdict ResynchroniseOnce();
  // Runs attempt until it is done, fails for good, or the retries are used up.
  Verdict Retry(int& left, const std::function<Verdict()>& attempt);

  Verdict TestOnce();
  Verdict ListOnce(std::vector<DirectoryEntry>& entries);

  Verdict FetchOnce(Transfer& transfer, FetchReport& report, const Progress& progress);
  enum class Purpose { Download, Upload };
  // Asks for a download. With verify, what rests on the answer alone - that there is no such
  // program, or the number of an upload - must be answered twice alike.
  Verdict RequestNumber(std::string_view number, const NumberForms& forms, DownloadReply& reply,
                        Purpose purpose);
  Verdict RequestOnce(std::string_view number, const NumberForms& forms, DownloadReply& reply);
  Verdict ReceiveFrames(Transfer& transfer, FetchReport& report, const Progress& progress);
  Verdict ReceiveFrame(std::string reply, Transfer& transfer, FetchReport& report,
                       std::string& block);
  // Drops what is left of a damaged frame. Fails when that held the end of the program.
  Verdict SettleDamage(const std::string& fault, Transfer& transfer, FetchReport& report);
  // Refuses a frame and gets what the host sends instead.
  Verdict RefuseFrame(const std::string& fault, int& refusals, std::string& reply);
  Verdict FinishDownload(bool isFrameAcknowledged);

  Verdict SendOnce(std::string_view number, const std::vector<std::string>& blocks,
                   SendReport& report, const Progress& progress);
  Verdict BeginUpload(std::string_view number);
  Verdict SendBlock(std::string_view block, SendReport& report);
  Verdict EndUpload();
  Verdict ReadBack(std::string_view number, std::string_view program);

  Time QuietTime() const; // a silence that shows that nothing more is coming
  Time GraceTime() const; // for an answer that may or may not come

  Line& line;
  const SessionSettings settings;
  std::string received; // bytes after the last line taken
  Time heard{};         // when something came last, or a job was begun
  std::string lastReply;
  std::uint64_t strayBytes = 0;
  int toRefuse = 0;
};

} // namespace kor::controller
