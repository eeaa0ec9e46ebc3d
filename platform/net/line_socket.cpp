#include "platform/net/line_socket.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>

namespace kor {

namespace {

using asio::ip::tcp;
using Loop = asio::io_context;

constexpr int kMostLookups = 8; // under way at once, with those that nobody wants any more

// Describes a look-up. Its thread changes it only through the loop's queue.
struct Lookup {
  PortAddress address;
  bool done = false;
  std::error_code error;
  std::vector<tcp::endpoint> endpoints;
};

std::atomic<int> lookups = 0;

void LookUp(const std::shared_ptr<Loop>& loop, const std::shared_ptr<Lookup>& lookup) {
  std::error_code error;
  std::vector<tcp::endpoint> endpoints;
  Loop own; // a resolver without a thread of its own
  const auto found =
      tcp::resolver(own).resolve(lookup->address.host, std::to_string(lookup->address.port),
                                 tcp::resolver::numeric_service, error);
  for (const auto& entry : found)
    endpoints.push_back(entry.endpoint());
  --lookups;
  asio::post(*loop, [lookup, error, endpoints = std::move(endpoints)] {
    lookup->error = error;
    lookup->endpoints = endpoints;
    lookup->done = true;
  });
}

// An address in numbers needs no look-up and no thread.
std::shared_ptr<Lookup> StartLookup(const std::shared_ptr<Loop>& loop, const PortAddress& address) {
  auto lookup = std::make_shared<Lookup>(Lookup{address, true, {}, {}});
  std::error_code noNumber;
  const auto number = asio::ip::make_address(address.host, noNumber);
  if (!noNumber) {
    lookup->endpoints.emplace_back(number, address.port);
  } else if (++lookups > kMostLookups) {
    --lookups;
    lookup->error = asio::error::host_not_found_try_again;
  } else {
    lookup->done = false;
    std::thread([loop, lookup] { LookUp(loop, lookup); }).detach();
  }
  return lookup;
}

// A connection is kept alive by its own handlers, which may still come after it was closed.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  explicit Connection(tcp::socket toOwn) : socket(std::move(toOwn)) {}

  void Connect(const std::vector<tcp::endpoint>& endpoints) {
    left.assign(endpoints.rbegin(), endpoints.rend());
    ConnectToNext();
  }

  void Begin() {
    std::error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    WatchForSilentEnd(Handle());
    isUp = hasNews = true;
    ReadOn();
    WriteOn();
  }

  void End(std::error_code problem) {
    if (isOver) return;
    isOver = hasNews = true;
    error = problem;
    std::error_code ignored;
    socket.close(ignored);
  }

  void Send(std::string_view bytes) {
    waiting += bytes;
    WriteOn();
  }

  void ReadOn() {
    if (!isUp || isOver || isReading || received.size() >= LineSocket::kMostReceived) return;
    isReading = true;
    socket.async_read_some(asio::buffer(piece),
                           [self = shared_from_this()](std::error_code problem, std::size_t count) {
                             self->isReading = false;
                             if (problem) return self->End(problem);
                             self->received.append(self->piece.data(), count);
                             self->hasNews = true;
                             self->ReadOn();
                           });
  }

  SocketQueue Queue() {
    SocketQueue queue = isUp && !isOver ? QueueOf(Handle()) : SocketQueue{};
    queue.unsent += waiting.size() + writing.size();
    queue.unacknowledged += waiting.size() + writing.size();
    return queue;
  }

  std::size_t Window() { return isUp && !isOver ? WindowOf(Handle()) : 0; }

  std::uintptr_t Handle() { return static_cast<std::uintptr_t>(socket.native_handle()); }

  bool isUp = false;
  bool isOver = false;
  bool hasNews = false;
  std::error_code error;
  std::string received;

 private:
  void WriteOn() {
    if (writing.empty()) writing.swap(waiting);
    if (!isUp || isOver || isWriting || writing.empty()) return;
    isWriting = true;
    socket.async_write_some(asio::buffer(writing), [self = shared_from_this()](
                                                       std::error_code problem, std::size_t count) {
      self->isWriting = false;
      if (problem) return self->End(problem);
      self->writing.erase(0, count);
      self->WriteOn();
    });
  }

  // In the order of the look-up. The socket is opened here: asio's own way through them tells of a
  // system that lets none be opened that the operation was cancelled.
  void ConnectToNext() {
    if (left.empty()) return End(error);
    const tcp::endpoint next = left.back();
    left.pop_back();
    std::error_code ignored;
    socket.close(ignored);
    socket.open(next.protocol(), error);
    if (error) return ConnectToNext();
    socket.async_connect(next, [self = shared_from_this()](std::error_code problem) {
      if (self->isOver) return;
      if (!problem) return self->Begin();
      self->error = problem;
      self->ConnectToNext();
    });
  }

  tcp::socket socket;
  std::vector<tcp::endpoint> left; // to be tried, the last one first
  std::array<char, 2048> piece{};
  std::string writing, waiting;
  bool isReading = false;
  bool isWriting = false;
};

} // namespace

struct LineSocket::Parts {
  std::shared_ptr<Loop> loop = std::make_shared<Loop>();
  asio::executor_work_guard<Loop::executor_type> guard = asio::make_work_guard(*loop);
  std::shared_ptr<Lookup> lookup;
  std::shared_ptr<Connection> connection;
  std::optional<tcp::acceptor> acceptor;
  std::atomic<bool> interrupted = false;
  State state = State::Closed;
  std::error_code error;
  Time connectEnd{};
  std::string none; // what is received while there is no connection

  void End(std::error_code problem) {
    state = State::Ended;
    error = problem;
  }

  void Listen(const PortAddress& address) {
    std::error_code problem;
    auto local = tcp::endpoint(tcp::v4(), address.port);
    if (!address.host.empty())
      local = {asio::ip::make_address(address.host, problem), address.port};
    acceptor.emplace(*loop);
    if (!problem) acceptor->open(local.protocol(), problem);
    if (!problem) acceptor->set_option(tcp::acceptor::reuse_address(true), problem);
    if (!problem) acceptor->bind(local, problem);
    if (!problem) acceptor->listen(1, problem);
    if (problem) return End(problem);
    Accept();
  }

  // Accepts one connection at a time; the next one waits until this one has gone.
  void Accept() {
    connection.reset();
    acceptor->async_accept([this](std::error_code problem, tcp::socket socket) {
      if (problem) return;
      connection = std::make_shared<Connection>(std::move(socket));
      connection->Begin();
    });
  }

  void PumpConnecting(Time now) {
    if (lookup && lookup->done && !connection) {
      if (lookup->error) return End(lookup->error);
      connection = std::make_shared<Connection>(tcp::socket(*loop));
      connection->Connect(lookup->endpoints);
    }
    if (connection && connection->isUp)
      state = State::Up;
    else if (connection && connection->isOver)
      End(connection->error);
    else if (!acceptor && now >= connectEnd)
      End(asio::error::timed_out);
  }

  bool HasNews() const {
    if (connection) return connection->hasNews;
    return lookup && lookup->done;
  }
};

LineSocket::LineSocket() : parts(std::make_unique<Parts>()) {}

// The connection goes with the loop, and the loop with the last look-up under way.
LineSocket::~LineSocket() = default;

// A look-up of the same name that is still running is reused, so that a slow name server isn't
// asked twice.
void LineSocket::Open(const PortAddress& address, Time now) {
  Close();
  Parts& p = *parts;
  p.state = State::Connecting;
  p.error.clear();
  p.connectEnd = now + kConnectTime;
  if (address.scheme == PortAddress::Scheme::Listen) {
    p.lookup.reset();
    return p.Listen(address);
  }
  const bool isUnderWay = p.lookup && !p.lookup->done && p.lookup->address == address;
  if (!isUnderWay) p.lookup = StartLookup(p.loop, address);
}

void LineSocket::Close() {
  Parts& p = *parts;
  if (p.connection) p.connection->End(asio::error::operation_aborted);
  p.connection.reset();
  p.acceptor.reset();
  if (p.lookup && p.lookup->done) p.lookup.reset();
  p.state = State::Closed;
  p.loop->poll();
}

LineSocket::State LineSocket::Pump(Time now) {
  Parts& p = *parts;
  p.loop->poll();
  if (p.state == State::Connecting) p.PumpConnecting(now);
  if (p.connection) p.connection->hasNews = false;
  if (p.state != State::Up) return p.state;
  if (!p.connection->isOver) {
    p.connection->ReadOn();
  } else if (p.acceptor) {
    p.state = State::Connecting;
    p.Accept();
  } else {
    p.End(p.connection->error);
  }
  return p.state;
}

const std::error_code& LineSocket::Error() const {
  return parts->error;
}

bool LineSocket::IsNameUnknown() const {
  return parts->lookup && parts->lookup->done && parts->lookup->error;
}

bool LineSocket::WasClosed() const {
  return parts->error == asio::error::eof;
}

std::string& LineSocket::Received() {
  return parts->connection ? parts->connection->received : parts->none;
}

void LineSocket::Send(std::string_view bytes) {
  if (bytes.empty() || !parts->connection) return;
  parts->connection->Send(bytes);
  parts->loop->poll();
}

SocketQueue LineSocket::Queue() const {
  return parts->connection ? parts->connection->Queue() : SocketQueue{};
}

std::size_t LineSocket::Window() const {
  return parts->connection ? parts->connection->Window() : 0;
}

bool LineSocket::IsSilent() const {
  return parts->state == State::Up && HasEndedSilently(parts->connection->Handle());
}

void LineSocket::WaitUntil(Time until) {
  Parts& p = *parts;
  if (p.connection) p.connection->ReadOn(); // what was full may have been taken
  while (!p.interrupted.exchange(false) && !p.HasNews())
    if (p.loop->run_one_until(until) == 0) return;
}

void LineSocket::Interrupt() {
  parts->interrupted = true;
  asio::post(*parts->loop, [] {});
}

} // namespace kor
