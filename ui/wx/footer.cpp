#include "ui/wx/footer.h"

#include <wx/sizer.h>

#include "services/core/version.h"
#include "ui/state_words.h"
#include "ui/wx/accessible.h"
#include "ui/wx/theme.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kGap = 8;        // device-independent pixels
constexpr int kLeastText = 60; // device-independent pixels; more of it is shown in the tool tip
constexpr float kLetters = 0.9F;

void Say(wxStaticText* text, const wxString& words) {
  if (text->GetLabelText() == words) return;
  text->SetLabelText(words);
  text->SetToolTip(words);
}

} // namespace

KorText LineWords(const LinkSettings& settings, const KorText& portName) {
  return KorText::Format(u"%s \u00b7 %s %s%s%s \u00b7 %s", portName, settings.baudrate,
                         settings.databits, settings.parity.Left(1), settings.stopbits,
                         settings.flowControl);
}

Footer::Footer(wxWindow* parent) : wxPanel(parent) {
  port = MakeText(wxST_ELLIPSIZE_MIDDLE);
  folder = MakeText(wxST_ELLIPSIZE_MIDDLE);
  trace = MakeText(wxST_ELLIPSIZE_MIDDLE);
  version = MakeText();
  version->SetLabelText(ToWx(kReleaseVersion));
  auto* const places = new wxBoxSizer(wxHORIZONTAL);
  places->Add(folder, wxSizerFlags(1).Expand());
  places->Add(trace, wxSizerFlags(1).Expand().Border(wxLEFT, FromDIP(kGap)));
  auto* const lines = new wxBoxSizer(wxVERTICAL);
  lines->Add(port, wxSizerFlags().Expand());
  lines->Add(places, wxSizerFlags().Expand());
  auto* const row = new wxBoxSizer(wxHORIZONTAL);
  row->Add(lines, wxSizerFlags(1).CentreVertical());
  row->Add(version, wxSizerFlags().CentreVertical().Border(wxLEFT, FromDIP(kGap)));
  SetSizer(row);
  trace->Hide();
}

void Footer::AddHelp(wxButton* help) {
  GetSizer()->Add(help, wxSizerFlags().CentreVertical().Border(wxLEFT, FromDIP(kGap)));
}

wxStaticText* Footer::MakeText(long style) {
  auto* const text = MakePlainText(this, wxID_ANY, {}, style | wxST_NO_AUTORESIZE);
  text->SetFont(GetFont().Scaled(kLetters));
  if (style != 0) text->SetMinSize({FromDIP(kLeastText), text->GetCharHeight()});
  text->SetForegroundColour(ColourOf(kQuietText));
  return text;
}

void Footer::ShowSettings(const LinkSettings& settings, const KorText& portName) {
  Say(port, ToWx(LineWords(settings, portName)));
  const wxString folders = ToWx(settings.uploadPath == settings.downloadPath
                                    ? settings.downloadPath
                                    : settings.downloadPath + u" \u00b7 " + settings.uploadPath);
  if (folder->GetLabelText() != folders) Colour(folder, folderFails = false);
  Say(folder, folders);
  Layout();
}

void Footer::ShowTrace(const KorText& words, bool isWrong) {
  const bool isNew = trace->IsShown() == words.IsEmpty() || isWrong != traceFails;
  traceFails = isWrong;
  Say(trace, ToWx(words));
  if (!isNew) return;
  trace->Show(!words.IsEmpty());
  Colour(trace, traceFails);
  Layout();
}

void Footer::Colour(wxStaticText* text, bool isWrong) {
  text->SetForegroundColour(ColourOf(isWrong ? kFailedText : kQuietText));
  text->Refresh();
}

// A program that is not there says nothing of its folder, unless a note tells that this is away.
void Footer::Follow(const StatusView& view) {
  using enum LinkStatus;
  const LinkStatus code = view.code;
  const bool noPort = code == NoLink;
  const bool fails = code == DirectoryError || code == UploadCantOpen || IsFolderAway(view);
  const bool works = code == DirectoryListing || IsTransfer(code);
  const bool noFolder = fails || (folderFails && !works);
  if (noPort == portFails && noFolder == folderFails) return;
  portFails = noPort;
  folderFails = noFolder;
  ApplyLook();
}

void Footer::ApplyLook() {
  Colour(port, portFails);
  Colour(folder, folderFails);
  Colour(trace, traceFails);
  Colour(version, false);
  for (wxStaticText* const text : {port, folder, trace, version})
    text->SetFont(GetFont().Scaled(kLetters));
}

} // namespace kor
