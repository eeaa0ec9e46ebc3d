// The program's dictionary.
#pragma once

#include <string_view>

#include "services/core/program_names.h"
#include "services/dictionary/text_holder.h"

namespace kor {

// Returns the one dictionary of the program. It is loaded at start, on the main thread; until then,
// and when that fails, it gives the built-in texts. Its lookups may be called from any thread.
TextHolder& Dictionary();

// Loads Dictionary() in run mode for the user and gives the file layer its texts. A failure is
// reported, and the program goes on with the built-in texts.
bool LoadProgramDictionary(const KorText& file = kProgramNames.dictionary);

// Returns a language that a dictionary may be given by its code alone; null for a code that isn't
// listed.
const TextLanguage* KnownLanguage(std::u16string_view code);

} // namespace kor
