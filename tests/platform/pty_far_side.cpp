// The far side of a pseudo-terminal for wine_serial_check.sh: prints the device's name, then echoes what
// arrives. Byte 1: reads nothing for two seconds, then drops everything up to a byte 2. Byte 4: hangs up
// and ends.
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <string>

namespace {

constexpr int kBusy = 2000; // milliseconds

// The device as another program finds it when nothing else has it open: it must not be hung up in between.
int OpenRaw(const char* name) {
  const int device = ::open(name, O_RDWR | O_NOCTTY);
  termios line{};
  if (device < 0 || ::tcgetattr(device, &line) != 0) return -1;
  ::cfmakeraw(&line);
  return ::tcsetattr(device, TCSANOW, &line) == 0 ? device : -1;
}

bool SendAll(int line, const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = ::write(line, bytes.data() + sent, bytes.size() - sent);
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

class FarSide {
 public:
  // False: hang up.
  bool Take(int line, char byte) {
    if (dropping) {
      dropping = byte != 2;
      return true;
    }
    if (byte == 1) {
      ::poll(nullptr, 0, kBusy);
      dropping = true;
      return true;
    }
    return byte != 4 && SendAll(line, {byte});
  }

 private:
  bool dropping = false;
};

void Serve(int line) {
  FarSide farSide;
  char bytes[4096];
  for (;;) {
    const ssize_t count = ::read(line, bytes, sizeof(bytes));
    if (count <= 0) return;
    for (ssize_t i = 0; i < count; ++i)
      if (!farSide.Take(line, bytes[i])) return;
  }
}

} // namespace

int main() {
  const int line = ::posix_openpt(O_RDWR | O_NOCTTY);
  if (line < 0 || ::grantpt(line) != 0 || ::unlockpt(line) != 0 || OpenRaw(::ptsname(line)) < 0) {
    ::perror("pseudo-terminal");
    return 1;
  }
  ::puts(::ptsname(line));
  ::fflush(stdout);
  Serve(line);
}
