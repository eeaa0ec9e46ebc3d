#include "tools/nce_controller/record_line.h"

#include "services/core/as_bytes.h"

namespace kor::controller {
namespace {

constexpr std::size_t kBytesPerLine = 16;
constexpr char kReturn = 13;

std::string Hexadecimal(std::string_view bytes) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += kDigits[value >> 4];
    text += kDigits[value & 15];
    text += ' ';
  }
  text.resize(kBytesPerLine * 3, ' ');
  return text;
}

std::string Shown(std::string_view bytes) {
  std::string text(bytes);
  for (char& c : text)
    if (c < ' ' || c > '~') c = '.';
  return text;
}

} // namespace

RecordLine::RecordLine(Line& toUse, std::unique_ptr<OsFile> toWrite)
    : inner(toUse), file(std::move(toWrite)) {}

LineState RecordLine::Read(std::string& to, Time until) {
  const std::size_t before = to.size();
  const LineState state = inner.Read(to, until);
  Keep('H', std::string_view(to).substr(before));
  return state;
}

LineState RecordLine::Write(std::string_view toWrite, Time until, std::size_t& written) {
  const LineState state = inner.Write(toWrite, until, written);
  Keep('C', toWrite.substr(0, written));
  return state;
}

void RecordLine::Keep(char from, std::string_view passed) {
  for (const char byte : passed) {
    if (from != side) {
      EndLine();
      side = from;
      goesOn = false;
    }
    bytes += byte;
    if (byte != kReturn && bytes.size() < kBytesPerLine) continue;
    EndLine();
    goesOn = byte != kReturn;
  }
}

void RecordLine::EndLine() {
  if (bytes.empty()) return;
  const std::string line = (goesOn ? std::string("  ") : std::string(1, side) + " ") +
                           Hexadecimal(bytes) + "| " + Shown(bytes) + "\n";
  file->Write(AsBytes(line));
  bytes.clear();
}

} // namespace kor::controller
