// PlainProtocol: what the engine does where no application brings a protocol of its own: the bytes
// of a file go out as they are, and those that come are the upload. Owned by DownloadApp. Worker's
// thread.
#pragma once

#include "link/exchange.h"

namespace kor {

class PlainProtocol {
 public:
  explicit PlainProtocol(Exchange& servedExchange) : exchange(servedExchange) {}

  void ProcessReceived();
  void PollIdle();
  bool LoadTransfer(const KorText& path, std::int64_t& size);

 private:
  Exchange& exchange;
};

} // namespace kor
