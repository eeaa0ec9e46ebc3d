#include "files/paths.h"

#include "tests/files/file_test_support.h"

namespace kor {
namespace {

constexpr std::nullopt_t kNone = std::nullopt;

class PathsTest : public FileTest {};

TEST_F(PathsTest, Compare) {
  struct {
    OptionalPath a, b;
    int order;
  } const cases[] = {
      {kNone, kNone, 0},          {kNone, u"", -1},        {u"", kNone, 1},
      {u"a\\B/c", u"A/b\\C", 0},  {u"a/b", u"a/bc", -1},   {u"a/bc", u"a/b", 1},
      {u"ab", u"ad", -2},         {u"[", u"a", '[' - 'A'}, {u"\u00E4", u"\u00C4", 0x20},
      {u"a\\", u"a0", '/' - '0'},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ComparePaths(c.a, c.b), c.order) << c.order;
}

TEST_F(PathsTest, Root) {
  const std::pair<const char16_t*, const char16_t*> cases[] = {
      {u"C:/x", u"C:"},
      {u"c:", u"c:"},
      {u"//server/share/x", u"//server"},
      {u"\\\\server", u"\\\\server"},
      {u"/\\s\\x", u"/\\s"},
      {u"/home/x", u""},
      {u"x", u""},
      {u"", u""},
      {u"//", u"//"},
  };
  for (const auto& [path, root] : cases)
    EXPECT_EQ(GetPathRoot(path), root);
}

TEST_F(PathsTest, AbsoluteToRelative) {
  constexpr auto kStay = Climbing::Forbidden, kClimb = Climbing::Allowed;
  struct {
    const char16_t* path;
    OptionalPath base, root;
    Climbing climbing;
    const char16_t* relative;
  } const cases[] = {
      {u"C:\\Jobs\\A\\file.nc", u"C:/Jobs", kNone, kStay, u"./A/file.nc"},
      {u"c:/jobs/file.nc", u"C:\\JOBS\\", kNone, kStay, u"./file.nc"},
      {u"C:/Jobs/A", u"C:/Jobs/A/", kNone, kStay, u"."},
      {u"C:/Jobs/A/", u"C:/Jobs/A", kNone, kStay, u"./"},
      {u"C:/JobsX/f", u"C:/Jobs", kNone, kStay, u"C:/JobsX/f"}, // no folder of that name
      {u"C:/Other/x", u"C:/Jobs/A", kNone, kClimb, u"../../Other/x"},
      {u"C:/jobs/B/x", u"c:/Jobs/A", kNone, kClimb, u"../B/x"},
      {u"C:/Other/x", u"C:/Jobs/A", kNone, kStay, u"C:/Other/x"},
      {u"D:\\x", u"C:/Jobs", kNone, kClimb, u"D:/x"},
      {u"//server/share/x", u"//SERVER/share/y", kNone, kClimb, u"../x"},
      {u"//other/share/x", u"//server/share", kNone, kClimb, u"//other/share/x"},
      {u"/srv/jobs/x", u"/srv/other", kNone, kClimb, u"../jobs/x"},
      {u"x.nc", u"/srv", kNone, kClimb, u"x.nc"},
      {u"Other/x", u"Jobs/A", kNone, kClimb, u"../../Other/x"},
      {u"Jobs/B/x", u"Jobs/A", kNone, kClimb, u"../B/x"},
      {u"x", u"", kNone, kClimb, u"x"},
      {u"Other/x", u"../Jobs", kNone, kClimb, u"Other/x"}, // what to climb to is not known
      // a root folder
      {u"C:/Data/Jobs/x", kNone, u"c:\\data", kStay, u"Jobs/x"},
      {u"C:/Data/x", u"C:/Data/Jobs", u"C:/Data/", kStay, u"x"},
      {u"C:/Data/Jobs/x", u"C:/Data/Jobs", u"C:/Data", kStay, u"./x"},
      {u"C:/Else/x", u"C:/Else", u"C:/Data", kStay, u"./x"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(AbsToRelPath(c.path, c.base, c.root, c.climbing), c.relative)
        << KorText(c.path).ToUtf8();
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(PathsTest, RelativeToAbsolute) {
  struct {
    const char16_t *path, *base, *absolute;
  } const cases[] = {
      {u".", u"C:\\Jobs", u"C:/Jobs"},
      {u".\\", u"C:/Jobs/", u"C:/Jobs/"},
      {u".\\A\\f.nc", u"C:/Jobs", u"C:/Jobs/A/f.nc"},
      {u"./f.nc", u"C:/Jobs/", u"C:/Jobs/f.nc"},
      {u"../../Other/x", u"C:/Jobs/A", u"C:/Other/x"},
      {u"../x", u"C:/Jobs/A/", u"C:/Jobs/x"},
      {u"../../../x", u"C:/Jobs/A", u"C:/x"}, // no folder above the root
      {u"../../x", u"//server/share", u"//server/x"},
      {u"../../x", u"/srv/jobs", u"/x"},
      {u"../../Other/x", u"Jobs/A", u"Other/x"},
      {u".hidden/x", u"C:/Jobs", u"C:/Jobs/.hidden/x"},
      {u"/x/y", u"C:/Jobs", u"C:/x/y"},
      {u"/x/y", u"\\\\server\\share", u"//server/x/y"},
      {u"/x/y", u"/srv", u"/x/y"},
      {u"\\\\server\\x", u"C:/Jobs", u"//server/x"},
      {u"D:\\x", u"C:/Jobs", u"D:/x"},
      {u"x", u"C:/Jobs", u"x"},
      {u"", u"C:/Jobs", u""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(RelToAbsPath(c.path, c.base), c.absolute) << KorText(c.path).ToUtf8();
}

TEST_F(PathsTest, ProgramFolderIsTheBaseOfBoth) {
  app.SetApplicationPropertyPath(kProgramFolder, u"C:\\Program\\");
  EXPECT_EQ(AbsToRelPath(u"C:/Program/x"), u"./x");
  EXPECT_EQ(RelToAbsPath(u"./x"), u"C:/Program/x");
}

TEST_F(PathsTest, LongPathNotationIsReportedAndConverted) {
  const TestApp::Warning warning{u"Do not store/parse paths in unicode notation format!",
                                 u"AbsToRelPath does not support unicode notation paths!"};
  for (const char16_t* path : {u"//?/C:/x", u"\\\\?\\C:\\x", u"?/unc/server/x"}) {
    EXPECT_TRUE(IsUnicodeNotationPath(path, NotationWarning::None));
    EXPECT_TRUE(app.Warnings().empty());
    AbsToRelPath(path);
    EXPECT_EQ(app.Warnings(), std::vector{warning});
    app.ForgetReports();
  }
  EXPECT_EQ(AbsToRelPath(u"\\\\?\\C:\\Jobs\\x", u"//?/C:/Jobs"), u"./x");
  app.ForgetReports();
  EXPECT_FALSE(IsUnicodeNotationPath(u"//./C:/x", NotationWarning::Raise));
  EXPECT_FALSE(IsUnicodeNotationPath(u"//?UNC/x", NotationWarning::Raise));
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(PathsTest, FileNames) {
  EXPECT_EQ(MakeValidFileName(u"a:b?.txt."), u"a_b_.txt.");
  EXPECT_EQ(MakeValidFileName(u"/\\+?*|<>:\"x"), u"__________x");
  EXPECT_EQ(MakeValidFileName(u"a:b?.txt.", NameNotice::Quiet), u"a_b_.txt");
  EXPECT_EQ(MakeValidFileName(u"fine.nc", NameNotice::Show), u"fine.nc");
  EXPECT_TRUE(app.Messages().empty());
  EXPECT_EQ(MakeValidFileName(u"a:b..", NameNotice::Show), u"a_b");
  ASSERT_EQ(app.Messages().size(), 1u);
  EXPECT_EQ(app.Messages()[0].message, u"Old name:\n  a:b..\n New name:\n  a_b");
}

} // namespace
} // namespace kor
