// The engine with its own worker, on the fake port with real waits: the controller's thread asks,
// the window's thread changes settings, pulls the device, cancels and ends, all at once. What it is
// for is ThreadSanitizer; what it asserts is that the next good request is served and programs stay
// whole.
#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <random>
#include <thread>

#include "files/kor_file.h"
#include "link/comms_monitor.h"
#include "tests/support/nce_link.h"
#include "tools/nce_controller/session.h"

namespace kor {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using controller::LineState;

// The controller's line, in real time and until it is stopped.
class RealLine : public controller::Line {
 public:
  explicit RealLine(FakeSerialPort& toUse) : port(toUse) {
    port.SetResponder([this](std::string_view bytes) {
      const Lock lock(mutex);
      arrived += bytes;
      changed.notify_all();
    });
  }
  void Stop() {
    const Lock lock(mutex);
    stopped = true;
    changed.notify_all();
  }
  // Until something arrives, for a moment at most.
  void WaitForReply() {
    const Lock lock(mutex);
    changed.wait_until(mutex, Clock::now() + 2ms);
  }

  controller::Time Now() override { return Clock::now().time_since_epoch(); }
  LineState Read(std::string& to, controller::Time until) override {
    const Lock lock(mutex);
    while (!stopped && arrived.empty())
      if (changed.wait_until(mutex, Clock::time_point(until)) == std::cv_status::timeout) break;
    to += std::exchange(arrived, {});
    return stopped ? LineState::Stopped : LineState::Open;
  }
  LineState Write(std::string_view bytes, controller::Time, std::size_t& written) override {
    written = bytes.size();
    port.Deliver(bytes);
    return LineState::Open;
  }
  void Abandon() override {}
  controller::LineCounts Counts() const override { return {}; }
  std::string FailureText() const override { return {}; }

 private:
  FakeSerialPort& port;
  Mutex mutex;
  std::condition_variable_any changed;
  std::string arrived KOR_GUARDED_BY(mutex);
  bool stopped KOR_GUARDED_BY(mutex) = false;
};

class WorkerTest : public ::testing::TestWithParam<unsigned> {
 protected:
  WorkerTest() {
    port.UseClock({});
    app.Put(link.Folder() + u"8.MPG", KorText::FromBytes(program));
    app.Put(app.Path(u"settings/NCE.INI"),
            u"[Port Settings]\ntransmit delay=0\n[Files]\nupload path=" + uploads + u"\n");
    app.MakeFolder(uploads);
    engine = std::make_unique<NCEApp>(link.Services(true), KorText());
    engine->SetUpServices();
    engine->BuildWindow();
    controller = std::thread([this] { UploadAndDownload(); });
  }
  ~WorkerTest() override {
    StopController();
    engine->Terminate();
  }
  void StopController() {
    line.Stop();
    if (controller.joinable()) controller.join();
  }

  // The controller, on its thread: without end, and again after everything that breaks into it.
  void UploadAndDownload() {
    controller::Session session(line, {.timeout = 300ms, .retries = 1000});
    for (int round = 0;; ++round) {
      const std::string sent = "N1 X" + std::to_string(round) + "\n" + program;
      const controller::Verdict upload = session.Send("7", sent, false).verdict;
      if (upload.IsDone()) {
        EXPECT_EQ(app.Content(uploads + u"7.MPG").value_or(u"(none)").ToBytes(), sent);
        ++stored;
      }
      const controller::FetchReport download = session.Fetch("8");
      if (download.verdict.IsDone()) {
        EXPECT_EQ(download.program, program);
        ++fetched;
      }
      if (download.verdict.outcome == controller::Outcome::Stopped) return;
    }
  }

  // The window's thread at work until the condition holds; the clock goes ten times as fast.
  bool Await(const std::function<bool()>& holds) {
    for (const auto until = Clock::now() + 30s; !holds();) {
      if (Clock::now() > until) return false;
      line.WaitForReply();
      app.Advance(0.02);
      link.form.RunPosted();
      engine->RunDueTimers();
    }
    return true;
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
        [&] { ChangeSetting(*engine, u"baudrate", odd ? u"9600" : u"4800"); },
        [&] { engine->SetHandshake({.rtsCts = odd, .dtrDsr = false}); },
        [&] {
          engine->SetFeatures({0, 0, odd ? 1 : 0, 0});
        },
        [&] { odd ? engine->StartTrace(app.Path(u"trace")) : engine->StopTrace(); },
        [&] { PullDevice(); },
        [&] { odd ? engine->CancelUpload() : engine->CancelDownload(); },
        [&] { engine->SetMonitorShown(odd); },
        [&] { ChangeSetting(*engine, u"write-log", odd ? u"1" : u"0"); },
    };
    wishes[choice % std::size(wishes)]();
  }

  NceLink link;
  TestApp& app = link.app;
  FakeSerialPort& port = link.port;
  const KorText uploads = app.Path(u"up/");
  const std::string program = std::string(200, 'G') + "\n" + std::string(90, 'X') + "\n";
  RealLine line{port};
  std::unique_ptr<NCEApp> engine;
  std::atomic<int> stored = 0, fetched = 0; // acknowledged to the end and found whole
  std::thread controller;
};

TEST_P(WorkerTest, ServesOnWhileTheUserChangesEverythingAndEndsInTheMiddle) {
  std::minstd_rand random(GetParam());
  const auto served = [this] { return stored + fetched; };
  for (int step = 0; step < 20; ++step) {
    Disturb(static_cast<unsigned>(random() >> 4));
    const int before = served();
    const bool waits = random() % 3 != 0; // else the next one comes on its heels
    EXPECT_TRUE(!waits || Await([&] { return served() > before; }))
        << "after step " << step << ": " << engine->CurrentStatus().line.ToUtf8();
  }
  EXPECT_TRUE(
      Await([&, up = int{stored}, down = int{fetched}] { return stored > up && fetched > down; }));
  Disturb(static_cast<unsigned>(random() >> 4));
  engine->Terminate();
  StopController();
  for (const KorText& name : app.Names(uploads))
    EXPECT_FALSE(name.EndsWith(kPartSuffix)) << name.ToUtf8();
}

// The upload folder, or the folder of the log for the job that the end breaks off, is on a server
// that is away.
TEST(WorkerEndTest, AFolderThatHangsDoesNotHoldTheEnd) {
  for (const char16_t* folder : {u"jobs.log", u"cnc"}) {
    NceLink link;
    TestApp& app = link.app;
    link.port.UseClock({});
    std::promise<void> begun, reached, release;
    app.Put(app.Path(u"settings/NCE.INI"),
            u"[Log]\nlog file=" + app.Path(u"jobs.log") + u"\nwrite log=1\n");
    std::atomic<bool> first{true}, hangs{true};
    app.WhenOpening(folder, [&, wait = release.get_future().share()] {
      if (first.exchange(false)) reached.set_value();
      wait.wait_for(5s);
      hangs = false;
    });
    auto engine = std::make_unique<NCEApp>(link.Services(true), KorText());
    engine->SetUpServices();
    engine->BuildWindow();
    engine->ReceiveFile(app.Path(u"in.NC"));
    engine->RunOnWorker([&] { begun.set_value(); });
    begun.get_future().wait();
    // The end must find it under way; the log's is reached by the end.
    if (KorText(folder) == u"cnc") {
      reached.get_future().wait();
      FormDescription form = engine->SettingsForm();
      form.Find(u"upload-path")->value = app.Path(u"settings");
      bool looked = false;
      form.look(form, [&](const FormDescription&) { looked = true; });
      while (!looked)
        link.form.RunPosted();
      EXPECT_TRUE(hangs) << "another folder is looked at meanwhile";
    }
    engine->Terminate();
    EXPECT_TRUE(engine->IsWorkerStuck() && !link.port.IsOpen());
    release.set_value();
    engine.reset();
    EXPECT_TRUE(app.Content(app.Path(u"jobs.log"))->Contains(u"Upload Cancelled"));
    EXPECT_FALSE(app.FileExists(app.Path(u"in.NC")));
  }
}

TEST(WorkerEndTest, TheWorkerWaitsOnlyWhereThereIsNothingToDo) {
  std::promise<int> waited;
  std::once_flag once;
  int polls = 0; // by the worker's thread
  const CommsMonitor worker([&] { return ++polls < 3; },
                            [&] { std::call_once(once, [&] { waited.set_value(polls); }); }, [] {},
                            [] {});
  EXPECT_EQ(waited.get_future().get(), 3);
}

TEST(WorkerEndTest, TheWorkerEndsBeforeWhatItWorksWith) {
  NceLink link;
  link.port.UseClock({});
  const std::string number = std::string(40, '0') + "7";
  link.PutProgram(KorText::FromBytes(number) + u".MPG", u"A\n");
  link.app.Put(link.app.Path(u"settings/NCE.INI"), u"[Port Settings]\ntransmit delay=0\n");
  std::promise<void> opening;
  std::once_flag once;
  link.app.WhenOpening(u"07.MPG", [&] {
    std::call_once(once, [&] { opening.set_value(), link.port.WaitReadable(5s); });
  });
  auto engine = std::make_unique<NCEApp>(link.Services(true), KorText());
  engine->SetUpServices();
  engine->BuildWindow();
  link.port.Deliver("FH " + number + "\r");
  opening.get_future().wait();
  engine.reset(); // the number, which the reply is made of, stays until the worker has ended
  EXPECT_EQ(link.port.TakeWritten(), "&LP 000000007\r");
}

INSTANTIATE_TEST_SUITE_P(Seeds, WorkerTest, ::testing::Range(1u, 3u));

} // namespace
} // namespace kor
