#include "ui/console/status_line.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "services/core/text_lookup.h"
#include "ui/console/column_width.h"

namespace kor {

namespace {

constexpr double kMeasure = 0.5;    // seconds of one measurement at least
constexpr double kSmoothing = 2.0;  // seconds after which an older rate counts a third
constexpr double kHeldByLine = 2.0; // seconds without a byte while a hold lamp is on
// Without one: a frame may take ten seconds at 110 baud.
constexpr double kHeldAnyway = 15.0;
constexpr double kLongestLeft = 100 * 3600.0; // seconds; beyond it a time says nothing
constexpr std::size_t kBarWidth = 20;
constexpr std::size_t kGap = 2;           // columns before the lamps and the folder
constexpr std::size_t kRoomForDots = 100; // columns of a screen that shows lamps that are out
constexpr std::size_t kLampColumns = 12;  // what a narrower screen keeps free for lit ones
constexpr std::size_t kLeastText = 26;    // columns that the lamps leave to the text
constexpr std::size_t kLeastFolder = 6;
constexpr std::int32_t kDownloading = 12;
constexpr std::int32_t kUploading = 13;
constexpr const char16_t* kLampNames[kLampCount] = {u"RX",  u"TX",   u"CTS",  u"DSR",
                                                    u"RLS", u"XOFF", u"XSENT"};

bool IsTransfer(std::int32_t code) {
  return code == kDownloading || code == kUploading;
}

bool IsHeldByLine(const StatusView& view) {
  return std::any_of(view.lamps.begin() + kLampCtsHold, view.lamps.begin() + kLampXoffSent,
                     [](bool lamp) { return lamp; });
}

// A part of the line; of parts that don't all fit, those of lower rank stay.
struct Part {
  KorText text;
  int rank = 0;
  bool shown = false;
};

std::size_t ChooseParts(std::vector<Part>& parts, std::size_t room) {
  std::size_t used = 0;
  const int ranks = static_cast<int>(parts.size());
  for (int rank = 0; rank < ranks; ++rank)
    for (Part& part : parts) {
      const std::size_t wanted = ColumnsOf(part.text) + (used > 0 ? 1 : 0);
      if (part.rank != rank || part.text.IsEmpty() || used + wanted > room) continue;
      part.shown = true;
      used += wanted;
    }
  return used;
}

KorText Joined(const std::vector<Part>& parts) {
  KorText text;
  for (const Part& part : parts) {
    if (!part.shown) continue;
    if (!text.IsEmpty()) text += u' ';
    text += part.text;
  }
  return text;
}

// The end of a folder, from the beginning of a name where one is left whole.
KorText CutFolder(const KorText& folder, std::size_t columns) {
  const KorText cut = CutLeft(folder, columns);
  if (cut == folder) return cut;
  const std::size_t slash = cut.View().find_first_of(u"/\\");
  const bool whole = slash != KorText::kNone && slash + 1 < cut.Length();
  return whole ? KorText(kCut) + cut.Mid(slash) : cut;
}

// The folder takes what is left, and is worth nothing when hardly anything is.
KorText WithFolder(const KorText& text, const KorText& folder, std::size_t room) {
  const std::size_t used = ColumnsOf(text) + kGap;
  const std::size_t left = room > used ? room - used : 0;
  if (left < std::min(kLeastFolder, ColumnsOf(folder)) || folder.IsEmpty()) return text;
  return PadColumns(text, ColumnsOf(text) + kGap) + CutFolder(folder, left);
}

KorText CountText(const StatusView& view) {
  if (view.code == kDownloading && view.size > 0)
    return KorText::Format(u"%i/%i", view.bytes, view.size);
  return KorText::Format(u"%i bytes", view.bytes);
}

// Whether a share of the whole can be told: an upload's size isn't known beforehand.
bool IsMeasurable(const StatusView& view) {
  return view.code == kDownloading && view.size > 0;
}

KorText ShareText(const StatusView& view) {
  if (!IsMeasurable(view)) return {};
  const std::int64_t most = view.size;
  const double share = static_cast<double>(std::clamp<std::int64_t>(view.bytes, 0, most)) * 100;
  return KorText::Format(u"%i%%", static_cast<int>(share / static_cast<double>(most)));
}

KorText RatePart(const Pace& pace) {
  constexpr double kLeastRate = 0.5; // shown as 0 below it
  if (pace.held || pace.bytesPerSecond.value_or(1) < kLeastRate) return LookUpText(15500, u"held");
  return pace.bytesPerSecond ? RateText(*pace.bytesPerSecond) : KorText();
}

KorText LeftPart(const StatusView& view, const Pace& pace) {
  if (!IsMeasurable(view) || pace.held || pace.bytesPerSecond.value_or(0) <= 0) return {};
  const auto bytes = static_cast<double>(std::max<std::int64_t>(view.size - view.bytes, 0));
  const double seconds = bytes / *pace.bytesPerSecond;
  if (seconds >= kLongestLeft) return {};
  return KorText::Format(LookUpText(15426, u"%s left"), TimeText(seconds));
}

KorText TransferText(const StatusView& view, const Pace& pace, std::size_t room) {
  const StatusWords apart = TakeApart(view.line, view.fileName);
  const KorText count = CountText(view);
  const std::size_t forName = room - std::min(room, ColumnsOf(count) + 1);
  const KorText bar =
      IsMeasurable(view) ? ProgressBar(view.bytes, view.size, kBarWidth) : KorText();
  std::vector<Part> parts{
      {CutRight(apart.name, forName), 0},
      {view.code == kDownloading ? u"Downloading" : u"Uploading", 5},
      {count, 1},
      {bar, 6},
      {ShareText(view), 2},
      {RatePart(pace), pace.held ? 3 : 4},
      {LeftPart(view, pace), 3},
  };
  ChooseParts(parts, room);
  return WithFolder(Joined(parts), apart.folder, room);
}

KorText IdleText(const StatusView& view, std::size_t room) {
  const StatusWords apart = TakeApart(view.line, view.fileName);
  const KorText text = apart.name.IsEmpty() ? apart.words : apart.name + u" " + apart.words;
  return WithFolder(CutRight(text, room), apart.folder, room);
}

} // namespace

bool IsExchange(std::int32_t code) {
  constexpr std::int32_t kWaitingForController = 5, kPreparingDownload = 8, kPreparingUpload = 11;
  return IsTransfer(code) || code == kWaitingForController || code == kPreparingDownload ||
         code == kPreparingUpload;
}

void RateMeter::Update(const StatusView& view, double now) {
  if (view.code != code || view.bytes < last) {
    *this = {};
    code = view.code;
    count = last = view.bytes;
    since = moved = now;
    return;
  }
  if (view.bytes == last) {
    const double patience = IsHeldByLine(view) ? kHeldByLine : kHeldAnyway;
    pace.held = IsTransfer(code) && now - moved >= patience;
    return;
  }
  if (pace.held) since = moved; // the pause is not the line's speed
  pace.held = false;
  moved = now;
  last = view.bytes;
  const double passed = now - since;
  if (passed < kMeasure) return;
  const double measured = static_cast<double>(view.bytes - count) / passed;
  const double before = pace.bytesPerSecond.value_or(measured);
  pace.bytesPerSecond = measured + (before - measured) * std::exp(-passed / kSmoothing);
  count = view.bytes;
  since = now;
}

StatusWords TakeApart(const KorText& line, const KorText& fileName) {
  const std::size_t at = fileName.IsEmpty() ? KorText::kNone : line.Find(fileName);
  if (at == KorText::kNone) return {{}, line, {}};
  const std::size_t slash = fileName.View().find_last_of(u"/\\");
  const std::size_t nameStart = slash == KorText::kNone ? 0 : slash + 1;
  const KorText before = line.Left(at).Trimmed();
  const KorText after = line.Mid(at + fileName.Length()).Trimmed();
  return {fileName.Mid(nameStart), after.IsEmpty() ? before : before + u" " + after,
          fileName.Left(nameStart)};
}

KorText JobLine(const EndedJob& job, std::size_t columns) {
  const StatusWords apart = TakeApart(job.line, job.fileName);
  KorText text =
      KorText::Format(u"%02i:%02i:%02i ", job.time.hour, job.time.minute, job.time.second);
  if (!apart.name.IsEmpty()) text += apart.name + u" ";
  text += apart.words;
  return WithFolder(text, apart.folder, columns);
}

KorText LampText(const StatusView& view, bool dots) {
  KorText text;
  for (std::size_t lamp = 0; lamp < kLampCount; ++lamp) {
    const KorText name = kLampNames[lamp];
    if (!view.lamps[lamp] && !dots) continue;
    if (!text.IsEmpty()) text += u' ';
    text += view.lamps[lamp] ? name : KorText(name.Length(), u'.');
  }
  return text;
}

KorText ProgressBar(std::int64_t count, std::int64_t range, std::size_t width) {
  const double share =
      range > 0 ? std::clamp(static_cast<double>(count) / static_cast<double>(range), 0.0, 1.0) : 0;
  const auto filled = static_cast<std::size_t>(share * static_cast<double>(width));
  return KorText::Format(u"[%s%s]", KorText(filled, u'#'), KorText(width - filled, u'-'));
}

KorText RateText(double bytesPerSecond) {
  constexpr double kKilo = 1000, kMega = 1000000;
  if (bytesPerSecond >= kMega) return KorText::Format(u"%.1f MB/s", bytesPerSecond / kMega);
  if (bytesPerSecond >= kKilo) return KorText::Format(u"%.1f kB/s", bytesPerSecond / kKilo);
  return KorText::Format(u"%.0f B/s", bytesPerSecond);
}

KorText TimeText(double seconds) {
  constexpr std::int64_t kMinute = 60, kHour = 3600;
  const auto whole = static_cast<std::int64_t>(std::ceil(std::min(seconds, 1e9)));
  if (whole >= kHour)
    return KorText::Format(u"%i:%02i:%02i", whole / kHour, whole % kHour / kMinute,
                           whole % kMinute);
  return KorText::Format(u"%i:%02i", whole / kMinute, whole % kMinute);
}

KorText StatusLine(const StatusView& view, const Pace& pace, std::size_t columns) {
  const KorText lamps = LampText(view, columns >= kRoomForDots);
  const std::size_t lampColumns = std::max(kLampColumns, lamps.Length());
  const bool withLamps = columns >= lampColumns + kGap + kLeastText;
  const std::size_t room = withLamps ? columns - lampColumns - kGap : columns;
  const KorText text =
      IsTransfer(view.code) ? TransferText(view, pace, room) : IdleText(view, room);
  if (!withLamps) return PadColumns(text, columns);
  return PadColumns(text, columns - lamps.Length()) + lamps;
}

} // namespace kor
