// The main window, its dialogs and messages: every control operated by simulated mouse and
// keyboard.
#include "tests/window/robot.h"

#include <wx/choice.h>
#include <wx/dataview.h>
#include <wx/dcscreen.h>
#include <wx/display.h>
#include <wx/gauge.h>
#include <wx/settings.h>
#include <wx/statbmp.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "services/dictionary/dictionary.h"
#include "ui/wx/form_window.h"
#include "ui/wx/guide.h"
#include "ui/wx/lamp_strip.h"
#include "ui/wx/theme.h"

namespace kor::window_test {
namespace {

using support::ReadWholeFile;
using support::WriteWholeFile;

wxString Result(wxWindow* window, unsigned row) {
  constexpr unsigned kResult = 4;
  auto* const list = FindA<wxDataViewListCtrl>(window);
  return static_cast<int>(row) < list->GetItemCount() ? list->GetTextValue(row, kResult) : "";
}

TEST_F(Window, AFetchedProgramShowsAndItsJobIsListed) {
  WriteWholeFile(folders / "cnc/7.MPG", "N1 X1\n");
  Open();
  Shows(u"Waiting...");
  robot.Do("padded",
           [] { EXPECT_EQ(static_cast<wxTextCtrl*>(Find(15201))->GetValue().length(), 70U); });
  robot.Clicks(15207);
  robot.Then("unfolded beside the rest", [] {
    return Find(15209) && Find(15210) && Find(15202) && Find(15259) && IsChecked(15207);
  });
  robot.Then("a lamp", [this] {
    line.Send("\x11");
    return FindA<LampStrip>(window)->IsOn(kLampReceive);
  });
  robot.Do("fetch", [this] {
    EXPECT_NE(line.Exchange("FH 7").find("&LP"), std::string::npos);
    for (int frames = 0; frames < 3; ++frames)
      if (line.Exchange(">") == "]") break;
  });
  Shows(KorText::FromUtf8("Download Completed " + (folders / "cnc/7.MPG") + " - 6 bytes"));
  robot.Then("in the monitor",
             [this] { return window->Monitor().Text().GetValue().Contains("RX FH 7[0d]"); });
  robot.Then("listed", [this] { return Result(window, 0) == "Received by the machine"; });
  robot.Do("ask for the jobs of today", [this] {
    app->AskJobsOfToday([this](const auto& jobs) { window->AddEarlierJobs(jobs); });
  });
  robot.Then("kept", [this] { return Result(window, 1) == Result(window, 0); });
  robot.Run();
  EXPECT_TRUE(window->GetTitle().StartsWith("NCE")) << window->GetTitle();
}

TEST_F(Window, LastNightsJobsStandBelowTheirDate) {
  Open();
  auto* const table = new JobTable(window);
  const auto job = [](int month, int day, LinkStatus code, const KorText& note = {}) {
    return EndedJob{code, u"Words", {}, {.year = 2026, .month = month, .day = day}, note};
  };
  const auto shows = [&](const std::vector<std::string>& rows) {
    for (unsigned row = 0; row <= rows.size(); ++row)
      EXPECT_EQ(Result(table, row), row < rows.size() ? wxString::FromUTF8(rows[row]) : "") << row;
  };
  table->BeginDay({.year = 2026, .month = 3, .day = 1});
  table->AddEarlier({job(2, 27, LinkStatus::DownloadErrors),
                     job(2, 28, LinkStatus::DownloadCompleted),
                     job(2, 28, LinkStatus::DownloadCompleted)});
  shows({"No transfers yet today", "2026-02-28", "Received by the machine",
         "Received by the machine"});
  table->Add(job(3, 1, LinkStatus::UploadCompleted, u"Why"));
  shows({"Stored on this PC \u2013 Why", "2026-02-28", "Received by the machine",
         "Received by the machine"});
  table->BeginDay({.year = 2026, .month = 3, .day = 2});
  shows({"No transfers yet today", "2026-03-01", "Stored on this PC \u2013 Why"});
}

TEST_F(Window, TheGuideIsFoundBesideTheProgram) {
  const std::filesystem::path shared = folders / "share/doc/ncedl-doc";
  std::filesystem::create_directories(shared);
  std::filesystem::create_directories(folders / "bin");
  const KorText bin = KorText::FromUtf8(folders / "bin");
  const auto said = [&](bool isOpened) {
    return OpenGuideWith(bin, [&](const KorText&) { return isOpened; }).ToUtf8();
  };
  EXPECT_NE(said(true), "");
  for (const char* name : {"user-guide.md", "user-guide.html"}) {
    WriteWholeFile(shared / name, "words");
    EXPECT_TRUE(said(false).ends_with(name)) << said(false);
    EXPECT_EQ(said(true), "");
  }
}

TEST_F(Window, FoldedServiceHidesTheMonitor) {
  Open();
  robot.Then("the focus is on nothing that Enter would press",
             [] { return dynamic_cast<wxDataViewListCtrl*>(Focused()) != nullptr; });
  const auto reads = [this](const char* words) {
    return window->Monitor().Text().GetValue().Contains(words);
  };
  robot.Clicks(15207);
  robot.Then("a line", [=, this] { return line.Send("FH 1\r"), reads("FH 1"); });
  robot.Clicks(15753);
  robot.Then("folded", [] { return !Find(15101)->IsShownOnScreen(); });
  robot.Then("answered", [this] { return !line.Exchange("FH 2").empty(); });
  robot.Clicks(15753);
  robot.Then("open", [] { return Find(15209)->IsShownOnScreen(); });
  robot.Then("a line", [=, this] { return line.Send("FH 3\r"), reads("FH 3"); });
  robot.Do("discarded", [=] { EXPECT_FALSE(reads("FH 2")); });
  robot.Run();
}

TEST_F(Window, HandshakesAndSpecialFeaturesAreTakenOver) {
  Open();
  robot.Clicks(15273);
  robot.Then("taken over",
             [this] { return app->Settings().rtsCtsHandshake == 0 && !IsChecked(15273); });
  robot.Clicks(15274);
  robot.Then("taken over", [this] { return app->Settings().dtrDsrHandshake == 0; });
  robot.Clicks(15270);
  robot.Then("505 waits for 503",
             [] { return Find(505) && !Find(505)->IsEnabled() && Find(504)->IsEnabled(); });
  robot.Then("named", [] { return wxWindow::FindWindowByName("Download Special Dialog"); });
  robot.Clicks(503);
  robot.Clicks(505);
  robot.Then("504 is out", [] { return !Find(504)->IsEnabled(); });
  robot.Clicks(1);
  robot.Then("kept", [this] {
    return app->Features().autoloadSequential == 1 && app->Features().hybridNumber == 1;
  });
  for (const bool byButton : {true, false}) {
    robot.Clicks(15270);
    robot.Clicks(506);
    if (byButton)
      robot.Clicks(2);
    else
      robot.Presses(WXK_ESCAPE);
    robot.Then("dropped", [this] { return !Find(506) && app->Features().stripNceZeros == 0; });
  }
  robot.Run();
}

// A field of the settings: the keys that change it, and what is kept then.
struct Entry {
  int number;
  const char16_t* key; // none: only visited
  std::string typed;   // else the key code
  int pressed;
  std::string kept;
};

// In the order of the Tab key, without a mouse.
void Enter(Robot& robot, const Entry& entry) {
  robot.Then("focus on " + std::to_string(entry.number),
             [number = entry.number] { return FocusNumber() == number; });
  if (!entry.typed.empty()) robot.Types(entry.typed);
  if (entry.pressed != 0) robot.Presses(entry.pressed);
  if (entry.number == 15249)
    robot.Presses(WXK_PAGEDOWN, wxMOD_CONTROL); // the other page
  else
    robot.Presses(WXK_TAB);
  if (entry.number == 15220) robot.Presses(WXK_TAB); // its list has a button of its own
}

void AcceptByReturn(Robot& robot) {
  for (int back = 0; back < 3; ++back) // from the buttons to the file's name
    robot.Presses(WXK_TAB, wxMOD_SHIFT);
  robot.Presses(WXK_RETURN);
  robot.Then("accepted", [] { return !Find(15220); });
}

TEST_F(Window, TheKeyboardReachesEverySetting) {
  const std::string up = folders / "up/", down = folders / "down/", log = folders / "other.log";
  for (const std::string& folder : {up, down})
    std::filesystem::create_directory(folder);
  const Entry entries[] = {
      {15220, u"port", "COM8", 0, "COM8"},
      {15221, u"baudrate", "", WXK_DOWN, "4800"},
      {15222, u"parity", "", WXK_DOWN, "Odd"},
      {15223, u"databits", "", WXK_UP, "7"},
      {15224, u"stopbits", "", WXK_DOWN, "1.5"},
      {15241, u"flow-control", "", WXK_DOWN, "Hardware"},
      {15260, u"send-sot", "", WXK_SPACE, "1"},
      {15264, u"sot-character", "", WXK_DOWN, "DC3"},
      {15261, u"send-eot", "", WXK_SPACE, "1"},
      {15265, u"eot-character", "", WXK_DOWN, "ENQ"},
      {15246, u"character-delay", "12", 0, "12"},
      {15247, u"line-delay", "34", 0, "34"},
      {15249, u"transmit-delay", "5", 0, "5"},
      {15226, u"upload-path", up, 0, up},
      {15238, nullptr, "", 0, ""},
      {15228, u"download-path", down, 0, down},
      {15239, nullptr, "", 0, ""},
      {15232, u"file-extension", "nc", 0, "nc"},
      {15234, u"log-file", log, 0, log},
      {15240, nullptr, "", 0, ""},
      {15235, u"write-log", "", WXK_SPACE, "0"},
  };
  Open();
  robot.Clicks(15101);
  robot.Then("framed", [] { return Find(15234) && Find(15234)->GetParent() == Find(15233); });
  for (const Entry& entry : entries)
    Enter(robot, entry);
  AcceptByReturn(robot);
  robot.Run();
  ASSERT_FALSE(HasFailure());
  const FormDescription kept = app->SettingsForm();
  for (const Entry& entry : entries)
    if (entry.key) {
      EXPECT_EQ(kept.Find(entry.key)->value, KorText::FromUtf8(entry.kept)) << entry.number;
    }
}

TEST_F(Window, BrowsingFillsAFieldAndWhatCannotWorkIsRefusedBesideIt) {
  struct Browse {
    int button, field;
    const char* title;
    std::string path;
  };
  const Browse browses[] = {{15238, 15226, "Upload Path", folders / "up"},
                            {15239, 15228, "Download Path", folders / "down"},
                            {15240, 15234, "Save Log File As", folders / "other.log"}};
  for (const char* folder : {"up", "down"})
    std::filesystem::create_directory(folders / folder);
  WriteWholeFile(folders / "Velmora/Plenova 2026/NCE.INI", "[Port Settings]\nparity=even\n");
  Open();
  robot.Clicks(15101);
  robot.Then("as it is stored",
             [] { return static_cast<wxChoice*>(Find(15222))->GetStringSelection() == "even"; });
  const auto text = [](int number) { return static_cast<wxTextCtrl*>(Find(number)); };
  robot.Then("there", [=] { return text(15232) != nullptr; });
  robot.Presses(WXK_PAGEDOWN, wxMOD_CONTROL);
  for (const Browse& browse : browses) {
    robot.Clicks(browse.button);
    robot.Chooses(browse.title, browse.path);
    robot.Then("filled in", [=] { return text(browse.field)->GetValue() == browse.path; });
    robot.Clicks(browse.button);
    robot.Then("again", [=] { return IsChoosing(browse.title); });
    robot.Presses(WXK_ESCAPE);
    robot.Then("as it was", [=] {
      return !IsChoosing(browse.title) && text(browse.field)->GetValue() == browse.path;
    });
  }
  robot.Clicks(15232);
  robot.Types("a.b");
  robot.Presses(WXK_PAGEUP, wxMOD_CONTROL);
  robot.Then("another page", [=] { return !text(15232)->IsShownOnScreen(); });
  robot.Clicks(1);
  const auto isRefused = [=] {
    for (wxWindow* const child : text(15232)->GetParent()->GetChildren())
      if (child->GetLabel().StartsWith("Accepted: letters")) return child->IsShownOnScreen();
    return false;
  };
  robot.Then("refused, on the page in front",
             [=] { return isRefused() && text(15232)->HasFocus(); });
  robot.Types("nc");
  robot.Then("right", [=] { return !isRefused(); });
  robot.Presses(WXK_RETURN);
  robot.Then("accepted", [this] { return !Find(15232) && app->Settings().fileExtension == u"nc"; });
  robot.Run();
  EXPECT_EQ(app->Settings().uploadPath, KorText::FromUtf8(folders / "up/"));
  EXPECT_EQ(app->Settings().parity, u"even");
  EXPECT_EQ(app->Settings().logFile, KorText::FromUtf8(folders / "other.log"));
}

TEST_F(Window, JobsByHandAreBegunEndedAndCompleted) {
  WriteWholeFile(folders / "cnc/8.MPG", "N1 X1\n");
  Open();
  Shows(u"Waiting...");
  robot.Clicks(15210);
  robot.Chooses("Open NC file", folders / "cnc/8.MPG");
  robot.Then("its window", [] { return Titled("Download End") && !Find(15210)->IsEnabled(); });
  robot.Then("cancel", [] { return Click(FindA<wxButton>(Titled("Download End"))); });
  Shows(u"Download Cancelled");
  robot.Then("put away", [] { return !Titled("Download End") && Find(15210)->IsEnabled(); });
  for (const char* label : {"Cancel", "Complete"}) {
    robot.Clicks(15211);
    robot.Chooses("Save NC file as", folders / "cnc/9.MPG");
    robot.Presses(WXK_RETURN); // one too many ends nothing
    Shows(u"Uploading");
    robot.Do("a frame", [this] { line.Send("N1 X1\r"); });
    if (*label == 'C' && label[1] == 'o')
      robot.Then("its frame closed",
                 [] { return !Titled("Upload End") || !Titled("Upload End")->Close(); });
    robot.Then(label, [label] {
      wxWindow* const refusal =
          Titled("Receive NC File"); // where the Enter met the button that had opened it
      if (refusal) return Click(FindA<wxButton>(refusal)), false;
      if (!Titled("Upload End")) return Click(Find(15319));
      for (wxWindow* const button : Titled("Upload End")->GetChildren())
        if (wxControl::RemoveMnemonics(button->GetLabel()) == label) return Click(button);
      return false;
    });
    Shows(u"Upload " + KorText::FromUtf8(label));
    robot.Then("put away", [] { return !Titled("Upload End") && Find(15211)->IsEnabled(); });
  }
  robot.Do("noise", [this] { port.framing = 3; });
  robot.Clicks(15212);
  robot.Then("asked", [] { return Find(wxID_NO); });
  robot.Presses(WXK_RETURN);
  robot.Then("not done",
             [this] { return !Find(wxID_NO) && app->CurrentStatus().line.StartsWith(u"Upload"); });
  robot.Clicks(15212);
  robot.Clicks(wxID_YES);
  Shows(u"Local Loopback Test Failure");
  robot.Do("a plug", [this] { line.Send("LocalTestMessage@"); });
  Shows(u"Local Loopback Test Success");
  robot.Then("the errors of the line", [] {
    for (wxWindow* const child : Find(15259)->GetParent()->GetChildren())
      if (child->GetLabel().StartsWith("3 framing errors")) return child->IsShownOnScreen();
    return false;
  });
  robot.Clicks(15442);
  robot.Then("XOFF", [this] { return line.Receive("\x13").ends_with('\x13'); });
  robot.Run();
  EXPECT_TRUE(std::filesystem::exists(folders / "cnc/9.MPG"));
}

TEST_F(Window, WhatTheControllerBeganIsCancelledAfterAQuestion) {
  WriteWholeFile(folders / "cnc/7.MPG",
                 std::string(100, 'A') + "\n" + std::string(100, 'B') + "\n");
  Open();
  Shows(u"Waiting...");
  robot.Then("nothing to cancel", [] { return !Find(15556)->IsShown(); });
  const auto asked = [] { return Find(wxID_NO) != nullptr; };
  const auto fetch = [this] {
    for (const char* words : {"FH 7", ">", ">"})
      line.Exchange(words);
  };
  const auto ask = [&] {
    Shows(u"Downloading");
    robot.Clicks(15556);
    robot.Then("asked", asked);
  };
  robot.Do("fetch", fetch);
  robot.Then("the bar half full", [this] { return FindA<wxGauge>(window)->GetValue() / 10 == 50; });
  robot.Then("nothing that it forbids", [] {
    return std::ranges::none_of(std::array{15210, 15211, 15212, 15442, 15273, 15274},
                                [](int number) { return Find(number)->IsEnabled(); });
  });
  ask();
  robot.Presses(WXK_ESCAPE);
  robot.Then("goes on", [=] { return !asked(); });
  ask();
  robot.Do("its end comes first", [this] { line.Exchange(">"); });
  robot.Then("not asked any more", [=] { return !asked(); });
  robot.Do("fetch", fetch);
  ask();
  robot.Presses('E', wxMOD_ALT);
  Shows(u"Download Cancelled");
  robot.Then("a part is not marked as whole",
             [this] { return Result(window, 0) == "Sending cancelled"; });
  robot.Clicks(15101);
  robot.Then("settings", [] { return Find(1) && Find(1)->IsEnabled() && !Find(3)->IsShown(); });
  robot.Do("fetch", fetch);
  robot.Then("in their way", [] { return !Find(1)->IsEnabled(); });
  robot.Clicks(3);
  robot.Then("asked", asked);
  robot.Presses('E', wxMOD_ALT);
  robot.Then("out of their way", [=] { return !asked() && Find(1)->IsEnabled(); });
  robot.Presses(WXK_ESCAPE);
  robot.Run();
}

// Whether the text of the footer is shown as wrong.
bool IsRed(const wxString& words) {
  for (const wxWindow* const text : Find(15756)->GetParent()->GetChildren())
    if (text->GetLabel().Contains(words))
      return text->IsShown() && text->GetForegroundColour() == ColourOf(kFailedText);
  return false;
}

TEST_F(Window, TheTraceGoesToTheChosenFile) {
  Open();
  const std::string trace = folders / "trace.log";
  robot.Clicks(15266);
  robot.Then("asked", [] { return IsChoosing("Save Log File As"); });
  robot.Presses(WXK_ESCAPE);
  robot.Then("none", [this] { return !IsChecked(15266) && !app->IsTracing(); });
  robot.Clicks(15266);
  robot.Chooses("Save Log File As", trace);
  robot.Then("on", [this] { return IsChecked(15266) && app->IsTracing(); });
  robot.Do("stops by itself", [this] {
    EXPECT_FALSE(IsRed("trace.log"));
    frontEnd.ShowTracing(false);
    EXPECT_TRUE(IsRed("trace.log") && !IsChecked(15266));
    frontEnd.ShowTracing(true);
  });
  robot.Clicks(15266);
  robot.Then("off", [this] { return !IsChecked(15266) && !app->IsTracing(); });
  robot.Then("written", [&] { // by a thread of its own
    const wxString text = wxString::FromUTF8(ReadWholeFile(trace));
    return text.Contains("Start of logging") && text.Contains("End of Logging");
  });
  robot.Run();
}

TEST_F(Window, TheMonitorFollowsUnlessScrolledBack) {
  Open();
  robot.Clicks(15207);
  wxTextCtrl& text = window->Monitor().Text();
  const auto sees = [&](long position) {
    const wxPoint place = text.PositionToCoords(position);
    return place != wxDefaultPosition && wxRect(text.GetSize()).Contains(place);
  };
  robot.Do("much", [this] {
    KorText much;
    for (int number = 0; number < 100'000; ++number)
      much += KorText::Format(u"%s %i\n", number % 10 != 0 ? u"RX" : u"TX", number);
    frontEnd.AppendMonitor(much);
  });
  robot.Then("follows", [&] {
    return text.GetValue().Contains("RX 99999") && sees(text.GetLastPosition()) && !sees(0) &&
           text.GetNumberOfLines() == MonitorView::kMostLines + 1;
  });
  robot.Then("scrolled back", [&] { return text.ShowPosition(0), sees(0); });
  robot.Do("later", [this] { frontEnd.AppendMonitor(u"TX later\n"); });
  robot.Then("saved with what waits", [&] {
    return window->Monitor().Save(KorText::FromUtf8(folders / "m.log")) &&
           ReadWholeFile(folders / "m.log").ends_with("RX 99999\nTX later\n");
  });
  for (int looks = 0; looks < 10; ++looks) // for longer than it waits
    robot.Then("stays", [&] { return sees(0) && !text.GetValue().Contains("later"); });
  robot.Then("goes on", [&] {
    text.ShowPosition(text.GetLastPosition());
    return text.GetValue().Contains("later");
  });
  robot.Do("wider than it is", [this] { frontEnd.AppendMonitor(u"TX " + KorText(500, u'X')); });
  robot.Then("there", [&] { return text.GetValue().EndsWith("X"); });
  GtkAdjustment* const across =
      gtk_scrolled_window_get_hadjustment(GTK_SCROLLED_WINDOW(text.GetHandle()));
  for (int looks = 0; looks < 5; ++looks)
    robot.Then("from the line's start", [&] { return gtk_adjustment_get_value(across) == 0; });
  robot.Run();
}

bool ClickTool(const MonitorView& monitor, const wxString& label) {
  for (wxWindow* const child : monitor.GetChildren())
    if (wxControl::GetLabelText(child->GetLabel()) == label) return Click(child);
  return false;
}

TEST_F(Window, TheMonitorsToolsFindSaveAndClear) {
  Open();
  robot.Clicks(15207);
  MonitorView& monitor = window->Monitor();
  const auto tool = [&](const wxString& label) {
    return [&monitor, label] { return ClickTool(monitor, label); };
  };
  const auto found = [&] { return monitor.Text().GetStringSelection() == "line 7["; };
  robot.Do("some", [this] { frontEnd.AppendMonitor(u"RX line 7[0d]\nTX later\nLocalTest"); });
  robot.Then("what is sent is bold, also where nothing says so", [&] {
    const wxString all = monitor.Text().GetValue();
    const auto weight = [&](const char* words) {
      wxTextAttr style;
      monitor.Text().GetStyle(static_cast<long>(all.find(words)), style);
      return style.GetFontWeight();
    };
    return all.Contains("LocalTest") && weight("line 7") == wxFONTWEIGHT_NORMAL &&
           weight("later") == wxFONTWEIGHT_BOLD && weight("LocalTest") == wxFONTWEIGHT_BOLD;
  });
  robot.Do("ended", [this] { frontEnd.AppendMonitor(u"Message@\n"); });
  robot.Then("find", tool("Find")); // of nothing
  robot.Then("back to the words", [] { return Press(WXK_TAB, wxMOD_SHIFT), true; });
  const auto complains = [&] { return FindA<wxStaticText>(&monitor)->IsShown(); };
  robot.Types("nowhere");
  robot.Presses(WXK_RETURN);
  robot.Then("not found", complains);
  robot.Types("LINE 7[");
  robot.Presses(WXK_RETURN);
  robot.Then("found", [=] { return found() && !complains(); });
  robot.Do("more", [this] { frontEnd.AppendMonitor(u"RX more\n"); });
  robot.Then("still selected",
             [&] { return monitor.Text().GetValue().Contains("more") && found(); });
  std::filesystem::create_symlink("loop.log", folders / "loop.log");
  robot.Then("save", tool("Save..."));
  robot.Chooses("Save Log File As", folders / "loop.log");
  Says("Save Log File As", "/loop.log\". Choose a folder");
  robot.Then("save", tool("Save..."));
  robot.Chooses("Save Log File As", folders / "m.log");
  robot.Then("saved", [&] {
    return ReadWholeFile(folders / "m.log") ==
           "RX line 7[0d]\nTX later\nLocalTestMessage@\nRX more\n";
  });
  robot.Then("save", tool("Save..."));
  robot.Then("chooser", [] { return IsChoosing("Save Log File As"); });
  robot.Types(folders / "m.log");
  robot.Then("question whether to replace it",
             [] { return IsAskingToReplace() || (Press(WXK_RETURN), false); });
  robot.Then("ended with its question",
             [] { return !CancelInnermostModal() && !IsAskingToReplace(); });
  robot.Then("find", tool("Find"));
  robot.Then("back to the words", [] { return Press(WXK_TAB, wxMOD_SHIFT), true; });
  robot.Types("nowhere");
  robot.Presses(WXK_RETURN);
  robot.Then("not found", complains);
  robot.Then("clear", tool("Clear"));
  robot.Then("cleared", [=, &monitor] { return monitor.Text().IsEmpty() && !complains(); });
  robot.Run();
}

TEST_F(Window, NothingIsOutOfReachHoweverSmallItIs) {
  Open();
  window->AddJob({LinkStatus::DownloadCompleted, u"Words", {}, App().LocalTime()});
  robot.Clicks(15207);
  robot.Do("small", [this] { window->SetClientSize(480, 400); });
  robot.Then("small", [this] { return window->GetClientSize().y < 420; });
  for (const int number : {15210, 15101, 15442, 15274, 15207})
    robot.Then("in sight " + std::to_string(number), [this, number] {
      Find(number)->SetFocus();
      return window->GetScreenRect().Contains(Find(number)->GetScreenRect());
    });
  robot.Run();
}

TEST_F(Window, WordAndAdviceGrowWithTheWindow) {
  Open();
  const auto letters = [] {
    std::vector<double> points; // of the word, the number and the advice first
    for (const wxWindow* const child : Find(15201)->GetParent()->GetChildren())
      if (dynamic_cast<const wxStaticText*>(child))
        points.push_back(child->GetFont().GetFractionalPointSize());
    return points;
  };
  std::vector<double> usual;
  robot.Do("twice as large", [&] { usual = letters(), window->SetClientSize(1200, 900); });
  robot.Then("grown", [&] {
    const std::vector<double> now = letters();
    return now[0] > 1.9 * usual[0] && now[1] > 1.9 * usual[1] && now[2] > 1.5 * usual[2];
  });
  robot.Run();
}

TEST_F(Window, ANewJobLeavesAListThatWasScrolledBackWhereItIs) {
  Open();
  auto* const list = FindA<wxDataViewListCtrl>(window);
  const auto job = [](int number, int daysAgo) {
    const FileTime then = AppInterface::SystemTimeToFileTime(App().LocalTime()) -
                          FileTime{864'000'000'000} * static_cast<FileTime>(daysAgo);
    return EndedJob{LinkStatus::DownloadCompleted, u"Words", KorText::Format(u"/%i.MPG", number),
                    AppInterface::FileTimeToSystemTime(then)};
  };
  wxString shown;
  const auto top = [list] {
    const int row = list->ItemToRow(list->GetTopItem());
    return row < 0 ? wxString() : list->GetTextValue(static_cast<unsigned>(row), 3);
  };
  robot.Do("many", [=, this] {
    std::vector<EndedJob> yesterday;
    for (int number = 0; number < 99; ++number)
      yesterday.push_back(job(number, 1));
    window->AddEarlierJobs(yesterday);
  });
  robot.Then("newest", [=] { return list->GetTextValue(2, 3) == "98"; });
  robot.Do("back", [&] { list->EnsureVisible(list->RowToItem(60)); });
  robot.Then("there", [&] { return !(shown = top()).empty(); });
  for (const int number : {99, 100}) { // the first one of the day, and the next
    robot.Do("one more", [=, this] { window->AddJob(job(number, 0)); });
    for (int looks = 0; looks < 5; ++looks)
      robot.Then("stays", [&] { return top() == shown; });
  }
  robot.Run();
}

TEST_F(Window, TheListOfJobsIsPaintedWholeOnceTheLinkIsBack) {
  // Folded away, Service leaves the list its room.
  WriteWholeFile(folders.Path() / "Velmora/Plenova 2026/NCE.window", "");
  std::filesystem::rename(folders / "line", folders / "unplugged");
  Open();
  auto* const list = FindA<wxDataViewListCtrl>(window);
  window->SetLinkAdvice([] { return KorText(u"Words\nWords"); });
  int high = 0; // without a link
  robot.Then("no link, and is not in front", [&] {
    high = list->GetSize().y;
    return Titled("Open Comm") && Titled("Open Comm")->IsActive();
  });
  const auto isWhole = [&] {
    const wxRect place = list->GetScreenRect();
    wxColour colour;
    wxScreenDC().GetPixel(place.GetRight() - 20, place.GetBottom() - 6, &colour);
    return place.height > high && colour == wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOX);
  };
  robot.Do("link", [this] { std::filesystem::rename(folders / "unplugged", folders / "line"); });
  Shows(u"Waiting...");
  for (int looks = 0; looks < 8; ++looks)
    robot.Then("painted", isWhole);
  robot.Do("no link", [this] {
    FormDescription form = app->SettingsForm();
    form.Find(u"port")->value = u"COM7";
    EXPECT_EQ(app->AcceptSettings(form), u"");
  });
  robot.Then("gives way to the advice", [&] { return list->GetSize().y <= high; });
  robot.Do("a job", [this] {
    window->AddJob({LinkStatus::DownloadCompleted, u"Words", {}, App().LocalTime()});
  });
  robot.Do("link", [this] {
    FormDescription form = app->SettingsForm();
    form.Find(u"port")->value = u"COM1";
    EXPECT_EQ(app->AcceptSettings(form), u"");
  });
  robot.Then("painted again", isWhole);
  robot.Run();
}

TEST_F(Window, StandsWhereItStoodAsLargeAndFoldedAsItWas) {
  Open();
  const auto stands = [](MainWindow*& which) {
    return [&which] {
      return which->GetPosition() == wxPoint(222, 111) &&
             which->GetClientSize() == wxSize(611, 577);
    };
  };
  MainWindow* second = nullptr;
  const auto openAgain = [&] {
    if (second) second->Destroy();
    second = new MainWindow(*app, app->ModelName());
    second->Recall();
    second->Show();
  };
  robot.Clicks(15753);
  robot.Do("move", [this] {
    window->Move(222, 111);
    window->SetClientSize(611, 577);
  });
  robot.Then("moved", stands(window));
  robot.Do("again", [&] { window->Remember(), openAgain(); });
  robot.Then("there", stands(second));
  robot.Do("folded", [&] { EXPECT_FALSE(second->FindWindow(15101)->GetParent()->IsShown()); });
  const std::string memory = folders.Path() / "Velmora/Plenova 2026/NCE.window";
  robot.Do("too large", [&] {
    WriteWholeFile(memory, "[Window]\nwidth=9000\nheight=8000\n");
    openAgain();
  });
  robot.Then("no larger than the screen", [&] {
    return second->GetClientSize().x > 1000 &&
           wxDisplay(second).GetClientArea().Contains(wxRect(second->GetSize()));
  });
  robot.Do("not its file", [&] {
    WriteWholeFile(memory, ReadWholeFile(memory) + std::string(100'000, '#'));
    openAgain();
    EXPECT_LT(second->GetClientSize().x, 1000);
  });
  robot.Run();
  second->Destroy();
}

TEST_F(Window, TimersGoOnWhileAQuestionStandsThatCameWithOne) {
  Open();
  int looks = 0;
  app->Timers().Create(u"look", 0.02, App().HighResolutionSeconds(), TimerState::Started,
                       [&] { ++looks; });
  std::function<void()> due = [&] {
    window->CallAfter([&] { looks = 0, Ask(window, LoopbackQuestion()); });
    pump->Stop();
    pump->Notify();
  };
  const auto run = [](gpointer task) -> gboolean {
    return (*static_cast<std::function<void()>*>(task))(), G_SOURCE_REMOVE;
  };
  robot.Do("due", [&] { looks = -1000, g_idle_add(run, &due); });
  robot.Then("looks", [&] { return looks > 3; });
  robot.Run();
}

TEST_F(Window, APostThatTheEndOvertakesStartsNoTimer) {
  std::vector<std::function<void()>> posts;
  TimerQueue timers;
  TimerPump ended(timers, [&](auto task) { posts.push_back(std::move(task)); });
  timers.Create(u"soon", 1, App().HighResolutionSeconds(), TimerState::Started, [] {});
  ended.End();
  ASSERT_FALSE(posts.empty());
  for (const auto& post : posts)
    post();
  EXPECT_FALSE(ended.IsRunning());
}

TEST_F(Window, MessagesDoNotPileUpAndAreAnsweredBesideADialog) {
  Open();
  robot.Clicks(15101);
  robot.Do("twice", [this] {
    for (const char16_t* button : {u"Button", u"Caption"})
      frontEnd.ShowMessage(button, u"Words", MessageStyle::Exclamation);
  });
  robot.Then("once", [] { return Titled("Caption") && !Titled("Button"); });
  robot.Then("OK", [] { return Click(FindA<wxButton>(Titled("Caption"))); });
  robot.Then("gone", [] { return !Titled("Caption") && Find(15220); });
  robot.Presses(WXK_ESCAPE);
  robot.Then("closed", [] { return !Find(15220); });
  robot.Do("a hundred", [this] {
    for (int i = 0; i < 100; ++i)
      frontEnd.ShowMessage(KorText::Format(u"Message %i", i), KorText::Format(u"%i", i),
                           MessageStyle::Exclamation);
  });
  robot.Then("the newest are there", [] { return Titled("Message 99") && !Titled("Message 50"); });
  robot.Run();
}

// Keeps what the desktop is asked to show.
GDBusMessage* TakeNote(GDBusConnection*, GDBusMessage* message, gboolean, gpointer kept) {
  if (g_strcmp0(g_dbus_message_get_member(message), "Notify") == 0)
    *static_cast<std::atomic<GVariant*>*>(kept) = g_variant_ref(g_dbus_message_get_body(message));
  return message;
}

// Of the dot in the icon that the taskbar has.
wxColour DotColour(const wxTopLevelWindow* window) {
  GList* const icons = gtk_window_get_icon_list(GTK_WINDOW(window->GetHandle()));
  if (!icons) return {};
  const wxImage icon = wxBitmap(GDK_PIXBUF(g_object_ref(icons->data))).ConvertToImage();
  g_list_free(icons);
  const int x = icon.GetWidth() - 14, y = icon.GetHeight() - 14;
  return {icon.GetRed(x, y), icon.GetGreen(x, y), icon.GetBlue(x, y)};
}

TEST_F(Window, AFailedJobAsksForAttentionUntilSomebodyLooks) {
  Open();
  std::atomic<GVariant*> note{nullptr};
  GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  const guint filter = g_dbus_connection_add_filter(bus, TakeNote, &note, nullptr);
  auto* const other = new wxFrame(nullptr, wxID_ANY, "Other work");
  const auto asks = [this] {
    return gtk_window_get_urgency_hint(GTK_WINDOW(window->GetHandle())) != FALSE;
  };
  Shows(u"Waiting...");
  robot.Do("look away", [=] { other->Show(), other->Raise(); });
  robot.Then("away", [=, this] { return other->IsActive() && !window->IsActive() && !asks(); });
  robot.Do("no such program", [this] {
    EXPECT_EQ(DotColour(window), ColoursOf(Tone::Neutral).bar);
    line.Exchange("FH 404");
  });
  robot.Then("asks", asks);
  robot.Do("look", [=, this] {
    EXPECT_EQ(DotColour(window), ColoursOf(Tone::Failed).bar);
    other->Destroy();
    window->Raise();
  });
  robot.Then("seen", [=] { return !asks(); });
  robot.Do("put away", [&, this] {
    EXPECT_EQ(note, nullptr);
    window->Iconize();
  });
  robot.Then("away", [this] { return window->IsIconized(); });
  robot.Do("no such program", [this] { line.Exchange("FH 404"); });
  robot.Then("told on the desktop", [&] { return note != nullptr; });
  robot.Run();
  g_dbus_connection_remove_filter(bus, filter);
  g_object_unref(bus);
  ASSERT_NE(note, nullptr);
  EXPECT_STREQ(g_variant_get_type_string(note), "(susssasa{sv}i)");
  const char *title = nullptr, *words = nullptr;
  g_variant_get_child(note, 3, "&s", &title);
  g_variant_get_child(note, 4, "&s", &words);
  EXPECT_EQ(window->GetTitle(), title);
  EXPECT_TRUE(std::string(words).starts_with("Not found\nDownload could not open")) << words;
  g_variant_unref(note);
}

TEST_F(Window, AFolderThatWasAwayAtTheLastAccessIsRedBelow) {
  Open();
  Shows(u"Waiting...");
  robot.Do("folder away", [this] {
    EXPECT_FALSE(IsRed("COM1") || IsRed("/cnc/"));
    std::filesystem::rename(folders / "cnc", folders / "away");
    line.Exchange("FH 7");
  });
  robot.Then("the folder", [] { return IsRed("/cnc/"); });
  robot.Do("back", [this] {
    std::filesystem::rename(folders / "away", folders / "cnc");
    WriteWholeFile(folders / "cnc/7.MPG", "N1 X1\n");
    line.Exchange("FH 7");
    line.Exchange(">");
  });
  robot.Then("right again", [] { return !IsRed("/cnc/"); });
  robot.Run();
}

TEST_F(Window, WithoutALinkItSaysWhichPortItLooksForAndIsRedBelow) {
  Open();
  window->SetLinkAdvice([this] { return u"Looking for " + app->Settings().port; });
  const auto says = [this](const wxString& words) {
    robot.Then(words.ToStdString(), [=, this] {
      for (wxWindow* const child : Find(15201)->GetParent()->GetChildren())
        if (wxString said = child->GetLabel(); child->IsShown() && said.Replace("\n", " ") > 0)
          return said.Contains(words) && said.Contains("Plug in the adapter") &&
                 child->GetBestSize().x < window->GetClientSize().x;
      return false;
    });
  };
  for (const char* missing : {"COM7", "COM8"}) {
    robot.Clicks(15101);
    robot.Clicks(15220);
    robot.Types(missing);
    robot.Presses(WXK_RETURN);
    says(wxString("Looking for ") + missing);
    robot.Then("the system's words", [missing] { return Titled("Open Comm") && IsRed(missing); });
    robot.Presses(WXK_RETURN);
    robot.Then("read", [] { return !Titled("Open Comm"); });
    robot.Do("narrower", [this] { window->SetClientSize(400, 600); });
    says(wxString("Looking for ") + missing);
  }
  robot.Run();
}

std::string SpokenName(const wxWindow* control) {
  auto* const widget = static_cast<GtkWidget*>(control->GetHandle());
  return atk_object_get_name(gtk_widget_get_accessible(widget));
}

std::string Picture(const wxStaticBitmap* sign) {
  const wxImage image = sign->GetBitmap().ConvertToImage();
  return {reinterpret_cast<const char*>(image.GetData()),
          3 * static_cast<std::size_t>(image.GetWidth() * image.GetHeight())};
}

TEST_F(Window, EachLampTellsItsStateByWordsAndSign) {
  Open();
  robot.Do("each alone", [this] {
    constexpr int kNumbers[] = {15205, 15206, 15250, 15251, 15256, 15257, 15258};
    for (const int lit : kNumbers) {
      const auto* const sign = FindA<wxStaticBitmap>(Find(lit)->GetParent());
      frontEnd.ShowStatus({});
      const std::string out = Picture(sign);
      StatusView view;
      view.lamps[static_cast<std::size_t>(std::ranges::find(kNumbers, lit) - kNumbers)] = true;
      frontEnd.ShowStatus(view);
      EXPECT_NE(Picture(sign), out) << lit;
      for (const int number : kNumbers)
        EXPECT_EQ(SpokenName(FindA<wxStaticBitmap>(Find(number)->GetParent())),
                  Find(number)->GetLabel() + (number == lit ? ": on" : ": off"));
    }
  });
  std::string lit;
  const auto drawn = [] { return Picture(FindA<wxStaticBitmap>(Find(15206)->GetParent())); };
  robot.Do("for a moment", [&, this] {
    StatusView view;
    view.lamps[kLampWrite] = true;
    frontEnd.ShowStatus(view);
    lit = drawn();
    frontEnd.ShowStatus({});
    EXPECT_EQ(drawn(), lit);
    EXPECT_FALSE(FindA<LampStrip>(window)->IsOn(kLampWrite));
  });
  robot.Then("goes out", [&] { return drawn() != lit; });
  robot.Run();
}

// What the keyboard can work on, in the order in which it is read.
std::vector<wxWindow*> ControlsAsRead(wxWindow* in) {
  std::vector<wxWindow*> all(1, in);
  for (std::size_t at = 0; at < all.size(); ++at)
    all.insert(all.end(), all[at]->GetChildren().begin(), all[at]->GetChildren().end());
  std::erase_if(all, [](const wxWindow* control) {
    return !control->GetChildren().empty() || !control->AcceptsFocusFromKeyboard() ||
           !control->IsEnabled() || !control->IsShownOnScreen();
  });
  std::ranges::stable_sort(all, [](const wxWindow* a, const wxWindow* b) {
    const wxRect one = a->GetScreenRect(), other = b->GetScreenRect();
    const bool sameRow = one.GetTop() <= other.GetBottom() && other.GetTop() <= one.GetBottom();
    return sameRow ? one.x < other.x : one.y < other.y;
  });
  return all;
}

TEST_F(Window, TabGoesThroughTheWindowAsItIsRead) {
  Open();
  robot.Clicks(15207);
  std::vector<wxWindow*> reached;
  robot.Then("once round", [&] {
    wxWindow* const now = Focused();
    if (!now || (!reached.empty() && now == reached.back())) return false; // not there yet
    if (!reached.empty() && now == reached.front()) return true;
    reached.push_back(now);
    Press(WXK_TAB);
    return false;
  });
  robot.Run();
  static_cast<wxScrolledWindow*>(Find(15210)->GetParent())->Scroll(0, 0);
  std::vector<wxWindow*> all = ControlsAsRead(window);
  std::rotate(all.begin(), std::ranges::find(all, reached.front()), all.end());
  EXPECT_EQ(reached, all);
}

// The letters that are reached with Alt.
std::string AltKeys(wxWindow* in) {
  std::string keys;
  for (wxWindow* const child : in->GetChildren()) {
    wxString label = child->GetLabel();
    label.Replace("&&", "");
    if (const auto at = label.find('&'); at != wxString::npos)
      keys += static_cast<char>(wxTolower(label[at + 1]));
    keys += AltKeys(child);
  }
  return keys;
}

TEST_F(Window, EachLetterReachesOneControlInEveryLanguage) {
  Open();
  for (const char* language : {"en_GB", "cs_CZ", "de_DE", "es_ES", "fr_FR", "it_IT", "ja_JP",
                               "nl_NL", "pl_PL", "pt_PT", "tr_TR", "zh_CN"}) {
    setenv("LC_ALL", (std::string(language) + ".UTF-8").c_str(), 1);
    ASSERT_TRUE(LoadProgramDictionary());
    auto* const fresh = new MainWindow(*app, u"keys");
    FormDescription settings = app->SettingsForm(), special = app->SpecialForm();
    FormWindow first(window, settings), second(window, special);
    for (wxWindow* const in : {static_cast<wxWindow*>(fresh), static_cast<wxWindow*>(&first),
                               static_cast<wxWindow*>(&second)}) {
      std::string keys = AltKeys(in);
      std::ranges::sort(keys);
      EXPECT_EQ(std::ranges::adjacent_find(keys), keys.end()) << language << ": " << keys;
      EXPECT_TRUE(keys.size() > 3 || language[0] == 'j' || language[0] == 'z') << language << keys;
    }
    delete fresh;
  }
  unsetenv("LC_ALL");
}

} // namespace
} // namespace kor::window_test
