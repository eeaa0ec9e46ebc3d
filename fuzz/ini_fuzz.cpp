// Takes random bytes as a settings file. Whatever they are, reading ends, and what is written into
// the file is read back.
#include "fuzz/fuzz_target.h"
#include "services/ini/ini_file.h"

namespace kor {

namespace {

bool Visit(const KorText& path, KorText& text, std::int32_t& number, bool writes) {
  iniFile file(path);
  file.Add<iniString>(u"S", u"K", &text, u"(default)");
  file.Add<iniInteger>(u"PROGRAM PATHS", u"Number", &number, 7);
  return writes ? file.Write() && file.LastSaveSucceeded() : file.Read();
}

} // namespace

void TryInput(TestApp& app, FuzzInput bytes) {
  const KorText path = app.Path(u"start-in/KOR.INI");
  app.Put(path, KorText::FromBytes(TextOf(bytes)));
  KorText text;
  std::int32_t number = 0;
  Visit(path, text, number, false);
  text = u"value";
  number = 42;
  if (Visit(path, text, number, true)) {
    text = {};
    number = 0;
    Visit(path, text, number, false);
    Require(text == u"value" && number == 42, "what was written is read");
  }
}

} // namespace kor
