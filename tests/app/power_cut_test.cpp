// Everything that is stored beside its target and renamed over it, driven through every moment at which
// the power may go and everything that the disk may hold then.
#include <gtest/gtest.h>

#include "files/compressed_file.h"
#include "services/ini/ini_file.h"
#include "tests/dictionary/dictionary_samples.h"
#include "tests/support/nce_link.h"

namespace kor {
namespace {

struct Operation {
  const char* name;
  const char16_t* target; // below the root
  std::function<void(NceLink&, const KorText& path)> prepare;
  std::function<bool(NceLink&, const KorText& path)> run; // true: reports success
};

constexpr const char16_t* kProgram = u"cnc/0000123.MPG";

void PutProgram(NceLink& link, const KorText& path) {
  link.app.Put(path, KorText(3000, u'G') + u"\n");
}

bool Upload(NceLink& link, const KorText&) {
  link.Ask("FH 0000123");
  link.Ask("TH 0000123");
  link.Ask("08G90!X10!17");
  link.Ask("02]");
  return link.Code() == 19;
}

bool WriteIni(const KorText& path, KorText value) {
  iniFile file(path);
  file.Add<iniString>(u"PROGRAM PATHS", u"CNC", &value);
  return file.Write() && file.LastSaveSucceeded();
}

const Operation kOperations[] = {
    {"upload", kProgram,
     [](NceLink& link, const KorText& path) {
       PutProgram(link, path);
       link.Start();
     },
     Upload},
    {"upload of a new program", kProgram, [](NceLink& link, const KorText&) { link.Start(); },
     Upload},
    {"settings", u"settings/NCE.INI",
     [](NceLink& link, const KorText&) {
       link.Start();
       link.link->SaveSettings();
       link.link->SetFeatures({1, 1, 1, 1});
     },
     [](NceLink& link, const KorText&) { return link.link->SaveSettings(); }},
    {"KOR.INI", u"start-in/KOR.INI",
     [](NceLink&, const KorText& path) { WriteIni(path, u"/srv/a"); },
     [](NceLink&, const KorText& path) { return WriteIni(path, u"/srv/bb"); }},
    {"dictionary", u"program/diction.ary", [](NceLink&, const KorText& path) { SaveSample(path); },
     [](NceLink&, const KorText& path) {
       TextHolder dictionary;
       FillSample(dictionary, path);
       dictionary.FindEntry(48)->phrase = u"Give up";
       return dictionary.Save();
     }},
    {"compression in place", kProgram, PutProgram,
     [](NceLink&, const KorText& path) {
       return CompressFile(path, path, false) == FileResult::Success;
     }},
    {"restoring in place", kProgram,
     [](NceLink& link, const KorText& path) {
       PutProgram(link, path);
       CompressFile(path, path, false);
     },
     [](NceLink&, const KorText& path) {
       return DecompressFile(path, path, false) == FileResult::Success;
     }},
    {"copy", kProgram,
     [](NceLink& link, const KorText& path) {
       PutProgram(link, path);
       link.app.Put(path + u"2", u"newer");
     },
     [](NceLink& link, const KorText& path) { return link.app.DuplicateFile(path + u"2", path); }},
};

using Content = std::optional<std::string>; // none: no such file

// As every reader of the program sees it: inflated. Damaged data never equals what was stored.
Content Inflated(const KorText& path) {
  SimpleFile file(path);
  if (!App().FileExists(path)) return std::nullopt;
  if (!file.Open(kFileRead, false, IsCompressedFile(path))) return "(can't be opened)";
  const auto bytes = file.ReadAll();
  return bytes ? std::string(bytes->begin(), bytes->end()) : "(can't be read)";
}

Content Stored(TestApp& app, const KorText& path) {
  const auto text = app.Content(path);
  return text ? Content(text->ToBytes()) : std::nullopt;
}

struct Outcome {
  bool success = false, finished = false;
  Content older, newer, storedNewer;
  std::set<DiskImage::Files> states;
};

// The operation from the start, with that many changes before the cut.
Outcome RunOnce(const Operation& operation, NceLink& link, int changes) {
  const KorText path = link.app.Path(operation.target);
  Outcome outcome;
  link.app.RestoreDisk({});
  operation.prepare(link, path);
  outcome.older = Inflated(path);
  link.app.WatchDisk();
  link.app.CutPowerAfter(changes);
  outcome.success = operation.run(link, path);
  outcome.finished = link.app.Changes() < changes;
  outcome.states = link.app.DiskStates();
  link.app.CutPowerAfter(0);
  link.link.reset();
  link.app.ClearFaults();
  outcome.newer = Inflated(path);
  outcome.storedNewer = Stored(link.app, path);
  return outcome;
}

// After each possible state of the disk, the next start.
void ExpectWhole(NceLink& link, const KorText& path, const Outcome& cut, const Outcome& uncut) {
  const KorText folder = path.Left(path.FindLast(u'/'));
  for (const DiskImage::Files& state : cut.states) {
    link.app.RestoreDisk(state);
    RemoveAbandonedParts(App().Files(), folder);
    const Content now = Inflated(path);
    EXPECT_TRUE(now == uncut.newer || now == uncut.older) << now.value_or("(none)");
    EXPECT_TRUE(!cut.finished || Stored(link.app, path) == uncut.storedNewer);
    for (const KorText& name : link.app.Names(folder))
      EXPECT_FALSE(name.EndsWith(kPartSuffix)) << name.ToUtf8();
  }
}

TEST(PowerCut, LeavesTheOlderOrTheNewerFileAndTheNewerOnceSuccessWasReported) {
  for (const Operation& operation : kOperations) {
    NceLink link;
    const Outcome uncut = RunOnce(operation, link, 1000);
    ASSERT_TRUE(uncut.success && uncut.finished) << operation.name;
    bool finished = false;
    for (int changes = 0; !finished; ++changes) {
      SCOPED_TRACE(std::string(operation.name) + ", cut after " + std::to_string(changes));
      const Outcome outcome = RunOnce(operation, link, changes);
      finished = outcome.finished;
      ExpectWhole(link, link.app.Path(operation.target), outcome, uncut);
    }
  }
}

} // namespace
} // namespace kor
