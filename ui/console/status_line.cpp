#include "ui/console/status_line.h"

#include <algorithm>
#include <cmath>

#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr double kMeasure = 0.5;   // seconds of one measurement
constexpr double kSmoothing = 0.3; // share of the newest measurement
constexpr std::size_t kBarWidth = 20;
constexpr std::int32_t kDownloading = 12;
constexpr std::int32_t kUploading = 13;
constexpr const char16_t* kLampNames[kLampCount] = {u"RX",  u"TX",   u"CTS",  u"DSR",
                                                    u"RLS", u"XOFF", u"XSENT"};

KorText TransferText(const StatusView& view, std::optional<double> rate) {
  if (view.code != kDownloading && view.code != kUploading) return {};
  KorText text;
  // An upload's size isn't known beforehand.
  const bool measurable = view.code == kDownloading && view.range > 0;
  if (measurable) text = ProgressBar(view.count, view.range, kBarWidth);
  if (!rate) return text;
  text += u" " + RateText(*rate);
  if (measurable && *rate > 0) {
    const auto left = static_cast<double>(std::max<std::int64_t>(view.range - view.count, 0));
    text += u" " + KorText::Format(LookUpText(15426, u"%s left"), TimeText(left / *rate));
  }
  return text;
}

} // namespace

void RateMeter::Update(const StatusView& view, double now) {
  if (view.code != code || view.count < count) {
    code = view.code;
    count = view.count;
    since = now;
    rate.reset();
    return;
  }
  const double passed = now - since;
  if (passed < kMeasure) return;
  const double measured = static_cast<double>(view.count - count) / passed;
  rate = rate ? *rate + kSmoothing * (measured - *rate) : measured;
  count = view.count;
  since = now;
}

KorText LampText(const StatusView& view) {
  KorText text;
  for (std::size_t lamp = 0; lamp < kLampCount; ++lamp) {
    if (lamp > 0) text += u' ';
    const KorText name = kLampNames[lamp];
    text += view.lamps[lamp] ? name : KorText(name.Length(), u'.');
  }
  return text;
}

KorText ProgressBar(std::int64_t count, std::int64_t range, std::size_t width) {
  const double share =
      range > 0 ? std::clamp(static_cast<double>(count) / static_cast<double>(range), 0.0, 1.0) : 0;
  const auto filled = static_cast<std::size_t>(share * static_cast<double>(width));
  return KorText::Format(u"[%s%s] %3i%%", KorText(filled, u'#'), KorText(width - filled, u'-'),
                         static_cast<int>(share * 100));
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

KorText StatusLine(const StatusView& view, std::optional<double> bytesPerSecond,
                   std::size_t columns) {
  KorText line = KorText::Format(u"%2i %s", view.code, view.line);
  const KorText lamps = LampText(view);
  const KorText transfer = TransferText(view, bytesPerSecond);
  const KorText both = transfer.IsEmpty() ? lamps : transfer + u"  " + lamps;
  const std::size_t kGap = 2;
  for (const KorText& right : {both, transfer, lamps}) {
    if (right.IsEmpty() || right.Length() + kGap + 20 > columns) continue;
    // The right part is worth more than the end of a long file name.
    const std::size_t room = columns - right.Length() - kGap;
    return line.Left(room).PaddedRight(room + kGap) + right;
  }
  return line.Left(columns).PaddedRight(columns);
}

} // namespace kor
