#include "files/disk_file.h"

#include <algorithm>
#include <cstring>

#include "files/class_registry.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {
namespace {

// Larger moves bypass the block cache. They go in pieces of this size, so that progress and cancel
// still work.
constexpr std::uint64_t kDirectPiece = 0x100000;

constexpr std::uint32_t kNoInstance = 0xFFFFFFFF; // a reference to no object
constexpr std::uint32_t kNewInstance = 0;         // the object follows

constexpr std::uint64_t kNarrowLimit = 0xFFFFFFFF;

// A record beyond this point of the file can't be described in its size fields.
constexpr std::uint64_t LargestSize(bool wide) {
  return wide ? std::numeric_limits<std::uint64_t>::max() : kNarrowLimit;
}

std::span<std::uint8_t> Piece(std::uint8_t* bytes, std::uint64_t length) {
  return {bytes, static_cast<std::size_t>(length)};
}

} // namespace

KorText DescribeRecordErrors(std::uint32_t flags) {
  struct Wording {
    std::uint32_t flag;
    UserText text;
  };
  static constexpr Wording kWordings[] = {
      {kErrorUnknownClass, kTexts.unknownObject},
      {kErrorReadWhileWriting, kTexts.readWhileWriting},
      {kErrorFileType, kTexts.wrongFileType},
      {kErrorInconsistent, kTexts.inconsistentSizes},
      {kErrorShortRead, kTexts.shortRead},
      {kErrorShortWrite, kTexts.shortWrite},
      {kErrorSizeBeyondEnd, kTexts.sizeBeyondEnd},
      {kErrorCancelled, kTexts.readingCancelled},
  };
  KorText description;
  for (const Wording& wording : kWordings) {
    if ((flags & wording.flag) == 0) continue;
    if (!description.IsEmpty()) description += u", ";
    description += LookUpText(wording.text);
  }
  return description;
}

bool IsCalendarDate(const CalendarDate& date) {
  static constexpr std::uint8_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (date.year == 0 || date.month < 1 || date.month > 12 || date.day < 1) return false;
  const bool leap = date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0);
  return date.day <= kDays[date.month - 1] + (leap && date.month == 2 ? 1 : 0);
}

DiskFile::DiskFile(const KorText& path, RecordFormat recordFormat)
    : KorFile(path), format(recordFormat), givenFormat(std::move(recordFormat)) {
  UseWriteCache(false); // the block cache does its work
}

DiskFile::~DiskFile() {
  if (IsOpen()) DiskFile::Close();
}

bool DiskFile::Open(std::uint32_t mode, OpenWait wait, Compression compression,
                    FileResult* result) {
  if (IsOpen()) return false;
  ResetStream();
  errors = reported = 0;
  return KorFile::Open(mode, wait, compression, result);
}

bool DiskFile::Close() {
  const bool flushed = IsSafe() || !IsOpen() || WriteBlock();
  ResetStream();
  return KorFile::Close() && flushed;
}

bool DiskFile::FlushRecords() {
  return WriteBlock() && errors == 0;
}

bool DiskFile::Commit() {
  const bool flushed = FlushRecords();
  ResetStream();
  if (flushed) return KorFile::Commit();
  Discard();
  return false;
}

void DiskFile::ResetStream() {
  at = limit = block = nullptr;
  blockMemory.reset();
  blockOffset = blockLength = 0;
  writing = false;
  records.clear();
  instances.clear();
}

// --- Errors, progress ---

void DiskFile::SetError(std::uint32_t flags) {
  errors |= flags;
  limit = at;
  ReportNewErrors();
}

void DiskFile::ReportNewErrors() {
  const std::uint32_t fresh = errors & ~reported;
  if (fresh == 0 || !reporting) return;
  reported |= fresh;
  MessageRecord record;
  record.level = MessageLevel::Warn;
  record.info = LookUpText(kTexts.fileError);
  record.number = static_cast<std::int32_t>(fresh);
  record.message =
      KorText::Format(LookUpText(kTexts.fileProblemMessage), LookUpText(kTexts.problemWithFile),
                      Name(), LookUpText(kTexts.error), fresh, DescribeRecordErrors(fresh));
  if (errorQuestion != ErrorQuestion::None) {
    const bool retry = errorQuestion == ErrorQuestion::Retry;
    record.level = MessageLevel::Query;
    const KorText word = LookUpText(retry ? kTexts.retry : kTexts.continueAnyway);
    record.message += u"\n\n" + KorText::Format(LookUpText(kTexts.questionOfWord), word);
  }
  errorAnswer = App().Report(record);
}

void DiskFile::TellProgress() {
  if (!progress) return;
  if (!progress(static_cast<double>(StreamPosition()), static_cast<double>(Size())))
    SetError(kErrorCancelled);
}

// --- Block cache ---

bool DiskFile::StartBlock() {
  if (block != nullptr) return true;
  if (!IsOpen()) return false;
  blockMemory = std::make_unique_for_overwrite<std::uint8_t[]>(kBlockSize);
  at = limit = block = blockMemory.get();
  blockOffset = Position();
  blockLength = 0;
  writing = IsWriting();
  SetLimit();
  return true;
}

void DiskFile::SetLimit() {
  limit = at;
  if (errors != 0 || block == nullptr) return;
  if (writing)
    limit = block + kBlockSize;
  else
    limit += std::min(BytesLeft(), blockOffset + blockLength - StreamPosition());
}

bool DiskFile::WriteBlock() {
  if (!writing || errors != 0) return errors == 0;
  const auto pending = static_cast<std::size_t>(at - block);
  if (pending == 0) return true;
  if (Position() != blockOffset) Seek(blockOffset);
  if (Write({block, pending}) != pending) {
    SetError(kErrorShortWrite);
    return false;
  }
  blockOffset += pending;
  at = block;
  TellProgress();
  SetLimit();
  return errors == 0;
}

bool DiskFile::FillBlock(std::uint64_t from) {
  if (Position() != from) Seek(from);
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kBlockSize, Size() - from));
  blockOffset = from;
  at = block;
  blockLength = Read({block, wanted});
  if (blockLength < wanted) SetError(kErrorShortRead);
  TellProgress();
  return errors == 0;
}

void DiskFile::MoveTo(std::uint64_t target) {
  if (target >= blockOffset && target - blockOffset <= blockLength) {
    at = block + (target - blockOffset);
  } else {
    blockOffset = target; // refilled by the next read
    blockLength = 0;
    at = block;
  }
  SetLimit();
}

// Reads at the logical position, whatever record is open. The block has been started, and there is
// no error. Nothing moves when not all bytes are there.
bool DiskFile::ReadRaw(std::uint8_t* to, std::uint64_t length) {
  if (StreamPosition() > Size() || length > Size() - StreamPosition()) {
    SetError(kErrorShortRead);
    return false;
  }
  while (length != 0) {
    const std::uint64_t cached = blockOffset + blockLength - StreamPosition();
    std::uint64_t taken = std::min(cached, length);
    if (taken != 0) {
      std::memcpy(to, at, static_cast<std::size_t>(taken));
      at += taken;
    } else if (length < kBlockSize) {
      if (!FillBlock(StreamPosition())) return false;
    } else {
      taken = std::min(length, kDirectPiece);
      const std::uint64_t from = StreamPosition();
      if (Position() != from) Seek(from);
      if (Read(Piece(to, taken)) != taken) {
        SetError(kErrorShortRead);
        return false;
      }
      MoveTo(from + taken);
      TellProgress();
      if (errors != 0) return false;
    }
    to += taken;
    length -= taken;
  }
  SetLimit();
  return true;
}

bool DiskFile::WriteRaw(const std::uint8_t* from, std::uint64_t length) {
  while (length != 0) {
    const auto room = static_cast<std::uint64_t>(block + kBlockSize - at);
    std::uint64_t taken = std::min(room, length);
    if (at == block && length >= kBlockSize) {
      taken = std::min(length, kDirectPiece);
      if (Position() != blockOffset) Seek(blockOffset);
      if (Write({from, static_cast<std::size_t>(taken)}) != taken) {
        SetError(kErrorShortWrite);
        return false;
      }
      blockOffset += taken;
      TellProgress();
    } else {
      std::memcpy(at, from, static_cast<std::size_t>(taken));
      at += taken;
      if (taken == room) WriteBlock();
    }
    if (errors != 0) return false;
    from += taken;
    length -= taken;
  }
  return true;
}

bool DiskFile::MoveBytes(std::uint8_t* bytes, std::uint64_t length) {
  if (errors != 0 || !StartBlock()) return false;
  if (writing) return WriteRaw(bytes, length);
  if (records.empty() || length > BytesLeft()) return false;
  return ReadRaw(bytes, length);
}

std::uint64_t DiskFile::BytesLeft() const {
  if (records.empty() || writing) return 0;
  const std::uint64_t from = StreamPosition();
  return records.back().end > from ? records.back().end - from : 0;
}

// --- Header ---

bool DiskFile::TransferHeader() {
  if (errors != 0 || !StartBlock()) return false;
  format = givenFormat;
  if (writing)
    WriteHeader();
  else
    ReadHeader();
  return errors == 0;
}

void DiskFile::WriteHeader() {
  secondSize = formatMarker = true;
  fileType = format.fileTypes.empty() ? 0 : format.fileTypes.front();
  if (!format.fileTypes.empty()) Transfer(fileType);
  std::uint32_t marker = format.wideSizes ? record_marker::kWideSizes : record_marker::kNarrowSizes;
  Transfer(marker);
  marker = record_marker::kFormat;
  Transfer(marker);
  marker = record_marker::kRevision2;
  if (format.revision == 2) Transfer(marker);
}

void DiskFile::ReadHeader() {
  if (!ReadFileType()) return;
  format.wideSizes = TakeMarker(record_marker::kWideSizes);
  secondSize = format.wideSizes || TakeMarker(record_marker::kNarrowSizes);
  formatMarker = TakeMarker(record_marker::kFormat);
  format.revision = TakeMarker(record_marker::kRevision2) ? 2 : 1;
}

bool DiskFile::ReadFileType() {
  fileType = 0;
  if (format.fileTypes.empty()) return true;
  std::array<std::uint8_t, 4> bytes;
  if (!ReadRaw(bytes.data(), bytes.size())) return false;
  const auto found = LoadLe<std::uint32_t>(bytes.data());
  if (std::ranges::find(format.fileTypes, found) == format.fileTypes.end()) {
    SetError(kErrorFileType);
    return false;
  }
  fileType = found;
  return true;
}

// Takes the marker when it is there; else the position stays before whatever else is.
bool DiskFile::TakeMarker(std::uint32_t expected) {
  const std::uint64_t from = StreamPosition();
  std::array<std::uint8_t, 4> bytes;
  if (errors != 0 || from > Size() || Size() - from < bytes.size()) return false;
  if (!ReadRaw(bytes.data(), bytes.size())) return false;
  if (LoadLe<std::uint32_t>(bytes.data()) == expected) return true;
  MoveTo(from);
  return false;
}

// --- Records ---

DiskFile::BegunRecord DiskFile::BeginRecord(std::uint32_t classId, NewObject wanted,
                                            OtherClass other) {
  if (errors != 0 || !StartBlock()) return {};
  return writing ? BeginWriting(classId, wanted) : BeginReading(classId, wanted, other);
}

DiskFile::BegunRecord DiskFile::BeginWriting(std::uint32_t classId, NewObject wanted) {
  if (wanted == NewObject::Create) {
    SetError(kErrorReadWhileWriting);
    return {};
  }
  OpenRecord record;
  record.classId = classId;
  Transfer(classId);
  constexpr std::array<std::uint8_t, 8> kPlaceholder{};
  record.positionA = StreamPosition();
  WriteRaw(kPlaceholder.data(), SizeWidth());
  record.positionB = StreamPosition();
  WriteRaw(kPlaceholder.data(), SizeWidth());
  records.push_back(record);
  return {true, true, nullptr};
}

DiskFile::BegunRecord DiskFile::BeginReading(std::uint32_t classId, NewObject wanted,
                                             OtherClass other) {
  const std::uint64_t from = StreamPosition();
  OpenRecord record;
  if (!records.empty() && from >= records.back().end) {
    record.positionA = record.positionB = from - SizeWidth(); // ends where it begins
    record.end = from;
    records.push_back(record);
    SetLimit();
    return {true, false, nullptr};
  }
  if (from >= Size() || !ReadRecordStart(record)) return {};
  BegunRecord begun{true, true, nullptr};
  bool known = classId == 0 || record.classId == classId;
  if (known && wanted == NewObject::Create) {
    begun.object = ClassRegistry::Global().Create(record.classId);
    known = begun.object != nullptr;
  }
  if (!known && other == OtherClass::Refuse) {
    SetError(kErrorUnknownClass);
    return {};
  }
  records.push_back(record);
  SetLimit();
  if (known) return begun;
  EndRecord();
  return {};
}

bool DiskFile::ReadRecordStart(OpenRecord& record) {
  std::array<std::uint8_t, 4> bytes;
  if (!ReadRaw(bytes.data(), bytes.size())) return false;
  record.classId = LoadLe<std::uint32_t>(bytes.data());
  record.positionA = record.positionB = StreamPosition();
  if (!ReadSize(record.sizeA)) return false;
  record.sizeB = record.sizeA;
  if (secondSize) {
    record.positionB = StreamPosition();
    if (!ReadSize(record.sizeB)) return false;
  }
  if (!IsConsistent(record)) {
    SetError(kErrorInconsistent);
    return false;
  }
  record.end =
      std::min(record.positionB + record.sizeB, record.positionA + record.sizeA) + SizeWidth();
  return true;
}

bool DiskFile::ReadSize(std::uint64_t& value) {
  if (StreamPosition() >= Size()) {
    SetError(kErrorSizeBeyondEnd);
    return false;
  }
  std::array<std::uint8_t, 8> bytes{};
  if (!ReadRaw(bytes.data(), SizeWidth())) return false;
  value = LoadLe<std::uint64_t>(bytes.data()); // the upper half stays 0 in narrow files
  return true;
}

// The fields were read, so the file holds at least what lies before StreamPosition.
bool DiskFile::IsConsistent(const OpenRecord& record) const {
  if (record.sizeB > record.sizeA || record.sizeB > Size() - StreamPosition()) return false;
  if (records.size() >= kDeepestRecord) return false;
  return records.empty() || StreamPosition() + record.sizeB <= records.back().end;
}

void DiskFile::EndRecord() {
  if (records.empty()) return;
  const OpenRecord record = records.back();
  records.pop_back();
  if (errors != 0) return;
  if (!writing) {
    MoveTo(record.positionB + SizeWidth() + record.sizeB);
    return;
  }
  const std::uint64_t end = StreamPosition();
  const std::uint64_t sizeA = end - SizeWidth() - record.positionA;
  if (sizeA > LargestSize(format.wideSizes)) {
    SetError(kErrorInconsistent);
    return;
  }
  if (PatchSize(record.positionA, sizeA))
    PatchSize(record.positionB, end - SizeWidth() - record.positionB);
}

bool DiskFile::PatchSize(std::uint64_t field, std::uint64_t value) {
  std::array<std::uint8_t, 8> bytes;
  StoreLe(bytes.data(), value);
  const auto width = static_cast<std::size_t>(SizeWidth());
  if (field >= blockOffset) {
    std::memcpy(block + (field - blockOffset), bytes.data(), width);
    return true;
  }
  if (!WriteBlock()) return false; // the field may lie partly in it
  Seek(field);
  if (Write({bytes.data(), width}) == width) return true;
  SetError(kErrorShortWrite);
  return false;
}

bool DiskFile::TransferAs(Storable& object, std::uint32_t classId) {
  const std::size_t depth = RecordDepth();
  const BegunRecord record = BeginRecord(classId);
  if (!record) return false;
  object.Transfer(*this);
  CloseRecordsTo(depth);
  return record.present;
}

// A Transfer that did not end its record must not take the next one's place in the stack.
void DiskFile::CloseRecordsTo(std::size_t depth) {
  if (records.size() > depth && errors == 0)
    App().DebugWarning(u"Record was not ended!", u"DiskFile");
  while (records.size() > depth)
    EndRecord();
}

std::unique_ptr<Storable> DiskFile::ReadNewObject(OtherClass other) {
  const std::size_t depth = RecordDepth();
  BegunRecord record = BeginRecord(0, NewObject::Create, other);
  if (record.object != nullptr) record.object->Transfer(*this);
  if (record.present)
    CloseRecordsTo(depth);
  else if (record)
    EndRecord();
  return std::move(record.object);
}

void DiskFile::TransferMembers(Storable& object, std::span<const MemberDescription> members) {
  for (const MemberDescription& member : members)
    member.transfer(*this, object);
}

// --- Shared objects ---

bool DiskFile::TransferCrc(FileCrc& crc) {
  std::array<std::uint8_t, 12> bytes;
  StoreLe(bytes.data(), crc.count);
  StoreLe(bytes.data() + 4, crc.low);
  StoreLe(bytes.data() + 8, crc.high);
  if (!MoveBytes(bytes.data(), bytes.size())) return false;
  crc.count = LoadLe<std::uint32_t>(bytes.data());
  crc.low = LoadLe<std::uint32_t>(bytes.data() + 4);
  crc.high = LoadLe<std::uint32_t>(bytes.data() + 8);
  return true;
}

void DiskFile::WriteInstance(const std::shared_ptr<Storable>& object) {
  std::uint32_t reference = kNoInstance;
  if (object == nullptr) {
    Transfer(reference);
    return;
  }
  FileCrc crc;
  object->AddToCrc(crc, false);
  const InstanceKey key{object->ClassId(), crc.count, crc.low, crc.high};
  const bool written = instances.contains(key);
  reference = written ? object->ClassId() : kNewInstance;
  Transfer(reference);
  TransferCrc(crc);
  if (written) return;
  TransferObject(*object);
  instances.emplace(key, object);
}

std::shared_ptr<Storable> DiskFile::ReadInstance() {
  std::uint32_t reference = kNoInstance;
  FileCrc crc;
  if (!Transfer(reference) || reference == kNoInstance || !TransferCrc(crc)) return nullptr;
  if (reference != kNewInstance) {
    const auto found = instances.find({reference, crc.count, crc.low, crc.high});
    if (found != instances.end()) return found->second;
    App().DebugWarning(u"DiskFile::ioCachedInstance", u"CRC does not exist!");
    return nullptr;
  }
  // No skipping: a shared object that is lost would be lost to all who refer to it, silently.
  std::shared_ptr<Storable> object = ReadNewObject(OtherClass::Refuse);
  if (object != nullptr)
    instances.insert_or_assign({object->ClassId(), crc.count, crc.low, crc.high}, object);
  return object;
}

// --- Fields ---

bool DiskFile::Transfer(bool& flag) {
  std::uint32_t number = flag ? 1 : 0;
  if (!Transfer(number)) return false;
  flag = number != 0;
  return true;
}

bool DiskFile::Transfer(void* buffer, std::uint64_t length) {
  if (!format.wideSizes && length > kNarrowLimit) {
    App().DebugWarning(u"Buffer is too big for 32bit!", u"DiskFile::Transfer");
    length &= kNarrowLimit;
  }
  return MoveBytes(static_cast<std::uint8_t*>(buffer), length);
}

bool DiskFile::CompatibleDword(std::uint64_t& value) {
  if (format.wideSizes) return Transfer(value);
  if (IsWriting() && value > kNarrowLimit)
    App().DebugWarning(u"Size is too big for 32bit!", u"DiskFile::ioCompatibleDWORD");
  auto narrow = static_cast<std::uint32_t>(value);
  if (!Transfer(narrow)) return false;
  if (!writing) value = narrow;
  return true;
}

bool DiskFile::CompatibleInt(std::int64_t& value) {
  if (format.wideSizes) return Transfer(value);
  // From 0x80000000 to the limit there is no warning, though a reader extends the sign; intended.
  if (IsWriting() && value > static_cast<std::int64_t>(kNarrowLimit))
    App().DebugWarning(u"Size is too big for 32bit!", u"DiskFile::ioCompatibleInt");
  auto narrow = static_cast<std::int32_t>(value);
  if (!Transfer(narrow)) return false;
  if (!writing) value = narrow;
  return true;
}

bool DiskFile::Transfer(KorText& text) {
  if (!StartBlock()) return false;
  return writing ? WriteText(text.View()) : ReadText(text);
}

bool DiskFile::WriteText(std::u16string_view text) {
  if (text.size() > kNarrowLimit) SetError(kErrorInconsistent);
  auto units = static_cast<std::uint32_t>(text.size());
  Transfer(units);
  constexpr std::size_t kPiece = 256;
  std::array<std::uint8_t, kPiece * sizeof(char16_t)> bytes;
  for (; !text.empty() && errors == 0; text.remove_prefix(std::min(kPiece, text.size()))) {
    const std::size_t count = std::min(kPiece, text.size());
    StoreUnitsLe(bytes.data(), text.data(), count);
    WriteRaw(bytes.data(), count * sizeof(char16_t));
  }
  return errors == 0;
}

bool DiskFile::ReadText(KorText& text) {
  std::uint64_t units = 0;
  if (!TextUnits(units)) return false;
  const std::uint64_t bytes = units * sizeof(char16_t);
  unitBuffer.resize(static_cast<std::size_t>(units));
  if (!ReadRaw(reinterpret_cast<std::uint8_t*>(unitBuffer.data()), bytes)) return false;
  UnitsFromLe(unitBuffer.data(), unitBuffer.size());
  text.Clear(); // keeps its memory for the next one
  text.Append(unitBuffer);
  return true;
}

// Reads the length of the text that comes next and checks it against what is left of the record,
// before anyone takes memory for it.
bool DiskFile::TextUnits(std::uint64_t& units) {
  std::uint32_t count = 0;
  if (!Transfer(count)) return false;
  units = count;
  if (units * sizeof(char16_t) <= BytesLeft()) return true;
  SetError(kErrorShortRead);
  return false;
}

bool DiskFile::SkipText() {
  std::uint64_t units = 0;
  if (!TextUnits(units)) return false;
  MoveTo(StreamPosition() + units * sizeof(char16_t));
  return true;
}

bool DiskFile::Transfer(CalendarDate& date) {
  std::uint32_t packed = date.year | static_cast<std::uint32_t>(date.month) << 16 |
                         static_cast<std::uint32_t>(date.day) << 24;
  if (!Transfer(packed)) return false;
  date = {static_cast<std::uint16_t>(packed), static_cast<std::uint8_t>(packed >> 16),
          static_cast<std::uint8_t>(packed >> 24)};
  if (!writing && !IsCalendarDate(date)) date = {};
  return true;
}

bool DiskFile::SectionMark() {
  std::uint32_t mark = record_marker::kSection;
  if (!Transfer(mark)) return false;
  if (mark == record_marker::kSection) return true;
  SetError(kErrorInconsistent);
  return false;
}

std::optional<std::uint32_t> DiskFile::TransferCount(std::size_t count, std::size_t leastBytes) {
  if (count > kNarrowLimit) SetError(kErrorInconsistent);
  auto number = static_cast<std::uint32_t>(count);
  if (!Transfer(number)) return std::nullopt;
  if (writing || std::uint64_t{number} * leastBytes <= BytesLeft()) return number;
  SetError(kErrorShortRead);
  return std::nullopt;
}

// --- Whole files ---

namespace {

// The object's stored fields as a stream, to go back to.
VoidBuffer TakeImage(Storable& object, const RecordFormat& format) {
  DiskFile image({}, format);
  image.ReportErrors(false);
  image.OpenMemory(kFileWrite);
  image.TransferHeader();
  image.TransferObject(object);
  image.FlushRecords();
  return VoidBuffer(image.MemoryBytes());
}

bool ReadWhole(DiskFile& file, Storable& object) {
  return file.TransferHeader() && file.TransferObject(object) && file.Errors() == 0;
}

void RestoreImage(VoidBuffer bytes, Storable& object, const RecordFormat& format) {
  DiskFile image({}, format);
  image.ReportErrors(false);
  if (image.OpenMemory(kFileRead, std::move(bytes))) ReadWhole(image, object);
}

} // namespace

bool LoadObject(const KorText& path, Storable& object, const RecordFileOptions& options) {
  DiskFile file(path, options.format);
  file.ReportErrors(options.report);
  file.SetProgress(options.progress);
  if (!file.Open(kFileRead, OpenWait::No, Compression{options.compressed})) return false;
  if (options.largest != 0 && file.Size() > options.largest) return false;
  VoidBuffer before = TakeImage(object, options.format);
  if (ReadWhole(file, object)) return true;
  RestoreImage(std::move(before), object, options.format);
  return false;
}

bool SaveObject(const KorText& path, Storable& object, const RecordFileOptions& options) {
  DiskFile file(path, options.format);
  file.ReportErrors(options.report);
  file.SetProgress(options.progress);
  if (!file.OpenSafe(kFileWrite, Compression{options.compressed})) return false;
  file.TransferHeader();
  file.TransferObject(object);
  return file.Commit();
}

} // namespace kor
