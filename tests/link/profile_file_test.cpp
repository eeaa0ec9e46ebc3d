// The profile reader: the platform's rules for sections, keys, values and numbers, and files that
// are no profile. The expectations were compared with the platform's own functions.
#include "link/profile_file.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support/test_app.h"

namespace kor {
namespace {

using namespace std::string_view_literals;

class ProfileFileTest : public ::testing::Test {
 protected:
  ProfileFile Profile(std::string_view bytes) {
    app.Put(path, KorText::FromBytes(bytes));
    return ProfileFile(path);
  }

  TestApp app;
  KorText path = app.Path(u"NCE.INI");
};

TEST_F(ProfileFileTest, FindsValues) {
  const std::pair<std::string_view, const char16_t*> kCases[] = {
      {"[S]\r\nK=v\r\n", u"v"},
      {"[s]\rk=v\rj=2\r", u"v"},
      {"  [ s ]  \n  k\t =  v \t\n", u"v"},
      {"[s] junk\nk=v\n", u"v"},
      {"[s] ; a]\nk=v\n", u"DEF"}, // the name reaches to the last "]"
      {"[s\nk=v\n", u"DEF"},
      {"k=v\n[s]\n", u"DEF"},
      {"[s]\nk\n", u"DEF"},
      {"[s]\nk=\n", u""},
      {"[s]\nk=1\nk=2\n", u"1"},
      {"[s]\n;k=1\nk=2\n", u"2"},
      {"[s]\nj=1\n[t]\n[s]\nk=v\n", u"DEF"}, // only the first section of a name counts
      {"[s]\nk=a;b ; c\n", u"a;b ; c"},
      {"[s]\nk=a=b\n", u"a=b"},
      {"[s]\nk=\" a b \"\n", u" a b "},
      {"[s]\nk='a'\n", u"a"},
      {"[s]\nk=\"a'\n", u"\"a'"},
      {"[s]\nk=\"\"a\"\"\n", u"\"a\""},
      {"[s]\nk=\"\n", u"\""},
      {"[s]\nk=\xE4\n", u"\u00E4"},
      {"[s]\nk=\xC3\xA4\n", u"\u00E4"},             // UTF-8 without its mark
      {"[s]\nk=\xC3\xA4\nj=\xE4", u"\u00C3\u00A4"}, // one byte that is none: 8-bit, all of it
      {"\xEF\xBB\xBF[s]\nk=\xC3\xA4\n", u"\u00E4"},
      {"\xFF\xFE[\0s\0]\0\n\0k\0=\0\xE5\x65\n\0"sv, u"\u65E5"},
      {"\xFE\xFF\0[\0s\0]\0\n\0k\0=\x65\xE5\0\n"sv, u"\u65E5"},
      {"[s]\nk=a\0b\n"sv, u"a"},
      {"\xFF\xFE[\0s\0]\0\n\0k\0=\0v"sv, u""}, // cut in the middle of a character
      {"", u"DEF"},
  };
  for (const auto& [file, value] : kCases)
    EXPECT_EQ(Profile(file).Text(u"s", u"K", u"DEF  "), value) << file;
}

TEST_F(ProfileFileTest, CutsTextsToTheBuffer) {
  for (const std::size_t length : {78u, 79u, 80u, 500u}) {
    const KorText value(length, u'x'), cut = value.Left(79);
    const std::string bytes = value.ToBytes();
    EXPECT_EQ(Profile("[s]\nk=" + bytes + "\n").Text(u"s", u"k", {}), cut);
    EXPECT_EQ(Profile("[s]\nk=\"" + bytes + "\"\n").Text(u"s", u"k", {}), cut);
    EXPECT_EQ(Profile("").Text(u"s", u"k", value), cut);
  }
  EXPECT_EQ(Profile("[s]\nk=abc\n").Text(u"s", u"k", {}, 1), u"");
  EXPECT_EQ(Profile("[s]\nk=abc\n").Text(u"s", u"k", {}, 0), u"");
}

TEST_F(ProfileFileTest, ReadsNumbersAsThePlatformDoes) {
  constexpr std::pair<const char*, std::int64_t> kCases[] = {
      {"+5", 5},
      {"010", 10},
      {"0X1f", 0},
      {"-0x10", -16},
      {"0xag", 10},
      {"0o17", 15},
      {"0b101", 5},
      {"0b2", 0},
      {"", 77},
      {"7abc", 7},
      {"abc", 0},
      {"\"\"", 77},
      {"2147483648", -2147483648LL},
      {"99999999999999999999", 1661992959},
      {"-", 0},
      {"0x", 0},
  };
  for (const auto& [text, number] : kCases)
    EXPECT_EQ(Profile("[s]\nk=" + std::string(text) + "\n").Integer(u"s", u"k", 77), number)
        << text;
  EXPECT_EQ(Profile("[s]\n").Integer(u"s", u"k", 77), 77);
}

TEST_F(ProfileFileTest, GivesDefaultsForWhatIsNoProfile) {
  const std::string profile = "[s]\nk=v\n";
  std::minstd_rand random(7);
  std::string nonsense(300000, '\0');
  for (char& byte : nonsense)
    byte = static_cast<char>(random() >> 8);
  const std::string cases[] = {
      nonsense,
      "\xFF\xFE" + nonsense,
      "\xEF\xBB\xBF" + nonsense,
      std::string(1000000, '['),
      std::string(1000000, '='),
      profile + std::string(ProfileFile::kLargestProfile, '\n'), // too large to be one
  };
  for (const std::string& bytes : cases)
    EXPECT_EQ(Profile(bytes).Text(u"s", u"k", u"DEF"), u"DEF");
  ASSERT_EQ(app.Messages().size(), 1u); // the last one
  EXPECT_EQ(app.Messages()[0].info, path);
  Profile(profile);
  app.LimitReads(5);
  EXPECT_EQ(ProfileFile(path).Text(u"s", u"k", u"DEF"), u"DEF");
  app.ClearFaults();
  app.RefuseOpening(u"NCE.INI");
  EXPECT_EQ(ProfileFile(path).Text(u"s", u"k", u"DEF"), u"DEF");
  EXPECT_EQ(ProfileFile(app.Root()).Text(u"s", u"k", u"DEF"), u"DEF");
  EXPECT_EQ(ProfileFile(u"").Text(u"s", u"k", u"DEF"), u"DEF");
}

} // namespace
} // namespace kor
