// KeepAwake: keeps the system from going to sleep by itself while a transfer runs. Where no service
// can be asked for that, nothing happens and nothing is said. Use it on the window's thread; no
// call waits.
#pragma once

#include <memory>

namespace kor {

class KeepAwake {
 public:
  KeepAwake();
  ~KeepAwake(); // lets the system sleep again
  KeepAwake(const KeepAwake&) = delete;
  KeepAwake& operator=(const KeepAwake&) = delete;

  void Set(bool awake);

 private:
  struct Hold;
  struct Asker;
  std::shared_ptr<Hold> hold; // empty: the system may sleep
};

} // namespace kor
