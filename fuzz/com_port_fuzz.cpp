// Takes random bytes as what a device server says. Whatever they are, the memory that they take is
// limited, neither side answers for ever, and it makes no difference where the network cuts the
// stream.
//
// The first byte is the length of the pieces; 0 means one piece.
#include <algorithm>
#include <string>

#include "fuzz/fuzz_target.h"
#include "platform/net/com_port_client.h"

namespace kor {

namespace {

using Answer = ComPortClient::Answer;

// Everything that a port learns from the stream.
struct Heard {
  bool isGood = true;
  std::string data, output;
  std::uint32_t holds = 0;
  LineErrors errors;
  Answer greeting{}, line{};
  KorText unanswered, difference;
  friend bool operator==(const Heard&, const Heard&) = default;
};

Heard Hear(FuzzInput bytes, std::size_t piece) {
  const ComPortClient::Time now{std::chrono::hours(1)};
  ComPortClient client;
  client.Start(now);
  DeviceControlBlock block;
  ApplyFlowControl(block, u"Hardware", true, true, false);
  client.SetLine(block, now);
  client.PurgeReceive(now);
  client.TakeOutput();
  Heard heard;
  while (!bytes.empty() && heard.isGood) {
    const FuzzInput part = bytes.first(std::min(piece, bytes.size()));
    heard.isGood = client.Receive(part, now);
    bytes = bytes.subspan(part.size());
  }
  heard.data = client.Data();
  heard.output = client.TakeOutput();
  heard.holds = client.Holds();
  heard.errors = client.TakeErrors();
  heard.greeting = client.Greeting(now);
  heard.line = client.LineAnswer(now);
  heard.unanswered = client.Unanswered();
  heard.difference = client.Difference();
  return heard;
}

} // namespace

void TryInput(TestApp&, FuzzInput bytes) {
  if (bytes.empty()) return;
  const FuzzInput stream = bytes.subspan(1);
  const Heard whole = Hear(stream, std::max<std::size_t>(stream.size(), 1));
  Require(whole.data.size() <= stream.size(), "no byte is made up");
  Require(whole.output.size() <= 2000, "answers come to an end");
  const std::size_t piece = bytes[0] == 0 ? stream.size() : bytes[0];
  Require(Hear(stream, std::max<std::size_t>(piece, 1)) == whole, "pieces make no difference");
}

} // namespace kor
