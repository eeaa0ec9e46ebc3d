// The settings as a stored record: the hand-over from a text profile, and damage. And everything
// that is stored, driven through every moment at which the power may go and everything that the
// disk may hold then.
#include <gtest/gtest.h>

#include "app/start_up.h"
#include "files/class_registry.h"
#include "tests/support/dictionary_samples.h"
#include "tests/support/stored_operations.h"

namespace kor {
namespace {

class StoredSettingsTest : public ::testing::Test {
 protected:
  // A run of the program on the settings file as it stands.
  void Run(const std::function<void(NceLink&)>& during) {
    link.Open();
    during(link);
    link.link->Terminate();
    link.form.RunPosted();
  }
  void Set(const char16_t* key, const char16_t* value) {
    EXPECT_EQ(ChangeSetting(*link.link, key, value), u"");
  }

  NceLink link;
  KorText path = link.app.Path(u"settings/NCE.INI");
};

TEST_F(StoredSettingsTest, AProfileIsReadOnceAndReplacedByTheRecord) {
  link.app.Put(path,
               u"[Port Settings]\nbaudrate=9600\n[Files]\nfile extension=NC\nupload path=/up\n");
  Run([&](NceLink&) {
    EXPECT_EQ(link.link->Settings().baudrate, u"9600");
    Set(u"character-delay", u"17");
    Set(u"eot-character", u"SI");
    link.link->SetFeatures({1, 0, 1, 0});
  });
  EXPECT_FALSE(link.app.Content(path)->Contains(u"[Port Settings]"));
  EXPECT_EQ(link.app.Content(path + u".damaged"), std::nullopt) << "a text is no damage";
  Run([&](NceLink&) {
    const LinkSettings& settings = link.link->Settings();
    EXPECT_EQ(settings.baudrate, u"9600");
    EXPECT_EQ(settings.fileExtension, u"NC");
    EXPECT_EQ(settings.uploadPath, u"/up/");
    EXPECT_EQ(settings.downloadPath, link.Folder());
    EXPECT_EQ(settings.characterDelay, 17);
    EXPECT_EQ(settings.eotCharacter, 31);
    EXPECT_EQ(link.link->Features().autoloadSequential, 1);
    EXPECT_EQ(link.link->Features().stripPcZeros, 0);
  });
  EXPECT_TRUE(link.form.messages.empty());
}

TEST_F(StoredSettingsTest, ARecordThatNamesNoComPortGivesWayWithAWarning) {
  Run([&](NceLink&) { Set(u"baudrate", u"9600"); });
  const std::u16string_view com(u"C\0O\0M\0", 6), aux(u"A\0U\0X\0", 6);
  link.app.Put(path, link.app.Content(path)->ReplaceAll(com, aux));
  Run([&](NceLink&) {
    link.form.RunPosted();
    EXPECT_EQ(link.link->Settings().port, u"COM1");
    EXPECT_EQ(link.link->Settings().baudrate, u"2400");
    EXPECT_EQ(link.form.OnlyMessage(), u"Warning: Bad INI file load: Possible loss of settings");
  });
}

TEST_F(StoredSettingsTest, ADeviceThatIsNoComPortIsUsedOnceAndCostsNoOtherSetting) {
  Run([&](NceLink&) {
    Set(u"port", u"com12");
    EXPECT_EQ(link.link->Settings().port, u"COM12");
    EXPECT_TRUE(link.form.messages.empty());
    Set(u"port", u"/dev/ttyUSB0");
    EXPECT_EQ(link.link->Settings().port, u"/dev/ttyUSB0");
    link.form.RunPosted();
    const KorText said = link.form.OnlyMessage(); // while there is time to name the device
    EXPECT_TRUE(said.Contains(u"opens COM12 again"));
    EXPECT_TRUE(said.EndsWith(u"ncedl-setup --port COM12=/dev/ttyUSB0"));
    Set(u"baudrate", u"19200");
    link.form.messages.clear();
  });
  Run([&](NceLink&) {
    EXPECT_EQ(link.link->Settings().port, u"COM12");
    EXPECT_EQ(link.link->Settings().baudrate, u"19200");
  });
  EXPECT_TRUE(link.form.messages.empty());
  link.app.Put(path, u"[Port Settings]\nport=/dev/ttyS9\nbaudrate=300\n");
  Run([&](NceLink&) { EXPECT_EQ(link.form.messages.size(), 1u); });
  Run([&](NceLink&) { EXPECT_EQ(link.link->Settings().baudrate, u"300"); });
  link.app.Put(path, Utf16(u"[Port Settings]\nport=com3\n"));
  Run([&](NceLink&) { EXPECT_EQ(link.link->Settings().port, u"COM3"); });
  EXPECT_EQ(link.app.Content(path + u".damaged"), std::nullopt);
  EXPECT_EQ(link.form.messages.size(), 1u);
}

TEST_F(StoredSettingsTest, AnEmptyObjectOfTheRegistryHarmsNothing) {
  RegisterStoredClasses();
  RegisterStoredClasses(); // the second time does no harm either
  EXPECT_EQ(ClassRegistry::Global().Create(100091201)->ClassId(), 100091201u);
  const auto made = ClassRegistry::Global().Create(103090701);
  auto& empty = dynamic_cast<NCEApp&>(*made);
  EXPECT_EQ(empty.ClassId(), 103090701u);
  empty.SetUpServices();
  empty.BuildWindow();
  empty.SettingsDialog();
  empty.SpecialDialog();
  empty.ChooseDownloadFile();
  empty.SendFile(path);
  empty.XonXoffTest();
  empty.SetHandshake({.rtsCts = true, .dtrDsr = true});
  link.app.Advance(5);
  for (int i = 0; i < 3; ++i) {
    empty.RunDueTimers();
    empty.Poll();
    empty.WaitIdle();
  }
  EXPECT_EQ(empty.CurrentStatus().code, LinkStatus::NoLink);
  empty.Terminate();
  EXPECT_TRUE(link.app.Warnings().empty());
}

// As a power cut after the change finds them; the settings folder of a new user isn't there yet.
TEST_F(StoredSettingsTest, EachChangeIsOnTheDiskWhenItIsMade) {
  const std::pair<const char*, std::function<void()>> changes[] = {
      {"set", [&] { Set(u"baudrate", u"19200"); }},
      {"handshake", [&] { link.link->SetHandshake({.rtsCts = false}); }},
      {"special",
       [&] {
         link.link->SetFeatures({1, 0, 0, 0});
       }},
      {"send", [&] { link.link->SendFile(link.Folder() + u"A.NC"); }},
  };
  link.PutProgram(u"A.NC", u"X\n");
  for (const auto& entry : changes) { // clang 14 captures no structured bindings
    link.app.RemoveFolder(link.app.Path(u"settings"));
    KorText kept;
    Run([&](NceLink&) {
      EXPECT_FALSE(link.app.Content(path)) << entry.first; // nothing to keep yet
      EXPECT_TRUE(link.app.FileExists(link.app.Path(u"settings/NCE.lock")));
      entry.second();
      link.Run(); // a file sent by hand is remembered when it could be opened
      kept = link.app.Content(path).value_or(KorText());
    });
    EXPECT_FALSE(kept.IsEmpty()) << entry.first;
    EXPECT_EQ(link.app.Content(path), kept) << entry.first;
  }
  EXPECT_TRUE(link.app.Messages().empty());
}

TEST_F(StoredSettingsTest, SettingsThatCannotBeKeptAreSaidOnceAndServingGoesOn) {
  Run([&](NceLink&) {
    link.app.RefuseOpening(u"NCE.INI", true);
    Set(u"baudrate", u"19200");
    Set(u"parity", u"Even");
    EXPECT_EQ(link.app.Messages().size(), 1u);
    link.Run();
    EXPECT_EQ(link.Ask("XYZ"), "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r");
    link.app.ClearFaults();
    Set(u"parity", u"Odd");
    link.app.RefuseOpening(u"NCE.INI", true);
    Set(u"parity", u"None");
    EXPECT_EQ(link.app.Messages().size(), 2u);
  });
  EXPECT_EQ(link.app.Messages().size(), 2u);
}

TEST_F(StoredSettingsTest, WhileAnotherProgramKeepsThemTheyAreNotSaved) {
  link.app.MakeFolder(link.app.Path(u"settings"));
  const auto other = link.app.OpenFile(link.app.Path(u"settings/NCE.lock"), FileAccess::ReadWrite);
  Run([&](NceLink&) { Set(u"baudrate", u"19200"); });
  EXPECT_FALSE(link.app.Content(path));
  EXPECT_TRUE(link.form.OnlyMessage().Contains(u": Another program keeps"));
}

TEST_F(StoredSettingsTest, ANameThatNoFileCanHaveIsSaidAtTheStart) {
  link.Start(u"NCE");
  link.link->Terminate();
  for (const char16_t* name : {u"Press 1/2", u"..\\up", u"A\x01"}) {
    link.Open(name);
    link.link->SetHandshake({.rtsCts = false, .dtrDsr = false});
    link.link->Terminate();
    link.form.RunPosted();
    EXPECT_TRUE(link.form.OnlyMessage().Contains(KorText(u": \"") + name + u"\""));
    link.form.messages.clear();
  }
  EXPECT_TRUE(link.app.Messages().empty());
  EXPECT_EQ(link.app.Names(link.app.Path(u"settings")), (Texts{u"NCE.INI", u"NCE.lock"}));
}

TEST_F(StoredSettingsTest, EveryCutOfTheRecordGivesTheDefaultsOrTheSettings) {
  Run([&](NceLink&) {
    Set(u"baudrate", u"19200");
    link.link->SetFeatures({1, 1, 1, 1});
  });
  const KorText whole = *link.app.Content(path);
  for (std::size_t length = 0; length < whole.Length(); length += 3) {
    link.app.Put(path, whole.Left(length));
    Run([&](NceLink&) {
      EXPECT_EQ(link.link->Settings().baudrate, u"2400") << length;
      EXPECT_EQ(link.link->Settings().fileExtension, u"MPG");
      EXPECT_EQ(link.link->Features().stripPcZeros, 0) << length;
    });
    // The end of the program has written the defaults over it.
    EXPECT_EQ(link.app.Content(path + u".damaged").value_or(KorText()),
              length < 8 ? KorText() : whole.Left(length));
    EXPECT_EQ(link.app.Warnings().size(), length < 8 ? 0U : 1U) << length;
    link.app.ForgetReports();
  }
  EXPECT_TRUE(link.form.messages.empty());
  EXPECT_TRUE(link.app.Messages().empty());
}

TEST(PowerCut, LeavesTheOlderOrTheNewerFileAndTheNewerOnceSuccessWasReported) {
  const StoredTexts texts = {KorText(3000, u'G') + u"\n", u"G90\nX10\n"};
  for (const StoredOperation& operation : StoredOperations()) {
    NceLink link;
    const CutOutcome uncut = CutAfter(1000, operation, link, texts);
    ASSERT_TRUE(uncut.success && uncut.finished) << operation.name;
    ASSERT_NE(uncut.storedOlder, uncut.storedNewer) << operation.name;
    bool finished = false;
    for (int changes = 0; !finished; ++changes) {
      const CutOutcome outcome = CutAfter(changes, operation, link, texts);
      finished = outcome.finished;
      EXPECT_EQ(FindTorn(operation, link, outcome, uncut), "") << operation.name << " " << changes;
    }
  }
}

} // namespace
} // namespace kor
