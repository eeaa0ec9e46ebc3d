#include "link/plain_protocol.h"

#include <algorithm>
#include <string>

#include "link/writer_watch.h"

namespace kor {

namespace {

constexpr std::int64_t kLargestChunk = 100; // characters of one feed

} // namespace

void PlainProtocol::ProcessReceived() {
  if (exchange.Status().Code() == LinkStatus::Uploading && exchange.Upload().IsOpen()) {
    const std::string_view bytes = exchange.Line().Received();
    const bool stored = exchange.Upload().Write(bytes);
    exchange.Upload().Count(bytes.size());
    if (!stored) {
      exchange.Upload().Discard();
      exchange.Status().Enter(LinkStatus::UploadErrors);
      exchange.FinishTransfer();
    }
  }
  if (exchange.Status().Code() != LinkStatus::LoopbackFailure) exchange.Line().DiscardReceived();
}

bool PlainProtocol::LoadTransfer(const KorText& path, std::int64_t& size) {
  const WriterWatch watch(path);
  SimpleFile file(path);
  const bool opened = !watch.IsHeld() && NcProgram::Open(file) == NcProgram::Result::Read;
  const auto bytes = opened ? file.ReadAll() : std::nullopt;
  if (watch.SawWriter()) {
    exchange.TellRefusal(NcProgram::Result::BeingWritten, path);
    return false;
  }
  if (!bytes) return false;
  size = static_cast<std::int64_t>(bytes->size());
  exchange.Line().SetSendSource(std::string(bytes->begin(), bytes->end()));
  return true;
}

void PlainProtocol::PollIdle() {
  if (exchange.Status().Code() != LinkStatus::Downloading) return;
  if (exchange.Line().SendPosition() < exchange.Line().SendLength()) {
    // About a sixteenth of a second of line time.
    const std::int64_t chunk =
        std::min<std::int64_t>(exchange.Settings().baudrate.ToInteger() / 8 / 2, kLargestChunk);
    if (!exchange.Line().QueueCharacters(chunk)) return;
    const auto sent = static_cast<std::int64_t>(exchange.Line().SendPosition());
    exchange.Status().Board().SetBytesDone(sent);
    exchange.Status().Board().SetBar(sent, static_cast<std::int64_t>(exchange.Line().SendLength()));
    return;
  }
  exchange.Status().Board().SetBar(1, 1);
  exchange.Status().Enter(LinkStatus::DownloadCompleted);
  exchange.FinishTransfer();
}

} // namespace kor
