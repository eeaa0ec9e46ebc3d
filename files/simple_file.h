// SimpleFile: the one class through which the system reads and writes files. An object names one
// file and can be opened and closed repeatedly. It hides whether the bytes live on disk or in
// memory, whether the file on disk is compressed, the byte-order mark of text files, and the
// waiting for a file that another process still holds.
//
// All system calls go through App(). One thread at a time per object; owned by whoever made it.
// Failures are reported by results; misuse gives a debug warning and the operation goes on.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "files/checksum.h"
#include "files/file_result.h"
#include "files/void_buffer.h"
#include "services/core/kor_text.h"
#include "services/core/os_files.h"

namespace kor {

// Open-mode bits; callers pass them and stored settings name them by value.
enum OpenMode : std::uint32_t {
  kFileWrite = 1,   // alone: created or emptied
  kFileRead = 2,    // with kFileWrite: update; created when missing, content kept
  kFileText = 4,    // text file: byte-order mark handling
  kFileUnicode = 8, // with kFileText and kFileWrite: writes a UTF-16 file
  kFileUtf8 = 16,   // with kFileText and kFileWrite: writes a UTF-8 file
  kFileAppend = 32, // with kFileWrite: created when missing, every write goes to the end
  kFileNew = 64,    // with kFileWrite: fails when the file exists
};

enum class TextEncoding : std::int32_t { EightBit = 0, Utf8 = 1, Utf16 = 2 };

// Whether Open waits for a file that another process still holds or has not written yet.
enum class OpenWait : bool { No = false, Yes = true };
// Whether a compressed file is read and written as what it holds, or as the bytes on the disk.
enum class Compression : bool { No = false, Yes = true };

class SimpleFile {
 public:
  explicit SimpleFile(const KorText& path = {});
  // Constructs and opens. The compression argument has no effect: the file is always opened without
  // it. Callers who want it call Open themselves.
  SimpleFile(const KorText& path, std::uint32_t mode, OpenWait wait, Compression compression);
  virtual ~SimpleFile(); // closes
  SimpleFile(const SimpleFile&) = delete;
  SimpleFile& operator=(const SimpleFile&) = delete;

  const KorText& Name() const { return name; }
  // Names another file. An open file keeps its name and gives false.
  bool SetName(const KorText& path);

  // Returns false when the file is open already, when the name is empty, when the mode is 0, or
  // when opening fails; the result code tells why a compressed file could not be read.
  // OpenWait::Yes tries for 5 s, and then an empty file opened for reading, or for update, counts
  // as not there yet: another process may have created it and not written it so far.
  // Compression::Yes inflates a compressed file and reads a plain one as it is; what is written is
  // compressed over the target by Close, which is when the older target is replaced. Compression is
  // not for update or appending. A compressed file is read from memory, a very large one from a
  // temporary file. In memory, a text file's first four bytes are gone after Open whatever its
  // mark: stored files rely on it. A file shorter than the 26 bytes of a signature can't be opened
  // with compression.
  virtual bool Open(std::uint32_t mode, OpenWait wait = OpenWait::No,
                    Compression compression = Compression::No, FileResult* result = nullptr);
  // False when cached bytes, the disk or the compression failed. A closed file gives false.
  virtual bool Close();

  bool IsOpen() const { return openMode != 0; }
  // Whether the file is open and no write has failed since.
  bool IsGood() const { return IsOpen() && !writeFailed; }
  std::uint32_t Mode() const { return openMode; }
  TextEncoding Encoding() const { return encoding; }
  bool IsCompressed() const { return compressed; }
  // Whether the last Open or ReadAll failed only for want of memory.
  bool LackedMemory() const { return lackedMemory; }
  std::uint64_t Position() const { return position; } // bytes from the start
  std::uint64_t Size() const { return size; }         // bytes; grows with writes past the end
  bool AtEnd() const { return position >= size; }

  // Returns the bytes read: fewer than asked for at the end of the file or after a failure. The
  // destination is cleared first.
  std::size_t Read(std::span<std::uint8_t> to);
  // Returns the bytes taken: fewer than given when the disk took fewer. Bytes that the write cache
  // took can still fail later; Flush and Close tell.
  std::size_t Write(std::span<const std::uint8_t> from);
  // The new position: offset, or size - offset when it counts from the end. A closed file, or a
  // target before the start of a file on disk, keeps its position.
  std::uint64_t Seek(std::uint64_t offset, SeekFrom from = SeekFrom::Start);
  // Hands cached bytes to the operating system; a log calls it after each line. False when it
  // failed.
  bool Flush();
  // Flushes, and then hands the bytes to the disk itself.
  bool Sync();
  // Without the write cache every failing write shows at once. Call this before the first write.
  void UseWriteCache(bool use) { writeCacheAllowed = use; }

  // --- Text --------------------------------------------------------------------------------------
  // The next line without its end (LF or CR LF; the last may have none), by the file's encoding; an
  // 8-bit byte becomes the character of the same number. False at the end of the file. A line of
  // more than `longest` bytes comes back cut, just longer than that, and its rest follows as the
  // next.
  bool ReadLine(KorText& line, std::size_t longest = KorText::kNone);
  // Writes in the file's encoding. False when not all bytes were taken.
  bool WriteText(std::u16string_view text);
  template <class... Args> bool Print(std::u16string_view format, const Args&... args) {
    return WriteText(KorText::Format(format, args...));
  }
  // Reads from the position to the end of the file; std::nullopt when that can't be read in full,
  // or when there is no memory for it.
  std::optional<std::vector<std::uint8_t>> ReadAll();

  // --- Checksum ----------------------------------------------------------------------------------
  // The checksum of the whole file as it lies on disk, its mark included. Only for a closed file.
  // With kFileText in the mode the mark is recognised, and half a character at the end of a UTF-16
  // file is left out where it would be the only byte of a piece of 64 KiB; elsewhere it counts.
  // Intended.
  bool GetFileCrc(FileCrc& crc, std::uint32_t mode = kFileRead);

  // --- Memory ------------------------------------------------------------------------------------
  // Opens over a buffer of its own. Marks are neither looked for nor written; the encoding is that
  // of the mode's bits. False when already open or the mode is 0.
  bool OpenMemory(std::uint32_t mode, VoidBuffer own = {});
  // Opens over a caller's buffer, which has to stay until Close. Writes past its end resize it all
  // the same, with a debug warning.
  bool AttachMemory(std::uint32_t mode, VoidBuffer& callers);
  bool InMemory() const { return memory != nullptr; }
  // Returns what the memory file holds, up to its size.
  std::span<const std::uint8_t> MemoryBytes() const;
  std::size_t MemoryCapacity() const { return memory ? memory->Capacity() : 0; }

 protected:
  // Opens a temporary file in the place of the named one. Close deletes it.
  bool OpenStandIn(const KorText& path, std::uint32_t mode);
  const KorText& WorkingPath() const { return workingPath; }
  void KeepWorkingFile() { workingPathTemporary = false; }
  OsFile* WorkingHandle() { return handle.get(); } // null when closed or in memory

 private:
  struct ReadCache {
    VoidBuffer bytes;         // its size is the number of valid bytes
    std::size_t at = 0;       // position inside the buffer
    std::uint64_t offset = 0; // where in the file the buffer starts
    std::size_t Left() const { return bytes.Size() - at; }
  };
  enum class Prepared { Plain, Open, Failed };
  enum class EmptyFile { Taken, Refused };

  void Reset();
  bool OpenWorkingFile(std::uint32_t mode, OpenWait wait);
  bool OpenOnce(std::uint32_t mode, EmptyFile empty);
  Prepared PrepareCompressed(std::uint32_t mode, OpenWait wait, FileResult& result);
  Prepared PrepareCompressedRead(std::uint32_t mode, OpenWait wait, FileResult& result);
  Prepared InflateToWorkingFile(SimpleFile& source, FileResult& result);
  Prepared PrepareCompressedWrite(std::uint32_t mode, FileResult& result);
  bool FinishCompressed();
  void RemoveWorkingFile();

  bool ReadMark(); // false: the file can't be put back behind it
  void WriteMark();

  bool StartReadCache();
  bool FillReadCache(std::uint64_t offset);
  std::size_t ReadCached(std::span<std::uint8_t> to);
  std::size_t ReadHandle(std::span<std::uint8_t> to);
  std::size_t ReadMemory(std::span<std::uint8_t> to);
  std::size_t WriteHandle(std::span<const std::uint8_t> from);
  std::size_t WriteDisk(std::span<const std::uint8_t> from);
  std::size_t WriteMemory(std::span<const std::uint8_t> from);
  bool GrowMemory(std::uint64_t newSize);
  void StartMemory(std::uint32_t mode, VoidBuffer& bytes);

  bool SeekHandle(std::uint64_t target);
  // Returns some of the bytes that follow the position, which stays; none at the end of the file.
  std::span<const std::uint8_t> Peek();
  void Skip(std::size_t bytes);
  bool TakeLine(std::string& raw, std::size_t longest);

  KorText name;
  KorText workingPath; // differs from the name when a temporary file stands in
  bool workingPathTemporary = false;
  std::unique_ptr<OsFile> handle;
  std::unique_ptr<ReadCache> readCache; // only of text files opened for reading
  std::unique_ptr<VoidBuffer> writeCache;
  bool writeCacheAllowed = true;
  bool writeFailed = false;
  TextEncoding encoding = TextEncoding::EightBit;
  std::uint32_t openMode = 0;
  std::uint64_t position = 0;
  std::uint64_t size = 0;
  bool compressed = false;
  bool lackedMemory = false;
  bool targetExisted = true; // before a compressed file was opened for writing
  VoidBuffer ownMemory;
  VoidBuffer* memory = nullptr; // ownMemory or the caller's; null: on disk
  VoidBuffer peeked;
};

} // namespace kor
