// Exchanges and jobs by hand: what may begin when, and what ends them.
#include <algorithm>

#include "tests/link/engine_fixture.h"

namespace kor {
namespace {

using enum LinkStatus;

// Ready for serving: what an upload, a role and a synchronisation make of it.
TEST_F(EngineTest, TheRoleDecidesWhatServingBeginsWith) {
  const std::tuple<std::int32_t, std::int32_t, LinkStatus, JobButtons> cases[] = {
      {0, 0, Waiting, JobButtons::Enabled},
      {0, 1, Waiting, JobButtons::Enabled},
      {1, 0, ClientNoServer, JobButtons::Hidden},
      {1, 1, Waiting, JobButtons::Hidden}};
  for (const auto& [synchronisation, serverRole, code, buttons] : cases) {
    NceLink fresh;
    fresh.Start();
    fresh.Watched().SetDnc(synchronisation, serverRole);
    fresh.BeginUpload("1");
    fresh.link->Timers().Start(u"DownloadApp::PingNow", fresh.app.HighResolutionSeconds());
    fresh.Do(&NCEApp::ReadyForServing);
    EXPECT_EQ(fresh.form.Codes(), (std::vector<LinkStatus>{Waiting, DownloadCantOpen, Uploading,
                                                           UploadCancelled, code}));
    EXPECT_EQ(fresh.form.buttons, buttons);
    EXPECT_EQ(fresh.link->Timers().IsStarted(u"DownloadApp::PingNow"), code == ClientNoServer);
    fresh.link->Timers().Start(u"DownloadApp::EndOfServe", fresh.app.HighResolutionSeconds());
    fresh.Watched().SetPingText(u"?");
    EXPECT_EQ(fresh.After(60), code == ClientNoServer ? "?" : "");
    EXPECT_EQ(fresh.Watched().clientSteps, code == ClientNoServer ? 2 : 0);
  }
}

TEST_F(EngineTest, AReceiveByHandThatCantBeStoredSaysSoAndACompletedOneIsDoneBeforeTheEnd) {
  link.Start();
  link.form.chosen = link.app.Path(u"cnc"); // a folder
  link.Do(&NCEApp::ChooseUploadFile);
  EXPECT_EQ(link.form.Codes().back(), UploadCantOpen);
  EXPECT_EQ(link.Line(), u"Upload could not open/write to " + link.app.Path(u"cnc"));
  EXPECT_EQ(link.form.buttons, JobButtons::Enabled);
  EXPECT_FALSE(link.form.endDialogs[EndDialog::Upload]);
  link.Do(&NCEApp::ReceiveFile, link.app.Path(u"in.NC"));
  link.Ask("02A!00");
  link.link->CompleteUpload();
  link.link->Terminate(); // before the worker has polled again
  EXPECT_EQ(link.app.Content(link.app.Path(u"in.NC")), u"A\n");
  const KorText settings = link.app.Path(u"settings/NCE.INI");
  ASSERT_TRUE(link.app.RemoveFile(settings));
  link.link->Terminate(); // it has ended
  EXPECT_FALSE(link.app.FileExists(settings));
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

class RunningLink {
 public:
  explicit RunningLink(const Begun& begun) {
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
    EXPECT_EQ(link.app.Names(link.Folder()), Texts{u"1.MPG"});
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
      RunningLink exchange(begun);
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
    {"handshake", [](NceLink& to) { to.link->SetHandshake({.rtsCts = false}); }},
    {"settings",
     [](NceLink& to) {
       const KorText wrong = ChangeSetting(*to.link, u"character-delay", u"1");
       if (!wrong.IsEmpty()) to.form.ShowMessage({}, wrong, {});
     }},
};

TEST_F(EngineTest, ATransferIsNotBrokenIntoUntilItIsCancelled) {
  for (const Begun& begun : kBegun) {
    SCOPED_TRACE(begun.what);
    RunningLink exchange(begun);
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
    EXPECT_EQ(of.port.Calls(), Strings());
    EXPECT_EQ(of.link->Settings().rtsCtsHandshake, 1);
    EXPECT_EQ(of.link->Settings().characterDelay, 0);
    EXPECT_TRUE(of.link->Timers().IsStarted(u"DownloadApp::DisplayStatus"));
    of.link->CancelExchange();
    exchange.ExpectEnded(begun.Cancelled());
    RunningLink ended(begun);
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
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start();
  link.port.SetPresent(false);
  for (const auto& [what, wish] : kJobs) {
    link.Run();
    link.form.messages.clear();
    wish(link);
    link.Run();
    EXPECT_EQ(link.form.messages.size(), 1u) << what;
    EXPECT_EQ(link.form.buttons, JobButtons::Enabled) << what;
    EXPECT_FALSE(link.form.endDialogs[EndDialog::Upload]) << what;
    EXPECT_EQ(link.app.Names(link.Folder()), Texts{u"1.MPG"}) << what;
  }
  link.port.SetPresent(true);
  link.After(1);
  EXPECT_EQ(link.Code(), Waiting);
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

} // namespace
} // namespace kor
