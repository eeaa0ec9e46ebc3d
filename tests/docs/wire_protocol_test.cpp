// Plays every example of docs/formats/wire-protocol.md to the protocol code and compares each byte
// of its replies with the page. The page itself says how its examples are written.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/format_page.h"
#include "tests/support/nce_link.h"

namespace kor {
namespace {

// The second word of a line, and all behind it with "!" as line end.
std::pair<KorText, KorText> ParseFile(const std::string& line) {
  const std::size_t name = line.find(' ') + 1, content = line.find(' ', name) + 1;
  return {KorText::FromBytes(line.substr(name, content - 1 - name)),
          KorText::FromBytes(line.substr(content)).ReplaceAll(u'!', u'\n')};
}

class Host {
 public:
  void Play(const PageExample& example) {
    for (const std::string& line : example.lines) {
      SCOPED_TRACE(line);
      if (line.starts_with("file ")) {
        const auto [name, content] = ParseFile(line);
        link.PutProgram(name, content);
      } else if (line.starts_with("option ")) {
        Switch(line.substr(7));
      } else if (line.starts_with("upload ")) {
        Flush();
        const auto [name, content] = ParseFile(line);
        EXPECT_EQ(link.app.Content(link.Folder() + name), content);
      } else {
        Exchange(line);
      }
    }
    Flush();
    EXPECT_TRUE(link.link) << "nothing was exchanged";
    if (link.link) link.link->Terminate();
  }

 private:
  void Switch(const std::string& option) {
    static const std::map<std::string, std::int32_t SpecialFeatures::*> kFeatures = {
        {"strip-pc-zeros", &SpecialFeatures::stripPcZeros},
        {"strip-nce-zeros", &SpecialFeatures::stripNceZeros},
        {"autoload", &SpecialFeatures::autoloadSequential},
        {"hybrid", &SpecialFeatures::hybridNumber}};
    if (kFeatures.contains(option))
      features.*kFeatures.at(option) = 1;
    else if (option == "500")
      commandLine = u"500";
    else if (option == "upload-folder-unwritable")
      link.app.RefuseOpening(link.Folder(), true);
    else
      ADD_FAILURE() << "unknown option";
  }

  void Start() {
    link.Start(commandLine);
    link.Do(&NCEApp::SetFeatures, features);
    link.port.TakeWritten();
  }

  // A line of either side; replies are compared when the controller goes on.
  void Exchange(const std::string& line) {
    if (!link.link) Start();
    if (line[0] != ' ') sender = line[0];
    const std::string_view bytes = std::string_view(line).substr(2);
    if (sender == 'H') {
      expected += ShownBytes(bytes);
    } else {
      if (line[0] == 'C') Flush();
      request += ShownBytes(bytes);
    }
  }

  void Flush() {
    if (!link.link) return;
    EXPECT_EQ(link.Send(request), expected) << "after " << request;
    request.clear();
    expected.clear();
  }

  NceLink link;
  SpecialFeatures features;
  KorText commandLine;
  char sender = 0;
  std::string request, expected;
};

TEST(WireProtocolPage, EveryExampleIsWhatTheHostDoes) {
  const std::vector<PageExample> examples = ReadExamples("wire-protocol.md", "wire");
  ASSERT_GE(examples.size(), 10U);
  for (const PageExample& example : examples) {
    SCOPED_TRACE("example at line " + std::to_string(example.line));
    Host().Play(example);
  }
}

} // namespace
} // namespace kor
