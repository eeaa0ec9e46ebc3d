#include "ui/transfer_text.h"

#include <algorithm>
#include <cmath>

#include "services/core/path_text.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr double kMeasure = 0.5;    // seconds of one measurement at least
constexpr double kSmoothing = 2.0;  // seconds after which an older rate counts a third
constexpr double kHeldByLine = 2.0; // seconds without a byte while a hold lamp is on
// The same without a hold lamp. It is longer, because a frame may take ten seconds at 110 baud.
constexpr double kHeldAnyway = 15.0;
constexpr double kLongestLeft = 100 * 3600.0; // seconds; beyond it a time says nothing

bool IsHeldByLine(const StatusView& view) {
  return std::any_of(view.lamps.begin() + kLampCtsHold, view.lamps.begin() + kLampXoffSent,
                     [](bool lamp) { return lamp; });
}

} // namespace

void RateMeter::Update(const StatusView& view, double now) {
  if (view.code != code || view.bytesDone < last) {
    *this = {};
    code = view.code;
    count = last = view.bytesDone;
    since = moved = now;
    return;
  }
  if (view.bytesDone == last) {
    const double patience = IsHeldByLine(view) ? kHeldByLine : kHeldAnyway;
    pace.held = IsTransfer(view.code) && now - moved >= patience;
    pace.standing = now - moved;
    return;
  }
  if (pace.held) since = moved; // the pause is not the line's speed
  pace.held = false;
  pace.standing = 0;
  moved = now;
  last = view.bytesDone;
  const double passed = now - since;
  if (passed < kMeasure) return;
  const double measured = static_cast<double>(view.bytesDone - count) / passed;
  const double before = pace.bytesPerSecond.value_or(measured);
  pace.bytesPerSecond = measured + (before - measured) * std::exp(-passed / kSmoothing);
  count = view.bytesDone;
  since = now;
}

StatusWords TakeApart(const KorText& line, const KorText& fileName) {
  const std::size_t at = fileName.IsEmpty() ? KorText::kNone : line.Find(fileName);
  if (at == KorText::kNone) return {{}, line, {}};
  const KorText before = line.Left(at).Trimmed();
  const KorText after = line.Mid(at + fileName.Length()).Trimmed();
  return {FileNameOfPath(fileName), after.IsEmpty() ? before : before + u" " + after,
          FolderOfPath(fileName)};
}

KorText CountText(const StatusView& view) {
  if (view.code == LinkStatus::Downloading && view.bytesTotal > 0)
    return KorText::Format(u"%i/%i", view.bytesDone, view.bytesTotal);
  return KorText::Format(u"%i bytes", view.bytesDone);
}

// Returns whether progress can be given as a share; an upload's size isn't known beforehand.
bool IsMeasurable(const StatusView& view) {
  return view.code == LinkStatus::Downloading && view.bytesTotal > 0;
}

KorText ShareText(const StatusView& view) {
  if (!IsMeasurable(view)) return {};
  const std::int64_t most = view.bytesTotal;
  const double share = static_cast<double>(std::clamp<std::int64_t>(view.bytesDone, 0, most)) * 100;
  return KorText::Format(u"%i%%", static_cast<int>(share / static_cast<double>(most)));
}

KorText RatePart(const Pace& pace) {
  constexpr double kLeastRate = 0.5; // shown as 0 below it
  if (pace.held || pace.bytesPerSecond.value_or(1) < kLeastRate) return LookUpText(kTexts.held);
  return pace.bytesPerSecond ? RateText(*pace.bytesPerSecond) : KorText();
}

KorText LeftPart(const StatusView& view, const Pace& pace) {
  if (!IsMeasurable(view) || pace.held || pace.bytesPerSecond.value_or(0) <= 0) return {};
  const auto bytes =
      static_cast<double>(std::max<std::int64_t>(view.bytesTotal - view.bytesDone, 0));
  const double seconds = bytes / *pace.bytesPerSecond;
  if (seconds >= kLongestLeft) return {};
  return KorText::Format(LookUpText(kTexts.timeLeft), TimeText(seconds));
}

KorText RateText(double bytesPerSecond) {
  constexpr double kKilo = 1000, kMega = 1000000;
  if (bytesPerSecond >= kMega) return KorText::Format(u"%.1f MB/s", bytesPerSecond / kMega);
  if (bytesPerSecond >= kKilo) return KorText::Format(u"%.1f kB/s", bytesPerSecond / kKilo);
  return KorText::Format(u"%.0f B/s", bytesPerSecond);
}

KorText GroupedDigits(std::int64_t number) {
  KorText digits = KorText::Format(u"%i", number);
  for (std::size_t at = digits.Length(); at > 3; at -= 3)
    digits.Insert(at - 3, u"\u00a0");
  return digits;
}

KorText TimeText(double seconds) {
  constexpr std::int64_t kMinute = 60, kHour = 3600;
  const auto whole = static_cast<std::int64_t>(std::ceil(std::min(seconds, 1e9)));
  if (whole >= kHour)
    return KorText::Format(u"%i:%02i:%02i", whole / kHour, whole % kHour / kMinute,
                           whole % kMinute);
  return KorText::Format(u"%i:%02i", whole / kMinute, whole % kMinute);
}

} // namespace kor
