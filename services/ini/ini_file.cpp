#include "services/ini/ini_file.h"

#include <algorithm>

#include "files/kor_file.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

bool IsWide(char16_t c) {
  return c > 0xFF;
}

bool HasHighBytes(std::string_view bytes) {
  return std::ranges::any_of(bytes, [](char c) { return static_cast<unsigned char>(c) > 0x7F; });
}

void Warn(const KorText& path, const KorText& text) {
  MessageRecord record;
  record.level = MessageLevel::Warn;
  record.info = path;
  record.message = text;
  App().Report(record);
}

} // namespace

void iniFile::Add(std::unique_ptr<iniStruct> item) {
  if (item) items.push_back(std::move(item));
}

void iniFile::Release() {
  lines.Clear();
  encoding = TextEncoding::EightBit;
  unmarkedUtf8 = false;
  loaded = false;
}

bool iniFile::Passes(const iniStruct& item, const Filter& section, const Filter& key) const {
  return (!section || item.SectionName().EqualsNoCase(*section)) &&
         (!key || item.KeyName().EqualsNoCase(*key));
}

// False, without going on, when the file is too large to be one.
bool iniFile::ReadLines(SimpleFile& file, std::vector<KorText>& read) {
  if (file.Size() > kLargestSettings) return false;
  std::size_t sections = 0;
  for (KorText line; file.ReadLine(line);) {
    sections += line.StartsWith(u"[") ? 1 : 0;
    if (read.size() == kMostSettingsLines || sections > kMostSections) return false;
    read.push_back(std::move(line));
  }
  return true;
}

bool iniFile::Load(Failures /*failures*/) {
  Release();
  tooLarge = false;
  if (path.IsEmpty()) return false;
  SimpleFile file(path);
  if (!file.Open(kFileRead | kFileText)) return false;
  std::vector<KorText> read;
  tooLarge = !ReadLines(file, read);
  if (tooLarge) {
    Warn(path, LookUpText(kTexts.settingsFileTooLarge));
    return false;
  }
  // A file that breaks off while it is read must not be taken, and later saved, as a shorter one.
  loaded = file.AtEnd();
  if (!loaded) return false;
  encoding = file.Encoding();
  TakeLines(std::move(read));
  return true;
}

// No character of UTF-8 reaches beyond its line.
void iniFile::TakeLines(std::vector<KorText> read) {
  if (encoding == TextEncoding::EightBit) {
    unmarkedUtf8 =
        std::ranges::any_of(read, [](const KorText& line) { return HasHighBytes(line.ToBytes()); });
    for (auto line = read.begin(); unmarkedUtf8 && line != read.end(); ++line)
      unmarkedUtf8 = KorText::IsUtf8(line->ToBytes());
  }
  for (KorText& line : read)
    lines.Append(unmarkedUtf8 ? KorText::FromUtf8(line.ToBytes()) : std::move(line));
}

bool iniFile::Read(const Filter& section, const Filter& key, Failures failures) {
  if (!loaded) Load(failures);
  const bool result = loaded;
  for (const auto& item : items) {
    if (Passes(*item, section, key)) item->ReadFrom(lines);
  }
  Release();
  return result;
}

bool iniFile::Write(const Filter& section, const Filter& key, Failures failures) {
  if (!loaded) Load(failures);
  // New sections and keys are inserted at the top, so the last item goes first.
  std::for_each(items.rbegin(), items.rend(), [&](const std::unique_ptr<iniStruct>& item) {
    if (Passes(*item, section, key)) item->WriteTo(lines);
  });
  Save(failures);
  Release();
  written = true;
  return true;
}

std::uint32_t iniFile::EncodingMode(const std::vector<const KorText*>& all) const {
  if (encoding == TextEncoding::Utf16) return kFileUnicode;
  if (encoding == TextEncoding::Utf8) return kFileUtf8;
  bool high = false, utf8 = true, wide = false;
  for (const KorText* line : all) {
    const std::string bytes = BytesOf(*line);
    high = high || HasHighBytes(bytes);
    utf8 = utf8 && KorText::IsUtf8(bytes);
    wide = wide || (!unmarkedUtf8 && std::ranges::any_of(line->View(), IsWide));
  }
  const bool misread = high && utf8 != unmarkedUtf8;
  return wide || misread ? std::uint32_t{kFileUtf8} : 0u;
}

// The encoding of a file without a mark.
std::string iniFile::BytesOf(const KorText& line) const {
  return unmarkedUtf8 ? line.ToUtf8() : line.ToBytes();
}

bool iniFile::WriteLines() {
  std::vector<const KorText*> all = lines.All();
  while (!all.empty() && all.back()->IsEmpty())
    all.pop_back();
  const std::optional<FileInfo> info = App().FileAttributes(path);
  if (info && (tooLarge || info->size > kLargestSettings)) return false;
  KorFile file(path);
  const std::uint32_t textBits = EncodingMode(all);
  if (!file.OpenSafe(kFileWrite | kFileText | textBits)) return false;
  file.UseWriteCache(true);
  for (const KorText* line : all) {
    const bool marked = textBits != 0;
    if (!file.Print(u"%s\n", marked ? *line : KorText::FromBytes(BytesOf(*line)))) return false;
  }
  return file.Commit();
}

bool iniFile::Save(Failures failures) {
  saved = !path.IsEmpty() && WriteLines();
  if (!saved && failures == Failures::Reported && !path.IsEmpty())
    Warn(path, LookUpText(kTexts.unableToWriteFile));
  return saved;
}

} // namespace kor
