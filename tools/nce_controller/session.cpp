#include "tools/nce_controller/session.h"

#include <algorithm>
#include <utility>

#include "link/port/serial_port.h"
#include "tools/nce_controller/program_text.h"

namespace kor::controller {
namespace {

using namespace std::chrono_literals;

constexpr char kReturn = '\r';
constexpr std::size_t kLongestLine = 1U << 16; // bytes; the host's longest frame is well below
constexpr int kResynchroniseTries = 5;
constexpr int kSilencesOfTheGone = 5;
constexpr Time kPollTime = 500ms; // between two line tests while waiting for a host

std::string Seconds(Time span) {
  const auto tenths = std::chrono::duration_cast<std::chrono::milliseconds>(span).count() / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

Verdict Unexpected(std::string_view reply, std::string_view expected) {
  return Verdict::Failed(Outcome::Fault, "the host answered \"" + Printable(reply) +
                                             "\", expected " + std::string(expected));
}

// The answer to a line test that an upload takes for one of its lines.
constexpr std::string_view kTooShort = "<";

Verdict UploadUnderWay() {
  return Verdict::Failed(Outcome::Fault, "the host is in an upload that was never ended; "
                                         "\"--wait-host 0 raw ]\" ends it and stores what came");
}

Verdict NoAgreement() {
  return Verdict::Failed(Outcome::Fault, "no two transfers agree");
}

bool IsRefusal(std::string_view reply) {
  return reply.starts_with("%%");
}

// An answer that isn't the awaited one: a refusal, or no line of the protocol.
Verdict Rejected(std::string_view reply, std::string_view expected) {
  if (!IsRefusal(reply)) return Unexpected(reply, expected);
  Verdict verdict = Verdict::Failed(Outcome::Refused, Printable(reply));
  verdict.mayRetry = reply == kNotRecognised; // what was sent is known to be right
  return verdict;
}

// The start-of-transmission code that a host may send before its answer.
std::string_view WithoutLeadingControls(std::string_view reply) {
  while (!reply.empty() && static_cast<unsigned char>(reply.front()) < 32)
    reply.remove_prefix(1);
  return reply;
}

bool Contains(const std::vector<std::string>& texts, std::string_view text) {
  return std::ranges::find(texts, text) != texts.end();
}

// Whether one of the lines in dropped bytes shows that the host has ended the transfer.
bool HoldsEnd(std::string_view dropped) {
  const std::string lines = kReturn + std::string(dropped);
  return lines.find("\r]\r") != lines.npos || lines.find("\rUDL>\r") != lines.npos;
}

} // namespace

Session::Session(Line& toUse, const SessionSettings& toKeep) : line(toUse), settings(toKeep) {}

std::string Session::NumberObstacle(std::string_view number) {
  if (number.empty()) return "is empty";
  if (number.front() == ' ' || number.back() == ' ') return "starts or ends with a blank";
  if (std::ranges::any_of(number, [](char c) { return c < 32 || c > 126; }))
    return "holds a character that does not travel in a request";
  for (const char* word : {"~", "DH", "XYZ", "TH "})
    if (number.find(word) != number.npos)
      return std::string("holds \"") + word + "\", which the host takes for another request";
  return {};
}

// --- Lines ---

Time Session::QuietTime() const {
  return 100ms + 30 * settings.byteTime;
}

Time Session::GraceTime() const {
  return 300ms + 30 * settings.byteTime;
}

Verdict Session::Broken(LineState state) const {
  if (state == LineState::Gone)
    return Verdict::Failed(Outcome::SystemFailed, "the line is gone: " + line.FailureText());
  if (state == LineState::Stopped) return Verdict::Failed(Outcome::Stopped, "stopped");
  return {};
}

LineState Session::Take(std::string& to, Time until) {
  const std::size_t before = to.size();
  const LineState state = line.Read(to, until);
  if (to.size() > before) heard = line.Now();
  return state;
}

Verdict Session::TimedOut(std::string what) const {
  const Time silence = line.Now() - heard;
  if (silence < kSilencesOfTheGone * settings.timeout)
    return Verdict::Failed(Outcome::TimedOut, std::move(what));
  return {Outcome::TimedOut, "the host has fallen silent: nothing came for " + Seconds(silence),
          false};
}

Verdict Session::Put(std::string_view text) {
  const std::string bytes = std::string(text) + kReturn;
  const Time lineTime = static_cast<Time::rep>(bytes.size()) * settings.byteTime;
  std::size_t written = 0;
  const LineState state = line.Write(bytes, line.Now() + settings.timeout + 2 * lineTime, written);
  if (state != LineState::Open) return Broken(state);
  if (written == bytes.size()) return {};
  return TimedOut("the line took no bytes for " + Seconds(settings.timeout) +
                  " (held, or nobody reads it)");
}

// On a time-out, reply holds what came without a carriage return.
Verdict Session::Get(std::string& reply, Time timeout) {
  Time deadline = line.Now() + timeout;
  reply.clear();
  for (std::size_t searched = 0;;) {
    const std::size_t end = received.find(kReturn, searched);
    if (end == 0) {
      received.erase(0, 1);
      continue;
    }
    if (end != received.npos) {
      reply = received.substr(0, end);
      received.erase(0, end + 1);
      lastReply = reply;
      return {};
    }
    if (received.size() > kLongestLine)
      return Verdict::Failed(Outcome::Fault, "the host sends a line without end");
    searched = received.size();
    const LineState state = Take(received, deadline);
    if (state != LineState::Open) return Broken(state);
    if (received.size() > searched)
      deadline = line.Now() + timeout;
    else if (line.Now() >= deadline)
      break;
  }
  reply.swap(received);
  received.clear();
  const std::string silence = "no answer for " + Seconds(timeout);
  return TimedOut(reply.empty() ? silence : silence + " after \"" + Printable(reply) + "\"");
}

Verdict Session::DropStray() {
  const LineState state = Take(received, line.Now());
  strayBytes += received.size();
  received.clear();
  return Broken(state);
}

Verdict Session::Ask(std::string_view request, std::string& reply) {
  Verdict verdict = DropStray();
  if (verdict.IsDone()) verdict = Put(request);
  if (verdict.IsDone()) verdict = Get(reply);
  return verdict;
}

Verdict Session::Settle(std::string& dropped) {
  dropped.swap(received);
  received.clear();
  const Time limit = line.Now() + 10 * settings.timeout;
  for (Time quiet = line.Now() + QuietTime(); line.Now() < quiet;) {
    const std::size_t before = dropped.size();
    const LineState state = Take(dropped, quiet);
    if (state != LineState::Open) return Broken(state);
    if (dropped.size() > before) quiet = line.Now() + QuietTime();
    if (line.Now() > limit) return Verdict::Failed(Outcome::Fault, "the line does not fall quiet");
  }
  strayBytes += dropped.size();
  return {};
}

Verdict Session::Wait(Time span) {
  const Time end = line.Now() + span;
  Verdict verdict;
  while (verdict.IsDone() && line.Now() < end) {
    verdict = Broken(Take(received, end));
    strayBytes += received.size();
    received.clear();
  }
  return verdict;
}

Verdict Session::Raw(std::string_view bytes, std::string& reply) {
  heard = line.Now();
  return Ask(bytes, reply);
}

Verdict Session::ReadLine(std::string& reply) {
  heard = line.Now();
  return Get(reply);
}

// --- Attempts ---

Verdict Session::Retry(int& left, const std::function<Verdict()>& attempt) {
  heard = line.Now();
  for (;;) {
    Verdict verdict = attempt();
    if (verdict.IsDone() || !verdict.mayRetry || left <= 0) return verdict;
    --left;
    const Verdict cleared = Resynchronise();
    if (!cleared.IsDone() && !cleared.mayRetry) return cleared;
  }
}

Verdict Session::Resynchronise() {
  Verdict verdict;
  for (int tries = 0; tries < kResynchroniseTries; ++tries) {
    verdict = ResynchroniseOnce();
    if (verdict.IsDone() || !verdict.mayRetry) break;
  }
  return verdict;
}

// The carriage return ends whatever half a line the host may hold. The line test is short enough to
// do no harm to an upload that the host may be in: the host answers it with "<" and stores nothing.
Verdict Session::ResynchroniseOnce() {
  Verdict verdict = Put(std::string(settings.sendsXon ? 1 : 0, static_cast<char>(kXon)));
  std::string reply;
  if (verdict.IsDone()) verdict = Settle(reply);
  if (verdict.IsDone()) verdict = Ask("XYZ", reply);
  if (!verdict.IsDone() || reply == kAlphabet) return verdict;
  if (reply == kTooShort) verdict = EndUpload();
  return verdict.IsDone() ? Unexpected(reply, "the alphabet") : verdict;
}

// --- Line test ---

Verdict Session::TestOnce() {
  std::string reply;
  const Verdict verdict = Ask("XYZ", reply);
  if (!verdict.IsDone() || reply == kAlphabet) return verdict;
  return reply == kTooShort ? UploadUnderWay() : Rejected(reply, "the alphabet");
}

Verdict Session::LineTest() {
  int left = settings.retries;
  return Retry(left, [this] { return TestOnce(); });
}

Verdict Session::WaitForHost(Time atMost, const std::function<void()>& onSilence) {
  const Time end = line.Now() + atMost;
  bool isTold = !onSilence;
  do {
    std::string reply;
    heard = line.Now();
    Verdict verdict = DropStray();
    if (verdict.IsDone()) verdict = Put("XYZ");
    const Time left = std::max(end - line.Now(), Time::zero());
    if (verdict.IsDone()) verdict = Get(reply, std::min(left, kPollTime + 60 * settings.byteTime));
    // A test that was sent before may be answered as well.
    if (verdict.IsDone() && reply == kAlphabet) return Settle(reply);
    if (verdict.IsDone() && reply == kTooShort) return UploadUnderWay();
    if (!verdict.IsDone() && !verdict.mayRetry) return verdict;
    line.Abandon();
    if (!isTold) onSilence();
    isTold = true;
  } while (line.Now() < end);
  return Verdict::Failed(Outcome::TimedOut,
                         "no host answered the line test within " + Seconds(atMost));
}

// --- Directory ---

Verdict Session::ListOnce(std::vector<DirectoryEntry>& entries) {
  entries.clear();
  std::string reply;
  Verdict verdict = Ask("DH", reply);
  if (!verdict.IsDone()) return verdict;
  if (reply != kGreeting) return Rejected(reply, "the directory's greeting");
  for (;;) {
    verdict = Ask(">", reply);
    if (!verdict.IsDone()) return verdict;
    if (reply == kEndMark) return verdict;
    const auto page = ParsePage(reply, static_cast<std::uint32_t>(entries.size() + 1));
    if (!page) return Rejected(reply, "entry " + std::to_string(entries.size() + 1));
    entries.insert(entries.end(), page->begin(), page->end());
  }
}

DirectoryReport Session::List() {
  DirectoryReport report;
  std::vector<std::vector<DirectoryEntry>> seen;
  const auto equal = [](const DirectoryEntry& a, const DirectoryEntry& b) {
    return a.index == b.index && a.name == b.name;
  };
  for (int left = settings.retries;;) {
    report.verdict = Retry(left, [&] {
      ++report.listings;
      return ListOnce(report.entries);
    });
    if (!report.verdict.IsDone() || !settings.verify) break;
    const bool isKnown = std::ranges::any_of(
        seen, [&](const auto& other) { return std::ranges::equal(other, report.entries, equal); });
    if (isKnown) break;
    seen.push_back(report.entries);
    if (seen.size() > 2 + static_cast<std::size_t>(settings.retries)) {
      report.verdict = NoAgreement();
      break;
    }
  }
  if (!report.verdict.IsDone()) report.entries.clear();
  return report;
}

// --- Download ---

struct Session::Transfer {
  explicit Transfer(std::string_view asked) : number(asked), forms(asked) {}
  std::string_view number;
  NumberForms forms;
  DownloadReply reply;
  std::string program;
  std::uint64_t frames = 0;
  bool isSuspect = false; // damage was seen
};

FetchReport Session::Fetch(std::string_view number, const Progress& progress) {
  FetchReport report;
  std::vector<std::string> seen;
  for (int left = settings.retries;;) {
    Transfer transfer(number);
    report.verdict = Retry(left, [&] {
      transfer = Transfer(number);
      ++report.transfers;
      return FetchOnce(transfer, report, progress);
    });
    if (!report.verdict.IsDone()) break;
    report.isConfirmed = Contains(seen, transfer.program);
    const bool isTrusted = report.isConfirmed || (!settings.verify && !transfer.isSuspect);
    if (isTrusted) {
      report.number = transfer.reply.number;
      report.frames = transfer.frames;
      report.program = std::move(transfer.program);
      break;
    }
    seen.push_back(std::move(transfer.program));
    if (seen.size() > 2 + static_cast<std::size_t>(settings.retries)) {
      report.verdict = NoAgreement();
      break;
    }
  }
  return report;
}

Verdict Session::FetchOnce(Transfer& transfer, FetchReport& report, const Progress& progress) {
  std::string reply;
  Verdict verdict =
      RequestNumber(transfer.number, transfer.forms, transfer.reply, Purpose::Download);
  if (verdict.IsDone()) verdict = Ask(">", reply);
  if (!verdict.IsDone()) return verdict;
  const std::string expected = ProgressText(transfer.reply);
  if (reply != expected) return Rejected(reply, "\"" + expected + "\"");
  verdict = ReceiveFrames(transfer, report, progress);
  // Nothing more will be acknowledged: tell the host, which would wait for it for ever.
  if (verdict.outcome == Outcome::Fault && settings.retries == 0 && Put("~end").IsDone())
    Get(reply, GraceTime());
  return verdict;
}

Verdict Session::RequestNumber(std::string_view number, const NumberForms& forms,
                               DownloadReply& reply, Purpose purpose) {
  const Verdict verdict = RequestOnce(number, forms, reply);
  const bool isAnswered =
      verdict.IsDone() || (verdict.outcome == Outcome::Refused && !verdict.mayRetry);
  const bool isEnough = verdict.IsDone() && purpose == Purpose::Download;
  if (!settings.verify || !isAnswered || isEnough) return verdict;
  const std::string first = lastReply;
  const Verdict again = RequestOnce(number, forms, reply);
  if (again.outcome == verdict.outcome && lastReply != first)
    return Verdict::Failed(Outcome::Fault, "the request was answered in two ways");
  return again;
}

Verdict Session::RequestOnce(std::string_view number, const NumberForms& forms,
                             DownloadReply& reply) {
  std::string text;
  Verdict verdict = Ask("FH " + std::string(number), text);
  if (!verdict.IsDone()) return verdict;
  const std::string_view answer = WithoutLeadingControls(text);
  if (const auto parsed = ParseDownloadReply(answer, forms)) {
    reply = *parsed;
    return {};
  }
  verdict = Rejected(answer, "\"&LP\" with the number asked for");
  // Another number's refusal: the request was damaged on its way.
  const auto missing = ParseNotFound(answer);
  if (missing && !Contains(forms.texts, *missing)) verdict.mayRetry = true;
  return verdict;
}

// Each ">" brings a frame or, after the last one, "]". The host sends "]" right behind the last
// frame, so it usually crosses with the ">" that acknowledges that frame.
Verdict Session::ReceiveFrames(Transfer& transfer, FetchReport& report, const Progress& progress) {
  int silences = 0;
  for (;;) {
    std::string reply;
    Verdict verdict = Put(">");
    if (verdict.IsDone()) verdict = Get(reply);
    if (verdict.outcome == Outcome::TimedOut && verdict.mayRetry && settings.retries > 0) {
      // Silence: the ">" is lost, not the frame. Part of a line: a frame without its end.
      transfer.isSuspect = true;
      if (reply.empty() && ++silences < 3) continue;
      if (!reply.empty()) verdict = {};
    }
    if (!verdict.IsDone()) return verdict;
    silences = 0;
    if (reply == kEndMark) return FinishDownload(transfer.frames > 0);
    std::string block;
    verdict = ReceiveFrame(std::move(reply), transfer, report, block);
    if (!verdict.IsDone()) return verdict;
    ++transfer.frames;
    transfer.program += BlockText(block);
    if (progress) progress(transfer.program.size());
  }
}

Verdict Session::ReceiveFrame(std::string reply, Transfer& transfer, FetchReport& report,
                              std::string& block) {
  std::string refused; // the good frame that was refused on purpose
  for (int refusals = 0;;) {
    DecodedFrame frame = DecodeFrame(reply);
    const bool isGood = frame.fault.empty();
    if (isGood && toRefuse == 0) {
      if (!refused.empty() && reply != refused)
        return Verdict::Failed(Outcome::Fault, "a refused frame came again changed");
      if (!frame.block.ends_with('!'))
        return Verdict::Failed(Outcome::Fault, "a frame does not end with \"!\"");
      block = std::move(frame.block);
      return {};
    }
    if (IsRefusal(reply)) return Rejected(reply, "a frame");
    Verdict verdict;
    if (isGood) {
      --toRefuse;
      refused = reply;
    } else {
      verdict = SettleDamage(frame.fault, transfer, report);
    }
    if (!verdict.IsDone()) return verdict;
    ++report.refusedFrames;
    verdict = RefuseFrame(frame.fault, refusals, reply);
    if (!verdict.IsDone()) return verdict;
  }
}

Verdict Session::SettleDamage(const std::string& fault, Transfer& transfer, FetchReport& report) {
  transfer.isSuspect = true;
  ++report.damagedFrames;
  std::string dropped; // the rest of a frame that damage has cut in two
  const Verdict verdict = Settle(dropped);
  if (!verdict.IsDone() || !HoldsEnd(dropped)) return verdict;
  return Verdict::Failed(Outcome::Fault, "the last frame came damaged (" + fault +
                                             ") and the host can't send it again");
}

Verdict Session::RefuseFrame(const std::string& fault, int& refusals, std::string& reply) {
  Verdict verdict = Put("<");
  if (verdict.IsDone() && ++refusals == 3)
    return Verdict::Failed(Outcome::Fault, "a frame was refused three times, the last time for: " +
                                               (fault.empty() ? "being told to" : fault));
  if (verdict.IsDone()) verdict = Get(reply);
  const bool isSilence =
      verdict.outcome == Outcome::TimedOut && verdict.mayRetry && settings.retries > 0;
  if (!verdict.IsDone() && !isSilence) return verdict;
  if (reply == kEndMark || reply == kPrompt)
    return Verdict::Failed(Outcome::Fault,
                           "the last frame was refused; the host can't send it again");
  return {};
}

// A ">" that acknowledged a frame before "]" was read is answered with "UDL>" as it is; a "]" that
// is itself the answer wants one more.
Verdict Session::FinishDownload(bool isFrameAcknowledged) {
  std::string reply;
  Verdict verdict;
  if (isFrameAcknowledged) {
    verdict = Get(reply, GraceTime());
    if (verdict.IsDone() && reply == kPrompt) return verdict;
    const bool goesOn = verdict.outcome == Outcome::TimedOut || settings.retries > 0;
    if (!goesOn) return verdict.IsDone() ? Rejected(reply, "\"UDL>\" after the end") : verdict;
  }
  for (int tries = settings.retries > 0 ? 3 : 1; tries > 0; --tries) {
    verdict = Put(">");
    if (verdict.IsDone()) verdict = Get(reply);
    if (verdict.IsDone() && reply == kPrompt) return verdict;
    if (!verdict.IsDone() && !verdict.mayRetry) return verdict;
  }
  return verdict.IsDone() ? Rejected(reply, "\"UDL>\" after the end") : verdict;
}

} // namespace kor::controller
