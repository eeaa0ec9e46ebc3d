// What a window says of the link in large letters: one word, the program's number, and a line that
// tells what to do; and what became of a job. Texts come from the dictionary. Pure functions; no
// drawing.
#pragma once

#include <vector>

#include "services/core/kor_text.h"
#include "ui/colours.h"
#include "ui/form_dialog.h"
#include "ui/transfer_text.h"

namespace kor {

enum class Direction { None, ToMachine, FromMachine };
Direction DirectionOf(LinkStatus code);

// What the words are made of.
struct Situation {
  StatusView view;
  Pace pace;
  bool byHand = false; // the transfer that runs was begun here
};

bool IsHeld(const Situation& now); // the transfer stands still
Tone ToneOf(const Situation& now);
KorText WordOf(const Situation& now);
KorText ProgramOf(const StatusView& view); // "0000123"; empty where the state has no program
// What to do, in every state. While there is no link it is the reason, which may be empty.
KorText AdviceOf(const Situation& now);
// The longest forms that AdviceOf usually gives, to keep room for.
std::vector<KorText> AdviceSamples();

// All of the program has arrived, as far as that is known.
bool IsGood(const EndedJob& job);
KorText ResultText(const EndedJob& job); // "Received by the machine", with the note behind it

} // namespace kor
