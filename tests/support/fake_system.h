// A system that is the same everywhere. FakeClock is moved by hand; it starts on the first of
// January 2026 and sleeps by moving on. FakeRegistry is in memory. Both: any thread.
// FakeEnvironment and FakeLocale, a user and habits of writing: set them before the code under test
// starts.
#pragma once

#include <atomic>
#include <cmath>
#include <map>
#include <variant>

#include "services/core/app_interface.h"
#include "services/core/thread_annotations.h"

namespace kor {

class FakeClock : public OsClock {
 public:
  void Advance(double seconds) { // every clock; negative: back
    monotonicNanoseconds += std::llround(seconds * 1e9);
    wallClock += static_cast<FileTime>(std::llround(seconds * 1e7));
  }
  void SetUtc(FileTime utc) { wallClock = utc; }
  void SetUtc(const SystemTime& utc) { wallClock = AppInterface::SystemTimeToFileTime(utc); }
  void SetZoneMinutes(int minutes) { zoneMinutes = minutes; } // east of UTC; 0 at start

  FileTime Utc() override { return wallClock; }
  FileTime ToLocal(FileTime utc) override {
    return utc + static_cast<FileTime>(std::int64_t{zoneMinutes} * 60 * 10'000'000);
  }
  double Seconds() override { return static_cast<double>(monotonicNanoseconds) / 1e9; }
  std::uint32_t Ticks() override {
    return static_cast<std::uint32_t>(monotonicNanoseconds / 1'000'000);
  }
  void SleepMilliseconds(std::uint32_t milliseconds) override { Advance(milliseconds / 1000.0); }

 private:
  std::atomic<FileTime> wallClock = AppInterface::SystemTimeToFileTime({.year = 2026});
  std::atomic<std::int64_t> monotonicNanoseconds = 1'000'000'000;
  std::atomic<int> zoneMinutes = 0;
};

class FakeEnvironment : public OsEnvironment {
 public:
  // The environment is empty but for these.
  void SetEnvironment(const KorText& name, const KorText& value) { variables[name] = value; }
  // All folders lie below that one: "start-in", "temp", "settings", "program" and "data".
  void SetFoldersBelow(const KorText& folder) { root = folder; }

  KorText Variable(const KorText& name) override {
    const auto found = variables.find(name);
    return found == variables.end() ? KorText() : found->second;
  }
  KorText User() override { return u"tester"; }
  KorText System() override { return u"Test system"; }
  PropertyFolders Folders(const ProgramNames&, const KorText&) override {
    return {root + u"start-in", root + u"temp", root + u"settings", root + u"program",
            root + u"data"};
  }
  KorText FolderAdvice(const ProgramNames&) override { return u"no folders"; }
  KorText PublicDocuments() override { return root + u"public/"; }

 private:
  KorText root;
  std::map<KorText, KorText> variables;
};

class FakeLocale : public OsLocale {
 public:
  void SetUserLanguage(const KorText& toTell) { language = toTell; }

  RegionalSettings Load() override { return {}; }
  KorText Date(const SystemTime& time) override { // "21/11/2026"
    return KorText::Format(u"%02i/%02i/%04i", time.day, time.month, time.year);
  }
  KorText Time(const SystemTime& time) override { // "13:05:09"
    return KorText::Format(u"%02i:%02i:%02i", time.hour, time.minute, time.second);
  }
  KorText Language() override { return language; }

 private:
  KorText language = u"en-GB";
};

class FakeRegistry : public OsRegistry {
 public:
  std::optional<std::uint32_t> ReadNumber(const KorText& key, const KorText& value) override {
    return Read<std::uint32_t>(key, value);
  }
  std::optional<KorText> ReadText(const KorText& key, const KorText& value) override {
    return Read<KorText>(key, value);
  }
  bool WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) override {
    return Write(key, value, number);
  }
  bool WriteText(const KorText& key, const KorText& value, const KorText& text) override {
    return Write(key, value, text);
  }
  bool Change(const std::function<bool()>& work) override { return work(); }
  std::vector<KorText> SubKeys(const KorText& key) override {
    Lock lock(mutex);
    std::vector<KorText> names;
    for (const auto& [stored, content] : values) {
      if (!stored.StartsWithNoCase(key + u"\\")) continue;
      const KorText below = stored.Mid(key.Length() + 1);
      const KorText name = below.Left(below.View().find_first_of(u"\\\n"));
      if (names.empty() || !names.back().EqualsNoCase(name)) names.push_back(name);
    }
    return names;
  }

 private:
  struct NoCase {
    bool operator()(const KorText& a, const KorText& b) const { return a.CompareNoCase(b) < 0; }
  };
  using Stored = std::variant<std::uint32_t, KorText>;

  template <class Kind> std::optional<Kind> Read(const KorText& key, const KorText& value) {
    const Lock lock(mutex);
    const auto found = values.find(key + u"\n" + value);
    if (found == values.end() || !std::holds_alternative<Kind>(found->second)) return std::nullopt;
    return std::get<Kind>(found->second);
  }
  bool Write(const KorText& key, const KorText& value, const Stored& content) {
    const Lock lock(mutex);
    values[key + u"\n" + value] = content;
    return true;
  }

  Mutex mutex;
  std::map<KorText, Stored, NoCase> values KOR_GUARDED_BY(mutex); // "key\nvalue"
};

} // namespace kor
