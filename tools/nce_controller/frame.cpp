#include "tools/nce_controller/frame.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <numeric>

namespace kor::controller {
namespace {

constexpr std::string_view kShortPrefix = "Download to NCE in progress. ";
constexpr std::size_t kChecksumDigits = 2;
constexpr std::size_t kMostLengthDigits = 7;
constexpr std::size_t kEntriesPerPage = 4;
constexpr std::size_t kNameWidth = 8;

template <class... Args> std::string Print(const char* format, Args... args) {
  char buffer[96];
  const int length = std::snprintf(buffer, sizeof buffer, format, args...);
  return {buffer, static_cast<std::size_t>(std::max(length, 0))};
}

unsigned Checksum(std::string_view block) {
  return std::accumulate(block.begin(), block.end(), 0U, [](unsigned sum, char byte) {
    return sum ^ static_cast<unsigned char>(byte);
  });
}

std::string HexField(std::size_t value) {
  return Print("%02zX", value);
}

std::string WithoutLeadingZeros(std::string_view text) {
  return std::string(text.substr(std::min(text.find_first_not_of('0'), text.size())));
}

// LLLSSES: seven digits, of which the first five name the first sheet.
std::string FirstSheet(std::string_view requested) {
  while (requested.size() >= 8 && requested.front() == '0')
    requested.remove_prefix(1);
  std::string text(requested.substr(0, 7));
  text.insert(0, 7 - text.size(), '0');
  return text.substr(0, 5);
}

std::optional<std::string> Between(std::string_view text, std::string_view before,
                                   std::string_view after) {
  if (text.size() < before.size() + after.size()) return std::nullopt;
  if (!text.starts_with(before) || !text.ends_with(after)) return std::nullopt;
  text.remove_prefix(before.size());
  text.remove_suffix(after.size());
  return std::string(text);
}

void AddNew(std::vector<std::string>& texts, std::string text) {
  if (std::ranges::find(texts, text) == texts.end()) texts.push_back(std::move(text));
}

} // namespace

std::string EncodeFrame(std::string_view block) {
  return HexField(block.size()) + std::string(block) + HexField(Checksum(block));
}

// The number of length digits follows from the frame's length: one more digit stands only before
// blocks that fill the smaller field.
DecodedFrame DecodeFrame(std::string_view frame) {
  for (std::size_t digits = 2; digits <= kMostLengthDigits; ++digits) {
    if (frame.size() < digits + kChecksumDigits) break;
    const std::size_t blockSize = frame.size() - digits - kChecksumDigits;
    if (HexField(blockSize) != frame.substr(0, digits)) continue;
    const std::string_view block = frame.substr(digits, blockSize);
    const std::string checksum = HexField(Checksum(block));
    const std::string_view given = frame.substr(frame.size() - kChecksumDigits);
    if (checksum == given) return {std::string(block), {}};
    return {{}, "checksum " + Printable(given) + " where " + checksum + " is right"};
  }
  return {{}, "length field and length disagree: \"" + Printable(frame.substr(0, 24)) + "\""};
}

NumberForms::NumberForms(std::string_view requested) {
  const std::string sheet = FirstSheet(requested);
  for (const std::string& text : {std::string(requested), sheet}) {
    AddNew(texts, text);
    AddNew(texts, WithoutLeadingZeros(text));
  }
  numbers = {LeadingNumber(requested), LeadingNumber(sheet), 0};
}

std::optional<DownloadReply> ParseDownloadReply(std::string_view reply, const NumberForms& forms) {
  for (const std::int32_t number : forms.numbers) {
    if (reply == Print("&LP %09i", number)) return DownloadReply{number, false};
    // Only the short form carries the words in front; the long one has always been bare.
    if (reply == std::string(kShortPrefix) + Print("&LP %i", number))
      return DownloadReply{number, true};
  }
  return std::nullopt;
}

std::string ProgressText(const DownloadReply& reply) {
  return std::string(kShortPrefix) + Print(reply.isShort ? "&FH %i" : "&FH %09i", reply.number);
}

std::optional<std::string> ParseNotFound(std::string_view reply) {
  return Between(reply, "%% File ", " not found on Host Computer");
}

std::optional<std::string> ParseUploadReply(std::string_view reply) {
  return Between(reply, "Upload from NCE  in progress. &TH ", "");
}

// A name may hold blanks, digits and bars; the padding and the known next index tell where it ends.
std::optional<std::vector<DirectoryEntry>> ParsePage(std::string_view page,
                                                     std::uint32_t firstIndex) {
  std::vector<DirectoryEntry> entries;
  for (std::uint32_t index = firstIndex; !page.empty(); ++index) {
    const std::string head = Print("%2u|", index);
    if (!page.starts_with(head) || entries.size() == kEntriesPerPage) return std::nullopt;
    page.remove_prefix(head.size());
    const std::string next = " " + Print("%2u|", index + 1);
    const bool isLast = entries.size() + 1 == kEntriesPerPage;
    const std::size_t found = isLast ? page.npos : page.find(next, kNameWidth);
    const std::string_view name = page.substr(0, found == page.npos ? page.size() : found + 1);
    page.remove_prefix(name.size());
    // Padded to eight characters, a longer one not at all, and then one blank: all else is damage.
    const std::size_t last = name.find_last_not_of(" \t");
    const std::size_t length = last == name.npos ? 0 : last + 1;
    if (name.size() != std::max(length, kNameWidth) + 1) return std::nullopt;
    entries.push_back({index, std::string(name.substr(0, length))});
  }
  if (entries.empty()) return std::nullopt;
  return entries;
}

std::int32_t LeadingNumber(std::string_view text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  std::int64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    value = std::min<std::int64_t>(value * 10 + (c - '0'), 1LL << 31);
  }
  if (isNegative) value = -value;
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

std::string Printable(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    text += code >= 32 && code <= 126 ? std::string(1, c) : Print("\\x%02X", code);
  }
  return text;
}

} // namespace kor::controller
