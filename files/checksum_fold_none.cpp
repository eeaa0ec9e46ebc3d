// Processors without a folding method of their own: the tables do the work.
#include "files/checksum_tables.h"

namespace kor::crc {

bool CanFold() {
  return false;
}

std::uint64_t UpdateFolding(std::uint64_t crc, std::span<const std::uint8_t> bytes) {
  return UpdateBytewise(crc, bytes);
}

} // namespace kor::crc
