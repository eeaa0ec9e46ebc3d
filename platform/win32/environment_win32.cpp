#include "platform/win32/environment_win32.h"

#include <windows.h>

#include <knownfolders.h>
#include <shlobj.h>

#include <memory>

#include "platform/win32/registry_win32.h"
#include "platform/win32/wide_text.h"
#include "services/core/path_text.h"

namespace kor {

namespace {

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

KorText SuiteFolder(const KNOWNFOLDERID& id, std::u16string_view nameAndVersion) {
  const KorText base = KnownFolder(id);
  return base.IsEmpty() ? base : base + u"/" + nameAndVersion;
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
  return WithTrailingSlash(
      WithSlashes(TextOf([](wchar_t* to, DWORD size) { return GetCurrentDirectoryW(size, to); })));
}

} // namespace

PropertyFolders Win32Environment::Folders(const ProgramNames& names, const KorText& version) {
  const KorText suite = KorText(names.suite) + u" " + version;
  PropertyFolders folders;
  folders.settings = SuiteFolder(FOLDERID_RoamingAppData, suite);
  folders.data = SuiteFolder(FOLDERID_PublicDocuments, suite);
  folders.program = ProgramFolder();
  folders.temporary = TemporaryFolder();
  const KorText working = WorkingFolder();
  folders.startIn = files.Exists(working + names.paths) ? working : folders.data;
  return folders;
}

KorText Win32Environment::FolderAdvice(const ProgramNames&) {
  return u"Windows names no folder for application data or public documents.";
}

KorText Win32Environment::PublicDocuments() {
  const KorText folder = KnownFolder(FOLDERID_PublicDocuments);
  return folder.IsEmpty() ? folder : folder + u"/";
}

KorText Win32Environment::User() {
  wchar_t name[257] = {}; // the longest user name has 256 characters
  DWORD length = 257;
  return GetUserNameW(name, &length) ? FromWide(name) : KorText();
}

KorText Win32Environment::Variable(const KorText& name) {
  const std::wstring native = ToWide(name);
  return FromWide(TextOf(
      [&](wchar_t* to, DWORD size) { return GetEnvironmentVariableW(native.c_str(), to, size); }));
}

KorText Win32Environment::System() {
  const KorText key = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
  KorText text = u"Windows";
  for (const char16_t* value : {u"ProductName", u"DisplayVersion", u"CurrentBuildNumber"}) {
    const KorText part = ReadRegistryText(HKEY_LOCAL_MACHINE, key, value).value_or(KorText());
    if (part.StartsWith(text)) {
      text = part;
    } else if (!part.IsEmpty()) {
      text += u" " + part;
    }
  }
  return text;
}

} // namespace kor
