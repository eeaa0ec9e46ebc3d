// How a request's number becomes the name of a host file: zero stripping, the LLLSSES lot and sheet
// number, the "H" names of the 500 model, the next number of an autoload chain. Pure functions.
#pragma once

#include <cstdint>
#include <optional>

#include "services/core/kor_text.h"

namespace kor {

// The four options of the special-features dialog.
struct SpecialFeatures {
  std::int32_t autoloadSequential = 0;
  std::int32_t stripPcZeros = 0;
  std::int32_t stripNceZeros = 0;
  std::int32_t hybridNumber = 0;
};

// Returns the number of a request line: drops the first two characters, whatever they are, and
// trims blanks and tabs.
KorText RequestNumber(const KorText& requestText);

KorText StripLeadingZeros(const KorText& number);

// LLLSSES: a lot of three digits, then start sheet and end sheet of two digits each.
struct HybridNumber {
  KorText firstSheet;         // LLLSS, five characters
  std::int32_t lastSheet = 0; // LLL and the end sheet; never before the start sheet
};
HybridNumber SplitHybridNumber(KorText number);

// Returns "H", seven digits, ".C" and two digits: 'FH 0000123' gives 'H0000001.C23'. Longer numbers
// lengthen the end.
KorText Model500Name(const KorText& requestText);

// Returns the number that follows in an autoload chain, without leading zeros (five digits with
// hybridNumber); std::nullopt after the last sheet and where no 32-bit number follows.
std::optional<KorText> NextNumber(const KorText& number, const SpecialFeatures& features,
                                  std::int32_t lastSheet);

// Whether a number from the line may name a file: it must stay inside its folder and be no device
// of the system. It does not when it holds "/", "\", ":" or a character that file names can't have,
// is made of dots, or is a reserved name such as "NUL". An empty number may.
bool NamesFile(const KorText& number);

} // namespace kor
