#include "files/compressed_file.h"

#include <algorithm>
#include <thread>

#include "files/block_workers.h"
#include "files/container_layout.h"
#include "files/kor_file.h"
#include "files/little_endian.h"

namespace kor {
namespace {

std::size_t WorkerCount(const CompressOptions& options, std::uint64_t blocks) {
  const unsigned wanted =
      options.workers != 0 ? options.workers : std::max(1u, std::thread::hardware_concurrency());
  return static_cast<std::size_t>(std::clamp<std::uint64_t>(blocks, 1, wanted));
}

bool GoesOn(const CompressOptions& options, const SimpleFile& source, std::uint64_t done) {
  return !options.progress || options.progress(done, source.Size());
}

constexpr BlockWorkers::Room kWholeBlocks = {kContainerBlock, kContainerBlock};

// Moves blocks through the workers, in order. A fault in an earlier block is reported before one in
// a later block, however far ahead the reading was.
class BlockRun {
 public:
  BlockRun(SimpleFile& file, const CompressOptions& settings, std::size_t workers,
           BlockWorkers::Step step, BlockWorkers::Room room)
      : source(file), options(settings), pipe(workers, step, room) {}
  virtual ~BlockRun() = default;

  FileResult Run() {
    for (std::uint64_t block = 0;; ++block) {
      while (!ended && started - block < pipe.Count())
        StartNext();
      if (block == started) return ending;
      const Place place = places[block % places.size()];
      const bool good = pipe.Finish(block);
      const VoidBuffer& output = pipe.Output(block);
      if (output.LacksMemory()) return FailMemory(options.fault, block, place.offset);
      if (!good) return Fail(options.fault, FileResult::Failure, block, place.offset, StepFault());
      if (!Take(output)) return TakeFault(block, place.offset);
      if (!GoesOn(options, source, place.end))
        return Fail(options.fault, FileResult::Failure, block, place.offset, u"cancelled");
    }
  }

 protected:
  // Fills the input. Sets `more` to false at the regular end; any result but Success is the end
  // too.
  virtual FileResult ReadBlock(VoidBuffer& input, std::uint64_t block, bool& more) = 0;
  virtual bool Take(const VoidBuffer& output) = 0;
  virtual FileResult TakeFault(std::uint64_t block, std::uint64_t offset) const {
    return FailSystem(options.fault, FileResult::DestinationUnwritable, block, offset,
                      u"the destination can't be written");
  }
  virtual const char16_t* StepFault() const = 0;

  SimpleFile& source;
  const CompressOptions& options;

 private:
  struct Place {
    std::uint64_t offset = 0, end = 0;
  };

  void StartNext() {
    Place& place = places[started % places.size()];
    place.offset = source.Position();
    bool more = true;
    ending = ReadBlock(pipe.Input(started), started, more);
    place.end = source.Position();
    ended = !more || ending != FileResult::Success;
    if (!ended) pipe.Start(started++);
  }

  BlockWorkers pipe;
  std::vector<Place> places{pipe.Count()};
  std::uint64_t started = 0;
  bool ended = false;
  FileResult ending = FileResult::Success;
};

// --- Compressing ---

bool CompressBlock(std::span<const std::uint8_t> input, VoidBuffer& output) {
  return VoidBuffer::Compress32(input, output, VoidBuffer::kDefaultLevel, kContainerBlock);
}

class CompressRun : public BlockRun {
 public:
  CompressRun(SimpleFile& from, SimpleFile& to, const CompressOptions& settings)
      : BlockRun(from, settings,
                 WorkerCount(settings, (from.Size() + kContainerBlock - 1) / kContainerBlock),
                 CompressBlock, kWholeBlocks),
        target(to) {}

 protected:
  FileResult ReadBlock(VoidBuffer& input, std::uint64_t block, bool& more) override {
    more = !source.AtEnd();
    if (!more) return FileResult::Success;
    const std::uint64_t offset = source.Position();
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(kContainerBlock, source.Size() - offset));
    if (!input.Resize(count)) return FailMemory(options.fault, block, offset);
    if (source.Read(input.Bytes()) == count) return FileResult::Success;
    return FailSystem(options.fault, FileResult::SourceUnreadable, block, offset,
                      u"the source can't be read in full");
  }
  bool Take(const VoidBuffer& output) override {
    std::uint8_t length[kBlockLengthSize];
    StoreLe32(length, static_cast<std::uint32_t>(output.Size()));
    return target.Write(length) == sizeof length && target.Write(output.Bytes()) == output.Size();
  }
  const char16_t* StepFault() const override {
    return u"the data can't be compressed into a block that readers accept";
  }

 private:
  SimpleFile& target;
};

// --- Restoring ---

bool InflateBlock(std::span<const std::uint8_t> input, VoidBuffer& output) {
  return VoidBuffer::Decompress32(input, output, kContainerBlock);
}

// Where inflated data goes; neither target: nowhere.
struct Sink {
  SimpleFile* file = nullptr;
  VoidBuffer* buffer = nullptr;
  FileCrc* crc = nullptr;

  bool LacksMemory() const { return buffer != nullptr && buffer->LacksMemory(); }
  bool Take(std::span<const std::uint8_t> bytes) const {
    if (crc != nullptr) crc->Add(bytes);
    if (buffer != nullptr) return buffer->Append(bytes);
    return file == nullptr || file->Write(bytes) == bytes.size();
  }
};

class RestoreRun : public BlockRun {
 public:
  RestoreRun(SimpleFile& from, const Sink& to, const CompressOptions& settings,
             std::uint64_t blocks)
      : BlockRun(from, settings, WorkerCount(settings, blocks), InflateBlock, kWholeBlocks),
        sink(to) {}

 protected:
  FileResult ReadBlock(VoidBuffer& input, std::uint64_t block, bool& more) override {
    more = !source.AtEnd();
    if (!more) return FileResult::Success;
    const std::uint64_t offset = source.Position();
    std::uint32_t length = 0;
    const FileResult result = ReadBlockLength(source, block, length, options.fault);
    if (result != FileResult::Success) return result;
    if (!input.Resize(length)) return FailMemory(options.fault, block, offset);
    if (source.Read(input.Bytes()) == length) return FileResult::Success;
    return FailSystem(options.fault, FileResult::SourceUnreadable, block, offset,
                      u"the source can't be read in full");
  }
  bool Take(const VoidBuffer& output) override { return sink.Take(output.Bytes()); }
  FileResult TakeFault(std::uint64_t block, std::uint64_t offset) const override {
    return sink.LacksMemory() ? FailMemory(options.fault, block, offset)
                              : BlockRun::TakeFault(block, offset);
  }
  const char16_t* StepFault() const override { return u"the block's data is damaged"; }

 private:
  const Sink& sink;
};

// Blocks of a file, counted only as far as it matters for the number of workers.
std::uint64_t CountBlocks(SimpleFile& source, std::uint64_t enough) {
  const std::uint64_t start = source.Position();
  std::uint64_t blocks = 0;
  std::uint32_t length = 0;
  while (blocks < enough && !source.AtEnd() &&
         ReadBlockLength(source, blocks, length, nullptr) == FileResult::Success) {
    source.Seek(source.Position() + length);
    ++blocks;
  }
  source.Seek(start);
  return blocks;
}

FileResult Restore2005(SimpleFile& source, const Sink& sink, const CompressOptions& options) {
  const std::uint64_t enough = WorkerCount(options, static_cast<std::uint64_t>(-1));
  return RestoreRun(source, sink, options, CountBlocks(source, enough)).Run();
}

FileResult Restore2004(SimpleFile& source, const Sink& sink, const CompressOptions& options) {
  const std::uint64_t offset = source.Position();
  VoidBuffer piece;
  if (!piece.Resize(static_cast<std::size_t>(source.Size() - offset)))
    return FailMemory(options.fault, 0, offset);
  if (source.Read(piece.Bytes()) != piece.Size())
    return FailSystem(options.fault, FileResult::SourceUnreadable, 0, offset,
                      u"the source can't be read in full");
  if (!piece.Decompress())
    return piece.LacksMemory()
               ? FailMemory(options.fault, 0, offset)
               : Fail(options.fault, FileResult::Failure, 0, offset, u"the data is damaged");
  if (!sink.Take(piece.Bytes()))
    return FailSystem(options.fault, FileResult::DestinationUnwritable, 0, offset,
                      u"the destination can't be written");
  return GoesOn(options, source, source.Size())
             ? FileResult::Success
             : Fail(options.fault, FileResult::Failure, 0, offset, u"cancelled");
}

bool OpenSource(SimpleFile& source, OpenWait wait, const CompressOptions& options) {
  if (source.Open(kFileRead, wait)) return true;
  FailSystem(options.fault, FileResult::SourceUnreadable, 0, 0, u"the source can't be opened");
  return false;
}

// Opens the target beside itself, lets the work fill it and puts it in its place.
template <class Work>
FileResult WriteTarget(SimpleFile& source, const KorText& path, const CompressOptions& options,
                       Work work) {
  KorFile target(path);
  target.HoldTarget();
  if (!target.OpenSafe())
    return FailSystem(options.fault, FileResult::DestinationUnwritable, 0, 0,
                      u"the destination can't be opened for writing");
  source.Close(); // it may be the target, and longer by what was written to it until it was held
  if (!OpenSource(source, OpenWait::No, options)) return FileResult::SourceUnreadable;
  const FileResult result = work(target);
  if (result != FileResult::Success) return result;
  source.Close(); // it may be the target
  if (target.Commit()) return FileResult::Success;
  return FailSystem(options.fault, FileResult::DestinationUnwritable, 0, 0,
                    u"the destination can't be replaced");
}

} // namespace

bool IsCompressedFile(const KorText& path) {
  SimpleFile file(path);
  return file.Open(kFileRead) && HasSignature(file);
}

FileResult CompressFile(const KorText& source, const KorText& destination, OpenWait wait,
                        const CompressOptions& options) {
  SimpleFile from(source);
  if (!OpenSource(from, wait, options)) return FileResult::SourceUnreadable;
  if (HasSignature(from))
    return Fail(options.fault, FileResult::WrongKind, 0, 0, u"the file is compressed already");
  return WriteTarget(from, destination, options, [&](SimpleFile& to) {
    if (to.Write(ContainerSignature(2005)) != kSignatureSize)
      return FailSystem(options.fault, FileResult::DestinationUnwritable, 0, 0,
                        u"the destination can't be written");
    return CompressRun(from, to, options).Run();
  });
}

FileResult DecompressFile(SimpleFile& source, SimpleFile* destination, VoidBuffer* output,
                          const CompressOptions& options) {
  if (output != nullptr) output->Clear();
  int year = 0;
  FileResult result = ReadSignature(source, year, options.fault);
  if (result != FileResult::Success) return result;
  const Sink sink{destination, output, options.contentCrc};
  result = year == 2004 ? Restore2004(source, sink, options) : Restore2005(source, sink, options);
  if (result != FileResult::Success && output != nullptr) output->Clear();
  return result;
}

FileResult DecompressFile(const KorText& source, const KorText& destination, OpenWait wait,
                          const CompressOptions& options) {
  SimpleFile from(source);
  if (!OpenSource(from, wait, options)) return FileResult::SourceUnreadable;
  int year = 0;
  const FileResult kind = ReadSignature(from, year, options.fault);
  if (kind != FileResult::Success) return kind;
  return WriteTarget(from, destination, options,
                     [&](SimpleFile& to) { return DecompressFile(from, &to, nullptr, options); });
}

} // namespace kor
