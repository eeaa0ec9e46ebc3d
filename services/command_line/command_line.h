// CommandLine: how every program here reads its arguments, and how it answers --help, --version and
// what it can't make sense of.
//
// Options are "--name", "--name VALUE", "--name=VALUE" and, where there is a letter for them, "-n"
// and "-n VALUE"; behind "--" nothing is an option. "-h", "--help" and "--version" are known to
// all: they end the reading, so that nothing behind them is judged. An object lives as long as one
// reading, on one thread.
#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "services/command_line/tool_output.h"
#include "services/core/kor_text.h"

namespace kor {

// What reading the arguments came to.
struct CommandLineAnswer {
  enum class Kind { GoOn, Show, Wrong };
  Kind kind = Kind::GoOn;
  KorText text; // help or version, or what is wrong; empty to go on

  // Prints or complains, and returns the exit code to end with, or none to go on.
  std::optional<int> Tell(const ToolOutput& output) const;
};

inline constexpr int kWrongCommandLine = 2; // exit code

class CommandLine {
 public:
  // Takes a word or a value. Returns what is wrong with it, or an empty text.
  using Take = std::function<KorText(const KorText&)>;
  using Check = std::function<KorText()>;

  // The help text names the program's options, -h, --help and --version among them.
  CommandLine(std::u16string_view program, std::u16string_view help)
      : name(program), helpText(help) {}

  // names: such as "-q --quiet".
  void Flag(std::u16string_view names, bool& flag, bool to = true);
  // what: such as "a folder", for "--main needs a folder".
  void Value(std::u16string_view names, std::u16string_view what, Take take);
  void Value(std::u16string_view names, std::u16string_view what, KorText& to);
  // Takes the words that are no options. Without this call there may be none.
  void Words(Take take) { takeWord = std::move(take); }
  // Takes the first word and all that follows for words, however they look.
  void EndOptionsAtFirstWord() { endsAtWord = true; }

  // check judges options that are right one by one.
  CommandLineAnswer Read(const std::vector<KorText>& words, const Check& check = {});

 private:
  struct Option {
    std::vector<KorText> names;
    KorText what; // empty: takes no value
    Take take;
  };

  KorText ReadNext(const std::vector<KorText>& words); // what is wrong, or an empty text
  KorText ReadOption(const std::vector<KorText>& words);
  const Option* Find(const KorText& option) const;

  const KorText name;
  const KorText helpText;
  std::vector<Option> options;
  Take takeWord;
  bool endsAtWord = false;
  bool onlyWords = false;
  std::size_t at = 0;
  std::optional<KorText> shown; // instead of doing anything
};

} // namespace kor
