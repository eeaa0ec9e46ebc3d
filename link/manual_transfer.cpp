#include "link/manual_transfer.h"

#include "services/core/path_text.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

FileChoice NcFile(FileChoice::Kind kind, const KorText& title, const KorText& folder,
                  const KorText& currentFile, const KorText& extension) {
  return {kind, title, folder, FileNameOfPath(currentFile),
          FileFilters(LookUpText(kTexts.ncFiles), extension)};
}

} // namespace

KorText FileFilters(const KorText& kind, const KorText& extension) {
  return KorText::Format(u"%s (*.%s)|*.%s|%s (*.*)|*.*", kind, extension, extension,
                         LookUpText(kTexts.allFiles));
}

KorText SendCaption() {
  return LookUpText(kTexts.sendNcFile);
}

KorText ReceiveCaption() {
  return LookUpText(kTexts.receiveNcFile);
}

std::optional<KorText> ChooseFileToSend(FormDialog& window, const LinkSettings& settings,
                                        const KorText& currentFile) {
  return window.ChooseFile(NcFile(FileChoice::Kind::Open, LookUpText(kTexts.openNcFile),
                                  settings.downloadPath, currentFile, settings.fileExtension));
}

std::optional<KorText> ChooseFileToReceive(FormDialog& window, const LinkSettings& settings,
                                           const KorText& currentFile) {
  return window.ChooseFile(NcFile(FileChoice::Kind::Save, LookUpText(kTexts.saveNcFileAs),
                                  settings.uploadPath, currentFile, settings.fileExtension));
}

void RememberFile(const KorText& path, LinkSettings& settings) {
  const std::size_t nameStart = FolderOfPath(path).Length();
  const std::size_t dot = path.FindLast(u'.');
  settings.downloadPath = path.Left(nameStart);
  if (dot != KorText::kNone && dot > nameStart) settings.fileExtension = path.Mid(dot + 1);
}

void HideEndDialogs(FormDialog& window) {
  window.ShowEndDialog(EndDialog::Download, false);
  window.ShowEndDialog(EndDialog::Upload, false);
}

void ManualTransfer::Begin(EndDialog which, const KorText& title) {
  running = true;
  window.Post([this, which, title] {
    window.SetTitle(title);
    window.SetJobButtons(which == EndDialog::Download ? JobButtons::SendDisabled
                                                      : JobButtons::Disabled);
    window.ShowEndDialog(which, true);
  });
}

void ManualTransfer::End() {
  if (!running) return;
  running = false;
  window.Post([this] {
    HideEndDialogs(window);
    window.SetJobButtons(JobButtons::Enabled);
  });
}

} // namespace kor
