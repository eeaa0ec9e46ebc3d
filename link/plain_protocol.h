// PlainProtocol: the engine's behaviour when the application brings no protocol of its own. It
// sends the bytes of a file as they are and stores received bytes as the upload. Owned by
// DownloadApp. Worker's thread.
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
