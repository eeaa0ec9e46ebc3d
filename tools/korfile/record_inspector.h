// The record inspector: what lies in a record file, as a tree, without the program that wrote it.
// The inspector shows names and members of classes in the registry, and finds records by their
// shape in the body of others. It goes on behind damage as far as it can and says where the damage
// is.
//
// Plain functions; the file is read in windows, so its size does not matter. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "files/container_layout.h"
#include "files/file_result.h"
#include "files/simple_file.h"
#include "services/core/kor_text.h"

namespace kor {

struct RecordDamage {
  std::uint64_t offset = 0; // in the (inflated) file
  std::uint32_t flag = 0;   // the RecordError a reader would meet
};

struct RecordField {
  KorText name;
  std::uint64_t offset = 0;
  KorText value; // numbers in decimal, texts as they are, dates as 2026-01-31
};

struct RecordNode {
  std::uint64_t offset = 0; // of the class number
  std::uint32_t classId = 0;
  KorText className; // empty for a class that is not registered
  std::uint64_t sizeA = 0;
  std::uint64_t sizeB = 0;
  std::uint64_t body = 0; // where the fields start
  std::uint64_t end = 0;  // cut to what the file and the enclosing record have
  std::vector<RecordField> fields;
  std::vector<RecordNode> records; // within the body
};

struct RecordFileDescription {
  FileResult result = FileResult::Success; // SourceUnreadable, or why it could not be inflated
  bool isRecordFile = false;               // has a header, or consists of records exactly
  bool compressed = false;
  std::uint64_t size = 0; // bytes, inflated
  std::optional<std::uint32_t> fileType;
  bool secondSize = false;
  bool wideSizes = false;
  bool formatMarker = false;
  int revision = 1;
  std::vector<RecordNode> records;
  std::vector<RecordDamage> damage; // in file order
};

// The fault is filled when the result is not Success.
RecordFileDescription DescribeRecordFile(const KorText& path, ContainerFault* fault = nullptr);
RecordFileDescription DescribeRecords(SimpleFile& openFile);
// One line per header fact, record, field and damage, records indented by their depth.
std::vector<KorText> RenderRecordFile(const RecordFileDescription& description);

} // namespace kor
