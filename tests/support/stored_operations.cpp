#include "tests/support/stored_operations.h"

#include "app/nce_frame.h"
#include "files/compressed_file.h"
#include "files/kor_file.h"
#include "services/ini/ini_file.h"
#include "tests/support/dictionary_samples.h"

namespace kor {

namespace {

constexpr const char16_t* kProgram = u"cnc/0000123.MPG";

void PutProgram(NceLink& link, const KorText& path, const StoredTexts& texts) {
  link.app.Put(path, texts.older);
}

void Start(NceLink& link, const KorText&, const StoredTexts&) {
  link.Start();
}

bool Upload(NceLink& link, const KorText&, const StoredTexts& texts) {
  link.BeginUpload("0000123");
  std::string rest = texts.newer.ToBytes();
  for (std::size_t end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
    link.Send(MakeFrame(rest.substr(0, end) + "!"));
    rest.erase(0, end + 1);
  }
  return link.Ask("02]").starts_with(">");
}

bool WriteIni(const KorText& path, KorText value) {
  iniFile file(path);
  file.Add<iniString>(u"PROGRAM PATHS", u"CNC", &value);
  return file.Write() && file.LastSaveSucceeded();
}

const StoredOperation kOperations[] = {
    {"upload", kProgram,
     [](NceLink& link, const KorText& path, const StoredTexts& texts) {
       PutProgram(link, path, texts);
       link.Start();
     },
     Upload},
    {"new-upload", kProgram, Start, Upload},
    {"settings", u"settings/NCE.INI",
     [](NceLink& link, const KorText&, const StoredTexts&) {
       link.Start();
       link.link->SaveSettings();
     },
     [](NceLink& link, const KorText&, const StoredTexts& texts) {
       link.link->SetFeatures({1, 1, texts.newer.Length() % 2 == 0 ? 0 : 1, 1});
       return link.link->SaveSettings();
     }},
    {"paths", u"start-in/KOR.INI",
     [](NceLink&, const KorText& path, const StoredTexts&) { WriteIni(path, u"/srv/"); },
     [](NceLink&, const KorText& path, const StoredTexts& texts) {
       return WriteIni(path, u"/srv/" + texts.newer.Left(texts.newer.Find(u'\n')));
     }},
    {"dictionary", u"program/diction.ary",
     [](NceLink&, const KorText& path, const StoredTexts&) { SaveSample(path); },
     [](NceLink&, const KorText& path, const StoredTexts& texts) {
       TextHolder dictionary;
       FillSample(dictionary, path);
       dictionary.FindEntry(48)->phrase = texts.newer;
       return dictionary.Save();
     }},
    {"compression", kProgram, PutProgram,
     [](NceLink&, const KorText& path, const StoredTexts&) {
       return CompressFile(path, path) == FileResult::Success;
     }},
    {"restoring", kProgram,
     [](NceLink& link, const KorText& path, const StoredTexts& texts) {
       PutProgram(link, path, texts);
       CompressFile(path, path);
     },
     [](NceLink&, const KorText& path, const StoredTexts&) {
       return DecompressFile(path, path) == FileResult::Success;
     }},
    {"copy", kProgram,
     [](NceLink& link, const KorText& path, const StoredTexts& texts) {
       PutProgram(link, path, texts);
       link.app.Put(path + u"2", texts.newer);
     },
     [](NceLink& link, const KorText& path, const StoredTexts&) {
       return link.app.DuplicateFile(path + u"2", path);
     }},
};

} // namespace

std::span<const StoredOperation> StoredOperations() {
  return kOperations;
}

StoredContent InflatedContent(const KorText& path) {
  SimpleFile file(path);
  if (!App().FileExists(path)) return std::nullopt;
  if (!file.Open(kFileRead, OpenWait::No, Compression{IsCompressedFile(path)}))
    return "(can't be opened)";
  const auto bytes = file.ReadAll();
  return bytes ? std::string(bytes->begin(), bytes->end()) : "(can't be read)";
}

CutOutcome CutAfter(int changes, const StoredOperation& operation, NceLink& link,
                    const StoredTexts& texts) {
  const KorText path = link.app.Path(operation.target);
  CutOutcome outcome;
  link.app.RestoreDisk({});
  operation.prepare(link, path, texts);
  outcome.older = InflatedContent(path);
  outcome.storedOlder = link.app.Content(path);
  link.app.WatchDisk();
  link.app.CutPowerAfter(changes);
  const auto keepStates = [&] {
    outcome.finished = link.app.Changes() < changes;
    outcome.states = link.app.DiskStates();
  };
  // What is acknowledged has to be on the disk when the acknowledgement's first byte goes out.
  link.port.SetResponder([&](std::string_view) { keepStates(); });
  outcome.success = operation.run(link, path, texts);
  link.port.SetResponder({});
  if (outcome.states.empty()) keepStates();
  link.app.CutPowerAfter(0);
  link.Close();
  link.app.ClearFaults();
  outcome.newer = InflatedContent(path);
  outcome.storedNewer = link.app.Content(path);
  return outcome;
}

std::string PartsBeside(NceLink& link, const KorText& path) {
  std::string parts;
  for (const KorText& name : link.app.Names(path.Left(path.FindLast(u'/'))))
    if (name.EndsWith(kPartSuffix)) parts += name.ToUtf8() + "\n";
  return parts;
}

std::string FindTorn(const StoredOperation& operation, NceLink& link, const CutOutcome& cut,
                     const CutOutcome& uncut) {
  const KorText path = link.app.Path(operation.target);
  if (cut.success && cut.newer != uncut.newer) return "success, but not stored";
  for (const DiskImage::Files& state : cut.states) {
    link.app.RestoreDisk(state);
    RemoveAbandonedParts(App().Files(), path.Left(path.FindLast(u'/')));
    const StoredContent now = InflatedContent(path);
    if (now != uncut.newer && now != uncut.older) return "torn: " + now.value_or("(none)");
    if (cut.finished && link.app.Content(path) != uncut.storedNewer)
      return "success, but not on disk";
    const std::string parts = PartsBeside(link, path);
    if (!parts.empty()) return "left: " + parts;
  }
  return {};
}

} // namespace kor
