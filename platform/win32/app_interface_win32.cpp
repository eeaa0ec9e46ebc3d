#include "platform/win32/app_interface_win32.h"

#include <windows.h>

#include <knownfolders.h>
#include <shlobj.h>

#include <memory>

#include "platform/win32/wide_text.h"

namespace kor {

namespace {

constexpr const char16_t* kPathsFile = u"KOR.INI";
constexpr FileTime kTicksPerMillisecond = 10000;

KorText WithSlashes(std::wstring_view path) {
  return FromWide(path).ReplaceAll(u'\\', u'/');
}

struct FreeTaskMemory {
  void operator()(wchar_t* text) const { CoTaskMemFree(text); }
};

KorText KnownFolder(const KNOWNFOLDERID& id) {
  wchar_t* path = nullptr;
  const HRESULT result = SHGetKnownFolderPath(id, KF_FLAG_DONT_VERIFY, nullptr, &path);
  const std::unique_ptr<wchar_t, FreeTaskMemory> owned(path);
  return SUCCEEDED(result) && path ? WithSlashes(path) : KorText();
}

KorText SuiteFolder(const KNOWNFOLDERID& id, const KorText& version) {
  const KorText base = KnownFolder(id);
  return base.IsEmpty() ? base : base + u"/Velmora/Plenova " + version;
}

// Calls a function of the form "buffer, length -> length needed or written" with enough room.
template <class Call> std::wstring TextOf(Call call) {
  std::wstring text(MAX_PATH, L'\0');
  DWORD length = call(text.data(), static_cast<DWORD>(text.size()));
  while (length >= text.size()) { // cut short: some calls give the length needed, some the buffer's
    text.resize(text.size() * 2 + length);
    length = call(text.data(), static_cast<DWORD>(text.size()));
  }
  text.resize(length);
  return text;
}

KorText ProgramFolder() {
  const KorText program = WithSlashes(
      TextOf([](wchar_t* to, DWORD size) { return GetModuleFileNameW(nullptr, to, size); }));
  return program.Left(program.FindLast(u'/') + 1);
}

KorText TemporaryFolder() {
  return WithSlashes(TextOf([](wchar_t* to, DWORD size) { return GetTempPathW(size, to); }));
}

KorText WorkingFolder() {
  const KorText folder =
      WithSlashes(TextOf([](wchar_t* to, DWORD size) { return GetCurrentDirectoryW(size, to); }));
  return folder.EndsWith(u"/") ? folder : folder + u"/";
}

SYSTEMTIME ToSystem(const SystemTime& time) {
  SYSTEMTIME result{};
  result.wYear = static_cast<WORD>(time.year);
  result.wMonth = static_cast<WORD>(time.month);
  result.wDay = static_cast<WORD>(time.day);
  result.wHour = static_cast<WORD>(time.hour);
  result.wMinute = static_cast<WORD>(time.minute);
  result.wSecond = static_cast<WORD>(time.second);
  result.wMilliseconds = static_cast<WORD>(time.millisecond);
  result.wDayOfWeek = static_cast<WORD>(time.dayOfWeek);
  return result;
}

SystemTime FromSystem(const SYSTEMTIME& time) {
  return {time.wYear,   time.wMonth,  time.wDay,          time.wHour,
          time.wMinute, time.wSecond, time.wMilliseconds, time.wDayOfWeek};
}

KorText LocaleText(LCTYPE item, const KorText& otherwise) {
  wchar_t text[128] = {};
  const int length = GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, item, text, 128);
  return length > 1 ? FromWide(text) : otherwise;
}

char16_t LocaleCharacter(LCTYPE item, char16_t otherwise) {
  return LocaleText(item, KorText(1, otherwise))[0];
}

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

std::optional<KorText> RegistryText(HKEY hive, const KorText& key, const KorText& value) {
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

} // namespace

KorText Win32AppInterface::Start(const KorText& name, const KorText& versionText) {
  applicationName = name;
  version = versionText;
  LoadRegionalSettings();
  SetApplicationPropertyString(kVersionText, version);
  FindFolders(version);
  if (GetApplicationPropertyPath(kSettingsFolder).IsEmpty() ||
      GetApplicationPropertyPath(kDataFolder).IsEmpty()) {
    return u"Windows names no folder for application data or public documents.";
  }
  return {};
}

void Win32AppInterface::FindFolders(const KorText& versionText) {
  const KorText data = SuiteFolder(FOLDERID_PublicDocuments, versionText);
  SetApplicationPropertyPath(kSettingsFolder, SuiteFolder(FOLDERID_RoamingAppData, versionText));
  SetApplicationPropertyPath(kDataFolder, data);
  SetApplicationPropertyPath(kProgramFolder, ProgramFolder());
  SetApplicationPropertyPath(kTemporaryFolder, TemporaryFolder());
  const KorText working = WorkingFolder();
  SetApplicationPropertyPath(kStartInFolder, FileExists(working + kPathsFile) ? working : data);
}

void Win32AppInterface::DebugOutput(const KorText& text) {
  OutputDebugStringW(ToWide(text).c_str());
}

KorText Win32AppInterface::PublicDocumentsFolder() {
  return KnownFolder(FOLDERID_PublicDocuments) + u"/";
}

// --- Registry -----------------------------------------------------------------------------------

std::optional<std::uint32_t> Win32AppInterface::ReadRegistryNumber(const KorText& key,
                                                                   const KorText& value) {
  DWORD number = 0, bytes = sizeof number;
  const LSTATUS result = RegGetValueW(HKEY_CURRENT_USER, ToWide(key).c_str(), ToWide(value).c_str(),
                                      RRF_RT_REG_DWORD, nullptr, &number, &bytes);
  if (result != ERROR_SUCCESS) return std::nullopt;
  return number;
}

std::optional<KorText> Win32AppInterface::ReadRegistryText(const KorText& key,
                                                           const KorText& value) {
  return RegistryText(HKEY_CURRENT_USER, key, value);
}

bool Win32AppInterface::WriteRegistryNumber(const KorText& key, const KorText& value,
                                            std::uint32_t number) {
  const DWORD data = number;
  const LSTATUS result = WriteValue(key, value, REG_DWORD, &data, sizeof data);
  if (result != ERROR_SUCCESS) SetLastError(static_cast<std::uint32_t>(result));
  return result == ERROR_SUCCESS;
}

bool Win32AppInterface::WriteRegistryText(const KorText& key, const KorText& value,
                                          const KorText& text) {
  const std::wstring wide = ToWide(text);
  const LSTATUS result =
      WriteValue(key, value, REG_SZ, wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
  if (result != ERROR_SUCCESS) SetLastError(static_cast<std::uint32_t>(result));
  return result == ERROR_SUCCESS;
}

std::vector<KorText> Win32AppInterface::ListRegistrySubKeys(const KorText& key) {
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

// --- Time and locale ----------------------------------------------------------------------------

FileTime Win32AppInterface::CurrentFileTime() {
  FILETIME now{};
  GetSystemTimePreciseAsFileTime(&now);
  return (static_cast<FileTime>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
}

// With the daylight saving that held at that time. What is finer than milliseconds stays as it is.
FileTime Win32AppInterface::FileTimeToLocal(FileTime utc) {
  const SYSTEMTIME universal = ToSystem(FileTimeToSystemTime(utc));
  SYSTEMTIME local{};
  if (!SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local)) return utc;
  return SystemTimeToFileTime(FromSystem(local)) + utc % kTicksPerMillisecond;
}

KorText Win32AppInterface::FormatDate(const SystemTime& time) {
  const SYSTEMTIME system = ToSystem(time);
  wchar_t text[128] = {};
  GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &system, nullptr, text, 128, nullptr);
  return FromWide(text);
}

KorText Win32AppInterface::FormatTime(const SystemTime& time) {
  const SYSTEMTIME system = ToSystem(time);
  wchar_t text[128] = {};
  GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &system, nullptr, text, 128);
  return FromWide(text);
}

std::uint32_t Win32AppInterface::TickCount() {
  return GetTickCount();
}

double Win32AppInterface::HighResolutionSeconds() {
  static const double frequency = [] {
    LARGE_INTEGER perSecond{};
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(perSecond.QuadPart);
  }();
  LARGE_INTEGER count{};
  QueryPerformanceCounter(&count);
  return static_cast<double>(count.QuadPart) / frequency;
}

void Win32AppInterface::SleepMilliseconds(std::uint32_t milliseconds) {
  Sleep(milliseconds);
}

void Win32AppInterface::LoadRegionalSettings() {
  RegionalSettings settings;
  settings.listSeparator = LocaleCharacter(LOCALE_SLIST, settings.listSeparator);
  settings.decimalSeparator = LocaleCharacter(LOCALE_SDECIMAL, settings.decimalSeparator);
  settings.thousandsSeparator = LocaleCharacter(LOCALE_STHOUSAND, settings.thousandsSeparator);
  settings.timeSeparator = LocaleCharacter(LOCALE_STIME, settings.timeSeparator);
  settings.longDateFormat = LocaleText(LOCALE_SLONGDATE, settings.longDateFormat);
  settings.shortDateFormat = LocaleText(LOCALE_SSHORTDATE, settings.shortDateFormat);
  SetRegional(settings);
}

KorText Win32AppInterface::UserName() {
  wchar_t name[257] = {}; // the longest user name has 256 characters
  DWORD length = 257;
  return GetUserNameW(name, &length) ? FromWide(name) : KorText();
}

KorText Win32AppInterface::EnvironmentText(const KorText& name) {
  const std::wstring native = ToWide(name);
  return FromWide(TextOf(
      [&](wchar_t* to, DWORD size) { return GetEnvironmentVariableW(native.c_str(), to, size); }));
}

// A ":" would name a stream of another file.
bool Win32AppInterface::CanNameFile(const KorText& name) const {
  return AppInterface::CanNameFile(name) &&
         name.View().find_first_of(u":*?\"<>|") == KorText::kNone;
}

KorText Win32AppInterface::OperatingSystem() {
  const KorText key = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
  KorText text = u"Windows";
  for (const char16_t* value : {u"ProductName", u"DisplayVersion", u"CurrentBuildNumber"}) {
    const KorText part = RegistryText(HKEY_LOCAL_MACHINE, key, value).value_or(KorText());
    if (part.StartsWith(text)) {
      text = part;
    } else if (!part.IsEmpty()) {
      text += u" " + part;
    }
  }
  return text;
}

KorText Win32AppInterface::UserLanguage() {
  wchar_t name[LOCALE_NAME_MAX_LENGTH] = {};
  return GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH) ? FromWide(name) : KorText();
}

} // namespace kor
