// DiskFile: the binary stream that stored objects move themselves through. It frames each object as
// a record with its class number and back-patched sizes, so that a reader skips what it does not
// know and keeps its defaults where an older file has less. The bytes are in
// docs/formats/record-stream.md.
//
// One operation serves both directions: open for writing (kFileWrite in the mode), Transfer writes;
// else it reads. While reading, nothing moves outside a record, past the end of the record, or
// after an error: the destination keeps its value and Transfer gives false. Writes are not bounded.
//
// Errors are flags that stay set until the next Open; each kind is reported once per stream,
// through App(). A stream with an error reads and writes nothing more, and Commit refuses it.
//
// Owned by whoever made it, one thread at a time. Opened like any KorFile: Open, OpenSafe,
// OpenMemory.
#pragma once

#include <array>
#include <compare>
#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "files/checksum.h"
#include "files/kor_file.h"
#include "files/little_endian.h"
#include "files/progress_info.h"
#include "files/simple_file.h"
#include "files/storable.h"
#include "services/core/kor_text.h"

namespace kor {

enum RecordError : std::uint32_t {
  kErrorUnknownClass = 1,      // where no skipping is allowed
  kErrorReadWhileWriting = 16, // a record was to be read from a stream open for writing
  kErrorFileType = 32,         // the file's type is none of the accepted ones
  kErrorInconsistent = 64,     // sizes that contradict each other, the enclosing record or the file
  kErrorShortRead = 128,       // past the end, or fewer bytes than announced
  kErrorShortWrite = 256,
  kErrorSizeBeyondEnd = 512, // a size field lies at or beyond the end of the file
  kErrorCancelled = 2048,    // through the ProgressInfo
};
// Returns the flags in words, separated by ", ".
KorText DescribeRecordErrors(std::uint32_t flags);

// The question beneath an error report, by the number of its text.
enum class ErrorQuestion : int { None = 0, Continue = 1492, Retry = 3909 };

// What the header of a file says.
struct RecordFormat {
  std::vector<std::uint32_t>
      fileTypes;          // accepted by a reader; the first one is written; none: no type
  bool wideSizes = false; // 64-bit sizes
  int revision = 2;       // 1 or 2
};

namespace record_marker {
inline constexpr std::uint32_t kNarrowSizes = 17099701;
inline constexpr std::uint32_t kWideSizes = 28062022;
inline constexpr std::uint32_t kFormat = 2410100;
inline constexpr std::uint32_t kRevision2 = 19020200;
inline constexpr std::uint32_t kSection = 0x54434553; // "SECT"
} // namespace record_marker

// A day, or none (all zero). Not a moment: no time of day, no time zone.
struct CalendarDate {
  std::uint16_t year = 0;
  std::uint8_t month = 0; // 1 to 12
  std::uint8_t day = 0;   // 1 to 31
  bool IsNone() const { return year == 0 && month == 0 && day == 0; }
  friend auto operator<=>(const CalendarDate&, const CalendarDate&) = default;
};
bool IsCalendarDate(const CalendarDate& date);

template <class T>
concept RecordNumber = (std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, wchar_t>) ||
                       std::same_as<T, float> || std::same_as<T, double>;
template <class T>
concept RecordEnum = std::is_enum_v<T>;

class DiskFile : public KorFile {
 public:
  static constexpr std::size_t kBlockSize = 0x10000;
  static constexpr std::size_t kDeepestRecord = 256; // records within records

  explicit DiskFile(const KorText& path = {}, RecordFormat recordFormat = {});
  ~DiskFile() override;

  bool Open(std::uint32_t mode, OpenWait wait = OpenWait::No,
            Compression compression = Compression::No, FileResult* result = nullptr) override;
  bool Close() override;
  // Writes the last block and commits the file; gives the file up when the stream has an error.
  bool Commit() override;

  // Hands the block cache to the file, so that MemoryBytes is complete. False when the stream has
  // an error.
  bool FlushRecords();

  // Writes the header, or reads it and checks the file type. This comes first after opening.
  bool TransferHeader();
  bool IsWriting() const { return (Mode() & kFileWrite) != 0; }
  bool HasSecondSize() const { return secondSize; } // read from the header, as the next three are
  bool WideSizes() const { return format.wideSizes; }
  int Revision() const { return format.revision; }
  bool HasFormatMarker() const { return formatMarker; } // false in the oldest files
  std::uint32_t FileType() const { return fileType; }   // the accepted one that was found; or 0

  // --- Errors, progress --------------------------------------------------------------------------
  std::uint32_t Errors() const { return errors; }
  void SetError(std::uint32_t flags);
  void ReportErrors(bool report) { reporting = report; } // default: yes
  void SetErrorQuestion(ErrorQuestion question) { errorQuestion = question; }
  std::int32_t ErrorAnswer() const { return errorAnswer; } // what the last report returned
  void SetProgress(ProgressInfo info) { progress = std::move(info); }

  // --- Records -----------------------------------------------------------------------------------
  struct BegunRecord {
    bool open = false;    // a record was opened: EndRecord has to follow
    bool present = false; // and it is not the empty stand-in for one that an older file lacks
    std::unique_ptr<Storable> object; // what NewObject::Create has made
    explicit operator bool() const { return open; }
  };
  enum class NewObject { None, Create };  // whether reading makes an object of the record's class
  enum class OtherClass { Refuse, Skip }; // what becomes of a record of another class
  // Writing opens a record of the class, reading opens the next one. A record of a class other than
  // classId (0: any), or of a class that the registry can't create, is skipped or is an error.
  BegunRecord BeginRecord(std::uint32_t classId, NewObject wanted = NewObject::None,
                          OtherClass other = OtherClass::Refuse);
  // Patches the sizes, or moves to the record's end. Does nothing when no record is open.
  void EndRecord();
  std::size_t RecordDepth() const { return records.size(); }
  std::uint64_t BytesLeft() const; // of the record that is being read
  std::uint64_t StreamPosition() const {
    return blockOffset + static_cast<std::size_t>(at - block);
  }

  // Moves an object that exists, as a record of its class. False when a file that is being read
  // lacks it.
  bool TransferObject(Storable& object) { return TransferAs(object, object.ClassId()); }
  // Moves an object of any registered class. Reading creates the object, and gives null when there
  // is none or it was skipped. Writing null does nothing.
  template <class T>
  bool TransferNewObject(std::unique_ptr<T>& object, OtherClass other = OtherClass::Refuse);
  // Moves the base class's part of an object, as a record of the base class. A file that ends
  // before that record was cut off, which is an error.
  template <class Base> bool TransferBase(Base& object);
  // Moves the described members, in order.
  void TransferMembers(Storable& object, std::span<const MemberDescription> members);
  // Moves an object that others share. It is written once per stream, then referred to by class and
  // checksum.
  template <class T> void CachedInstance(std::shared_ptr<T>& reference);

  // --- Fields ------------------------------------------------------------------------------------
  // True when the value was moved.
  template <RecordNumber T> bool Transfer(T& value);
  template <RecordEnum T> bool Transfer(T& value); // as its underlying type, unchecked
  bool Transfer(bool& flag);                       // 4 bytes: 0 or 1
  bool Transfer(KorText& text);
  bool Transfer(CalendarDate& date); // reading: what is no date becomes none
  bool Transfer(void* buffer, std::uint64_t length);
  // The elements may be numbers, texts, dates or objects (T derived from Storable, or a unique_ptr
  // of such).
  template <class T> bool Transfer(std::vector<T>& list);
  bool CompatibleDword(std::uint64_t& value); // 4 bytes in narrow files, 8 in wide ones
  bool CompatibleInt(std::int64_t& value);
  // Moves a fixed number between groups of fields; reading anything else in its place is an error.
  bool SectionMark();
  bool SkipText(); // reading: passes over a text
  // Writes the count, or reads it; nothing when the record has none. A count whose elements, of at
  // least leastBytes each, can't be in what is left of the record is an error.
  std::optional<std::uint32_t> TransferCount(std::size_t count, std::size_t leastBytes);

 private:
  struct OpenRecord {
    std::uint32_t classId = 0;
    std::uint64_t sizeA = 0, positionA = 0; // the size and where its field is
    std::uint64_t sizeB = 0, positionB = 0;
    std::uint64_t end = 0; // of what may be read
  };
  // The key of a shared object: class number, then the checksum's count, low and high half.
  using InstanceKey = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t>;

  std::uint64_t SizeWidth() const { return format.wideSizes ? 8 : 4; }
  void ResetStream();
  bool StartBlock();
  void SetLimit();
  bool WriteBlock();
  bool FillBlock(std::uint64_t from);
  void MoveTo(std::uint64_t target);
  bool PatchSize(std::uint64_t field, std::uint64_t value);
  bool ReadRaw(std::uint8_t* to, std::uint64_t length);
  bool WriteRaw(const std::uint8_t* from, std::uint64_t length);
  bool MoveBytes(std::uint8_t* bytes, std::uint64_t length);
  void TellProgress();
  void ReportNewErrors();

  void WriteHeader();
  void ReadHeader();
  bool ReadFileType();
  bool TakeMarker(std::uint32_t expected);
  BegunRecord BeginWriting(std::uint32_t classId, NewObject wanted);
  BegunRecord BeginReading(std::uint32_t classId, NewObject wanted, OtherClass other);
  bool ReadRecordStart(OpenRecord& record);
  bool ReadSize(std::uint64_t& value);
  bool IsConsistent(const OpenRecord& record) const;
  bool TransferAs(Storable& object, std::uint32_t classId);
  void CloseRecordsTo(std::size_t depth);
  std::unique_ptr<Storable> ReadNewObject(OtherClass other);
  void WriteInstance(const std::shared_ptr<Storable>& object);
  std::shared_ptr<Storable> ReadInstance();
  bool TransferCrc(FileCrc& crc);
  bool WriteText(std::u16string_view text);
  bool ReadText(KorText& text);
  bool TextUnits(std::uint64_t& units);
  template <class T> struct IsObjectPointer : std::false_type {};
  template <class T> struct IsObjectPointer<std::unique_ptr<T>> : std::true_type {};
  template <class T> bool TransferElement(T& element);
  template <class T> static constexpr std::size_t LeastBytes();

  // The block cache stands first, for the inline paths. While reading, at and limit bound what may
  // be taken at once. While writing, the bytes from block to at are not yet written, and limit is
  // the block's end. at equals limit whenever the slow path has to look: the block is exhausted,
  // the record has ended, there is an error, or nothing has begun.
  std::uint8_t* at = nullptr;
  std::uint8_t* limit = nullptr;
  bool writing = false;
  std::uint8_t* block = nullptr;
  std::uint64_t blockOffset = 0; // of the block in the file
  std::uint64_t blockLength = 0; // bytes read into it
  std::unique_ptr<std::uint8_t[]> blockMemory;

  std::vector<OpenRecord> records;
  RecordFormat format;
  RecordFormat givenFormat;
  bool secondSize = true;
  bool formatMarker = true;
  std::uint32_t fileType = 0;
  std::uint32_t errors = 0;
  std::uint32_t reported = 0;
  bool reporting = true;
  ErrorQuestion errorQuestion = ErrorQuestion::None;
  std::int32_t errorAnswer = 0;
  std::map<InstanceKey, std::shared_ptr<Storable>> instances;
  ProgressInfo progress;
  std::u16string unitBuffer;
};

// --- Whole files ---
struct RecordFileOptions {
  RecordFormat format;
  bool compressed = false; // reading then takes plain files, too
  bool report = true;      // errors go to App()
  ProgressInfo progress;
  std::uint64_t largest = 0; // bytes; a larger file is not read. 0: any
};
// Reads the object of a file. False when the file can't be opened, holds no object of that class,
// or has an error; the object's stored fields are then what they were before.
bool LoadObject(const KorText& path, Storable& object, const RecordFileOptions& options = {});
// Writes the object beside the file, which it replaces when it is complete.
bool SaveObject(const KorText& path, Storable& object, const RecordFileOptions& options = {});

// --- Inline parts ---
template <RecordNumber T> inline bool DiskFile::Transfer(T& value) {
  if (static_cast<std::size_t>(limit - at) >= sizeof(T)) [[likely]] {
    if (writing)
      StoreLe(at, value);
    else
      value = LoadLe<T>(at);
    at += sizeof(T);
    return true;
  }
  std::array<std::uint8_t, sizeof(T)> bytes;
  StoreLe(bytes.data(), value);
  if (!MoveBytes(bytes.data(), bytes.size())) return false;
  value = LoadLe<T>(bytes.data());
  return true;
}

template <RecordEnum T> inline bool DiskFile::Transfer(T& value) {
  auto number = static_cast<std::underlying_type_t<T>>(value);
  if (!Transfer(number)) return false;
  value = static_cast<T>(number);
  return true;
}

template <class T> bool DiskFile::TransferNewObject(std::unique_ptr<T>& object, OtherClass other) {
  if (IsWriting()) return object != nullptr && TransferObject(*object);
  std::unique_ptr<Storable> read = ReadNewObject(other);
  object.reset(dynamic_cast<T*>(read.get()));
  if (object != nullptr)
    static_cast<void>(read.release());
  else if (read != nullptr)
    SetError(kErrorUnknownClass); // a registered class, but none that belongs here
  return object != nullptr;
}

template <class Base> bool DiskFile::TransferBase(Base& object) {
  const std::size_t depth = RecordDepth();
  const BegunRecord record = BeginRecord(Base::kClassId);
  if (!record) {
    if (errors == 0) SetError(kErrorShortRead); // the file ends between the two
    return false;
  }
  object.Base::Transfer(*this);
  CloseRecordsTo(depth);
  return record.present;
}

template <class T> void DiskFile::CachedInstance(std::shared_ptr<T>& reference) {
  if (IsWriting()) {
    WriteInstance(reference);
    return;
  }
  reference.reset();
  const std::shared_ptr<Storable> object = ReadInstance();
  reference = std::dynamic_pointer_cast<T>(object);
  if (object != nullptr && reference == nullptr) SetError(kErrorUnknownClass);
}

template <class T> constexpr std::size_t DiskFile::LeastBytes() {
  if constexpr (RecordNumber<T>)
    return sizeof(T);
  else if constexpr (std::derived_from<T, Storable> || IsObjectPointer<T>::value)
    return 8; // class number and a size
  else
    return 4; // texts, dates
}

template <class T> bool DiskFile::TransferElement(T& element) {
  if constexpr (std::derived_from<T, Storable>)
    return TransferObject(element);
  else if constexpr (IsObjectPointer<T>::value)
    return TransferNewObject(element);
  else
    return Transfer(element);
}

template <class T> bool DiskFile::Transfer(std::vector<T>& list) {
  const std::optional<std::uint32_t> count = TransferCount(list.size(), LeastBytes<T>());
  if (!count) return false;
  if (IsWriting()) {
    for (T& element : list)
      TransferElement(element);
    return true;
  }
  list.clear();
  for (std::uint32_t i = 0; i < *count; ++i) {
    T element{};
    if (!TransferElement(element)) {
      if (errors == 0) SetError(kErrorShortRead); // the count promised it
      return false;
    }
    list.push_back(std::move(element));
  }
  return true;
}

} // namespace kor
