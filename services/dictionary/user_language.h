// Which language the user reads. Main thread.
#pragma once

#include <optional>

#include "services/core/kor_text.h"

namespace kor {

// Returns the language that the user wants, as a code such as "de-DE": the stored choice, else the
// system's; empty when neither is known.
KorText WantedLanguage();
// Reads and stores the choice, the registry value "Language" under "COMMON"; an empty code takes it
// back.
std::optional<KorText> StoredLanguage();
bool StoreLanguage(const KorText& code);

} // namespace kor
