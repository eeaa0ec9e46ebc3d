// Everything that is stored, driven through every moment at which the power may go and everything
// that the disk may hold then.
#include <gtest/gtest.h>

#include "tests/support/stored_operations.h"

namespace kor {
namespace {

TEST(PowerCut, LeavesTheOlderOrTheNewerFileAndTheNewerOnceSuccessWasReported) {
  const StoredTexts texts = {KorText(3000, u'G') + u"\n", u"G90\nX10\n"};
  for (const StoredOperation& operation : StoredOperations()) {
    NceLink link;
    const CutOutcome uncut = CutAfter(1000, operation, link, texts);
    ASSERT_TRUE(uncut.success && uncut.finished) << operation.name;
    ASSERT_NE(uncut.storedOlder, uncut.storedNewer) << operation.name;
    bool finished = false;
    for (int changes = 0; !finished; ++changes) {
      const CutOutcome outcome = CutAfter(changes, operation, link, texts);
      finished = outcome.finished;
      EXPECT_EQ(FindTorn(operation, link, outcome, uncut), "")
          << operation.name << ", cut after " << changes;
    }
  }
}

} // namespace
} // namespace kor
