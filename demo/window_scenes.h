// WindowScenes: shows every window of the program in every state worth looking at. It runs on fakes
// of the system, so that the windows look the same each time, and serves the pictures and what is
// measured on all windows. Window's thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include <wx/evtloop.h>

#include "tests/support/test_app.h"
#include "ui/wx/wx_front_end.h"

namespace kor::demo {

class WindowScenes {
 public:
  // Called with each window while it is ready to be seen, and the scene's name.
  using Look = std::function<void(wxTopLevelWindow& window, std::string_view name)>;

  // dictionary is the path of the file that holds the texts. settle is the time in milliseconds
  // that the desktop gets to show what has changed.
  WindowScenes(const KorText& dictionary, int settle);
  ~WindowScenes();

  static std::span<const char16_t* const> Languages(); // codes such as "de-DE"
  // Shows all scenes in one of the languages and has each looked at. False when the texts can't be
  // loaded.
  bool Play(const KorText& language, const Look& look);
  // Shows only the states, in a window whose client area has that size.
  bool PlayAt(const wxSize& size, const KorText& language, const Look& look);
  // Walks from one size, fold, size of letters, language and state to another, as the seed says,
  // and has each step looked at. setLetters gets a size relative to the usual one.
  bool Walk(std::uint32_t seed, int steps, const std::function<void(double)>& setLetters,
            const Look& look);

 private:
  class SceneApp;

  bool Load(const KorText& language, const Look& look);
  void Open();
  void Close();
  void Settle() const;
  void SettleSize() const;
  void LookAt(wxTopLevelWindow& shown, std::string_view name) const;
  void LookAtModal(std::string_view name, const std::function<void()>& run);
  void ShowState(LinkStatus code, std::int64_t bytes = 0, std::int64_t size = 0);
  void AddJob(LinkStatus code, int number);
  void Press(int number);
  void SetInside(const wxSize& size);
  void Step(const std::function<std::uint32_t(std::uint32_t)>& pick);
  void PlayStates();
  void PlaySmall();
  void PlayMonitor();
  void PlayForms();
  void PlayMessages();

  // The toolkit expects an active one, also where this class itself waits for the desktop.
  wxGUIEventLoop loop;
  const wxEventLoopActivator active{&loop};
  TestApp system;
  const KorText dictionaryFile;
  const int settleTime;
  WxFrontEnd frontEnd;
  std::unique_ptr<SceneApp> app;
  MainWindow* window = nullptr; // the toolkit's to destroy
  const Look* looking = nullptr;
};

} // namespace kor::demo
