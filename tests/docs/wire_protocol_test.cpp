// Plays every example of docs/formats/wire-protocol.md to the protocol code and compares each byte of its
// replies with the page. The page itself says how its examples are written.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "app/nce_app.h"
#include "tests/support/fake_serial_port.h"
#include "tests/support/recording_form.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

struct Example {
  int line = 0; // where it begins on the page
  std::vector<std::string> lines;
};

std::vector<Example> ReadExamples(const std::string& path) {
  std::ifstream stream(path);
  std::vector<Example> examples;
  bool inside = false;
  std::string line;
  for (int number = 1; std::getline(stream, line); ++number) {
    if (line == "```wire") {
      examples.push_back({number, {}});
      inside = true;
    } else if (line == "```") {
      inside = false;
    } else if (inside) {
      examples.back().lines.push_back(line);
    }
  }
  return examples;
}

// The bytes of "C 46 48 0D | FH."; the text behind the bar must be what the bytes say.
std::string ParseBytes(const std::string& line) {
  const std::size_t bar = line.find(" | ");
  if (bar == std::string::npos) {
    ADD_FAILURE() << "no text column: " << line;
    return {};
  }
  std::string bytes, shown;
  for (std::size_t at = 2; at + 1 < bar && line[at] != ' '; at += 3) {
    bytes += static_cast<char>(std::stoi(line.substr(at, 2), nullptr, 16));
    shown += bytes.back() >= ' ' && bytes.back() <= '~' ? bytes.back() : '.';
  }
  EXPECT_EQ(line.substr(bar + 3), shown) << line;
  return bytes;
}

// The second word of a line, and all behind it with "!" as line end.
std::pair<KorText, KorText> ParseFile(const std::string& line) {
  const std::size_t name = line.find(' ') + 1, content = line.find(' ', name) + 1;
  return {KorText::FromBytes(line.substr(name, content - 1 - name)),
          KorText::FromBytes(line.substr(content)).ReplaceAll(u'!', u'\n')};
}

class Host {
 public:
  void Play(const Example& example) {
    for (const std::string& line : example.lines) {
      SCOPED_TRACE(line);
      if (line.starts_with("file ")) {
        const auto [name, content] = ParseFile(line);
        services.Put(Folder(u"down") + name, content);
      } else if (line.starts_with("option ")) {
        Switch(line.substr(7));
      } else if (line.starts_with("upload ")) {
        Flush();
        const auto [name, content] = ParseFile(line);
        EXPECT_EQ(services.Content(Folder(u"up") + name), content);
      } else {
        Exchange(line);
      }
    }
    Flush();
    EXPECT_TRUE(app) << "nothing was exchanged";
    if (app) app->Terminate();
  }

 private:
  KorText Folder(std::u16string_view name) const { return services.Path(name) + u"/"; }

  void Switch(const std::string& option) {
    if (option == "strip-pc-zeros")
      features.stripPcZeros = 1;
    else if (option == "strip-nce-zeros")
      features.stripNceZeros = 1;
    else if (option == "autoload")
      features.autoloadSequential = 1;
    else if (option == "hybrid")
      features.hybridNumber = 1;
    else if (option == "500")
      commandLine = u"500";
    else if (option == "upload-folder-unwritable")
      services.RefuseOpening(Folder(u"up"), true);
    else
      ADD_FAILURE() << "unknown option";
  }

  void Start() {
    services.Put(services.Path(u"settings/") + (commandLine.IsEmpty() ? u"NCE" : commandLine) +
                     u".INI",
                 u"[Port Settings]\ntransmit delay=0\n[Files]\nfile extension=MPG\n" +
                     KorText(u"upload path=") + Folder(u"up") + u"\ndownload path=" +
                     Folder(u"down") + u"\n");
    services.MakeFolder(Folder(u"up"));
    services.MakeFolder(Folder(u"down"));
    EngineServices lent;
    lent.port = &port;
    lent.form = &form;
    lent.startWorker = false;
    app = std::make_unique<NCEApp>(lent, commandLine);
    app->SetUpServices();
    app->BuildWindow();
    app->SetFeatures(features);
    Run();
    port.TakeWritten();
  }

  void Run() {
    for (int pass = 0; pass < 20; ++pass)
      app->Poll();
  }

  // A line of either side; replies are compared when the controller goes on.
  void Exchange(const std::string& line) {
    if (!app) Start();
    if (line[0] != ' ') sender = line[0];
    if (sender == 'H') {
      expected += ParseBytes(line);
    } else {
      if (line[0] == 'C') Flush();
      request += ParseBytes(line);
    }
  }

  void Flush() {
    if (!app) return;
    if (!request.empty()) port.Deliver(request);
    Run();
    EXPECT_EQ(port.TakeWritten(), expected) << "after " << request;
    request.clear();
    expected.clear();
  }

  TestApp services;
  FakeSerialPort port;
  RecordingForm form;
  SpecialFeatures features;
  KorText commandLine;
  std::unique_ptr<NCEApp> app;
  char sender = 0;
  std::string request, expected;
};

TEST(WireProtocolPage, EveryExampleIsWhatTheHostDoes) {
  const std::vector<Example> examples =
      ReadExamples(NCEDL_SOURCE_DIR "/docs/formats/wire-protocol.md");
  ASSERT_GE(examples.size(), 10U);
  for (const Example& example : examples) {
    SCOPED_TRACE("example at line " + std::to_string(example.line));
    Host().Play(example);
  }
}

} // namespace
} // namespace kor
