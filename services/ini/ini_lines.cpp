#include "services/ini/ini_lines.h"

#include <algorithm>
#include <utility>

namespace kor {

namespace {

std::u16string_view KeyOf(const KorText& line) {
  const std::size_t equals = line.Find(u'=');
  if (equals != KorText::kNone) return line.View().substr(0, equals);
  return line.View().substr(0, line.IsEmpty() ? 0 : line.Length() - 1);
}

bool StartsSection(const KorText& line) {
  return !line.IsEmpty() && line[0] == u'[';
}

} // namespace

void iniSection::IndexKeys() {
  keys.emplace();
  keys->reserve(body.size());
  addedInFront = 0;
  std::ptrdiff_t place = 0;
  for (const KorText& line : body)
    keys->try_emplace(Folded(KeyOf(line)), place++);
}

KorText* iniSection::FindLine(const KorText& key) {
  if (!keys) IndexKeys();
  const auto found = keys->find(Folded(key));
  if (found == keys->end()) return nullptr;
  return &body[static_cast<std::size_t>(found->second + addedInFront)];
}

void iniSection::PushFront(KorText line) {
  if (keys) (*keys)[Folded(KeyOf(line))] = -++addedInFront;
  body.push_front(std::move(line));
}

void iniLines::Clear() {
  preamble.clear();
  sections.clear();
  byHeader.reset();
}

void iniLines::Append(KorText line) {
  if (StartsSection(line)) {
    sections.emplace_back(std::move(line));
    byHeader.reset();
    return;
  }
  if (!sections.empty()) sections.back().keys.reset();
  (sections.empty() ? preamble : sections.back().body).push_back(std::move(line));
}

std::vector<const KorText*> iniLines::All() const {
  std::vector<const KorText*> all;
  for (const KorText& line : preamble)
    all.push_back(&line);
  for (const iniSection& section : sections) {
    all.push_back(&section.header);
    for (const KorText& line : section.body)
      all.push_back(&line);
  }
  return all;
}

void iniLines::IndexSections() {
  byHeader.emplace();
  for (iniSection& section : sections)
    byHeader->try_emplace(Folded(section.header), &section);
}

iniSection* iniLines::Find(const KorText& name) {
  if (!byHeader) IndexSections();
  const auto found = byHeader->find(u"[" + Folded(name) + u"]");
  return found == byHeader->end() ? nullptr : found->second;
}

iniSection& iniLines::AddAtTop(const KorText& name, Header header) {
  iniSection& section = sections.emplace_front(u"[" + KorText(name) + u"]");
  section.body.swap(preamble);
  if (header == Header::BelowBlank) preamble.emplace_back();
  if (byHeader) (*byHeader)[Folded(section.header)] = &section;
  return section;
}

std::list<iniSection>::iterator iniLines::PlaceOf(const iniSection& section) {
  return std::find_if(sections.begin(), sections.end(),
                      [&](const iniSection& other) { return &other == &section; });
}

void iniLines::InsertBelowHeader(iniSection& section, std::vector<KorText> lines) {
  while (!lines.empty()) {
    KorText line = std::move(lines.back());
    lines.pop_back();
    if (!StartsSection(line)) {
      section.PushFront(std::move(line));
      continue;
    }
    iniSection& split = *sections.emplace(std::next(PlaceOf(section)), std::move(line));
    split.body.swap(section.body);
    section.keys.reset();
    byHeader.reset();
  }
}

void iniLines::RemoveBody(iniSection& section) {
  section.body.clear();
  section.keys.reset();
}

} // namespace kor
