// TextHolder's XLIFF 1.2 export: one file per language, for translators.
#include <map>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "files/kor_file.h"
#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"
#include "services/dictionary/text_holder.h"

namespace kor {
namespace {

class StringWriter : public pugi::xml_writer {
 public:
  explicit StringWriter(std::string& target) : text(target) {}
  void write(const void* data, std::size_t size) override {
    text.append(static_cast<const char*>(data), size);
  }

 private:
  std::string& text;
};

void SetAttribute(pugi::xml_node node, const char* name, const KorText& value) {
  node.append_attribute(name).set_value(value.ToUtf8().c_str());
}

void AppendText(pugi::xml_node parent, const char* name, const KorText& text) {
  const pugi::xml_node child = parent.append_child(name);
  if (!text.IsEmpty()) child.text().set(text.ToUtf8().c_str());
}

void AppendContext(pugi::xml_node parent, const char* type, const KorText& value) {
  AppendText(parent, "context", value);
  parent.last_child().append_attribute("context-type").set_value(type);
}

void AppendUnit(pugi::xml_node group, const TextEntry& entry, std::size_t language) {
  pugi::xml_node unit = group.append_child("trans-unit");
  SetAttribute(unit, "id", KorText::Format(u"%i", entry.id));
  SetAttribute(unit, "resname", entry.textPosition);
  SetAttribute(unit, "restype", {});
  AppendText(unit, "source", entry.phrase);
  AppendText(unit, "target", entry.Translation(language));
  pugi::xml_node context = unit.append_child("context-group");
  SetAttribute(context, "name", u"TransMetaData");
  AppendContext(context, "x-importance", KorText::Format(u"%i", entry.importance));
  AppendContext(context, "x-modified", DateText(entry.LatestModification()));
  AppendText(unit, "note", entry.comment);
}

struct Group {
  KorText name;
  std::vector<const TextEntry*> entries;
};

// By category number; a number that no category has is a nameless group.
std::map<std::int32_t, Group> GroupsOf(std::span<const TextCatagory> categories,
                                       std::span<const TextEntry> entries) {
  std::map<std::int32_t, Group> groups;
  for (const TextCatagory& category : categories)
    groups[category.id].name = category.name;
  for (const TextEntry& entry : entries)
    groups[entry.categoryId].entries.push_back(&entry);
  return groups;
}

void AppendGroup(pugi::xml_node body, std::int32_t id, const Group& content, std::size_t language) {
  if (content.entries.empty()) return;
  pugi::xml_node group = body.append_child("group");
  SetAttribute(group, "id", KorText::Format(u"%i", id));
  SetAttribute(group, "restype", content.name);
  for (const TextEntry* entry : content.entries)
    AppendUnit(group, *entry, language);
}

} // namespace

bool TextHolder::ExportXLIFF(const KorText& folder, const TitledProgress& progress) {
  if (!MayExport(u"Export XLIFF") || !App().MakeFolder(folder)) return false;
  const auto size = static_cast<double>(languages.size());
  for (std::size_t i = 0; i < languages.size(); ++i) {
    if (progress && !progress(u"Export as XLIFF", static_cast<double>(i), size)) return false;
    if (!WriteXLIFF(KorText::Format(u"%s/dictionary_%s.xlf", folder, languages[i].folder), i))
      return false;
  }
  if (progress) progress(u"Export as XLIFF", size, size);
  return true;
}

bool TextHolder::WriteXLIFF(const KorText& target, std::size_t language) const {
  pugi::xml_document document;
  pugi::xml_node declaration = document.append_child(pugi::node_declaration);
  SetAttribute(declaration, "version", u"1.0");
  SetAttribute(declaration, "encoding", u"UTF-8");
  pugi::xml_node xliff = document.append_child("xliff");
  SetAttribute(xliff, "version", u"1.2");
  pugi::xml_node file = xliff.append_child("file");
  SetAttribute(file, "source-language", u"en-uk");
  SetAttribute(file, "target-language", languages[language].folder);
  SetAttribute(file, "datatype", u"plaintext");
  SetAttribute(file, "original", u"diction.ary");
  AppendText(file.append_child("header"), "note",
             u"Contains UI text for Plenova Applications and Services.");
  pugi::xml_node body = file.append_child("body");
  for (const auto& [id, group] : GroupsOf(categories, entries))
    AppendGroup(body, id, group, language);

  std::string text;
  StringWriter writer(text);
  document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
  KorFile out(target);
  return out.OpenSafe() && out.Write(AsBytes(text)) == text.size() && out.Commit();
}

} // namespace kor
