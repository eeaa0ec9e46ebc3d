// The exchanges as the controller knows them: what it sends and must be answered, byte by byte, and
// what the host must be doing and have logged by then. Made with the controller's own codec, from
// nothing of the host's.
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

// A byte of the exchange. It is about to travel: an unfinished line has not arrived, a reply's has.
struct Place {
  std::size_t step = static_cast<std::size_t>(-1);
  bool inReply = false;
  std::size_t offset = 0;
};
// The byte of that number; with or without the replies' bytes counted.
Place PlaceOf(const Steps& steps, std::size_t at, bool withReplies);
// The last step that the host is through with when that byte is about to travel.
const Step& Before(const Steps& steps, const Place& place);

struct NamedProgram {
  std::string path, content;
};
class Script {
 public:
  Script& Ask(const std::string& line, const std::string& reply);
  Script& Wait(double seconds, const std::string& reply);
  Script& Begin(const std::string& what); // as running
  // The frames, of several programs one after the other, and the end mark. The first frame is
  // refused so often, unless it is the only one.
  Script& Download(const std::vector<NamedProgram>& programs, int refusals = 0);
  Script& Upload(const NamedProgram& program);
  // Ended by a "]" in the text of a line; that line and the rest of the program are not stored.
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
