#include "tools/ncedl_setup/options.h"

#include <algorithm>

namespace kor {
namespace {

constexpr std::int32_t kLastPort = 255;
constexpr char16_t kGuidForm[] = u"XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";

bool IsDigit(char16_t c) {
  return c >= u'0' && c <= u'9';
}

bool IsPortName(const KorText& name) {
  const KorText digits = name.Mid(3);
  return name.StartsWithNoCase(u"COM") && !digits.IsEmpty() && digits.Length() <= 3 &&
         digits[0] != u'0' && std::ranges::all_of(digits.View(), IsDigit) &&
         digits.ToInteger() <= kLastPort;
}

bool IsLanguageCode(const KorText& code) {
  return code.Length() >= 2 && std::ranges::all_of(code.View(), [](char16_t c) {
           return IsDigit(c) || c == u'-' || (FoldAscii(c) >= u'A' && FoldAscii(c) <= u'Z');
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
    const bool fits = form[i] == u'-' ? c == u'-' : IsDigit(c) || (c >= u'A' && c <= u'F');
    if (!fits) return {};
    guid += c;
  }
  return bare.Length() == form.size() ? guid + u"}" : KorText();
}

class OptionReader {
 public:
  OptionReader(const std::vector<KorText>& toRead, KorText& reason)
      : words(toRead), error(reason) {}

  std::optional<SetupOptions> Read() {
    for (at = 0; at < words.size(); ++at)
      if (!ReadWord()) return std::nullopt;
    if (!options.help && !Check()) return std::nullopt;
    return options;
  }

 private:
  // "--option VALUE" or "--option=VALUE".
  bool ReadWord() {
    const std::size_t equals = std::min(words[at].Find(u'='), words[at].Length());
    option = words[at].Left(equals);
    value.reset();
    if (equals < words[at].Length()) value = words[at].Mid(equals + 1);
    if (option == u"-h" || option == u"--help") return Set(options.help, true);
    if (option == u"--list") return Set(options.list, true);
    if (option == u"--no-default") return Set(options.makeDefault, false);
    if (option == u"--main") return ReadMain();
    if (option == u"--name") return ReadName();
    if (option == u"--guid") return ReadGuid();
    if (option == u"--port") return ReadPort();
    if (option == u"--language") return ReadLanguage();
    return Fail(words[at] + u": there is no such option");
  }

  bool Set(bool& flag, bool to) {
    if (value) return Fail(option + u" takes no value");
    flag = to;
    return true;
  }

  bool TakeValue(std::u16string_view what) {
    if (!value && at + 1 < words.size()) value = words[++at];
    if (value && !value->IsEmpty()) return true;
    return Fail(KorText::Format(u"%s needs %s", option, what));
  }

  bool ReadMain() {
    if (!TakeValue(u"a folder")) return false;
    options.mainFolder = *value;
    return true;
  }

  bool ReadName() {
    if (!TakeValue(u"a name")) return false;
    options.name = *value;
    return true;
  }

  bool ReadGuid() {
    if (!TakeValue(u"an identifier")) return false;
    options.guid = GuidOf(*value);
    if (!options.guid.IsEmpty()) return true;
    return Fail(KorText::Format(u"%s: an identifier has the form {%s} with hexadecimal digits",
                                *value, kGuidForm));
  }

  bool ReadPort() {
    if (!TakeValue(u"a name and a device, such as COM1=/dev/ttyUSB0")) return false;
    const std::size_t equals = value->Find(u'=');
    if (equals == KorText::kNone)
      return Fail(*value + u": write the name, \"=\" and the device, such as COM1=/dev/ttyUSB0");
    const KorText name = value->Left(equals);
    if (!IsPortName(name))
      return Fail(name +
                  u": a serial port is named COM1 to COM255, for the program asks for those");
    options.ports.emplace_back(name, value->Mid(equals + 1));
    return true;
  }

  bool ReadLanguage() {
    if (!TakeValue(u"a code such as de-DE, or \"system\"")) return false;
    options.language = value->EqualsNoCase(u"system") ? KorText() : *value;
    if (options.language->IsEmpty() || IsLanguageCode(*options.language)) return true;
    return Fail(*value + u": a language is a code such as de-DE, or \"system\"");
  }

  bool Check() {
    if (!options.mainFolder && (!options.name.IsEmpty() || !options.guid.IsEmpty()))
      return Fail(u"--name and --guid belong to --main");
    if (!options.mainFolder && !options.makeDefault) return Fail(u"--no-default belongs to --main");
    if (options.mainFolder || !options.ports.empty() || options.language || options.list)
      return true;
    return Fail(u"nothing to do");
  }

  bool Fail(const KorText& what) {
    error = what;
    return false;
  }

  const std::vector<KorText>& words;
  KorText& error;
  std::size_t at = 0;
  KorText option;
  std::optional<KorText> value;
  SetupOptions options;
};

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
  --language CODE        show texts in this language, such as de-DE; "system": in the system's
  --list                 show configurations, serial ports and language, after all changes
  -h, --help             show this

All of it is kept for the user that runs ncedl-setup: run it as the user that runs the program. To run it
again does no harm.

exit codes: 0 done; 1 something could not be done, and the message says what to do; 2 wrong command line)";

std::optional<SetupOptions> ReadSetupOptions(const std::vector<KorText>& words, KorText& error) {
  return OptionReader(words, error).Read();
}

} // namespace kor
