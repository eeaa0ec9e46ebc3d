#include "link/link_status.h"

namespace kor {

namespace {

KorText NamedText(const char16_t* what, const StatusFacts& facts) {
  return KorText::Format(u"%s %s", what, facts.fileName);
}

// The codes whose text is fixed.
const char16_t* FixedText(LinkStatus code) {
  switch (code) {
  case LinkStatus::NoLink:
    return u"No Link";
  case LinkStatus::Waiting:
    return u"Waiting...";
  case LinkStatus::LoopBackTest:
    return u"Loop Back Test";
  case LinkStatus::DirectoryListing:
    return u"Directory Listing";
  case LinkStatus::ControllerOption:
    return u"NC Controller Option";
  case LinkStatus::DownloadWaiting:
    return u"Download Waiting For Controller";
  case LinkStatus::DownloadRequested:
    return u"Download Request Received";
  case LinkStatus::UploadRequested:
    return u"Upload Request Received";
  case LinkStatus::DownloadPreparation:
    return u"Download Preparation";
  case LinkStatus::UploadPreparation:
    return u"Upload Preparation";
  case LinkStatus::LoopbackFailure:
    return u"Local Loopback Test Failure";
  case LinkStatus::LoopbackSuccess:
    return u"Local Loopback Test Success";
  case LinkStatus::OverRun:
    return u"Over Run Error! Data loss has occurred!";
  case LinkStatus::SecondServer:
    return u"Configuration Error! Server has found 2nd DNC Server!";
  default:
    return nullptr;
  }
}

// The codes whose text is a wording and the file name.
const char16_t* NamedWording(LinkStatus code) {
  switch (code) {
  case LinkStatus::DownloadCantOpen:
    return u"Download could not open/read from";
  case LinkStatus::UploadCantOpen:
    return u"Upload could not open/write to";
  case LinkStatus::DownloadErrors:
    return u"Download Error(s)";
  case LinkStatus::UploadErrors:
    return u"Upload Error(s)";
  case LinkStatus::DownloadCancelled:
    return u"Download Cancelled";
  case LinkStatus::UploadCancelled:
    return u"Upload Cancelled";
  case LinkStatus::AutoloadCutting:
    return u"Autoload Cutting";
  case LinkStatus::UnexpectedError:
    return u"Unexpected error";
  case LinkStatus::FormatError:
    return u"File format error";
  case LinkStatus::ItemNotFound:
    return u"Item not found error";
  default:
    return nullptr;
  }
}

// The codes of DNC synchronisation, formed with the two machine names.
const char16_t* MachineFormat(LinkStatus code, bool serverRole) {
  switch (code) {
  case LinkStatus::ServerNoClient:
    return u"Server: %s cannot find DNC Client";
  case LinkStatus::ClientNoServer:
    return u"Client: %s cannot find DNC Server";
  case LinkStatus::ServerFoundClient:
    return u"Server: %s has found DNC Client: %s";
  case LinkStatus::ClientFoundServer:
    return u"Client: %s has found DNC Server: %s";
  case LinkStatus::SecondClient:
    return u"Configuration Error! Client: %s has found 2nd DNC Client: %s!";
  case LinkStatus::FileListCheck:
    return serverRole ? u"Server: %s Checking NC File List"
                      : u"Client: %s Requesting File List from Server: %s";
  case LinkStatus::FileListCompare:
    return u"Client: %s Comparing NC File Lists";
  case LinkStatus::FileRequest:
    return u"Client: %s Requesting NC File";
  case LinkStatus::SynchronisationCompleted:
    return u"Client: %s NC File Synchronisation Completed";
  default:
    return nullptr;
  }
}

} // namespace

KorText StatusText(LinkStatus code, const StatusFacts& facts, const KorText& previous) {
  if (const char16_t* text = FixedText(code)) return text;
  if (const char16_t* wording = NamedWording(code)) return NamedText(wording, facts);
  if (const char16_t* format = MachineFormat(code, facts.serverRole))
    return KorText::Format(format, facts.machineName, facts.peerName);
  switch (code) {
  case LinkStatus::Downloading:
    return KorText::Format(u"%s %s - %i %s %i %s.", u"Downloading", facts.fileName, facts.count,
                           u"of", facts.total, u"bytes sent");
  case LinkStatus::Uploading:
    return KorText::Format(u"Uploading %s - %i bytes received.", facts.fileName, facts.count);
  case LinkStatus::DownloadCompleted:
    return KorText::Format(u"%s %s - %i %s", u"Download Completed", facts.fileName, facts.count,
                           u"bytes");
  case LinkStatus::UploadCompleted:
    return KorText::Format(u"%s %s - %i %s.", u"Upload Completed", facts.fileName, facts.count,
                           u"bytes in file");
  case LinkStatus::DirectoryError:
    return KorText::Format(u"%s: %s", u"Directory Listing", u"Error");
  default:
    return previous;
  }
}

bool EndsJob(LinkStatus code) {
  const auto number = static_cast<std::int32_t>(code);
  return number == 9 || number == 10 || (number >= 14 && number <= 20) ||
         (number >= 23 && number <= 28);
}

bool IsExchange(LinkStatus code) {
  return code == LinkStatus::DownloadWaiting || code == LinkStatus::DownloadPreparation ||
         code == LinkStatus::Downloading || code == LinkStatus::Uploading;
}

StatusBoard::StatusBoard(std::function<void(const EndedJob&)> jobReceiver)
    : onJob(std::move(jobReceiver)) {}

void StatusBoard::Set(LinkStatus newCode) {
  const Lock lock(mutex);
  code = newCode;
  ++settings;
}

void StatusBoard::SetFileName(const KorText& name) {
  const Lock lock(mutex);
  facts.fileName = name;
}

void StatusBoard::SetMachine(const KorText& machine, bool serverRole) {
  const Lock lock(mutex);
  facts.machineName = machine;
  facts.serverRole = serverRole;
}

void StatusBoard::SetProgress(std::int64_t position, std::int64_t range) {
  progress = position;
  progressRange = range;
}

KorText StatusBoard::FormLine(LinkStatus now) {
  facts.count = count;
  facts.total = total;
  // A job ends when its code is set, not each time it is shown: one job, one line.
  const bool toLog = EndsJob(now) && loggedSetting != settings;
  loggedSetting = settings;
  line = StatusText(now, facts, line);
  if (toLog) TellJob(now);
  if (now == LinkStatus::UnexpectedError) {
    // Intended: the display ends on the file format error, and the job log gets both lines.
    line = StatusText(LinkStatus::FormatError, facts, line);
    if (toLog) TellJob(LinkStatus::FormatError);
  }
  return line;
}

void StatusBoard::TellJob(LinkStatus ended) {
  if (onJob) onJob({static_cast<std::int32_t>(ended), line, facts.fileName, {}});
}

StatusView StatusBoard::Form() {
  const Lock lock(mutex);
  StatusView view;
  const LinkStatus now = code;
  view.code = static_cast<std::int32_t>(now);
  view.line = FormLine(now);
  view.fileName = facts.fileName;
  view.bytes = facts.count;
  view.size = now == LinkStatus::Uploading ? 0 : facts.total;
  view.count = progress;
  view.range = progressRange;
  for (std::size_t lamp = 0; lamp < kLampCount; ++lamp)
    view.lamps[lamp] = lamps[lamp];
  return view;
}

} // namespace kor
