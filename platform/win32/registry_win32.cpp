#include "platform/win32/registry_win32.h"

#include "platform/win32/wide_text.h"

namespace kor {

namespace {

class RegistryKeyHandle {
 public:
  ~RegistryKeyHandle() {
    if (handle) RegCloseKey(handle);
  }
  HKEY handle = nullptr;
};

// Makes the key when it is missing.
template <class Data>
LSTATUS WriteValue(const KorText& key, const KorText& value, DWORD type, const Data* data,
                   std::size_t bytes) {
  RegistryKeyHandle opened;
  const LSTATUS made =
      RegCreateKeyExW(HKEY_CURRENT_USER, ToWide(key).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                      KEY_SET_VALUE, nullptr, &opened.handle, nullptr);
  if (made != ERROR_SUCCESS) return made;
  return RegSetValueExW(opened.handle, ToWide(value).c_str(), 0, type,
                        reinterpret_cast<const BYTE*>(data), static_cast<DWORD>(bytes));
}

} // namespace

std::optional<KorText> ReadRegistryText(HKEY hive, const KorText& key, const KorText& value) {
  const std::wstring name = ToWide(key), valueName = ToWide(value);
  DWORD bytes = 0;
  std::wstring text;
  LSTATUS result = ERROR_MORE_DATA;
  while (result == ERROR_MORE_DATA) { // the value may grow between the calls
    text.resize(bytes / sizeof(wchar_t) + 64);
    bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    result = RegGetValueW(hive, name.c_str(), valueName.c_str(), RRF_RT_REG_SZ, nullptr,
                          text.data(), &bytes);
  }
  if (result != ERROR_SUCCESS) return std::nullopt;
  text.resize(bytes / sizeof(wchar_t));
  while (text.ends_with(L'\0'))
    text.pop_back();
  return FromWide(text);
}

std::optional<std::uint32_t> Win32Registry::ReadNumber(const KorText& key, const KorText& value) {
  DWORD number = 0, bytes = sizeof number;
  const LSTATUS result = RegGetValueW(HKEY_CURRENT_USER, ToWide(key).c_str(), ToWide(value).c_str(),
                                      RRF_RT_REG_DWORD, nullptr, &number, &bytes);
  if (result != ERROR_SUCCESS) return std::nullopt;
  return number;
}

std::optional<KorText> Win32Registry::ReadText(const KorText& key, const KorText& value) {
  return ReadRegistryText(HKEY_CURRENT_USER, key, value);
}

bool Win32Registry::WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) {
  const DWORD data = number;
  const LSTATUS result = WriteValue(key, value, REG_DWORD, &data, sizeof data);
  if (result != ERROR_SUCCESS) errors.SetLastError(static_cast<std::uint32_t>(result));
  return result == ERROR_SUCCESS;
}

bool Win32Registry::WriteText(const KorText& key, const KorText& value, const KorText& text) {
  const std::wstring wide = ToWide(text);
  const LSTATUS result =
      WriteValue(key, value, REG_SZ, wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
  if (result != ERROR_SUCCESS) errors.SetLastError(static_cast<std::uint32_t>(result));
  return result == ERROR_SUCCESS;
}

// Who holds the lock for long has hung: better two defaults than none.
bool Win32Registry::Change(const std::function<bool()>& work) {
  constexpr DWORD kLongest = 5000; // milliseconds
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"Local\\Velmora.Plenova.Registry");
  const DWORD waited = mutex != nullptr ? WaitForSingleObject(mutex, kLongest) : WAIT_FAILED;
  const bool done = work();
  if (waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED) ReleaseMutex(mutex);
  if (mutex != nullptr) CloseHandle(mutex);
  return done;
}

std::vector<KorText> Win32Registry::SubKeys(const KorText& key) {
  RegistryKeyHandle opened;
  std::vector<KorText> names;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, ToWide(key).c_str(), 0, KEY_ENUMERATE_SUB_KEYS,
                    &opened.handle) != ERROR_SUCCESS) {
    return names;
  }
  wchar_t name[256] = {}; // key names have at most 255 characters
  DWORD length = 256;
  for (DWORD i = 0; RegEnumKeyExW(opened.handle, i, name, &length, nullptr, nullptr, nullptr,
                                  nullptr) == ERROR_SUCCESS;
       ++i, length = 256) {
    names.push_back(FromWide({name, length}));
  }
  return names;
}

} // namespace kor
