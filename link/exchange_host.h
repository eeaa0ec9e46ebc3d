// ExchangeHost: what an exchange needs from the application around it. ProtocolHooks: what it
// leaves to the protocol.
#pragma once

#include <cstdint>
#include <functional>

#include "link/window_feed.h"

namespace kor {

class ExchangeHost {
 public:
  virtual ~ExchangeHost() = default;
  // Called on the worker. The window shows posts in order; the worker does not wait for it.
  virtual void PostToWindow(WindowFeed::Kind kind, std::function<void(FormDialog&)> show) = 0;
  // Called on any thread. The task runs on the worker before its next poll.
  virtual void RunOnWorker(std::function<void()> task) = 0;
  // Called on the worker for a file that is sent by hand. The settings keep its folder and
  // extension.
  virtual void RememberPath(const KorText& path) = 0;
};

// All hooks are called on the worker.
class ProtocolHooks {
 public:
  virtual ~ProtocolHooks() = default;
  virtual void ProcessReceived() = 0; // Consumes what has arrived.
  virtual void PollIdle() = 0;        // Called after every write step.
  virtual void StartDownload() = 0;
  // Prepares a file that is to be sent by hand. Returns false when the file can't be read.
  virtual bool LoadTransfer(const KorText& path, std::int64_t& size) = 0;
  // Called before a file is received by hand.
  virtual void AwaitUpload() = 0;
};

} // namespace kor
