#include "files/paths.h"

#include <algorithm>

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {
namespace {

constexpr std::u16string_view kInvalidInNames = u"/\\+?*|<>:\"";
constexpr std::u16string_view kSeparators = u"/\\";

KorText WithSlashes(std::u16string_view path) {
  return KorText(path).ReplaceAll(u'\\', u'/');
}

KorText WithoutEndSlash(const KorText& path) {
  return path.Last() == u'/' ? path.Left(path.Length() - 1) : path;
}

KorText BaseFolder(OptionalPath base) {
  return WithSlashes(base ? KorText(*base) : App().GetApplicationPropertyPath(kProgramFolder));
}

// The rest of the path behind a folder (without its end slash), or nothing.
std::optional<KorText> RestBehind(const KorText& path, const KorText& folder) {
  if (!path.StartsWithNoCase(folder + u"/")) return std::nullopt;
  return path.Mid(folder.Length() + 1);
}

// How far the two paths have their folders in common: the length of these, last slash included.
std::size_t CommonFolders(std::u16string_view path, std::u16string_view base) {
  std::size_t common = 0;
  for (std::size_t i = 0; i < std::min(path.size(), base.size()); ++i) {
    if (FoldAscii(path[i]) != FoldAscii(base[i])) break;
    if (path[i] == u'/') common = i + 1;
  }
  return common;
}

bool IsRelative(const KorText& path) {
  return GetPathRoot(path).IsEmpty() && !path.StartsWith(u"/");
}

std::optional<KorText> ClimbTo(const KorText& path, const KorText& base) {
  if (!GetPathRoot(path).EqualsNoCase(GetPathRoot(base))) return std::nullopt;
  const KorText from = base + u"/";
  const std::size_t common = CommonFolders(path, from);
  // Two relative paths start in the same folder, whichever that is.
  const bool haveStart = IsRelative(path) && IsRelative(base) && !base.IsEmpty();
  if (common == 0 && !haveStart) return std::nullopt;
  KorText climbed;
  for (const KorText& folder : Split(from.Mid(common), u'/')) {
    if (folder == u"..") return std::nullopt; // nobody knows what to come back to
    if (!folder.IsEmpty() && folder != u".") climbed += u"../";
  }
  return climbed + path.Mid(common);
}

} // namespace

int ComparePaths(OptionalPath a, OptionalPath b) {
  if (!a) return b ? -1 : 0;
  if (!b) return 1;
  const auto plain = [](char16_t c) { return static_cast<int>(c == u'\\' ? u'/' : FoldAscii(c)); };
  for (std::size_t i = 0; i < std::min(a->size(), b->size()); ++i)
    if (const int difference = plain((*a)[i]) - plain((*b)[i])) return difference;
  return a->size() == b->size() ? 0 : a->size() < b->size() ? -1 : 1;
}

KorText GetPathRoot(std::u16string_view path) {
  const auto isSeparator = [](char16_t c) { return kSeparators.find(c) != kSeparators.npos; };
  if (path.size() < 2) return {};
  if (path[1] == u':') return path.substr(0, 2);
  if (!isSeparator(path[0]) || !isSeparator(path[1])) return {};
  return path.substr(0, path.find_first_of(kSeparators, 2));
}

bool IsUnicodeNotationPath(std::u16string_view path, NotationWarning warning) {
  const KorText plain = WithSlashes(path);
  // The second form is meant without the two leading slashes.
  if (!plain.StartsWithNoCase(u"//?/") && !plain.StartsWithNoCase(u"?/UNC/")) return false;
  if (warning == NotationWarning::Raise)
    App().DebugWarning(u"Do not store/parse paths in unicode notation format!",
                       u"AbsToRelPath does not support unicode notation paths!");
  return true;
}

KorText AbsToRelPath(const KorText& path, OptionalPath base, OptionalPath root, Climbing climbing) {
  const KorText plain = WithSlashes(path);
  IsUnicodeNotationPath(plain, NotationWarning::Raise);
  if (root) {
    const auto rest = RestBehind(plain, WithoutEndSlash(WithSlashes(*root)));
    if (rest && (!base || !rest->Contains(u"/"))) return *rest;
  }
  const KorText folder = WithoutEndSlash(BaseFolder(base));
  if (plain.EqualsNoCase(folder)) return u".";
  if (const auto rest = RestBehind(plain, folder)) return KorText(u"./") + *rest;
  if (climbing == Climbing::Allowed)
    if (const auto climbed = ClimbTo(plain, folder)) return *climbed;
  return plain;
}

KorText RelToAbsPath(const KorText& path, OptionalPath base, OptionalPath) {
  KorText rest = WithSlashes(path);
  const KorText given = BaseFolder(base);
  if (rest == u"." || rest == u"./") return given;
  if (rest.StartsWith(u"//")) return rest;
  if (rest.StartsWith(u"/")) return GetPathRoot(given) + rest;
  if (!rest.StartsWith(u".")) return rest;
  KorText folder = WithoutEndSlash(given);
  if (rest.StartsWith(u"./") && !rest.StartsWith(u"./.")) return folder + rest.Mid(1);
  while (rest.StartsWith(u"../")) {
    rest.Remove(0, 3);
    const std::size_t cut = folder.FindLast(u'/');
    if (cut != KorText::kNone && cut >= GetPathRoot(folder).Length())
      folder = folder.Left(cut);
    else if (IsRelative(folder))
      folder.Clear();
  }
  return folder.IsEmpty() && IsRelative(given) ? rest : folder + u"/" + rest;
}

KorText MakeValidFileName(const KorText& name) {
  KorText valid = name;
  for (const char16_t c : kInvalidInNames)
    valid.ReplaceAll(c, u'_');
  return valid;
}

KorText MakeValidFileName(const KorText& name, NameNotice notice) {
  KorText valid = MakeValidFileName(name);
  while (valid.Last() == u'.')
    valid.Remove(valid.Length() - 1, 1);
  if (notice == NameNotice::Quiet || valid == name) return valid;
  MessageRecord record;
  record.level = MessageLevel::Info;
  record.message = KorText::Format(LookUpText(kTexts.namesInMessage), LookUpText(kTexts.oldName),
                                   name, LookUpText(kTexts.newName), valid);
  App().Report(record);
  return valid;
}

KorText ReplaceExtension(const KorText& path, const KorText& extension) {
  const KorText folder = FolderOfPath(path);
  const KorText file = FileNameOfPath(path);
  const std::size_t dot = file.FindLast(u'.');
  return folder + (dot == KorText::kNone ? file : file.Left(dot)) + extension;
}

} // namespace kor
