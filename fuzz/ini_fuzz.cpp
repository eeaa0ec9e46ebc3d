// Random bytes as a settings file: whatever they are, reading ends, and what is written into it is
// read back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "services/ini/ini_file.h"
#include "tests/support/test_app.h"

namespace {

using namespace kor;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

bool Visit(const KorText& path, KorText& text, std::int32_t& number, bool writes) {
  iniFile file(path);
  file.Add<iniString>(u"S", u"K", &text, u"(default)");
  file.Add<iniInteger>(u"PROGRAM PATHS", u"Number", &number, 7);
  return writes ? file.Write() && file.LastSaveSucceeded() : file.Read();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TestApp app;
  const KorText path = app.Path(u"start-in/KOR.INI");
  app.Put(path, KorText::FromBytes({reinterpret_cast<const char*>(data), size}));
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
  app.ForgetReports();
  return 0;
}
