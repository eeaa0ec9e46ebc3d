// What the tests of the engine share: a link on a scripted line, its trace and its job log.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/nce_link.h"

namespace kor {

using Strings = std::vector<std::string>;

inline KorText JobLogTo(const KorText& file) {
  return u"[Log]\nlog file=" + file + u"\nwrite log=1\n";
}

class EngineTest : public ::testing::Test {
 protected:
  void StartWithJobLog() { link.Start({}, {}, JobLogTo(jobs)); }
  void StartTrace() {
    link.Do(&NCEApp::StartTrace, tracePath);
    ASSERT_TRUE(link.link->IsTracing());
    header = link.app.Content(tracePath)->Length();
  }
  // Trace lines after the header, without their time stamps.
  Texts Traced() {
    Texts lines;
    for (const KorText& line : Split(link.app.Content(tracePath)->Mid(header), u'\n'))
      if (!line.IsEmpty()) lines.push_back(line.Mid(line.Find(u')') + 2).ReplaceAll(u"\r", u""));
    return lines;
  }

  NceLink link;
  const KorText jobs = link.app.Path(u"jobs.log");
  const KorText tracePath = link.app.Path(u"trace.log");
  std::size_t header = 0;
};

} // namespace kor
