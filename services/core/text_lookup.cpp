#include "services/core/text_lookup.h"

#include "services/core/thread_annotations.h"

namespace kor {
namespace {

struct SharedLookup {
  Mutex mutex;
  TextLookup lookup KOR_GUARDED_BY(mutex);
};

SharedLookup& Shared() {
  static SharedLookup shared;
  return shared;
}

} // namespace

void SetTextLookup(TextLookup lookup) {
  Lock lock(Shared().mutex);
  Shared().lookup = std::move(lookup);
}

KorText LookUpText(const UserText& text) {
  TextLookup lookup;
  {
    Lock lock(Shared().mutex);
    lookup = Shared().lookup;
  }
  KorText found = lookup ? lookup(text.number) : KorText();
  return found.IsEmpty() ? KorText(text.english) : found;
}

} // namespace kor
