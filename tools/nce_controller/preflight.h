// Preflight: what can be known to be wrong with a command before the line is opened and a host is
// awaited. Free functions, one thread.
#pragma once

#include <string>

#include "tools/nce_controller/command.h"

namespace kor::controller {

// Names a missing or unreadable file, a script that can't be read or parsed, or a program that
// can't travel; empty when there is nothing of the kind. In scripts the files to send are looked
// at, but for those that an earlier line fetches and those of lines that are expected to fail; what
// is compared may come to be while the script runs.
std::string FindObstacle(const Command& command);

// Loads a program to send and returns what keeps it from travelling; empty when nothing does.
std::string LoadUpload(const KorText& path, std::string& program);

} // namespace kor::controller
