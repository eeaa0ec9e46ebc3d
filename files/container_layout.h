// The layout of compressed files: telling the formats apart, walking the blocks, describing a file
// without inflating it. compressed_file.h builds on it.
//
// Works on files that their owner opened; any thread, for a file that no other thread uses.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "files/file_result.h"
#include "files/simple_file.h"
#include "files/void_buffer.h"
#include "services/core/kor_text.h"

namespace kor {

inline constexpr std::size_t kSignatureSize = 26;
inline constexpr std::size_t kContainerBlock = VoidBuffer::kChunkSize; // bytes of input
inline constexpr std::size_t kBlockLengthSize = 4;
using Signature = std::array<std::uint8_t, kSignatureSize>;

// Returns the signature of the format 2004 or 2005.
const Signature& ContainerSignature(int year);
// Returns 0 for identical signatures, 1 for another file or when only the year differs, and -1 for
// a damaged signature.
int CompareSignature(const Signature& header, const Signature& with);
// Whether an open file that stands at its start begins with exactly one of the signatures. Moves
// the position.
bool HasSignature(SimpleFile& file);

// Where and why a whole-file operation failed.
struct ContainerFault {
  std::uint64_t block = 0;       // from 0
  std::uint64_t offset = 0;      // in the source file, bytes
  KorText reason;                // English
  std::uint32_t systemError = 0; // the system's number where the system refused, else 0
  bool noMemory = false;         // the file may be as whole as any
};
// Fills the fault when there is one to fill, and returns the result.
FileResult Fail(ContainerFault* fault, FileResult result, std::uint64_t block, std::uint64_t offset,
                const char16_t* reason);
// Does the same where the system refused, and keeps App().LastError().
FileResult FailSystem(ContainerFault* fault, FileResult result, std::uint64_t block,
                      std::uint64_t offset, const char16_t* reason);

// Fails with FileResult::Failure for want of memory.
FileResult FailMemory(ContainerFault* fault, std::uint64_t block, std::uint64_t offset);

// Reads the signature at the position.
FileResult ReadSignature(SimpleFile& source, int& year, ContainerFault* fault);
// Reads the length of the "2005" block at the position and checks it against the format's limit and
// the file's size.
FileResult ReadBlockLength(SimpleFile& source, std::uint64_t block, std::uint32_t& length,
                           ContainerFault* fault);

struct ContainerBlock {
  std::uint64_t offset = 0;   // of its length field; in format 2004 of the piece itself
  std::uint32_t stored = 0;   // bytes of the piece, trailer included
  std::uint32_t inflated = 0; // bytes, as the trailer says
};

struct ContainerInfo {
  int year = 0; // 2004 or 2005
  std::vector<ContainerBlock> blocks;
  std::uint64_t inflated = 0; // bytes in all
};

// Describes the layout of an open compressed file without inflating anything. After a fault the
// info holds what came before the fault. The position is back at the start afterwards.
FileResult DescribeContainer(SimpleFile& source, ContainerInfo& info,
                             ContainerFault* fault = nullptr);

// Returns how many bytes an open compressed file inflates to, as far as it is whole; 0 when it is
// not compressed. The position is back at the start afterwards.
std::uint64_t InflatedSize(SimpleFile& source);

} // namespace kor
