// Splits, delays and cuts a line over the network at every byte of both directions.
#include <array>
#include <functional>
#include <string>

#include "platform/net/net_serial_port.h"
#include "services/core/as_bytes.h"
#include "tests/support/device_server.h"
#include "tests/support/test_app.h"
#include "torture/sweep.h"

namespace kor::torture {

namespace {

using namespace std::chrono_literals;
using Stop = DeviceServer::Stop;
using Clock = std::chrono::steady_clock;

const std::string kRequest = "FH 0000007\r\xFF\xFF";

// Session: one port and its server, from the first byte of the greeting on.
class Session {
 public:
  Session() { server.echoes = true; }

  // Opens the line, sets it up, sends and reads. True when the same bytes came back.
  bool Run() {
    port.Close();
    server.data.clear();
    heard.clear();
    left = kRequest;
    const KorText address = KorText::Format(u"rfc2217://127.0.0.1:%u", DeviceServer::kPort);
    const bool isReady = Finish([&] { return port.Open(address); }) &&
                         Finish([this] { return port.SetControlBlock({}); });
    return isReady && Turn([this] { return Exchange(); }) && heard == kRequest;
  }
  DeviceServer server;

 private:
  bool Turn(const std::function<bool()>& isDone) {
    const auto end = Clock::now() + 5s;
    while (!isDone()) {
      Require(Clock::now() < end, "nothing happens any more");
      server.Turn();
      if (server.IsStopped()) server.Resume();
      port.WaitReadable(100us);
    }
    return !hasFailed;
  }
  bool Finish(const std::function<bool()>& operation) {
    hasFailed = false;
    return Turn([&] {
      if (operation()) return true;
      hasFailed = port.Trouble() != PortTrouble::NotYet;
      if (hasFailed) Require(!port.LastErrorText().IsEmpty(), "the reason is missing");
      return hasFailed;
    });
  }
  bool Exchange() {
    std::array<std::uint8_t, 100> buffer{};
    std::size_t count = 0;
    LineStatus status;
    hasFailed = !port.GetStatus(status) || !port.Read(buffer, count);
    if (hasFailed) {
      Require(port.IsGone(), "a line that has ended counts as there");
      return true;
    }
    heard.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
    if (port.Write(AsBytes(left), count)) left.erase(0, count);
    return heard.size() >= kRequest.size();
  }

  TestApp app;
  NetSerialPort port;
  std::string heard, left;
  bool hasFailed = false;
};

std::size_t BytesOfASession(unsigned) {
  Session session;
  Require(session.Run(), "an undisturbed session fails");
  return session.server.Travelled();
}

// Way 0 splits the stream there. Way 1 cuts it, and the server then comes back.
void RunSession(unsigned, std::size_t position, std::size_t way) {
  Session session;
  session.server.StopAt(position, way == 0 ? Stop::Hold : Stop::Cut);
  const bool isWhole = session.Run();
  if (way == 0) return Require(isWhole, "a split stream is another one");
  Require(!isWhole, "what was cut is whole");
  session.server.StopAt(0, Stop::Never);
  session.server.Listen();
  Require(session.Run(), "the server is back, the line is not");
}

} // namespace

std::vector<Sweep> NetworkSweeps() {
  return {{"network-line", "byte", 2, BytesOfASession, RunSession}};
}

} // namespace kor::torture
