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

KorText LookUpText(int number, std::u16string_view fallback) {
  TextLookup lookup;
  {
    Lock lock(Shared().mutex);
    lookup = Shared().lookup;
  }
  KorText text = lookup ? lookup(number) : KorText();
  return text.IsEmpty() ? KorText(fallback) : text;
}

KorText LookUpText(const UserText& text) {
  return LookUpText(text.number, text.english);
}

} // namespace kor
