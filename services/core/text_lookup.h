// The dictionary as the layers below it see it: a function from number to text. The program sets it
// when it has loaded its dictionary; until then, and for a number that the dictionary lacks, the
// English words of kTexts hold.
//
// Set once on the main thread before messages can arise; LookUpText may be called from any thread.
#pragma once

#include <functional>

#include "services/core/kor_text.h"
#include "services/core/user_texts.h"

namespace kor {

// An empty result means that there is no text of this number.
using TextLookup = std::function<KorText(int number)>;

void SetTextLookup(TextLookup lookup);
KorText LookUpText(const UserText& text);

} // namespace kor
