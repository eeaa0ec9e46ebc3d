#include "services/command_line/command_line.h"

#include <algorithm>

#include "services/core/version.h"

namespace kor {

std::optional<int> CommandLineAnswer::Tell(const ToolOutput& output) const {
  if (kind == Kind::GoOn) return std::nullopt;
  (kind == Kind::Show ? output.print : output.complain)(text);
  return kind == Kind::Show ? 0 : kWrongCommandLine;
}

void CommandLine::Flag(std::u16string_view names, bool& flag, bool to) {
  options.push_back({Split(names, u' '), {}, [&flag, to](const KorText&) {
                       flag = to;
                       return KorText();
                     }});
}

void CommandLine::Value(std::u16string_view names, std::u16string_view what, Take take) {
  options.push_back({Split(names, u' '), what, std::move(take)});
}

void CommandLine::Value(std::u16string_view names, std::u16string_view what, KorText& to) {
  Value(names, what, [&to](const KorText& value) {
    to = value;
    return KorText();
  });
}

CommandLineAnswer CommandLine::Read(const std::vector<KorText>& words, const Check& check) {
  KorText problem;
  for (at = 0; at < words.size() && problem.IsEmpty() && !shown;)
    problem = ReadNext(words);
  if (shown) return {CommandLineAnswer::Kind::Show, *shown};
  if (problem.IsEmpty() && check) problem = check();
  if (problem.IsEmpty()) return {};
  return {CommandLineAnswer::Kind::Wrong,
          KorText::Format(u"%s: %s; %s --help lists what there is", name, problem, name)};
}

KorText CommandLine::ReadNext(const std::vector<KorText>& words) {
  const KorText& word = words[at];
  if (!onlyWords && word.StartsWith(u"-") && word.Length() > 1) return ReadOption(words);
  ++at;
  if (!takeWord) return KorText::Format(u"\"%s\" is not understood", word);
  if (endsAtWord) onlyWords = true;
  return takeWord(word);
}

KorText CommandLine::ReadOption(const std::vector<KorText>& words) {
  const KorText& word = words[at++];
  if (word == u"--" && takeWord) {
    onlyWords = true;
    return {};
  }
  if (word == u"-h" || word == u"--help") shown = helpText.Trimmed();
  if (word == u"--version") shown = name + u" " + kReleaseVersion;
  if (shown) return {};
  const std::size_t equals = word.StartsWith(u"--") ? word.Find(u'=') : KorText::kNone;
  const bool hasValue = equals != KorText::kNone;
  const KorText typed = hasValue ? word.Left(equals) : word;
  const Option* option = Find(typed);
  if (option == nullptr) return KorText::Format(u"there is no option %s", typed);
  if (option->what.IsEmpty())
    return hasValue ? typed + u" takes no value" : option->take(KorText());
  KorText value = hasValue ? word.Mid(equals + 1) : KorText();
  if (!hasValue && at < words.size()) value = words[at++];
  if (value.IsEmpty()) return KorText::Format(u"%s needs %s", typed, option->what);
  const KorText problem = option->take(value);
  return problem.IsEmpty() ? problem : KorText::Format(u"%s: %s", typed, problem);
}

const CommandLine::Option* CommandLine::Find(const KorText& option) const {
  const auto found = std::ranges::find_if(options, [&option](const Option& known) {
    return std::ranges::find(known.names, option) != known.names.end();
  });
  return found == options.end() ? nullptr : &*found;
}

} // namespace kor
