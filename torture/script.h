// The exchanges as the controller knows them: what it sends, what must be answered, byte by byte,
// and what the host must be doing and have logged by then. They are made with the controller's own
// codec and with nothing of the host's.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kor::torture {

struct Step {
  std::string line{}, reply{}; // each with its CR
  std::string running{};       // "Download" or "Upload" while one runs after this line; else empty
  std::string job{};           // what the job log ends with then; empty: nothing
  double seconds = 0;          // that pass before the reply, instead of a line
  std::size_t later = 0;       // last bytes of the reply; with the first of them the host goes on
};
using Steps = std::vector<Step>;

std::size_t Length(const Steps& steps, bool withReplies);

// Describes a byte of the exchange that is about to travel. Its line has not arrived yet; its reply
// has been formed.
struct Place {
  std::size_t step = static_cast<std::size_t>(-1);
  bool inReply = false;
  std::size_t offset = 0;
};
// Returns the byte of that number, counted with or without the bytes of the replies.
Place PlaceOf(const Steps& steps, std::size_t at, bool withReplies);
// Returns the last step that the host has done when that byte is about to travel.
const Step& Before(const Steps& steps, const Place& place);

struct NamedProgram {
  std::string path, content;
};
class Script {
 public:
  Script& Ask(const std::string& line, const std::string& reply);
  Script& Wait(double seconds, const std::string& reply);
  Script& Begin(const std::string& what); // as running
  // Adds the frames of one or several programs and the end mark. The first frame is refused that
  // often, unless it is the only one.
  Script& Download(const std::vector<NamedProgram>& programs, int refusals = 0);
  Script& Upload(const NamedProgram& program);
  // Adds an upload that a "]" in the text of a line ends; that line and the rest of the program are
  // not stored.
  Script& CutUpload(const NamedProgram& program, std::string_view rest);
  Script& Directory(const std::vector<std::string>& names); // without extension
  const Steps& Done() const { return steps; }

 private:
  void Add(Step step);
  void End(const std::string& job);
  void EndUpload(const NamedProgram& program);
  Steps steps = {{}};
};

std::vector<std::string>
UploadLines(std::string_view program); // without CR; the end mark is the last

} // namespace kor::torture
