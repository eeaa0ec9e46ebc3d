// The large words that a window shows for the link: one word, the program's number, and a line that
// tells the user what to do; and the result of a job. Texts come from the dictionary. Pure
// functions; no drawing.
#pragma once

#include <vector>

#include "services/core/kor_text.h"
#include "ui/colours.h"
#include "ui/form_dialog.h"
#include "ui/transfer_text.h"

namespace kor {

enum class Direction { None, ToMachine, FromMachine };
// Returns the direction that a window shows for the state. The codes 25 to 27, a file that is no
// program or is missing, count as sending.
Direction ShownDirection(LinkStatus code);

// The facts that the words are made from.
struct Situation {
  StatusView view;
  Pace pace;
  bool byHand = false; // the transfer that runs was begun here
};

bool IsHeld(const Situation& now); // the transfer stands still
Tone ToneOf(const Situation& now);
KorText WordOf(const Situation& now);
KorText ProgramOf(const StatusView& view); // "0000123"; empty where the state has no program
// Returns whether a program was not found because its folder wasn't there.
bool IsFolderAway(const StatusView& view);
// Returns what the user is to do, in every state. While there is no link it is the reason, which
// may be empty.
KorText AdviceOf(const Situation& now);
// Returns the longest forms that AdviceOf usually gives, so that a window can keep room for them.
std::vector<KorText> AdviceSamples();

// Returns whether the whole program has arrived, as far as that is known.
bool IsGood(const EndedJob& job);
KorText ResultText(const EndedJob& job); // "Received by the machine", with the note behind it

} // namespace kor
