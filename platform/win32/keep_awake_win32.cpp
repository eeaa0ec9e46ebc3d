#include "platform/keep_awake.h"

#include <windows.h>

namespace kor {

struct KeepAwake::Hold {
  Hold() { SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED); }
  ~Hold() { SetThreadExecutionState(ES_CONTINUOUS); }
};

KeepAwake::KeepAwake() = default;
KeepAwake::~KeepAwake() = default;

void KeepAwake::Set(bool awake) {
  if (awake == (hold != nullptr)) return;
  hold = awake ? std::make_shared<Hold>() : nullptr;
}

} // namespace kor
