#include "ui/wx/window_memory.h"

#include <algorithm>
#include <string>

#include <wx/display.h>
#include <wx/sstream.h>

#include "files/kor_file.h"
#include "files/simple_file.h"
#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"
#include "services/core/path_text.h"
#include "ui/wx/screen_room.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr double kSettleTime = 2; // seconds until a window is the user's to move
constexpr int kTitleWidth = 400;  // pixels; a window from a larger screen is cut to this one
constexpr std::size_t kMostBytes = 1 << 14; // the file has a dozen lines; another one is not read

std::string ReadMemory(const KorText& path) {
  KorFile file(path);
  if (!file.Open(kFileRead) || file.Size() > kMostBytes) return {};
  std::string bytes(static_cast<std::size_t>(file.Size()), '\0');
  bytes.resize(file.Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  return bytes;
}

// Returns whether a part of the title bar that can be grasped lies on a screen.
bool IsReachable(const wxRect& place) {
  const wxPoint title(place.x + std::min(place.width, kTitleWidth) / 2, place.y + 10);
  return wxDisplay::GetFromPoint(title) != wxNOT_FOUND;
}

// The size is that of the client area: what a window manager puts around it is not known before the
// window is shown.
void Place(wxTopLevelWindow& window, const wxRect& place) {
  window.Move(place.GetPosition());
  window.SetClientSize(place.GetSize());
}

// Some window managers place a window as they like when it appears, and move it when it asks
// afterwards.
void InsistOn(wxTopLevelWindow& window, const wxRect& place) {
  const double until = App().HighResolutionSeconds() + kSettleTime;
  window.Bind(wxEVT_MOVE, [&window, place, until, settled = false](wxMoveEvent& event) mutable {
    event.Skip();
    settled = settled || window.GetPosition() == place.GetPosition() ||
              App().HighResolutionSeconds() > until;
    if (!settled) window.CallAfter([&window, place] { Place(window, place); });
  });
}

} // namespace

WindowMemory::WindowMemory(const KorText& settingsName) {
  const KorText folder = App().GetApplicationPropertyPath(kSettingsFolder);
  if (folder.IsEmpty()) return;
  path = WithTrailingSlash(folder) + settingsName + u".window";
  wxStringInputStream kept(ToWx(KorText::FromUtf8(ReadMemory(path))));
  config = std::make_unique<wxFileConfig>(kept);
}

void WindowMemory::Restore(wxTopLevelWindow& window) const {
  if (!config) return;
  const auto kept = [this](const char* what) {
    return static_cast<int>(config->ReadLong(what, 0));
  };
  // The stored size may come from a screen of another density.
  wxRect place({kept("/Window/x"), kept("/Window/y")},
               window.FromDIP(wxSize(kept("/Window/width"), kept("/Window/height"))));
  if (place.width > 0 && place.height > 0 && IsReachable(place)) {
    window.Move(place.GetPosition()); // onto its screen
    wxSize size = place.GetSize();
    size.DecTo(ScreenRoom(window));
    place.SetSize(size);
    Place(window, place);
    InsistOn(window, place);
  }
  if (config->ReadBool("/Window/maximised", false)) window.Maximize();
  if (config->ReadBool("/Window/minimised", false)) window.Iconize();
}

void WindowMemory::Keep(const wxTopLevelWindow& window) {
  if (!config) return;
  config->Write("/Window/maximised", window.IsMaximized());
  config->Write("/Window/minimised", window.IsIconized());
  if (!window.IsMaximized() && !window.IsIconized()) {
    const wxRect place(window.GetPosition(), window.ToDIP(window.GetClientSize()));
    config->Write("/Window/x", place.x);
    config->Write("/Window/y", place.y);
    config->Write("/Window/width", place.width);
    config->Write("/Window/height", place.height);
  }
  // A place that can't be stored is not worth a message.
  wxStringOutputStream lines;
  config->Save(lines);
  const std::string bytes = FromWx(lines.GetString()).ToUtf8();
  KorFile file(path);
  if (file.OpenSafe() && file.Write(AsBytes(bytes)) == bytes.size()) file.Commit();
}

bool WindowMemory::IsShown(const wxString& part, bool otherwise) const {
  return config ? config->ReadBool("/Shown/" + part, otherwise) : otherwise;
}

void WindowMemory::SetShown(const wxString& part, bool shown) {
  if (config) config->Write("/Shown/" + part, shown);
}

} // namespace kor
