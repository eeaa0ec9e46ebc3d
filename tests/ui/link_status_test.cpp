// Link status: the text, the headline and the kind of each code.
#include <gtest/gtest.h>

#include <set>

#include "tests/support/text_printer.h"
#include "ui/link_status.h"

namespace kor {
namespace {

using enum LinkStatus;

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

} // namespace
} // namespace kor
