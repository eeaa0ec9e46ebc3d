#include <langinfo.h>

#include <ctime>

#include "platform/posix/locale_posix.h"
#include "platform/posix/variable_posix.h"

namespace kor {

namespace {

constexpr std::u16string_view kNoDateFormat = u"%m/%d/%y"; // what the "C" locale holds

// The date picture ("dd.MM.yyyy") of one strftime letter.
std::u16string_view PictureOf(char16_t letter) {
  switch (letter) {
  case u'd':
  case u'e':
    return u"dd";
  case u'm':
    return u"MM";
  case u'y':
    return u"yy";
  case u'Y':
    return u"yyyy";
  case u'b':
  case u'h':
    return u"MMM";
  case u'B':
    return u"MMMM";
  case u'a':
    return u"ddd";
  case u'A':
    return u"dddd";
  case u'D':
    return u"MM/dd/yy";
  case u'F':
    return u"yyyy-MM-dd";
  default:
    return u"";
  }
}

KorText DatePicture(const KorText& format) {
  KorText picture;
  for (std::size_t i = 0; i < format.Length(); ++i) {
    if (format[i] != u'%') {
      picture += format[i];
      continue;
    }
    // Flags and modifiers ("%-d", "%Ey") don't change which part of the date is meant.
    i = format.View().find_first_not_of(u"-_0^#EO", i + 1);
    if (i == KorText::kNone) break;
    picture += PictureOf(format[i]);
  }
  return picture;
}

// Returns the punctuation after the hours of a time format; ":" where the format doesn't spell it
// out ("%T", "%r") or has a word for the hours.
char16_t TimeSeparatorOf(const KorText& timeFormat) {
  const std::size_t hours = timeFormat.View().find_first_of(u"HIkl");
  if (hours == KorText::kNone || hours + 1 >= timeFormat.Length()) return u':';
  const char16_t next = timeFormat[hours + 1];
  return next > u' ' && next < 0x7F ? next : u':';
}

char16_t FirstOr(const KorText& text, char16_t otherwise) {
  return text.IsEmpty() ? otherwise : text[0];
}

} // namespace

UserLocale::UserLocale() : handle(nullptr) {}

UserLocale::~UserLocale() {
  if (handle) ::freelocale(handle);
}

void UserLocale::Reload() {
  if (handle) ::freelocale(handle);
  handle = ::newlocale(LC_CTYPE_MASK | LC_NUMERIC_MASK | LC_TIME_MASK, "", nullptr);
}

KorText UserLocale::Decoded(const char* text) const {
  const std::string_view codeset = ::nl_langinfo_l(CODESET, handle);
  return codeset == "UTF-8" ? KorText::FromUtf8(text) : KorText::FromBytes(text);
}

KorText UserLocale::Item(int item) const {
  return handle ? Decoded(::nl_langinfo_l(item, handle)) : KorText();
}

KorText UserLocale::DateFormat() const {
  const KorText format = Item(D_FMT);
  return format == kNoDateFormat ? KorText() : format;
}

KorText UserLocale::Format(const char* format, const SystemTime& time) const {
  if (!handle) return {};
  tm broken{};
  broken.tm_year = time.year - 1900;
  broken.tm_mon = time.month - 1;
  broken.tm_mday = time.day;
  broken.tm_hour = time.hour;
  broken.tm_min = time.minute;
  broken.tm_sec = time.second;
  broken.tm_wday = time.dayOfWeek;
  broken.tm_isdst = -1;
  char buffer[256];
  const std::size_t length = ::strftime_l(buffer, sizeof buffer, format, &broken, handle);
  buffer[length] = '\0';
  return Decoded(buffer);
}

// POSIX locales hold neither a list separator nor a long date. Where the comma is the decimal
// separator a list needs another one, which is usually the semicolon.
RegionalSettings PosixLocale::Load() {
  RegionalSettings settings;
  {
    Lock lock(mutex);
    userLocale.Reload();
    settings.decimalSeparator = FirstOr(userLocale.Item(RADIXCHAR), settings.decimalSeparator);
    settings.thousandsSeparator = FirstOr(userLocale.Item(THOUSEP), settings.thousandsSeparator);
    settings.timeSeparator = TimeSeparatorOf(userLocale.Item(T_FMT));
    const KorText date = userLocale.DateFormat();
    if (!date.IsEmpty()) settings.shortDateFormat = DatePicture(date);
  }
  if (settings.decimalSeparator == u',') settings.listSeparator = u';';
  return settings;
}

// A locale without dates of its own gets the order of RegionalSettings' default.
KorText PosixLocale::Date(const SystemTime& time) {
  Lock lock(mutex);
  if (!userLocale.DateFormat().IsEmpty()) return userLocale.Format("%x", time);
  return KorText::Format(u"%02i/%02i/%04i", time.day, time.month, time.year);
}

KorText PosixLocale::Time(const SystemTime& time) {
  Lock lock(mutex);
  const KorText text = userLocale.Format("%X", time);
  if (!text.IsEmpty()) return text;
  return KorText::Format(u"%02i:%02i:%02i", time.hour, time.minute, time.second);
}

KorText PosixLocale::Language() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    KorText name = EnvironmentVariable(variable);
    if (name.IsEmpty()) continue;
    name = name.Left(name.View().find_first_of(u".@"));
    return name == u"C" || name == u"POSIX" ? KorText() : name.ReplaceAll(u'_', u'-');
  }
  return {};
}

} // namespace kor
