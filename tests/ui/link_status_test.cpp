// Link status: the text, the headline and the kind of each code.
#include <gtest/gtest.h>

#include <set>

#include "tests/support/text_printer.h"
#include "ui/link_status.h"
#include "ui/state_words.h"

namespace kor {
namespace {

using enum LinkStatus;

TEST(LinkStatusTest, FormsEachCodesText) {
  const StatusFacts facts{u"N", 5, 9, u"M", u"P", false};
  const auto textOf = [&](int code) {
    return StatusText(static_cast<LinkStatus>(code), facts, u"before");
  };
  EXPECT_EQ(textOf(0), u"No Link");
  EXPECT_EQ(textOf(9), u"Download could not open/read from N");
  EXPECT_EQ(textOf(12), u"Downloading N - 5 of 9 bytes sent.");
  EXPECT_EQ(textOf(13), u"Uploading N - 5 bytes received.");
  EXPECT_EQ(textOf(18), u"Download Completed N - 5 bytes");
  EXPECT_EQ(textOf(19), u"Upload Completed N - 5 bytes in file.");
  EXPECT_EQ(textOf(23), u"Directory Listing: Error");
  EXPECT_EQ(textOf(31), u"Server: M has found DNC Client: P");
  EXPECT_EQ(textOf(33), u"Configuration Error! Client: M has found 2nd DNC Client: P!");
  EXPECT_EQ(textOf(35), u"Client: M Requesting File List from Server: P");
  EXPECT_EQ(textOf(38), u"Client: M NC File Synchronisation Completed");
  for (const int none : {28, 39, -1})
    EXPECT_EQ(textOf(none), u"before");
  const std::set<int> ending = {9, 10, 14, 15, 16, 17, 18, 19, 20, 23, 24, 25, 26, 27, 28};
  for (int code = -1; code < 40; ++code)
    EXPECT_EQ(EndsJob(static_cast<LinkStatus>(code)), ending.contains(code)) << code;
  StatusFacts server = facts;
  server.serverRole = true;
  EXPECT_EQ(StatusText(FileListCheck, server, u""), u"Server: M Checking NC File List");
}

TEST(LinkStatusTest, TellsFromAfarWhatGoesOn) {
  const auto shows = [](LinkStatus status, const KorText& fileName, const KorText& headline,
                        LinkActivity activity) {
    EXPECT_EQ(StatusHeadline(status, fileName, u"the line"), headline);
    EXPECT_EQ(ActivityOf(status), activity) << NumberOf(status);
  };
  shows(NoLink, u"", u"No link", LinkActivity::NoLink);
  shows(Waiting, u"/nc/1.MPG", u"Ready", LinkActivity::Idle);
  shows(DownloadWaiting, u"0000123", u"Preparing 0000123", LinkActivity::Busy);
  shows(Downloading, u"/n.c/0000123.MPG", u"Sending 0000123", LinkActivity::Busy);
  shows(Uploading, u"C:\\nc\\.5", u"Receiving .5", LinkActivity::Busy);
  shows(DownloadCantOpen, u"/n.c/7", u"Not found: 7", LinkActivity::Failed);
  shows(UploadCancelled, u"", u"the line", LinkActivity::Cancelled);
  shows(LoopBackTest, u"/nc/1.MPG", u"Loop Back Test", LinkActivity::Idle);
  shows(DirectoryError, u"/nc/1.MPG", u"Listing failed", LinkActivity::Failed);
  shows(static_cast<LinkStatus>(39), u"/nc/1.MPG", u"the line", LinkActivity::Idle);
}

TEST(LinkStatusTest, EveryStateSaysInLargeWordsWhatToDo) {
  Situation now;
  const auto become = [&](LinkStatus code) {
    now.view.code = code;
    now.view.activity = ActivityOf(code);
  };
  const auto says = [&](LinkStatus code, const KorText& told, const char16_t* word, Tone tone,
                        std::u16string_view advice) {
    become(code);
    (code == NoLink ? now.view.reason : now.view.note) = told;
    EXPECT_EQ(WordOf(now), word);
    EXPECT_EQ(ProgramOf(now.view), code == NoLink ? u"" : u"0000200") << KorText(word).ToUtf8();
    EXPECT_EQ(ToneOf(now), tone) << KorText(word).ToUtf8();
    EXPECT_TRUE(AdviceOf(now).Contains(advice)) << AdviceOf(now).ToUtf8();
  };
  now.view.fileName = u"/nc/0000200.MPG";
  for (std::int32_t code = 1; code < kLinkStatusCount; ++code) {
    become(static_cast<LinkStatus>(code));
    EXPECT_FALSE(WordOf(now).IsEmpty() || AdviceOf(now).IsEmpty()) << code;
  }
  says(NoLink, u"Why.", u"No link", Tone::Attention, u"Why.");
  says(DownloadCancelled, u"", u"Cancelled", Tone::Failed, u"only a part. Do not cut with it");
  says(DownloadErrors, u"Refused.", u"Failed", Tone::Failed,
       u"Refused. The machine has only a part.");
  says(UploadCompleted, u"", u"Received", Tone::Done, u"stored on this PC");
  says(UploadCompleted, u"Not all.", u"Received", Tone::Attention, u"Not all.");
  says(DownloadCantOpen, u"", u"Not found", Tone::Failed, u"into /nc/,");
  now.byHand = true;
  says(Downloading, u"", u"Sending", Tone::Busy, u"Waiting for the machine.");
  says(Uploading, u"", u"Receiving", Tone::Busy,
       u"Start sending at the machine. Press \"Complete\"");
  now.pace = {std::nullopt, true, 42};
  says(Downloading, u"", u"Sending", Tone::Busy, u"Waiting for the machine.");
  now.view.lamps[kLampXoffHold] = true;
  says(Downloading, u"", u"Held", Tone::Attention, u"(XOFF) for 0:42.");
  now.byHand = false;
  now.view.lamps = {};
  now.view.bytesDone = 9;
  says(Uploading, u"", u"Held", Tone::Attention, u"Nothing has moved for 0:42.");
}

} // namespace
} // namespace kor
