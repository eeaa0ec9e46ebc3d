// What only a POSIX folder can hold: links, pipes, names with control characters.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "tests/support/nce_link.h"
#include "tests/support/scarce_memory.h"

namespace kor {
namespace {

namespace fs = std::filesystem;

class NcePosixTest : public ::testing::Test {
 protected:
  std::string Native(std::u16string_view name) { return link.app.Path(name).ToUtf8(); }
  NceLink link;
};

TEST_F(NcePosixTest, WhatIsNoPlainFileIsNoProgram) {
  ASSERT_EQ(::mkfifo(Native(u"cnc/1.MPG").c_str(), 0600), 0);
  fs::create_symlink("/dev/null", Native(u"cnc/2.MPG"));
  fs::create_directory(Native(u"cnc/3.MPG"));
  link.PutProgram(u"4.MPG", u"G90\n");
  fs::resize_file(Native(u"cnc/4.MPG"), NcProgram::kLargest + 1);
  link.PutProgram(u"5.MPG", u"G90\n");
  fs::resize_file(Native(u"cnc/5.MPG"), 200u << 20); // which there is no memory for
  link.Start();
  const ScarceMemory scarce(100u << 20);
  for (const char* number : {"1", "2", "3", "4", "5"})
    EXPECT_EQ(link.Ask(std::string("FH ") + number),
              std::string("%% File ") + number + " not found on Host Computer\r");
  EXPECT_EQ(link.BeginUpload("1"), "%% Unable to create file on Host Computer\r");
  EXPECT_TRUE(fs::is_fifo(Native(u"cnc/1.MPG")));
  link.PutProgram(u"6.MPG", u"G90\n");
  link.app.FailSize(true);
  EXPECT_EQ(link.Ask("FH 6"), "%% File 6 not found on Host Computer\r");
}

// Whatever bits of it a line takes, a name must not act on the line.
TEST_F(NcePosixTest, ANameWithControlCharactersReachesNoPage) {
  for (const char16_t* name :
       {u"a\r.MPG", u"b\x13.MPG", u"c\x7F.MPG", u"d\x93.MPG", u"e \xA0 f.MPG"})
    link.PutProgram(name, u"A\n");
  link.Start();
  link.Ask("DH");
  EXPECT_EQ(link.Ask(">"), " 1|e \xA0 f    \r") << "blanks do not act";
  EXPECT_EQ(link.Ask(">"), "]\r");
}

TEST_F(NcePosixTest, AnUploadReplacesALinkAndSettingsFollowTheirs) {
  link.app.Put(link.app.Path(u"far/program"), u"OLD\n");
  link.app.Put(link.app.Path(u"far/settings"), u""); // Start writes the profile into it
  fs::create_symlink("../far/program", Native(u"cnc/1.MPG"));
  fs::create_symlink("../far/settings", Native(u"settings/NCE.INI"));
  link.Start();
  link.BeginUpload("1");
  link.Ask("04NEW!00");
  EXPECT_EQ(link.Ask("]"), ">\r");
  EXPECT_EQ(link.app.Content(link.app.Path(u"cnc/1.MPG")), u"NEW\n");
  EXPECT_FALSE(fs::is_symlink(Native(u"cnc/1.MPG")));
  EXPECT_EQ(link.app.Content(link.app.Path(u"far/program")), u"OLD\n");
  link.link->SaveSettings();
  EXPECT_TRUE(fs::is_symlink(Native(u"settings/NCE.INI")));
  EXPECT_FALSE(link.app.Content(link.app.Path(u"far/settings"))->Contains(u"[Port Settings]"));
}

} // namespace
} // namespace kor
