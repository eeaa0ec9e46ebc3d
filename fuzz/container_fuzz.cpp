// Feeds arbitrary bytes to everything that reads compressed data: whole containers, described and
// restored, buffers of both types, and the legacy decoder. The first byte chooses one, so that the
// seeds of each stay apart.
#include "files/compressed_file.h"
#include "files/legacy_codec.h"
#include "fuzz/fuzz_target.h"

namespace kor {

namespace {

// The restored bytes must be what the layout says, whatever the number of workers.
void TryContainer(FuzzInput bytes) {
  SimpleFile file;
  Require(file.OpenMemory(kFileRead, VoidBuffer(bytes)), "a container in memory opens");
  ContainerInfo info;
  ContainerFault fault;
  const FileResult layout = DescribeContainer(file, info, &fault);
  VoidBuffer one, two;
  const FileResult alone = DecompressFile(file, nullptr, &one, {.workers = 1, .fault = &fault});
  file.Seek(0);
  const FileResult together = DecompressFile(file, nullptr, &two, {.workers = 2, .fault = &fault});
  Require(alone == together && std::ranges::equal(one.Bytes(), two.Bytes()),
          "two workers do what one does");
  if (alone == FileResult::Success)
    Require(layout == FileResult::Success && one.Size() == info.inflated,
            "the layout told the size");
  else
    Require(one.IsEmpty(), "nothing comes out of a damaged one");
}

void TryBuffer(FuzzInput bytes) {
  VoidBuffer buffer(bytes);
  if (!buffer.Decompress())
    Require(std::ranges::equal(buffer.Bytes(), bytes), "a refused buffer stays");
}

void TryLegacy(FuzzInput bytes) {
  // Lengths beyond what fits are only zeros, and a few megabytes tell as much as two gigabytes.
  if (bytes.size() >= 4 && bytes[3] != 0 && bytes[3] < 0x80) return;
  std::int32_t declared = 0;
  const VoidBuffer output = DecodeLegacyBuffer(bytes, declared);
  Require(output.Size() == static_cast<std::size_t>(std::max(declared, 0)), "the declared size");
}

} // namespace

void TryInput(TestApp&, FuzzInput input) {
  if (input.empty()) return;
  const FuzzInput bytes = input.subspan(1);
  switch (input[0] % 3) {
  case 0:
    TryContainer(bytes);
    break;
  case 1:
    TryBuffer(bytes);
    break;
  default:
    TryLegacy(bytes);
  }
}

} // namespace kor
