#include "tools/nce_controller/command.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "tools/nce_controller/session.h"

namespace kor::controller {
namespace {

struct CommandWord {
  std::u16string_view word;
  CommandKind kind;
  bool isScriptOnly;
  bool takesText; // the rest of the line
};

constexpr CommandWord kWords[] = {
    {u"test", CommandKind::Test, false, false},
    {u"list", CommandKind::List, false, false},
    {u"fetch", CommandKind::Fetch, false, false},
    {u"send", CommandKind::Send, false, false},
    {u"raw", CommandKind::Raw, false, true},
    {u"soak", CommandKind::Soak, false, false},
    {u"run", CommandKind::Run, false, false},
    {u"wait-host", CommandKind::WaitHost, false, false},
    {u"read", CommandKind::Read, true, false},
    {u"wait", CommandKind::Wait, true, false},
    {u"expect", CommandKind::Expect, true, true},
    {u"expect-part", CommandKind::ExpectPart, true, true},
    {u"refuse", CommandKind::Refuse, true, false},
    {u"print", CommandKind::Print, true, true},
};

constexpr std::u16string_view kExpectExit = u"expect-exit";

const CommandWord* FindWord(const KorText& word) {
  const auto* found = std::ranges::find(kWords, word.View(), &CommandWord::word);
  return found == std::end(kWords) ? nullptr : found;
}

// Takes the words of one command one after the other and remembers the first thing wrong with them.
class WordReader {
 public:
  explicit WordReader(const std::vector<KorText>& toRead) : words(toRead) {}

  bool HasMore() const { return error.empty() && at < words.size(); }
  bool Accept(std::u16string_view word) {
    if (!HasMore() || words[at].View() != word) return false;
    ++at;
    return true;
  }
  KorText Next(const char* what) {
    if (HasMore()) return words[at++];
    Fail(std::string(what) + " is missing");
    return {};
  }
  double NextSeconds() {
    const KorText word = Next("a number of seconds");
    const auto seconds = ParseAmount(word);
    if (!seconds) Fail("\"" + word.ToUtf8() + "\" is no number of seconds");
    return seconds.value_or(0);
  }
  std::string NextNumber() {
    const KorText word = Next("a program number");
    const std::string obstacle = Session::NumberObstacle(word.ToBytes());
    if (error.empty() && !obstacle.empty())
      Fail("the number \"" + word.ToUtf8() + "\" " + obstacle);
    return word.ToBytes();
  }
  void Fail(std::string text) {
    if (error.empty()) error = std::move(text);
  }
  const std::vector<KorText>& words;
  std::size_t at = 1;
  std::string error;
};

void ReadFetch(WordReader& reader, Command& command) {
  command.text = reader.NextNumber();
  while (reader.HasMore()) {
    if (reader.Accept(u"-o"))
      command.output = reader.Next("the output file");
    else if (reader.Accept(u"--compare"))
      command.compare.push_back(reader.Next("the file to compare"));
    else
      break;
  }
}

void ReadSend(WordReader& reader, Command& command) {
  command.file = reader.Next("the file to send");
  while (reader.HasMore()) {
    if (reader.Accept(u"--number"))
      command.text = reader.NextNumber();
    else if (reader.Accept(u"--read-back"))
      command.readBack = true;
    else if (reader.Accept(u"--no-read-back"))
      command.readBack = false;
    else
      break;
  }
  if (command.text.empty()) reader.Fail("--number N is missing");
}

void ReadSoak(WordReader& reader, Command& command) {
  while (reader.HasMore()) {
    if (reader.Accept(u"--seconds"))
      command.seconds = reader.NextSeconds();
    else if (reader.Accept(u"--upload"))
      command.text = reader.NextNumber();
    else if (reader.Accept(u"--read-back"))
      command.readBack = true;
    else if (reader.Accept(u"--no-read-back"))
      command.readBack = false;
    else if (reader.Accept(u"--folder"))
      command.folder = reader.Next("the folder");
    else if (reader.Accept(u"--extension"))
      command.extension = reader.Next("the extension");
    else
      break;
  }
  if (command.seconds <= 0) reader.Fail("--seconds S is missing");
}

void ReadArguments(WordReader& reader, Command& command) {
  switch (command.kind) {
  case CommandKind::Fetch:
    return ReadFetch(reader, command);
  case CommandKind::Send:
    return ReadSend(reader, command);
  case CommandKind::Soak:
    return ReadSoak(reader, command);
  case CommandKind::Run:
    command.file = reader.Next("the script");
    return;
  case CommandKind::WaitHost:
  case CommandKind::Wait:
    command.seconds = reader.NextSeconds();
    return;
  case CommandKind::Refuse: {
    const auto count = ParseCount(reader.Next("how often"), 1000);
    if (!count) reader.Fail("refuse takes a number from 0 to 1000");
    command.count = static_cast<int>(count.value_or(0));
    return;
  }
  default:
    return;
  }
}

KorText Join(const std::vector<KorText>& words, std::size_t from) {
  KorText text;
  for (std::size_t at = from; at < words.size(); ++at) {
    if (at > from) text += u' ';
    text += words[at].View();
  }
  return text;
}

// Returns the character that a backslash and what follows stand for, and moves at past them. A
// backslash before anything else stands for itself.
char16_t Unescape(std::u16string_view text, std::size_t& at) {
  const char16_t c = text[at++];
  if (c != u'\\' || at == text.size()) return c;
  switch (text[at]) {
  case u'n':
    ++at;
    return u'\n';
  case u'r':
    ++at;
    return u'\r';
  case u't':
    ++at;
    return u'\t';
  case u'\\':
  case u'"':
    return text[at++];
  default:
    break;
  }
  if (text[at] != u'x' || at + 2 >= text.size()) return c;
  const int high = HexValue(text[at + 1]);
  const int low = HexValue(text[at + 2]);
  if (high < 0 || low < 0) return c;
  at += 3;
  return static_cast<char16_t>(high * 16 + low);
}

KorText Unescaped(std::u16string_view text) {
  KorText result;
  for (std::size_t at = 0; at < text.size();)
    result += Unescape(text, at);
  return result;
}

KorText RestOfLine(std::u16string_view rest) {
  KorText text = KorText(rest).Trimmed();
  if (text.Length() >= 2 && text[0] == u'"' && text.Last() == u'"')
    text = text.Mid(1, text.Length() - 2);
  return Unescaped(text);
}

bool IsBlank(char16_t c) {
  return c == u' ' || c == u'\t';
}

// One word from text at the given place; a quoted word may hold blanks and escapes.
bool TakeWord(std::u16string_view text, std::size_t& at, KorText& word) {
  word.Clear();
  if (text[at] != u'"') {
    while (at < text.size() && !IsBlank(text[at]))
      word += text[at++];
    return true;
  }
  for (++at; at < text.size() && text[at] != u'"';)
    word += Unescape(text, at);
  return at++ < text.size();
}

ParsedCommand ParseLine(std::u16string_view line) {
  std::vector<KorText> words;
  for (std::size_t at = 0; at < line.size();) {
    if (IsBlank(line[at])) {
      ++at;
      continue;
    }
    KorText word;
    if (!TakeWord(line, at, word)) return {{}, "a quote is not closed"};
    words.push_back(word);
    const bool isPlain = words.size() == 1 || (words.size() == 3 && words[0].View() == kExpectExit);
    const CommandWord* known = isPlain ? FindWord(word) : nullptr;
    if (known && known->takesText) {
      words.push_back(RestOfLine(line.substr(std::min(at, line.size()))));
      break;
    }
  }
  return ParseCommand(words, CommandSource::Script);
}

ParsedCommand ParseExpectExit(const std::vector<KorText>& words) {
  const auto code = words.size() > 1 ? ParseCount(words[1], 255) : std::nullopt;
  if (!code || words.size() < 3) return {{}, "expect-exit takes an exit code and a command"};
  ParsedCommand parsed = ParseCommand({words.begin() + 2, words.end()}, CommandSource::Script);
  parsed.command.exitCode = static_cast<int>(*code);
  return parsed;
}

} // namespace

std::optional<double> ParseAmount(const KorText& text) {
  const std::string digits = text.ToBytes();
  double value = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, fault] = std::from_chars(digits.data(), end, value, std::chars_format::fixed);
  const bool isGood = fault == std::errc() && stop == end && std::isfinite(value) && value >= 0;
  return isGood && value < 1e9 ? std::optional(value) : std::nullopt;
}

std::optional<std::uint64_t> ParseCount(const KorText& text, std::uint64_t limit) {
  const std::string digits = text.ToBytes();
  std::uint64_t value = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, fault] = std::from_chars(digits.data(), end, value);
  const bool isGood = fault == std::errc() && stop == end && value <= limit;
  return isGood ? std::optional(value) : std::nullopt;
}

ParsedCommand ParseCommand(const std::vector<KorText>& words, CommandSource source) {
  const bool isScript = source == CommandSource::Script;
  if (words.empty()) return {{}, "no command"};
  if (isScript && words[0].View() == kExpectExit) return ParseExpectExit(words);
  const CommandWord* known = FindWord(words[0]);
  if (!known || (known->isScriptOnly && !isScript) || (isScript && known->kind == CommandKind::Run))
    return {{}, "unknown command \"" + words[0].ToUtf8() + "\""};
  Command command;
  command.kind = known->kind;
  command.name = words[0];
  command.words = Join(words, 0);
  WordReader reader(words);
  if (known->takesText) {
    const KorText text = Join(words, 1);
    command.text = (isScript ? text : Unescaped(text)).ToBytes();
    return {command, {}};
  }
  ReadArguments(reader, command);
  if (reader.HasMore()) reader.Fail("\"" + words[reader.at].ToUtf8() + "\" is not understood");
  if (!reader.error.empty()) reader.error.insert(0, words[0].ToUtf8() + ": ");
  return {command, reader.error};
}

ParsedScript ParseScript(const KorText& text) {
  ParsedScript script;
  int number = 0;
  for (KorText line : Split(text, u'\n')) {
    ++number;
    if (line.Last() == u'\r') line = line.Left(line.Length() - 1);
    line = line.Trimmed();
    if (line.IsEmpty() || line[0] == u'#') continue;
    ParsedCommand parsed = ParseLine(line);
    if (!parsed.error.empty()) {
      script.error = "line " + std::to_string(number) + ": " + parsed.error;
      return script;
    }
    parsed.command.line = number;
    script.commands.push_back(std::move(parsed.command));
  }
  return script;
}

} // namespace kor::controller
