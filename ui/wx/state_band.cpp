#include "ui/wx/state_band.h"

#include <algorithm>

#include <wx/dcclient.h>

#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/native_look.h"
#include "ui/wx/press_button.h"
#include "ui/wx/theme.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kStatusText = kTexts.status.number;
constexpr int kProgressLabel = kTexts.progress.number;
constexpr int kSide = 96; // device-independent pixels of the sign
constexpr int kMargin = 12, kGap = 4;
constexpr int kBarHeight = 28, kLeastBar = 160;
constexpr int kUsualWidth = 600, kUsualHeight = 450; // of a window with letters of the usual size
constexpr double kMostScale = 3;
constexpr int kWordPoints = 30; // 40 pixels at 96 dots an inch
constexpr int kLeastPoints = 9;
constexpr double kSmaller = 0.9; // from one size of letters to the next that is tried
constexpr float kStatusLetters = 0.95F, kAdviceLetters = 1.15F;
constexpr double kAdviceGrowth = 0.6; // as a share of the word's
constexpr int kGaugeRange = 1000;
constexpr std::size_t kStatusWidth = 70; // characters
constexpr std::size_t kMeasuredSamples = 3;

// Returns "20 %  833 B/s  0:19 left", or the bytes where the whole size isn't known, as far as
// there is something to tell. Figure spaces are as wide as digits, so what follows stays in its
// place.
KorText Figures(const Situation& now) {
  const StatusView& view = now.view;
  if (!IsTransfer(view.code)) return {};
  KorText text = ShareText(view);
  if (text.IsEmpty())
    text = GroupedDigits(view.bytesDone) + u" " + LookUpText(kTexts.jobsBytes);
  else
    text = text.PaddedRight(4, u'\u2007');
  for (const KorText& part : {RatePart(now.pace), LeftPart(view, now.pace)})
    if (!part.IsEmpty()) text += u"   " + part;
  return text;
}

} // namespace

StateBand::StateBand(wxWindow* parent) : wxPanel(parent) {
  sign = new wxStaticBitmap(this, wxID_ANY, DrawnSign(Sign::Idle, *wxBLACK, kSide));
  word = MakePlainText(this, wxID_ANY, {}, wxST_NO_AUTORESIZE);
  program = MakePlainText(this, wxID_ANY, {}, wxST_ELLIPSIZE_MIDDLE | wxST_NO_AUTORESIZE);
  statusLine = new wxTextCtrl(this, kStatusText, {}, wxDefaultPosition, wxDefaultSize,
                              wxTE_READONLY | wxBORDER_NONE);
  ShortenDrawing(statusLine);
  SetSpokenName(statusLine, LookUpText(kTexts.status));
  advice = MakePlainText(this, wxID_ANY, {}, wxST_NO_AUTORESIZE);
  auto* const words = new wxBoxSizer(wxVERTICAL);
  words->Add(word, wxSizerFlags().Expand());
  words->Add(program, wxSizerFlags().Expand());
  auto* const head = new wxBoxSizer(wxHORIZONTAL);
  head->Add(sign, wxSizerFlags().CentreVertical().Border(wxRIGHT, FromDIP(kMargin)));
  head->Add(words, wxSizerFlags(1).CentreVertical());
  parts = new wxBoxSizer(wxVERTICAL);
  const auto below = wxSizerFlags().Expand().Border(wxTOP, FromDIP(kGap));
  parts->Add(head, wxSizerFlags().Expand());
  parts->Add(statusLine, below);
  parts->Add(advice, below);
  auto* const frame = new wxBoxSizer(wxVERTICAL);
  frame->Add(parts, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kMargin)));
  SetSizer(frame);
}

// Label, bar and figures together are as high as the buttons, whether the buttons are shown or not.
void StateBand::MakeProgress() {
  const KorText name = LookUpText(kTexts.progress);
  label = MakePlainText(this, kProgressLabel, ToLabel(name));
  gauge = new wxGauge(this, wxID_ANY, kGaugeRange, wxDefaultPosition,
                      FromDIP(wxSize(kLeastBar, kBarHeight)), wxGA_HORIZONTAL | wxGA_SMOOTH);
  SetSpokenName(gauge, name);
  figures = MakePlainText(this, wxID_ANY, {}, wxST_NO_AUTORESIZE);
  auto* const measure = new wxBoxSizer(wxVERTICAL);
  measure->Add(label, wxSizerFlags().Expand());
  measure->Add(gauge, wxSizerFlags().Expand());
  measure->Add(figures, wxSizerFlags().Expand());
  progress = new wxBoxSizer(wxHORIZONTAL);
  progress->Add(measure, wxSizerFlags(1).CentreVertical());
  progress->Add(0, FromDIP(kOperatorHeight));
  parts->Add(progress, wxSizerFlags().Expand().Border(wxTOP, FromDIP(kGap)));
}

void StateBand::AddButtons(wxButton* complete, wxButton* cancel) {
  buttons = {complete, cancel};
  const auto beside = wxSizerFlags().CentreVertical().Border(wxLEFT, FromDIP(kMargin));
  for (wxButton* const button : buttons) {
    button->SetLabel(InTwoLines(button->GetLabel()));
    CentreLines(button);
    button->SetMinSize({-1, FromDIP(kOperatorHeight)});
    button->Hide();
  }
  progress->Add(complete, beside);
  progress->Add(cancel, wxSizerFlags(beside).ReserveSpaceEvenIfHidden());
}

// --- What is shown ---

void StateBand::Show(const Situation& now) {
  const bool isNewSign = !shown || SignOf(now) != SignOf(*shown) || ToneOf(now) != tone;
  shown = now;
  if (isNewSign) ApplyColours();
  ShowWords();
  ShowStatusLine();
  ShowProgress();
}

void StateBand::ShowWords() {
  const wxString words = ToWx(WordOf(*shown)), number = ToWx(ProgramOf(shown->view));
  if (word->GetLabelText() == words && program->GetLabelText() == number) return;
  word->SetLabelText(words);
  program->SetLabelText(number);
  program->SetToolTip(number);
  SetSpokenName(sign, FromWx(words + " " + number).Trimmed());
  FitTo({room, -1});
}

void StateBand::ShowStatusLine() {
  const wxString line = ToWx(shown->view.line.PaddedRight(kStatusWidth));
  if (statusLine->GetValue() == line) return;
  statusLine->ChangeValue(line);
  statusLine->SetToolTip(ToWx(shown->view.line));
}

void StateBand::ShowProgress() {
  const StatusView& view = shown->view;
  const std::int64_t at = std::clamp<std::int64_t>(view.barPosition, 0, view.barRange);
  const int position = view.barRange > 0 ? static_cast<int>(at * kGaugeRange / view.barRange) : 0;
  if (gauge->GetValue() != position) gauge->SetValue(position);
  const wxString words = ToWx(Figures(*shown));
  if (figures->GetLabelText() != words) figures->SetLabelText(words);
}

void StateBand::ShowAdvice(const KorText& text) {
  if (text == advised) return;
  advised = text;
  FitAdvice();
  InvalidateBestSize();
  Layout();
}

void StateBand::ApplyLook() {
  for (wxWindow* const text : {wxStaticCast(label, wxWindow), wxStaticCast(statusLine, wxWindow)})
    text->SetFont(GetFont().Scaled(kStatusLetters));
  statusLine->SetMinSize({1, statusLine->GetBestSize().y});
  for (wxButton* const button : buttons)
    button->SetFont(GetFont().Bold());
  ApplyScale();
}

// Advice and figures grow less than the word, so that the jobs keep room below them.
void StateBand::ApplyScale() {
  const auto grown = static_cast<float>(1 + (scale - 1) * kAdviceGrowth);
  figures->SetFont(WithEqualDigits(GetFont().Bold().Scaled(grown), *this));
  const wxString words = ToWx(LookUpText(kTexts.timeLeft) + LookUpText(kTexts.held));
  figures->SetMinSize({1, std::max(figures->GetCharHeight(), figures->GetTextExtent(words).y)});
  advice->SetFont(GetFont().Scaled(kAdviceLetters * grown));
  adviceRoom = -1;
  ApplyColours();
}

void StateBand::ApplyColours() {
  tone = shown ? ToneOf(*shown) : Tone::Neutral;
  drawnSign = shown ? SignOf(*shown) : Sign::Idle;
  const ToneColours colours = ColoursOf(*tone);
  SetBackgroundColour(colours.ground);
  for (wxStaticText* const text : {word, program, advice, figures})
    text->SetForegroundColour(colours.strong);
  for (wxWindow* const text : {wxStaticCast(label, wxWindow), wxStaticCast(statusLine, wxWindow)})
    text->SetForegroundColour(colours.plain);
  BlendIn(statusLine);
  StyleBar(gauge, kBarHeight, colours.bar, colours.trough);
  const int side = static_cast<int>(kSide * scale);
  sign->SetBitmap(DrawnSign(drawnSign, colours.strong, side));
  Refresh();
}

// --- Sizes ---

int StateBand::TextRoom() const {
  return room - 2 * FromDIP(kMargin);
}

// Letters of other alphabets come from other fonts, which may be higher.
void StateBand::FitWord(wxStaticText* text, const wxFont& font) const {
  const int width = TextRoom() - FromDIP(static_cast<int>(kSide * scale) + kMargin);
  const wxString words = text->GetLabelText();
  wxFont tried = font;
  wxSize needed;
  for (;;) {
    text->GetTextExtent(words.empty() ? "0" : words, &needed.x, &needed.y, nullptr, nullptr,
                        &tried);
    if (needed.x <= width || tried.GetPointSize() <= kLeastPoints) break;
    tried.SetFractionalPointSize(tried.GetFractionalPointSize() * kSmaller);
  }
  if (tried != text->GetFont()) text->SetFont(tried);
  int usual = 0;
  text->GetTextExtent("0", nullptr, &usual, nullptr, nullptr, &font);
  text->SetMinSize({1, std::max(usual, needed.y)});
}

// A height of -1 keeps the scale.
void StateBand::FitTo(const wxSize& window) {
  room = window.x;
  const double before = scale;
  if (window.y > 0)
    scale = std::clamp(
        std::min(ToDIP(window).x / double(kUsualWidth), ToDIP(window).y / double(kUsualHeight)),
        1.0, kMostScale);
  if (scale != before) ApplyScale();
  wxFont large = GetFont();
  large.SetFractionalPointSize(kWordPoints * scale);
  FitWord(word, large.Bold());
  FitWord(program, large);
  FitAdvice();
  gauge->SetMinSize({std::max(FromDIP(kLeastBar), room / 3), gauge->GetMinSize().y});
  InvalidateBestSize();
  Layout();
}

wxString StateBand::AdviceLines(const KorText& text) const {
  return InLines(text, *advice, TextRoom());
}

// The toolkit never makes a text's best size smaller than its present size, and the height of its
// letters is that of Latin ones.
int StateBand::HeightOf(const wxString& adviceInLines) const {
  wxClientDC dc(advice);
  dc.SetFont(advice->GetFont());
  return dc.GetMultiLineTextExtent(adviceInLines).y;
}

// Room is kept for the longest text that is usual. While there is no link the text may need more.
void StateBand::FitAdvice() {
  if (adviceRoom != TextRoom()) {
    adviceRoom = TextRoom();
    std::vector<KorText> samples = AdviceSamples();
    const auto width = [this](const KorText& text) { return advice->GetTextExtent(ToWx(text)).x; };
    std::ranges::partial_sort(samples, samples.begin() + kMeasuredSamples, std::greater(), width);
    adviceHeight = 0;
    for (std::size_t at = 0; at < kMeasuredSamples; ++at)
      adviceHeight = std::max(adviceHeight, HeightOf(AdviceLines(samples[at])));
  }
  const wxString lines = AdviceLines(advised);
  if (advice->GetLabelText() != lines) advice->SetLabelText(lines);
  advice->SetMinSize({1, std::max(adviceHeight, HeightOf(lines))});
}

} // namespace kor
