#include "tools/nce_controller/preflight.h"

#include <set>

#include "tools/nce_controller/program_file.h"
#include "tools/nce_controller/program_text.h"

namespace kor::controller {
namespace {

std::string ObstacleOfScript(const KorText& path) {
  std::string content;
  const std::string failure = LoadProgram(path, content);
  if (!failure.empty()) return failure;
  const ParsedScript script = ParseScript(KorText::FromUtf8(content));
  if (!script.error.empty()) return path.ToUtf8() + ", " + script.error;
  std::set<KorText> fetched;
  for (const Command& step : script.commands) {
    if (step.output) fetched.insert(*step.output);
    const bool isToBeThere = step.kind == CommandKind::Send && !step.exitCode;
    if (!isToBeThere || fetched.contains(step.file)) continue;
    const std::string obstacle = FindObstacle(step);
    if (!obstacle.empty())
      return path.ToUtf8() + ", line " + std::to_string(step.line) + ": " + obstacle;
  }
  return {};
}

} // namespace

std::string FindObstacle(const Command& command) {
  std::string content;
  std::string obstacle;
  if (command.kind == CommandKind::Send) return LoadUpload(command.file, content);
  if (command.kind == CommandKind::Run && command.file != u"-")
    return ObstacleOfScript(command.file);
  for (const KorText& file : command.compare)
    if (obstacle.empty()) obstacle = LoadProgram(file, content);
  return obstacle;
}

std::string LoadUpload(const KorText& path, std::string& program) {
  const std::string failure = LoadProgram(path, program);
  if (!failure.empty()) return failure;
  const std::string obstacle = UploadObstacle(program);
  return obstacle.empty() ? obstacle : path.ToUtf8() + ": " + obstacle + "; change it";
}

} // namespace kor::controller
