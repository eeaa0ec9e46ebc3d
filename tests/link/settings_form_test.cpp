// The settings form: what it offers, takes and refuses.
#include <algorithm>

#include "services/core/text_lookup.h"
#include "tests/link/engine_fixture.h"

namespace kor {
namespace {

TEST_F(EngineTest, AnOldValueThatNoListHoldsBlocksNoOtherSettingAndIsKept) {
  for (const std::int32_t delay : {45, -5}) {
    link.Start({}, KorText::Format(u"parity=\nbaudrate=14400\ntransmit delay=%i\n", delay),
               u"[Log]\nwrite log=2\n");
    int shown = 0;
    link.form.messages.clear();
    link.form.edit = [&](FormDescription& form) {
      EXPECT_EQ(form.Find(u"transmit-delay")->minimum, std::min(delay, 0));
      form.Find(u"stopbits")->value = ++shown == 1 ? u"3" : u"2"; // shown again when it is wrong
      for (FormField& field : form.fields) {                      // as controls show them
        if (field.kind == FieldKind::Check && field.value != u"1") field.value = u"0";
        if (field.kind == FieldKind::Number)
          field.value = KorText::Format(
              u"%i", std::clamp(field.value.ToInteger(), field.minimum, field.maximum));
      }
      return true;
    };
    link.link->SettingsDialog();
    EXPECT_TRUE(link.form.OnlyMessage().Contains(u"\"3\""));
    EXPECT_EQ(link.link->Settings().stopbits, u"2");
    EXPECT_EQ(link.link->Settings().baudrate, u"14400");
    EXPECT_EQ(link.link->Settings().transmitDelay, delay);
    EXPECT_EQ(link.link->Settings().writeLog, 2);
  }
}

TEST_F(EngineTest, EverySpeedAndHandshakeReachesThePortAndEveryFieldStandsInABox) {
  link.Start({}, u"flow control=Hardware\n");
  FormDescription form = link.link->SettingsForm();
  for (const FormField& field : form.fields) {
    EXPECT_FALSE(field.group.IsEmpty()) << field.key.ToUtf8();
    const bool isSwitch = KorText(u"send-sot send-eot write-log").Contains(field.key);
    EXPECT_EQ(field.kind == FieldKind::Check, isSwitch) << field.key.ToUtf8();
  }
  for (const KorText& speed : form.Find(u"baudrate")->choices) {
    EXPECT_EQ(ChangeSetting(*link.link, u"baudrate", speed), u"");
    link.Run();
    EXPECT_EQ(KorText::Format(u"%u", link.port.Block().baudRate), speed);
    EXPECT_TRUE(link.port.Block().outxCtsFlow && link.port.Block().outxDsrFlow);
  }
  for (const bool rtsCts : {false, true}) {
    link.port.ClearCalls();
    link.Do(&NCEApp::SetHandshake, Handshake{.rtsCts = rtsCts, .dtrDsr = !rtsCts});
    EXPECT_EQ(link.port.Calls().front(), "PurgeTransmit"); // opened anew
    EXPECT_EQ(link.port.Block().outxCtsFlow, rtsCts);
    EXPECT_EQ(link.port.Block().outxDsrFlow, !rtsCts);
  }
}

// Folders are looked at beside the serving and only when all else is right.
TEST_F(EngineTest, TheSettingsFormSaysWhatIsWrongBesideEachField) {
  link.Start();
  SetTextLookup([](int n) { return KorText::Format(n == 15621 ? u"(%i)" : u"", n); });
  FormDescription form = link.link->SettingsForm();
  SetTextLookup({});
  EXPECT_EQ(form.Find(u"parity")->value, u"None"); // shown in the user's words, stored as it is
  EXPECT_EQ(form.Find(u"parity")->shown[1], u"(15621)");
  EXPECT_EQ(form.Find(u"flow-control")->shown[0], u"Xon/Xoff");
  form.Find(u"file-extension")->value = u"a.b";
  form.Find(u"upload-path")->value = u"/no/such/folder";
  link.app.WhenOpening(u"such", [this] { link.app.Advance(9); });
  const double asked = link.app.Seconds();
  form.check(form);
  for (const FormField& field : form.fields)
    EXPECT_EQ(field.problem.IsEmpty(), field.key != u"file-extension");
  EXPECT_EQ(form.obstacle, u"");
  KorText problem;
  form.look(form, [&](const auto& seen) { problem = seen.Find(u"upload-path")->problem; });
  EXPECT_TRUE(problem.IsEmpty() && link.app.Seconds() == asked && link.link->AwaitsAnswer());
  link.Run();
  EXPECT_TRUE(problem.Contains(u"a folder that exists"));
  EXPECT_FALSE(link.link->AwaitsAnswer());
  link.PutProgram(u"1.MPG", u"A\n");
  link.Ask("FH 1");
  form = link.link->SettingsForm();
  form.check(form);
  EXPECT_NE(form.obstacle, u"");
}

// What comes later is dropped. A look of which others hang is refused at once.
TEST_F(EngineTest, AFolderThatDoesNotAnswerIsRefusedInTime) {
  link.Start();
  const KorText silent = u"The folder does not answer. Choose another one, or try again later.";
  FormDescription form = link.link->SettingsForm();
  form.Find(u"upload-path")->value = u"/no/such/folder";
  Texts answers;
  const auto look = [&] {
    link.link->LookAndAcceptSettings(form, [&](const KorText& wrong) { answers.push_back(wrong); });
  };
  const auto pass = [&](double seconds) {
    link.app.Advance(seconds);
    link.link->RunDueTimers();
    link.form.RunPosted();
  };
  look();
  link.link->AskJobsOfToday([](const auto&) { ADD_FAILURE(); });
  pass(4.9);
  EXPECT_TRUE(answers.empty() && link.link->AwaitsAnswer());
  pass(0.2);
  EXPECT_EQ(answers, Texts{silent});
  EXPECT_EQ(link.form.OnlyMessage(), u"Log: " + silent);
  EXPECT_FALSE(link.link->AwaitsAnswer());
  link.Run();
  EXPECT_EQ(answers.size(), 1u);
  for (int i = 0; i < 4; ++i)
    look();
  EXPECT_EQ(answers, (Texts{silent, silent}));
}

// Only where nothing is lost.
TEST_F(EngineTest, ATraceAndANewJobLogReplaceNothingButLogs) {
  const std::pair<KorText, bool> contents[] = {
      {u"", true},
      {u"00:00:00.000000 (+0.000000) Start of logging\r\n", true},
      {u"\xEF\xBB\xBF"
       u"00:00:00.000000 (+0.000000) Start\r\n",
       true}, // an editor's mark
      {u"         21/11/2026 13:05:09 Upload Cancelled /n/1.MPG\r\n", true},
      {u"         1/2/26 9:5 Directory Listing: Error\r\n", true}, // as short as can be
      {u"N1 G0 X0\r\n", false},
      {u"(Upload Cancelled 1)\r\n", false},
      {u"[Log]\r\n", false}};
  link.Start();
  const KorText file = link.app.Path(u"x.log");
  for (const auto& [content, isTaken] : contents) {
    SCOPED_TRACE(content.ToUtf8());
    std::optional<KorText> refusal;
    link.app.Put(file, content);
    FormDescription form = link.link->SettingsForm();
    form.Find(u"log-file")->value = file;
    link.link->LookAndAcceptSettings(form, [&](const KorText& wrong) { refusal = wrong; });
    link.Run();
    EXPECT_EQ(refusal, isTaken ? u"" : u"Unable to write to log file");
    EXPECT_EQ(ChangeSetting(*link.link, u"log-file", u""), u"");
    link.form.messages.clear();
    link.Do(&NCEApp::StartTrace, file);
    EXPECT_EQ(link.link->IsTracing(), isTaken);
    EXPECT_EQ(link.form.messages.size(), isTaken ? 0U : 1U);
    EXPECT_EQ(link.app.Content(file) == content, !isTaken);
    link.form.chosen = file;
    link.Do(&NCEApp::ChooseTraceFile); // which has asked
    EXPECT_TRUE(link.app.Content(file)->Contains(u") Start of logging"));
    link.form.chosen = {};
    link.Do(&NCEApp::ChooseTraceFile);
    EXPECT_FALSE(link.link->IsTracing());
  }
}

TEST_F(EngineTest, OffersThePortsThatOpenAndTheCurrentOne) {
  const auto probe = [](const KorText& name) { return name == u"COM7"; };
  EXPECT_EQ(OfferedPorts(u"COM3", probe), (Texts{u"COM3", u"COM7"}));
  EXPECT_EQ(OfferedPorts(u"COM12", probe), (Texts{u"COM7"}));
}

} // namespace
} // namespace kor
