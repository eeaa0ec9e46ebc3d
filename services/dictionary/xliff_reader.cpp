#include "services/dictionary/xliff_reader.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "files/simple_file.h"

namespace kor {
namespace {

// Blanks between inline elements are part of the text.
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata;

std::string_view LocalName(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  return name.substr(name.find(':') + 1);
}

bool IsElement(const pugi::xml_node& node, std::string_view name) {
  return node.type() == pugi::node_element && LocalName(node) == name;
}

pugi::xml_node Child(const pugi::xml_node& parent, std::string_view name) {
  return parent.find_child([name](const pugi::xml_node& node) { return IsElement(node, name); });
}

KorText Attribute(const pugi::xml_node& node, const char* name) {
  return KorText::FromUtf8(node.attribute(name).value());
}

// All the text in an element; inline elements are passed through.
KorText ContentText(pugi::xml_node element) {
  struct Collector : pugi::xml_tree_walker {
    std::string text;
    bool for_each(pugi::xml_node& node) override {
      const bool isText = node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
      if (isText) text += node.value();
      return true;
    }
  } collector;
  element.traverse(collector);
  return KorText::FromUtf8(collector.text);
}

// Bytes that are no UTF-8 come as lone low surrogates.
bool HasStrayBytes(std::u16string_view text) {
  char16_t before = 0;
  for (const char16_t c : text) {
    if (c >= 0xDC80 && c <= 0xDCFF && (before < 0xD800 || before > 0xDBFF)) return true;
    before = c;
  }
  return false;
}

std::optional<std::int32_t> ParseNumber(const KorText& text) {
  std::u16string_view digits = text;
  if (digits.starts_with(u'-')) digits.remove_prefix(1);
  const bool isNumber = digits.size() <= 9 && IsNumber(digits);
  return isNumber ? std::optional(text.ToInteger()) : std::nullopt;
}

} // namespace

KorText XliffReader::Place(std::ptrdiff_t offset) const {
  const auto line = 1 + (std::ranges::lower_bound(lineEnds, offset) - lineEnds.begin());
  return path + KorText::Format(u":%i:", static_cast<std::int64_t>(line));
}

KorText XliffReader::About(const XliffUnit& unit, const KorText& what) const {
  return Place(unit.offset) + KorText::Format(u" unit %i: %s", unit.id, what);
}

void XliffReader::Fail(std::ptrdiff_t offset, const KorText& what) {
  result.errors.push_back(Place(offset) + u" " + what);
}

void XliffReader::Fail(const XliffUnit& unit, const KorText& what) {
  result.errors.push_back(About(unit, what));
}

bool XliffReader::Read() {
  return Parse() && ReadFileElement() && result.errors.empty();
}

bool XliffReader::Parse() {
  SimpleFile file(path);
  auto content = file.Open(kFileRead) ? file.ReadAll() : std::nullopt;
  if (!content) {
    result.errors.push_back(path + u": cannot be read. Check the name and the rights to the file.");
    return false;
  }
  bytes = std::move(*content);
  for (std::size_t at = 0; at < bytes.size(); ++at)
    if (bytes[at] == '\n') lineEnds.push_back(static_cast<std::ptrdiff_t>(at));
  const pugi::xml_parse_result parsed =
      document.load_buffer(bytes.data(), bytes.size(), kParseOptions);
  if (parsed) return true;
  Fail(parsed.offset,
       KorText::Format(u"no well-formed XML (%s). Correct the file from this line on, "
                       u"or export it again.",
                       KorText::FromUtf8(parsed.description())));
  return false;
}

bool XliffReader::ReadFileElement() {
  const pugi::xml_node file = Child(Child(document, "xliff"), "file");
  if (!file) {
    Fail(0, u"no XLIFF file: <xliff> with a <file> in it is missing. Export it again.");
    return false;
  }
  language = Attribute(file, "target-language");
  if (language.IsEmpty()) {
    Fail(file.offset_debug(), u"<file> has no target-language. Add it, such as \"de-DE\".");
    return false;
  }
  for (pugi::xml_node next = file.next_sibling(); next; next = next.next_sibling())
    if (IsElement(next, "file"))
      Fail(next.offset_debug(), u"a second <file>. Put each language in a file of its own.");
  ReadUnits(Child(file, "body"));
  return true;
}

void XliffReader::ReadUnits(pugi::xml_node body) {
  struct Walker : pugi::xml_tree_walker {
    explicit Walker(XliffReader& owner) : reader(owner) {}
    bool for_each(pugi::xml_node& node) override {
      if (IsElement(node, "trans-unit")) reader.ReadUnit(node);
      return true;
    }
    XliffReader& reader;
  } walker(*this);
  body.traverse(walker);
}

void XliffReader::ReadUnit(const pugi::xml_node& node) {
  XliffUnit unit;
  unit.offset = node.offset_debug();
  if (!ReadNumber(node, unit)) return;
  unit.name = Attribute(node, "resname");
  unit.source = ContentText(Child(node, "source"));
  if (const pugi::xml_node target = Child(node, "target")) unit.target = ContentText(target);
  if (const pugi::xml_node note = Child(node, "note")) unit.note = ContentText(note);
  if (HasStrayBytes(unit.source + unit.target.value_or(KorText()) + unit.note.value_or(KorText())))
    Fail(unit, u"characters that are no UTF-8. Save the file as UTF-8.");
  ReadContext(Child(node, "context-group"), unit);
  pugi::xml_node group = node.parent();
  while (group && !IsElement(group, "group"))
    group = group.parent();
  unit.categoryId = ParseNumber(Attribute(group, "id")).value_or(0);
  unit.categoryName = Attribute(group, "restype");
  units.push_back(std::move(unit));
}

bool XliffReader::ReadNumber(const pugi::xml_node& node, XliffUnit& unit) {
  const KorText text = Attribute(node, "id");
  unit.id = ParseNumber(text).value_or(-1);
  if (unit.id < 0 || unit.id > TextEntry::kHighestNumber) {
    Fail(unit.offset, KorText::Format(u"unit with the id \"%s\". Give it a number from 0 to %i.",
                                      text, TextEntry::kHighestNumber));
    return false;
  }
  const auto [first, fresh] = places.emplace(unit.id, unit.offset);
  if (!fresh)
    Fail(unit, u"the number is taken by the unit at " + Place(first->second) +
                   u" give one of them another number.");
  return fresh;
}

void XliffReader::ReadContext(const pugi::xml_node& node, XliffUnit& unit) {
  for (const pugi::xml_node context : node.children()) {
    const KorText type = Attribute(context, "context-type");
    const KorText text = ContentText(context).Trimmed();
    if (type == u"x-importance" && !text.IsEmpty()) {
      unit.importance = ParseNumber(text);
      if (!unit.importance)
        Fail(unit, KorText::Format(u"x-importance is \"%s\". Write a whole number.", text));
    } else if (type == u"x-modified") {
      const auto date = ParseDateText(text);
      if (!date)
        Fail(unit,
             KorText::Format(u"x-modified is \"%s\". Write a date such as 2026-11-21.", text));
      unit.modified = date.value_or(CalendarDate());
    }
  }
}

} // namespace kor
