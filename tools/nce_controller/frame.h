// The controller's own reading of the line protocol: data frames and the host's fixed replies. It
// shares no code with the host, so that a fault in the one can't cancel a fault in the other.
//
// Texts are the bytes of a line without its carriage return. Pure functions, any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kor::controller {

inline constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
inline constexpr std::string_view kGreeting = "Directory of Host Computer\nSelect File. &DH";
inline constexpr std::string_view kNotRecognised = "%% Message not recognised by HOST";
inline constexpr std::string_view kEndMark = "]";
inline constexpr std::string_view kPrompt = "UDL>";

// Returns length (at least two hexadecimal digits), block and checksum (two digits; exclusive or of
// the block's bytes). All digits are upper case. The block has at most 0xFFFFFFF bytes.
std::string EncodeFrame(std::string_view block);

struct DecodedFrame {
  std::string block;
  std::string fault; // empty: the frame is good
};
DecodedFrame DecodeFrame(std::string_view frame);

// A download's number as the host may write it, which depends on its options: as requested, reduced
// to the first sheet of a lot-and-sheet number, or 0 for a file found by its H name.
struct NumberForms {
  explicit NumberForms(std::string_view requested);
  std::vector<std::int32_t> numbers;
  std::vector<std::string> texts; // the same for replies that name the file: with or without zeros
};

// The form of one reply to a download request; the progress text must follow in the same form.
struct DownloadReply {
  std::int32_t number = 0;
  bool isShort = false; // leading zeros stripped
};
std::optional<DownloadReply> ParseDownloadReply(std::string_view reply, const NumberForms& forms);
std::string ProgressText(const DownloadReply& reply); // the host's answer to the next ">"

// Returns the number text that a reply "%% File ... not found on Host Computer" names.
std::optional<std::string> ParseNotFound(std::string_view reply);
// Returns the number text that a reply "Upload from NCE  in progress. &TH ..." names.
std::optional<std::string> ParseUploadReply(std::string_view reply);

struct DirectoryEntry {
  std::uint32_t index = 0; // from 1
  std::string name;        // without extension
};
// Takes one page apart; firstIndex is the index that its first entry must have. std::nullopt when
// the page breaks the form.
std::optional<std::vector<DirectoryEntry>> ParsePage(std::string_view page,
                                                     std::uint32_t firstIndex);

// The number that stands at the start of a text, as the host reads it: an optional sign, digits, 0
// when there are none, stopping at the limits of 32 bits.
std::int32_t LeadingNumber(std::string_view text);

// For messages: bytes outside 32 to 126 as \xNN.
std::string Printable(std::string_view bytes);

} // namespace kor::controller
