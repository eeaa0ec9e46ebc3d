#include "torture/script.h"

#include <algorithm>
#include <iterator>

#include "tools/nce_controller/frame.h"
#include "tools/nce_controller/program_text.h"

namespace kor::torture {

namespace {

using controller::EncodeFrame;

constexpr std::size_t kFullBlock = 99; // a longer block takes no further line
constexpr std::size_t kPageEntries = 4, kNameColumns = 8;

std::vector<std::string> Frames(std::string_view program) {
  std::vector<std::string> blocks(1);
  for (const std::string_view line : controller::NonEmptyLines(program)) {
    if (blocks.back().size() > kFullBlock) blocks.emplace_back();
    blocks.back().append(line) += '!';
  }
  if (blocks.back().empty()) blocks.pop_back();
  for (std::string& block : blocks)
    block = EncodeFrame(block);
  return blocks;
}

} // namespace

std::size_t Length(const Steps& steps, bool withReplies) {
  std::size_t length = 0;
  for (const Step& step : steps)
    length += step.line.size() + (withReplies ? step.reply.size() : 0);
  return length;
}

Place PlaceOf(const Steps& steps, std::size_t at, bool withReplies) {
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (at < steps[i].line.size()) return {i, false, at};
    at -= steps[i].line.size();
    if (!withReplies) continue;
    if (at < steps[i].reply.size()) return {i, true, at};
    at -= steps[i].reply.size();
  }
  return {};
}

const Step& Before(const Steps& steps, const Place& place) {
  const Step& step = steps[place.step];
  const bool isDecided = step.later == 0 || place.offset + step.later >= step.reply.size();
  return place.inReply && isDecided ? step : steps[place.step - 1];
}

void Script::Add(Step step) {
  step.running = steps.back().running;
  step.job = steps.back().job;
  steps.push_back(std::move(step));
}

void Script::End(const std::string& job) {
  steps.back().running.clear();
  steps.back().job = job;
}

Script& Script::Ask(const std::string& line, const std::string& reply) {
  Add({.line = line + "\r", .reply = reply.empty() ? "" : reply + "\r"});
  return *this;
}

Script& Script::Wait(double seconds, const std::string& reply) {
  Add({.reply = reply + "\r", .seconds = seconds});
  return *this;
}

Script& Script::Begin(const std::string& what) {
  steps.back().running = what;
  return *this;
}

Script& Script::Download(const std::vector<NamedProgram>& programs, int refusals) {
  std::vector<std::string> frames;
  for (const NamedProgram& program : programs)
    std::ranges::copy(Frames(program.content), std::back_inserter(frames));
  for (const std::string& frame : frames) {
    Ask(">", frame);
    // The end mark that comes with the last frame ends the download, and with it all refusals.
    for (; refusals > 0 && &frame != &frames.back(); --refusals)
      Ask("<", frame);
  }
  steps.back().reply += "]\r";
  // The next file is looked for when the frame's last byte has left.
  if (programs.size() > 1) steps.back().later = 3;
  const NamedProgram& last = programs.back();
  End("Download Completed " + last.path + " - " + std::to_string(last.content.size()) + " bytes");
  return *this;
}

void Script::EndUpload(const NamedProgram& program) {
  End("Upload Completed " + program.path + " - " + std::to_string(program.content.size()) +
      " bytes in file.");
}

Script& Script::Upload(const NamedProgram& program) {
  for (const std::string& line : UploadLines(program.content))
    Ask(line, ">");
  EndUpload(program);
  return *this;
}

Script& Script::CutUpload(const NamedProgram& program, std::string_view rest) {
  std::vector<std::string> lines = UploadLines(program.content);
  lines.back() = EncodeFrame("(POS[1])!G1!");
  for (const std::string& line : lines)
    Ask(line, ">");
  EndUpload(program);
  for (const std::string& line : UploadLines(rest))
    Ask(line, "<");
  return *this;
}

Script& Script::Directory(const std::vector<std::string>& names) {
  Ask("DH", std::string(controller::kGreeting));
  std::string page;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string index = std::to_string(i + 1);
    page += std::string(2 - std::min<std::size_t>(index.size(), 2), ' ') + index + "|" + names[i];
    page.append(kNameColumns - std::min(names[i].size(), kNameColumns), ' ') += ' ';
    if ((i + 1) % kPageEntries != 0 && i + 1 < names.size()) continue;
    Ask(">", page);
    page.clear();
  }
  return Ask(">", std::string(controller::kEndMark));
}

std::vector<std::string> UploadLines(std::string_view program) {
  std::vector<std::string> lines;
  for (const std::string_view line : controller::NonEmptyLines(program))
    lines.push_back(EncodeFrame(std::string(line) + "!"));
  lines.emplace_back("02]");
  return lines;
}

} // namespace kor::torture
