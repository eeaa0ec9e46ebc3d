// Windows keeps the names of its serial ports in the registry.
#include <windows.h>

// After that one, whose types they use.
#include <devguid.h>
#include <setupapi.h>

#include <algorithm>
#include <array>

#include "platform/serial_devices.h"

namespace kor {

namespace {

SerialDevice::State StateOf(const KorText& port) {
  const KorText path = u"\\\\.\\" + port;
  const HANDLE device =
      ::CreateFileW(reinterpret_cast<const wchar_t*>(path.CStr()), GENERIC_READ | GENERIC_WRITE, 0,
                    nullptr, OPEN_EXISTING, 0, nullptr);
  // The system has one answer, "access denied", for a port in use.
  if (device == INVALID_HANDLE_VALUE) return SerialDevice::State::InUse;
  ::CloseHandle(device);
  return SerialDevice::State::Free;
}

// The next value's text; false behind the last one.
bool ReadPort(HKEY key, DWORD index, KorText& port) {
  std::array<wchar_t, 256> name{};
  std::array<char16_t, 256> value{};
  DWORD nameLength = name.size(), bytes = sizeof(char16_t) * (value.size() - 1), type = 0;
  const LSTATUS status = ::RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type,
                                         reinterpret_cast<BYTE*>(value.data()), &bytes);
  if (status == ERROR_NO_MORE_ITEMS) return false;
  port = status == ERROR_SUCCESS && type == REG_SZ ? KorText(value.data()) : KorText();
  return true;
}

} // namespace

std::vector<KorText> ListSerialPaths() {
  std::vector<KorText> paths;
  HKEY key = nullptr;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, KEY_READ, &key) !=
      ERROR_SUCCESS)
    return paths; // never had a port
  KorText port;
  for (DWORD index = 0; ReadPort(key, index, port); ++index)
    if (!port.IsEmpty()) paths.push_back(port);
  ::RegCloseKey(key);
  std::ranges::sort(paths, {}, [](const KorText& path) {
    return path.Mid(3).ToInteger(); // behind "COM"
  });
  return paths;
}

// "USB Serial Port" of "USB Serial Port (COM3)".
KorText SerialDeviceBehind(const KorText& port) {
  const KorText address = NetworkAddress(port);
  if (!address.IsEmpty()) return address;
  const KorText end = u" (" + port + u")";
  KorText found;
  const HDEVINFO devices =
      ::SetupDiGetClassDevsW(&GUID_DEVCLASS_PORTS, nullptr, nullptr, DIGCF_PRESENT);
  if (devices == INVALID_HANDLE_VALUE) return found;
  SP_DEVINFO_DATA device{};
  device.cbSize = sizeof device;
  std::array<char16_t, 256> name{};
  for (DWORD index = 0; ::SetupDiEnumDeviceInfo(devices, index, &device) != FALSE; ++index) {
    if (::SetupDiGetDeviceRegistryPropertyW(devices, &device, SPDRP_FRIENDLYNAME, nullptr,
                                            reinterpret_cast<BYTE*>(name.data()),
                                            sizeof(char16_t) * (name.size() - 1), nullptr) == FALSE)
      continue;
    const KorText title(name.data());
    if (title.EndsWith(end)) found = title.Left(title.Length() - end.Length());
  }
  ::SetupDiDestroyDeviceInfoList(devices);
  return found;
}

bool IsSerialPortFree(const KorText& name) {
  if (!NetworkAddress(name).IsEmpty()) return true;
  return StateOf(name) == SerialDevice::State::Free;
}

std::vector<SerialDevice> ListSerialDevices() {
  std::vector<SerialDevice> devices;
  for (const KorText& path : ListSerialPaths())
    devices.push_back({path, {}, StateOf(path)});
  return devices;
}

KorText SerialDeviceName(const KorText& port) {
  const KorText address = NetworkAddress(port);
  return address.IsEmpty() ? port : KorText::Format(u"%s (%s)", port, address);
}

} // namespace kor
