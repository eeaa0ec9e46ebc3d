// TextHolder's exports other than XLIFF: XML and the C header of text positions.
#include "files/kor_file.h"
#include "files/paths.h"
#include "services/core/app_interface.h"
#include "services/dictionary/text_holder.h"

namespace kor {
namespace {

constexpr std::size_t kDefineWidth = 48;

KorText Escaped(const KorText& text) {
  KorText escaped = text;
  escaped.ReplaceAll(u"&", u"&amp;");
  escaped.ReplaceAll(u"<", u"&lt;");
  escaped.ReplaceAll(u">", u"&gt;");
  return escaped;
}

KorText XmlEntry(const TextEntry& entry) {
  KorText xml = u"  <Entry>\n";
  xml += KorText::Format(u"    <id>%i</id>\n", entry.id);
  xml += KorText::Format(u"    <phrase>%s</phrase>\n", Escaped(entry.phrase));
  xml += KorText::Format(u"    <textpos>%s</textpos>\n", Escaped(entry.textPosition));
  xml += KorText::Format(u"    <comment>%s</comment>\n", Escaped(entry.comment));
  for (const KorText& translation : entry.translations)
    if (!translation.IsEmpty())
      xml += KorText::Format(u"    <translation>%s</translation>\n", Escaped(translation));
  return xml + u"  </Entry>\n";
}

// What a name in C can hold; a file's may hold anything, line ends too.
KorText HeaderName(const KorText& textPosition) {
  KorText name;
  for (const char16_t c : textPosition.View())
    if (TextEntry::IsNameCharacter(c) || c == u'_') name += c;
  return name;
}

KorText DefineLine(const KorText& name, std::int32_t id) {
  return (u"#define " + name).PaddedRight(kDefineWidth) + KorText::Format(u" %i\n", id);
}

// Beside the target and renamed over it.
bool WriteWholeFile(const KorText& path, const KorText& text, std::uint32_t textBits) {
  KorFile file(path);
  return file.OpenSafe(kFileWrite | textBits) && file.WriteText(text) && file.Commit();
}

} // namespace

bool TextHolder::ExportXML(const KorText& file) {
  if (!MayExport(u"Export XML")) return false;
  KorText xml = u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<Dictionary>\n";
  for (const TextLanguage& language : languages)
    xml += KorText::Format(u"  <Language folder=\"%s\" lcid=\"%i\" codepage=\"%i\">%s</Language>\n",
                           Escaped(language.folder), language.lcid, language.codepage,
                           Escaped(language.name));
  for (const TextEntry& entry : entries)
    xml += XmlEntry(entry);
  // Without entries the file is left unfinished on purpose: readers see that it holds nothing.
  if (!entries.empty()) xml += u"</Dictionary>\n";
  return WriteWholeFile(file, xml, kFileText | kFileUnicode) && !entries.empty();
}

bool TextHolder::ExportHeader() {
  if (!MayExport(u"Export Header")) return false;
  KorText header;
  for (const TextEntry& entry : entries) {
    const KorText name = HeaderName(entry.textPosition);
    header += name.IsEmpty() ? KorText(u"\n") : DefineLine(name, entry.id);
  }
  header += u"\n";
  header += DefineLine(u"TXTPOS_VOID", -1);
  const KorText file = FolderOfPath(path) + u"textlib.h";
  if (App().FileExists(file) && !App().DuplicateFile(file, file + u".bak")) return false;
  return WriteWholeFile(file, header, 0);
}

} // namespace kor
