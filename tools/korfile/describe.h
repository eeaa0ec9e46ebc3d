// What korfile says about a file: kind, blocks, sizes, checksum, records; as lines or as JSON.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "files/checksum.h"
#include "files/container_layout.h"
#include "tools/korfile/record_inspector.h"

namespace kor {

struct FileDescription {
  KorText path;
  FileResult result = FileResult::Success; // not for WrongKind: a plain file is as good as any
  ContainerFault fault;
  bool compressed = false;
  ContainerInfo container;  // when compressed
  std::uint64_t stored = 0; // bytes on the disk
  std::uint64_t contents = 0;
  std::optional<FileCrc> crc;         // of the file as it lies
  std::optional<FileCrc> contentsCrc; // of what a compressed file inflates to
  std::optional<RecordFileDescription> records;
};

// Finds kind, layout and sizes. The caller computes the checksum, with a progress bar.
FileDescription DescribeFile(const KorText& path);
// Looks for records in a file that is whole so far. A compressed file is inflated for it unless it
// is very large.
void AddRecords(FileDescription& file);

std::vector<KorText> RenderDescription(const FileDescription& description);
std::string RenderDescriptionJson(const FileDescription& description);
// Describes a file of which no more is known than that the work on it failed.
std::string RenderFailureJson(const KorText& path, FileResult result, const ContainerFault& fault);

// Whether a file too short for a signature is a plain one: it doesn't begin like a signature that
// was cut off.
bool IsShortPlainFile(SimpleFile& file);

// Returns the number as "0x20000004".
KorText ResultNumber(FileResult result);

} // namespace kor
