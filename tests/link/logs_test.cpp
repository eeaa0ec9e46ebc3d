// Trace, job log, the file of ended jobs, and the monitor.
#include "link/ended_jobs.h"
#include "tests/link/engine_fixture.h"

namespace kor {
namespace {

using enum LinkStatus;

// Equal ones, too, and while no job log is written.
TEST_F(EngineTest, TheJobsSinceYesterdayAreShownAgainAfterAStart) {
  const KorText file = link.app.Path(u"settings/NCE.jobs");
  link.app.SetUtc(SystemTime{2026, 11, 21, 13, 5, 9, 0, 6});
  link.app.Put(file, u"ended jobs 1\n5\t2025-11-21 13:05:09\tdownload\t9\t0\t\t/n/1.MPG\n"
                     u"6\t2026-11-20 13:05:09\tdownload\t9\t0\t\tY\n"
                     u"7\t2026-11-21 13:05:09\tdownload\t12\t0\t\t/n/1.MPG\n"
                     u"8\t2026-11-21 13:05:09\tdownload\t9\t0\t\t/n/to"); // torn
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start();
  link.BeginDownload("1");
  link.Ask(">");
  link.Ask("FH 9");
  link.Ask("FH 9");
  link.Open();
  Texts lines;
  for (const EndedJob& job : link.form.earlier)
    lines.push_back(job.line);
  const KorText missing = u"Download could not open/read from " + link.Folder() + u"9.MPG";
  ASSERT_EQ(lines,
            (Texts{u"Download could not open/read from Y",
                   u"Download Completed " + link.Folder() + u"1.MPG - 2 bytes", missing, missing}));
  const SystemTime& time = link.form.earlier[3].time;
  EXPECT_TRUE(time.hour == 13 && time.minute == 5 && time.second == 9);
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
  EXPECT_EQ(ReadEndedJobs(file, {job.time}).size(), 34U);
  ASSERT_TRUE(other.Open(kFileRead | kFileWrite));
  link.app.WhenOpening({}, {});
  EXPECT_FALSE(AddEndedJob(file, job)); // who waits gives up in the end
}

TEST_F(EngineTest, TheFileOfEndedJobsIsReadAndContinuedOnlyInItsOwnVersion) {
  const KorText file = link.app.Path(u"NCE.jobs"),
                fields = u"\t2026-01-01 00:00:00\t-\t9\t0\t\tn\tn\n";
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
    EXPECT_EQ(ReadEndedJobs(file, {job.time}).size(), count);
    EXPECT_TRUE(AddEndedJob(file, job));
    EXPECT_TRUE(link.app.Content(file)->StartsWith(continued));
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
  EXPECT_EQ(Traced(), (Texts{u"RX A\x7f[80][0d]", u"TX %% Message not recognised by HOST[0d]",
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
  EXPECT_TRUE(whole.Contains(u"\r\n00:01:05.250000 (+65.250000) RX A"));
  EXPECT_TRUE(whole.EndsWith(u" End of Logging\r\n"));
  EXPECT_EQ(TraceStamp(3725.5, -0.125), u"01:02:05.500000 (-0.125000)");
  EXPECT_EQ(TraceStamp(7200, 0), u"02:00:00.000000 (+0.000000)");
}

TEST_F(EngineTest, ATraceEndsWithTheNextOneAndWhenItCannotBeWritten) {
  link.Start();
  StartTrace();
  StartTrace(); // nothing holds the file any more
  EXPECT_EQ(Traced(), Texts());
  link.Do(&NCEApp::StartTrace, link.app.Path(u"no/such/trace"));
  EXPECT_FALSE(link.link->IsTracing() || link.form.tracing);
  EXPECT_EQ(link.form.OnlyMessage(), u"Log: Unable to write to log file");
  link.Ask("XYZ");
  EXPECT_EQ(Traced(), Texts());
  link.link->StartTrace(link.app.Path(u"no/such/trace"));
  link.link->StopTrace(); // before it could be tried
  link.Run();
  EXPECT_EQ(link.form.messages.size(), 2u);
  StartTrace();
  link.app.LimitWrites(0); // the disk is full: said once
  link.Ask("XYZ");
  link.Ask("XYZ");
  EXPECT_FALSE(link.link->IsTracing() || link.form.tracing);
  EXPECT_EQ(link.form.messages.size(), 3u);
  link.app.ClearFaults();
  StartTrace();
  link.link->Terminate();
  EXPECT_TRUE(link.app.Content(tracePath)->EndsWith(u") Application Terminated\r\n"));
}

// A repeated reply is traced once. Then the disk takes nothing for minutes: what came first is
// kept, without a gap.
TEST_F(EngineTest, ATraceThatFindsNoRoomToWaitEndsThereAndJobLinesAreStillKept) {
  using Repeated = CommsLog::Repeated;
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
  for (const auto how : {Repeated::Dropped, Repeated::Dropped, Repeated::Traced, Repeated::Traced})
    log.Trace(u"same", how);
  writer.RunHere();
  EXPECT_EQ(Traced(), (Texts{u"same", u"same", u"same"}));
  int lines = 0;
  for (; told == 0 && lines < 1000000; ++lines)
    log.Trace(KorText::Format(u"%i", lines), Repeated::Dropped);
  log.LogJob({DownloadCompleted, u"job", {}, {}});
  writer.RunHere();
  log.Trace(u"on", Repeated::Dropped); // into the one that was started since
  writer.RunHere();
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(link.app.Content(newerPath)->EndsWith(u") on\r\n"));
  EXPECT_EQ(Traced().size(), static_cast<std::size_t>(lines) + 2);
  EXPECT_EQ(Traced().back(), KorText::Format(u"%i", lines - 2));
  EXPECT_TRUE(link.app.Content(jobs)->EndsWith(u" job\r\n"));
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

// How late the reply to a request comes; the clock stands but for files that answer late.
double Lateness(NceLink& link, const std::function<void()>& ask) {
  const double asked = link.app.Seconds();
  std::optional<double> replied;
  link.port.SetResponder([&](std::string_view) {
    if (!replied) replied = link.app.Seconds();
  });
  ask();
  link.port.SetResponder({});
  return replied.value_or(1e9) - asked;
}

// The folders of both logs answer as late as those of a server that is away.
TEST_F(EngineTest, NoReplyWaitsForALog) {
  StartWithJobLog();
  link.PutProgram(u"1.MPG", u"A\n");
  link.app.WhenOpening(u".log", [this] { link.app.Advance(3); });
  EXPECT_EQ(Lateness(link, [this] { link.Ask("FH 9"); }), 0);
  link.BeginDownload("1");
  EXPECT_EQ(Lateness(link, [this] { link.Ask(">"); }), 0);
  EXPECT_EQ(link.Code(), DownloadCompleted);
  link.BeginUpload("2");
  EXPECT_EQ(Lateness(link, [this] { link.Ask("]"); }), 0);
  EXPECT_EQ(Lateness(link,
                     [this] {
                       link.link->StartTrace(tracePath);
                       link.Ask("XYZ");
                     }),
            0);
  EXPECT_EQ(Split(*link.app.Content(jobs), u'\n').size(), 5u); // all four jobs
  EXPECT_TRUE(link.app.Content(tracePath)->Contains(u"RX XYZ"));
}

TEST_F(EngineTest, AnUploadFolderThatAnswersLateHoldsUpNeitherStartNorEnd) {
  link.PutProgram(KorText(u"1.0123456789abcdef") + kPartSuffix, u"");
  const KorText ofSettings = link.app.Path(u"settings/NCE.INI.1") + kPartSuffix;
  link.app.Put(ofSettings, u"");
  link.app.WhenOpening(u"cnc", [this] { link.app.Advance(5); });
  const double begun = link.app.Seconds();
  for (const bool served : {false, true}) {
    NCEApp nce(link.Services(), u"");
    nce.SetUpServices();
    nce.BuildWindow();
    EXPECT_EQ(link.app.Seconds(), begun);
    EXPECT_FALSE(link.app.FileExists(ofSettings));
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

} // namespace
} // namespace kor
