#include "tools/korfile/options.h"

#include <algorithm>
#include <iterator>

namespace kor {
namespace {

constexpr std::int32_t kMostThreads = 256;

struct Command {
  const char16_t* name;
  KorfileCommand command;
};

constexpr Command kCommands[] = {{u"compress", KorfileCommand::Compress},
                                 {u"restore", KorfileCommand::Restore},
                                 {u"info", KorfileCommand::Info},
                                 {u"test", KorfileCommand::Test},
                                 {u"crc", KorfileCommand::Crc}};

class OptionReader {
 public:
  OptionReader(const std::vector<KorText>& toRead, KorText& reason)
      : words(toRead), error(reason) {}

  std::optional<KorfileOptions> Read() {
    for (at = 0; at < words.size(); ++at)
      if (!ReadWord(words[at])) return std::nullopt;
    if (!options.help && !Check()) return std::nullopt;
    return options;
  }

 private:
  bool ReadWord(const KorText& word) {
    if (onlyFiles || !word.StartsWith(u"-") || word.Length() < 2) return ReadName(word);
    if (word == u"--") return onlyFiles = true;
    if (word == u"-h" || word == u"--help") return options.help = true;
    if (word == u"--json") return options.json = true;
    if (word == u"--contents") return options.contents = true;
    if (word == u"-q" || word == u"--quiet") return options.quiet = true;
    if (word == u"-o" || word == u"--output") return ReadValue(options.target);
    if (word == u"-j" || word == u"--threads") return ReadThreads();
    return Fail(KorText::Format(u"no option %s", word));
  }

  bool ReadName(const KorText& word) {
    if (hasCommand) {
      options.files.push_back(word);
      return true;
    }
    const auto known = std::ranges::find_if(
        kCommands, [&](const Command& candidate) { return word == candidate.name; });
    if (known == std::end(kCommands)) return Fail(KorText::Format(u"no command %s", word));
    options.command = known->command;
    return hasCommand = true;
  }

  bool ReadValue(KorText& value) {
    if (at + 1 == words.size() || words[at + 1].IsEmpty())
      return Fail(KorText::Format(u"%s needs a value", words[at]));
    value = words[++at];
    return true;
  }

  bool ReadThreads() {
    KorText value;
    if (!ReadValue(value)) return false;
    const std::int32_t number = value.ToInteger();
    if (number < 1 || number > kMostThreads)
      return Fail(KorText::Format(u"threads are 1 to %i, not %s", kMostThreads, value));
    options.threads = static_cast<unsigned>(number);
    return true;
  }

  bool Check() {
    if (!hasCommand) return Fail(u"a command is missing");
    if (options.files.empty()) return Fail(u"a file is missing");
    const bool writes =
        options.command == KorfileCommand::Compress || options.command == KorfileCommand::Restore;
    if (options.target.IsEmpty()) return true;
    if (!writes) return Fail(u"--output belongs to compress and restore");
    return options.files.size() == 1 || Fail(u"--output takes one file at a time");
  }

  bool Fail(const KorText& what) {
    error = what;
    return false;
  }

  const std::vector<KorText>& words;
  KorText& error;
  std::size_t at = 0;
  bool hasCommand = false;
  bool onlyFiles = false;
  KorfileOptions options;
};

} // namespace

const char16_t kKorfileHelp[] =
    uR"(korfile - compresses, restores, checks and describes the program's files

usage: korfile COMMAND FILE... [OPTIONS]

commands:
  compress   store the files compressed, in place or to --output
  restore    turn compressed files back into plain ones, in place or to --output
  info       describe the files: format, blocks, sizes, ratio and checksum; of a record file its
             header and its records as a tree, with what is damaged and where
  test       read everything in the files and tell whether it is whole
  crc        show the files' 64-bit checksums

options:
  -o, --output FILE   write there instead of in place; an existing file is replaced when the new
                      one is complete
  -j, --threads N     work on N blocks at a time (as many as the processor runs at once)
      --contents      crc: of what a compressed file inflates to, instead of the file as it lies
      --json          print one JSON object per file
  -q, --quiet         no progress bar and no report of success
  -h, --help          show this text

A file that is being replaced stays as it was until the new one is complete and on the disk; after
any failure it is still there. With several files the work goes on behind a failure.

exit codes:
  0  success
  1  the data is damaged or can't be compressed, or the work was cancelled  (0x20000000)
  2  wrong command line
  3  a file could not be read in full                                       (0x20000001)
  4  a file could not be written in full                                    (0x20000002)
  5  compressing a compressed file, restoring a plain one                   (0x20000003)
  6  a damaged signature, an impossible block length or damaged records     (0x20000004)
With several failures the first one decides.
)";

std::optional<KorfileOptions> ReadKorfileOptions(const std::vector<KorText>& words,
                                                 KorText& error) {
  return OptionReader(words, error).Read();
}

} // namespace kor
