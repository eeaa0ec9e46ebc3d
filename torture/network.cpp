// Splits, delays and cuts a line over the network at every byte of both directions.
#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <utility>

#include "platform/net/net_serial_port.h"
#include "services/core/as_bytes.h"
#include "tests/support/device_server.h"
#include "tests/support/test_app.h"
#include "torture/sweep.h"

namespace kor::torture {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

const std::string kRequest = "FH 0000007\r\xFF\xFF";

enum class Stop { Never, Cut, Hold };

// A server that sends back what it hears, and whose stream stops somewhere.
class StoppingServer : public DeviceServer {
 public:
  // When so many bytes have travelled, in both directions together.
  void StopAt(std::size_t bytes, Stop how) {
    stopAt = bytes;
    stop = how;
  }
  void Resume() {
    stop = Stop::Never;
    Say(std::exchange(held, {}));
  }
  void Return() {
    stop = Stop::Never;
    held.clear();
    unheard.clear();
    Listen();
  }
  bool IsStopped() const { return stop == Stop::Hold && !(held.empty() && unheard.empty()); }
  std::size_t Travelled() const { return travelled; }

  void OnData(std::span<const std::uint8_t> bytes) override {
    std::string out;
    AppendEscaped(out, bytes);
    Say(out);
  }
  void Hear(const std::string& bytes) override {
    unheard += bytes;
    DeviceServer::Hear(TakeOf(unheard));
    if (!unheard.empty() && stop == Stop::Cut) Hang();
  }
  void Say(std::string_view bytes) override {
    held += bytes;
    DeviceServer::Say(TakeOf(held));
    if (!held.empty() && stop == Stop::Cut) Hang();
  }

 private:
  // Returns what may travel before the stop.
  std::string TakeOf(std::string& waiting) {
    const std::size_t room = stopAt - std::min(stopAt, travelled);
    const std::string taken = waiting.substr(0, stop == Stop::Never ? waiting.npos : room);
    waiting.erase(0, taken.size());
    travelled += taken.size();
    return taken;
  }

  Stop stop = Stop::Never;
  std::size_t stopAt = 0, travelled = 0;
  std::string held, unheard; // beyond the stop
};

// Session: one port and its server, from the first byte of the greeting on.
class Session {
 public:
  // Opens the line, sets it up, sends and reads. True when the same bytes came back.
  bool Run() {
    port.Close();
    heard.clear();
    left = kRequest;
    const KorText address = KorText::Format(u"rfc2217://127.0.0.1:%u", DeviceServer::kPort);
    const bool isReady = Finish([&] { return port.Open(address); }) &&
                         Finish([this] { return port.SetControlBlock({}); });
    return isReady && Turn([this] { return Exchange(); }) && heard == kRequest;
  }
  StoppingServer server;

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
  session.server.Return();
  Require(session.Run(), "the server is back, the line is not");
}

} // namespace

std::vector<Sweep> NetworkSweeps() {
  return {{"network-line", "byte", 2, BytesOfASession, RunSession}};
}

} // namespace kor::torture
