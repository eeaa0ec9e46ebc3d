// The engine on a scripted line: opening, polling, holds, echo, logs, timers, transfers by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <set>

#include "files/kor_file.h"
#include "link/ended_jobs.h"
#include "services/core/text_lookup.h"
#include "tests/support/nce_link.h"

namespace kor {
namespace {

using Strings = std::vector<std::string>;
using enum LinkStatus;

KorText JobLogTo(const KorText& file) {
  return u"[Log]\nlog file=" + file + u"\nwrite log=1\n";
}

class EngineTest : public ::testing::Test {
 protected:
  void StartWithJobLog() { link.Start({}, {}, JobLogTo(jobs)); }
  void StartTrace() {
    link.Do(&NCEApp::StartTrace, tracePath);
    ASSERT_TRUE(link.link->IsTracing());
    header = link.app.Content(tracePath)->Length();
  }
  // Trace lines after the header, without their time stamps.
  std::vector<KorText> Traced() {
    std::vector<KorText> lines;
    for (const KorText& line : Split(link.app.Content(tracePath)->Mid(header), u'\n'))
      if (!line.IsEmpty()) lines.push_back(line.Mid(line.Find(u')') + 2).ReplaceAll(u"\r", u""));
    return lines;
  }

  // How late the reply to a request comes; the clock stands but for files that answer late.
  double Lateness(const std::function<void()>& ask) {
    const double asked = link.app.Seconds();
    std::optional<double> replied;
    link.port.SetResponder([&](std::string_view) {
      if (!replied) replied = link.app.Seconds();
    });
    ask();
    link.port.SetResponder({});
    return replied.value_or(1e9) - asked;
  }

  NceLink link;
  const KorText jobs = link.app.Path(u"jobs.log");
  const KorText tracePath = link.app.Path(u"trace.log");
  std::size_t header = 0;
};

TEST_F(EngineTest, OpensThePortStepByStep) {
  link.Start({}, u"port=COM12\nbaudrate=9600\nparity=Even\ndatabits=7\nstopbits=2\n");
  EXPECT_EQ(link.port.Calls(),
            (Strings{"Open COM12", "SetQueueSizes 4000 1000", "GetControlBlock",
                     "BuildControlBlock baud=9600 parity=E data=7 stop=2", "SetControlBlock",
                     "SetTimeouts 4294967295 10000", "PurgeTransmit", "PurgeReceive"}));
  const DeviceControlBlock block = link.port.Block();
  EXPECT_TRUE(block.outX && block.inX && !block.outxCtsFlow && !block.dsrSensitivity);
  EXPECT_EQ(link.form.title, u"NCE COM12:9600,E,7,2,Xon/Xoff");
  EXPECT_EQ(link.Code(), Waiting);
}

TEST_F(EngineTest, ReportsFailingStepsAndGoesOnWhereItCan) {
  const struct {
    const char* operation;
    const char16_t* step;
    bool titleShowsPort;
  } cases[] = {
      {"Open", u"Open Comm", false},
      {"SetQueueSizes", u"Set Comm Buffer Sizes", true},
      {"GetControlBlock", u"Get Comm State", true},
      {"BuildControlBlock", u"Update Comm State", false},
      {"SetControlBlock", u"Set Comm State", false},
      {"SetTimeouts", u"Setup_Timeouts", false},
  };
  for (const auto& c : cases) {
    NceLink fresh;
    fresh.port.Fail(c.operation, 1, u"No luck");
    fresh.Start();
    EXPECT_EQ(fresh.form.OnlyMessage(), c.step + KorText(u": COM1\nNo luck")) << c.operation;
    EXPECT_EQ(fresh.form.title,
              c.titleShowsPort ? u"NCE COM1:2400,N,8,1,Xon/Xoff" : u"NCE - No Link");
  }
}

TEST_F(EngineTest, ReportsALastingFailureOnceUntilItSucceeds) {
  link.Start();
  const auto poll = [this](int times) {
    for (int i = 0; i < times; ++i)
      link.Run();
    return link.form.messages.size();
  };
  link.port.Deliver("XYZ\r");
  link.link->Poll();
  link.port.Fail("GetStatus", -1, u"Busy");
  link.port.Deliver("DH\r");
  EXPECT_EQ(poll(50), 1u);
  EXPECT_EQ(link.Code(), LoopBackTest) << "nothing is read";
  EXPECT_FALSE(link.link->Poll()) << "nothing moved, so the worker rests";
  link.port.Fail("GetStatus", 0);
  EXPECT_EQ(poll(1), 1u);
  link.port.Fail("GetStatus", -1, u"Busy");
  EXPECT_EQ(poll(50), 2u);
  EXPECT_TRUE(link.form.messages[0].StartsWith(u"Comms Status Check: "));
  link.link->OpenPort(0); // somebody asked for it: told anew
  EXPECT_EQ(poll(50), 3u);
  link.port.Fail("GetStatus", 0);
  link.port.Fail("Read", 3, u"Torn");
  link.port.Deliver("XYZ\r");
  ASSERT_EQ(poll(5), 4u);
  EXPECT_TRUE(link.form.messages[3].StartsWith(u"Read Data: "));
  EXPECT_EQ(link.Code(), LoopBackTest);
}

// A device that comes back may refuse for a moment; what refuses twice in a row needs somebody.
TEST_F(EngineTest, SaysAReasonThatHasChangedOnceItLasts) {
  const auto fail = [this](const char* operation, int times, const char16_t* text, int seconds) {
    link.port.Fail(operation, times, text);
    for (int i = 0; i < seconds; ++i)
      link.After(1);
    return link.form.messages;
  };
  std::vector<KorText> all = {u"Open Comm: COM1\nNo such file"};
  link.port.Fail("Open", -1, u"No such file");
  link.Start();
  EXPECT_EQ(fail("Open", 1, u"Not yet yours", 1), all);
  EXPECT_EQ(fail("Open", -1, u"Not permitted", 1), all);
  all.push_back(u"Open Comm: COM1\nNot permitted");
  EXPECT_EQ(fail("Open", -1, u"Not permitted", 3), all);
  all.push_back(u"Open Comm: COM1\nNo such file");
  EXPECT_EQ(fail("Open", -1, u"No such file", 3), all);
  fail("Open", 0, u"", 1);
  link.port.SetPresent(false, u"Gone");
  all.push_back(u"Comms Status Check: COM1\nGone"); // and not "Open Comm: Gone" as well
  EXPECT_EQ(fail("SetControlBlock", -1, u"Not this speed", 3), all);
  link.port.SetPresent(true);
  all.push_back(u"Set Comm State: COM1\nNot this speed");
  EXPECT_EQ(fail("Open", 0, u"", 3), all);
}

TEST_F(EngineTest, ServesAgainWhenALostDeviceIsBack) {
  link.PutProgram(u"1.MPG", KorText(150, u'A') + u"\nB\n");
  link.port.SetPresent(false, u"No such device");
  link.Start(); // without it: told once, tried quietly
  EXPECT_EQ(link.Code(), NoLink);
  link.After(5);
  EXPECT_EQ(link.form.messages.size(), 1u);
  const auto reason = [this] { return link.link->CurrentStatus().reason; };
  constexpr char16_t kPlugIn[] = u"Plug in the adapter, or choose another port in the settings.";
  EXPECT_EQ(reason(), KorText(u"No such device. ") + kPlugIn);
  link.port.SetPresent(false, u"Another.");
  link.After(1); // told by the quiet retry, too
  EXPECT_EQ(reason(), KorText(u"Another. ") + kPlugIn);
  link.port.SetPresent(true);
  link.After(1);
  EXPECT_EQ(reason(), u"");
  link.BeginDownload("1");
  link.form.statuses.clear();
  link.port.SetPresent(false, u"Gone");
  for (int i = 0; i < 50; ++i)
    link.After(0.1);
  EXPECT_EQ(link.form.Codes(), (std::vector<LinkStatus>{Downloading, DownloadErrors, NoLink}));
  EXPECT_EQ(link.form.messages.size(), 2u);
  EXPECT_EQ(link.form.title, u"NCE - No Link");
  link.port.SetPresent(true);
  link.port.Fail("SetControlBlock", 1); // it answers, but isn't ready yet
  link.After(1.0);
  EXPECT_EQ(link.Code(), NoLink);
  link.After(1.0);
  EXPECT_EQ(link.Code(), Waiting);
  link.port.SetPresent(
      false); // and again, for a moment only: a second passes before the first retry
  link.Run();
  link.port.SetPresent(true);
  link.port.ClearCalls();
  link.After(0.9);
  EXPECT_EQ(link.port.Calls(), Strings());
  link.After(0.2);
  EXPECT_EQ(link.Code(), Waiting);
  EXPECT_EQ(link.form.title, u"NCE COM1:2400,N,8,1,Xon/Xoff");
  EXPECT_EQ(link.Ask("XYZ"), "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
  EXPECT_EQ(link.form.messages.size(), 3u);
}

TEST_F(EngineTest, WaitsForALineThatTakesItsTimeAndTellsOnlyHowThatEnds) {
  link.port.Fail("Open", 2, u"", PortTrouble::NotYet);
  link.port.Fail("SetControlBlock", 2, u"", PortTrouble::NotYet);
  link.Start();
  EXPECT_EQ(link.form.title, u"NCE - No Link");
  EXPECT_EQ(link.Code(), 0);
  for (int i = 0; i < 4; ++i)
    link.Run();
  EXPECT_EQ(link.Code(), 1);
  EXPECT_EQ(link.form.messages.size(), 0u);
  EXPECT_EQ(std::ranges::count(link.port.Calls(), "PurgeReceive"), 1);
  link.port.Fail("Open", 1, u"", PortTrouble::NotYet);
  link.link->SetHandshake(false, false);
  link.port.Fail("Open", 1, u"Refused", PortTrouble::NoServer);
  link.Run();
  EXPECT_EQ(link.form.messages.size(), 1u) << "asked for: told, though it took two calls";
  link.port.SetPresent(false, u"Refused");
  link.After(3);
  EXPECT_EQ(link.form.messages.size(), 1u) << "tried again quietly";
}

TEST_F(EngineTest, AnXoffHoldsEverythingUntilAnXon) {
  link.Start();
  EXPECT_EQ(link.Send("\x13XYZ\r"), "");
  EXPECT_EQ(link.Send("XYZ\r"), "");
  link.After(0.1);
  EXPECT_TRUE(link.form.last.lamps[kLampXoffHold]);
  EXPECT_EQ(link.Send("\x11"), "ABCDEFGHIJKLMNOPQRSTUVWXYZ\rABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
  link.After(0.2);
  EXPECT_FALSE(link.form.last.lamps[kLampXoffHold]);
}

TEST_F(EngineTest, APartialWriteGoesOnWhereItEnded) {
  link.Start();
  for (const std::size_t limit : {std::size_t{7}, std::size_t{26}}) { // 26 leaves a single byte
    link.port.SetWriteLimit(limit);
    EXPECT_EQ(link.Ask("XYZ"), "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
  }
  link.port.Fail("Write", 3);
  link.port.Deliver("XYZ\r");
  link.port.TakeWritten();
  for (int i = 0; i < 10; ++i)
    link.Run();
  EXPECT_EQ(link.port.TakeWritten(), "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
}

TEST_F(EngineTest, AnIdleLineIsLeftAloneAndAHeldOneIsLookedAtWithoutHaste) {
  link.Start();
  const auto looksIn = [this](double seconds) {
    const double until = link.app.HighResolutionSeconds() + seconds;
    int looks = 0;
    for (; looks < 100000 && link.app.HighResolutionSeconds() < until; ++looks)
      if (!link.link->Poll()) link.link->WaitIdle();
    return looks;
  };
  EXPECT_LE(looksIn(10), 11);
  for (const HoldBit hold : {kXoffHold, kCtsHold}) {
    link.port.SetHolds(hold);
    link.port.Deliver("XYZ\r");
    const int looks = looksIn(10);
    EXPECT_TRUE(looks >= 450 && looks <= 550) << looks << "; a reply waits for the line";
    link.port.SetHolds(0);
    link.port.TakeWritten();
    looksIn(0.05);
    if (hold == kXoffHold) {
      EXPECT_EQ(link.port.TakeWritten(), "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
    }
    EXPECT_LE(looksIn(10), 11);
  }
  link.port.SetPresent(false);
  EXPECT_LE(looksIn(10), 21);
}

TEST_F(EngineTest, TheDisplayRunsWhileThereIsSomethingToShow) {
  const auto ticksUntilRest = [this] {
    int ticks = 0;
    while (ticks < 100 && link.link->Timers().IsStarted(u"DownloadApp::DisplayStatus")) {
      link.After(0.1);
      ++ticks;
    }
    return ticks;
  };
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start();
  EXPECT_LE(ticksUntilRest(), 5);
  link.port.Deliver("XYZ\r");
  link.Run();
  link.After(0.1);
  EXPECT_TRUE(link.form.last.lamps[kLampReceive]);
  EXPECT_LE(ticksUntilRest(), 5);
  EXPECT_FALSE(link.form.last.lamps[kLampReceive]);
  link.port.SetHolds(kCtsHold);
  link.After(1);
  link.After(0.1);
  EXPECT_TRUE(link.form.last.lamps[kLampCtsHold]);
  link.port.SetHolds(0);
  link.Ask("FH 1");
  EXPECT_EQ(ticksUntilRest(), 100) << "the rate of a transfer that stands";
}

TEST_F(EngineTest, EachHoldLightsItsOwnLampAndTrafficItsTwo) {
  const std::pair<HoldBit, Lamp> holds[] = {{kCtsHold, kLampCtsHold},
                                            {kDsrHold, kLampDsrHold},
                                            {kRlsdHold, kLampRlsdHold},
                                            {kXoffHold, kLampXoffHold},
                                            {kXoffSent, kLampXoffSent}};
  link.Start();
  for (const auto& [hold, lamp] : holds) {
    link.port.SetHolds(hold);
    link.Run();
    link.After(0.2);
    for (const auto& [other, shown] : holds)
      EXPECT_EQ(link.form.last.lamps[shown], shown == lamp) << hold << " " << shown;
  }
  link.port.SetHolds(0);
  link.Ask("XYZ");
  for (const bool moved : {true, false}) {
    link.After(0.2);
    for (const Lamp lamp : {kLampReceive, kLampWrite})
      EXPECT_EQ(link.form.last.lamps[lamp], moved) << lamp;
  }
}

// Ready for serving: what an upload, a role and a synchronisation make of it.
TEST_F(EngineTest, TheRoleDecidesWhatServingBeginsWith) {
  const struct {
    std::int32_t synchronisation, serverRole;
    LinkStatus code;
    JobButtons buttons;
  } cases[] = {{0, 0, Waiting, JobButtons::Enabled},
               {0, 1, Waiting, JobButtons::Enabled},
               {1, 0, ClientNoServer, JobButtons::Hidden},
               {1, 1, Waiting, JobButtons::Hidden}};
  for (const auto& c : cases) {
    NceLink fresh;
    fresh.Start();
    fresh.Watched().SetDnc(c.synchronisation, c.serverRole);
    fresh.BeginUpload("1");
    fresh.link->Timers().Start(u"DownloadApp::PingNow", fresh.app.HighResolutionSeconds());
    fresh.Do(&NCEApp::ReadyForServing);
    EXPECT_EQ(fresh.form.Codes(), (std::vector<LinkStatus>{Waiting, DownloadCantOpen, Uploading,
                                                           UploadCancelled, c.code}));
    EXPECT_EQ(fresh.form.buttons, c.buttons);
    EXPECT_EQ(fresh.link->Timers().IsStarted(u"DownloadApp::PingNow"), c.code == ClientNoServer);
    fresh.link->Timers().Start(u"DownloadApp::EndOfServe", fresh.app.HighResolutionSeconds());
    fresh.After(60);
    EXPECT_EQ(fresh.Watched().clientSteps, c.code == ClientNoServer ? 2 : 0);
  }
}

TEST_F(EngineTest, AManualReceiveThatCantBeStoredSaysSoAndLeavesTheButtons) {
  link.Start();
  link.form.chosen = link.app.Path(u"cnc"); // a folder
  link.Do(&NCEApp::ChooseUploadFile);
  EXPECT_EQ(link.form.Codes().back(), UploadCantOpen);
  EXPECT_EQ(link.Line(), u"Upload could not open/write to " + link.app.Path(u"cnc"));
  EXPECT_EQ(link.form.buttons, JobButtons::Enabled);
  EXPECT_FALSE(link.form.endDialogs[EndDialog::Upload]);
}

TEST_F(EngineTest, LineErrorsAreCountedToldAndTraced) {
  link.Start();
  StartTrace();
  EXPECT_TRUE(LineErrorTexts(link.link->CurrentLineErrors()).empty());
  link.port.SetLineErrors({.framing = 5});
  link.Run();
  link.port.SetLineErrors({.overflow = 1, .overrun = 1, .parity = 1, .framing = 7, .breaks = 1});
  link.Run();
  link.Run();
  EXPECT_EQ(LineErrorTexts(link.link->CurrentLineErrors()),
            (std::vector<KorText>{
                u"12 framing errors: check baud rate and parity",
                u"1 parity errors: check parity and data bits",
                u"2 overrun errors: bytes were lost; check flow control or lower the baud rate"}));
  EXPECT_EQ(Traced(), (std::vector<KorText>{
                          u"Framing Errors=5  ",
                          u"Framing Errors=12  Parity Errors=1  Overrun Errors=2  Breaks=1  "}));
  link.link->SetHandshake(true, true); // another try with other settings counts afresh
  link.Run();
  EXPECT_TRUE(LineErrorTexts(link.link->CurrentLineErrors()).empty());
}

TEST_F(EngineTest, AHeldLineKeepsItsRepliesInOrderAndNeverHoldsTheEnd) {
  link.PutProgram(u"1.MPG", KorText(5000, u'L') + u"\n");
  link.Start();
  link.Ask("FH 1");
  link.Ask(">");
  link.port.SetHolds(kCtsHold);
  link.port.SetWriteLimit(0);
  EXPECT_EQ(link.Send(">\rXYZ\r"), "");
  EXPECT_EQ(link.Code(), DownloadCompleted); // the long frame waits, and the next request behind it
  link.After(0.1);
  EXPECT_TRUE(link.form.last.lamps[kLampCtsHold]);
  link.port.SetHolds(0);
  link.port.SetWriteLimit(4096);
  link.port.TakeWritten();
  for (int i = 0; i < 20; ++i)
    link.Run();
  const std::string sent = link.port.TakeWritten();
  EXPECT_EQ(sent.size(), 4 + 5001 + 3 + 2 + 27u);
  EXPECT_TRUE(sent.ends_with("]\rABCDEFGHIJKLMNOPQRSTUVWXYZ\r"));
  link.port.SetWriteLimit(0);
  link.Send("XYZ\r");
  link.link->Terminate(); // with a reply still held
  EXPECT_FALSE(link.port.IsOpen());
}

TEST_F(EngineTest, WhatWasAskedForBeforeTheEndIsStillDone) {
  link.Start();
  link.Do(&NCEApp::ReceiveFile, link.app.Path(u"in.NC"));
  link.Ask("02A!00");
  link.link->CompleteUpload();
  link.link->Terminate(); // before the worker has polled again
  EXPECT_EQ(link.app.Content(link.app.Path(u"in.NC")), u"A\n");
}

// Each way into a transfer, and the state that it is in then.
struct Begun {
  const char* what;
  std::function<void(NceLink&)> begin;
  LinkStatus code;
  bool isUpload;
  LinkStatus Errors() const { return isUpload ? UploadErrors : DownloadErrors; }
  LinkStatus Cancelled() const { return isUpload ? UploadCancelled : DownloadCancelled; }
};
const Begun kBegun[] = {
    {"delayed download", [](NceLink& to) { to.Ask("FH 1"); }, DownloadWaiting, false},
    {"prepared download", [](NceLink& to) { to.Ask("FH 1"), to.After(30); }, DownloadPreparation,
     false},
    {"download", [](NceLink& to) { to.Ask("FH 1"), to.After(30), to.Ask(">"), to.Ask(">"); },
     Downloading, false},
    {"file sent by hand", [](NceLink& to) { to.Do(&NCEApp::SendFile, to.Folder() + u"1.MPG"); },
     Downloading, false},
    {"upload",
     [](NceLink& to) {
       to.Ask("FH 1"), to.After(30), to.Ask("TH 1");
       EXPECT_EQ(to.Send("08G90!X10!17\r0CG01 X1"), ">\r"); // and a part of a line
     },
     Uploading, true},
    {"file received by hand",
     [](NceLink& to) { to.Do(&NCEApp::ReceiveFile, to.Folder() + u"1.MPG"); }, Uploading, true},
};

class Exchange {
 public:
  explicit Exchange(const Begun& begun) {
    link.PutProgram(u"1.MPG", KorText(150, u'o') + u"\nold\n");
    link.Start({}, u"transmit delay=2\n", JobLogTo(jobs));
    begun.begin(link);
    EXPECT_EQ(link.Code(), begun.code) << begun.what;
    link.form.statuses.clear();
    link.form.messages.clear();
    link.port.ClearCalls();
    link.port.TakeWritten();
  }
  // That it has ended: one line of the job log, nothing left of it on disk, in memory, on the
  // screen.
  void ExpectEnded(LinkStatus code) {
    link.Run();
    const auto codes = link.form.Codes();
    EXPECT_GT(std::ranges::count(codes, code), 0) << NumberOf(code);
    const KorText lines = link.app.Content(jobs).value_or(u"");
    EXPECT_TRUE(lines.Contains(StatusText(code, {}, {}))) << lines.ToUtf8();
    EXPECT_EQ(Split(lines, u'\n').size(), 2u) << lines.ToUtf8();
    EXPECT_EQ(link.app.Names(link.Folder()), std::vector<KorText>{u"1.MPG"});
    EXPECT_EQ(link.app.Content(link.Folder() + u"1.MPG")->Right(4), u"old\n");
    EXPECT_EQ(link.HeldBytes(), 0u);
    EXPECT_FALSE(link.form.endDialogs[EndDialog::Download] ||
                 link.form.endDialogs[EndDialog::Upload]);
    EXPECT_EQ(link.form.buttons, JobButtons::Enabled);
    EXPECT_FALSE(link.link->Timers().IsStarted(u"DownloadApp::DownloadNow"));
  }

  NceLink link;
  const KorText jobs = link.app.Path(u"jobs.log");
};

TEST_F(EngineTest, WhateverBreaksIntoATransferEndsItAsAnErrorFirst) {
  const std::pair<const char*, std::function<void(NceLink&)>> breaks[] = {
      {"port re-opened", [](NceLink& of) { of.link->OpenPort(0); }},
      {"port re-opened in vain",
       [](NceLink& of) {
         of.port.Fail("Open", 1);
         of.link->OpenPort(0);
       }},
      {"device gone", [](NceLink& of) { of.port.SetPresent(false); }},
  };
  for (const Begun& begun : kBegun) {
    for (const auto& [what, breakIt] : breaks) {
      SCOPED_TRACE(std::string(begun.what) + ", " + what);
      Exchange exchange(begun);
      breakIt(exchange.link);
      exchange.ExpectEnded(begun.Errors());
      exchange.link.port.SetPresent(true);
      EXPECT_EQ(exchange.link.After(5), ""); // no delayed download comes to life
    }
  }
}

// What the engine does not do while a transfer runs: jobs, and changes that re-open the port.
using Wish = std::pair<const char*, std::function<void(NceLink&)>>;
const Wish kJobs[] = {
    {"send", [](NceLink& to) { to.link->SendFile(to.Folder() + u"1.MPG"); }},
    {"receive", [](NceLink& to) { to.link->ReceiveFile(to.Folder() + u"1.MPG"); }},
    {"loop-back test", [](NceLink& to) { to.link->LoopbackTest(); }},
    {"XON test", [](NceLink& to) { to.link->XonXoffTest(); }},
};
const Wish kChanges[] = {
    {"handshake", [](NceLink& to) { to.link->SetHandshake(false, true); }},
    {"settings",
     [](NceLink& to) {
       const KorText wrong = ChangeSetting(*to.link, u"character-delay", u"1");
       if (!wrong.IsEmpty()) to.form.ShowMessage({}, wrong, {});
     }},
};

TEST_F(EngineTest, ATransferIsNotBrokenIntoUntilItIsCancelled) {
  for (const Begun& begun : kBegun) {
    SCOPED_TRACE(begun.what);
    Exchange exchange(begun);
    NceLink& of = exchange.link;
    for (const std::span<const Wish> wishes :
         {std::span<const Wish>(kJobs), std::span<const Wish>(kChanges)}) {
      for (const auto& [what, wish] : wishes) {
        wish(of);
        of.Run();
        EXPECT_TRUE(of.form.OnlyMessage().Contains(of.link->CurrentStatus().headline)) << what;
        EXPECT_TRUE(of.form.OnlyMessage().Contains(u"\"cancel\"")) << what;
        EXPECT_EQ(of.Code(), begun.code) << what;
        of.form.messages.clear();
      }
    }
    EXPECT_EQ(of.link->RunningExchange(), of.Line());
    EXPECT_EQ(of.port.Calls(), Strings());
    EXPECT_EQ(of.link->Settings().rtsCtsHandshake, 1);
    EXPECT_EQ(of.link->Settings().characterDelay, 0);
    EXPECT_TRUE(of.link->Timers().IsStarted(u"DownloadApp::DisplayStatus"));
    of.link->CancelExchange();
    exchange.ExpectEnded(begun.Cancelled());
    EXPECT_EQ(of.link->RunningExchange(), std::nullopt);
    Exchange ended(begun);
    ended.link.link->Terminate();
    ended.ExpectEnded(begun.Cancelled());
  }
}

// A line behind an empty one becomes a request between the user's wish and the worker's next look
// at its tasks.
void WishJustBeforeARequest(NceLink& to, const Wish& wish) {
  to.PutProgram(u"1.MPG", u"A\n");
  to.Start();
  bool wished = false;
  to.port.SetResponder([&](std::string_view) {
    if (!std::exchange(wished, true)) wish.second(to);
  });
  to.Send("XYZ\r\rFH 1\r");
  to.port.SetResponder({});
}

TEST_F(EngineTest, ARequestThatIsFasterThanAJobByHandGoesOnWhole) {
  for (const Wish& wish : kJobs) {
    NceLink fresh;
    WishJustBeforeARequest(fresh, wish);
    EXPECT_EQ(fresh.Code(), DownloadPreparation) << wish.first;
    EXPECT_EQ(fresh.HeldBytes(), 2u) << wish.first;
    EXPECT_EQ(fresh.form.messages.size(), 1u) << wish.first;
    EXPECT_FALSE(fresh.link->Timers().IsStarted(u"DownloadApp::TestXon")) << wish.first;
    EXPECT_EQ(fresh.link->Settings().fileExtension, u"MPG");
  }
  for (const Wish& wish : kChanges) { // taken over already: it comes to pass, and the request ends
    NceLink fresh;
    WishJustBeforeARequest(fresh, wish);
    EXPECT_EQ(fresh.Code(), DownloadErrors) << wish.first;
    const Strings calls = fresh.port.Calls();
    EXPECT_EQ(std::ranges::count(calls, "Open COM1"), 2) << wish.first;
  }
}

TEST_F(EngineTest, NothingIsStartedByHandWhileTheDeviceIsAway) {
  for (const auto& [what, wish] : kJobs) {
    NceLink fresh;
    fresh.PutProgram(u"1.MPG", u"A\n");
    fresh.Start();
    fresh.port.SetPresent(false);
    fresh.Run();
    fresh.form.messages.clear();
    wish(fresh);
    fresh.Run();
    fresh.port.SetPresent(true);
    fresh.app.Advance(1);
    fresh.Run();
    EXPECT_EQ(fresh.Code(), Waiting) << what;
    EXPECT_EQ(fresh.form.messages.size(), 1u) << what;
    EXPECT_EQ(fresh.form.buttons, JobButtons::Enabled) << what;
    EXPECT_FALSE(fresh.form.endDialogs[EndDialog::Upload]) << what;
    EXPECT_EQ(fresh.app.Names(fresh.Folder()), std::vector<KorText>{u"1.MPG"}) << what;
  }
}

TEST_F(EngineTest, AJobBegunByHandOvertakesADelayedDownload) {
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start({}, u"transmit delay=2\n");
  link.Ask("FH 1");
  link.Ask("XYZ"); // takes the status, not the delay
  link.Do(&NCEApp::SendFile, link.Folder() + u"1.MPG");
  EXPECT_EQ(link.Code(), Downloading);
  link.port.TakeWritten();
  EXPECT_EQ(link.After(5), "");
  EXPECT_EQ(link.Ask(">"), "02A!60\r]\r");
}

TEST_F(EngineTest, ADelayThatEndsLeavesANewerOneAlone) {
  link.PutProgram(u"2.MPG", u"A\n");
  link.Start({}, u"transmit delay=2\n");
  // Due just before the first delay's end, in the same round of timers.
  link.link->Timers().Create(u"request", 1.5, link.app.HighResolutionSeconds(), TimerState::Started,
                             [this] {
                               link.link->Timers().Delete(u"request");
                               link.Ask("FH 2");
                             });
  link.Ask("FH 1");
  link.After(2);
  EXPECT_EQ(link.Code(), DownloadWaiting);
  EXPECT_EQ(link.After(2), "&LP 000000002\r");
}

TEST_F(EngineTest, ARequestTakesThePlaceOfAJobBegunByHand) {
  link.PutProgram(u"1.MPG", u"A\n");
  link.PutProgram(u"2.MPG", u"B\n");
  link.Start();
  link.link->SetFeatures({1, 0, 0, 0});
  link.Do(&NCEApp::SendFile, link.Folder() + u"1.MPG");
  EXPECT_TRUE(link.form.endDialogs[EndDialog::Download]);
  link.Ask("FH 1");
  EXPECT_FALSE(link.form.endDialogs[EndDialog::Download]);
  link.Ask(">");
  EXPECT_EQ(link.Ask(">"), "02A!60\r"); // no end mark: autoload goes on to the next file
}

TEST_F(EngineTest, ALostOrReopenedLineCarriesNothingOfTheExchangeBefore) {
  link.PutProgram(u"1.MPG", KorText(5000, u'L') + u"\n");
  link.Start();
  link.Ask("FH 1");
  link.Ask(">");
  link.port.SetWriteLimit(0);
  link.Send(">\rXY");
  link.port.SetWriteLimit(4096);
  link.Do(&NCEApp::SetHandshake, false, false);
  EXPECT_EQ(link.Ask("Z"), "%% Message not recognised by HOST\r"); // no rest, no "XYZ"
}

TEST_F(EngineTest, SimulationWaitsForAHeldLine) {
  link.Start(u"SIMULATION"); // no file: every poll acknowledges
  link.port.SetWriteLimit(0);
  for (int i = 0; i < 1000; ++i)
    link.link->Poll();
  link.port.SetWriteLimit(4096);
  link.port.TakeWritten();
  link.link->Poll();
  EXPECT_LE(link.port.TakeWritten().size(), 4u);
}

TEST_F(EngineTest, AnOldValueThatNoListHoldsBlocksNoOtherSettingAndIsKept) {
  for (const std::int32_t delay : {45, -5}) {
    link.Start({}, KorText::Format(u"parity=\nbaudrate=14400\ntransmit delay=%i\n", delay),
               u"[Log]\nwrite log=2\n");
    FormDescription form = link.link->SettingsForm();
    form.Find(u"stopbits")->value = u"2";
    for (FormField& field : form.fields) { // as controls show them
      if (field.kind == FieldKind::Check && field.value != u"1") field.value = u"0";
      if (field.kind == FieldKind::Number)
        field.value = KorText::Format(
            u"%i", std::clamp(field.value.ToInteger(), field.minimum, field.maximum));
    }
    EXPECT_EQ(link.link->AcceptSettings(form), u"");
    EXPECT_EQ(link.link->Settings().baudrate, u"14400");
    EXPECT_EQ(link.link->Settings().transmitDelay, delay);
    EXPECT_EQ(link.link->Settings().writeLog, 2);
  }
}

TEST_F(EngineTest, EverySpeedAndHandshakeReachesThePortAndEveryFieldStandsInABox) {
  link.Start({}, u"flow control=Hardware\n");
  FormDescription form = link.link->SettingsForm();
  for (const FormField& field : form.fields)
    EXPECT_FALSE(field.group.IsEmpty()) << field.key.ToUtf8();
  for (const KorText& speed : form.Find(u"baudrate")->choices) {
    EXPECT_EQ(ChangeSetting(*link.link, u"baudrate", speed), u"");
    link.Run();
    EXPECT_EQ(KorText::Format(u"%u", link.port.Block().baudRate), speed);
    EXPECT_TRUE(link.port.Block().outxCtsFlow && link.port.Block().outxDsrFlow);
  }
  for (const bool rtsCts : {false, true}) {
    link.port.ClearCalls();
    link.Do(&NCEApp::SetHandshake, rtsCts, !rtsCts);
    EXPECT_EQ(link.port.Calls().front(), "PurgeTransmit"); // opened anew
    EXPECT_EQ(link.port.Block().outxCtsFlow, rtsCts);
    EXPECT_EQ(link.port.Block().outxDsrFlow, !rtsCts);
  }
}

TEST_F(EngineTest, AnOverrunIsShownAndLoggedBeforeTheNextReadClearsIt) {
  StartWithJobLog();
  link.BeginUpload("1");
  link.form.statuses.clear();
  link.port.Deliver(std::string(4000, 'x'));
  link.port.Deliver("more");
  link.Run();
  EXPECT_EQ(link.form.Codes(), (std::vector<LinkStatus>{UploadErrors, OverRun}));
  link.Run();
  EXPECT_EQ(link.Code(), Waiting);
  EXPECT_TRUE(link.app.Content(jobs)->EndsWith(u" Over Run Error! Data loss has occurred!\r\n"));
  EXPECT_EQ(link.app.Names(link.Folder()), std::vector<KorText>());
  EXPECT_EQ(link.Send("!00\rXYZ\r"), "<\rABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
}

// Equal ones, too, and while no job log is written.
TEST_F(EngineTest, TheJobsOfTheDayAreShownAgainAfterAStart) {
  const KorText file = link.app.Path(u"settings/NCE.jobs");
  link.app.SetUtc(SystemTime{2026, 11, 21, 13, 5, 9, 0, 6});
  link.app.Put(file, u"ended jobs 1\n6\t2025-11-21 13:05:09\tdownload\t9\t0\t\t/n/1.MPG\n"
                     u"7\t2026-11-21 13:05:09\tdownload\t12\t0\t\t/n/1.MPG\n"
                     u"8\t2026-11-21 13:05:09\tdownload\t9\t0\t\t/n/to"); // torn
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start();
  link.BeginDownload("1");
  link.Ask(">");
  link.Ask("FH 9");
  link.Ask("FH 9");
  link.Open();
  std::vector<KorText> lines;
  for (const EndedJob& job : link.form.earlier)
    lines.push_back(job.line);
  const KorText missing = u"Download could not open/read from " + link.Folder() + u"9.MPG";
  ASSERT_EQ(lines,
            (std::vector<KorText>{u"Download Completed " + link.Folder() + u"1.MPG - 2 bytes",
                                  missing, missing}));
  EXPECT_EQ(link.form.earlier[2].time.second, 9);
  EXPECT_TRUE(link.app.Content(file)->Contains(
      u"\t12\t0\t\t/n/1.MPG\n8\t2026-11-21 13:05:09\tdownload\t18\t2\t\t"));
}

TEST_F(EngineTest, TheFileOfEndedJobsKeepsTheNewestLines) {
  const KorText file = link.app.Path(u"new/NCE.jobs");
  EndedJob job{UploadCompleted, {}, KorText(10000, u'n'), {.year = 2026}, {}, 7};
  SimpleFile other(file); // another program's, which is done with it some time later
  int openings = 0;
  link.app.WhenOpening(u".jobs", [&] {
    if (++openings % 8 == 0) other.Close();
  });
  for (int i = 0; i < 60; ++i) {
    EXPECT_EQ(other.Open(kFileRead | kFileWrite), i > 0);
    ASSERT_TRUE(AddEndedJob(file, job));
    other.Close();
  }
  const KorText content = *link.app.Content(file);
  EXPECT_LE(content.Length(), kMostEndedJobs);
  EXPECT_TRUE(content.StartsWith(u"ended jobs 1\n27\t"));
  EXPECT_EQ(ReadJobsOfDay(file, job.time).size(), 34U);
  ASSERT_TRUE(other.Open(kFileRead | kFileWrite));
  link.app.WhenOpening({}, {});
  EXPECT_FALSE(AddEndedJob(file, job)); // who waits gives up in the end
}

TEST_F(EngineTest, TheFileOfEndedJobsIsReadAndContinuedOnlyInItsOwnVersion) {
  const KorText file = link.app.Path(u"NCE.jobs"),
                fields = u"\t2026-01-01 00:00:00\t-\t9\t0\t\tn\n";
  const KorText ownVersion = u"ended jobs 1\n", last = u"9223372036854775807" + fields;
  const EndedJob job{DownloadCantOpen, {}, u"n", {.year = 2026, .month = 1, .day = 1}};
  const std::tuple<KorText, std::size_t, KorText> contents[] = {
      {u"ended jobs 2\n7" + fields, 0, ownVersion + u"1\t"},
      {u"ended jo", 0, ownVersion + u"1\t"},
      {u"7" + fields, 0, ownVersion + u"1\t"},
      {ownVersion + u"7" + fields, 1, ownVersion + u"7" + fields + u"8\t"},
      {ownVersion + last, 1, ownVersion + last + u"9223372036854775807\t"}};
  for (const auto& [content, count, continued] : contents) {
    SCOPED_TRACE(content.ToUtf8());
    link.app.Put(file, content);
    EXPECT_EQ(ReadJobsOfDay(file, job.time).size(), count);
    EXPECT_TRUE(AddEndedJob(file, job));
    EXPECT_TRUE(link.app.Content(file)->StartsWith(continued));
  }
}

// Folders are looked at beside the serving and only when all else is right.
TEST_F(EngineTest, TheSettingsFormSaysWhatIsWrongBesideEachField) {
  link.Start();
  SetTextLookup(
      [](int number) { return KorText::Format(number == 15621 ? u"(%i)" : u"", number); });
  FormDescription form = link.link->SettingsForm();
  SetTextLookup({});
  EXPECT_EQ(form.Find(u"parity")->value, u"None"); // shown in the user's words, stored as it is
  EXPECT_EQ(form.Find(u"parity")->shown[1], u"(15621)");
  EXPECT_EQ(form.Find(u"flow-control")->shown[0], u"Xon/Xoff");
  form.Find(u"file-extension")->value = u"a.b";
  form.Find(u"upload-path")->value = u"/no/such/folder";
  link.app.WhenOpening(u"such", [this] { link.app.Advance(9); });
  const double asked = link.app.Seconds();
  form.check(form);
  for (const FormField& field : form.fields)
    EXPECT_EQ(field.problem.IsEmpty(), field.key != u"file-extension");
  EXPECT_EQ(form.obstacle, u"");
  KorText problem;
  form.look(form,
            [&](const FormDescription& seen) { problem = seen.Find(u"upload-path")->problem; });
  EXPECT_TRUE(problem.IsEmpty() && link.app.Seconds() == asked && link.link->AwaitsAnswer());
  link.Run();
  EXPECT_TRUE(problem.Contains(u"a folder that exists"));
  EXPECT_FALSE(link.link->AwaitsAnswer());
  link.PutProgram(u"1.MPG", u"A\n");
  link.Ask("FH 1");
  form = link.link->SettingsForm();
  form.check(form);
  EXPECT_NE(form.obstacle, u"");
}

// What comes later is dropped. A look of which others hang is refused at once.
TEST_F(EngineTest, AFolderThatDoesNotAnswerIsRefusedInTime) {
  link.Start();
  const KorText silent = u"The folder does not answer. Choose another one, or try again later.";
  FormDescription form = link.link->SettingsForm();
  form.Find(u"upload-path")->value = u"/no/such/folder";
  std::vector<KorText> answers;
  const auto look = [&] {
    link.link->LookAndAcceptSettings(form, [&](const KorText& wrong) { answers.push_back(wrong); });
  };
  const auto pass = [&](double seconds) {
    link.app.Advance(seconds);
    link.link->RunDueTimers();
    link.form.RunPosted();
  };
  look();
  link.link->AskJobsOfToday([](const auto&) { ADD_FAILURE(); });
  pass(4.9);
  EXPECT_TRUE(answers.empty() && link.link->AwaitsAnswer());
  pass(0.2);
  EXPECT_EQ(answers, std::vector<KorText>{silent});
  EXPECT_EQ(link.form.OnlyMessage(), u"Log: " + silent);
  EXPECT_FALSE(link.link->AwaitsAnswer());
  link.Run();
  EXPECT_EQ(answers.size(), 1u);
  for (int i = 0; i < 4; ++i)
    look();
  EXPECT_EQ(answers, (std::vector<KorText>{silent, silent}));
}

// Only where nothing is lost.
TEST_F(EngineTest, ATraceAndANewJobLogReplaceNothingButLogs) {
  const std::pair<KorText, bool> contents[] = {
      {u"", true},
      {u"00:00:00.000000 (+0.000000) Start of logging\r\n", true},
      {u"         21/11/2026 13:05:09 Upload Cancelled /n/1.MPG\r\n", true},
      {u"         21/11/2026 13:05:09 Directory Listing: Error\r\n", true},
      {u"N1 G0 X0\r\n", false},
      {u"(Upload Cancelled 1)\r\n", false},
      {u"[Log]\r\n", false}};
  link.Start();
  const KorText file = link.app.Path(u"x.log");
  for (const auto& [content, isTaken] : contents) {
    SCOPED_TRACE(content.ToUtf8());
    std::optional<KorText> refusal;
    link.app.Put(file, content);
    FormDescription form = link.link->SettingsForm();
    form.Find(u"log-file")->value = file;
    link.link->LookAndAcceptSettings(form, [&](const KorText& wrong) { refusal = wrong; });
    link.Run();
    EXPECT_EQ(refusal, isTaken ? u"" : u"Unable to write to log file");
    EXPECT_EQ(ChangeSetting(*link.link, u"log-file", u""), u"");
    link.form.messages.clear();
    link.Do(&NCEApp::StartTrace, file);
    EXPECT_EQ(link.link->IsTracing(), isTaken);
    EXPECT_EQ(link.form.messages.size(), isTaken ? 0U : 1U);
    EXPECT_EQ(link.app.Content(file) == content, !isTaken);
    link.Do(&NCEApp::StopTrace);
  }
}

TEST_F(EngineTest, TracesTheLineWithItsEcho) {
  link.Start();
  StartTrace();
  link.app.Advance(65.25);
  link.Send("A\x7f\x80\r");
  link.Send("A\x7f\x80\r");
  link.port.SetHolds(kCtsHold | kXoffSent);
  link.Run();
  EXPECT_EQ(Traced(),
            (std::vector<KorText>{u"RX A\x7f[80][0d]", u"TX %% Message not recognised by HOST[0d]",
                                  u"RX A\x7f[80][0d]", u"TX %% Message not recognised by HOST[0d]",
                                  u"CTS Hold=1  XOff Sent=1  "}));
  link.link->OpenPort(0); // ends the hold
  link.port.SetHolds(kXoffSent);
  link.Run();
  EXPECT_EQ(Traced().back(), u"CTS Hold=0  ");
  link.link->StopTrace();
  EXPECT_FALSE(link.link->IsTracing());
  link.Ask("XYZ");
  const KorText whole = *link.app.Content(tracePath);
  EXPECT_TRUE(whole.StartsWith(
      u"00:00:00.000000 (+0.000000) Start of logging\r\n"
      u"00:00:00.000000 (+0.000000) ==================== Version & OS ======================\r\n"
      u"00:00:00.000000 (+0.000000) 26.0.0.2715 2026 - Test system\r\n"
      u"00:00:00.000000 (+0.000000) ==================== Settings ======================\r\n"
      u"00:00:00.000000 (+0.000000) Port=COM1 baud=2400 parity=None data=8 stop=1 "
      u"flow=Xon/Xoff\r\n"));
  EXPECT_TRUE(whole.Contains(u"\r\n00:01:05.250000 (+65.250000) RX A"));
  EXPECT_TRUE(whole.EndsWith(u" End of Logging\r\n"));
}

TEST_F(EngineTest, ANewTraceEndsTheOldOneEvenWhenItCannotBeWritten) {
  link.Start();
  StartTrace();
  StartTrace(); // nothing holds the file any more
  EXPECT_EQ(Traced(), std::vector<KorText>());
  link.Do(&NCEApp::StartTrace, link.app.Path(u"no/such/trace"));
  EXPECT_FALSE(link.link->IsTracing() || link.form.tracing);
  EXPECT_EQ(link.form.OnlyMessage(), u"Log: Unable to write to log file");
  link.Ask("XYZ");
  EXPECT_EQ(Traced(), std::vector<KorText>());
  link.link->StartTrace(link.app.Path(u"no/such/trace"));
  link.link->StopTrace(); // before it could be tried
  link.Run();
  EXPECT_EQ(link.form.messages.size(), 2u);
}

TEST_F(EngineTest, ATraceThatTheDiskHasNoRoomForEndsAndSaysSoOnce) {
  link.Start();
  StartTrace();
  link.app.LimitWrites(0);
  link.Ask("XYZ");
  link.Ask("XYZ");
  EXPECT_FALSE(link.link->IsTracing() || link.form.tracing);
  EXPECT_EQ(link.form.OnlyMessage(), u"Log: Unable to write to log file");
}

// Its disk takes nothing for minutes: what came first is kept, without a gap.
TEST_F(EngineTest, ATraceThatFindsNoRoomToWaitEndsThereAndJobLinesAreStillKept) {
  SideThread writer(CommsLog::kMostWaiting);
  int told = 0;
  const KorText newerPath = link.app.Path(u"newer.log");
  CommsLog log(writer, [&] {
    if (++told == 1) log.StartTrace(newerPath, LinkSettings(), CommsLog::Replace::OnlyLogs);
  });
  log.SetJobLog(jobs, true);
  log.StartTrace(tracePath, LinkSettings(), CommsLog::Replace::OnlyLogs);
  writer.RunHere();
  header = link.app.Content(tracePath)->Length();
  int lines = 0;
  for (; told == 0 && lines < 1000000; ++lines)
    log.Trace(KorText::Format(u"%i", lines), CommsLog::Repeated::Dropped);
  log.LogJob({DownloadCompleted, u"job", {}, {}});
  writer.RunHere();
  log.Trace(u"on", CommsLog::Repeated::Dropped); // into the one that was started since
  writer.RunHere();
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(link.app.Content(newerPath)->EndsWith(u") on\r\n"));
  EXPECT_EQ(Traced().size(), static_cast<std::size_t>(lines) - 1);
  EXPECT_EQ(Traced().back(), KorText::Format(u"%i", lines - 2));
  EXPECT_TRUE(link.app.Content(jobs)->EndsWith(u" job\r\n"));
}

TEST_F(EngineTest, ARepeatedReplyIsTracedOnceAndRepeatedReceptionEachTime) {
  SideThread writer(CommsLog::kMostWaiting);
  CommsLog log(writer, [] {});
  log.StartTrace(tracePath, LinkSettings(), CommsLog::Replace::OnlyLogs);
  writer.RunHere();
  header = link.app.Content(tracePath)->Length();
  using enum CommsLog::Repeated;
  for (const CommsLog::Repeated repeated : {Dropped, Dropped, Traced, Traced})
    log.Trace(u"same", repeated);
  writer.RunHere();
  EXPECT_EQ(Traced(), (std::vector<KorText>{u"same", u"same", u"same"}));
  EXPECT_EQ(TraceStamp(3725.5, -0.125), u"01:02:05.500000 (-0.125000)");
}

TEST_F(EngineTest, WritesOneJobLinePerJob) {
  link.PutProgram(u"1.MPG", u"A\n");
  StartWithJobLog();
  link.app.SetUtc(SystemTime{2026, 11, 21, 13, 5, 9, 0, 6});
  link.Ask("FH 9");
  link.Ask("FH 9"); // the same line again: one job-log line
  link.BeginDownload("1");
  for (int i = 0; i < 20; ++i)
    link.After(0.1);
  link.Ask("FH 1");
  link.Ask(">");
  link.link->Terminate(); // breaks the download off
  const KorText cnc = link.Folder();
  const KorText stamp = u"         21/11/2026 13:05:09 ";
  EXPECT_EQ(link.app.Content(jobs),
            stamp + u"Download could not open/read from " + cnc + u"9.MPG\r\n" + stamp +
                u"Download Completed " + cnc + u"1.MPG - 2 bytes\r\n" +
                u"         21/11/2026 13:05:11 Download Cancelled " + cnc + u"1.MPG\r\n");
  link.form.RunPosted();
  ASSERT_EQ(link.form.jobs.size(), 4u); // the window is told of each
  EXPECT_TRUE(link.form.jobs[1].Failed());
  EXPECT_EQ(link.form.jobs[1].fileName, cnc + u"9.MPG");
  EXPECT_EQ(link.form.jobs[1].time.hour, 13);
  EXPECT_FALSE(link.form.jobs[3].Failed());
}

// Its newest jobs and its newest state are what it gets to show.
TEST_F(EngineTest, AWindowThatFallsBehindTakesNoMemory) {
  link.Start();
  for (int number = 1; number <= 2500; ++number) {
    link.port.Deliver(KorText::Format(u"FH %i\r", number).ToBytes() + "XYZ\r");
    while (link.link->Poll()) {
    }
  }
  EXPECT_EQ(link.form.Waiting(), 1u);
  link.form.RunPosted();
  EXPECT_EQ(link.form.title, u"NCE  2500");
  ASSERT_EQ(link.form.jobs.size(), 1000u);
  EXPECT_EQ(link.form.jobs[0].fileName, link.Folder() + u"1501.MPG");
  EXPECT_LE(link.form.statuses.size(), 200u);
  EXPECT_EQ(link.form.last.code, LoopBackTest);
}

TEST_F(EngineTest, AnUnwritableJobLogIsReportedOnce) {
  link.Start({}, {}, JobLogTo(link.app.Path(u"no/such/jobs.log")));
  link.Ask("FH 8");
  link.Ask("FH 9");
  EXPECT_EQ(link.form.OnlyMessage(), u"Log: Unable to write to log file");
}

// The folders of both logs answer as late as those of a server that is away.
TEST_F(EngineTest, NoReplyWaitsForALog) {
  StartWithJobLog();
  link.PutProgram(u"1.MPG", u"A\n");
  link.app.WhenOpening(u".log", [this] { link.app.Advance(3); });
  EXPECT_EQ(Lateness([this] { link.Ask("FH 9"); }), 0);
  link.BeginDownload("1");
  EXPECT_EQ(Lateness([this] { link.Ask(">"); }), 0);
  EXPECT_EQ(link.Code(), DownloadCompleted);
  link.BeginUpload("2");
  EXPECT_EQ(Lateness([this] { link.Ask("]"); }), 0);
  EXPECT_EQ(Lateness([this] {
              link.link->StartTrace(tracePath);
              link.Ask("XYZ");
            }),
            0);
  EXPECT_EQ(Split(*link.app.Content(jobs), u'\n').size(), 5u); // all four jobs
  EXPECT_TRUE(link.app.Content(tracePath)->Contains(u"RX XYZ"));
}

TEST_F(EngineTest, AnUploadFolderThatAnswersLateHoldsUpNeitherStartNorEnd) {
  link.PutProgram(KorText(u"1.0123456789abcdef") + kPartSuffix, u"");
  link.app.WhenOpening(u"cnc", [this] { link.app.Advance(5); });
  const double begun = link.app.Seconds();
  for (const bool served : {false, true}) {
    NCEApp nce(link.Services(), u"");
    nce.SetUpServices();
    nce.BuildWindow();
    EXPECT_EQ(link.app.Seconds(), begun);
    if (served) nce.Poll(); // by now it has answered
    nce.Terminate();
    EXPECT_EQ(link.app.Seconds() > begun, served);
    EXPECT_EQ(link.app.Names(link.Folder()).empty(), served);
    link.app.Advance(begun - link.app.Seconds());
  }
}

TEST_F(EngineTest, TheMonitorShowsTheTrafficOnlyWhileItIsShown) {
  link.Start();
  link.Ask("FH " + std::string(120, 'X'));
  EXPECT_EQ(link.form.monitor.Mid(254, 11), u"XX\nTX X\nTX ");
  link.form.monitor.Clear();
  link.Start();
  link.Ask("XYZ");
  const KorText once = u"RX XYZ[0d]\nTX ABCDEFGHIJKLMNOPQRSTUVWXYZ[0d]";
  EXPECT_EQ(link.form.monitor, once);
  link.Ask("XYZ");
  EXPECT_EQ(link.form.monitor, once + u"\n" + once);
  link.link->SetMonitorShown(false);
  link.Ask("XYZ");
  EXPECT_EQ(link.form.monitor, once + u"\n" + once);
}

TEST_F(EngineTest, TheLoopBackTestFailsWithoutAPlug) {
  link.Start();
  link.Do(&NCEApp::LoopbackTest);
  EXPECT_EQ(link.port.TakeWritten(), "LocalTestMessage@");
  EXPECT_EQ(link.Line(), u"Local Loopback Test Failure");
  EXPECT_TRUE(link.link->Timers().IsStarted(u"DownloadApp::DisplayStatus"));
}

TEST_F(EngineTest, TheXonXoffTestHoldsTheControllerForThreeSeconds) {
  link.Start();
  link.Do(&NCEApp::XonXoffTest);
  EXPECT_EQ(link.port.TakeWritten(), "\x13");
  EXPECT_EQ(link.After(2.9), "");
  EXPECT_EQ(link.After(0.2), "\x11");
  EXPECT_EQ(link.After(10), "");
  link.port.ClearCalls();
  link.link->OpenPort(0);
  EXPECT_EQ(link.port.Calls().front(), "PurgeTransmit") << "nothing is owed any more";
}

// Whatever ends those three seconds, and whether or not the XON has left the buffers by then.
TEST_F(EngineTest, AHeldControllerIsReleasedBeforeAnythingIsDropped) {
  const std::pair<const char*, std::function<void(NceLink&)>> ends[] = {
      {"end", [](NceLink& of) { of.link->Terminate(); }},
      {"re-opened", [](NceLink& of) { of.link->OpenPort(0); }},
      {"a line that takes nothing, after the three seconds",
       [](NceLink& of) {
         of.port.SetStalled(true);
         of.Send("XYZ\r");
         of.After(3);
         of.port.ClearCalls();
         const double before = of.app.HighResolutionSeconds();
         of.link->Terminate();
         EXPECT_LE(of.app.HighResolutionSeconds() - before, 0.25);
       }},
      {"at 110 baud, where the character itself takes its time",
       [](NceLink& of) {
         ASSERT_EQ(ChangeSetting(*of.link, u"baudrate", u"110"), u"");
         of.link->XonXoffTest();
         of.Run();
         of.port.ClearCalls();
         const double before = of.app.HighResolutionSeconds();
         of.link->Terminate();
         EXPECT_NEAR(of.app.HighResolutionSeconds() - before, 12.0 / 110, 0.002);
       }},
  };
  for (const auto& [what, end] : ends) {
    NceLink fresh;
    fresh.Start();
    fresh.Do(&NCEApp::XonXoffTest);
    EXPECT_EQ(fresh.port.TakeWritten(), "\x13");
    fresh.port.ClearCalls();
    end(fresh);
    const Strings calls = fresh.port.Calls();
    const Strings released{"Write 1", "PurgeTransmit", "PurgeReceive", "Close"};
    EXPECT_EQ(std::search(calls.begin(), calls.end(), released.begin(), released.end()),
              calls.begin())
        << what;
    EXPECT_TRUE(fresh.port.TakeWritten().ends_with("\x11")) << what;
  }
}

TEST_F(EngineTest, AControllerWhoseAdapterWasPulledIsReleasedWhenItIsBack) {
  link.Start();
  link.Do(&NCEApp::XonXoffTest);
  link.port.SetPresent(false);
  link.After(5);
  link.port.TakeWritten();
  link.port.SetPresent(true);
  link.After(1);
  EXPECT_EQ(link.After(0), "\x11");
}

TEST_F(EngineTest, SendsSotBeforeADownload) {
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start();
  StartTrace();
  EXPECT_EQ(ChangeSetting(*link.link, u"send-sot", u"1"), u"");
  EXPECT_EQ(ChangeSetting(*link.link, u"sot-character", u"STX"), u"");
  link.Run();
  EXPECT_EQ(link.Ask("FH 1"), "\x02&LP 000000001\r");
  EXPECT_EQ(Traced(), (std::vector<KorText>{u"RX FH 1[0d]", u"TX [02]", u"TX &LP 000000001[0d]"}));
  link.Do(&NCEApp::CancelExchange);
  EXPECT_EQ(ChangeSetting(*link.link, u"send-sot", u"off"), u"");
  link.Run();
  EXPECT_EQ(link.link->Settings().sendSot, 0);
  EXPECT_EQ(link.Ask("FH 1"), "&LP 000000001\r");
}

// --- Settings ---

TEST_F(EngineTest, OffersThePortsThatOpenAndTheCurrentOne) {
  const auto probe = [](const KorText& name) { return name == u"COM7"; };
  EXPECT_EQ(OfferedPorts(u"COM3", probe), (std::vector<KorText>{u"COM3", u"COM7"}));
  EXPECT_EQ(OfferedPorts(u"COM12", probe), (std::vector<KorText>{u"COM7"}));
}

// --- Status ---

TEST(LinkStatusTest, FormsEachCodesText) {
  const StatusFacts facts{u"N", 5, 9, u"M", u"P", false};
  const struct {
    int code;
    const char16_t* text;
  } cases[] = {
      {0, u"No Link"},
      {9, u"Download could not open/read from N"},
      {12, u"Downloading N - 5 of 9 bytes sent."},
      {13, u"Uploading N - 5 bytes received."},
      {18, u"Download Completed N - 5 bytes"},
      {19, u"Upload Completed N - 5 bytes in file."},
      {23, u"Directory Listing: Error"},
      {31, u"Server: M has found DNC Client: P"},
      {33, u"Configuration Error! Client: M has found 2nd DNC Client: P!"},
      {35, u"Client: M Requesting File List from Server: P"},
      {38, u"Client: M NC File Synchronisation Completed"},
      {28, u"before"},
      {39, u"before"},
      {-1, u"before"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(StatusText(static_cast<LinkStatus>(c.code), facts, u"before"), c.text) << c.code;
  const std::set<int> ending = {9, 10, 14, 15, 16, 17, 18, 19, 20, 23, 24, 25, 26, 27, 28};
  for (int code = -1; code < 40; ++code)
    EXPECT_EQ(EndsJob(static_cast<LinkStatus>(code)), ending.contains(code)) << code;
  StatusFacts server = facts;
  server.serverRole = true;
  EXPECT_EQ(StatusText(FileListCheck, server, u""), u"Server: M Checking NC File List");
}

TEST(LinkStatusTest, TellsFromAfarWhatGoesOn) {
  const struct {
    LinkStatus status;
    const char16_t* fileName;
    const char16_t* headline;
    LinkActivity activity;
  } cases[] = {
      {NoLink, u"", u"No link", LinkActivity::NoLink},
      {Waiting, u"/nc/1.MPG", u"Ready", LinkActivity::Idle},
      {DownloadWaiting, u"0000123", u"Preparing 0000123", LinkActivity::Busy},
      {Downloading, u"/n.c/0000123.MPG", u"Sending 0000123", LinkActivity::Busy},
      {Uploading, u"C:\\nc\\.5", u"Receiving .5", LinkActivity::Busy},
      {DownloadCantOpen, u"/n.c/7", u"Not found: 7", LinkActivity::Failed},
      {UploadCancelled, u"", u"the line", LinkActivity::Cancelled},
      {LoopBackTest, u"/nc/1.MPG", u"Loop Back Test", LinkActivity::Idle},
      {DirectoryError, u"/nc/1.MPG", u"Listing failed", LinkActivity::Failed},
      {static_cast<LinkStatus>(39), u"/nc/1.MPG", u"the line", LinkActivity::Idle},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(StatusHeadline(c.status, c.fileName, u"the line"), c.headline);
    EXPECT_EQ(ActivityOf(c.status), c.activity) << NumberOf(c.status);
  }
}

TEST(LinkStatusTest, AnUnexpectedErrorLogsTwoLinesAndShowsTheSecond) {
  std::vector<KorText> logged;
  StatusBoard board([&](const EndedJob& job) { logged.push_back(job.line); });
  board.SetFileName(u"N");
  board.Set(UnexpectedError);
  for (int i = 0; i < 3; ++i) {
    board.TellJobs();
    EXPECT_EQ(board.TakeView().line, u"File format error N");
  }
  EXPECT_EQ(logged, (std::vector<KorText>{u"Unexpected error N", u"File format error N"}));
}

// --- The generic engine, without a protocol ---

class PlainEngineTest : public EngineTest {
 protected:
  PlainEngineTest() { Open(); }
  void Open() {
    link.form.RunPosted(); // what an engine before this one has posted stands in it
    engine = std::make_unique<DownloadApp>(link.Services(), u"PLAIN");
    engine->SetUpServices();
    engine->BuildWindow();
  }
  void Run() {
    for (int polls = 0; polls < 10000 && engine->Poll(); ++polls) {
    }
    link.form.RunPosted();
  }
  std::unique_ptr<DownloadApp> engine;
};

TEST_F(PlainEngineTest, SendsAFileAsItIsInChunksWithTheCharacterDelayBetween) {
  KorText bytes;
  for (int i = 0; i < 350; ++i)
    bytes += static_cast<char16_t>(i % 256);
  link.app.Put(link.app.Path(u"raw.NC"), bytes);
  engine->SendFile(link.app.Path(u"raw.NC"));
  Run();
  EXPECT_EQ(link.port.TakeWritten(), bytes.ToBytes());
  EXPECT_EQ(engine->CurrentStatus().code, DownloadCompleted);
  EXPECT_EQ(engine->CurrentStatus().barPosition, 1);
  EXPECT_EQ(engine->CurrentStatus().barRange, 1);
  EXPECT_TRUE(link.form.monitor.Contains(u"TX100 [00][01]"));
  EXPECT_FALSE(link.form.endDialogs[EndDialog::Download]);
  ASSERT_EQ(ChangeSetting(*engine, u"character-delay", u"500"), u"");
  engine->SendFile(link.app.Path(u"raw.NC"));
  for (const std::size_t sent : {0u, 100u, 100u, 100u, 50u}) {
    Run();
    EXPECT_EQ(link.port.TakeWritten().size(), sent);
    link.app.Advance(0.5);
  }
}

TEST_F(PlainEngineTest, ItsCaptionStandsUntilThePortIsOpened) {
  struct Plain : DownloadApp {
    Plain() = default;
    explicit Plain(const EngineServices& lent) : DownloadApp(lent, u"PLAIN") {}
  };
  EXPECT_EQ(Plain().WindowCaption(), u"Download Application (1)");
  link.form.title.Clear();
  const Plain plain(link.Services());
  EXPECT_EQ(link.form.title, u"Download Application (2)");
  EXPECT_EQ(plain.HelpFile(), u"comshelp.hlp");
}

TEST_F(PlainEngineTest, ABaudTextThatIsNoNumberSendsNothing) {
  link.app.Put(link.app.Path(u"raw.NC"), u"x");
  link.app.Put(link.app.Path(u"settings/PLAIN.INI"), u"[Port Settings]\nbaudrate=fast\n");
  Open();
  engine->SendFile(link.app.Path(u"raw.NC"));
  Run();
  EXPECT_EQ(link.port.TakeWritten(), "");
  EXPECT_EQ(engine->CurrentStatus().code, Downloading);
}

TEST_F(PlainEngineTest, ReceivesEveryByteUntilItIsCompletedOrCancelled) {
  const KorText path = link.app.Path(u"in.NC");
  link.app.Put(path, u"old");
  for (const bool complete : {false, true}) {
    engine->ReceiveFile(path);
    Run();
    EXPECT_TRUE(link.form.endDialogs[EndDialog::Upload]);
    link.port.Deliver(std::string("\0\x01new\xff", 6));
    Run();
    EXPECT_EQ(link.app.Content(path), u"old");
    if (complete)
      engine->CompleteUpload();
    else
      engine->CancelUpload();
    Run();
    EXPECT_EQ(engine->CurrentStatus().code, complete ? UploadCompleted : UploadCancelled);
  }
  EXPECT_EQ(link.app.Content(path)->ToBytes(), std::string("\0\x01new\xff", 6));
}

TEST_F(PlainEngineTest, CancelEndsASendingAtOnce) {
  link.app.Put(link.app.Path(u"raw.NC"), KorText(100000, u'x'));
  link.port.SetStalled(true);
  engine->SendFile(link.app.Path(u"raw.NC"));
  Run();
  engine->CancelDownload();
  Run();
  EXPECT_EQ(engine->CurrentStatus().line, u"Download Cancelled " + link.app.Path(u"raw.NC"));
  EXPECT_EQ(link.form.buttons, JobButtons::Enabled);
}

} // namespace
} // namespace kor
