// Stores everything there is on a disk that is full after every number of bytes, and cuts the power
// after every change, with every state of the disk that may follow.
#include <memory>

#include "tests/support/stored_operations.h"
#include "torture/host.h"
#include "torture/sweep.h"

namespace kor::torture {

namespace {

constexpr std::uint64_t kRoom = 1 << 20;
constexpr int kNoCut = 1'000'000;

// These are set before the link that uses them is made; there is only one at a time.
StoredTexts Texts(unsigned seed) {
  const Host host(seed);
  return {KorText::FromBytes(host.older), KorText::FromBytes(host.newer)};
}

class Operation {
 public:
  explicit Operation(const StoredOperation& what) : operation(what) {}

  // The cuts are before each change that the operation makes, and after the last, when all have
  // happened.
  std::size_t Cuts(unsigned seed) {
    Count(seed);
    return changes + 2;
  }
  // The number of bytes that the operation writes.
  std::size_t Bytes(unsigned seed) {
    Count(seed);
    return bytes;
  }

  void CutPower(unsigned seed, std::size_t changesBefore) {
    const StoredTexts texts = Texts(seed);
    NceLink link;
    const CutOutcome uncut = CutAfter(kNoCut, operation, link, texts);
    const CutOutcome cut = CutAfter(static_cast<int>(changesBefore), operation, link, texts);
    const std::string torn = FindTorn(operation, link, cut, uncut);
    Require(torn.empty(), torn);
  }

  void FillDisk(unsigned seed, std::size_t room) {
    const StoredTexts texts = Texts(seed);
    NceLink link;
    const CutOutcome undisturbed = CutAfter(kNoCut, operation, link, texts);
    const KorText path = PathIn(link);
    link.app.RestoreDisk({});
    operation.prepare(link, path, texts);
    link.app.LimitWrites(room);
    const bool success = operation.run(link, path, texts);
    const StoredContent now = InflatedContent(path);
    Require(now == undisturbed.newer || (now == undisturbed.older && !success),
            "torn: " + now.value_or("(none)"));
    Require(PartsBeside(link, path).empty(), "a part is left: " + PartsBeside(link, path));
    link.app.ClearFaults();
    Require(success || operation.run(link, path, texts), "with space again it still fails");
    Require(InflatedContent(path) == undisturbed.newer, "the second attempt stores another file");
  }

 private:
  void Count(unsigned seed) {
    const StoredTexts texts = Texts(seed);
    NceLink link;
    operation.prepare(link, PathIn(link), texts);
    link.app.CutPowerAfter(std::nullopt);
    link.app.LimitWrites(kRoom);
    Require(operation.run(link, PathIn(link), texts), "it fails undisturbed");
    changes = static_cast<std::size_t>(link.app.Changes());
    bytes = static_cast<std::size_t>(kRoom - link.app.WritesLeft());
  }
  KorText PathIn(NceLink& link) const { return link.app.Path(operation.target); }

  const StoredOperation& operation;
  std::size_t changes = 0, bytes = 0;
};

} // namespace

std::vector<Sweep> StoredSweeps() {
  std::vector<Sweep> sweeps;
  for (const StoredOperation& operation : StoredOperations()) {
    const auto shared = std::make_shared<Operation>(operation);
    sweeps.push_back({std::string("full-disk-") + operation.name, "bytes", 1,
                      [shared](unsigned seed) { return shared->Bytes(seed); },
                      [shared](unsigned seed, std::size_t bytes, std::size_t) {
                        shared->FillDisk(seed, bytes);
                      }});
    sweeps.push_back({std::string("power-cut-") + operation.name, "cuts", 1,
                      [shared](unsigned seed) { return shared->Cuts(seed); },
                      [shared](unsigned seed, std::size_t changes, std::size_t) {
                        shared->CutPower(seed, changes);
                      }});
  }
  return sweeps;
}

} // namespace kor::torture
