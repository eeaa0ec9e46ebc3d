#include "torture/host.h"

#include "files/compressed_file.h"
#include "files/kor_file.h"
#include "tools/nce_controller/frame.h"
#include "torture/sweep.h"

namespace kor::torture {

namespace {

constexpr std::size_t kNever = ~std::size_t{0};
constexpr int kMostPolls = 10'000; // of a long reply, byte by byte
constexpr const char16_t* kJobLog = u"settings/jobs.log";
const std::string kAlphabet = std::string(controller::kAlphabet) + "\r";

} // namespace

Host::Host(unsigned seed, int transmitDelay) : random(seed) {
  older = Lines("OLD");
  newer = Lines("NEW");
  longer = std::string(1001 + Below(600), 'L') + "\n" + Lines("LONG");
  last = Lines("NINE");
  link.PutProgram(u"0000007.MPG", KorText::FromBytes(older));
  link.PutProgram(u"6.MPG", KorText::FromBytes(longer));
  link.PutProgram(u"7.MPG", u"N7\n");
  link.PutProgram(u"8.MPG", u"\n"); // nothing of it is sent
  link.PutProgram(u"9.MPG", KorText::FromBytes(last));
  link.app.Put(outside, u"outside");
  link.Start({}, KorText::Format(u"transmit delay=%i\n", transmitDelay),
             u"[Log]\nwrite log=1\nlog file=" + link.app.Path(kJobLog) + u"\n");
}

// Some of these lines hold text that would be a request if it stood alone.
std::string Host::Lines(const char* word) {
  constexpr const char* kRemarks[] = {"", " (DEPTH 5)", " (DH 3~end)", " FH 9", " XYZ", ">", "<"};
  std::string text;
  for (std::size_t left = 1 + Below(16); left > 0; --left)
    text += word + std::to_string(random()) + kRemarks[Below(std::size(kRemarks))] + "\n";
  return text;
}

void Host::PassTime(double seconds) {
  link.app.Advance(seconds);
  link.link->RunDueTimers();
  link.Run();
}

void Host::PlayLine(const Step& step, std::size_t at, const Disturbance& disturb) {
  if (step.seconds > 0) PassTime(step.seconds);
  for (std::size_t i = 0; i < step.line.size(); ++i) {
    link.port.Deliver(i == at ? disturb.now(step.line[i]) : std::string(1, step.line[i]));
    link.Run(kMostPolls);
    if (i != at) continue;
    if (disturb.later) disturb.later();
    if (disturb.endsPlay) return;
  }
}

std::size_t Host::Play(const Steps& steps, const Place& place, const Disturbance& disturb) {
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const bool isHere = i == place.step;
    std::size_t left = place.offset;
    link.port.TakeWritten();
    if (isHere && place.inReply) {
      link.port.SetWriteLimit(1);
      link.port.SetResponder([&](std::string_view bytes) {
        if (left-- == 0) disturb.now(bytes[0]);
      });
    }
    PlayLine(steps[i], isHere && !place.inReply ? place.offset : kNever, disturb);
    link.port.SetWriteLimit(kNever);
    link.port.SetResponder({});
    if (isHere && place.inReply && disturb.later) disturb.later();
    if (isHere && disturb.endsPlay) return i;
    if (link.port.TakeWritten() != steps[i].reply) return i;
  }
  return steps.size();
}

std::string Host::Stored() {
  SimpleFile file(Path());
  if (!file.Open(kFileRead, OpenWait::No, Compression{IsCompressedFile(Path())}))
    return "(can't be opened)";
  const auto bytes = file.ReadAll();
  return bytes ? std::string(bytes->begin(), bytes->end()) : "(can't be read)";
}

void Host::ExpectWhole(bool acknowledged) {
  const std::string now = Stored();
  Require(now == older || now == newer, "torn program: " + now);
  Require(now == newer || !acknowledged, "acknowledged, but the older program is there");
  Require(now == newer || !link.link || link.Code() != LinkStatus::UploadCompleted,
          "false 'completed'");
}

void Host::Recover() {
  link.port.SetPresent(true);
  link.port.SetHolds(0);
  link.app.ClearFaults();
  for (int second = 0; second < 3; ++second)
    PassTime(1.1);
}

void Host::ExpectNothingKept() {
  Require(link.HeldBytes() == 0, "the exchange that broke off keeps its memory");
  for (const KorText& name : link.app.Names(link.Folder()))
    Require(!name.EndsWith(kPartSuffix) || name.StartsWith(u"x."),
            "a part is left: " + name.ToUtf8());
}

void Host::ExpectServed() {
  Recover();
  link.Send("\x11\r]\r\r"); // releases a hold, ends a broken line and an upload
  Require(link.Ask("XYZ") == kAlphabet, "the next good request is not served");
  ExpectNothingKept();
}

void Host::ExpectForgotten() {
  Recover();
  const std::string said = link.port.TakeWritten();
  Require(said.empty(), "speaks unasked: " + said);
  const StatusView view = link.link->CurrentStatus();
  Require(!IsExchange(view.code), "still runs: " + view.line.ToUtf8());
  ExpectNothingKept();
}

void Host::ExpectFirstRequestServed() {
  std::string reply = link.Ask("FH 0000007");
  PassTime(3); // a transmit delay
  reply += link.port.TakeWritten();
  Require(reply == "&LP 000000007\r", "the first request is answered by: " + reply);
}

std::vector<std::string> Host::Jobs() {
  std::vector<std::string> lines;
  std::string text = link.app.Content(link.app.Path(kJobLog)).value_or(KorText()).ToBytes();
  for (std::size_t end = text.find("\r\n"); end != text.npos; end = text.find("\r\n")) {
    lines.push_back(text.substr(0, end));
    text.erase(0, end + 2);
  }
  if (!text.empty()) lines.push_back("(broken off) " + text);
  return lines;
}

void Host::ExpectJobs(const std::vector<std::string>& texts) {
  const std::vector<std::string> jobs = Jobs();
  Require(jobs.size() == texts.size(),
          std::to_string(jobs.size()) + " job lines instead of " + std::to_string(texts.size()));
  for (std::size_t i = 0; i < jobs.size(); ++i)
    Require(jobs[i].find(" " + texts[i]) != std::string::npos,
            "job line \"" + jobs[i] + "\" instead of \"" + texts[i] + "\"");
}

void Host::ExpectLastJob(const std::string& text) {
  if (text.empty()) return;
  const std::vector<std::string> jobs = Jobs();
  Require(!jobs.empty() && jobs.back().ends_with(" " + text),
          "the job log does not end with \"" + text + "\"");
}

void Host::End() {
  link.link->Terminate();
  link.Close();
}

void Host::ExpectTidy() {
  if (link.link) End();
  link.Start();
  ExpectServed();
  Require(link.app.Content(outside) == u"outside", "a file outside the folder was changed");
  End();
}

} // namespace kor::torture
