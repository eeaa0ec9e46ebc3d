// What an exchange asks of the application around it, and what it leaves to the protocol.
#pragma once

#include <cstdint>
#include <functional>

#include "link/window_feed.h"

namespace kor {

class ExchangeHost {
 public:
  virtual ~ExchangeHost() = default;
  // Worker. Has the window show something, in order; nobody waits for it.
  virtual void PostToWindow(WindowFeed::Kind kind, std::function<void(FormDialog&)> show) = 0;
  // Any thread. The task runs on the worker before its next poll.
  virtual void RunOnWorker(std::function<void()> task) = 0;
  // Worker. The settings keep the folder and the extension of a file that is sent by hand.
  virtual void RememberPath(const KorText& path) = 0;
};

// Called on the worker.
class ProtocolHooks {
 public:
  virtual ~ProtocolHooks() = default;
  virtual void ProcessReceived() = 0; // consumes what has arrived
  virtual void PollIdle() = 0;        // after every write step
  virtual void StartDownload() = 0;
  // Makes a file that is sent by hand ready; false when it can't be read.
  virtual bool LoadTransfer(const KorText& path, std::int64_t& size) = 0;
  // A file is about to be received by hand.
  virtual void AwaitUpload() = 0;
};

} // namespace kor
