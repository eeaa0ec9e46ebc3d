#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

#include "services/core/kor_text.h"
#include "tests/support/text_printer.h" // IWYU pragma: keep

namespace kor {
namespace {

// What the C library makes of the same directive and value.
template <class Value> std::string Printed(const std::string& format, Value value) {
  std::string buffer(2000, '\0');
  buffer.resize(
      static_cast<std::size_t>(std::snprintf(buffer.data(), buffer.size(), format.c_str(), value)));
  return buffer;
}

// Every combination of the flags with the widths and precisions.
template <class Value>
void ExpectAsPrinted(const std::string& flags, char conversion,
                     std::initializer_list<Value> values) {
  for (unsigned chosen = 0; chosen < 1u << flags.size(); ++chosen)
    for (const char* width : {"", "1", "9", "12"})
      for (const char* precision : {"", ".", ".0", ".1", ".6", ".11"}) {
        std::string directive = "%";
        for (std::size_t i = 0; i < flags.size(); ++i)
          if ((chosen >> i & 1) != 0) directive += flags[i];
        directive.append(width).append(precision) += conversion;
        for (const Value value : values)
          EXPECT_EQ(KorText::Format(KorText::FromBytes(directive), value).ToBytes(),
                    Printed(directive, value))
              << directive;
      }
}

TEST(KorTextFormat, PrintsNumbersAsTheCLibraryDoes) {
  constexpr int kLowest = std::numeric_limits<int>::min();
  for (const char conversion : {'d', 'i'})
    ExpectAsPrinted<int>("-+ 0", conversion, {0, 1, -1, 2026, kLowest});
  ExpectAsPrinted<unsigned>("-0", 'u', {0u, 7u, 4294967295u});
  for (const char conversion : {'x', 'X', 'o'}) {
    ExpectAsPrinted<unsigned>("-0", conversion, {0u, 10u, 0xDEADBEEFu});
    // MinGW's library gets "%#.0o" of 0 wrong.
    ExpectAsPrinted<unsigned>("-0#", conversion, {10u, 0xDEADBEEFu});
    ExpectAsPrinted<int>("-0#", conversion, {-1, kLowest});
  }
  for (const char conversion : {'f', 'e', 'g', 'E', 'G', 'F'}) {
    ExpectAsPrinted<double>("-+ 0#", conversion,
                            {0.0, -0.0, 1.0, -2.5, 0.125, 65.25, 1e-7, 123456789.5, 9.9999999e20,
                             -std::numeric_limits<double>::infinity()});
  }
  EXPECT_EQ(KorText::Format(u"%.0f", std::numeric_limits<double>::max()).Length(), 309u);
}

TEST(KorTextFormat, MakesTheLinesOfTheProgram) {
  const KorText text = u"Waiting...";
  EXPECT_EQ(KorText::Format(u"%02i:%02i:%09.6f (%+09.6f) %s\r\n", 0, 1, 5.25, 0.125, u"x"),
            u"00:01:05.250000 (+0.125000) x\r\n");
  EXPECT_EQ(KorText::Format(u"[%-12s]", text), u"[Waiting...  ]");
  EXPECT_EQ(KorText::Format(u"[%12s|%.4s|%12.4s]", text, text, text),
            u"[  Waiting...|Wait|        Wait]");
  EXPECT_EQ(KorText::Format(u"[%-70s]", u"\u00E9\u4E2D").Left(4),
            u"[\u00E9\u4E2D "); // width in characters
  EXPECT_EQ(KorText::Format(u"%02X%c%c", 10, u']', 65), u"0A]A");
  EXPECT_EQ(KorText::Format(u"%#.0o|%#o|%#x", 0, 0, 0), u"0|0|0");
  EXPECT_EQ(KorText::Format(u"%2i|%s ", 3, u"name"), u" 3|name ");
  EXPECT_EQ(KorText::Format(u"%*d|%-*d|%.*f|%.*f", 4, 7, -4, 7, 1, 2.25, -1, 2.0),
            u"   7|7   |2.2|2.000000");
  EXPECT_EQ(KorText::Format(u"%lld %I64u %zu %hd", std::int64_t{-5000000000}, 18446744073709551615u,
                            std::size_t{7}, 3),
            u"-5000000000 18446744073709551615 7 3");
  EXPECT_EQ(KorText::Format(u"%x %X %u", std::int64_t{-1}, std::uint8_t{200}, std::int8_t{-1}),
            u"ffffffffffffffff C8 4294967295");
  EXPECT_EQ(
      KorText::Format(u"%s", KorText(std::u16string_view(u"a\0b", 3))), // a zero is a character
      KorText(std::u16string_view(u"a\0b", 3)));
}

TEST(KorTextFormat, SurvivesFormatsThatDoNotFitTheArguments) {
  EXPECT_EQ(KorText::Format(u"%s %s", 42, 2.5), u"42 2.5");
  EXPECT_EQ(KorText::Format(u"%i %f %x", u"text", 7, u"hex"), u"text 7 hex");
  EXPECT_EQ(KorText::Format(u"%i", u'A'), u"65");
  EXPECT_EQ(KorText::Format(u"%s %s|%5i|", u"one"), u"one ||"); // missing: nothing, not even blanks
  EXPECT_EQ(KorText::Format(u"%s", u"one", u"two"), u"one");
  EXPECT_EQ(KorText::Format(u"50%% %q %s", u"x"), u"50% %q x");
  EXPECT_EQ(KorText::Format(u"%s", static_cast<const char16_t*>(nullptr)), u"");
  EXPECT_EQ(KorText::Format(u"end %", 1), u"end %");
  EXPECT_EQ(KorText::Format(u"%-08.3", 1), u"%-08.3");
  EXPECT_EQ(KorText::Format(u"%*s|%.*s|", u"wide", u"x", u"y", u"z"), u"x||");
  EXPECT_EQ(KorText::Format(u"%99999999999i", 1).Length(), 0xFFFFu);
  EXPECT_EQ(KorText::Format(u"%.99999999999f", 1.0).Length(), 0xFFFFu + 2);
}

TEST(KorTextUtf8, DecodesAndEncodes) {
  const auto areTheSame = [](std::string_view utf8, std::u16string_view text) {
    EXPECT_EQ(KorText::FromUtf8(utf8), KorText(text));
    EXPECT_EQ(KorText(text).ToUtf8(), utf8);
  };
  areTheSame("", u"");
  areTheSame("A\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x94\xA7", u"A\u00E9\u4E2D\U0001F527");
  areTheSame(std::string_view("\0x", 2), std::u16string_view(u"\0x", 2));
  areTheSame("\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
             u"\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF");
  areTheSame("\x80", u"\xDC80");
  areTheSame("\xC0\xAF", u"\xDCC0\xDCAF");                     // overlong "/"
  areTheSame("\xE0\x80\xAF", u"\xDCE0\xDC80\xDCAF");           // overlong again
  areTheSame("\xED\xA0\x80", u"\xDCED\xDCA0\xDC80");           // a surrogate
  areTheSame("\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"); // above U+10FFFF
  areTheSame("\xE4\xB8", u"\xDCE4\xDCB8");                     // cut off
  areTheSame("\xC3(", u"\xDCC3(");
  areTheSame("\xFF\xFE", u"\xDCFF\xDCFE");
  EXPECT_EQ(KorText(u"\xD83D").ToUtf8(), "\xEF\xBF\xBD");
  EXPECT_EQ(KorText(u"\xDC7F|\xDFFF").ToUtf8(), "\xEF\xBF\xBD|\xEF\xBF\xBD");
  EXPECT_EQ(KorText(u"a\u0100\u00FF").ToBytes(), "a?\xFF");
}

TEST(KorTextNumbers, ReadIntegers) {
  const auto reads = [](const KorText& text, std::int32_t value, std::int64_t wide) {
    EXPECT_EQ(text.ToInteger(), value) << text.ToUtf8();
    EXPECT_EQ(text.ToInteger64(), wide) << text.ToUtf8();
  };
  reads(u"+7x", 7, 7);
  reads(u"-0012,5", -12, -12);
  for (const char16_t* none : {u"", u" 5", u"+-5", u"x1"})
    reads(none, 0, 0);
  reads(u"2147483647", 2147483647, 2147483647);
  reads(u"2147483648", 2147483647, 2147483648);
  reads(u"-2147483648", -2147483647 - 1, -2147483648);
  reads(u"-2147483649", -2147483647 - 1, -2147483649);
  reads(u"9223372036854775808", 2147483647, std::numeric_limits<std::int64_t>::max());
  reads(u"-9223372036854775808", -2147483647 - 1, std::numeric_limits<std::int64_t>::min());
  reads(u"-99999999999999999999999", -2147483647 - 1, std::numeric_limits<std::int64_t>::min());
}

TEST(KorTextNumbers, ReadReals) {
  const KorText tiny = u"0." + KorText(400, u'0') + u"1", huge = KorText(400, u'9') + u"e-2";
  EXPECT_EQ(KorText(u"1.5").ToReal(), 1.5);
  EXPECT_EQ(KorText(u"-.25e2 mm").ToReal(), -25);
  EXPECT_EQ(KorText(u"+3").ToReal(), 3);
  EXPECT_EQ(KorText(u"1,5").ToReal(), 1);
  EXPECT_EQ(KorText(u"1e").ToReal(), 1);
  EXPECT_EQ(KorText(u"0.00001e").ToReal(), 1e-5);
  for (const KorText& nothing :
       {KorText(), KorText(u"-"), KorText(u"inf"), KorText(u"nan"), KorText(u"0x10"),
        KorText(u"--1"), KorText(u" 1"), KorText(u"1e-999"), tiny, KorText(u"\u0661")})
    EXPECT_EQ(nothing.ToReal(), 0) << nothing.ToUtf8();
  EXPECT_EQ(KorText(u"1e999").ToReal(), 1.7976931348623157e308);
  EXPECT_EQ(huge.ToReal(), 1.7976931348623157e308);
  EXPECT_EQ(KorText(u"-1e999").ToReal(), -1.7976931348623157e308);
}

TEST(KorTextNames, FoldAsciiLettersOnly) {
  const struct {
    const char16_t *a, *b;
    int order;
  } cases[] = {
      {u"Abc", u"aBC", 0},       {u"a", u"B", -1}, {u"b", u"A", 1},
      {u"a", u"ab", -1},         {u"ab", u"a", 1}, {u"", u"", 0},
      {u"\u00E9", u"\u00C9", 1}, {u"_", u"a", 1}, // "_" lies behind the upper-case letters
      {u"\uFFFF", u"a", 1},      {u"[", u"Z", 1},
  };
  for (const auto& [a, b, order] : cases) {
    const int found = KorText(a).CompareNoCase(b);
    EXPECT_EQ((found > 0) - (found < 0), order) << KorText(a).ToUtf8();
    EXPECT_EQ(KorText(a).EqualsNoCase(b), order == 0);
  }
  EXPECT_TRUE(KorText(u"KorText").StartsWithNoCase(u"kORt"));
  EXPECT_FALSE(KorText(u"Kor").StartsWithNoCase(u"Kort"));
  EXPECT_EQ(KorText(u"a%Public%").FindNoCase(u"%PUBLIC%"), 1u);
  EXPECT_EQ(KorText(u"abab").FindNoCase(u"AB", 1), 2u);
  EXPECT_EQ(KorText(u"ab").FindNoCase(u"abc"), KorText::kNone);
  EXPECT_EQ(KorText(u"ab").FindNoCase(u"", 2), 2u);
  EXPECT_EQ(KorText(u"ab").FindNoCase(u"", 3), KorText::kNone);
}

TEST(KorTextParts, StayInsideTheTextAndMayBeEmpty) {
  const KorText text = u"abcdef";
  EXPECT_EQ(text.Left(99), text);
  EXPECT_EQ(text.Right(2), u"ef");
  EXPECT_EQ(text.Right(99), text);
  EXPECT_EQ(text.Mid(4), u"ef");
  EXPECT_EQ(text.Mid(4, 1), u"e");
  EXPECT_EQ(text.Mid(7), u"");
  EXPECT_EQ(KorText(u" \t a b\t").Trimmed(), u"a b");
  EXPECT_EQ(KorText(u" \t").Trimmed(), u"");
  EXPECT_EQ(KorText(u"ab").PaddedRight(4), u"ab  ");
  EXPECT_EQ(text.PaddedRight(2), text);
  KorText changed = text;
  changed.Insert(99, u"!");
  changed.Insert(0, changed); // its own content
  EXPECT_EQ(changed, u"abcdef!abcdef!");
  changed.Remove(12, 99);
  changed.Remove(99, 1);
  EXPECT_EQ(changed.ReplaceAll(u"abc", u"abcabc").ReplaceAll(u"", u"x").ReplaceAll(u'!', u'-'),
            u"abcabcdef-abcabcde");
  using Parts = std::vector<KorText>;
  EXPECT_EQ(Split(u"", u','), Parts{});
  EXPECT_EQ(Split(u"a", u','), Parts{u"a"});
  EXPECT_EQ(Split(u",a,,b,", u','), (Parts{u"", u"a", u"", u"b", u""}));
}

} // namespace
} // namespace kor
