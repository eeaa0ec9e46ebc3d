#include "app/nce_app.h"

#include <algorithm>

#include "app/nce_directory.h"
#include "app/nce_frame.h"
#include "files/member.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr std::uint8_t kCarriageReturn = 13;
constexpr std::int32_t kMostRefusals = 3;
constexpr std::int64_t kUploadRange = 10000; // of the progress bar; an upload's size is not known
constexpr std::size_t kShortestData = 4;     // length and checksum digits of an upload line

// A whole line that can be no part of a frame.
bool IsPlainRequest(const KorText& line) {
  for (const char16_t* word : {u"~end", u"~", u"DH", u"XYZ"})
    if (line == word) return true;
  const bool named = line.StartsWith(u"FH ") || line.StartsWith(u"TH ");
  return named && line.View().find_first_not_of(u"0123456789 \t", 3) == KorText::kNone;
}

struct FeatureField {
  int number;
  const char16_t* key;
  int text; // dictionary number of the label
  const char16_t* label;
  std::int32_t SpecialFeatures::*member;
  bool ofAutoload = false; // framed as "Autoload Options"
};
constexpr FeatureField kFeatureFields[] = {
    {503, u"autoload", 15303, u"Autoload sequential files", &SpecialFeatures::autoloadSequential,
     true},
    {505, u"hybrid", 15305, u"Use LLLSSES LINDE/NCE hybrid format number",
     &SpecialFeatures::hybridNumber, true},
    {504, u"strip-pc", 15304, u"Strip Leading Zeros From PC Filename",
     &SpecialFeatures::stripPcZeros},
    {506, u"strip-nce", 15306, u"Strip Leading Zeros From NCE Filename",
     &SpecialFeatures::stripNceZeros},
};
constexpr const char16_t* kFeatureNote =
    u"LLLSSES format comprises a three digit lot number (LLL) , a two digit start sheet (SS) and a "
    u"two digit end sheet (ES). e.g. 3730417 loads sheets 37304 to 37317";

// A disabled box keeps its check mark and its value.
void EnableFeatureFields(std::vector<FormField>& fields) {
  const auto find = [&](int number) {
    return std::find_if(fields.begin(), fields.end(),
                        [number](const FormField& field) { return field.number == number; });
  };
  const auto autoload = find(503), hybrid = find(505), stripPc = find(504);
  if (autoload == fields.end() || hybrid == fields.end() || stripPc == fields.end()) return;
  hybrid->enabled = autoload->value == u"1";
  stripPc->enabled = !(autoload->value == u"1" && hybrid->value == u"1");
}

} // namespace

KorText ModelNameOf(const KorText& commandLine) {
  return commandLine.IsEmpty() ? KorText(kDefaultModelName) : commandLine;
}

NCEApp::NCEApp(EngineServices engineServices, const KorText& commandLine)
    : DownloadApp(std::move(engineServices), ModelNameOf(commandLine)),
      simulation(commandLine.Contains(u"SIMULATION")), model500(commandLine.Contains(u"500")) {
  windowSettings.fileExtension = u"MPG";
}

std::span<const MemberDescription> NCEApp::Members() {
  static constexpr auto kFeatures = &NCEApp::windowFeatures;
  static constexpr MemberDescription kMembers[] = {
      Member<kFeatures, &SpecialFeatures::autoloadSequential>(u"autoload sequential files"),
      Member<kFeatures, &SpecialFeatures::stripPcZeros>(u"strip PC zeros"),
      Member<kFeatures, &SpecialFeatures::stripNceZeros>(u"strip NCE zeros"),
      Member<kFeatures, &SpecialFeatures::hybridNumber>(u"LLLSSES number"),
  };
  return kMembers;
}

// The features end their record; the engine's settings follow as one of their own.
void NCEApp::Transfer(DiskFile& file) {
  file.TransferMembers(*this, Members());
  EndRecord(file);
  file.TransferBase<DownloadApp>(*this);
}

void NCEApp::BuildWindow() {
  DownloadApp::BuildWindow();
  services.window->ShowSpecialButton();
}

NCEApp::~NCEApp() {
  StopWorker();
} // it uses the members that go now

void NCEApp::BeforeServing() {
  workerFeatures = windowFeatures;
}

// --- Requests ------------------------------------------------------------------------------------------

void NCEApp::Reply(const KorText& text) {
  channel.SendText(KorText::Format(u"%s%c", text, static_cast<char16_t>(kCarriageReturn)));
}

void NCEApp::ProcessReceived() {
  // A reply that the line has not taken yet holds back the next request.
  while (!channel.IsReplyWaiting() && !IsEnding()) {
    const auto line = channel.ExtractLine(kCarriageReturn, false);
    if (!line) return;
    if (line->empty()) return; // intended: what follows an empty line waits for the next call
    Dispatch(KorText::FromBytes(*line));
  }
}

// What still comes of an upload that has ended on this side is refused until its end mark or a request
// that can be nothing else: a comment such as "(DEPTH 5)" holds the text of one. True when that was the
// line.
bool NCEApp::RefuseRest(const KorText& line) {
  if (!upload.IsEndMarkAwaited() || line == u">" || line == u"<") return false;
  const bool isRequest = IsPlainRequest(line.Trimmed());
  const bool isEndMark = line.Trimmed().EndsWith(u"]") && !line.Contains(u"!");
  if (isRequest || isEndMark) upload.EndMarkCame();
  if (!isRequest) Reply(u"<");
  return !isRequest;
}

// The first test that holds decides; each looks for its text anywhere in the line.
void NCEApp::Dispatch(const KorText& line) {
  if (Status() == LinkStatus::Uploading) {
    OnUploadData(line);
  } else if (RefuseRest(line)) {
    return;
  } else if (line.Contains(u"~end")) {
    BreakOffDownload();
    Reply(u"END");
  } else if (line.Contains(u"~")) {
    BreakOffDownload();
    Reply(u"UDL>");
  } else if (line.Contains(u"DH")) {
    OnDirectoryRequest();
  } else if (line.Contains(u"XYZ")) {
    OnLoopTest();
  } else if (line.Contains(u"TH ")) {
    OnUploadRequest();
  } else if (line.Contains(u"FH ")) {
    OnDownloadRequest(line);
  } else if (line.Contains(u">")) {
    OnAcknowledge();
  } else if (line.Contains(u"<")) {
    OnRefuse();
  } else if (Status() == LinkStatus::Downloading) {
    BreakOffDownload();
  } else {
    Reply(u"%% Message not recognised by HOST");
  }
}

void NCEApp::BreakOffDownload() {
  if (Status() != LinkStatus::Downloading) return;
  EnterStatus(LinkStatus::DownloadErrors);
  FinishTransfer();
}

void NCEApp::OnLoopTest() {
  FinishTransfer(); // it takes the place of a download that ran; so below
  EnterStatus(LinkStatus::LoopBackTest);
  Reply(u"ABCDEFGHIJKLMNOPQRSTUVWXYZ");
}

// --- Names ---------------------------------------------------------------------------------------------

void NCEApp::ShowNumberTitle() {
  ShowTitle(modelName + u"  " + numberText);
}

void NCEApp::ApplyHybridNumber() {
  const HybridNumber split = SplitHybridNumber(numberText);
  numberText = split.firstSheet;
  hybridLastSheet = split.lastSheet;
}

// The folder carries its own separator.
KorText NCEApp::MakePcFileName(const KorText& folder) {
  numberText = RequestNumber(requestText);
  if (workerFeatures.hybridNumber != 0) ApplyHybridNumber();
  const bool chainOfSheets =
      workerFeatures.autoloadSequential != 0 && workerFeatures.hybridNumber != 0;
  if (workerFeatures.stripPcZeros != 0 && !chainOfSheets)
    numberText = StripLeadingZeros(numberText);
  pcFilePath = folder + numberText + u"." + workerSettings.fileExtension;
  ShowNumberTitle();
  return pcFilePath;
}

KorText NCEApp::MakeModel500FileName(const KorText& folder) {
  numberText = Model500Name(requestText);
  pcFilePath = folder + numberText; // the name brings its extension
  ShowNumberTitle();
  return pcFilePath;
}

// --- Download ------------------------------------------------------------------------------------------

void NCEApp::OnDownloadRequest(const KorText& line) {
  requestText = line;
  board.SetFileName(RequestNumber(line)); // until its file is known
  DelayDownload();
}

NcProgram::Result NCEApp::OpenProgram(const KorText& path) {
  board.SetFileName(path);
  return NamesFile(numberText) ? ReadProgram(path) : NcProgram::Result::CantOpen;
}

void NCEApp::StartDownload() {
  FinishTransfer();
  upload.Discard();
  frameText.clear(); // a refusal before the first frame must not bring back the program before
  nakCount = 0;
  const KorText folder = workerSettings.downloadPath;
  auto opened = NcProgram::Result::CantOpen;
  if (model500) opened = OpenProgram(MakeModel500FileName(folder));
  // Only where there is no such file: one that is refused must not bring another program.
  if (opened == NcProgram::Result::CantOpen) opened = OpenProgram(MakePcFileName(folder));
  if (opened != NcProgram::Result::Read) {
    EnterStatus(LinkStatus::DownloadCantOpen);
    Reply(KorText::Format(u"%%%% File %s not found on Host Computer", numberText));
    return;
  }
  const auto size = static_cast<std::int64_t>(program.FileSize());
  board.BeginCount(size);
  EnterStatus(LinkStatus::DownloadPreparation);
  const std::int32_t number = numberText.ToInteger();
  // Intended: only the form without zeros carries the words.
  if (workerFeatures.stripNceZeros != 0)
    Reply(KorText::Format(u"Download to NCE in progress. &LP %i", number));
  else
    Reply(KorText::Format(u"&LP %09i", number));
}

void NCEApp::OnAcknowledge() {
  nakCount = 0;
  switch (Status()) {
  case LinkStatus::Downloading:
    SendNextFrame();
    break;
  case LinkStatus::DownloadPreparation:
    EnterStatus(LinkStatus::Downloading);
    Reply(KorText::Format(workerFeatures.stripNceZeros != 0
                              ? u"Download to NCE in progress. &FH %i"
                              : u"Download to NCE in progress. &FH %09i",
                          numberText.ToInteger()));
    break;
  case LinkStatus::DirectoryListing:
  case LinkStatus::DirectoryError: // the list is empty
    SendDirectoryPage();
    break;
  case LinkStatus::DownloadCompleted:
  case LinkStatus::UploadCompleted:
    if (!simulation) Reply(u"UDL>");
    break;
  default:
    Reply(u">");
    if (unexpectedAckCount < INT32_MAX) ++unexpectedAckCount;
    return;
  }
  unexpectedAckCount = 0;
}

// Whole lines, each followed by "!"; empty lines are never sent.
std::string NCEApp::NextBlock() {
  std::string block;
  while (block.size() <= kFullBlock) {
    const auto line = program.NextLine();
    if (!line) break;
    if (line->empty()) continue;
    block += *line;
    block += '!';
  }
  return block;
}

void NCEApp::SendNextFrame() {
  // A file of an autoload chain without a line to send brings no frame: the file after it answers the
  // same ">", so that the controller never waits for nothing.
  do
    SendFrameOrEnd();
  while (frameText.empty() && Status() == LinkStatus::Downloading);
}

void NCEApp::SendFrameOrEnd() {
  const std::string block = NextBlock();
  frameText.clear();
  if (!block.empty()) {
    frameText = MakeFrame(block);
    board.AddCount(static_cast<std::int64_t>(block.size()) + 2);
    EnterStatus(LinkStatus::Downloading);
    ShowProgress(board.Count(), board.Total());
    channel.SendBytes(frameText);
  }
  if (!program.AtEnd()) return;
  if (workerFeatures.autoloadSequential != 0 && !manual.IsRunning())
    LoadNextSequentialFile();
  else
    EndDownload();
}

void NCEApp::EndDownload() {
  board.SetCount(board.Total());
  EnterStatus(LinkStatus::DownloadCompleted);
  Reply(u"]");
  FinishTransfer();
}

// The next file of the chain follows in the same stream: the controller's next ">" brings its first
// frame, with no end mark between the files.
void NCEApp::LoadNextSequentialFile() {
  const auto next = NextNumber(numberText, workerFeatures, hybridLastSheet);
  if (!next) {
    EndDownload();
    return;
  }
  const KorText path = workerSettings.downloadPath + *next + u"." + workerSettings.fileExtension;
  const NcProgram::Result opened = ReadProgram(path);
  if (opened == NcProgram::Result::CantOpen) {
    EndDownload();
    ShowTitle(numberText); // intended: without the model name, as for the files of a chain
    return;
  }
  if (opened != NcProgram::Result::Read) { // the end mark would say that all is there
    board.SetFileName(path);
    BreakOffDownload();
    return;
  }
  numberText = *next;
  pcFilePath = path;
  board.SetFileName(path);
  ShowTitle(numberText);
  const auto size = static_cast<std::int64_t>(program.FileSize());
  board.BeginCount(size);
  EnterStatus(LinkStatus::Downloading);
}

void NCEApp::OnRefuse() {
  if (Status() != LinkStatus::Downloading) return;
  if (++nakCount >= kMostRefusals) {
    ShowProgress(0, 0);
    EnterStatus(LinkStatus::DownloadErrors);
    FinishTransfer();
    return;
  }
  channel.SendBytes(frameText);
}

bool NCEApp::LoadTransfer(const KorText& path, std::int64_t& size) {
  frameText.clear();
  nakCount = 0;
  if (ReadProgram(path) != NcProgram::Result::Read) return false;
  size = static_cast<std::int64_t>(program.FileSize());
  return true;
}

// --- Upload --------------------------------------------------------------------------------------------

// Intended: the number is that of the last "FH " request; what follows "TH " plays no part.
void NCEApp::OnUploadRequest() {
  FinishTransfer();
  const KorText path = MakePcFileName(workerSettings.uploadPath);
  board.SetFileName(path);
  if (!NamesFile(numberText) || !OpenUpload(path)) {
    EnterStatus(LinkStatus::UploadCantOpen);
    Reply(u"%% Unable to create file on Host Computer");
    return;
  }
  board.SetCount(0);
  ShowProgress(0, kUploadRange);
  EnterStatus(LinkStatus::Uploading);
  Reply(
      KorText::Format(u"Upload from NCE  in progress. &TH %s", numberText)); // two blanks intended
}

void NCEApp::OnUploadData(const KorText& line) {
  if (line.Contains(u"]")) {
    OnUploadEnd();
    return;
  }
  if (line.Length() < kShortestData) {
    Reply(u"<");
    return;
  }
  // Length and checksum digits are stripped and, leniently, not checked.
  std::string data = line.Mid(2, line.Length() - kShortestData).ToBytes();
  std::replace(data.begin(), data.end(), '!', '\n');
  if (!upload.Write(data)) {
    OnUploadFailed();
    return;
  }
  board.AddCount(static_cast<std::int64_t>(line.Length()));
  ShowProgress(std::min(board.Count(), kUploadRange), kUploadRange);
  Reply(u">");
}

void NCEApp::OnUploadFailed() {
  upload.Discard();
  ShowProgress(0, 0);
  EnterStatus(LinkStatus::UploadErrors);
  Reply(u"<");
  FinishTransfer();
}

void NCEApp::OnUploadEnd() {
  upload.EndMarkCame();
  if (!CommitUpload()) {
    OnUploadFailed();
    return;
  }
  ShowProgress(0, 0);
  EnterStatus(LinkStatus::UploadCompleted);
  Reply(u">");
  FinishTransfer();
}

// --- Directory -----------------------------------------------------------------------------------------

void NCEApp::OnDirectoryRequest() {
  FinishTransfer();
  EnterStatus(LinkStatus::DirectoryListing);
  Reply(u"Directory of Host Computer\nSelect File. &DH");
  auto list = ListNcFiles(workerSettings.downloadPath, workerSettings.fileExtension);
  if (!list) {
    EnterStatus(LinkStatus::DirectoryError);
  }
  directoryList = std::move(list).value_or(std::vector<KorText>());
  directoryRemaining = directoryList.size();
}

void NCEApp::SendDirectoryPage() {
  std::size_t at = directoryList.size() - directoryRemaining;
  Reply(DirectoryPage(directoryList, at));
  directoryRemaining = directoryList.size() - at;
}

// --- Simulation ----------------------------------------------------------------------------------------

void NCEApp::PollIdle() {
  if (!simulation || channel.IsSending()) return; // a held line has not taken the last reply yet
  if (Status() == LinkStatus::Waiting) {
    requestText = u"FH 0000001";
    DownloadNow();
  } else {
    OnAcknowledge();
  }
}

// --- Special features ----------------------------------------------------------------------------------

void NCEApp::SetFeatures(const SpecialFeatures& changed) {
  windowFeatures = changed;
  KeepSettings();
  RunOnWorker([this, changed] { workerFeatures = changed; });
}

FormDescription NCEApp::SpecialForm() const {
  FormDescription form;
  form.caption = LookUpText(15300, u"Special Features");
  form.note = LookUpText(15308, kFeatureNote);
  for (const FeatureField& feature : kFeatureFields) {
    FormField field{feature.number,
                    feature.key,
                    LookUpText(feature.text, feature.label),
                    FieldKind::Check,
                    windowFeatures.*feature.member != 0 ? u"1" : u"0",
                    {}};
    if (feature.ofAutoload) {
      field.groupNumber = 15307;
      field.group = LookUpText(15307, u"Autoload Options");
    }
    form.fields.push_back(field);
  }
  form.updateEnabled = EnableFeatureFields;
  return form;
}

void NCEApp::AcceptSpecialForm(const FormDescription& form) {
  SpecialFeatures changed = windowFeatures;
  for (const FeatureField& feature : kFeatureFields)
    if (const FormField* field = form.Find(feature.key))
      changed.*feature.member = field->value == u"1" ? 1 : 0;
  SetFeatures(changed);
}

void NCEApp::SpecialDialog() {
  FormDescription form = SpecialForm();
  if (services.window->RunForm(form)) AcceptSpecialForm(form);
}

} // namespace kor
