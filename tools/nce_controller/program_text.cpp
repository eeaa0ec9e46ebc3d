#include "tools/nce_controller/program_text.h"

#include <algorithm>

#include "tools/nce_controller/frame.h"

namespace kor::controller {
namespace {

constexpr std::size_t kFullBlock = 99;     // a longer block takes no further line
constexpr std::size_t kLargestBlock = 255; // two hexadecimal digits

// All lines without their ends; what follows the last end is a line if it is not empty.
std::vector<std::string_view> AllLines(std::string_view program) {
  std::vector<std::string_view> lines;
  while (!program.empty()) {
    const std::size_t end = program.find('\n');
    std::string_view line = program.substr(0, end);
    program.remove_prefix(end == program.npos ? program.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines.push_back(line);
  }
  return lines;
}

std::string Quoted(std::string_view line) {
  constexpr std::size_t kShown = 60;
  return "\"" + Printable(line.substr(0, kShown)) + (line.size() > kShown ? "...\"" : "\"");
}

std::string ByteObstacle(char byte) {
  if (byte == '!') return "'!', which the host stores as an end of line";
  if (byte == ']') return "']', which the host takes for the end of the program";
  const auto code = static_cast<unsigned char>(byte);
  if (code < 32 || code > 126) return "byte " + Printable({&byte, 1}) + ", which the host drops";
  return {};
}

} // namespace

std::vector<std::string_view> NonEmptyLines(std::string_view program) {
  std::vector<std::string_view> lines = AllLines(program);
  std::erase_if(lines, [](std::string_view line) { return line.empty(); });
  return lines;
}

std::string FirstDifference(std::string_view received, std::string_view expected) {
  const std::vector<std::string_view> got = NonEmptyLines(received);
  const std::vector<std::string_view> want = NonEmptyLines(expected);
  const auto [gotAt, wantAt] = std::ranges::mismatch(got, want);
  if (gotAt == got.end() && wantAt == want.end()) return {};
  const std::string place =
      "line " + std::to_string(gotAt - got.begin() + 1) + " (empty lines not counted): ";
  if (gotAt == got.end()) return place + "missing, expected " + Quoted(*wantAt);
  if (wantAt == want.end()) return place + "one too many, " + Quoted(*gotAt);
  return place + "is " + Quoted(*gotAt) + ", expected " + Quoted(*wantAt);
}

std::string UploadObstacle(std::string_view program) {
  const std::vector<std::string_view> lines = AllLines(program);
  for (std::size_t line = 0; line < lines.size(); ++line)
    for (std::size_t column = 0; column < lines[line].size(); ++column) {
      const std::string obstacle = ByteObstacle(lines[line][column]);
      if (obstacle.empty()) continue;
      return "line " + std::to_string(line + 1) + ", column " + std::to_string(column + 1) + ": " +
             obstacle;
    }
  return {};
}

std::vector<std::string> UploadBlocks(std::string_view program) {
  std::vector<std::string> blocks;
  std::string block;
  const auto close = [&]() {
    if (!block.empty()) blocks.push_back(std::move(block));
    block.clear();
  };
  for (std::string_view line : AllLines(program)) {
    if (block.size() + line.size() + 1 > kLargestBlock) close();
    while (block.size() + line.size() + 1 > kLargestBlock) {
      const std::string_view piece = line.substr(0, kLargestBlock - block.size());
      block += piece;
      line.remove_prefix(piece.size());
      close();
    }
    block += line;
    block += '!';
    if (block.size() > kFullBlock) close();
  }
  close();
  return blocks;
}

std::string BlockText(std::string_view block) {
  std::string text(block);
  std::ranges::replace(text, '!', '\n');
  return text;
}

} // namespace kor::controller
