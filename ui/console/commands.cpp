#include "ui/console/commands.h"

#include <algorithm>

#include "services/core/text_lookup.h"

namespace kor {

namespace {

KorText Usage(const KorText& command, const KorText& arguments) {
  return KorText::Format(LookUpText(kTexts.usage), command, arguments);
}

std::size_t NameLength(const KorText& line) {
  return std::min(line.View().find_first_of(u" \t"), line.Length());
}

} // namespace

const Commands::Command Commands::kCommands[] = {
    {u"status", u"", kTexts.helpStatus, &Commands::Status},
    {u"send", u"FILE", kTexts.helpSend, &Commands::Send},
    {u"receive", u"FILE", kTexts.helpReceive, &Commands::Receive},
    {u"complete", u"", kTexts.helpComplete, &Commands::Complete},
    {u"cancel", u"", kTexts.helpCancel, &Commands::Cancel},
    {u"jobs", u"", kTexts.helpJobs, &Commands::Jobs},
    {u"loopback", u"", kTexts.helpLoopback, &Commands::Loopback},
    {u"xon", u"", kTexts.helpXon, &Commands::Xon},
    {u"monitor", u"on|off", kTexts.helpMonitor, &Commands::Monitor},
    {u"trace", u"FILE|off", kTexts.helpTrace, &Commands::Trace},
    {u"rts", u"on|off", kTexts.helpRts, &Commands::Rts},
    {u"dtr", u"on|off", kTexts.helpDtr, &Commands::Dtr},
    {u"settings", u"", kTexts.helpSettings, &Commands::Settings},
    {u"set", u"KEY VALUE", kTexts.helpSet, &Commands::Set},
    {u"special", u"[NAME on|off]", kTexts.helpSpecial, &Commands::Special},
    {u"help", u"", kTexts.helpHelp, &Commands::Help},
    {u"quit", u"", kTexts.helpQuit, &Commands::Quit},
};

const Commands::Command* Commands::Find(const KorText& line) {
  const KorText name = line.Left(NameLength(line));
  const auto found =
      std::find_if(std::begin(kCommands), std::end(kCommands),
                   [&](const Command& command) { return name.EqualsNoCase(command.name); });
  return found == std::end(kCommands) ? nullptr : found;
}

// "cancel" may be meant for a transfer that has not begun yet.
bool Commands::Overtakes(const KorText& line, const KorText& waiting) {
  const Command* const command = Find(line);
  if (!command) return false;
  const Handler handler = command->handler;
  if (handler == &Commands::Cancel) {
    const Command* const other = Find(waiting);
    return !other || (other->handler != &Commands::Send && other->handler != &Commands::Receive);
  }
  return handler == &Commands::Status || handler == &Commands::Help || handler == &Commands::Quit;
}

void Commands::Run(const KorText& line) {
  const Command* const found = Find(line);
  if (!found) {
    console.Print(KorText::Format(LookUpText(kTexts.unknownCommand), line.Left(NameLength(line))));
    return;
  }
  const KorText argument = line.Mid(NameLength(line)).Trimmed();
  const KorText wanted = found->arguments;
  if (argument.IsEmpty() && !wanted.IsEmpty() && wanted[0] != u'[') {
    console.Print(Usage(found->name, wanted));
    return;
  }
  (this->*found->handler)(argument);
}

std::optional<bool> Commands::Switch(const KorText& command, const KorText& argument) {
  if (argument.EqualsNoCase(u"on")) return true;
  if (argument.EqualsNoCase(u"off")) return false;
  console.Print(Usage(command, u"on|off"));
  return std::nullopt;
}

void Commands::Status(const KorText&) {
  const StatusView view = app.CurrentStatus();
  console.Print(KorText::Format(u"status %i %s", NumberOf(view.code), view.line));
  for (const KorText& text : {view.reason, view.note})
    if (!text.IsEmpty()) console.Print(text);
  for (const KorText& text : LineErrorTexts(app.CurrentLineErrors()))
    console.Print(text);
}

void Commands::Jobs(const KorText&) {
  app.AskJobsOfToday([this](const std::vector<EndedJob>& jobs) {
    for (const EndedJob& job : jobs)
      console.PrintJob(job);
  });
}

void Commands::Send(const KorText& argument) {
  app.SendFile(argument);
}
void Commands::Receive(const KorText& argument) {
  app.ReceiveFile(argument);
}
void Commands::Complete(const KorText&) {
  app.CompleteUpload();
}

void Commands::Cancel(const KorText&) {
  app.CancelExchange();
}

void Commands::Loopback(const KorText&) {
  app.LoopbackTest();
}
void Commands::Xon(const KorText&) {
  app.XonXoffTest();
}

void Commands::Monitor(const KorText& argument) {
  const auto on = Switch(u"monitor", argument);
  if (!on) return;
  console.SetMonitorOn(*on);
  app.SetMonitorShown(*on);
}

void Commands::Trace(const KorText& argument) {
  if (argument.EqualsNoCase(u"off"))
    app.StopTrace();
  else
    app.StartTrace(argument);
}

void Commands::Rts(const KorText& argument) {
  const auto on = Switch(u"rts", argument);
  if (!on) return;
  app.SetHandshake({.rtsCts = on});
  PrintSwitch(u"rts", app.Settings().rtsCtsHandshake > 0);
}

void Commands::Dtr(const KorText& argument) {
  const auto on = Switch(u"dtr", argument);
  if (!on) return;
  app.SetHandshake({.dtrDsr = on});
  PrintSwitch(u"dtr", app.Settings().dtrDsrHandshake > 0);
}

// Prints the switch in the words that "set" and "special" take.
void Commands::PrintField(const FormField& field) {
  if (field.kind == FieldKind::Check)
    PrintSwitch(field.key, field.value == u"1");
  else
    console.Print(KorText::Format(u"%-16s %s", field.key, field.value.Trimmed()));
}

void Commands::PrintSwitch(const KorText& key, bool on) {
  console.Print(KorText::Format(u"%-16s %s", key, on ? u"on" : u"off"));
}

void Commands::PrintForm(const FormDescription& form) {
  for (const FormField& field : form.fields)
    PrintField(field);
}

void Commands::Settings(const KorText&) {
  PrintForm(MakeSettingsForm(app.Settings(), {}));
  PrintSwitch(u"rts", app.Settings().rtsCtsHandshake > 0);
  PrintSwitch(u"dtr", app.Settings().dtrDsrHandshake > 0);
}

// Edits one field of the form of the settings dialog. The ports are probed only for a list.
void Commands::Set(const KorText& argument) {
  const std::size_t blank = NameLength(argument);
  const KorText key = argument.Left(blank);
  if (key == u"rts" || key == u"dtr") { // "settings" lists them with the others
    Run(argument);
    return;
  }
  FormDescription form = MakeSettingsForm(app.Settings(), {});
  FormField* field = form.Find(key);
  if (!field) {
    console.Print(KorText::Format(LookUpText(kTexts.unknownSetting), key));
    return;
  }
  field->value = argument.Mid(blank).Trimmed();
  app.LookAndAcceptSettings(form, [this, key](const KorText& wrong) {
    if (!wrong.IsEmpty())
      console.Print(wrong);
    else
      PrintField(*MakeSettingsForm(app.Settings(), {}).Find(key));
  });
}

void Commands::Special(const KorText& argument) {
  FormDescription form = app.SpecialForm();
  if (argument.IsEmpty()) {
    PrintForm(form);
    return;
  }
  const std::size_t blank = NameLength(argument);
  FormField* field = form.Find(argument.Left(blank));
  if (!field) {
    console.Print(KorText::Format(LookUpText(kTexts.unknownFeature), argument.Left(blank)));
    return;
  }
  const auto on = Switch(u"special " + field->key, argument.Mid(blank).Trimmed());
  if (!on) return;
  // A disabled box keeps a mark that it has, but gets none.
  form.updateEnabled(form.fields);
  if (*on && !field->enabled) {
    console.Print(field->key == u"hybrid" ? LookUpText(kTexts.hybridNeedsAutoload)
                                          : LookUpText(kTexts.stripPcWithoutUse));
    return;
  }
  field->value = *on ? u"1" : u"0";
  app.AcceptSpecialForm(form);
  PrintField(*app.SpecialForm().Find(field->key));
}

void Commands::Help(const KorText&) {
  for (const Command& command : kCommands)
    console.Print(KorText::Format(u"%-9s %-14s %s", command.name, command.arguments,
                                  LookUpText(command.help)));
}

void Commands::Quit(const KorText&) {
  console.AskQuit();
}

} // namespace kor
