#include "services/ini/ini_file.h"

#include <algorithm>

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr int kTextUnableToWrite = 240;

bool NeedsUnicode(const KorText* line) {
  return std::ranges::any_of(line->View(), [](char16_t c) { return c > 0xFF; });
}

} // namespace

void iniFile::Add(std::unique_ptr<iniStruct> item) {
  if (item) items.push_back(std::move(item));
}

void iniFile::Release() {
  lines.Clear();
  encoding = TextEncoding::EightBit;
  loaded = false;
}

bool iniFile::Passes(const iniStruct& item, const Filter& section, const Filter& key) const {
  return (!section || item.SectionName().EqualsNoCase(*section)) &&
         (!key || item.KeyName().EqualsNoCase(*key));
}

bool iniFile::Load(bool /*report*/) {
  Release();
  if (path.IsEmpty()) return false;
  SimpleFile file(path);
  if (!file.Open(kFileRead | kFileText)) return false;
  encoding = file.Encoding();
  KorText line;
  while (file.ReadLine(line))
    lines.Append(std::move(line));
  // A file that breaks off while it is read must not be taken, and later saved, as a shorter one.
  loaded = file.AtEnd();
  if (!loaded) Release();
  return loaded;
}

bool iniFile::Read(const Filter& section, const Filter& key, bool report) {
  if (!loaded) Load(report);
  const bool result = loaded;
  for (const auto& item : items) {
    if (Passes(*item, section, key)) item->ReadFrom(lines);
  }
  Release();
  return result;
}

bool iniFile::Write(const Filter& section, const Filter& key, bool report) {
  if (!loaded) Load(report);
  // New sections and keys are inserted at the top, so the last item goes first.
  std::for_each(items.rbegin(), items.rend(), [&](const std::unique_ptr<iniStruct>& item) {
    if (Passes(*item, section, key)) item->WriteTo(lines);
  });
  Save(report);
  Release();
  written = true;
  return true;
}

std::uint32_t iniFile::EncodingMode(const std::vector<const KorText*>& all) const {
  if (encoding == TextEncoding::Utf16) return kFileUnicode;
  if (encoding == TextEncoding::Utf8) return kFileUtf8;
  return std::ranges::any_of(all, NeedsUnicode) ? std::uint32_t{kFileUtf8} : 0u;
}

bool iniFile::WriteLines() {
  std::vector<const KorText*> all = lines.All();
  while (!all.empty() && all.back()->IsEmpty())
    all.pop_back();
  // A file that may not be written to is not replaced by way of its folder either.
  const std::optional<FileInfo> info = App().FileAttributes(path);
  if (info && (info->isReadOnly || info->isFolder)) return false;
  KorFile file(path);
  if (!file.OpenSafe(kFileWrite | kFileText | EncodingMode(all))) return false;
  file.UseWriteCache(true);
  for (const KorText* line : all) {
    if (!file.Print(u"%s\n", *line)) return false;
  }
  return file.Commit();
}

bool iniFile::Save(bool report) {
  saved = !path.IsEmpty() && WriteLines();
  if (!saved && report && !path.IsEmpty()) {
    MessageRecord record;
    record.level = MessageLevel::Warn;
    record.info = path;
    record.message = LookUpText(kTextUnableToWrite, u"Unable to write to the file");
    App().Report(record);
  }
  return saved;
}

} // namespace kor
