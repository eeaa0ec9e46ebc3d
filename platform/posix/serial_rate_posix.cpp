#include "platform/posix/serial_rate_posix.h"

#include <asm/termbits.h>
#include <sys/ioctl.h>

namespace kor {

bool SetLineRate(int device, std::uint32_t rate) {
  struct termios2 line {};
  if (::ioctl(device, TCGETS2, &line) != 0) return false;
  constexpr tcflag_t kInputRate = static_cast<tcflag_t>(CBAUD) << IBSHIFT;
  line.c_cflag = (line.c_cflag & ~(static_cast<tcflag_t>(CBAUD) | kInputRate)) | BOTHER;
  line.c_ospeed = line.c_ispeed = rate; // an input rate of "none" follows the output rate
  return ::ioctl(device, TCSETS2, &line) == 0;
}

std::optional<std::uint32_t> LineRate(int device) {
  struct termios2 line {};
  if (::ioctl(device, TCGETS2, &line) != 0) return std::nullopt;
  return line.c_ospeed;
}

} // namespace kor
