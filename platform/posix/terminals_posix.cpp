#include "platform/terminals.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace kor {
namespace {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int toOwn) : number(toOwn) {}
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  void Take(int toOwn) {
    Close();
    number = toOwn;
  }
  int Number() const { return number; }

 private:
  void Close() const {
    if (number >= 0) close(number);
  }
  int number = -1;
};

KorText SystemText(int error) {
  return KorText::FromUtf8(std::strerror(error)); // NOLINT(concurrency-mt-unsafe): one thread
}

KorText Failure(std::u16string_view step, int error) {
  return KorText(step) + u": " + SystemText(error).View();
}

std::string ReadLink(const std::string& path) {
  char target[4096];
  const ssize_t length = readlink(path.c_str(), target, sizeof target);
  return length < 0 ? std::string() : std::string(target, static_cast<std::size_t>(length));
}

timespec TimeSpec(std::chrono::nanoseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  timespec result{};
  result.tv_sec = seconds.count();
  result.tv_nsec = static_cast<long>((time - seconds).count());
  return result;
}

class PosixPseudoTerminal : public PseudoTerminal {
 public:
  ~PosixPseudoTerminal() override {
    if (!linkPath.empty() && ReadLink(linkPath) == farEnd.ToUtf8()) unlink(linkPath.c_str());
  }

  bool Open(const KorText& link, KorText& error) {
    if (!OpenBothEnds(error) || !MakeRaw(error)) return false;
    // Timers of a thread are late by up to 50 us unless it asks for better.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    return PlaceLink(link.ToUtf8(), error);
  }

  const KorText& FarEnd() const override { return farEnd; }

  bool Read(std::span<std::uint8_t> to, std::size_t& readCount) override {
    return Count(read(near.Number(), to.data(), to.size()), readCount);
  }

  bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) override {
    return Count(write(near.Number(), from.data(), from.size()), writtenCount);
  }

  void WaitUntil(Moment until, bool forInput, bool forOutput) override {
    const auto left = until - std::chrono::steady_clock::now();
    if (left <= std::chrono::nanoseconds::zero()) return;
    const timespec wait = TimeSpec(left);
    pollfd entry{near.Number(), 0, 0};
    if (forInput) entry.events = POLLIN;
    if (forOutput) entry.events = static_cast<short>(entry.events | POLLOUT);
    ppoll(&entry, entry.events == 0 ? 0U : 1U, &wait, nullptr);
  }

  void Abandon() override {
    tcflush(far.Number(), TCIFLUSH);
    ioctl(far.Number(), TIOCNXCL);
  }

  KorText LastErrorText() const override { return lastError; }

 private:
  bool OpenBothEnds(KorText& error) {
    near.Take(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (near.Number() < 0) {
      error = Failure(u"Pseudo-terminal", errno);
      return false;
    }
    char name[128];
    if (grantpt(near.Number()) != 0 || unlockpt(near.Number()) != 0 ||
        ptsname_r(near.Number(), name, sizeof name) != 0) {
      error = Failure(u"Pseudo-terminal", errno);
      return false;
    }
    farEnd = KorText::FromUtf8(name);
    // Kept open: without it every read fails once the far program has closed its end.
    far.Take(open(name, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (far.Number() < 0) error = Failure(farEnd, errno);
    return far.Number() >= 0;
  }

  bool MakeRaw(KorText& error) {
    termios settings{};
    if (tcgetattr(far.Number(), &settings) == 0) {
      cfmakeraw(&settings);
      if (tcsetattr(far.Number(), TCSANOW, &settings) == 0) return true;
    }
    error = Failure(farEnd, errno);
    return false;
  }

  // Beside and renamed: whoever waits for the link never sees it half made.
  bool PlaceLink(const std::string& path, KorText& error) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0 && !S_ISLNK(status.st_mode)) {
      error = KorText::FromUtf8(path) + u": exists and is no link; name another path or remove it";
      return false;
    }
    const std::string beside = path + ".new" + std::to_string(getpid());
    if (symlink(farEnd.ToUtf8().c_str(), beside.c_str()) != 0) {
      error = Failure(KorText::FromUtf8(path), errno);
      return false;
    }
    if (rename(beside.c_str(), path.c_str()) != 0) {
      error = Failure(KorText::FromUtf8(path), errno);
      unlink(beside.c_str());
      return false;
    }
    linkPath = path;
    return true;
  }

  bool Count(ssize_t result, std::size_t& count) {
    count = result > 0 ? static_cast<std::size_t>(result) : 0;
    if (result >= 0 || errno == EAGAIN || errno == EINTR) return true;
    lastError = SystemText(errno);
    return false;
  }

  Descriptor near;
  Descriptor far;
  KorText farEnd;
  KorText lastError;
  std::string linkPath;
};

std::atomic<void (*)(int)> stopHandler = nullptr;

int nullDevice = -1;

// Put the null device in the descriptor's place: a read that is about to start would otherwise wait
// in spite of the signal, and the next file would take a descriptor that is free.
void OnStopSignal(int number) {
  const int savedError = errno;
  stopHandler.load()(number);
  dup2(nullDevice, STDIN_FILENO);
  errno = savedError;
}

} // namespace

std::unique_ptr<PseudoTerminal> OpenPseudoTerminal(const KorText& link, KorText& error) {
  auto terminal = std::make_unique<PosixPseudoTerminal>();
  if (!terminal->Open(link, error)) return nullptr;
  return terminal;
}

void CatchStopSignals(void (*handler)(int)) {
  stopHandler = handler;
  if (nullDevice < 0) nullDevice = open("/dev/null", O_RDONLY | O_CLOEXEC);
  struct sigaction action {};
  action.sa_handler = OnStopSignal; // without SA_RESTART: a waiting read is not begun again
  sigemptyset(&action.sa_mask);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
    sigaction(number, &action, nullptr);
}

bool StreamIsTerminal(StandardStream stream) {
  return isatty(static_cast<int>(stream)) != 0;
}

} // namespace kor
