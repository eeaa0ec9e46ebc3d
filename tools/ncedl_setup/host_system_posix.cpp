#include <algorithm>

#include "platform/port_address.h"
#include "platform/posix/serial_names.h"
#include "tools/ncedl_setup/host_system.h"

namespace kor {
namespace {

namespace fs = std::filesystem;

fs::file_type TypeOf(const KorText& device) {
  std::error_code error;
  return fs::status(NativePath(device), error).type();
}

} // namespace

fs::path NativePath(const KorText& path) {
  return path.ToUtf8();
}

KorText TextOfPath(const fs::path& path) {
  return KorText::FromUtf8(path.native());
}

KorText RefusalOfFolder(const KorText& folder) {
  if (folder.Find(u'\\') == KorText::kNone) return {};
  return u"a \"\\\" in KOR.INI stands between folders. Choose a folder without it in its path";
}

KorText AssignPort(const KorText& name, const KorText& device) {
  if (IsPortAddress(device)) return AssignSerialName(name, device);
  // Links are not followed: the names in /dev/serial/by-id are links, and have to stay.
  std::error_code error;
  const bool removes = device.IsEmpty();
  fs::path full = removes ? fs::path() : fs::absolute(NativePath(device), error);
  if (error) return device + u": " + KorText::FromUtf8(error.message());
  if (std::ranges::find(full, "..") == full.end()) full = full.lexically_normal();
  const KorText failure = AssignSerialName(name, TextOfPath(full));
  if (failure.IsEmpty()) return {};
  return failure + u". The names are links in the user's settings folder, which has to be writable";
}

KorText DeviceRemark(const KorText& device) {
  if (IsPortAddress(device)) return {};
  switch (TypeOf(device)) {
  case fs::file_type::character:
    return {};
  case fs::file_type::not_found:
    return device + u" isn't there at the moment. The program waits for it; if it is plugged in, "
                    u"compare the name with those in /dev/serial/by-id";
  default:
    return device + u" is no serial device. Those of USB adapters are in /dev/serial/by-id";
  }
}

std::vector<KorText> DescribePorts() {
  std::vector<KorText> lines;
  for (const SerialName& known : ListSerialNames()) {
    const bool there =
        IsPortAddress(known.device) || TypeOf(known.device) != fs::file_type::not_found;
    lines.push_back(KorText::Format(u"%-6s %s%s", known.name, known.device,
                                    there ? u"" : u" (isn't there at the moment)"));
  }
  lines.emplace_back(lines.empty() ? u"COM1 is /dev/ttyS0, COM2 /dev/ttyS1, and so on"
                                   : u"others: COM1 is /dev/ttyS0, COM2 /dev/ttyS1, and so on");
  return lines;
}

} // namespace kor
