// Any bytes as a record file: reading them ends in an error or in objects that can be written and read
// again, and the inspector describes them. The first byte chooses how they are read, the rest is the
// file.
#include <cstdio>
#include <cstdlib>

#include "tests/support/record_samples.h"
#include "tests/support/test_app.h"
#include "tools/korfile/record_inspector.h"

namespace {

using namespace kor;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

void ReadKnownObject(const std::vector<std::uint8_t>& bytes, const RecordFormat& format) {
  SampleRobot robot, again;
  ReadRecords(bytes, format, [&](DiskFile& file) { file.TransferObject(robot); });
  const auto rewritten = WriteRecords(format, [&](DiskFile& file) { file.TransferObject(robot); });
  const auto errors =
      ReadRecords(rewritten, format, [&](DiskFile& file) { file.TransferObject(again); });
  Require(errors == 0, "what was read can be written and read again");
  Require(again.name == robot.name && again.jobs == robot.jobs && again.codes == robot.codes &&
              again.parts.size() == robot.parts.size() && again.axis == robot.axis,
          "it is the same then");
}

void ReadAnyObjects(const std::vector<std::uint8_t>& bytes, const RecordFormat& format) {
  ReadRecords(bytes, format, [](DiskFile& file) {
    while (file.Errors() == 0 && file.StreamPosition() < file.Size()) {
      std::unique_ptr<Storable> object;
      file.TransferNewObject(object, true);
    }
  });
}

void Describe(const std::vector<std::uint8_t>& bytes) {
  SimpleFile file;
  file.OpenMemory(kFileRead, VoidBuffer(bytes));
  const RecordFileDescription found = DescribeRecords(file);
  for (const RecordNode& node : found.records)
    Require(node.offset < node.end && node.end <= bytes.size(), "records lie within the file");
  RenderRecordFile(found);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TestApp app;
  RegisterSamples();
  if (size == 0) return 0;
  RecordFormat format;
  if ((data[0] & 1) != 0) format.fileTypes = {9};
  format.wideSizes = (data[0] & 2) != 0;
  const std::vector<std::uint8_t> bytes(data + 1, data + size);
  ReadKnownObject(bytes, format);
  ReadAnyObjects(bytes, format);
  Describe(bytes);
  app.ForgetReports();
  return 0;
}
