// Feeds arbitrary bytes to everything that reads compressed data: whole containers through their
// description and their restoring, buffers of both types, and the legacy decoder. The first byte
// picks one, so that the seeds of each stay apart.
#include <cstdlib>

#include "files/compressed_file.h"
#include "files/legacy_codec.h"
#include "tests/support/test_app.h"

using namespace kor;

namespace {

void Expect(bool holds) {
  if (!holds) std::abort();
}

// What the layout says must be what comes out, whatever the number of workers.
void TryContainer(std::span<const std::uint8_t> bytes) {
  SimpleFile file;
  Expect(file.OpenMemory(kFileRead, VoidBuffer(bytes)));
  ContainerInfo info;
  ContainerFault fault;
  const FileResult layout = DescribeContainer(file, info, &fault);
  VoidBuffer one, two;
  const FileResult alone = DecompressFile(file, nullptr, &one, {.workers = 1, .fault = &fault});
  file.Seek(0);
  const FileResult together = DecompressFile(file, nullptr, &two, {.workers = 2, .fault = &fault});
  Expect(alone == together && std::ranges::equal(one.Bytes(), two.Bytes()));
  if (alone == FileResult::Success)
    Expect(layout == FileResult::Success && one.Size() == info.inflated);
  else
    Expect(one.IsEmpty());
}

void TryBuffer(std::span<const std::uint8_t> bytes) {
  VoidBuffer buffer(bytes);
  if (!buffer.Decompress()) Expect(std::ranges::equal(buffer.Bytes(), bytes));
}

void TryLegacy(std::span<const std::uint8_t> bytes) {
  // Lengths beyond what fits are zeros only; a few megabytes tell as much as two gigabytes.
  if (bytes.size() >= 4 && bytes[3] != 0 && bytes[3] < 0x80) return;
  std::int32_t declared = 0;
  const VoidBuffer output = DecodeLegacyBuffer(bytes, declared);
  Expect(output.Size() == static_cast<std::size_t>(std::max(declared, 0)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TestApp app;
  if (size == 0) return 0;
  const std::span<const std::uint8_t> bytes(data + 1, size - 1);
  switch (data[0] % 3) {
  case 0:
    TryContainer(bytes);
    break;
  case 1:
    TryBuffer(bytes);
    break;
  default:
    TryLegacy(bytes);
  }
  app.ForgetReports();
  return 0;
}
