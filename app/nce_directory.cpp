#include "app/nce_directory.h"

#include <algorithm>

namespace kor {

namespace {

constexpr std::size_t kEntriesPerPage = 4;
constexpr std::size_t kNameColumns = 8;

// Both ranges: on a line of 7 data bits the upper one is the lower one.
bool IsControl(char16_t c) {
  return c < u' ' || (c >= 0x7F && c < 0xA0);
}

bool IsListed(const FileEntry& entry) {
  return std::ranges::none_of(entry.name.View(), IsControl) && !entry.info.isFolder &&
         !entry.info.isHidden && !entry.info.isSystem && entry.info.size > 0;
}

// Without what stands from the last "." on.
KorText WithoutExtension(const KorText& name) {
  return name.Left(std::min(name.FindLast(u'.'), name.Length()));
}

} // namespace

std::optional<std::vector<KorText>> ListNcFiles(OsFiles& files, const KorText& folder,
                                                const KorText& extension) {
  std::vector<KorText> names;
  const auto entries = files.List(folder, u"." + extension);
  if (!entries) return std::nullopt;
  for (const FileEntry& entry : *entries)
    if (IsListed(entry)) names.push_back(entry.name);
  std::sort(names.begin(), names.end(), [](const KorText& a, const KorText& b) {
    const int order = a.CompareNoCase(b);
    return order != 0 ? order < 0 : a < b;
  });
  return names;
}

KorText DirectoryPage(const std::vector<KorText>& list, std::size_t& at) {
  if (at >= list.size()) return u"]";
  KorText page;
  for (std::size_t n = 0; n < kEntriesPerPage && at < list.size(); ++n, ++at) {
    const KorText name = WithoutExtension(list[at]).Trimmed().PaddedRight(kNameColumns);
    page += KorText::Format(u"%2i|%s ", at + 1, name);
  }
  return page;
}

} // namespace kor
