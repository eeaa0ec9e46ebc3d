// The settings as a stored record: the hand-over from a text profile, damage, cut power.
#include <gtest/gtest.h>

#include "app/start_up.h"
#include "files/class_registry.h"
#include "tests/support/nce_link.h"

namespace kor {
namespace {

class StoredSettingsTest : public ::testing::Test {
 protected:
  // A run of the program on the settings file as it stands.
  void Run(const std::function<void(NceLink&)>& during) {
    EngineServices services;
    services.port = &link.port;
    services.form = &link.form;
    services.cncFolder = link.Folder();
    services.startWorker = false;
    link.link = std::make_unique<NCEApp>(services, u"");
    link.link->SetUpServices();
    link.link->BuildWindow();
    link.Run();
    during(link);
    link.link->Terminate();
    link.form.RunPosted();
  }
  void Set(const char16_t* key, const char16_t* value) {
    FormDescription form = link.link->SettingsForm();
    form.Find(key)->value = value;
    EXPECT_EQ(link.link->AcceptSettings(form), u"");
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
    EXPECT_EQ(link.link->Features().stripNceZeros, 1);
  });
  EXPECT_TRUE(link.form.messages.empty());
}

TEST_F(StoredSettingsTest, ARecordThatNamesNoComPortGivesWayWithAWarning) {
  Run([&](NceLink&) { Set(u"port", u"AUX"); });
  ASSERT_EQ(link.form.messages.size(), 1u); // said while there is time to name the device
  EXPECT_TRUE(link.form.messages[0].text.EndsWith(u"ncedl-setup --port COM1=AUX"));
  link.form.messages.clear();
  Run([&](NceLink&) {
    link.form.RunPosted();
    EXPECT_EQ(link.link->Settings().port, u"COM1");
    ASSERT_EQ(link.form.messages.size(), 1u);
    EXPECT_EQ(link.form.messages[0].caption, u"Warning: Bad INI file load");
    EXPECT_EQ(link.form.messages[0].text, u"Possible loss of settings");
    Set(u"port", u"COM12");
  });
  Run([&](NceLink&) { EXPECT_EQ(link.link->Settings().port, u"COM12"); });
  EXPECT_EQ(link.form.messages.size(), 1u);
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
  }
  EXPECT_TRUE(link.form.messages.empty());
  EXPECT_TRUE(link.app.Messages().empty());
}

TEST_F(StoredSettingsTest, AFailedSaveLeavesTheOlderRecordAndSaysSo) {
  Run([&](NceLink&) { Set(u"baudrate", u"19200"); });
  const KorText whole = *link.app.Content(path);
  for (int changes = 0;; ++changes) {
    bool lost = false;
    Run([&](NceLink&) {
      Set(u"baudrate", u"300");
      link.app.ForgetReports();
      link.app.CutPowerAfter(changes);
    });
    link.app.ClearFaults();
    lost = !link.app.Messages().empty();
    const KorText now = *link.app.Content(path);
    if (!lost) {
      EXPECT_NE(now, whole);
      EXPECT_GT(changes, 2);
      return;
    }
    if (now != whole) link.app.Put(path, whole); // complete, though the folder was not synced
  }
}

TEST_F(StoredSettingsTest, TheStoredClassesAreRegisteredUnderTheirNumbers) {
  RegisterStoredClasses();
  RegisterStoredClasses();
  EXPECT_EQ(ClassRegistry::Global().Create(100091201)->ClassId(), 100091201u);
  EXPECT_EQ(ClassRegistry::Global().Create(103090701)->ClassId(), 103090701u);
  EXPECT_TRUE(link.app.Warnings().empty());
}

} // namespace
} // namespace kor
