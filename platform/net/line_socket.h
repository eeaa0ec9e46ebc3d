// LineSocket: the TCP connection under a serial line, from looking up the server's name to the end
// of the connection. Only WaitUntil waits; Pump handles what has happened.
//
// Threads: used by one thread at a time, except Interrupt(), which any thread may call. A thread of
// its own looks up a name. Nobody waits for that thread, so it may outlive this object.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/net/socket_tuning.h"
#include "platform/port_address.h"

namespace kor {

class LineSocket {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds kConnectTime{10}; // with the look-up of the name
  static constexpr std::size_t kMostReceived = 4096;      // then the sender has to wait

  enum class State { Closed, Connecting, Up, Ended };

  LineSocket();
  ~LineSocket();
  LineSocket(const LineSocket&) = delete;
  LineSocket& operator=(const LineSocket&) = delete;

  // Begins to connect or to listen. A listener counts as connecting while nobody has connected to
  // it. A listener that can't be made has ended.
  void Open(const PortAddress& address, Time now);
  void Close();
  State Pump(Time now);                 // does what is ready
  const std::error_code& Error() const; // why it has ended
  bool IsNameUnknown() const;           // that the name can't be looked up is why
  bool WasClosed() const;               // that the peer has closed in order is why

  std::string& Received(); // for the caller to take from
  void Send(std::string_view bytes);
  SocketQueue Queue() const;
  std::size_t Window() const; // bytes that the peer takes, those under way among them
  bool IsSilent() const;      // bytes are on their way to a server that has vanished

  // Waits until something happens, Interrupt is called, or the time is over.
  void WaitUntil(Time until);
  void Interrupt();

 private:
  struct Parts; // the library's types stay out of this header

  std::unique_ptr<Parts> parts;
};

} // namespace kor
