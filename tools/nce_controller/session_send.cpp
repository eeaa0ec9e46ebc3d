// The upload side of Session.
#include <algorithm>

#include "tools/nce_controller/program_text.h"
#include "tools/nce_controller/session.h"

namespace kor::controller {

SendReport Session::Send(std::string_view number, std::string_view program, bool readBack,
                         const Progress& progress) {
  SendReport report;
  const std::vector<std::string> blocks = UploadBlocks(program);
  int left = settings.retries;
  report.verdict = Retry(left, [&] {
    ++report.transfers;
    Verdict verdict = SendOnce(number, blocks, report, progress);
    if (verdict.IsDone() && readBack) verdict = ReadBack(number, program);
    return verdict;
  });
  report.isConfirmed = report.verdict.IsDone() && readBack;
  return report;
}

Verdict Session::SendOnce(std::string_view number, const std::vector<std::string>& blocks,
                          SendReport& report, const Progress& progress) {
  report.frames = 0;
  Verdict verdict = BeginUpload(number);
  std::uint64_t sent = 0;
  for (const std::string& block : blocks) {
    if (!verdict.IsDone()) return verdict;
    verdict = SendBlock(block, report);
    sent += block.size();
    if (progress) progress(sent);
  }
  return verdict.IsDone() ? EndUpload() : verdict;
}

Verdict Session::BeginUpload(std::string_view number) {
  const NumberForms forms(number);
  DownloadReply download;
  Verdict verdict = RequestNumber(number, forms, download, Purpose::Upload);
  // Found or not, the host knows the number now.
  const bool isKnown = verdict.outcome == Outcome::Refused && !verdict.mayRetry;
  if (!verdict.IsDone() && !isKnown) return verdict;
  std::string reply;
  verdict = Ask("TH " + std::string(number), reply);
  if (!verdict.IsDone()) return verdict;
  const auto named = ParseUploadReply(reply);
  const bool isRight = named && std::ranges::find(forms.texts, *named) != forms.texts.end();
  if (isRight) return {};
  verdict.outcome = Outcome::Fault;
  if (reply.starts_with("%%")) verdict.outcome = Outcome::Refused;
  verdict.mayRetry = !reply.starts_with("%% Unable");
  verdict.message = "the upload was answered with \"" + Printable(reply) + "\"";
  return verdict;
}

Verdict Session::SendBlock(std::string_view block, SendReport& report) {
  const std::string frame = EncodeFrame(block);
  std::string reply;
  for (int tries = 0; tries < 3; ++tries) {
    const std::uint64_t strayBefore = strayBytes;
    const Verdict verdict = Ask(frame, reply);
    if (!verdict.IsDone()) return verdict;
    if (strayBytes != strayBefore)
      return Verdict::Failed(Outcome::Fault, "the host answered one frame twice");
    if (reply == ">") {
      ++report.frames;
      return {};
    }
    if (reply != "<") break;
    ++report.repeatedFrames;
  }
  const bool isRefused = reply == "<" || reply.starts_with("%%");
  Verdict verdict = Verdict::Failed(isRefused ? Outcome::Refused : Outcome::Fault,
                                    "frame " + std::to_string(report.frames + 1) +
                                        " was answered with \"" + Printable(reply) + "\"");
  verdict.mayRetry = true;
  return verdict;
}

Verdict Session::EndUpload() {
  std::string reply;
  Verdict verdict = Ask(kEndMark, reply);
  if (!verdict.IsDone() || reply == ">") return verdict;
  verdict =
      Verdict::Failed(reply.starts_with("%%") ? Outcome::Refused : Outcome::Fault,
                      "the end of the program was answered with \"" + Printable(reply) + "\"");
  verdict.mayRetry = true;
  return verdict;
}

Verdict Session::ReadBack(std::string_view number, std::string_view program) {
  const FetchReport report = Fetch(number);
  if (report.verdict.outcome == Outcome::Refused)
    return {Outcome::Mismatch,
            "stored, but not there to be read back (are the host's two folders one?): " +
                report.verdict.message,
            false};
  if (!report.verdict.IsDone()) return report.verdict;
  const std::string difference = FirstDifference(report.program, program);
  if (difference.empty()) return {};
  return {Outcome::Mismatch, "read back: " + difference, true};
}

} // namespace kor::controller
