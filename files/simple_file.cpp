#include "files/simple_file.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "files/compressed_file.h"
#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"

namespace kor {
namespace {

constexpr std::size_t kCacheSize = 0x10000;
constexpr std::uint64_t kMemoryStep = 0x100000;
constexpr std::uint32_t kWaitPeriod = 5000; // milliseconds
constexpr std::uint32_t kWaitStep = 100;
constexpr std::size_t kPeekSize = 512; // of a file that is open for update
// Compressed contents larger than this, a single block's, are inflated into a temporary file.
constexpr std::uint64_t kLargestInMemory = 0x2000000;

constexpr std::uint8_t kUtf8Mark[] = {0xEF, 0xBB, 0xBF};
constexpr std::uint8_t kUtf16Mark[] = {0xFF, 0xFE};

bool HasBits(std::uint32_t mode, std::uint32_t bits) {
  return (mode & bits) == bits;
}

bool IsUpdate(std::uint32_t mode) {
  return HasBits(mode, kFileRead | kFileWrite);
}

TextEncoding EncodingOfMode(std::uint32_t mode) {
  if (HasBits(mode, kFileText | kFileUnicode)) return TextEncoding::Utf16;
  if (HasBits(mode, kFileText | kFileUtf8)) return TextEncoding::Utf8;
  return TextEncoding::EightBit;
}

std::optional<FileAccess> AccessOfMode(std::uint32_t mode) {
  if (HasBits(mode, kFileWrite | kFileNew)) return FileAccess::CreateNew;
  if (HasBits(mode, kFileWrite | kFileAppend)) return FileAccess::Append;
  if (IsUpdate(mode)) return FileAccess::ReadWrite;
  if (HasBits(mode, kFileWrite)) return FileAccess::Write;
  if (HasBits(mode, kFileRead)) return FileAccess::Read;
  return std::nullopt;
}

std::string ToUtf16Bytes(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size() * 2);
  for (const char16_t c : text) {
    bytes.push_back(static_cast<char>(c & 0xFF));
    bytes.push_back(static_cast<char>(c >> 8));
  }
  return bytes;
}

KorText FromUtf16Bytes(std::string_view bytes) {
  KorText text;
  text.Reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    text.Append(static_cast<char16_t>(static_cast<std::uint8_t>(bytes[i]) |
                                      static_cast<std::uint8_t>(bytes[i + 1]) << 8));
  return text;
}

} // namespace

SimpleFile::SimpleFile(const KorText& path) : name(path) {}

SimpleFile::SimpleFile(const KorText& path, std::uint32_t mode, OpenWait wait,
                       Compression compression)
    : name(path), compressed(compression == Compression::Yes) {
  SimpleFile::Open(mode, wait);
}

SimpleFile::~SimpleFile() {
  SimpleFile::Close();
}

bool SimpleFile::SetName(const KorText& path) {
  if (IsOpen()) return false;
  name = path;
  return true;
}

// --- Opening ---

void SimpleFile::Reset() {
  encoding = TextEncoding::EightBit;
  position = size = 0;
  memory = nullptr;
  ownMemory.Free();
  writeFailed = lackedMemory = false;
  workingPath = name;
  workingPathTemporary = false;
}

bool SimpleFile::Open(std::uint32_t mode, OpenWait wait, Compression compression,
                      FileResult* result) {
  if (result != nullptr) *result = FileResult::Failure;
  if (IsOpen() || name.IsEmpty() || mode == 0) return false;
  Reset();
  compressed = compression == Compression::Yes;
  FileResult code = FileResult::Success;
  Prepared prepared = PrepareCompressed(mode, wait, code);
  if (prepared == Prepared::Plain) {
    prepared = OpenWorkingFile(mode, wait) ? Prepared::Open : Prepared::Failed;
    if (prepared == Prepared::Failed) {
      code = HasBits(mode, kFileWrite) ? FileResult::DestinationUnwritable
                                       : FileResult::SourceUnreadable;
      RemoveWorkingFile();
    }
  }
  if (result != nullptr) *result = code;
  return prepared == Prepared::Open;
}

bool SimpleFile::OpenStandIn(const KorText& path, std::uint32_t mode) {
  if (IsOpen() || name.IsEmpty() || mode == 0) return false;
  Reset();
  compressed = false;
  workingPath = path;
  if (!OpenWorkingFile(mode, OpenWait::No)) return false;
  workingPathTemporary = true;
  return true;
}

bool SimpleFile::OpenWorkingFile(std::uint32_t mode, OpenWait wait) {
  if (wait == OpenWait::No) return OpenOnce(mode, EmptyFile::Taken);
  // Another process may have created the file and not written it yet.
  const EmptyFile empty = HasBits(mode, kFileRead) ? EmptyFile::Refused : EmptyFile::Taken;
  const std::uint32_t start = App().TickCount();
  while (!OpenOnce(mode, empty)) {
    App().SleepMilliseconds(kWaitStep);
    if (App().TickCount() - start >= kWaitPeriod) return false;
  }
  return true;
}

bool SimpleFile::OpenOnce(std::uint32_t mode, EmptyFile empty) {
  const std::optional<FileAccess> access = AccessOfMode(mode);
  if (!access) return false;
  handle = App().OpenFile(workingPath, *access);
  if (!handle) return false;
  const std::optional<std::uint64_t> length = handle->Size();
  if (!length || (empty == EmptyFile::Refused && *length == 0)) {
    handle.reset();
    return false;
  }
  size = *length;
  openMode = mode;
  if (HasBits(mode, kFileAppend)) position = size;
  if ((mode & (kFileWrite | kFileRead | kFileText)) == (kFileRead | kFileText)) StartReadCache();
  if (!HasBits(mode, kFileText)) return true;
  if (HasBits(mode, kFileWrite) && size == 0) {
    WriteMark();
    return true;
  }
  if (ReadMark()) return true;
  Close();
  return false;
}

SimpleFile::Prepared SimpleFile::PrepareCompressed(std::uint32_t mode, OpenWait wait,
                                                   FileResult& result) {
  if (!compressed || IsUpdate(mode)) return Prepared::Plain;
  if (HasBits(mode, kFileAppend)) {
    result = FileResult::DestinationUnwritable;
    return Prepared::Failed;
  }
  if (HasBits(mode, kFileRead)) return PrepareCompressedRead(mode, wait, result);
  return PrepareCompressedWrite(mode, result);
}

SimpleFile::Prepared SimpleFile::PrepareCompressedRead(std::uint32_t mode, OpenWait wait,
                                                       FileResult& result) {
  SimpleFile source(name);
  result = FileResult::SourceUnreadable;
  if (!source.Open(kFileRead, wait)) return Prepared::Failed;
  if (InflatedSize(source) > kLargestInMemory) return InflateToWorkingFile(source, result);
  VoidBuffer inflated;
  ContainerFault fault;
  result = DecompressFile(source, nullptr, &inflated, {.fault = &fault});
  lackedMemory = fault.noMemory;
  if (result == FileResult::WrongKind) {
    result = FileResult::Success;
    compressed = false;
    return Prepared::Plain;
  }
  if (result != FileResult::Success) return Prepared::Failed;
  ownMemory = std::move(inflated);
  StartMemory(mode, ownMemory);
  // Reading goes on after the bytes that looked for the mark, up to four, whatever the mark was.
  if (HasBits(mode, kFileText)) ReadMark();
  return Prepared::Open;
}

SimpleFile::Prepared SimpleFile::InflateToWorkingFile(SimpleFile& source, FileResult& result) {
  workingPath = App().GetTemporaryFilename();
  workingPathTemporary = true;
  SimpleFile target(workingPath);
  ContainerFault fault;
  result = target.Open(kFileWrite) ? DecompressFile(source, &target, nullptr, {.fault = &fault})
                                   : FileResult::DestinationUnwritable;
  lackedMemory = fault.noMemory;
  if (!target.Close() && result == FileResult::Success) result = FileResult::DestinationUnwritable;
  if (result == FileResult::Success) return Prepared::Plain;
  RemoveWorkingFile();
  return Prepared::Failed;
}

SimpleFile::Prepared SimpleFile::PrepareCompressedWrite(std::uint32_t mode, FileResult& result) {
  result = FileResult::DestinationUnwritable;
  targetExisted = App().FileExists(name);
  if (targetExisted && HasBits(mode, kFileNew)) return Prepared::Failed;
  // Open the target for update, which proves that it can be written and does not empty it: it keeps
  // its contents until the new ones are complete.
  if (!App().OpenFile(name, FileAccess::ReadWrite)) return Prepared::Failed;
  workingPath = App().GetTemporaryFilename();
  workingPathTemporary = true;
  if (workingPath.IsEmpty() || !OpenOnce(mode & ~kFileNew, EmptyFile::Taken)) {
    RemoveWorkingFile();
    if (!targetExisted) App().RemoveFile(name);
    return Prepared::Failed;
  }
  openMode = mode;
  result = FileResult::Success;
  return Prepared::Open;
}

void SimpleFile::RemoveWorkingFile() {
  if (workingPathTemporary && !workingPath.IsEmpty() && workingPath != name)
    App().RemoveFile(workingPath);
  workingPathTemporary = false;
}

// --- Byte-order mark ---

bool SimpleFile::ReadMark() {
  encoding = TextEncoding::EightBit;
  if (!HasBits(openMode, kFileRead)) { // appending: only the mode's bits can say what is there
    encoding = EncodingOfMode(openMode);
    return true;
  }
  if (AtEnd()) return true;
  std::uint8_t bytes[4];
  const std::size_t count = Read(bytes);
  const auto begins = [&](std::span<const std::uint8_t> mark) {
    return count >= mark.size() && std::equal(mark.begin(), mark.end(), bytes);
  };
  std::size_t skip = 0;
  if (begins(kUtf8Mark)) {
    encoding = TextEncoding::Utf8;
    skip = sizeof kUtf8Mark;
  } else if (begins(kUtf16Mark)) {
    encoding = TextEncoding::Utf16;
    skip = sizeof kUtf16Mark;
  }
  return InMemory() || count == skip || Seek(skip) == skip;
}

void SimpleFile::WriteMark() {
  encoding = EncodingOfMode(openMode);
  if (encoding == TextEncoding::Utf16) Write(kUtf16Mark);
  if (encoding == TextEncoding::Utf8) Write(kUtf8Mark);
}

// --- Closing ---

bool SimpleFile::Close() {
  if (!IsOpen()) return false;
  bool good = true;
  const bool compress = compressed && (openMode & (kFileWrite | kFileRead)) == kFileWrite;
  if (InMemory()) {
    memory = nullptr;
    ownMemory.Free();
  } else {
    good = Flush();
    good = handle->Close() && good;
    handle.reset();
    readCache.reset();
    writeCache.reset();
    peeked.Free();
    if (compress) good = good && FinishCompressed();
    if (compress && !good && !targetExisted) App().RemoveFile(name);
  }
  openMode = 0;
  position = size = 0;
  RemoveWorkingFile();
  return good;
}

bool SimpleFile::FinishCompressed() {
  return CompressFile(workingPath, name) == FileResult::Success;
}

// --- Reading ---

std::size_t SimpleFile::Read(std::span<std::uint8_t> to) {
  if (!to.empty()) std::memset(to.data(), 0, to.size());
  if (!IsOpen()) return 0;
  if (InMemory()) return ReadMemory(to);
  if (!HasBits(openMode, kFileRead)) return 0;
  const std::size_t count = readCache ? ReadCached(to) : ReadHandle(to);
  position += count;
  return count;
}

std::size_t SimpleFile::ReadMemory(std::span<std::uint8_t> to) {
  if (memory->Data() == nullptr || position >= size)
    App().DebugWarning(u"SimpleFile", u"Bad ram read");
  if (position >= size) {
    // The count would be negative; the position falls back by it, to the end of the file.
    position = size;
    return 0;
  }
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(to.size(), size - position));
  if (memory->Data() != nullptr && count > 0)
    std::memcpy(to.data(), memory->Data() + position, count);
  position += count;
  return count;
}

std::size_t SimpleFile::ReadHandle(std::span<std::uint8_t> to) {
  return Flush() ? handle->Read(to) : 0;
}

bool SimpleFile::StartReadCache() {
  readCache = std::make_unique<ReadCache>();
  const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(size, kCacheSize));
  return readCache->bytes.SetCapacity(bytes) && FillReadCache(position);
}

bool SimpleFile::FillReadCache(std::uint64_t offset) {
  ReadCache& cache = *readCache;
  cache.bytes.Clear();
  cache.at = 0;
  cache.offset = offset;
  if (offset >= size || !SeekHandle(offset)) return false;
  const std::uint64_t wanted = std::min<std::uint64_t>(cache.bytes.Capacity(), size - offset);
  if (!cache.bytes.Resize(static_cast<std::size_t>(wanted))) return false;
  cache.bytes.Resize(handle->Read(cache.bytes.Bytes()));
  return !cache.bytes.IsEmpty();
}

std::size_t SimpleFile::ReadCached(std::span<std::uint8_t> to) {
  std::size_t done = 0;
  while (done < to.size()) {
    ReadCache& cache = *readCache;
    if (cache.Left() == 0 && !FillReadCache(cache.offset + cache.bytes.Size())) break;
    const std::size_t count = std::min(to.size() - done, cache.Left());
    std::memcpy(to.data() + done, cache.bytes.Data() + cache.at, count);
    cache.at += count;
    done += count;
  }
  return done;
}

// --- Writing ---

std::size_t SimpleFile::Write(std::span<const std::uint8_t> from) {
  if (!IsOpen() || !HasBits(openMode, kFileWrite)) return 0;
  if (InMemory()) return WriteMemory(from);
  const std::size_t count = WriteDisk(from);
  position += count;
  size = std::max(size, position);
  return count;
}

std::size_t SimpleFile::WriteDisk(std::span<const std::uint8_t> from) {
  if (writeFailed) return 0;
  if (!writeCacheAllowed || from.size() >= kCacheSize) return Flush() ? WriteHandle(from) : 0;
  if (!writeCache) writeCache = std::make_unique<VoidBuffer>();
  if (!writeCache->Reserve(kCacheSize)) return Flush() ? WriteHandle(from) : 0;
  if (writeCache->Size() + from.size() > kCacheSize && !Flush()) return 0;
  writeCache->Append(from);
  return from.size();
}

std::size_t SimpleFile::WriteHandle(std::span<const std::uint8_t> from) {
  const std::size_t count = handle->Write(from);
  if (count < from.size()) writeFailed = true;
  return count;
}

bool SimpleFile::Flush() {
  if (!IsOpen()) return false;
  if (!writeFailed && writeCache && !writeCache->IsEmpty()) {
    WriteHandle(writeCache->Bytes());
    writeCache->Clear();
  }
  return !writeFailed;
}

bool SimpleFile::Sync() {
  return Flush() && (InMemory() || handle->Sync());
}

std::size_t SimpleFile::WriteMemory(std::span<const std::uint8_t> from) {
  const std::uint64_t end = position + from.size();
  const std::uint64_t start = std::exchange(position, end);
  if (end > size && !GrowMemory(end)) writeFailed = true;
  if (memory->Data() == nullptr || end > size) {
    App().DebugWarning(u"SimpleFile", u"Bad ram write");
    return 0;
  }
  if (!from.empty()) std::memcpy(memory->Data() + start, from.data(), from.size());
  return from.size();
}

bool SimpleFile::GrowMemory(std::uint64_t newSize) {
  // The warning marks the caller's fault; the write is not lost for it.
  if (memory != &ownMemory) App().DebugWarning(u"SimpleFile", u"RamFile is not mine to resize");
  const auto capacity = static_cast<std::size_t>((newSize & ~(kMemoryStep - 1)) + kMemoryStep);
  if (capacity != memory->Capacity() && !memory->SetCapacity(capacity)) return false;
  const auto oldSize = static_cast<std::size_t>(size);
  memory->Resize(static_cast<std::size_t>(newSize));
  std::memset(memory->Data() + oldSize, 0, memory->Size() - oldSize); // a seek may have left a gap
  size = newSize;
  return true;
}

// --- Position ---

std::uint64_t SimpleFile::Seek(std::uint64_t offset, SeekFrom from) {
  if (!IsOpen()) return position;
  const auto target = static_cast<std::int64_t>(from == SeekFrom::End ? size - offset : offset);
  if (InMemory()) return position = static_cast<std::uint64_t>(std::max<std::int64_t>(target, 0));
  if (readCache && target >= 0) {
    ReadCache& cache = *readCache;
    const auto wanted = static_cast<std::uint64_t>(target);
    if (wanted >= cache.offset && wanted - cache.offset <= cache.bytes.Size())
      cache.at = static_cast<std::size_t>(wanted - cache.offset);
    else
      FillReadCache(wanted);
    return position = wanted;
  }
  Flush();
  const std::optional<std::uint64_t> reached = App().SeekFile(*handle, target, SeekFrom::Start);
  return reached ? position = *reached : position;
}

bool SimpleFile::SeekHandle(std::uint64_t target) {
  return App().SeekFile(*handle, static_cast<std::int64_t>(target), SeekFrom::Start) == target;
}

// --- Text ---

std::span<const std::uint8_t> SimpleFile::Peek() {
  if (AtEnd()) return {};
  if (InMemory()) return MemoryBytes().subspan(static_cast<std::size_t>(position));
  if (!HasBits(openMode, kFileRead)) return {};
  if (!readCache && !HasBits(openMode, kFileWrite)) StartReadCache();
  if (readCache) {
    ReadCache& cache = *readCache;
    if (cache.Left() == 0 && !FillReadCache(cache.offset + cache.bytes.Size())) return {};
    return cache.bytes.Bytes().subspan(cache.at);
  }
  if (!peeked.Resize(kPeekSize)) return {};
  peeked.Resize(ReadHandle(peeked.Bytes()));
  return SeekHandle(position) ? peeked.Bytes() : std::span<std::uint8_t>();
}

void SimpleFile::Skip(std::size_t bytes) {
  if (InMemory())
    position += bytes;
  else
    Seek(position + bytes);
}

bool SimpleFile::TakeLine(std::string& raw, std::size_t longest) {
  const bool wide = encoding == TextEncoding::Utf16;
  // Room for the line and its end, so that a line of just the longest length is not cut.
  const std::size_t unit = wide ? 2 : 1;
  const std::size_t limit = std::min(longest, KorText::kNone - 8) / unit * unit + 2 * unit;
  while (raw.size() < limit) {
    std::span<const std::uint8_t> ahead = Peek();
    if (ahead.empty()) return !raw.empty();
    // Half of a 16-bit character: just its other half, before any search.
    const bool half = wide && raw.size() % 2 != 0;
    ahead = ahead.first(std::min(half ? 1 : limit - raw.size(), ahead.size()));
    const void* end = half ? nullptr : std::memchr(ahead.data(), '\n', ahead.size());
    if (end != nullptr)
      ahead = ahead.first(
          static_cast<std::size_t>(static_cast<const std::uint8_t*>(end) - ahead.data()) + 1);
    raw.append(reinterpret_cast<const char*>(ahead.data()), ahead.size());
    Skip(ahead.size());
    if (wide ? raw.size() % 2 == 0 && raw.ends_with(std::string_view("\n\0", 2))
             : raw.ends_with('\n'))
      return true;
  }
  return true;
}

bool SimpleFile::ReadLine(KorText& line, std::size_t longest) {
  std::string raw;
  line.Clear();
  if (!IsOpen() || !TakeLine(raw, longest)) return false;
  if (encoding == TextEncoding::Utf16)
    line = FromUtf16Bytes(raw);
  else
    line = encoding == TextEncoding::Utf8 ? KorText::FromUtf8(raw) : KorText::FromBytes(raw);
  if (line.EndsWith(u"\r\n"))
    line.Remove(line.Length() - 2, 2);
  else if (line.EndsWith(u"\n"))
    line.Remove(line.Length() - 1, 1);
  return true;
}

bool SimpleFile::WriteText(std::u16string_view text) {
  std::string bytes;
  if (encoding == TextEncoding::Utf16)
    bytes = ToUtf16Bytes(text);
  else if (encoding == TextEncoding::Utf8)
    bytes = KorText(text).ToUtf8();
  else
    bytes = KorText(text).ToBytes();
  return Write(AsBytes(bytes)) == bytes.size();
}

std::optional<std::vector<std::uint8_t>> SimpleFile::ReadAll() {
  if (!IsOpen()) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  try {
    bytes.resize(AtEnd() ? 0 : static_cast<std::size_t>(size - position));
  } catch (const std::bad_alloc&) {
    lackedMemory = true;
    return std::nullopt;
  }
  if (!bytes.empty() && Read(bytes) != bytes.size()) return std::nullopt;
  return bytes;
}

// --- Checksum and memory ---

bool SimpleFile::GetFileCrc(FileCrc& crc, std::uint32_t mode) {
  if (IsOpen()) {
    App().DebugWarning(u"Debug Warning", u"Cannot get CRC of open file!");
    return false;
  }
  if (!SimpleFile::Open((mode & kFileText) | kFileRead)) return false;
  Seek(0);
  const std::uint64_t unit = encoding == TextEncoding::Utf16 ? 2 : 1;
  const std::uint64_t piece = std::min<std::uint64_t>(size, kCacheSize);
  VoidBuffer bytes;
  bool good = bytes.Resize(static_cast<std::size_t>(piece));
  while (good && position + unit <= size) {
    bytes.Resize(static_cast<std::size_t>(std::min(piece, size - position)));
    good = Read(bytes.Bytes()) == bytes.Size();
    if (good) crc.Add(bytes.Bytes());
  }
  SimpleFile::Close();
  return good;
}

void SimpleFile::StartMemory(std::uint32_t mode, VoidBuffer& bytes) {
  memory = &bytes;
  openMode = mode;
  position = 0;
  size = bytes.Size();
  encoding = EncodingOfMode(mode);
}

bool SimpleFile::OpenMemory(std::uint32_t mode, VoidBuffer own) {
  if (IsOpen() || mode == 0) return false;
  Reset();
  compressed = false;
  ownMemory = std::move(own);
  StartMemory(mode, ownMemory);
  return true;
}

bool SimpleFile::AttachMemory(std::uint32_t mode, VoidBuffer& callers) {
  if (IsOpen() || mode == 0) return false;
  Reset();
  compressed = false;
  StartMemory(mode, callers);
  return true;
}

std::span<const std::uint8_t> SimpleFile::MemoryBytes() const {
  return memory != nullptr ? std::as_const(*memory).Bytes() : std::span<const std::uint8_t>();
}

} // namespace kor
