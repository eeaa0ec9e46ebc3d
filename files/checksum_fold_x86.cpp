// Folding with the carry-less multiplication of x86-64 processors.
//
// 16 bytes of input are a polynomial of degree 127, its highest term in the lowest bit. Replacing
// them by "low half times x^(d+64) plus high half times x^d", both modulo the checksum's
// polynomial, moves them d bits ahead without changing the remainder. The product of two reflected
// halves comes out one bit too high, so the powers are one lower. Four lanes hide the multiplier's
// latency; the 16 bytes left at the end go through the table.
#include "files/checksum_tables.h"

#include <wmmintrin.h>

namespace kor::crc {
namespace {

constexpr std::size_t kLane = 16; // bytes
constexpr std::size_t kLanes = 4;

struct FoldConstants {
  std::uint64_t low, high;
};

template <std::size_t bytesAhead>
constexpr FoldConstants kFold{PowerOfX(bytesAhead * 8 + 63), PowerOfX(bytesAhead * 8 - 1)};

[[gnu::target("pclmul,sse2")]] __m128i Load(const std::uint8_t* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

template <std::size_t bytesAhead>
[[gnu::target("pclmul,sse2")]] __m128i Fold(__m128i state, __m128i next) {
  const __m128i by = _mm_set_epi64x(static_cast<long long>(kFold<bytesAhead>.high),
                                    static_cast<long long>(kFold<bytesAhead>.low));
  const __m128i low = _mm_clmulepi64_si128(state, by, 0x00);
  const __m128i high = _mm_clmulepi64_si128(state, by, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

} // namespace

bool CanFold() {
  return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse2");
}

[[gnu::target("pclmul,sse2")]] std::uint64_t UpdateFolding(std::uint64_t crc,
                                                           std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kStep = kLane * kLanes;
  if (bytes.size() < kStep) return UpdateBytewise(crc, bytes);
  const std::uint8_t* from = bytes.data();
  std::size_t left = bytes.size() - kStep;
  // The register so far belongs to the first 64 bits of what follows.
  __m128i lane0 = _mm_xor_si128(Load(from), _mm_set_epi64x(0, static_cast<long long>(crc)));
  __m128i lane1 = Load(from + kLane);
  __m128i lane2 = Load(from + 2 * kLane);
  __m128i lane3 = Load(from + 3 * kLane);
  from += kStep;
  for (; left >= kStep; left -= kStep, from += kStep) {
    lane0 = Fold<kStep>(lane0, Load(from));
    lane1 = Fold<kStep>(lane1, Load(from + kLane));
    lane2 = Fold<kStep>(lane2, Load(from + 2 * kLane));
    lane3 = Fold<kStep>(lane3, Load(from + 3 * kLane));
  }
  __m128i state = Fold<kLane>(lane0, lane1);
  state = Fold<kLane>(state, lane2);
  state = Fold<kLane>(state, lane3);
  for (; left >= kLane; left -= kLane, from += kLane)
    state = Fold<kLane>(state, Load(from));
  std::array<std::uint8_t, kLane> rest;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(rest.data()), state);
  return UpdateBytewise(UpdateBytewise(0, rest), {from, left});
}

} // namespace kor::crc
