#include "files/container_layout.h"

#include <functional>

#include "files/little_endian.h"
#include "services/core/app_interface.h"

namespace kor {
namespace {

constexpr std::size_t kYearSize = 4; // the tail that may differ

// The texts hold an at-sign where a file holds the byte A9.
constexpr Signature MakeSignature(const char (&text)[kSignatureSize + 1]) {
  Signature bytes{};
  for (std::size_t i = 0; i < kSignatureSize; ++i)
    bytes[i] = static_cast<std::uint8_t>(text[i]);
  bytes[kSignatureSize - 6] = 0xA9;
  return bytes;
}

constexpr Signature kSignature2004 = MakeSignature("KOR Compressed File @ 2004");
constexpr Signature kSignature2005 = MakeSignature("KOR Compressed File @ 2005");

using BlockVisitor = std::function<void(const ContainerBlock&)>;

struct Walk {
  SimpleFile& source;
  const BlockVisitor& visit;
  ContainerFault* fault;
  std::uint64_t blocks = 0;

  FileResult Broken(FileResult result, std::uint64_t offset, const char16_t* reason) {
    return Fail(fault, result, blocks, offset, reason);
  }
};

// The trailer of the piece that begins at the offset; the position ends up behind it.
FileResult ReadTrailer(Walk& walk, std::uint64_t offset, std::uint32_t stored,
                       std::uint8_t (&trailer)[VoidBuffer::kTrailerSize]) {
  walk.source.Seek(offset + stored - sizeof trailer);
  if (walk.source.Read(trailer) == sizeof trailer) return FileResult::Success;
  return walk.Broken(FileResult::SourceUnreadable, offset, u"the source can't be read in full");
}

FileResult VisitPiece(Walk& walk, std::uint64_t offset, std::uint64_t pieceAt,
                      std::uint32_t stored) {
  std::uint8_t trailer[VoidBuffer::kTrailerSize];
  const FileResult result = ReadTrailer(walk, pieceAt, stored, trailer);
  if (result != FileResult::Success) return result;
  const std::uint32_t inflated = LoadLe32(trailer + 1);
  if (trailer[0] != VoidBuffer::kSingleStream ||
      !VoidBuffer::CanInflateTo(stored - sizeof trailer, inflated))
    return walk.Broken(FileResult::Failure, offset, u"the block's trailer is damaged");
  walk.visit({offset, stored, inflated});
  ++walk.blocks;
  return FileResult::Success;
}

FileResult Walk2005(Walk& walk) {
  while (!walk.source.AtEnd()) {
    const std::uint64_t offset = walk.source.Position();
    std::uint32_t length = 0;
    FileResult result = ReadBlockLength(walk.source, walk.blocks, length, walk.fault);
    if (result == FileResult::Success)
      result = VisitPiece(walk, offset, offset + kBlockLengthSize, length);
    if (result != FileResult::Success) return result;
  }
  return FileResult::Success;
}

FileResult WalkChunks(Walk& walk, std::uint64_t end) {
  while (walk.source.Position() < end) {
    const std::uint64_t offset = walk.source.Position();
    const std::uint64_t left = end - offset;
    std::uint8_t length[kBlockLengthSize] = {};
    if (left < sizeof length || walk.source.Read(length) != sizeof length ||
        LoadLe32(length) > left - sizeof length || LoadLe32(length) < VoidBuffer::kTrailerSize)
      return walk.Broken(FileResult::Failure, offset, u"impossible chunk length");
    const FileResult result = VisitPiece(walk, offset, offset + sizeof length, LoadLe32(length));
    if (result != FileResult::Success) return result;
  }
  return FileResult::Success;
}

FileResult Walk2004(Walk& walk) {
  const std::uint64_t offset = walk.source.Position();
  const std::uint64_t stored = walk.source.Size() - offset;
  std::uint8_t trailer[VoidBuffer::kTrailerSize] = {};
  if (stored < sizeof trailer)
    return walk.Broken(FileResult::Failure, offset, u"the data is damaged");
  walk.source.Seek(walk.source.Size() - sizeof trailer);
  if (walk.source.Read(trailer) != sizeof trailer)
    return walk.Broken(FileResult::SourceUnreadable, offset, u"the source can't be read in full");
  walk.source.Seek(offset);
  if (trailer[0] == VoidBuffer::kChunked) return WalkChunks(walk, offset + stored - sizeof trailer);
  if (stored > 0xFFFFFFFF) return walk.Broken(FileResult::Failure, offset, u"the data is damaged");
  return VisitPiece(walk, offset, offset, static_cast<std::uint32_t>(stored));
}

FileResult WalkContainer(SimpleFile& source, int& year, const BlockVisitor& visit,
                         ContainerFault* fault) {
  source.Seek(0);
  Walk walk{source, visit, fault};
  FileResult result = ReadSignature(source, year, fault);
  if (result == FileResult::Success) result = year == 2004 ? Walk2004(walk) : Walk2005(walk);
  source.Seek(0);
  return result;
}

} // namespace

const Signature& ContainerSignature(int year) {
  return year == 2004 ? kSignature2004 : kSignature2005;
}

int CompareSignature(const Signature& header, const Signature& with) {
  constexpr std::size_t kFixed = kSignatureSize - kYearSize;
  std::size_t equal = 0, unequal = 0;
  for (std::size_t i = 0; i < kSignatureSize; ++i) {
    header[i] == with[i] ? ++equal : ++unequal;
    if (i < kFixed && equal > kFixed / 2 && unequal != 0) return -1;
  }
  return unequal == 0 ? 0 : 1;
}

bool HasSignature(SimpleFile& file) {
  Signature header;
  const bool whole = file.Read(header) == kSignatureSize;
  return whole && (header == kSignature2004 || header == kSignature2005);
}

FileResult Fail(ContainerFault* fault, FileResult result, std::uint64_t block, std::uint64_t offset,
                const char16_t* reason) {
  if (fault != nullptr) *fault = {block, offset, reason, 0, false};
  return result;
}

FileResult FailSystem(ContainerFault* fault, FileResult result, std::uint64_t block,
                      std::uint64_t offset, const char16_t* reason) {
  if (fault != nullptr) *fault = {block, offset, reason, App().LastError(), false};
  return result;
}

FileResult FailMemory(ContainerFault* fault, std::uint64_t block, std::uint64_t offset) {
  Fail(fault, FileResult::Failure, block, offset, u"not enough memory");
  if (fault != nullptr) fault->noMemory = true;
  return FileResult::Failure;
}

FileResult ReadSignature(SimpleFile& source, int& year, ContainerFault* fault) {
  Signature header;
  if (source.Read(header) != kSignatureSize)
    return Fail(fault, FileResult::SourceUnreadable, 0, 0, u"the file is shorter than a signature");
  for (const int candidate : {2004, 2005}) {
    const int order = CompareSignature(header, ContainerSignature(candidate));
    if (order == -1) return Fail(fault, FileResult::Corrupt, 0, 0, u"the signature is damaged");
    year = candidate;
    if (order == 0) return FileResult::Success;
  }
  return Fail(fault, FileResult::WrongKind, 0, 0, u"not a compressed file");
}

// A length beyond the limit is corrupt. A block that can't be compressed might come out longer, but
// no writer stores one.
FileResult ReadBlockLength(SimpleFile& source, std::uint64_t block, std::uint32_t& length,
                           ContainerFault* fault) {
  const std::uint64_t offset = source.Position();
  std::uint8_t bytes[kBlockLengthSize];
  if (source.Read(bytes) != sizeof bytes)
    return Fail(fault, FileResult::SourceUnreadable, block, offset,
                u"the file ends inside a block length");
  length = LoadLe32(bytes);
  if (length > kContainerBlock || length < VoidBuffer::kTrailerSize)
    return Fail(fault, FileResult::Corrupt, block, offset, u"impossible block length");
  if (length > source.Size() - source.Position())
    return Fail(fault, FileResult::SourceUnreadable, block, offset,
                u"the file ends inside a block");
  return FileResult::Success;
}

FileResult DescribeContainer(SimpleFile& source, ContainerInfo& info, ContainerFault* fault) {
  info = {};
  const auto add = [&](const ContainerBlock& block) {
    info.blocks.push_back(block);
    info.inflated += block.inflated;
  };
  return WalkContainer(source, info.year, add, fault);
}

std::uint64_t InflatedSize(SimpleFile& source) {
  int year = 0;
  std::uint64_t inflated = 0;
  WalkContainer(
      source, year, [&](const ContainerBlock& block) { inflated += block.inflated; }, nullptr);
  return inflated;
}

} // namespace kor
