#include "link/link_settings.h"

#include <algorithm>
#include <array>

#include "link/comms_log.h"
#include "link/profile_file.h"
#include "services/core/app_interface.h"
#include "services/core/path_text.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr std::array<const char16_t*, 12> kBaudRates{u"110",   u"150",   u"300",   u"600",
                                                     u"1200",  u"2400",  u"4800",  u"9600",
                                                     u"19200", u"38400", u"57600", u"115200"};
constexpr std::array<const char16_t*, 5> kParities{u"None", u"Odd", u"Even", u"Mark", u"Space"};
constexpr std::array<const char16_t*, 2> kDataBits{u"7", u"8"};
constexpr std::array<const char16_t*, 3> kStopBits{u"1", u"1.5", u"2"};
constexpr std::array<const char16_t*, 4> kFlowControls{u"Xon/Xoff", u"Hardware", u"None",
                                                       u"Combined"};
// All names are three characters wide.
constexpr std::array<const char16_t*, 32> kControlCodes{
    u"NUL", u"SOH", u"STX", u"ETX", u"EOT", u"ENQ", u"ACK", u"BEL", u"BS ", u"HT ", u"LF ",
    u"VT ", u"FF ", u"CR ", u"SO ", u"SI ", u"DLE", u"DC1", u"DC2", u"DC3", u"DC4", u"NAK",
    u"SYN", u"ETB", u"CAN", u"EM ", u"SUB", u"ESC", u"FS ", u"GS ", u"RS ", u"US "};
constexpr std::size_t kShiftIn = 15;
constexpr std::uint8_t kShiftInValue = 31; // intended, see the header

constexpr std::int32_t kMaximumDelay = 999;
constexpr std::int32_t kMaximumTransmitDelay = 30;

// A form field and the member it edits.
struct TextField {
  UserText label;
  const char16_t* key;
  FieldKind kind;
  KorText LinkSettings::*member;
  std::span<const char16_t* const> (*choices)();
  UserText browseTitle = {}; // of the chooser, for a path
  int browseButton = 0;
};

struct NumberField {
  UserText label;
  const char16_t* key;
  std::int32_t LinkSettings::*member;
  std::int32_t maximum; // 1: a check box
};

struct CodeField {
  UserText label;
  const char16_t* key;
  std::uint8_t LinkSettings::*member;
};

const TextField kTextFields[] = {
    {kTexts.baudRate, u"baudrate", FieldKind::Choice, &LinkSettings::baudrate, BaudRates},
    {kTexts.parity, u"parity", FieldKind::Choice, &LinkSettings::parity, Parities},
    {kTexts.dataBits, u"databits", FieldKind::Choice, &LinkSettings::databits, DataBits},
    {kTexts.stopBits, u"stopbits", FieldKind::Choice, &LinkSettings::stopbits, StopBitTexts},
    {kTexts.flowControl, u"flow-control", FieldKind::Choice, &LinkSettings::flowControl,
     FlowControls},
    {kTexts.uploadPath, u"upload-path", FieldKind::FolderPath, &LinkSettings::uploadPath, nullptr,
     kTexts.chooseUploadPath, kTexts.browseUploadPath.number},
    {kTexts.downloadPath, u"download-path", FieldKind::FolderPath, &LinkSettings::downloadPath,
     nullptr, kTexts.chooseDownloadPath, kTexts.browseDownloadPath.number},
    {kTexts.fileExtension, u"file-extension", FieldKind::Text, &LinkSettings::fileExtension,
     nullptr},
    {kTexts.logFile, u"log-file", FieldKind::FilePath, &LinkSettings::logFile, nullptr,
     kTexts.saveLogFileAs, kTexts.browseLogFile.number},
};

const NumberField kNumberFields[] = {
    {kTexts.sendSot, u"send-sot", &LinkSettings::sendSot, 1},
    {kTexts.sendEot, u"send-eot", &LinkSettings::sendEot, 1},
    {kTexts.characterDelay, u"character-delay", &LinkSettings::characterDelay, kMaximumDelay},
    {kTexts.lineDelay, u"line-delay", &LinkSettings::lineDelay, kMaximumDelay},
    {kTexts.transmitDelay, u"transmit-delay", &LinkSettings::transmitDelay, kMaximumTransmitDelay},
    {kTexts.writeLog, u"write-log", &LinkSettings::writeLog, 1},
};

const CodeField kCodeFields[] = {
    {kTexts.sotCharacter, u"sot-character", &LinkSettings::sotCharacter},
    {kTexts.eotCharacter, u"eot-character", &LinkSettings::eotCharacter},
};

// A box of the form and what it frames, on one of the pages.
struct FieldGroup {
  UserText page;
  UserText label;
  std::vector<UserText> fields; // by their labels
};

// The fields in the order of the groups, which is that of the controls' making, too.
void SetGroups(std::vector<FormField>& fields) {
  static const FieldGroup kGroups[] = {
      {kTexts.linePage,
       kTexts.serialLineGroup,
       {kTexts.port, kTexts.baudRate, kTexts.parity, kTexts.dataBits, kTexts.stopBits,
        kTexts.flowControl}},
      {kTexts.linePage,
       kTexts.startAndEndGroup,
       {kTexts.sendSot, kTexts.sotCharacter, kTexts.sendEot, kTexts.eotCharacter}},
      {kTexts.filesPage,
       kTexts.programsGroup,
       {kTexts.uploadPath, kTexts.downloadPath, kTexts.fileExtension}},
      {kTexts.linePage,
       kTexts.delaysGroup,
       {kTexts.characterDelay, kTexts.lineDelay, kTexts.transmitDelay}},
      {kTexts.filesPage, kTexts.jobLog, {kTexts.logFile, kTexts.writeLog}},
  };
  auto next = fields.begin();
  for (const FieldGroup& group : kGroups)
    for (const UserText& label : group.fields) {
      const auto field = std::ranges::find(next, fields.end(), label.number, &FormField::number);
      std::rotate(next, field, field + 1);
      next->pageNumber = group.page.number;
      next->page = LookUpText(group.page);
      next->groupNumber = group.label.number;
      next->group = LookUpText(group.label);
      ++next;
    }
}

// Intended: the first label lacks its closing parenthesis.
KorText LogFileFilters() {
  return KorText::Format(u"%s (*.txt|*.txt|%s (*.*)|*.*", LookUpText(kTexts.textFiles),
                         LookUpText(kTexts.allFiles));
}

std::vector<KorText> Texts(std::span<const char16_t* const> list) {
  return {list.begin(), list.end()};
}

// What stands for a value in the window. What is stored, typed and logged stays the value itself.
struct ChoiceText {
  const char16_t* key; // of the setting
  UserText text;       // in English the value
};
constexpr ChoiceText kChoiceTexts[] = {
    {u"parity", kTexts.parityNone},
    {u"parity", kTexts.parityOdd},
    {u"parity", kTexts.parityEven},
    {u"parity", kTexts.parityMark},
    {u"parity", kTexts.paritySpace},
    {u"flow-control", kTexts.flowControlHardware},
    {u"flow-control", kTexts.flowControlNone},
    {u"flow-control", kTexts.flowControlCombined},
};

KorText ShownChoice(const KorText& key, const KorText& value) {
  for (const ChoiceText& choice : kChoiceTexts)
    if (key == choice.key && value == choice.text.english) return LookUpText(choice.text);
  return value;
}

KorText ListText(const std::vector<KorText>& choices) {
  KorText list;
  for (const KorText& choice : choices) {
    if (!list.IsEmpty()) list += u", ";
    list += choice.Trimmed();
  }
  return list;
}

bool Matches(const KorText& choice, const KorText& value) {
  return choice.Trimmed().EqualsNoCase(value.Trimmed());
}

// The field's value as its list writes it; an empty text when the list doesn't hold it.
KorText ListedValue(const FormField& field) {
  for (const KorText& choice : field.choices)
    if (Matches(choice, field.value)) return choice;
  return {};
}

bool IsFolder(const KorText& path) {
  return path.IsEmpty() || App().FolderExists(path); // empty: the working folder
}

// "com1" names the same port as "COM1"; only the latter is a COM name to the record.
KorText PortName(const KorText& text) {
  const KorText name = text.Trimmed();
  const bool isCom = name.StartsWithNoCase(u"COM") && IsNumber(name.Mid(3));
  return isCom ? u"COM" + name.Mid(3) : name;
}

KorText WhatExtensionsAre(const KorText& value) {
  if (value.View().find_first_of(u"./\\:*?\"<>|") == KorText::kNone) return {};
  return LookUpText(kTexts.acceptedExtensions);
}

KorText WhatPortsAre(const KorText& value) {
  return value.IsEmpty() ? LookUpText(kTexts.acceptedPorts) : KorText();
}

bool IsPlace(const FormField& field) {
  return field.kind == FieldKind::FolderPath || field.kind == FieldKind::FilePath;
}

bool IsList(const FormField& field) {
  return field.kind == FieldKind::Choice && !field.editable;
}

// The field's value as the settings hold it; empty when it isn't in the field's list.
KorText EnteredText(const FormField& field) {
  if (IsList(field)) return ListedValue(field);
  return field.kind == FieldKind::Choice ? PortName(field.value) : field.value.Trimmed();
}

// What a text field accepts, when it does not accept the value; else an empty text.
KorText WhatIsAccepted(const FormField& field, const KorText& value) {
  if (IsList(field)) return value.IsEmpty() ? ListText(field.choices) : KorText();
  if (field.kind == FieldKind::Text) return WhatExtensionsAre(value);
  if (value[0] == u'~') return LookUpText(kTexts.wholePathNeeded);
  return IsPlace(field) ? KorText() : WhatPortsAre(value);
}

// The readers of a field return what it accepts when they don't take its value, else an empty text.

KorText ReadTextField(const FormField& field, KorText& value) {
  const KorText entered = EnteredText(field);
  const KorText accepted = WhatIsAccepted(field, entered);
  if (accepted.IsEmpty()) value = entered;
  return accepted;
}

// What the field of a place accepts, when there is no such place; else an empty text.
KorText LookAtPlace(const FormField& field, const KorText& value) {
  if (field.kind == FieldKind::FolderPath)
    return IsFolder(value) ? KorText() : LookUpText(kTexts.acceptedFolders);
  if (value.IsEmpty() || (IsFolder(FolderOfPath(value)) && !App().FolderExists(value))) return {};
  return LookUpText(kTexts.acceptedFiles);
}

bool IsWholeNumber(const KorText& text) {
  return text.Length() <= 9 && IsNumber(text);
}

KorText ReadCheckField(const FormField& field, std::int32_t& value) {
  const KorText text = field.value.Trimmed();
  const bool on = text == u"1" || text.EqualsNoCase(u"on");
  if (!on && text != u"0" && !text.EqualsNoCase(u"off")) return u"on, off";
  value = on ? 1 : 0;
  return {};
}

KorText ReadNumberField(const FormField& field, std::int32_t maximum, std::int32_t& value) {
  if (field.kind == FieldKind::Check) return ReadCheckField(field, value);
  const KorText text = field.value.Trimmed();
  const std::int32_t number = text.ToInteger();
  if (!IsWholeNumber(text) || number > maximum)
    return KorText::Format(LookUpText(kTexts.numberRange), maximum);
  value = number;
  return {};
}

KorText ReadCodeField(const FormField& field, std::uint8_t& value) {
  const auto names = ControlCodeNames();
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!Matches(names[i], field.value)) continue;
    value = ControlCodeOfName(i);
    return {};
  }
  return ListText(Texts(names));
}

} // namespace

std::span<const char16_t* const> BaudRates() {
  return kBaudRates;
}
std::span<const char16_t* const> Parities() {
  return kParities;
}
std::span<const char16_t* const> DataBits() {
  return kDataBits;
}
std::span<const char16_t* const> StopBitTexts() {
  return kStopBits;
}
std::span<const char16_t* const> FlowControls() {
  return kFlowControls;
}
std::span<const char16_t* const> ControlCodeNames() {
  return kControlCodes;
}

std::uint8_t ControlCodeOfName(std::size_t listIndex) {
  return listIndex == kShiftIn ? kShiftInValue : static_cast<std::uint8_t>(listIndex);
}

KorText NameOfControlCode(std::uint8_t code) {
  if (code >= kControlCodes.size() || code == kShiftIn) return KorText::Format(u"%i", code);
  return kControlCodes[code];
}

std::vector<KorText> OfferedPorts(const KorText& current,
                                  const std::function<bool(const KorText&)>& probe) {
  std::vector<KorText> ports;
  for (int n = 1; n <= 9; ++n) {
    const KorText name = KorText::Format(u"COM%i", n);
    if (name == current || (probe && probe(name))) ports.push_back(name);
  }
  return ports;
}

void ReadSettingsProfile(const KorText& path, const KorText& cncFolder, LinkSettings& settings) {
  const ProfileFile profile(path);
  const KorText line = u"Port Settings";
  settings.port = PortName(profile.Text(line, u"port", u"COM1"));
  settings.baudrate = profile.Text(line, u"baudrate", u"2400");
  settings.parity = profile.Text(line, u"parity", u"None");
  settings.databits = profile.Text(line, u"databits", u"8");
  settings.stopbits = profile.Text(line, u"stopbits", u"1");
  settings.flowControl = profile.Text(line, u"flow control", u"Xon/Xoff");
  settings.uploadPath = profile.Text(u"Files", u"upload path", cncFolder);
  settings.downloadPath = profile.Text(u"Files", u"download path", cncFolder);
  settings.fileExtension = profile.Text(u"Files", u"file extension", settings.fileExtension);
  settings.transmitDelay = profile.Integer(line, u"transmit delay", 2);
  settings.logFile = profile.Text(u"Log", u"log file", settings.logFile);
  settings.writeLog = profile.Integer(u"Log", u"write log", 0);
  EnsureTrailingSeparators(settings);
}

void EnsureTrailingSeparators(LinkSettings& settings) {
  settings.uploadPath = WithTrailingSlash(settings.uploadPath);
  settings.downloadPath = WithTrailingSlash(settings.downloadPath);
}

namespace {

FormField MakeField(const UserText& label, const char16_t* key, FieldKind kind,
                    const KorText& value, std::vector<KorText> choices = {}) {
  return {label.number, key, LookUpText(label), kind, value, std::move(choices)};
}

FormField MakePortField(const KorText& port, const std::vector<KorText>& ports) {
  FormField field = MakeField(kTexts.port, u"port", FieldKind::Choice, port, ports);
  field.editable = true; // a device path, or a port that is not there at the moment
  return field;
}

FormField MakeTextField(const TextField& text, const KorText& value) {
  FormField field = MakeField(text.label, text.key, text.kind, value);
  if (text.choices) field.choices = Texts(text.choices());
  // A value from an older file that the list lacks stays selectable.
  if (text.choices && ListedValue(field).IsEmpty()) field.choices.push_back(field.value);
  for (const KorText& choice : field.choices)
    field.shown.push_back(ShownChoice(field.key, choice));
  if (text.browseButton > 0) field.browseTitle = LookUpText(text.browseTitle);
  field.browseNumber = text.browseButton;
  if (text.kind == FieldKind::FilePath) field.filters = LogFileFilters();
  return field;
}

// A box shows only two states, and a value outside its range must not be lost by being shown.
FormField MakeNumberField(const NumberField& number, std::int32_t value) {
  const bool isCheck = number.maximum == 1;
  FormField field =
      MakeField(number.label, number.key, isCheck ? FieldKind::Check : FieldKind::Number,
                KorText::Format(u"%i", isCheck && value != 0 ? 1 : value));
  field.minimum = std::min(value, 0);
  field.maximum = std::max(value, number.maximum);
  return field;
}

} // namespace

FormDescription MakeSettingsForm(const LinkSettings& settings, const std::vector<KorText>& ports) {
  FormDescription form;
  form.caption = LookUpText(kTexts.downloadSettings);
  form.fields.push_back(MakePortField(settings.port, ports));
  for (const TextField& text : kTextFields)
    form.fields.push_back(MakeTextField(text, settings.*text.member));
  for (const NumberField& number : kNumberFields)
    form.fields.push_back(MakeNumberField(number, settings.*number.member));
  for (const CodeField& code : kCodeFields)
    form.fields.push_back(MakeField(code.label, code.key, FieldKind::Choice,
                                    NameOfControlCode(settings.*code.member),
                                    Texts(ControlCodeNames())));
  SetGroups(form.fields);
  return form;
}

namespace {

// Reads the edited fields into the settings, as far as they are accepted.
std::vector<FieldRefusal> ReadEditedFields(const FormDescription& form, LinkSettings& settings) {
  std::vector<FieldRefusal> refusals;
  const FormDescription before = MakeSettingsForm(settings, {});
  const auto take = [&](const char16_t* key, auto&& reader) {
    const FormField* field = form.Find(key);
    if (!field || field->value == before.Find(key)->value) return;
    const KorText accepted = reader(*field);
    if (!accepted.IsEmpty()) refusals.push_back({key, field->label, field->value, accepted});
  };
  take(u"port", [&](const FormField& field) { return ReadTextField(field, settings.port); });
  for (const TextField& text : kTextFields)
    take(text.key,
         [&](const FormField& field) { return ReadTextField(field, settings.*text.member); });
  for (const NumberField& number : kNumberFields)
    take(number.key, [&](const FormField& field) {
      return ReadNumberField(field, number.maximum, settings.*number.member);
    });
  for (const CodeField& code : kCodeFields)
    take(code.key,
         [&](const FormField& field) { return ReadCodeField(field, settings.*code.member); });
  return refusals;
}

} // namespace

KorText FieldRefusal::Reason(const KorText& name) const {
  if (!whole.IsEmpty()) return whole;
  return KorText::Format(LookUpText(kTexts.settingRefused), name, value, accepted);
}

KorText FieldRefusal::BesideField() const {
  return whole.IsEmpty() ? KorText::Format(LookUpText(kTexts.acceptedValues), accepted) : whole;
}

std::vector<FieldRefusal> CheckSettingsForm(const FormDescription& form,
                                            const LinkSettings& settings) {
  LinkSettings read = settings;
  return ReadEditedFields(form, read);
}

namespace {

// The fields that name another place than the settings do.
std::vector<const FormField*> NewPlaces(const FormDescription& form, const LinkSettings& settings) {
  std::vector<const FormField*> places;
  const FormDescription before = MakeSettingsForm(settings, {});
  for (const FormField& field : form.fields)
    if (IsPlace(field) && field.value != before.Find(field.key)->value) places.push_back(&field);
  return places;
}

} // namespace

bool NamesNewPlaces(const FormDescription& form, const LinkSettings& settings) {
  return !NewPlaces(form, settings).empty();
}

std::vector<FieldRefusal> LookAtPlaces(const FormDescription& form, const LinkSettings& settings) {
  std::vector<FieldRefusal> refusals;
  for (const FormField* const field : NewPlaces(form, settings)) {
    const KorText value = EnteredText(*field);
    FieldRefusal refusal{field->key, field->label, field->value, LookAtPlace(*field, value)};
    const bool isThere = refusal.accepted.IsEmpty() && !value.IsEmpty();
    if (isThere && field->kind == FieldKind::FilePath && !MayHoldLog(value))
      refusal.whole = LookUpText(kTexts.logNotWritable);
    if (!refusal.accepted.IsEmpty() || !refusal.whole.IsEmpty()) refusals.push_back(refusal);
  }
  return refusals;
}

std::vector<FieldRefusal> RefusePlaces(const FormDescription& form, const LinkSettings& settings,
                                       const KorText& reason) {
  std::vector<FieldRefusal> refusals;
  for (const FormField* const field : NewPlaces(form, settings))
    refusals.push_back({field->key, field->label, field->value, {}, reason});
  return refusals;
}

KorText ReadSettingsForm(const FormDescription& form, LinkSettings& settings) {
  LinkSettings read = settings;
  const std::vector<FieldRefusal> refusals = ReadEditedFields(form, read);
  if (!refusals.empty()) return refusals.front().Reason(refusals.front().key);
  EnsureTrailingSeparators(read);
  settings = read;
  return {};
}

} // namespace kor
