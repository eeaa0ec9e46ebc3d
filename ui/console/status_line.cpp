#include "ui/console/status_line.h"

#include <algorithm>
#include <vector>

#include "ui/console/column_width.h"

namespace kor {

namespace {

constexpr std::size_t kBarWidth = 20;
constexpr std::size_t kGap = 2;           // columns before the lamps and the folder
constexpr std::size_t kRoomForDots = 100; // columns of a screen that shows lamps that are out
constexpr std::size_t kLampColumns = 12;  // what a narrower screen keeps free for lit ones
constexpr std::size_t kLeastText = 26;    // columns that the lamps leave to the text
constexpr std::size_t kLeastFolder = 6;
constexpr const char16_t* kLampNames[kLampCount] = {u"RX",  u"TX",   u"CTS",  u"DSR",
                                                    u"RLS", u"XOFF", u"XSENT"};

// Describes a part of the line. Where the parts don't all fit, those of lower rank stay.
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

// Returns the end of a folder, from the beginning of a name where one is left whole.
KorText CutFolder(const KorText& folder, std::size_t columns) {
  const KorText cut = CutLeft(folder, columns);
  if (cut == folder) return cut;
  const std::size_t slash = cut.View().find_first_of(u"/\\");
  const bool whole = slash != KorText::kNone && slash + 1 < cut.Length();
  return whole ? KorText(kCut) + cut.Mid(slash) : cut;
}

// The folder takes the room that is left, and is left out when that is hardly any.
KorText WithFolder(const KorText& text, const KorText& folder, std::size_t room) {
  const std::size_t used = ColumnsOf(text) + kGap;
  const std::size_t left = room > used ? room - used : 0;
  if (left < std::min(kLeastFolder, ColumnsOf(folder)) || folder.IsEmpty()) return text;
  return PadColumns(text, ColumnsOf(text) + kGap) + CutFolder(folder, left);
}

KorText TransferText(const StatusView& view, const Pace& pace, std::size_t room) {
  const StatusWords apart = TakeApart(view.line, view.fileName);
  const KorText count = CountText(view);
  const std::size_t forName = room - std::min(room, ColumnsOf(count) + 1);
  const KorText bar =
      IsMeasurable(view) ? ProgressBar(view.bytesDone, view.bytesTotal, kBarWidth) : KorText();
  std::vector<Part> parts{
      {CutRight(apart.name, forName), 0},
      {view.code == LinkStatus::Downloading ? u"Downloading" : u"Uploading", 5},
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
  KorText text = apart.name.IsEmpty() ? apart.words : apart.name + u" " + apart.words;
  if (!view.reason.IsEmpty()) text += u": " + view.reason;
  return WithFolder(CutRight(text, room), apart.folder, room);
}

} // namespace

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
