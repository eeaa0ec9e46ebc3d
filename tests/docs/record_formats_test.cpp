// Compares the examples of docs/formats/record-stream.md, settings-record.md, ended-jobs.md and
// other-files.md with what the program writes, and reads them back.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

#include "app/nce_app.h"
#include "link/comms_log.h"
#include "link/ended_jobs.h"
#include "link/side_thread.h"
#include "services/core/path_text.h"
#include "tests/files/file_test_support.h"
#include "tests/support/format_page.h"
#include "tests/support/record_samples.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

TEST(EndedJobs, TheExampleHolds) {
  TestApp app;
  const KorText path = app.Path(u"NCE.jobs");
  const KorText sent = u"/srv/nc/0000123.MPG";
  using enum LinkStatus;
  const std::pair<EndedJob, SystemTime> jobs[] = {
      {{DownloadCompleted, {}, sent, {}, {}, 93301}, {2026, 11, 22, 4, 20, 5}},
      {{DownloadCompleted, {}, sent, {}, {}, 93301}, {2026, 11, 22, 4, 21, 40}},
      {{DownloadCantOpen, {}, u"/srv/nc/124.MPG", {}, {}, 0}, {2026, 11, 22, 4, 22, 1}},
      {{UploadCompleted, {}, u"/srv/nc/up/7.MPG", {}, u"Stored only up\tto\r\na \"]\"", 2048},
       {2026, 11, 22, 4, 25, 13}}};
  for (const auto& [job, time] : jobs) {
    EndedJob timed = job;
    timed.time = time;
    EXPECT_TRUE(AddEndedJob(path, timed));
  }
  std::string example;
  const std::vector<PageExample> examples = ReadExamples("ended-jobs.md", "jobs");
  for (const std::string& line : examples.at(0).lines)
    example += line + "\n";
  EXPECT_EQ(app.Content(path), KorText::FromUtf8(example));
  const std::vector<EndedJob> read = ReadEndedJobs(path, {jobs[0].second});
  ASSERT_EQ(read.size(), 4U);
  EXPECT_EQ(read[3].line, u"Upload Completed /srv/nc/up/7.MPG - 2048 bytes in file.");
  EXPECT_EQ(read[3].note, u"Stored only up to  a \"]\"");
  EXPECT_EQ(read[3].time.minute, 25);
}

TEST(OtherFiles, TheExamplesOfTheLogsHold) {
  TestApp app;
  const KorText paths[] = {app.Path(u"trace"), app.Path(u"joblog")};
  SideThread writer(CommsLog::kMostWaiting);
  CommsLog log(writer, [] {});
  LinkSettings settings;
  settings.uploadPath = settings.downloadPath = u"/srv/nc/";
  settings.fileExtension = u"MPG";
  log.StartTrace(paths[0], settings, CommsLog::Replace::OnlyLogs);
  app.Advance(65.25);
  log.Trace(u"RX XYZ[0d]", CommsLog::Repeated::Traced);
  app.Advance(0.125);
  log.Trace(u"TX ABCDEFGHIJKLMNOPQRSTUVWXYZ[0d]", CommsLog::Repeated::Dropped);
  log.StopTrace(u"End of Logging");
  log.SetJobLog(paths[1], true);
  log.LogJob({LinkStatus::DownloadCompleted,
              u"Download Completed /srv/nc/0000123.MPG - 93301 bytes",
              {},
              {2026, 11, 21, 13, 5, 9}});
  writer.RunHere();
  for (const KorText& path : paths) {
    std::string example;
    const auto examples = ReadExamples("other-files.md", FileNameOfPath(path).ToUtf8());
    for (const std::string& line : examples.at(0).lines)
      example += line + "\r\n";
    EXPECT_EQ(app.Content(path), KorText::FromUtf8(example));
  }
}

// What the first example of record-stream.md holds.
struct Mixed {
  std::uint8_t small = 18;
  std::int32_t negative = -2;
  double real = 2.5;
  KorText text = u"Ok";
  CalendarDate day{2026, 1, 31};
  std::vector<std::uint16_t> list{7, 500};
  std::shared_ptr<SampleTool> saw = std::make_shared<SampleTool>(u"saw", 1), sameSaw = saw, none;

  void Transfer(DiskFile& file) {
    ASSERT_TRUE(file.BeginRecord(4711));
    file.Transfer(small);
    file.Transfer(negative);
    file.Transfer(real);
    file.Transfer(text);
    file.Transfer(day);
    file.SectionMark();
    file.Transfer(list);
    file.CachedInstance(saw);
    file.CachedInstance(sameSaw);
    file.CachedInstance(none);
    EXPECT_EQ(file.BytesLeft(), 0u);
    file.EndRecord();
  }
};

TEST(RecordFormats, TheStreamsExamplesAreWhatIsWrittenAndRead) {
  TestApp app;
  RegisterSamples();
  const auto examples = ReadByteExamples("record-stream.md", "record");
  ASSERT_EQ(examples.size(), 2u);
  Mixed written, read{0, 0, 0, {}, {}, {}, {}, {}, {}};
  const Bytes shown = BytesOf(examples[0]);
  EXPECT_EQ(WriteRecords({}, [&](DiskFile& file) { written.Transfer(file); }), shown);
  EXPECT_EQ(ReadRecords(shown, {}, [&](DiskFile& file) { read.Transfer(file); }), 0u);
  EXPECT_EQ(std::tie(read.small, read.negative, read.real, read.text, read.list),
            std::tie(written.small, written.negative, written.real, written.text, written.list));
  ASSERT_NE(read.saw, nullptr);
  EXPECT_EQ(read.saw->name, u"saw");
  EXPECT_EQ(read.sameSaw, read.saw);

  std::uint64_t number = 11;
  const auto moveNumber = [&](DiskFile& file) {
    ASSERT_TRUE(file.BeginRecord(5));
    file.CompatibleDword(number);
    file.EndRecord();
  };
  const RecordFormat wide{{77}, true, 1};
  EXPECT_EQ(WriteRecords(wide, moveNumber), BytesOf(examples[1]));
  number = 0;
  EXPECT_EQ(ReadRecords(BytesOf(examples[1]), wide, moveNumber), 0u);
  EXPECT_EQ(number, 11u);
}

TEST(RecordFormats, TheSettingsExampleIsANewProgramsRecord) {
  TestApp app;
  const auto shown = ReadByteExamples("settings-record.md", "record");
  ASSERT_EQ(shown.size(), 1u);
  NCEApp program;
  const auto move = [&](DiskFile& file) { file.TransferObject(program); };
  EXPECT_EQ(WriteRecords({}, move), BytesOf(shown[0]));

  // The port's "1" made a "7", and the last option set.
  Bytes changed = BytesOf(shown[0]);
  changed[36] = 1;
  changed[62] = '7';
  EXPECT_EQ(ReadRecords(changed, {}, move), 0u);
  EXPECT_EQ(program.Settings().port, u"COM7");
  EXPECT_EQ(program.Features().hybridNumber, 1);
}

} // namespace
} // namespace kor
