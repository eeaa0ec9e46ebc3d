// FlowLine: XON/XOFF. A byte 19 from the host holds what this side sends until a byte 17 comes;
// both are taken out of what is read. Owned by main, used by one thread.
#pragma once

#include <string>

#include "tools/nce_controller/line.h"

namespace kor::controller {

class FlowLine : public Line {
 public:
  explicit FlowLine(Line& toUse) : inner(toUse) {} // inner outlives the line

  Time Now() override { return inner.Now(); }
  LineState Read(std::string& to, Time until) override;
  // Bytes leave in small pieces, so that a hold takes effect within a few of them. A hold that
  // lasts until the moment given is forgotten: the byte that ends it may have been lost.
  LineState Write(std::string_view bytes, Time until, std::size_t& written) override;
  void Abandon() override { inner.Abandon(); }
  LineCounts Counts() const override { return inner.Counts(); }
  std::string FailureText() const override { return inner.FailureText(); }

 private:
  LineState Take(Time until); // reads into pending and sees to the hold

  Line& inner;
  std::string pending;
  bool isHeld = false;
};

} // namespace kor::controller
