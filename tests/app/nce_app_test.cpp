#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "app/nce_frame.h"
#include "files/compressed_file.h"
#include "services/core/text_lookup.h"
#include "tests/support/nce_link.h"

namespace kor {
namespace {

using namespace std::string_literals;
using enum LinkStatus;

// What comes before the frames of program 1.
const std::string kStart1 = "&LP 000000001\rDownload to NCE in progress. &FH 000000001\r";

class NceAppTest : public ::testing::Test {
 protected:
  void Features(const SpecialFeatures& features) { link.Do(&NCEApp::SetFeatures, features); }
  // A whole download: all that comes until the end mark or an empty answer.
  static std::string FetchRest(NceLink& from, std::string all) {
    std::string answer = all;
    for (int i = 0; i < 10000 && !answer.empty() && !answer.ends_with("]\r"); ++i) {
      answer = from.Ask(">");
      all += answer;
    }
    return all;
  }
  std::string Fetch(std::string_view request) { return FetchRest(link, link.Ask(request)); }

  NceLink link;
};

TEST_F(NceAppTest, FindsTheRequestsInWhateverArrives) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r";
  link.Start();
  EXPECT_EQ(link.Send("..XYZ..\r"), alphabet);
  EXPECT_EQ(link.Send("A>B\r"), ">\r");
  EXPECT_EQ(link.Send("X\x01Y\x80Z\r"), alphabet);
  EXPECT_EQ(link.Send("XYZ\r>\r"), alphabet + ">\r");
  link.port.Deliver("\rXYZ\r"); // an empty line holds the rest back until the next call
  link.link->ProcessReceived(); // nothing read yet
  link.Run();
  EXPECT_EQ(link.port.TakeWritten(), alphabet);
}

TEST_F(NceAppTest, EveryByteTravelsUnchangedInALineLongerThanTheTransmitBuffer) {
  KorText line;
  for (int i = 0; line.Length() < 24576; ++i)
    if (const int c = i % 256; c != '\n' && c != '\r') line += static_cast<char16_t>(c);
  const std::string bytes = line.ToBytes();
  line += u"\n\u00C4H\n";
  for (const KorText& content : {line, KorText::FromBytes("\xEF\xBB\xBF" + line.ToUtf8())}) {
    link.PutProgram(u"1.MPG", content);
    link.Start();
    EXPECT_EQ(Fetch("FH 1"), kStart1 + MakeFrame(bytes + "!") + MakeFrame("\xC4H!") + "]\r");
  }
}

TEST_F(NceAppTest, ADownloadIsCountedFromItsStartToTheFilesSize) {
  link.PutProgram(u"1.MPG", KorText(120, u'X') + u"\r\n" + KorText(120, u'Y') + u"\r\nZ\r\n");
  link.Start();
  for (const std::int64_t sent : {0, 123, 246, 247}) {
    SCOPED_TRACE(sent);
    link.Ask(sent == 0 ? "FH 1" : ">");
    if (sent == 0) link.Ask(">");
    link.After(0.2);
    EXPECT_EQ(link.form.last.bytesDone, sent);
    EXPECT_EQ(link.form.last.barPosition, sent);
    EXPECT_EQ(link.form.last.barRange, 247);
  }
  EXPECT_EQ(link.Code(), DownloadCompleted);
  EXPECT_EQ(link.HeldBytes(), 0u);
  link.Ask("TH 1");
  EXPECT_EQ(link.link->CurrentStatus().bytesDone, 0) << "of the one before";
  link.Do(&NCEApp::CancelExchange);
  link.app.RefuseOpening(u"1.MPG", true);
  for (const char* const request : {"FH 404", "TH 1", "DH", "XYZ"}) {
    Fetch("FH 1");
    EXPECT_GT(link.link->CurrentStatus().barPosition, 0);
    link.Ask(request);
    EXPECT_EQ(link.link->CurrentStatus().barPosition, 0) << "of the one before " << request;
  }
  Fetch("FH 1");
  link.app.SetBeingWritten(u"1.MPG");
  link.Ask("FH 1");
  EXPECT_EQ(link.link->CurrentStatus().bytesDone, 0) << "of the one before";
  link.app.SetBeingWritten({});
  link.Ask("FH 1");
  link.After(0.2);
  EXPECT_EQ(link.form.last.bytesDone + link.form.last.barPosition, 0) << "of the one before";
}

TEST_F(NceAppTest, FeaturesChangedInADownloadTakeEffectWithTheNextOne) {
  for (const char16_t* name : {u"1", u"2", u"3", u"37304", u"37305", u"37306"})
    link.PutProgram(KorText(name) + u".MPG", KorText(name) + u"\n");
  // Features before and after the change: autoload, strip PC, strip NCE, hybrid.
  const std::tuple<SpecialFeatures, SpecialFeatures, const char*, std::size_t> cases[] = {
      {{}, {1, 0, 1, 0}, "FH 1", 1},
      {{1, 0, 0, 1}, {1, 0, 0, 0}, "FH 3730405", 2},
      {{1, 0, 0, 0}, {1, 0, 0, 1}, "FH 1", 3}};
  link.Start();
  for (const auto& [before, after, request, frames] : cases) {
    for (std::size_t acknowledged = 0; acknowledged < 3; ++acknowledged) {
      Features(before);
      const std::string whole = Fetch(request);
      EXPECT_EQ(std::ranges::count(whole, '!'), frames);
      std::string all = link.Ask(request);
      for (std::size_t n = 0; n < acknowledged; ++n)
        all += link.Ask(">");
      Features(after);
      EXPECT_EQ(link.link->Features().hybridNumber, after.hybridNumber);
      EXPECT_EQ(FetchRest(link, all), whole) << request << " after " << acknowledged;
      EXPECT_NE(Fetch(request), whole) << request;
    }
  }
  Features({1, 0, 0, 0});
  const std::string whole = Fetch("FH 1");
  link.app.Put(link.app.Path(u"elsewhere/9.NC"), u"A\n");
  link.link->SendFile(link.app.Path(u"elsewhere/9.NC"));
  link.link->Poll(); // the window stores that folder only when the request runs already
  EXPECT_EQ(FetchRest(link, link.Ask("FH 1")), whole);
}

TEST_F(NceAppTest, SendsWhatACompressedProgramHolds) {
  std::string wide = "\xFF\xFE";
  for (const char c : "G90\nX10"s)
    wide += {c, '\0'};
  for (const std::string& content : {"G90\nX10\n"s, "\xEF\xBB\xBFG90\nX10"s, "G90\r\nX10"s, wide}) {
    link.PutProgram(u"1.MPG", KorText::FromBytes(content));
    const KorText path = link.Folder() + u"1.MPG";
    ASSERT_EQ(CompressFile(path, path), FileResult::Success);
    link.Start();
    EXPECT_EQ(Fetch("FH 1"), kStart1 + "08G90!X10!17\r]\r");
    EXPECT_EQ(link.Line(), KorText::Format(u"Download Completed %s - %i bytes", path,
                                           content.size())); // not that of the container
  }
}

// What is there but no program is sent neither in part nor as another program of that number.
TEST_F(NceAppTest, RefusesWhatIsNoWholeProgram) {
  const KorText path = link.Folder() + u"H0000000.C01";
  link.app.Put(path, u"G90\n");
  ASSERT_EQ(CompressFile(path, path), FileResult::Success);
  const KorText whole = *link.app.Content(path);
  const KorText damaged = whole.Left(whole.Length() - 12) + u"x" + whole.Right(11);
  const KorText header = u"x" + whole.Mid(1);
  KorText bomb = whole.Left(26); // the trailers of its blocks claim more than a program may hold
  for (int block = 0; block < 33; ++block)
    bomb += u"\x05\x80\0\0"s + KorText(0x8000, u'x') + u"\x01\0\0\0\x02"s;
  link.PutProgram(u"1.MPG", u"OLD\n");
  link.PutProgram(u"6.MPG", u"BEFORE\n");
  const std::pair<KorText, KorText> cases[] = {{KorText(24577, u'X'), u"Not a valid ASCII file."},
                                               {damaged, u"H0000000.C01"},
                                               {header, u"H0000000.C01"},
                                               {whole.Left(whole.Length() - 1), u"H0000000.C01"},
                                               {whole.Left(12), u"H0000000.C01"},
                                               {bomb, u"H0000000.C01\" is too large"}};
  for (const auto& [content, message] : cases) {
    link.app.Put(path, content);
    link.PutProgram(u"7.MPG", content);
    link.Start(u"500");
    Features({1, 0, 0, 0});
    link.form.messages.clear();
    EXPECT_EQ(link.Ask("FH 1"), "%% File H0000000.C01 not found on Host Computer\r");
    EXPECT_EQ(link.Code(), DownloadCantOpen);
    EXPECT_TRUE(link.form.OnlyMessage().StartsWith(u"Error: "));
    EXPECT_TRUE(link.form.OnlyMessage().Contains(message));
    EXPECT_TRUE(link.form.title.EndsWith(u"  H0000000.C01"));
    EXPECT_EQ(link.BeginDownload("6"), MakeFrame("BEFORE!")) << "no end mark: not all is there";
    EXPECT_EQ(link.Code(), DownloadErrors);
  }
}

// How somebody may be writing program 1 for as long as the flag is set: as the system tells it, by
// size or time, or by the content of a young file alone.
const std::pair<const char*, std::function<void(NceLink&, const bool&)>> kWriters[] = {
    {"opened for writing", [](NceLink& of, const bool&) { of.app.SetBeingWritten(u"1.MPG"); }},
    {"growing",
     [](NceLink& of, const bool& goesOn) {
       of.app.WhenOpening(u"1.MPG", [&of, &goesOn] {
         if (goesOn) of.PutProgram(u"1.MPG", *of.app.Content(of.Folder() + u"1.MPG") + u"X\n");
         of.app.SetTimes(of.Folder() + u"1.MPG", {.modified = 1}); // what tells no time
       });
     }},
    {"written over",
     [](NceLink& of, const bool& goesOn) {
       of.app.WhenOpening(u"1.MPG", [&of, &goesOn, number = 0]() mutable {
         if (!goesOn) return;
         of.PutProgram(u"1.MPG", KorText::Format(u"%05i\n", ++number));
         of.app.SetTimes(of.Folder() + u"1.MPG", {.modified = of.app.Utc()});
       });
       of.app.SetTimes(of.Folder() + u"1.MPG", {.modified = of.app.Utc()});
     }},
};

TEST_F(NceAppTest, AProgramThatSomebodyWritesWaitsAndIsNeverSentInPart) {
  for (const auto& [what, write] : kWriters) {
    NceLink fresh;
    bool goesOn = true;
    fresh.PutProgram(u"1.MPG", u"A\n");
    fresh.Start();
    write(fresh, goesOn);
    EXPECT_EQ(fresh.Ask("FH 1"), "") << what;
    EXPECT_EQ(fresh.HeldBytes(), 0u) << what;
    for (int second = 0; second < 4; ++second)
      EXPECT_EQ(fresh.After(1), "") << what;
    EXPECT_EQ(fresh.Code(), DownloadWaiting);
    EXPECT_TRUE(fresh.form.messages.empty());
    EXPECT_EQ(fresh.After(1), "%% File 1 not found on Host Computer\r") << what;
    EXPECT_EQ(fresh.Code(), DownloadCantOpen);
    EXPECT_TRUE(fresh.form.OnlyMessage().Contains(u"1.MPG\" is still being written")) << what;
    EXPECT_EQ(fresh.Ask("FH 1"), "");
    goesOn = false;
    fresh.app.SetBeingWritten({});
    EXPECT_EQ(fresh.After(1), "&LP 000000001\r") << what;
  }
}

TEST_F(NceAppTest, ARequestOrAnUploadOvertakesTheWaitForAWriter) {
  link.PutProgram(u"1.MPG", u"A\n");
  link.PutProgram(u"2.MPG", u"B\n");
  link.Start();
  link.app.SetBeingWritten(u"1.MPG");
  link.Ask("FH 1");
  EXPECT_EQ(link.Ask("FH 2"), "&LP 000000002\r");
  EXPECT_EQ(link.After(9), "");
  link.Ask("FH 1");
  EXPECT_EQ(link.Ask("TH 1"), "Upload from NCE  in progress. &TH 1\r");
  EXPECT_EQ(link.After(9), "");
  EXPECT_EQ(link.Code(), Uploading);
  link.Ask("06]");
  link.link->SendFile(link.Folder() + u"1.MPG"); // by hand nobody waits: it is said at once
  link.Run();
  EXPECT_EQ(link.Code(), DownloadCantOpen);
  EXPECT_TRUE(link.form.messages.back().Contains(u"1.MPG\" is still being written"));
}

TEST_F(NceAppTest, ASheetThatSomebodyWritesHoldsItsChainOrEndsItAsAnError) {
  for (const bool isDone : {true, false}) {
    NceLink fresh;
    fresh.PutProgram(u"1.MPG", u"A\n");
    fresh.PutProgram(u"2.MPG", u"BB\n");
    fresh.Start();
    fresh.link->SetFeatures({1, 0, 0, 0});
    fresh.app.SetBeingWritten(u"2.MPG");
    EXPECT_EQ(fresh.BeginDownload("1"), MakeFrame("A!"));
    EXPECT_EQ(fresh.Ask("<"), MakeFrame("A!"));
    EXPECT_EQ(fresh.Ask(">"), "");
    EXPECT_EQ(fresh.Ask("<"), ""); // that frame is accepted
    EXPECT_EQ(fresh.After(1), "");
    if (isDone) fresh.app.SetBeingWritten({});
    for (int second = 0; second < 3; ++second)
      EXPECT_EQ(fresh.After(1), isDone && second == 0 ? MakeFrame("BB!") + "]\r" : "");
    EXPECT_EQ(fresh.After(1), "");
    EXPECT_TRUE(fresh.Line().Contains(u"2.MPG")) << fresh.Line().ToUtf8();
    EXPECT_EQ(fresh.link->CurrentStatus().bytesTotal, isDone ? 3 : 2);
    EXPECT_EQ(fresh.Code(), isDone ? DownloadCompleted : DownloadErrors);
    EXPECT_TRUE(isDone ? fresh.form.messages.empty()
                       : fresh.form.OnlyMessage().Contains(u"2.MPG\" is still being written"));
  }
}

TEST_F(NceAppTest, AnAcknowledgementForgivesEarlierRefusals) {
  const KorText x(98, u'X'), y(120, u'Y'); // 99 characters with its "!" leave room for another line
  link.PutProgram(u"1.MPG", x + u"\n" + y + u"\n" + y + u"\nZ\n");
  link.Start();
  EXPECT_EQ(link.BeginDownload("1"), MakeFrame(x.ToBytes() + "!" + y.ToBytes() + "!"));
  link.Ask("<");
  link.Ask("<");
  const std::string second = link.Ask(">");
  EXPECT_EQ(link.Ask("<"), second);
  EXPECT_EQ(link.Ask("<"), second);
  link.Ask("<");
  EXPECT_TRUE(link.link->CurrentStatus().note.Contains(u"three times"));
  EXPECT_EQ(link.link->CurrentStatus().barRange, 0);
  link.Ask("FH 1");
  link.Ask(">");
  EXPECT_EQ(link.Ask("<"), "") << "no frame of the download before";
}

TEST_F(NceAppTest, NumbersProgramsByTheOptions) {
  // Features: autoload, strip PC, strip NCE, hybrid.
  const std::tuple<SpecialFeatures, std::string, KorText, std::string, KorText> cases[] = {
      {{0, 1, 0, 0}, "FH 0000000", u".MPG", "&LP 000000000\r", u""},
      {{}, "FH    42  ", u"42.MPG", "&LP 000000042\r", u""},
      {{}, "AFH 7", u"H 7.MPG", "&LP 000000000\r", u""}, // all behind two characters
      {{0, 1, 0, 1}, "FH 0730417", u"7304.MPG", "&LP 000007304\r", u""},
      {{1, 1, 0, 1}, "FH 730417", u"07304.MPG", "&LP 000007304\r", u""},
      {{0, 0, 0, 1}, "FH 0003730417", u"37304.MPG", "&LP 000037304\r", u""},
      {{0, 0, 0, 1}, "FH 12345678", u"12345.MPG", "&LP 000012345\r", u""},
      {{}, "FH 0000124", u"0000124.MPG", "&LP 000000124\r", u"500"}, // without an H name
      {{}, "FH 5", u"4.MPG", "%% File 5 not found on Host Computer\r", u"500"},
  };
  for (const auto& [features, request, file, reply, model] : cases) {
    NceLink fresh;
    fresh.PutProgram(file, u"A\n");
    fresh.Start(model);
    fresh.link->SetFeatures(features);
    EXPECT_EQ(fresh.Ask(request), reply) << request;
  }
}

TEST_F(NceAppTest, AChainJoinsTheFollowingNumbersUntilItsLastOrOneIsMissing) {
  // Whether hybrid; the names of the files, of which those with a dot are empty; asked for; sent.
  const std::tuple<const char*, std::int32_t, std::string, std::string, std::string> cases[] = {
      {"as written, then plain", 0, "0000123 124 125 0000126", "0000123", "0000123 124 125 "},
      {"an empty file in between", 0, "1 2. 3. 4", "1", "1 4 "},
      {"an empty file at first", 0, "3. 4", "3", "4 "},
      {"up to the largest number", 0, "2147483646 2147483647 2147483648", "2147483646",
       "2147483646 2147483647 "},
      {"empty files only", 0, "2147483646. 2147483647.", "2147483646", ""},
      {"from the largest number", 0, "2147483647 2147483648", "2147483647", "2147483647 "},
      {"beyond it", 0, "99999999999 2147483647", "99999999999", "99999999999 "},
      {"a lot to its last sheet", 1, "37304 37305 37306", "3730405", "37304 37305 "},
      {"a lot that ends before it starts", 1, "37304 37305", "3730401", "37304 "},
  };
  for (const auto& [what, hybrid, files, request, sent] : cases) {
    NceLink fresh;
    for (const KorText& name : Split(KorText::FromBytes(files), u' ')) {
      const KorText number = KorText(name).ReplaceAll(u".", u"");
      fresh.PutProgram(number + u".MPG", number == name ? name + u"\n" : u"\n\n");
    }
    fresh.Start();
    fresh.Do(&NCEApp::SetFeatures, SpecialFeatures{1, 0, 0, hybrid});
    std::string all = FetchRest(fresh, fresh.Ask("FH " + request)), frames;
    for (const KorText& number : Split(KorText::FromBytes(sent), u' '))
      if (!number.IsEmpty()) frames += MakeFrame(number.ToBytes() + "!");
    EXPECT_EQ(all.substr(all.find("\r", all.find("&FH")) + 1), frames + "]\r") << what;
  }
}

TEST_F(NceAppTest, TheTitleNamesTheRequestAndThenEachFileOfItsChain) {
  for (const char16_t* name : {u"0000123.MPG", u"124.MPG", u"125.MPG"})
    link.PutProgram(name, u"A\n");
  link.Start();
  link.Ask("FH 0000123");
  EXPECT_EQ(link.form.title, u"NCE  0000123");
  Features({1, 0, 0, 0});
  link.BeginDownload("0000123");
  EXPECT_EQ(link.form.title, u"124");
  link.Ask(">");
  EXPECT_EQ(link.form.title, u"125"); // the unchanged number alone
  Fetch("FH 125");
  EXPECT_EQ(link.form.title, u"125") << "also where nothing follows";
}

// The disk is asked only when the reply before it has gone out.
TEST_F(NceAppTest, NoReplyWaitsForAListingOrForTheNextFileOfAChain) {
  const std::string greeting = "Directory of Host Computer\nSelect File. &DH\r";
  const std::string page = " 1|1         2|2        \r";
  link.PutProgram(u"1.MPG", u"A\n");
  link.PutProgram(u"2.MPG", u"B\n");
  link.Start();
  Features({1, 0, 0, 0});
  std::string onLine;
  const auto take = [&] { onLine += link.port.TakeWritten(); };
  link.app.WhenOpening(u"2.MPG", take);
  link.BeginDownload("1");
  EXPECT_EQ(onLine, MakeFrame("A!"));
  EXPECT_EQ(link.Ask(">"), MakeFrame("B!") + "]\r");
  onLine.clear();
  link.app.WhenOpening(link.Folder(), take);
  link.Ask("DH");
  EXPECT_EQ(onLine, greeting);
  EXPECT_EQ(link.Ask(">"), page);
  link.app.WhenOpening({}, {});
  EXPECT_EQ(link.Send("DH\r>\r"), greeting + page) << "a page that is asked for at once";
}

TEST_F(NceAppTest, NumbersThatLeaveTheFolderNameNoFile) {
  link.app.Put(link.app.Path(u"x.MPG"), u"secret\n");
  link.PutProgram(u"sub/x.MPG", u"below\n");
  link.Start();
  link.app.RefuseOpening(u"cnc/2", true); // and two numbers that can't be stored
  for (const std::string& number :
       {"../x"s, "/etc/x"s, "C:x"s, ".."s, "."s, "sub/x"s, "..\\x"s, "CON"s, "nul"s, "com1"s,
        "LPT9.a"s, "2"s, std::string(260, '1')}) {
    EXPECT_EQ(link.Ask("FH " + number), "%% File " + number + " not found on Host Computer\r");
    EXPECT_EQ(link.Ask("TH 1"), "%% Unable to create file on Host Computer\r") << number;
    EXPECT_EQ(link.Code(), UploadCantOpen);
    EXPECT_TRUE(link.Line().EndsWith(KorText::FromBytes(number) + u".MPG")) << number;
  }
  EXPECT_EQ(link.app.Names(link.Folder()), Texts{u"sub/"});
}

TEST_F(NceAppTest, StoresAnUploadUnderTheLastRequestedNumberAndTellsWhenThereWasNone) {
  link.Start();
  link.Ask("TH 7");
  const KorText note = u"No number was asked for: this upload is stored as \".MPG\".";
  EXPECT_TRUE(link.form.last.note.StartsWith(note));
  EXPECT_EQ(link.Ask("04AB!C7"), ">\r");
  EXPECT_EQ(link.Ask("]"), ">\r");
  EXPECT_TRUE(link.form.last.note.StartsWith(note));
  EXPECT_EQ(link.form.jobs.back().note, link.form.last.note);
  link.Ask("FH 0000123");
  EXPECT_EQ(link.Ask("TH 0000124"), "Upload from NCE  in progress. &TH 0000123\r");
  EXPECT_EQ(link.form.last.note, u"");
  EXPECT_EQ(link.link->CurrentStatus().barRange, 10000);
  link.Ask("08G90!X10!17");
  EXPECT_EQ(link.Ask("~end"), ">\r"); // data like any other line: nothing is left of it
  EXPECT_EQ(link.link->CurrentStatus().barPosition, 16);
  link.link->CompleteUpload(); // not the user's to complete
  link.Run();
  EXPECT_TRUE(link.form.OnlyMessage().EndsWith(u"Only the controller can complete this upload."));
  EXPECT_FALSE(link.app.Content(link.Folder() + u"0000123.MPG"));
  EXPECT_EQ(link.Ask("06]"), ">\r");
  EXPECT_EQ(link.Code(), UploadCompleted);
  EXPECT_EQ(link.link->CurrentStatus().barRange, 0);
  EXPECT_EQ(link.app.Content(link.Folder() + u"0000123.MPG"), u"G90\nX10\n");
  EXPECT_EQ(link.Line(), u"Upload Completed " + link.Folder() + u"0000123.MPG - 8 bytes in file.");
  EXPECT_EQ(link.form.jobs.back().note, u"");
  EXPECT_EQ(link.Ask("0A~end!!00"), "END\r"); // a request again: nothing is left of the upload
}

// The console and the window say so; a byte that comes all the same takes it back.
TEST_F(NceAppTest, AnUploadThatStandsForAMinuteIsToldOf) {
  for (const bool byHand : {false, true}) {
    NceLink fresh;
    fresh.Start();
    if (byHand)
      fresh.Do(&NCEApp::ReceiveFile, fresh.Folder() + u"1.MPG");
    else
      fresh.BeginUpload("1");
    for (int round = 0; round < 2; ++round) {
      fresh.After(59);
      EXPECT_EQ(fresh.form.last.note, u"");
      fresh.After(2);
      EXPECT_TRUE(fresh.form.last.note.StartsWith(u"Nothing has come for a minute"));
      EXPECT_TRUE(fresh.form.last.note.EndsWith(u": cancel"));
      EXPECT_EQ(fresh.Ask("04AB!C7"), ">\r");
      EXPECT_EQ(fresh.form.last.note, u"");
    }
    fresh.Do(&NCEApp::CancelExchange);
    fresh.After(120);
    EXPECT_EQ(fresh.form.last.note, u"");
  }
}

TEST_F(NceAppTest, ADiskThatFailsAtTheEndLeavesTheOlderProgramAndNothingElse) {
  link.PutProgram(u"1.MPG", u"old\n");
  link.Start();
  link.Do(&NCEApp::ReceiveFile, link.Folder() + u"1.MPG"); // ends as the controller's does
  link.Ask("08G90!X10!17");
  link.app.FailSync(true);
  EXPECT_EQ(link.Ask("02]"), "<\r");
  EXPECT_EQ(link.Code(), UploadErrors);
  EXPECT_FALSE(link.form.endDialogs[EndDialog::Upload]);
  link.app.ClearFaults();
  EXPECT_EQ(link.app.Content(link.Folder() + u"1.MPG"), u"old\n");
  EXPECT_EQ(link.app.Names(link.Folder()), Texts{u"1.MPG"});
}

// How an upload may end at the host before its end mark has come.
const std::pair<const char*, std::function<void(NceLink&)>> kUploadEnds[] = {
    {"full disk",
     [](NceLink& of) {
       of.app.LimitWrites(0);
       EXPECT_EQ(of.Ask("08G90!X10!17"), "<\r");
       of.app.ClearFaults();
     }},
    {"port re-opened in mid-line",
     [](NceLink& of) {
       of.Send("0CG01 X1");
       of.link->OpenPort(0);
       EXPECT_EQ(of.Ask("00 Y200!55"), "<\r");
     }},
    {"cancelled", [](NceLink& of) { of.Do(&NCEApp::CancelExchange); }},
    {"refused at its start",
     [](NceLink& of) {
       of.Do(&NCEApp::CancelExchange);
       of.app.RefuseOpening(u"cnc/", true); // as when the folder is away
       EXPECT_EQ(of.Ask("TH 1"), "%% Unable to create file on Host Computer\r");
       of.app.ClearFaults();
     }},
    {"an end mark in the text of a line",
     [](NceLink& of) {
       EXPECT_EQ(of.Ask("0C(POS[1])!G1!00"), ">\r");
       EXPECT_TRUE(of.form.jobs.back().note.StartsWith(u"Stored only up to a \"]\""));
       EXPECT_EQ(of.form.last.note, of.form.jobs.back().note);
     }},
    {"completed by hand",
     [](NceLink& of) {
       of.Do(&NCEApp::CancelExchange);
       EXPECT_EQ(of.Ask("01]5D"), "<\r"); // The controller ends the upload before this one.
       of.Do(&NCEApp::ReceiveFile, of.Folder() + u"0000001.MPG");
       EXPECT_EQ(of.Ask("08G90!X10!17"), ">\r");
       of.Do(&NCEApp::CompleteUpload);
     }},
};
// What ends the rest, and what is answered.
const std::pair<std::string_view, std::string_view> kRestEnds[] = {
    {"06]", "<\r"},
    {"01]5D", "<\r"},
    {"FH P]", "%% File P] not found on Host Computer\r"},
    {"TH ", "Upload from NCE  in progress. &TH 0000001\r"},
    {"ABC~endDEF", "END\r"},
    {"XYZ", "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r"},
    {"~", "UDL>\r"},
    {"~end", "END\r"},
    {"FH 0000001", "&LP 000000001\r"},
    {"TH 0000001", "Upload from NCE  in progress. &TH 0000001\r"},
    {"DH", "Directory of Host Computer\nSelect File. &DH\r"},
};

TEST_F(NceAppTest, TheRestOfAnUploadThatEndedHereIsNoRequest) {
  link.PutProgram(u"1.MPG", u"A\n");
  link.Start();
  link.BeginUpload("1");
  link.Do(&NCEApp::CancelExchange);
  link.Do(&NCEApp::SendFile, link.Folder() + u"1.MPG"); // the rest breaks it off
  EXPECT_EQ(link.Ask("0C(DEPTH 5)!00"), "<\r");
  EXPECT_EQ(link.Code(), DownloadErrors);
  for (const auto& [what, fail] : kUploadEnds) {
    for (const auto& [end, reply] : kRestEnds) {
      NceLink fresh;
      fresh.PutProgram(u"0000001.MPG", u"old\n");
      fresh.Start();
      fresh.BeginUpload("0000001");
      fresh.Ask("08G90!X10!17");
      fail(fresh);
      const LinkStatus code = fresh.Code();
      EXPECT_EQ(fresh.link->CurrentStatus().barRange, 0) << what;
      EXPECT_EQ(fresh.Ask("3B"), "%% Message not recognised by HOST\r"); // of a torn line
      for (const char* rest : {"0A(DEPTH 5)!3B", "TH 5)!3B", "0AFH 1!]!00", "ab]!00", "08DH!XYZ!00",
                               "0A~end!!00", "04G9>!00"})
        EXPECT_EQ(fresh.Ask(rest), "<\r") << what << ": " << rest;
      EXPECT_EQ(fresh.Ask(">"), code == UploadCompleted ? "UDL>\r" : ">\r");
      EXPECT_EQ(fresh.Ask("<"), "");
      EXPECT_EQ(fresh.Code(), code) << what;
      EXPECT_EQ(fresh.Ask(end), reply) << what;
      if (end != "TH " && !reply.starts_with("Upload")) {
        EXPECT_EQ(fresh.Ask("0C(~)!00"), "UDL>\r") << what << ": " << end;
      }
      const KorText stored = code == UploadCompleted ? u"G90\nX10\n" : u"old\n";
      EXPECT_EQ(fresh.app.Content(fresh.Folder() + u"0000001.MPG"), stored);
    }
  }
}

TEST_F(NceAppTest, WhatEndsADownloadIsAnsweredAndLetsGoOfItsMemory) {
  const std::string frame = MakeFrame(std::string(150, 'A') + "!");
  const std::tuple<std::string, std::string, LinkStatus> cases[] = {
      {"nonsense", "", DownloadErrors},
      {"~", "UDL>\r", DownloadErrors},
      {"~end", "END\r", DownloadErrors},
      {"TH 1", "Upload from NCE  in progress. &TH 1\r", Uploading},
      {"DH", "Directory of Host Computer\nSelect File. &DH\r", DirectoryListing},
      {"XYZ", "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r", LoopBackTest},
      {"FH 2", "%% File 2 not found on Host Computer\r", DownloadCantOpen},
      {"<\r<\r<", frame + frame, DownloadErrors},
  };
  for (const auto& [line, reply, code] : cases) {
    NceLink fresh;
    fresh.PutProgram(u"1.MPG", KorText(150, u'A') + u"\nB\n");
    fresh.Start();
    fresh.BeginDownload("1");
    EXPECT_EQ(fresh.HeldBytes(), 153u);
    EXPECT_EQ(fresh.Ask(line), reply);
    EXPECT_EQ(fresh.form.last.code, code) << line; // shown at once
    EXPECT_EQ(fresh.HeldBytes(), 0u) << line;
  }
}

TEST_F(NceAppTest, PagesThroughTheDirectory) {
  for (const char16_t* name : {u"3730417.MPG", u"20.MPG", u"101.MPG", u"other.TXT"})
    link.PutProgram(name, u"A"); // one byte is a program, none isn't
  link.PutProgram(u"empty.MPG", u"");
  link.PutProgram(u"folder.MPG/x", u"A\n");
  link.Start();
  for (int i = 0; i < 6; ++i)
    link.PutProgram(KorText::Format(u"b%i.MPG", i), u"A\n");
  link.Ask("DH");
  EXPECT_EQ(link.Ask(">"), " 1|101       2|20        3|3730417   4|b0       \r");
  EXPECT_EQ(link.Ask(">"), " 5|b1        6|b2        7|b3        8|b4       \r");
  EXPECT_EQ(link.Ask(">"), " 9|b5       \r");
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(link.Ask(">"), "]\r");
  link.app.RemoveFolder(link.Folder()); // now it can't be read
  EXPECT_EQ(link.Ask("DH"), "Directory of Host Computer\nSelect File. &DH\r");
  EXPECT_EQ(link.Code(), DirectoryError);
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(link.Ask(">"), "]\r");
}

TEST_F(NceAppTest, WaitsTheTransmitDelayAndStartsTheNewestWishOnce) {
  link.PutProgram(u"1.MPG", u"A\n");
  link.PutProgram(u"2.MPG", u"A\n");
  link.Start({}, u"transmit delay=3\n");
  EXPECT_EQ(link.Ask("FH 1"), "");
  EXPECT_EQ(link.Code(), DownloadWaiting);
  EXPECT_EQ(link.After(2.9), "");
  link.Ask("FH 2"); // starts the delay afresh
  EXPECT_EQ(link.After(2.9), "");
  EXPECT_EQ(link.After(0.2), "&LP 000000002\r");
  EXPECT_EQ(link.After(10), "");
  link.BeginUpload("2"); // takes the place of the request before it
  EXPECT_EQ(link.After(10), "");
  EXPECT_EQ(link.Code(), Uploading);
  link.Do(&NCEApp::CancelExchange);
  link.Ask("FH 1");
  link.Ask("XYZ"); // takes the status, not the delay
  link.Do(&NCEApp::SendFile, link.Folder() + u"1.MPG");
  EXPECT_EQ(link.Code(), Downloading);
  EXPECT_EQ(link.After(10), "");
  EXPECT_EQ(link.Ask(">"), "02A!60\r]\r");
  link.Ask("FH 1");
  const StatusView view = link.link->CurrentStatus();
  EXPECT_EQ(view.bytesDone + view.barPosition, 0) << "of the one before";
}

TEST_F(NceAppTest, SimulationAcknowledgesItsOwnFramesWhileTheLineTakesThem) {
  link.Start(u"SIMULATION"); // no file: every poll acknowledges
  link.port.SetWriteLimit(0);
  for (int i = 0; i < 1000; ++i)
    link.link->Poll();
  link.port.SetWriteLimit(4096);
  link.port.TakeWritten();
  link.link->Poll();
  EXPECT_LE(link.port.TakeWritten().size(), 4u);
  link.PutProgram(u"0000001.MPG", u"A\n");
  link.Start(u"SIMULATION");
  for (int i = 0; i < 10; ++i)
    link.Run();
  EXPECT_EQ(link.port.TakeWritten(), kStart1 + MakeFrame("A!") + "]\r");
  EXPECT_EQ(link.Code(), DownloadCompleted);
}

TEST_F(NceAppTest, SpecialFeaturesAreShownAndTakenOver) {
  link.Start();
  link.link->SetFeatures({1, 0, 1, 0});
  EXPECT_TRUE(link.form.specialShown);
  SetTextLookup([](int number) { return KorText::Format(u"%i ", number); });
  FormDescription form = link.link->SpecialForm();
  SetTextLookup({});
  KorText values, labels;
  for (const char16_t* key : {u"autoload", u"strip-pc", u"strip-nce", u"hybrid"}) {
    values += form.Find(key)->value;
    labels += form.Find(key)->label;
  }
  EXPECT_EQ(values, u"1010");
  EXPECT_EQ(labels + form.Find(u"hybrid")->group, u"15303 15304 15306 15305 15307 ");
  link.form.edit = [](FormDescription& edited) {
    edited.Find(u"strip-pc")->value = u"1";
    edited.Find(u"strip-nce")->value = u"0";
    return true;
  };
  link.link->SpecialDialog();
  EXPECT_EQ(link.link->Features().stripPcZeros, 1);
  EXPECT_EQ(link.link->Features().stripNceZeros, 0);
}

TEST_F(NceAppTest, AFileSentByHandGoesOutInFramesAndItsFolderIsKept) {
  const KorText path = link.app.Path(u"elsewhere/2.NC");
  const std::string full(98, 'G'), last(120, 'X');
  link.app.Put(path, KorText::FromBytes(full + "\n" + last + "\r\n"));
  link.PutProgram(u"3.MPG", u"no autoload by hand\n");
  link.Start();
  Features({1, 0, 0, 0});
  link.Ask("FH 2");
  link.form.chosen = path;
  link.Do(&NCEApp::ChooseDownloadFile);
  EXPECT_EQ(link.Code(), Downloading);
  EXPECT_EQ(link.form.title, u"NCE  " + path);
  EXPECT_EQ(link.link->CurrentStatus().barRange, 221);
  EXPECT_EQ(link.Ask(">"), MakeFrame(full + "!" + last + "!") + "]\r");
  EXPECT_EQ(link.Code(), DownloadCompleted);
  EXPECT_EQ(link.link->Settings().fileExtension, u"NC");
  EXPECT_EQ(link.link->Settings().downloadPath, link.app.Path(u"elsewhere/"));
  link.PutProgram(u"sub.d/2", u"A\n"); // without an extension, below the working folder
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(link.Folder().ToUtf8());
  link.Do(&NCEApp::SendFile, u"sub.d/2");
  std::filesystem::current_path(before);
  EXPECT_EQ(link.Ask("<"), "") << "no frame of the file before";
  const KorText folder = link.link->Settings().downloadPath;
  EXPECT_TRUE(std::filesystem::path(folder.ToUtf8()).is_absolute()) << folder.ToUtf8();
  EXPECT_EQ(link.app.Content(folder + u"2"), u"A\n");
  EXPECT_EQ(link.link->Settings().fileExtension, u"NC");
  EXPECT_TRUE(link.form.endDialogs[EndDialog::Download]);
  link.PutProgram(u"sub.d/8.NC", u"A\n");
  link.PutProgram(u"sub.d/9.NC", u"B\n");
  EXPECT_EQ(link.BeginDownload("8"), MakeFrame("A!")); // takes its place, and autoload counts again
  EXPECT_EQ(link.Ask(">"), MakeFrame("B!") + "]\r");
  EXPECT_FALSE(link.form.endDialogs[EndDialog::Download]);
}

} // namespace
} // namespace kor
