#include "files/checksum.h"

#include "files/checksum_tables.h"
#include "files/little_endian.h"

namespace kor {
namespace crc {
namespace {

constexpr std::size_t kSlices = 16;
using Table = std::array<std::uint64_t, 256>;

// Table k gives what a byte does to the register when k more bytes follow it.
constexpr std::array<Table, kSlices> MakeTables() {
  std::array<Table, kSlices> tables{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    std::uint64_t crc = byte;
    for (int bit = 0; bit < 8; ++bit)
      crc = ShiftBit(crc);
    tables[0][byte] = crc;
  }
  for (std::size_t slice = 1; slice < kSlices; ++slice)
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint64_t before = tables[slice - 1][byte];
      tables[slice][byte] = (before >> 8) ^ tables[0][before & 0xFF];
    }
  return tables;
}

constexpr std::array<Table, kSlices> kTables = MakeTables();

// The eight bytes of a word, the last of which is followed by `behind` more.
template <std::size_t behind> std::uint64_t Slice(std::uint64_t word) {
  return kTables[behind + 7][word & 0xFF] ^ kTables[behind + 6][word >> 8 & 0xFF] ^
         kTables[behind + 5][word >> 16 & 0xFF] ^ kTables[behind + 4][word >> 24 & 0xFF] ^
         kTables[behind + 3][word >> 32 & 0xFF] ^ kTables[behind + 2][word >> 40 & 0xFF] ^
         kTables[behind + 1][word >> 48 & 0xFF] ^ kTables[behind][word >> 56];
}

std::uint64_t UpdateSlicing(std::uint64_t crc, std::span<const std::uint8_t> bytes) {
  while (bytes.size() >= kSlices) {
    crc = Slice<8>(crc ^ LoadLe64(bytes.data())) ^ Slice<0>(LoadLe64(bytes.data() + 8));
    bytes = bytes.subspan(kSlices);
  }
  return UpdateBytewise(crc, bytes);
}

} // namespace

std::uint64_t UpdateBytewise(std::uint64_t crc, std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes)
    crc = (crc >> 8) ^ kTables[0][(crc ^ byte) & 0xFF];
  return crc;
}

} // namespace crc

bool CrcMethodAvailable(CrcMethod method) {
  static const bool canFold = crc::CanFold();
  return method != CrcMethod::Folding || canFold;
}

std::uint64_t UpdateCrc(CrcMethod method, std::uint64_t value,
                        std::span<const std::uint8_t> bytes) {
  if (method == CrcMethod::Bytewise) return crc::UpdateBytewise(value, bytes);
  if (method == CrcMethod::Folding && CrcMethodAvailable(method))
    return crc::UpdateFolding(value, bytes);
  return crc::UpdateSlicing(value, bytes);
}

void FileCrc::Add(std::span<const std::uint8_t> bytes) {
  const std::uint64_t value = UpdateCrc(CrcMethod::Folding, Value(), bytes);
  count += static_cast<std::uint32_t>(bytes.size());
  low = static_cast<std::uint32_t>(value);
  high = static_cast<std::uint32_t>(value >> 32);
}

} // namespace kor
