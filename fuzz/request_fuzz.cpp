// Random bytes on the line, in pieces, against the whole request handling: whatever they are, nothing
// breaks, nothing is written outside the upload folder, and the next good request is answered.
//
// The first byte switches the special features; after it, FF ends a piece that is delivered at once
// and FE lets a second pass.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "app/nce_app.h"
#include "tests/support/fake_serial_port.h"
#include "tests/support/recording_form.h"
#include "tests/support/test_app.h"

namespace {

using namespace kor;

constexpr int kMostPasses = 100000;
constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r";

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

// Folders and files that every input finds; made once.
struct Workshop {
  TestApp services;
  std::vector<KorText> names;

  Workshop() {
    const KorText down = services.Path(u"down/"), up = services.Path(u"up/");
    services.Put(down + u"1.MPG", u"G90\nX10\n\nM30\n");
    services.Put(down + u"2.MPG", KorText(3000, u'X') + u"\n");
    services.Put(down + u"0000003.MPG", u"");
    services.Put(down + u"37304.MPG", u"N1\r\nN2\r\n");
    services.Put(down + u"H0000001.C23", u"N1\n");
    services.MakeFolder(up);
    for (const char16_t* name : {u"settings/NCE.INI", u"settings/500.INI"})
      services.Put(services.Path(name),
                   u"[Port Settings]\ntransmit delay=0\n[Files]\nfile extension=MPG\nupload path=" +
                       up + u"\ndownload path=" + down + u"\n");
    names = services.Names(services.Root());
  }
};

class Host {
 public:
  explicit Host(TestApp& testApp, std::uint8_t switches) : services(testApp) {
    port.UseClock([this](double seconds) { services.Advance(seconds); });
    EngineServices lent;
    lent.port = &port;
    lent.window = &form;
    lent.startWorker = false;
    app = std::make_unique<NCEApp>(lent, (switches & 16) != 0 ? u"500" : u"");
    app->SetUpServices();
    app->BuildWindow();
    app->SetFeatures({switches & 1, (switches >> 1) & 1, (switches >> 2) & 1, (switches >> 3) & 1});
  }
  ~Host() { app->Terminate(); }

  void Receive(std::string_view bytes) {
    if (!bytes.empty()) port.Deliver(bytes);
    int passes = 0;
    while (app->Poll())
      Require(++passes < kMostPasses, "the link comes to rest");
  }
  void PassTime() {
    services.Advance(1);
    app->RunDueTimers();
  }
  std::string TakeWritten() { return port.TakeWritten(); }

 private:
  TestApp& services;
  FakeSerialPort port;
  RecordingForm form;
  std::unique_ptr<NCEApp> app;
};

void Play(Host& host, std::string_view script) {
  std::size_t begin = 0;
  for (std::size_t at = 0; at <= script.size(); ++at) {
    const bool ends = at == script.size();
    if (!ends && static_cast<std::uint8_t>(script[at]) < 0xFE) continue;
    host.Receive(script.substr(begin, at - begin));
    if (!ends && static_cast<std::uint8_t>(script[at]) == 0xFE) host.PassTime();
    begin = at + 1;
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Workshop workshop;
  if (size == 0) return 0;
  {
    Host host(workshop.services, data[0]);
    Play(host, std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));
    host.Receive("\x11\r]\r"); // releases a hold, ends a broken line and an upload
    host.Receive("");
    host.TakeWritten();
    host.Receive("XYZ\r");
    Require(host.TakeWritten() == kAlphabet, "the next good request is answered");
  }
  Require(workshop.services.Names(workshop.services.Root()) == workshop.names,
          "nothing is written outside the folders");
  workshop.services.ForgetReports();
  return 0;
}
