// XliffReader: reads and checks one translation file as a whole, so that an import touches the
// dictionary only when everything in the file is good. What translation programs add is accepted: a
// namespace, prefixes, nested groups, inline elements, any encoding that XML knows.
//
// A reader is made for one import, on its thread; the result outlives the reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <pugixml.hpp>
#include <vector>

#include "services/dictionary/text_holder.h"

namespace kor {

struct XliffUnit {
  std::ptrdiff_t offset = 0; // in the file, for messages
  std::int32_t id = 0;
  KorText name, source;
  std::optional<KorText> target; // nothing: the unit has none, and the translation stays
  std::optional<KorText> note;   // the same
  std::optional<std::int32_t> importance;
  CalendarDate modified;
  std::int32_t categoryId = 0;
  KorText categoryName;
};

class XliffReader {
 public:
  XliffReader(const KorText& file, ImportResult& report) : path(file), result(report) {}

  // Reads the file. False when the result has an error.
  bool Read();
  const KorText& Language() const { return language; } // the file's target-language
  const std::vector<XliffUnit>& Units() const { return units; }
  // Returns "FILE:LINE: unit 48: what".
  KorText About(const XliffUnit& unit, const KorText& what) const;

 private:
  bool Parse();
  bool ReadFileElement();
  void ReadUnits(pugi::xml_node body);
  void ReadUnit(const pugi::xml_node& node);
  bool ReadNumber(const pugi::xml_node& node, XliffUnit& unit);
  void ReadContext(const pugi::xml_node& node, XliffUnit& unit);
  KorText Place(std::ptrdiff_t offset) const;
  void Fail(std::ptrdiff_t offset, const KorText& what);
  void Fail(const XliffUnit& unit, const KorText& what);

  KorText path;
  ImportResult& result;
  std::vector<std::uint8_t> bytes;
  std::vector<std::ptrdiff_t> lineEnds; // in the bytes
  pugi::xml_document document;
  KorText language;
  std::vector<XliffUnit> units;
  std::map<std::int32_t, std::ptrdiff_t> places; // of the numbers met so far
};

} // namespace kor
