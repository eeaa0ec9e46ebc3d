#include "torture/host.h"

#include "app/nce_frame.h"
#include "files/compressed_file.h"

namespace kor::torture {

namespace {

constexpr int kUploadCompleted = 19;
constexpr std::size_t kNever = ~std::size_t{0};
constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r";

} // namespace

Host::Host(unsigned seed) : random(seed) {
  older = Lines("OLD");
  newer = Lines("NEW");
  link.PutProgram(u"0000007.MPG", KorText::FromBytes(older));
  link.PutProgram(u"7.MPG", u"N7\n");
  link.PutProgram(u"8.MPG", u"\n"); // nothing of it is sent
  link.PutProgram(u"9.MPG", KorText::FromBytes(Lines("NINE")));
  link.app.Put(outside, u"outside");
  link.Start();
}

std::string Host::Lines(const char* word) {
  std::string text;
  for (std::size_t left = 1 + Below(16); left > 0; --left)
    text += word + std::to_string(random()) + "\n";
  return text;
}

std::vector<std::string> Host::UploadLines() const {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < newer.size();) {
    const std::size_t end = newer.find('\n', at);
    lines.push_back(MakeFrame(newer.substr(at, end - at) + "!"));
    lines.back().pop_back();
    at = end + 1;
  }
  lines.push_back("02]");
  return lines;
}

void Host::PassTime(double seconds) {
  link.app.Advance(seconds);
  link.link->RunDueTimers();
  link.Run();
}

void Host::PlayLine(const std::string& line, std::size_t at, const Disturbance& disturb) {
  for (std::size_t i = 0; i < line.size(); ++i) {
    link.port.Deliver(i == at ? disturb.now(line[i]) : std::string(1, line[i]));
    link.Run();
    if (i == at && disturb.later) disturb.later();
  }
}

bool Host::Play(const Steps& steps, std::size_t at, const Disturbance& disturb) {
  for (const auto& [line, reply] : steps) {
    link.port.TakeWritten();
    const bool inReply = at >= line.size() && at - line.size() < reply.size();
    if (inReply) {
      link.port.SetWriteLimit(1);
      link.port.SetResponder([&, left = at - line.size()](std::string_view bytes) mutable {
        if (left-- == 0) disturb.now(bytes[0]);
      });
    }
    PlayLine(line, at, disturb);
    link.port.SetWriteLimit(kNever);
    link.port.SetResponder({});
    if (inReply && disturb.later) disturb.later();
    const std::size_t length = line.size() + reply.size();
    at = at >= length ? at - length : kNever;
    if (link.port.TakeWritten() != reply) return false;
  }
  return true;
}

std::string Host::Stored() {
  SimpleFile file(Path());
  if (!file.Open(kFileRead, false, IsCompressedFile(Path()))) return "(can't be opened)";
  const auto bytes = file.ReadAll();
  return bytes ? std::string(bytes->begin(), bytes->end()) : "(can't be read)";
}

void Host::ExpectWhole(bool acknowledged) {
  const std::string now = Stored();
  Require(now == older || now == newer, "torn program: " + now);
  Require(now == newer || !acknowledged, "acknowledged, but the older program is there");
  Require(now == newer || !link.link || link.Code() != kUploadCompleted, "false 'completed'");
}

void Host::ExpectServed() {
  link.port.SetPresent(true);
  link.port.SetHolds(0);
  link.app.ClearFaults();
  for (int second = 0; second < 3; ++second)
    PassTime(1.1);
  link.Send("\x11\r]\r\r"); // releases a hold, ends a broken line and an upload
  Require(link.Ask("XYZ") == kAlphabet, "the next good request is not served");
  Require(link.Watched().HeldBytes() == 0, "the exchange that broke off keeps its memory");
  for (const KorText& name : link.app.Names(link.Folder()))
    Require(!name.EndsWith(kPartSuffix) || name.StartsWith(u"x."),
            "a part is left: " + name.ToUtf8());
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
