#include "tools/korfile/record_inspector.h"

#include <algorithm>

#include "files/class_registry.h"
#include "files/disk_file.h"
#include "files/little_endian.h"

namespace kor {
namespace {

constexpr std::size_t kWindow = 0x10000;
constexpr std::uint64_t kLongestShownText = 200; // characters
constexpr std::uint32_t kMostShownElements = 16;

// Reads anywhere in a file, cheaply where reads lie close together.
class ByteWindow {
 public:
  explicit ByteWindow(SimpleFile& source) : file(source), bytes(kWindow) {}
  std::uint64_t Size() const { return file.Size(); }

  // Returns the bytes at the offset, at most a window's length; null when the file does not hold
  // them all. They are valid until the next call.
  const std::uint8_t* At(std::uint64_t offset, std::size_t length) {
    if (offset > Size() || length > Size() - offset) return nullptr;
    if (offset < start || offset + length > start + valid) {
      file.Seek(start = offset);
      valid = file.Read(bytes);
      if (valid < length) return nullptr;
    }
    return bytes.data() + (offset - start);
  }

  std::optional<std::uint32_t> Dword(std::uint64_t offset) {
    const std::uint8_t* at = At(offset, 4);
    return at == nullptr ? std::nullopt : std::optional(LoadLe32(at));
  }

 private:
  SimpleFile& file;
  std::vector<std::uint8_t> bytes;
  std::uint64_t start = 0;
  std::size_t valid = 0;
};

bool IsMarker(std::optional<std::uint32_t> number) {
  using namespace record_marker;
  static constexpr std::uint32_t kMarkers[] = {kNarrowSizes, kWideSizes, kFormat, kRevision2};
  return number && std::ranges::find(kMarkers, *number) != std::end(kMarkers);
}

class Inspector {
 public:
  Inspector(SimpleFile& file, RecordFileDescription& toFill) : window(file), found(toFill) {}

  void Run() {
    std::uint64_t at = ReadHeader();
    const bool header = at != 0;
    if (!header && !ChainFits(0)) {
      if (!ChainFits(4)) return;
      found.fileType = window.Dword(0);
      at = 4;
    }
    found.isRecordFile = true;
    while (at < window.Size())
      at = AddRecord(found.records, at, window.Size(), 0);
    std::ranges::stable_sort(found.damage, {}, &RecordDamage::offset);
  }

 private:
  std::uint64_t Width() const { return found.wideSizes ? 8 : 4; }
  std::uint64_t StartLength() const { return 4 + Width() * (found.secondSize ? 2 : 1); }

  bool Take(std::uint64_t& at, std::uint32_t marker) {
    const bool there = window.Dword(at) == marker;
    if (there) at += 4;
    return there;
  }

  // Returns its length, 0 when the file starts without one.
  std::uint64_t ReadHeader() {
    std::uint64_t at = 0;
    if (!IsMarker(window.Dword(0)) && IsMarker(window.Dword(4))) {
      found.fileType = window.Dword(0);
      at = 4;
    }
    found.wideSizes = Take(at, record_marker::kWideSizes);
    found.secondSize = found.wideSizes || Take(at, record_marker::kNarrowSizes);
    found.formatMarker = Take(at, record_marker::kFormat);
    found.revision = Take(at, record_marker::kRevision2) ? 2 : 1;
    return at;
  }

  // Whether whole records fill the file from here to its end; for files without any marker.
  bool ChainFits(std::uint64_t at) {
    if (at >= window.Size()) return false;
    while (at < window.Size()) {
      const auto size = window.Dword(at + 4);
      if (window.Dword(at).value_or(0) == 0 || !size || *size > window.Size() - at - 8)
        return false;
      at += 8 + std::uint64_t{*size};
    }
    return true;
  }

  // False, with the node as far as it could be read, when a reader would stop here. End is cut.
  bool ReadStart(RecordNode& node, std::uint64_t limit) {
    node.end = limit;
    const auto id = window.Dword(node.offset);
    if (!id) return Damage(node.offset, kErrorShortRead);
    node.classId = *id;
    std::uint64_t at = node.offset + 4;
    for (std::uint64_t* size : {&node.sizeA, &node.sizeB}) {
      if (size == &node.sizeB && !found.secondSize) {
        node.sizeB = node.sizeA;
        break;
      }
      if (at >= window.Size()) return Damage(at, kErrorSizeBeyondEnd);
      const std::uint8_t* bytes = window.At(at, static_cast<std::size_t>(Width()));
      if (bytes == nullptr) return Damage(at, kErrorShortRead);
      *size = found.wideSizes ? LoadLe64(bytes) : LoadLe32(bytes);
      at += Width();
    }
    node.body = at;
    if (node.sizeB > node.sizeA || at > limit || node.sizeB > limit - at)
      return Damage(node.offset + 4, kErrorInconsistent);
    node.end = at + node.sizeB;
    return true;
  }

  bool Damage(std::uint64_t offset, std::uint32_t flag) {
    found.damage.push_back({offset, flag});
    return false;
  }

  // Returns where the next one may start.
  std::uint64_t AddRecord(std::vector<RecordNode>& to, std::uint64_t at, std::uint64_t limit,
                          std::size_t depth) {
    RecordNode node;
    node.offset = at;
    if (depth >= DiskFile::kDeepestRecord) {
      Damage(at, kErrorInconsistent);
      return limit;
    }
    ReadStart(node, limit);
    const ClassRegistry::Entry* entry = ClassRegistry::Global().Find(node.classId);
    if (entry != nullptr) node.className = entry->name;
    std::uint64_t rest = node.body;
    if (rest > node.end) rest = 0; // not even the sizes fit
    if (rest != 0 && entry != nullptr) rest = ReadMembers(node, *entry, depth);
    if (rest != 0) FindRecords(node, rest, depth);
    to.push_back(std::move(node));
    return to.back().end;
  }

  // A registered class's number, or the two sizes one field width apart, betray a record.
  bool LooksLikeRecord(std::uint64_t at, std::uint64_t limit) {
    const std::uint8_t* bytes = window.At(at, static_cast<std::size_t>(StartLength()));
    if (bytes == nullptr || LoadLe32(bytes) == 0) return false;
    if (LoadLe32(bytes) == record_marker::kSection) return false;
    if (ClassRegistry::Global().Find(LoadLe32(bytes)) != nullptr) return true;
    if (!found.secondSize) return false;
    const std::uint64_t sizeA = found.wideSizes ? LoadLe64(bytes + 4) : LoadLe32(bytes + 4);
    const std::uint64_t sizeB = found.wideSizes ? LoadLe64(bytes + 12) : LoadLe32(bytes + 8);
    return sizeA == sizeB + Width() && sizeA >= Width() && sizeB <= limit - at - StartLength();
  }

  void FindRecords(RecordNode& node, std::uint64_t at, std::size_t depth) {
    while (at < node.end && node.end - at >= StartLength()) {
      if (LooksLikeRecord(at, node.end))
        at = AddRecord(node.records, at, node.end, depth + 1);
      else
        ++at;
    }
  }

  // Returns where the described members end.
  std::uint64_t ReadMembers(RecordNode& node, const ClassRegistry::Entry& entry,
                            std::size_t depth) {
    std::uint64_t at = node.body;
    for (const MemberDescription& member : entry.members) {
      if (member.kind == MemberKind::Object) {
        if (node.end - at >= StartLength()) at = AddRecord(node.records, at, node.end, depth + 1);
        continue;
      }
      RecordField field{KorText(member.name), at, {}};
      bool read = false;
      if (member.kind == MemberKind::List)
        read = ReadList(node, field, at, member.element, depth);
      else if (member.kind == MemberKind::Reference)
        read = ReadReference(node, field, at, depth);
      else
        read = ReadValue(field.value, at, node.end, member.kind);
      if (!read) break;
      if (member.kind != MemberKind::SectionMark) node.fields.push_back(std::move(field));
    }
    return at;
  }

  bool ReadList(RecordNode& node, RecordField& field, std::uint64_t& at, MemberKind element,
                std::size_t depth) {
    if (node.end - at < 4) return false;
    const std::uint32_t count = window.Dword(at).value_or(0);
    at += 4;
    field.value = KorText::Format(u"%u elements", count);
    for (std::uint32_t i = 0; i < count; ++i) {
      KorText value;
      if (element == MemberKind::Object && node.end - at >= StartLength()) {
        at = AddRecord(node.records, at, node.end, depth + 1);
      } else if (element == MemberKind::Object || !ReadValue(value, at, node.end, element)) {
        return Damage(field.offset, kErrorShortRead);
      } else if (i < kMostShownElements) {
        field.value += (i == 0 ? u": " : u", ") + value;
      }
    }
    return true;
  }

  bool ReadValue(KorText& value, std::uint64_t& at, std::uint64_t end, MemberKind kind) {
    if (kind == MemberKind::Text) return ReadText(value, at, end);
    const std::size_t width = WidthOf(kind);
    if (end - at < width) return false; // an older file's record ends here
    const std::uint8_t* bytes = window.At(at, width);
    if (bytes == nullptr) return false;
    if (kind == MemberKind::SectionMark && LoadLe32(bytes) != record_marker::kSection)
      return Damage(at, kErrorInconsistent);
    value = Show(bytes, kind);
    at += width;
    return true;
  }

  bool ReadText(KorText& value, std::uint64_t& at, std::uint64_t end) {
    if (end - at < 4) return false;
    const std::uint64_t units = window.Dword(at).value_or(0);
    if (units * 2 > end - at - 4) return Damage(at, kErrorShortRead);
    const std::uint64_t shown = std::min(units, kLongestShownText);
    const std::uint8_t* bytes = window.At(at + 4, static_cast<std::size_t>(shown * 2));
    for (std::uint64_t i = 0; bytes != nullptr && i < shown; ++i)
      value += LoadLe<char16_t>(bytes + 2 * i);
    if (shown < units) value += u"...";
    at += 4 + units * 2;
    return true;
  }

  bool ReadReference(RecordNode& node, RecordField& field, std::uint64_t& at, std::size_t depth) {
    if (node.end - at < 4) return false;
    const std::uint32_t number = window.Dword(at).value_or(0);
    at += 4;
    field.value = number == 0xFFFFFFFF ? u"none" : number == 0 ? u"new" : u"shared";
    if (number == 0xFFFFFFFF) return true;
    if (node.end - at < 12) return Damage(at, kErrorShortRead);
    at += 12;
    if (number == 0 && node.end - at >= StartLength())
      at = AddRecord(node.records, at, node.end, depth + 1);
    return true;
  }

  static std::size_t WidthOf(MemberKind kind) {
    switch (kind) {
    case MemberKind::Unsigned8:
    case MemberKind::Signed8:
      return 1;
    case MemberKind::Unsigned16:
    case MemberKind::Signed16:
      return 2;
    case MemberKind::Unsigned64:
    case MemberKind::Signed64:
    case MemberKind::Real64:
      return 8;
    default:
      return 4;
    }
  }

  static KorText Show(const std::uint8_t* bytes, MemberKind kind) {
    switch (kind) {
    case MemberKind::Unsigned8:
      return KorText::Format(u"%u", *bytes);
    case MemberKind::Signed8:
      return KorText::Format(u"%i", LoadLe<std::int8_t>(bytes));
    case MemberKind::Unsigned16:
      return KorText::Format(u"%u", LoadLe<std::uint16_t>(bytes));
    case MemberKind::Signed16:
      return KorText::Format(u"%i", LoadLe<std::int16_t>(bytes));
    case MemberKind::Signed32:
      return KorText::Format(u"%i", LoadLe<std::int32_t>(bytes));
    case MemberKind::Unsigned64:
      return KorText::Format(u"%u", LoadLe64(bytes));
    case MemberKind::Signed64:
      return KorText::Format(u"%i", LoadLe<std::int64_t>(bytes));
    case MemberKind::Real32:
      return KorText::Format(u"%g", static_cast<double>(LoadLe<float>(bytes)));
    case MemberKind::Real64:
      return KorText::Format(u"%g", LoadLe<double>(bytes));
    case MemberKind::Date:
      if (LoadLe32(bytes) == 0) return u"none";
      return KorText::Format(u"%04u-%02u-%02u", LoadLe<std::uint16_t>(bytes), bytes[2], bytes[3]);
    default:
      return KorText::Format(u"%u", LoadLe32(bytes));
    }
  }

  ByteWindow window;
  RecordFileDescription& found;
};

void RenderNode(std::vector<KorText>& lines, const RecordNode& node, std::size_t depth) {
  const KorText indent(2 * depth, u' ');
  KorText line = indent + KorText::Format(u"record %u", node.classId);
  if (!node.className.IsEmpty()) line += u" " + node.className;
  line += KorText::Format(u" at %u, %u bytes", node.offset, node.end - node.offset);
  lines.push_back(std::move(line));
  for (const RecordField& field : node.fields)
    lines.push_back(indent + KorText::Format(u"  %s = %s", field.name, field.value));
  for (const RecordNode& inner : node.records)
    RenderNode(lines, inner, depth + 1);
}

} // namespace

RecordFileDescription DescribeRecordFile(const KorText& path, ContainerFault* fault) {
  SimpleFile file(path);
  FileResult result = FileResult::Success;
  // A file too short to be a compressed one is no less a record file.
  if (file.Open(kFileRead, OpenWait::No, Compression::Yes, &result) ||
      (result == FileResult::SourceUnreadable && file.Open(kFileRead)))
    return DescribeRecords(file);
  RecordFileDescription description;
  description.result = result == FileResult::Success ? FileResult::SourceUnreadable : result;
  if (file.LackedMemory())
    FailMemory(fault, 0, 0);
  else
    FailSystem(fault, description.result, 0, 0, u"the contents can't be unpacked");
  return description;
}

RecordFileDescription DescribeRecords(SimpleFile& openFile) {
  RecordFileDescription description;
  description.compressed = openFile.IsCompressed();
  description.size = openFile.Size();
  Inspector(openFile, description).Run();
  return description;
}

std::vector<KorText> RenderRecordFile(const RecordFileDescription& description) {
  std::vector<KorText> lines;
  if (description.fileType) lines.push_back(KorText::Format(u"type %u", *description.fileType));
  lines.push_back(KorText::Format(u"sizes %i-bit, %s per record", description.wideSizes ? 64 : 32,
                                  description.secondSize ? u"two" : u"one"));
  lines.push_back(KorText::Format(u"revision %i%s", description.revision,
                                  description.formatMarker ? u"" : u", no format marker"));
  for (const RecordNode& node : description.records)
    RenderNode(lines, node, 0);
  for (const RecordDamage& damage : description.damage)
    lines.push_back(KorText::Format(u"damaged at %u: %s (%u)", damage.offset,
                                    DescribeRecordErrors(damage.flag), damage.flag));
  return lines;
}

} // namespace kor
