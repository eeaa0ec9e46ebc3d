// The engine with its own worker, on the fake port with real waits: the controller's thread asks, the
// window's thread changes settings, pulls the device, cancels and ends, all at once. What it is for is
// ThreadSanitizer; what it asserts is that the next good request is served and programs stay whole.
#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <random>
#include <thread>

#include "app/nce_frame.h"
#include "tests/support/nce_link.h"

namespace kor {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// The controller: uploads and downloads without end, on a thread of its own.
class Controller {
 public:
  Controller(TestApp& services, FakeSerialPort& line, const KorText& programFolder)
      : app(services), port(line), folder(programFolder) {
    port.SetResponder([this](std::string_view bytes) { Take(bytes); });
    thread = std::thread([this] { Run(); });
  }
  ~Controller() { Stop(); }

  void Stop() {
    {
      const Lock lock(mutex);
      stopped = true;
    }
    changed.notify_all();
    if (thread.joinable()) thread.join();
  }
  int Uploads() const { return uploads; } // acknowledged to the end and found whole
  int Downloads() const { return downloads; }
  // What it waits for, and what came.
  std::string Last() {
    const Lock lock(mutex);
    return asked + " -> " + received;
  }
  // Until the next reply, for a moment at most.
  void WaitForReply() {
    const Lock lock(mutex);
    changed.wait_until(mutex, Clock::now() + 2ms);
  }

 private:
  void Take(std::string_view bytes) {
    const Lock lock(mutex);
    received += bytes;
    changed.notify_all();
  }

  bool Stopped() {
    const Lock lock(mutex);
    return stopped;
  }

  // The reply, or nothing when none comes in time.
  std::string Exchange(std::string_view request) {
    const Lock lock(mutex);
    received.clear();
    asked = request;
    port.Deliver(std::string(request) + "\r");
    WaitFor("\r", 500ms);
    return received.substr(0, received.rfind('\r')); // the end mark comes with the last frame
  }

  void WaitFor(const char* end, Clock::duration atMost) KOR_REQUIRES(mutex) {
    const auto until = Clock::now() + atMost;
    while (!stopped && received.find(end) == received.npos)
      if (changed.wait_until(mutex, until) == std::cv_status::timeout) break;
  }

  // Out of an upload that broke off, and past replies that come late.
  void Resynchronise() {
    Exchange("]");
    const Lock lock(mutex);
    WaitFor("never", 100ms);
  }

  void Run() {
    for (int round = 0; !Stopped(); ++round) {
      if (Exchange("XYZ") != "ABCDEFGHIJKLMNOPQRSTUVWXYZ")
        Resynchronise();
      else if (round % 2 == 0)
        Upload(round);
      else
        Download();
    }
  }

  void Upload(int round) {
    Exchange("FH 7");
    if (!Exchange("TH 7").ends_with("&TH 7")) return; // the request before it was lost
    std::string whole;
    for (int line = 0; line < 5; ++line) {
      const std::string text = "N" + std::to_string(line) + " X" + std::to_string(round);
      std::string frame = MakeFrame(text + "!");
      frame.pop_back();
      if (Exchange(frame) != ">") return;
      whole += text + "\n";
    }
    if (Exchange("02]") != ">") return;
    EXPECT_EQ(app.Content(folder + u"7.MPG").value_or(u"(none)").ToBytes(), whole);
    ++uploads;
  }

  void Download() {
    if (Exchange("FH 8").find("&LP ") == std::string::npos) return;
    std::string all;
    while (!all.ends_with(']')) {
      const std::string frame = Exchange(">");
      if (frame.empty() || frame == "UDL>" || frame == ">") return; // broken off
      if (!frame.starts_with("Download to")) all += frame;
    }
    if (first.empty()) first = all;
    EXPECT_EQ(all, first);
    ++downloads;
  }

  TestApp& app;
  FakeSerialPort& port;
  const KorText folder;
  std::string first;
  std::atomic<int> uploads = 0, downloads = 0;
  Mutex mutex;
  std::condition_variable_any changed;
  std::string asked KOR_GUARDED_BY(mutex);
  std::string received KOR_GUARDED_BY(mutex);
  bool stopped KOR_GUARDED_BY(mutex) = false;
  std::thread thread;
};

class WorkerTest : public ::testing::TestWithParam<unsigned> {
 protected:
  WorkerTest() {
    port.SetRealWaits(true);
    app.Put(folder + u"8.MPG", KorText(200, u'G') + u"\n" + KorText(90, u'X') + u"\n");
    app.Put(app.Path(u"settings/NCE.INI"),
            u"[Port Settings]\ntransmit delay=0\n[Files]\nupload path=" + uploads + u"\n");
    app.MakeFolder(uploads);
    engine = std::make_unique<NCEApp>(link.Services(true), KorText());
    engine->SetUpServices();
    engine->BuildWindow();
    controller = std::make_unique<Controller>(app, port, uploads);
  }
  ~WorkerTest() override { engine->Terminate(); } // before the controller goes

  // The window's thread at work until the condition holds; the clock goes ten times as fast.
  bool Await(const std::function<bool()>& holds) {
    for (const auto until = Clock::now() + 30s; !holds();) {
      if (Clock::now() > until) return false;
      controller->WaitForReply();
      app.Advance(0.02);
      link.form.RunPosted();
      engine->RunDueTimers();
    }
    return true;
  }

  void SetField(const char16_t* key, const KorText& value) {
    FormDescription changed = engine->SettingsForm();
    changed.Find(key)->value = value;
    engine->AcceptSettings(changed);
  }

  void PullDevice() {
    const auto isAway = [this] { return engine->CurrentStatus().code == LinkStatus::NoLink; };
    port.SetPresent(false);
    EXPECT_TRUE(Await(isAway));
    port.SetPresent(true);
  }

  // Something that a user may do at any moment.
  void Disturb(unsigned choice) {
    const bool odd = (choice / 8) % 2 != 0;
    const std::function<void()> wishes[] = {
        [&] { SetField(u"baudrate", odd ? u"9600" : u"4800"); },
        [&] { engine->SetHandshake(odd, false); },
        [&] {
          engine->SetFeatures({0, 0, odd ? 1 : 0, 0});
        },
        [&] {
          odd ? static_cast<void>(engine->StartTrace(app.Path(u"trace"))) : engine->StopTrace();
        },
        [&] { PullDevice(); },
        [&] { odd ? engine->CancelUpload() : engine->CancelDownload(); },
        [&] { engine->SetMonitorShown(odd); },
        [&] { SetField(u"write-log", odd ? u"1" : u"0"); },
    };
    wishes[choice % std::size(wishes)]();
  }

  NceLink link;
  TestApp& app = link.app;
  FakeSerialPort& port = link.port;
  const KorText folder = link.Folder(), uploads = app.Path(u"up/");
  std::unique_ptr<Controller> controller;
  std::unique_ptr<NCEApp> engine;
};

TEST_P(WorkerTest, ServesOnWhileTheUserChangesEverythingAndEndsInTheMiddle) {
  std::minstd_rand random(GetParam());
  const auto served = [this] { return controller->Uploads() + controller->Downloads(); };
  for (int step = 0; step < 20; ++step) {
    Disturb(static_cast<unsigned>(random() >> 4));
    const int before = served();
    const bool waits = random() % 3 != 0; // else the next one comes on its heels
    EXPECT_TRUE(!waits || Await([&] { return served() > before; }))
        << "after step " << step << ": " << engine->CurrentStatus().line.ToUtf8() << "; "
        << controller->Last();
  }
  const int stored = controller->Uploads(), fetched = controller->Downloads();
  EXPECT_TRUE(
      Await([&] { return controller->Uploads() > stored && controller->Downloads() > fetched; }));
  Disturb(static_cast<unsigned>(random() >> 4));
  engine->Terminate();
  controller->Stop();
  for (const KorText& name : app.Names(uploads))
    EXPECT_FALSE(name.EndsWith(kPartSuffix)) << name.ToUtf8();
}

// The job that the end breaks off is logged in a folder of a server that is away.
TEST(WorkerEndTest, AJobLogThatHangsDoesNotHoldTheEnd) {
  NceLink link;
  TestApp& app = link.app;
  link.port.SetRealWaits(true);
  std::promise<void> begun, release;
  app.Put(app.Path(u"settings/NCE.INI"),
          u"[Log]\nlog file=" + app.Path(u"jobs.log") + u"\nwrite log=1\n");
  app.WhenOpening(u"jobs.log", [wait = release.get_future().share()] { wait.wait_for(5s); });
  auto engine = std::make_unique<NCEApp>(link.Services(true), KorText());
  engine->SetUpServices();
  engine->BuildWindow();
  engine->ReceiveFile(app.Path(u"in.NC"));
  engine->RunOnWorker([&] { begun.set_value(); });
  begun.get_future().wait();
  engine->Terminate();
  EXPECT_TRUE(engine->IsWorkerStuck());
  release.set_value();
  engine.reset();
  EXPECT_TRUE(app.Content(app.Path(u"jobs.log"))->Contains(u"Upload Cancelled"));
  EXPECT_FALSE(app.FileExists(app.Path(u"in.NC")));
}

INSTANTIATE_TEST_SUITE_P(Seeds, WorkerTest, ::testing::Range(1u, 3u));

} // namespace
} // namespace kor
