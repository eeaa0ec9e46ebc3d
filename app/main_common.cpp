#include "app/main_common.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include "platform/program_start.h"
#include "platform/serial_devices.h"
#include "services/command_line/command_line.h"

namespace kor {

KorText JoinedWords(const std::vector<KorText>& words) {
  KorText line;
  for (const KorText& word : words) {
    if (!line.IsEmpty()) line += u' ';
    line += word;
  }
  return line;
}

std::optional<int> AnswerOption(const char16_t* program, const char16_t* help,
                                const std::vector<KorText>& words,
                                const std::function<void(const KorText&)>& showInstead) {
  if (words.size() != 1 || !words[0].StartsWith(u"-") || words[0].Find(u' ') != KorText::kNone)
    return std::nullopt;
  const CommandLineAnswer answer = CommandLine(program, help).Read(words);
  const bool isSeen = !showInstead || FindOutput();
  return answer.Tell(isSeen ? StandardOutput() : ToolOutput{showInstead, showInstead});
}

EngineServices HostServices(SerialPort& port, FormDialog& window, const KorText& cncFolder) {
  EngineServices services;
  services.port = &port;
  services.window = &window;
  services.cncFolder = cncFolder;
  services.probePort = IsSerialPortFree;
  services.nameDevice = SerialDeviceBehind;
  return services;
}

void EndInTime() {
  std::thread([] {
    std::this_thread::sleep_for(std::chrono::seconds(3));
    std::_Exit(0);
  }).detach();
}

KorText ReportText(const MessageRecord& record) {
  return record.details.IsEmpty() ? record.message : record.message + u"\n\n" + record.details;
}

void ReportThrough(FormDialog& window, MessageStyle style) {
  App().SetReporter([&window, style](const MessageRecord& record) {
    window.Post(
        [&window, style, record] { window.ShowMessage(record.info, ReportText(record), style); });
    return record.number;
  });
}

} // namespace kor
