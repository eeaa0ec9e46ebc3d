#include "tools/ncedl_setup/options.h"

#include <algorithm>

namespace kor {
namespace {

constexpr char16_t kGuidForm[] = u"XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";

bool IsPortName(const KorText& name) {
  const KorText digits = name.Mid(3);
  return name.StartsWithNoCase(u"COM") && IsNumber(digits) && digits.Length() <= 3 &&
         digits[0] != u'0' && digits.ToInteger() <= kLastPort;
}

bool IsLanguageCode(const KorText& code) {
  return code.Length() >= 2 && std::ranges::all_of(code.View(), [](char16_t c) {
           return IsDigit(c) || c == u'-' || IsAsciiLetter(c);
         });
}

// With its braces and in upper case; empty when the word is no identifier.
KorText GuidOf(const KorText& word) {
  const bool braces = word.StartsWith(u"{") && word.EndsWith(u"}");
  const KorText bare = braces ? word.Mid(1, word.Length() - 2) : word;
  const std::u16string_view form = kGuidForm;
  KorText guid = u"{";
  for (std::size_t i = 0; i < form.size() && bare.Length() == form.size(); ++i) {
    const char16_t c = FoldAscii(bare[i]);
    const bool fits = form[i] == u'-' ? c == u'-' : HexValue(c) >= 0;
    if (!fits) return {};
    guid += c;
  }
  return bare.Length() == form.size() ? guid + u"}" : KorText();
}

KorText TakeGuid(const KorText& value, SetupOptions& options) {
  options.guid = GuidOf(value);
  if (!options.guid.IsEmpty()) return {};
  return KorText::Format(u"%s: an identifier has the form {%s} with hexadecimal digits", value,
                         kGuidForm);
}

KorText TakePort(const KorText& value, SetupOptions& options) {
  const std::size_t equals = value.Find(u'=');
  if (equals == KorText::kNone)
    return value + u": write the name, \"=\" and the device, such as COM1=/dev/ttyUSB0";
  const KorText name = value.Left(equals);
  if (!IsPortName(name))
    return name + u": a serial port is named COM1 to COM255, for the program asks for those";
  options.ports.emplace_back(name, value.Mid(equals + 1));
  return {};
}

KorText TakeLanguage(const KorText& value, SetupOptions& options) {
  options.language = value.EqualsNoCase(u"system") ? KorText() : value;
  if (options.language->IsEmpty() || IsLanguageCode(*options.language)) return {};
  return value + u": a language is a code such as de-DE, or \"system\"";
}

KorText Check(const SetupOptions& options) {
  if (!options.mainFolder && (!options.name.IsEmpty() || !options.guid.IsEmpty()))
    return u"--name and --guid belong to --main";
  if (options.probe && !options.list) return u"--probe belongs to --list";
  if (!options.mainFolder && !options.makeDefault) return u"--no-default belongs to --main";
  if (options.mainFolder || !options.ports.empty() || options.language || options.list) return {};
  return u"nothing to do";
}

} // namespace

const char16_t kSetupHelp[] =
    uR"(ncedl-setup - prepares this computer and this user for the download program

usage: ncedl-setup OPTION...

  --main DIR             make DIR the main folder: make it and its sub-folders, complete its KOR.INI
                         (what is set there stays) and register it as the configuration to use
  --name NAME            with --main: the configuration's name (default: the folder's)
  --guid GUID            with --main: the configuration's identifier (default: a new one)
  --no-default           with --main: register it beside the configuration that is in use
  --port COMn=DEVICE     Linux: let COMn stand for a serial device, best one of /dev/serial/by-id;
                         with an empty DEVICE, take the name back; may be given more than once
  --port COMn=ADDRESS    let COMn stand for a device server's port: rfc2217://HOST:PORT, which is
                         told rate, format and flow control, or tcp://HOST:PORT, with its own
  --language CODE        show texts in this language, such as de-DE; "system": in the system's
  --list                 show configurations, serial ports, the serial devices that are really
                         there, and the language, after all changes
  --probe                with --list: connect to the device servers and show what they call
                         themselves; ports that a program here uses are left alone
  -h, --help             show this
  --version              show the version

All of it is kept for the user that runs ncedl-setup: run it as the user that runs the program.
To run it again does no harm.

exit codes: 0 done; 1 something could not be done, and the message says what to do;
2 wrong command line)";

CommandLineAnswer ReadSetupOptions(const std::vector<KorText>& words, SetupOptions& options) {
  CommandLine line(u"ncedl-setup", kSetupHelp);
  line.Flag(u"--list", options.list);
  line.Flag(u"--probe", options.probe);
  line.Flag(u"--no-default", options.makeDefault, false);
  line.Value(u"--main", u"a folder", [&](const KorText& value) {
    options.mainFolder = value;
    return KorText();
  });
  line.Value(u"--name", u"a name", options.name);
  line.Value(u"--guid", u"an identifier",
             [&](const KorText& value) { return TakeGuid(value, options); });
  line.Value(u"--port", u"a name and a device, such as COM1=/dev/ttyUSB0",
             [&](const KorText& value) { return TakePort(value, options); });
  line.Value(u"--language", u"a code such as de-DE, or \"system\"",
             [&](const KorText& value) { return TakeLanguage(value, options); });
  return line.Read(words, [&] { return Check(options); });
}

} // namespace kor
