// What the mains of the two hosts have in common: their command line, what they lend to the engine,
// and where reports go. Main thread.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "link/download_app.h"
#include "services/core/app_interface.h"
#include "ui/form_dialog.h"

namespace kor {

// Returns the command line: the words, joined by one blank.
KorText JoinedWords(const std::vector<KorText>& words);

// Answers a single word that begins with "-", which names no settings: nothing is served, opened or
// written then. Returns the exit code, or none to serve. showInstead gets the answer where nobody
// would see what is printed.
std::optional<int> AnswerOption(const char16_t* program, const char16_t* help,
                                const std::vector<KorText>& words,
                                const std::function<void(const KorText&)>& showInstead = {});

// Returns what the engine works with on this system; the port and the window outlive the engine.
EngineServices HostServices(SerialPort& port, FormDialog& window, const KorText& cncFolder);

// Ends the process, with code 0, three seconds from now, whatever it waits for then: a settings
// folder that does not answer must not keep a program that ends. Any thread.
void EndInTime();

// The report's message, and below an empty line its details.
KorText ReportText(const MessageRecord& record);
// Has the window show reports from now on. They may come from any thread.
void ReportThrough(FormDialog& window, MessageStyle style);

} // namespace kor
