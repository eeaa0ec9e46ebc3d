// The engine's settings record: line parameters, folders, delays, framing characters, log switch;
// the lists of accepted values; how they are read from a text profile and edited through a form.
//
// A value type. DownloadApp keeps two: the window's copy, which is edited and stored, and the
// worker's, which is replaced between two polls.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "services/core/kor_text.h"
#include "ui/form_dialog.h"

namespace kor {

struct LinkSettings {
  KorText port = u"COM1";
  KorText baudrate = u"2400"; // bits per second, decimal
  KorText parity = u"None";   // only its first letter reaches the port
  KorText databits = u"8";
  KorText stopbits = u"1";
  KorText flowControl = u"Xon/Xoff";
  KorText uploadPath;
  KorText downloadPath;
  KorText fileExtension = u"DNC";  // without a dot
  std::int32_t transmitDelay = 0;  // seconds
  KorText logFile;                 // job log
  std::int32_t writeLog = 0;       // 1: the job log is written
  std::int32_t characterDelay = 0; // milliseconds, before each piece of a file; frames have none
  std::int32_t lineDelay = 0;      // stored and shown only; nothing applies it
  std::int32_t sendSot = 0;
  std::int32_t sendEot = 0;       // stored and shown only; EOT is never sent
  std::uint8_t sotCharacter = 18; // DC2
  std::uint8_t eotCharacter = 4;  // EOT
  KorText extraText;
  std::int32_t rtsCtsHandshake = 1;
  std::int32_t dtrDsrHandshake = 1;
  std::int32_t applicationInteger = 0;
  std::int32_t dncSynchronisation = 0;
  std::int32_t dncServerRole = 0;
  KorText machineName = u"Machine";
};

// What the settings dialog offers, in list order: "Xon/Xoff", "Hardware", "None", "Combined" and so
// on.
std::span<const char16_t* const> BaudRates();
std::span<const char16_t* const> Parities();
std::span<const char16_t* const> DataBits();
std::span<const char16_t* const> StopBitTexts();
std::span<const char16_t* const> FlowControls();

// The names of the control codes 0 to 31, three characters each. Intended: "SI " stands for 31, so
// that 15 can't be chosen.
std::span<const char16_t* const> ControlCodeNames();
std::uint8_t ControlCodeOfName(std::size_t listIndex);
// Returns the name shown for a code; a code that no entry carries (15, or above 31) is shown as a
// number.
KorText NameOfControlCode(std::uint8_t code);

// Returns of COM1 to COM9 the current one as it is, and the others where probe says that they can
// be opened.
std::vector<KorText> OfferedPorts(const KorText& current,
                                  const std::function<bool(const KorText&)>& probe);

// Reads every key of a text profile into the settings; a missing file or key gives the key's
// default. Values are cut to 79 characters. cncFolder is the default of both folders.
void ReadSettingsProfile(const KorText& path, const KorText& cncFolder, LinkSettings& settings);

// A file name is joined to the folder as it stands, so it must end in a separator; an empty folder
// stays empty (the working folder).
void EnsureTrailingSeparators(LinkSettings& settings);

// Makes the settings dialog a form, and takes it back. Only fields whose value differs from the
// settings are read and checked: one that was left alone may hold what an older file brought. Check
// boxes take "on" and "off" beside "1" and "0".
FormDescription MakeSettingsForm(const LinkSettings& settings, const std::vector<KorText>& ports);

struct FieldRefusal {
  KorText key, label; // of the field
  KorText value;      // what it holds
  KorText accepted;   // what it accepts
  KorText whole{};    // all that is to be said, where it isn't that

  // name is what the reader knows the field by, its label or its key.
  KorText Reason(const KorText& name) const;
  // Where the field and its value stand above it.
  KorText BesideField() const;
};
// Returns every edited field that can't work, in the form's order: values that no list holds, an
// extension with a dot, an empty port. No folder is looked at.
std::vector<FieldRefusal> CheckSettingsForm(const FormDescription& form,
                                            const LinkSettings& settings);
// The first tells whether the edited form names a folder or a file that the settings don't, the
// second which of those can't work: folders that are not there, files that must not become logs.
// Looking may take long; any thread.
bool NamesNewPlaces(const FormDescription& form, const LinkSettings& settings);
std::vector<FieldRefusal> LookAtPlaces(const FormDescription& form, const LinkSettings& settings);
// Refuses all of those for one reason, where looking takes too long.
std::vector<FieldRefusal> RefusePlaces(const FormDescription& form, const LinkSettings& settings,
                                       const KorText& reason);
// Takes the form over. Returns an empty text, or the first refusal, which names the key and leaves
// the settings unchanged.
KorText ReadSettingsForm(const FormDescription& form, LinkSettings& settings);

} // namespace kor
