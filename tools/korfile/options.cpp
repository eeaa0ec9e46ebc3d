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

KorText TakeWord(const KorText& word, bool& hasCommand, KorfileOptions& options) {
  if (hasCommand) {
    options.files.push_back(word);
    return {};
  }
  const auto known = std::ranges::find_if(
      kCommands, [&](const Command& candidate) { return word == candidate.name; });
  if (known == std::end(kCommands)) return u"there is no command " + word;
  options.command = known->command;
  hasCommand = true;
  return {};
}

KorText TakeThreads(const KorText& value, KorfileOptions& options) {
  const std::int32_t number = value.ToInteger();
  if (number < 1 || number > kMostThreads)
    return KorText::Format(u"threads are 1 to %i, not %s", kMostThreads, value);
  options.threads = static_cast<unsigned>(number);
  return {};
}

KorText Check(bool hasCommand, const KorfileOptions& options) {
  if (!hasCommand) return u"a command is missing";
  if (options.files.empty()) return u"a file is missing";
  const bool writes =
      options.command == KorfileCommand::Compress || options.command == KorfileCommand::Restore;
  if (options.target.IsEmpty()) return {};
  if (!writes) return u"--output belongs to compress and restore";
  return options.files.size() == 1 ? KorText() : u"--output takes one file at a time";
}

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
      --json          print one JSON object per file, also of one that is damaged or missing;
                      "checksum" is always that of the bytes as they lie, "contentsChecksum"
                      that of the contents
  -q, --quiet         no progress bar and no report of success
  -h, --help          show this text
      --version       show the version

A file that is being replaced stays as it was until the new one is complete and on the disk; after
any failure it is still there. With several files the work goes on behind a failure.

exit codes:
  0  success
  1  the data is damaged or can't be compressed, there is not enough memory,
     or the work was cancelled                                              (0x20000000)
  2  wrong command line
  3  a file could not be read in full                                       (0x20000001)
  4  a file could not be written in full                                    (0x20000002)
  5  compressing a compressed file, restoring a plain one                   (0x20000003)
  6  a damaged signature, an impossible block length or damaged records     (0x20000004)
With several failures the first one decides.)";

CommandLineAnswer ReadKorfileOptions(const std::vector<KorText>& words, KorfileOptions& options) {
  bool hasCommand = false;
  CommandLine line(u"korfile", kKorfileHelp);
  line.Flag(u"--json", options.json);
  line.Flag(u"--contents", options.contents);
  line.Flag(u"-q --quiet", options.quiet);
  line.Value(u"-o --output", u"a file", options.target);
  line.Value(u"-j --threads", u"a number",
             [&](const KorText& value) { return TakeThreads(value, options); });
  line.Words([&](const KorText& word) { return TakeWord(word, hasCommand, options); });
  return line.Read(words, [&] { return Check(hasCommand, options); });
}

} // namespace kor
