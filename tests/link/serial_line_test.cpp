// The serial line: opening, losing and polling the port, holds, lamps, line tests.
#include <algorithm>

#include "tests/link/engine_fixture.h"

namespace kor {
namespace {

using enum LinkStatus;

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
  const std::tuple<const char*, const char16_t*, bool> cases[] = {
      // The last column says whether the title shows the port.
      {"Open", u"Open Comm", false},
      {"SetQueueSizes", u"Set Comm Buffer Sizes", true},
      {"GetControlBlock", u"Get Comm State", true},
      {"BuildControlBlock", u"Update Comm State", false},
      {"SetControlBlock", u"Set Comm State", false},
      {"SetTimeouts", u"Setup_Timeouts", false},
  };
  for (const auto& [operation, step, showsPort] : cases) {
    NceLink fresh;
    fresh.port.Fail(operation, 1, u"No luck");
    fresh.Start();
    EXPECT_EQ(fresh.form.OnlyMessage(), step + KorText(u": COM1\nNo luck")) << operation;
    EXPECT_EQ(fresh.form.title, showsPort ? u"NCE COM1:2400,N,8,1,Xon/Xoff" : u"NCE - No Link");
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
  Texts all = {u"Open Comm: COM1\nNo such file"};
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
  link.port.SetPresent(false); // for a moment only: a second passes before the first retry
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
  EXPECT_EQ(link.Code(), LinkStatus::NoLink);
  for (int i = 0; i < 4; ++i)
    link.Run();
  EXPECT_EQ(link.Code(), LinkStatus::Waiting);
  EXPECT_EQ(link.form.messages.size(), 0u);
  EXPECT_EQ(std::ranges::count(link.port.Calls(), "PurgeReceive"), 1);
  link.port.Fail("Open", 1, u"", PortTrouble::NotYet);
  link.link->SetHandshake({.rtsCts = false, .dtrDsr = false});
  link.port.Fail("Open", 1, u"Refused", PortTrouble::NoServer);
  link.Run();
  EXPECT_EQ(link.form.messages.size(), 1u) << "asked for: told, though it took two calls";
  link.port.SetPresent(false, u"Refused");
  link.After(3);
  EXPECT_EQ(link.form.messages.size(), 1u) << "tried again quietly";
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
  link.port.SetPresent(true);
  looksIn(3);
  EXPECT_LE(looksIn(10), 11) << "the device is back";
}

TEST_F(EngineTest, TheDisplayRunsWhileThereIsSomethingToShow) {
  const auto ticksUntilRest = [this] {
    int ticks = 0;
    while (ticks < 100 && link.link->Timers().IsStarted(u"DownloadApp::DisplayStatus")) {
      link.After(0.2);
      ++ticks;
    }
    return ticks;
  };
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start();
  EXPECT_LE(ticksUntilRest(), 5);
  link.Ask("XYZ");
  link.After(0.2);
  EXPECT_TRUE(link.form.last.lamps[kLampReceive] && link.form.last.lamps[kLampWrite]);
  EXPECT_LE(ticksUntilRest(), 5);
  EXPECT_FALSE(link.form.last.lamps[kLampReceive] || link.form.last.lamps[kLampWrite]);
  link.Ask("FH 1");
  EXPECT_EQ(ticksUntilRest(), 100) << "the rate of a transfer that stands";
}

TEST_F(EngineTest, AnXoffHoldsEverythingUntilAnXonAndEachHoldLightsItsOwnLamp) {
  const std::pair<HoldBit, Lamp> holds[] = {{kCtsHold, kLampCtsHold},
                                            {kDsrHold, kLampDsrHold},
                                            {kRlsdHold, kLampRlsdHold},
                                            {kXoffHold, kLampXoffHold},
                                            {kXoffSent, kLampXoffSent}};
  link.Start();
  EXPECT_EQ(link.Send("\x13XYZ\r"), "");
  EXPECT_EQ(link.Send("XYZ\r"), "");
  link.After(0.1);
  EXPECT_TRUE(link.form.last.lamps[kLampXoffHold]);
  EXPECT_EQ(link.Send("\x11"), "ABCDEFGHIJKLMNOPQRSTUVWXYZ\rABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
  for (const auto& [hold, lamp] : holds) {
    link.port.SetHolds(hold);
    link.Run();
    link.After(0.2);
    for (const auto& [other, shown] : holds)
      EXPECT_EQ(link.form.last.lamps[shown], shown == lamp) << hold << " " << shown;
  }
  link.port.SetPresent(false);
  link.Run();
  link.After(0.2);
  EXPECT_FALSE(link.form.last.lamps[kLampXoffSent]) << "of a line that is gone";
}

TEST_F(EngineTest, LineErrorsAreCountedToldAndTraced) {
  link.Start();
  StartTrace();
  EXPECT_TRUE(LineErrorTexts(link.link->CurrentLineErrors()).empty());
  link.port.SetLineErrors({.overrun = 1, .framing = 1});
  link.Run();
  link.port.SetLineErrors({.overflow = 1, .overrun = 1, .parity = 1, .framing = 7, .breaks = 1});
  link.Run();
  link.Run();
  EXPECT_EQ(
      LineErrorTexts(link.link->CurrentLineErrors()),
      (Texts{u"8 framing errors: check baud rate and parity",
             u"1 parity errors: check parity and data bits",
             u"3 overrun errors: bytes were lost; check flow control or lower the baud rate"}));
  EXPECT_EQ(Traced(), (Texts{u"Framing Errors=1  Overrun Errors=1  ",
                             u"Framing Errors=8  Parity Errors=1  Overrun Errors=3  Breaks=1  "}));
  link.Do(&NCEApp::SetHandshake, Handshake{.rtsCts = true}); // another try counts afresh
  EXPECT_TRUE(LineErrorTexts(link.link->CurrentLineErrors()).empty());
}

TEST_F(EngineTest, AHeldLineKeepsItsRepliesInOrderUntilItIsReopenedAndNeverHoldsTheEnd) {
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
  link.Ask("FH 1");
  link.Ask(">");
  link.port.SetWriteLimit(0);
  link.Send(">\rXY");
  link.port.SetWriteLimit(4096);
  link.Do(&NCEApp::SetHandshake, Handshake{.rtsCts = false, .dtrDsr = false});
  EXPECT_EQ(link.Ask("Z"), "%% Message not recognised by HOST\r"); // no rest, no "XYZ"
  link.port.SetWriteLimit(0);
  link.Send("XYZ\r");
  link.link->Terminate(); // with a reply still held
  EXPECT_FALSE(link.port.IsOpen());
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
  EXPECT_EQ(link.app.Names(link.Folder()), Texts());
  EXPECT_EQ(link.Send("!00\rXYZ\r"), "<\rABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
}

TEST_F(EngineTest, TheLoopBackTestFailsWithoutAPlug) {
  link.Start();
  link.Do(&NCEApp::LoopbackTest);
  EXPECT_EQ(link.port.TakeWritten(), "LocalTestMessage@");
  link.Send("LocalTest@"); // something else than was sent
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
  link.Do(&NCEApp::XonXoffTest);
  link.port.SetPresent(false); // its adapter is pulled: it is released when that is back
  link.After(5);
  link.port.TakeWritten();
  link.port.SetPresent(true);
  link.After(1);
  EXPECT_EQ(link.After(0), "\x11");
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

TEST_F(EngineTest, SendsSotBeforeADownload) {
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start();
  StartTrace();
  EXPECT_EQ(ChangeSetting(*link.link, u"send-sot", u"1"), u"");
  EXPECT_EQ(ChangeSetting(*link.link, u"sot-character", u"STX"), u"");
  link.Run();
  EXPECT_EQ(link.Ask("FH 1"), "\x02&LP 000000001\r");
  EXPECT_EQ(Traced(), (Texts{u"RX FH 1[0d]", u"TX [02]", u"TX &LP 000000001[0d]"}));
  link.Do(&NCEApp::CancelExchange);
  EXPECT_EQ(ChangeSetting(*link.link, u"send-sot", u"off"), u"");
  link.Run();
  EXPECT_EQ(link.link->Settings().sendSot, 0);
  EXPECT_EQ(link.Ask("FH 1"), "&LP 000000001\r");
}

TEST(StatusBoardTest, AnUnexpectedErrorLogsTwoLinesAndShowsTheSecond) {
  Texts logged;
  StatusBoard board([&](const EndedJob& job) { logged.push_back(job.line); });
  board.SetFileName(u"N");
  board.Set(UnexpectedError);
  for (int i = 0; i < 3; ++i) {
    board.TellJobs();
    EXPECT_EQ(board.TakeView().line, u"File format error N");
  }
  EXPECT_EQ(logged, (Texts{u"Unexpected error N", u"File format error N"}));
}

} // namespace
} // namespace kor
