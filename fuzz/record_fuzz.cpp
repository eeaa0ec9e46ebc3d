// Takes any bytes as a record file. Reading them ends in an error or in objects that can be written
// and read again, and the inspector describes them. The first byte chooses how they are read; the
// rest is the file.
#include "fuzz/fuzz_target.h"
#include "tests/support/record_samples.h"
#include "tools/korfile/record_inspector.h"

namespace kor {

namespace {

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
      file.TransferNewObject(object, DiskFile::OtherClass::Skip);
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

void TryInput(TestApp&, FuzzInput input) {
  RegisterSamples();
  if (input.empty()) return;
  RecordFormat format;
  if ((input[0] & 1) != 0) format.fileTypes = {9};
  format.wideSizes = (input[0] & 2) != 0;
  const std::vector<std::uint8_t> bytes(input.begin() + 1, input.end());
  ReadKnownObject(bytes, format);
  ReadAnyObjects(bytes, format);
  Describe(bytes);
}

} // namespace kor
