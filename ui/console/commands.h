// The console's commands, a line each. Window's thread.
#pragma once

#include "app/nce_app.h"
#include "services/core/user_texts.h"
#include "ui/console/console_front_end.h"

namespace kor {

class Commands {
 public:
  Commands(NCEApp& nceApp, ConsoleFrontEnd& frontEnd) : app(nceApp), console(frontEnd) {}

  // Runs one line. An unknown or malformed command answers what to do instead.
  void Run(const KorText& line);
  // Returns whether the line may be run before one that waits, or, where that is empty, before an
  // earlier line has been answered.
  static bool Overtakes(const KorText& line, const KorText& waiting);

 private:
  using Handler = void (Commands::*)(const KorText& argument);
  struct Command {
    const char16_t* name;
    const char16_t* arguments; // as help shows them
    UserText help;
    Handler handler;
  };
  static const Command kCommands[];
  static const Command* Find(const KorText& line); // the one that the line begins with, or none

  void Status(const KorText& argument);
  void Jobs(const KorText& argument);
  void Send(const KorText& argument);
  void Receive(const KorText& argument);
  void Complete(const KorText& argument);
  void Cancel(const KorText& argument);
  void Loopback(const KorText& argument);
  void Xon(const KorText& argument);
  void Monitor(const KorText& argument);
  void Trace(const KorText& argument);
  void Rts(const KorText& argument);
  void Dtr(const KorText& argument);
  void Settings(const KorText& argument);
  void Set(const KorText& argument);
  void Special(const KorText& argument);
  void Help(const KorText& argument);
  void Quit(const KorText& argument);

  // Returns whether the argument is "on" or "off". Anything else is answered and gives nothing.
  std::optional<bool> Switch(const KorText& command, const KorText& argument);
  void PrintField(const FormField& field);
  void PrintSwitch(const KorText& key, bool on);
  void PrintForm(const FormDescription& form);

  NCEApp& app;
  ConsoleFrontEnd& console;
};

} // namespace kor
