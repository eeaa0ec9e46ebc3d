// iniLines: the lines of a settings file during one read or write, divided into the lines before
// the first header and the sections. Owned by its iniFile; one thread at a time.
//
// A line whose first character is "[" starts a section, whatever follows. It behaves as a flat list
// of lines searched from the top would, but finds sections and keys by indexes, which are built on
// the first search, and inserts at the top and under a header in constant time: the time for a
// whole file is proportional to its lines.
#pragma once

#include <cstddef>
#include <deque>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "services/core/kor_text.h"

namespace kor {

class iniSection {
 public:
  explicit iniSection(KorText headerLine) : header(std::move(headerLine)) {}

  // Returns the lines below the header.
  const std::deque<KorText>& Body() const { return body; }
  // Returns the first line whose part before its first "=", as it stands and without regard to
  // case, is the key; null when there is none. A line without "=" is compared without its last
  // character, which is intended: such lines are not expected in a section of single keys.
  KorText* FindLine(const KorText& key);

 private:
  friend class iniLines;
  void PushFront(KorText line);
  void IndexKeys();

  KorText header;
  std::deque<KorText> body;
  // Maps a folded key to its place in the body, counted from the line that was first when the index
  // was built: lines added in front later have negative places.
  std::optional<std::unordered_map<std::u16string, std::ptrdiff_t>> keys;
  std::ptrdiff_t addedInFront = 0;
};

class iniLines {
 public:
  void Clear();
  void Append(KorText line); // as the last line of the file
  // Returns all lines in order; valid until the next change.
  std::vector<const KorText*> All() const;

  // Returns the first section whose whole header line is "[" + name + "]" without regard to case,
  // or null. Sections stay where they are until Clear.
  iniSection* Find(const KorText& name);
  // Where the header of a new section stands: on the first line, or below an empty one.
  enum class Header { OnTop, BelowBlank };
  // Adds a new section at the very top. Lines that stood before the first header become lines of
  // the new section.
  iniSection& AddAtTop(const KorText& name, Header header);
  // Inserts the lines directly below the header. A line that starts with "[" begins a section of
  // its own, as it would for the next reader of the file.
  void InsertBelowHeader(iniSection& section, std::vector<KorText> lines);
  // Inserts one empty line below the header.
  void InsertBlank(iniSection& section) { section.PushFront(KorText()); }
  void RemoveBody(iniSection& section);
  bool IsLast(const iniSection& section) const { return &sections.back() == &section; }

 private:
  std::list<iniSection>::iterator PlaceOf(const iniSection& section);
  void IndexSections();

  std::deque<KorText> preamble;
  std::list<iniSection> sections;
  std::optional<std::unordered_map<std::u16string, iniSection*>> byHeader; // folded header lines
};

} // namespace kor
