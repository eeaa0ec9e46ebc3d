// The generic engine, without a protocol.
#include "tests/link/engine_fixture.h"

namespace kor {
namespace {

using enum LinkStatus;

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
  ASSERT_EQ(ChangeSetting(*engine, u"baudrate", u"1200"), u""); // a sixteenth of a second each
  engine->SendFile(link.app.Path(u"raw.NC"));
  for (const std::size_t sent : {0u, 75u, 75u, 75u, 75u, 50u}) {
    Run();
    EXPECT_EQ(link.port.TakeWritten().size(), sent);
    link.app.Advance(0.5);
  }
  link.app.SetBeingWritten(u"raw.NC");
  for (const char16_t* refused : {u"raw.NC", u"missing.NC"}) {
    engine->SendFile(link.app.Path(refused));
    Run();
    EXPECT_EQ(engine->CurrentStatus().code, DownloadCantOpen) << KorText(refused).ToUtf8();
  }
}

TEST_F(PlainEngineTest, ItsCaptionStandsUntilThePortIsOpened) {
  struct Plain : DownloadApp {
    Plain() = default;
    explicit Plain(const EngineServices& lent) : DownloadApp(lent, u"PLAIN") {}
  };
  EXPECT_EQ(Plain().WindowCaption(), u"Download Application (1)");
  Plain().Terminate(); // also without a window
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
  for (const LinkStatus end : {UploadErrors, UploadCancelled, UploadCompleted}) {
    engine->ReceiveFile(path);
    Run();
    EXPECT_TRUE(link.form.endDialogs[EndDialog::Upload]);
    if (end == UploadErrors) link.app.LimitWrites(0);
    link.port.Deliver(std::string("\0\x01new\xff", 6));
    Run();
    link.app.ClearFaults();
    EXPECT_EQ(link.app.Content(path), u"old");
    if (end == UploadCancelled) engine->CancelUpload();
    if (end == UploadCompleted) engine->CompleteUpload();
    Run();
    EXPECT_EQ(engine->CurrentStatus().code, end);
    EXPECT_FALSE(link.form.endDialogs[EndDialog::Upload]);
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
  link.port.SetStalled(false);
  Run();
  engine->WaitIdle(); // the wish has ended this one
  const double before = link.app.Seconds();
  engine->WaitIdle();
  EXPECT_NEAR(link.app.Seconds() - before, 1, 0.01) << "nothing is left to send";
}

} // namespace
} // namespace kor
