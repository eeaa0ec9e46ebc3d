#include "platform/posix/serial_names.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "platform/port_address.h"
#include "platform/serial_devices.h"
#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr int kLastNumber = 255;

// The number of a name "COMn"; 0 for any other name.
int ComNumber(const KorText& name) {
  if (!name.StartsWithNoCase(u"COM")) return 0;
  KorText digits = name.Mid(3);
  if (!IsNumber(digits) || digits.Length() > 3 || digits[0] == u'0') return 0;
  const int number = digits.ToInteger();
  return number <= kLastNumber ? number : 0;
}

KorText LinkFolder() {
  return App().GetApplicationPropertyPath(kSettingsFolder) + App().FileNames().ports;
}

KorText LinkPath(int number) {
  return LinkFolder() + KorText::Format(u"/COM%i", number);
}

bool IsLink(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

KorText LinkTarget(const std::string& path) {
  std::array<char, 4096> target{};
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  if (length <= 0) return {};
  return KorText::FromUtf8(std::string_view(target.data(), static_cast<std::size_t>(length)));
}

KorText Failure(const KorText& path, std::uint32_t error) {
  return path + u": " + App().ErrorText(error);
}

std::uint32_t SystemError() {
  return static_cast<std::uint32_t>(errno);
}

KorText RemoveLink(const KorText& path) {
  if (::unlink(path.ToUtf8().c_str()) == 0 || errno == ENOENT) return {};
  return Failure(path, SystemError());
}

KorText ReplaceLink(const KorText& path, const KorText& device) {
  const KorText beside = path + u".new";
  ::unlink(beside.ToUtf8().c_str()); // left by a killed program
  if (::symlink(device.ToUtf8().c_str(), beside.ToUtf8().c_str()) != 0)
    return Failure(beside, SystemError());
  if (::rename(beside.ToUtf8().c_str(), path.ToUtf8().c_str()) == 0) return {};
  const std::uint32_t error = SystemError();
  ::unlink(beside.ToUtf8().c_str());
  return Failure(path, error);
}

} // namespace

KorText SerialDevicePath(const KorText& name) {
  const int number = ComNumber(name);
  if (number == 0) return name;
  KorText link = LinkPath(number);
  return IsLink(link.ToUtf8()) ? link : KorText::Format(u"/dev/ttyS%i", number - 1);
}

KorText NetworkAddress(const KorText& name) {
  const int number = ComNumber(name);
  const KorText target = number == 0 ? name : LinkTarget(LinkPath(number).ToUtf8());
  return IsPortAddress(target) ? target : KorText();
}

std::vector<SerialName> ListSerialNames() {
  std::vector<SerialName> names;
  for (int number = 1; number <= kLastNumber; ++number) {
    const std::string link = LinkPath(number).ToUtf8();
    if (IsLink(link)) names.push_back({KorText::Format(u"COM%i", number), LinkTarget(link)});
  }
  return names;
}

KorText AssignSerialName(const KorText& name, const KorText& device) {
  const int number = ComNumber(name);
  if (number == 0) return name + u": a serial port is named COM1 to COM255";
  const KorText path = LinkPath(number);
  if (device.IsEmpty()) return RemoveLink(path);
  const bool isAddress = IsPortAddress(device);
  const KorText refusal = isAddress ? RefusalOfPortAddress(device) : KorText();
  if (!refusal.IsEmpty()) return refusal;
  if (!isAddress && device[0] != u'/')
    return device + u": name the device by its full path, such as /dev/ttyUSB0";
  if (!App().MakeFolder(LinkFolder())) return Failure(LinkFolder(), App().LastError());
  return ReplaceLink(path, device);
}

} // namespace kor
