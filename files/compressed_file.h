// Compressed files: a 26-byte signature and zlib data, in two formats told apart by the year in the
// signature. "2005" is written: blocks of 32 MiB of input, each a 32-bit little-endian length and a
// type-1 piece of VoidBuffer. "2004" is only read: the rest of the file is one piece.
// docs/formats/compressed-file.md has the layout in bytes.
//
// Large files are worked on by short-lived threads inside one call, at most two buffers of 32 MiB
// per thread. The result is the same whatever their number. Nothing here shows a message to the
// user. Every function may be called from any thread, for files that no other thread uses.
#pragma once

#include <cstdint>
#include <functional>

#include "files/container_layout.h"
#include "files/file_result.h"
#include "files/simple_file.h"
#include "services/core/kor_text.h"

namespace kor {

// Receives the bytes of the source that are done and those in all, on the calling thread. Returning
// false cancels: the result is FileResult::Failure.
using CompressProgress = std::function<bool(std::uint64_t done, std::uint64_t total)>;

struct CompressOptions {
  unsigned workers = 0; // threads; 0: as many as the processor runs at once
  CompressProgress progress = {};
  ContainerFault* fault = nullptr; // filled when the result is not Success
  FileCrc* contentCrc = nullptr;   // restoring adds the contents to it
};

// Whether the file's first 26 bytes are exactly one of the signatures.
bool IsCompressedFile(const KorText& path);

// Writes the "2005" format. The destination, which may be the source, is written beside and
// replaced when complete; with any other result it stays as it was. OpenWait::Yes waits for the
// source. A file with a block that would come out longer than a reader accepts (32 MiB)
// can't be stored: Failure.
FileResult CompressFile(const KorText& source, const KorText& destination,
                        OpenWait wait = OpenWait::No, const CompressOptions& options = {});

// Inflates an open file that stands at its start into the output buffer when one is given, else
// into the open destination; without either the data is only tested. On failure the output is
// empty, and the destination holds what came before the fault: its owner discards it.
FileResult DecompressFile(SimpleFile& source, SimpleFile* destination, VoidBuffer* output,
                          const CompressOptions& options = {});
// Inflates from path to path, with the same care for the destination as CompressFile.
FileResult DecompressFile(const KorText& source, const KorText& destination,
                          OpenWait wait = OpenWait::No, const CompressOptions& options = {});

} // namespace kor
