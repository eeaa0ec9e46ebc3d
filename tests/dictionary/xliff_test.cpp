// Translation files: out and in, what translation programs do to them, and bad ones.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/dictionary_samples.h"

namespace kor {
namespace {

class Xliff : public ::testing::Test {
 protected:
  void SetUp() override { FillSample(dictionary, app.Path(u"diction.ary")); }

  KorText Utf8(const KorText& text) { return KorText::FromBytes(text.ToUtf8()); }
  ImportResult Import(const KorText& bytes) {
    app.Put(file, bytes);
    return dictionary.ImportXLIFF(file);
  }
  // A file for German with these units.
  ImportResult ImportUnits(const KorText& units) {
    return Import(Utf8(u"<xliff version=\"1.2\">\n<file target-language=\"de-DE\">\n<body>\n") +
                  Utf8(units) + u"</body></file></xliff>");
  }

  TestApp app;
  KorText file = app.Path(u"dictionary_de-DE.xlf");
  TextHolder dictionary;
};

// The form of whole files is that of the shipped ones; these units have what no text there has.
constexpr const char16_t* kUnits = uR"(
        <trans-unit id="7" resname="TXTPOS_Send_s__wait" restype="">
          <source>Send %s &amp; &lt;wait&gt;</source>
          <target>Envoyer %s</target>
          <context-group name="TransMetaData">
            <context context-type="x-importance">2</context>
            <context context-type="x-modified">2026-11-21</context>
          </context-group>
          <note>A note.</note>
        </trans-unit>
        <trans-unit id="48" resname="TXTPOS_Give_up" restype="">
          <source>Give
up</source>
          <target />
          <context-group name="TransMetaData">
            <context context-type="x-importance">0</context>
            <context context-type="x-modified" />
          </context-group>
          <note />
        </trans-unit>
)";

TEST_F(Xliff, ExportsOneFilePerLanguage) {
  TextEntry bare;
  bare.id = 48;
  bare.phrase = u"Give\nup";
  bare.textPosition = u"TXTPOS_Give_up";
  *dictionary.FindEntry(48) = bare;
  std::vector<KorText> steps;
  ASSERT_TRUE(
      dictionary.ExportXLIFF(app.Path(u"out"), [&](const KorText& title, double at, double size) {
        steps.push_back(KorText::Format(u"%s %.0f/%.0f", title, at, size));
        return true;
      }));
  EXPECT_EQ(app.Names(app.Path(u"out/")),
            (std::vector<KorText>{u"dictionary_de-DE.xlf", u"dictionary_fr-FR.xlf"}));
  const KorText french = *app.Content(app.Path(u"out/dictionary_fr-FR.xlf"));
  EXPECT_TRUE(french.Contains(Utf8(kUnits))) << french.ToUtf8();
  EXPECT_EQ(steps, (std::vector<KorText>{u"Export as XLIFF 0/2", u"Export as XLIFF 1/2",
                                         u"Export as XLIFF 2/2"}));
}

TEST_F(Xliff, TakesTranslationsNotesDatesImportanceAndNewNumbers) {
  const ImportResult result =
      ImportUnits(Unit(48, u"Cancel", u"Verwerfen",
                       u"<context-group><context context-type=\"x-importance\">5</context>"
                       u"<context context-type=\"x-modified\">2027-01-02</context></context-group>"
                       u"<note>New note.</note>") +
                  Unit(7, u"Send %s &amp; &lt;wait&gt;") +
                  Unit(323, u"Call us.", u"<g>Rufen</g> <g>Sie</g> \n<g>an</g>", u"<note/>") +
                  u"<group id=\"3\" restype=\"Lamps\">" + Unit(15250, u"CTS  Hold!", u"CTS-Halt") +
                  u"</group>" + Unit(324, u"Pardon!"));
  ASSERT_TRUE(result.done);
  EXPECT_EQ(result.changed, 2U);
  ASSERT_EQ(result.added, std::vector<std::int32_t>{15250});
  EXPECT_EQ(result.warnings,
            std::vector<KorText>{
                file + u":5: unit 324: the English text is \"Pardon!\" here and \"Sorry!\" in the "
                       u"dictionary. Check the translation, and export the file again."});
  EXPECT_EQ(dictionary.FindEntry(324)->phrase, u"Sorry!");
  const TextEntry& entry = *dictionary.FindEntry(48);
  EXPECT_EQ(entry.Translation(0), u"Verwerfen");
  EXPECT_EQ(entry.Translation(1), u"Annuler");
  EXPECT_EQ(entry.comment, u"New note.");
  EXPECT_EQ(entry.importance, 5);
  EXPECT_EQ(DateText(entry.LatestModification()), u"2027-01-02");
  EXPECT_EQ(entry.modified.size(), 2U);
  EXPECT_EQ(dictionary.FindEntry(7)->Translation(0), u"%s senden & <warten>") << "no target";
  EXPECT_EQ(dictionary.FindEntry(7)->comment, u"A note.") << "no note";
  EXPECT_EQ(dictionary.FindEntry(323)->comment, u"") << "an empty note";
  EXPECT_EQ(dictionary.FindEntry(323)->Translation(0), u"Rufen Sie \nan") << "blanks count";
  EXPECT_EQ(dictionary.FindEntry(15250)->textPosition, u"TXTPOS_CTS_Hold");
  EXPECT_EQ(dictionary.FindEntry(15250)->Translation(0), u"CTS-Halt");
  ASSERT_EQ(dictionary.Categories().size(), 2U);
  EXPECT_EQ(dictionary.Categories()[1].name, u"Lamps");
}

// In whatever order they come; each in a step of its own would take minutes for these.
TEST_F(Xliff, ManyNewNumbersAndWarningsComeInReasonableTime) {
  KorText units;
  for (int id = 40'000; id > 20'000; --id)
    units += KorText::Format(u"<group id=\"%i\"><trans-unit id=\"%i\"><source>a</source>"
                             u"</trans-unit></group>\n",
                             id, id);
  ASSERT_EQ(ImportUnits(units).added.size(), 20'000U);
  EXPECT_EQ(dictionary.Entries().size(), 20'004U);
  EXPECT_TRUE(std::ranges::is_sorted(dictionary.Entries(), {}, &TextEntry::id));
  EXPECT_EQ(dictionary.Categories().size(), 20'001U);
  units.ReplaceAll(u"<source>a", u"<source>b");
  EXPECT_EQ(ImportUnits(units).warnings.size(), 20'000U);
  EXPECT_TRUE(dictionary.ExportXLIFF(app.Path(u"out")));
}

TEST_F(Xliff, AcceptsWhatTranslationProgramsWrite) {
  const KorText text =
      u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><x:xliff version=\"1.2\" "
      u"xmlns:x=\"urn:oasis:names:tc:xliff:document:1.2\"><x:file original=\"diction.ary\" "
      u"target-language=\"DE-de\"><x:body><x:group><x:group id=\"0\"><x:trans-unit id=\"48\">"
      u"<x:source>Cancel</x:source><x:target state=\"final\">Ab<x:g id=\"1\">bre</x:g>"
      u"<![CDATA[chen]]> <x:x/></x:target></x:trans-unit></x:group></x:group></x:body></x:file>"
      u"</x:xliff>";
  ASSERT_TRUE(Import(Utf16(text)).done);
  EXPECT_EQ(dictionary.FindEntry(48)->Translation(0), u"Abbrechen ");
}

TEST_F(Xliff, AFaultyFileChangesNothingAndNamesItsFault) {
  const auto fails = [this](const KorText& units, const KorText& error) {
    app.ForgetReports();
    const ImportResult result = ImportUnits(units);
    EXPECT_FALSE(result.done);
    ASSERT_FALSE(result.errors.empty()) << error.ToUtf8();
    EXPECT_TRUE(result.errors[0].StartsWith(file + error)) << result.errors[0].ToUtf8();
    EXPECT_EQ(dictionary.FindEntry(48)->Translation(0), u"Abbrechen");
    EXPECT_EQ(dictionary.Entries().size(), 4U);
    ASSERT_EQ(app.Messages().size(), 1U);
    EXPECT_EQ(app.Messages()[0].info, u"Dictionary");
    EXPECT_EQ(app.Messages()[0].message,
              u"The translation file cannot be read, or does not fit this dictionary.");
    EXPECT_TRUE(app.Messages()[0].details.StartsWith(result.errors[0]));
  };
  fails(u"<trans-unit id=\"48\"><target>X</target></trans-unit>\n<trans-unit id=\"1x\"/>",
        u":5: unit with the id \"1x\". Give it a number from 0 to 999999.");
  fails(u"<trans-unit id=\"1000000\"/>",
        u":4: unit with the id \"1000000\". Give it a number from 0 to 999999.");
  fails(u"<trans-unit/>", u":4: unit with the id \"\". Give it a number from 0 to 999999.");
  fails(u"<trans-unit id=\"5\"><target>X</target></trans-unit>",
        u":4: unit 5: a new number, and the English text is missing. Write it into <source>.");
  fails(u"<trans-unit id=\"48\"/>\n\n<trans-unit id=\"48\"/>",
        u":6: unit 48: the number is taken by the unit at ");
  fails(u"<trans-unit id=\"48\"><target>X</target><context-group><context "
        u"context-type=\"x-importance\">high</context></context-group></trans-unit>",
        u":4: unit 48: x-importance is \"high\". Write a whole number.");
  fails(u"<trans-unit id=\"48\"><target>X</target><context-group><context "
        u"context-type=\"x-modified\">2026-02-30</context></context-group></trans-unit>",
        u":4: unit 48: x-modified is \"2026-02-30\". Write a date such as 2026-11-21.");
  fails(u"</file><file>", u":4: no well-formed XML");
  fails(u"</body></file><file target-language=\"fr-FR\"><body>", u":4: a second <file>.");
}

TEST_F(Xliff, AFileThatIsNoTranslationOfThisDictionaryIsRefused) {
  const auto fails = [this](const KorText& content, const KorText& error) {
    const ImportResult result = Import(content);
    ASSERT_EQ(result.errors.size(), 1U) << content.ToUtf8();
    EXPECT_TRUE(result.errors[0].StartsWith(file + error)) << result.errors[0].ToUtf8();
  };
  fails(u"", u":1: no well-formed XML");
  fails(u"text", u":1: no well-formed XML");
  fails(u"<html/>", u":1: no XLIFF file");
  fails(u"<xliff>\n<file/></xliff>", u":2: <file> has no target-language.");
  fails(u"<xliff><file target-language=\"nl-NL\"/></xliff>",
        u": the dictionary has no language \"nl-NL\".");
  const KorText latin = u"<xliff><file target-language=\"de-DE\"><body><trans-unit id=\"48\">"
                        u"<target>\xD6</target></trans-unit></body></file></xliff>";
  EXPECT_EQ(Import(latin).errors.at(0),
            file + u":1: unit 48: characters that are no UTF-8. Save the file as UTF-8.");
  EXPECT_TRUE(Import(u"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + latin).done);
  EXPECT_EQ(dictionary.FindEntry(48)->Translation(0), u"Ö");
  app.RefuseOpening(u".xlf");
  EXPECT_EQ(dictionary.ImportXLIFF(file).errors.at(0),
            file + u": cannot be read. Check the name and the rights to the file.");
}

TEST_F(Xliff, AFullDiskOrACancelLeavesTheOlderFiles) {
  const KorText target = app.Path(u"out/dictionary_de-DE.xlf");
  app.Put(target, u"older");
  app.LimitWrites(500);
  EXPECT_FALSE(dictionary.ExportXLIFF(app.Path(u"out")));
  app.ClearFaults();
  EXPECT_FALSE(dictionary.ExportXLIFF(app.Path(u"out"),
                                      [](const KorText&, double, double) { return false; }));
  EXPECT_EQ(app.Content(target), KorText(u"older"));
  EXPECT_EQ(app.Names(app.Path(u"out/")).size(), 1U);
}

} // namespace
} // namespace kor
