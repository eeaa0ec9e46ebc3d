// What the program can be told to do: one command on its command line, or a script of them.
//
// A script has one command per line; empty lines and lines that start with "#" are skipped. Words
// are separated by blanks; a word in double quotes may hold blanks, and in it \" \\ \n \r \t \xNN
// stand for characters. For raw, expect, expect-part and print the rest of the line is one text
// with the same escapes; quotes around it are taken off.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "services/core/kor_text.h"

namespace kor::controller {

enum class CommandKind {
  Test,
  List,
  Fetch,
  Send,
  Raw,
  Read,
  Soak,
  Run,
  WaitHost,
  Wait,
  Expect,
  ExpectPart,
  Refuse,
  Print,
};

struct Command {
  CommandKind kind = CommandKind::Test;
  KorText name;                  // the command's word
  KorText words;                 // as given, for messages
  std::string text;              // bytes: fetch and send: the number; raw, expect, print: the text
  KorText file;                  // send: what to send; run: the script
  std::optional<KorText> output; // fetch -o; "-" is the standard output
  std::vector<KorText> compare;  // fetch --compare, one file after the other
  double seconds = 0;            // soak, wait, wait-host
  int count = 0;                 // refuse
  std::optional<bool> readBack;  // send, soak
  KorText folder;                // soak --folder: host files to compare with
  KorText extension = u"MPG";    // soak --extension
  std::optional<int> exitCode;   // expect-exit: what the command must end with
  int line = 0;                  // of the script, from 1; 0: command line
};

struct ParsedCommand {
  Command command;
  std::string error; // empty: good
};

enum class CommandSource { CommandLine, Script };

// words: the command and what follows it. The commands that only make sense in a script are refused
// unless they come from a script.
ParsedCommand ParseCommand(const std::vector<KorText>& words, CommandSource source);

struct ParsedScript {
  std::vector<Command> commands;
  std::string error; // "line N: ..."; empty: good
};
ParsedScript ParseScript(const KorText& text);

// Reads a decimal number of at least 0, or none.
std::optional<double> ParseAmount(const KorText& text);
std::optional<std::uint64_t> ParseCount(const KorText& text, std::uint64_t limit);

} // namespace kor::controller
