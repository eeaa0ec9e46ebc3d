// Sends random bytes over the line, in pieces, to the whole request handling, while the line and
// the user do what they like. Whatever happens, nothing breaks, nothing is written outside the
// upload folder, and the next good request is answered.
//
// The first byte switches the special features. After it, FF ends a piece that is delivered at
// once, FE lets a second pass, and FD has the byte after it choose an event.
#include <functional>
#include <memory>
#include <string>

#include "app/nce_app.h"
#include "fuzz/fuzz_target.h"
#include "tests/support/fake_serial_port.h"
#include "tests/support/recording_form.h"

namespace kor {

namespace {

constexpr int kMostPasses = 100000;
constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r";

// Folders and files that every input finds.
struct Workshop {
  TestApp& services;
  const KorText down = services.Path(u"down/"), up = services.Path(u"up/");

  explicit Workshop(TestApp& testApp) : services(testApp) {
    services.Put(down + u"1.MPG", u"G90\nX10\n\nM30\n");
    services.Put(down + u"2.MPG", KorText(3000, u'X') + u"\n");
    services.Put(down + u"0000003.MPG", u"");
    services.Put(down + u"37304.MPG", u"N1\r\nN2\r\n");
    services.Put(down + u"H0000001.C23", u"N1\n");
    services.MakeFolder(up);
  }
  // Restores the files to their first state, whatever the input before has stored.
  void PutSettings() {
    for (const char16_t* name : {u"settings/NCE.INI", u"settings/500.INI"})
      services.Put(services.Path(name),
                   u"[Port Settings]\ntransmit delay=0\n[Files]\nfile extension=MPG\nupload path=" +
                       up + u"\ndownload path=" + down + u"\n[Log]\nlog file=" + up +
                       u"jobs.log\n");
  }
};

class Host {
 public:
  Host(Workshop& lentShop, std::uint8_t switches) : shop(lentShop) {
    port.UseClock([this](double seconds) { shop.services.Advance(seconds); });
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
    form.RunPosted();
  }
  void PassTime() {
    shop.services.Advance(1);
    app->RunDueTimers();
  }
  std::string TakeWritten() { return port.TakeWritten(); }

  // Does something that the line or the user may do at any moment; the high half of the byte says
  // how.
  void Happen(std::uint8_t what) {
    const int how = what >> 4;
    const bool on = how % 2 != 0;
    const std::function<void()> events[] = {
        [&] { port.SetHolds(static_cast<std::uint32_t>(how)); },
        [&] { port.SetStalled(on); },
        [&] { port.SetPresent(on); },
        [&] { port.SetWriteLimit(on ? ~std::size_t{0} : 3); },
        [&] {
          port.SetLineErrors({.overrun = on ? 1U : 0U, .framing = static_cast<std::uint32_t>(how)});
        },
        [&] { port.Fail(how < 8 ? "Write" : "GetStatus", on ? 1 : 0); },
        [&] { app->SendFile(shop.down + (on ? u"1.MPG" : u"2.MPG")); },
        [&] { app->ReceiveFile(shop.up + u"hand.MPG"); },
        [&] { on ? app->CompleteUpload() : app->CancelExchange(); },
        [&] { on ? app->LoopbackTest() : app->XonXoffTest(); },
        [&] { on ? app->StartTrace(shop.up + u"trace") : app->StopTrace(); },
        [&] { app->SetMonitorShown(on); },
        [&] { app->SetHandshake({.rtsCts = on, .dtrDsr = how % 3 == 0}); },
        [&] { Set(u"write-log", on ? u"1" : u"0"); },
        [&] { Set(u"transmit-delay", on ? u"2" : u"0"); },
    };
    events[what % std::size(events)]();
  }

  // Nothing stands in the way any more.
  void ComeToRest() {
    port.SetHolds(0);
    port.SetStalled(false);
    port.SetPresent(true);
    port.SetWriteLimit(~std::size_t{0});
    for (const char* operation : {"Write", "GetStatus"})
      port.Fail(operation, 0);
    for (int second = 0; second < 4; ++second) {
      PassTime();
      Receive("");
    }
    Receive("\x11\r]\r"); // releases a hold, ends a broken line and an upload
    app->CancelExchange();
    Receive("");
  }

 private:
  void Set(const char16_t* key, const KorText& value) {
    FormDescription changed = app->SettingsForm();
    changed.Find(key)->value = value;
    app->AcceptSettings(changed);
  }

  Workshop& shop;
  FakeSerialPort port;
  RecordingForm form;
  std::unique_ptr<NCEApp> app;
};

void Play(Host& host, std::string_view script) {
  std::string piece;
  for (std::size_t at = 0; at < script.size(); ++at) {
    const auto byte = static_cast<std::uint8_t>(script[at]);
    if (byte < 0xFD) {
      piece += script[at];
      continue;
    }
    host.Receive(piece);
    piece.clear();
    if (byte == 0xFE) host.PassTime();
    if (byte == 0xFD && ++at < script.size()) host.Happen(static_cast<std::uint8_t>(script[at]));
  }
  host.Receive(piece);
}

} // namespace

void TryInput(TestApp& app, FuzzInput bytes) {
  static Workshop workshop(app);
  static const std::vector<KorText> names = app.Names(app.Root());
  if (bytes.empty()) return;
  workshop.PutSettings();
  {
    Host host(workshop, bytes[0]);
    Play(host, TextOf(bytes.subspan(1)));
    host.ComeToRest();
    host.TakeWritten();
    host.Receive("XYZ\r");
    Require(host.TakeWritten() == kAlphabet, "the next good request is answered");
  }
  Require(app.Names(app.Root()) == names, "nothing is written outside the folders");
}

} // namespace kor
