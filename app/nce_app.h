// NCEApp: the host side of the NCE controller's protocol on top of the link engine. The controller
// sends requests, each ended by CR; every one is answered with one reply line ended by CR.
//
// One class in several files: the start here, nce_requests.cpp, nce_download.cpp, nce_upload.cpp,
// nce_directory_request.cpp and nce_special_dialog.cpp.
//
// Made once by main. Protocol state belongs to the worker; the special features are edited in the
// window and handed over before the next poll.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/nce_numbers.h"
#include "link/download_app.h"

namespace kor {

inline constexpr char16_t kDefaultModelName[] = u"NCE";
// What names the settings file and heads the window title: the command line, when there is one.
KorText ModelNameOf(const KorText& commandLine);

class NCEApp : public DownloadApp {
 public:
  static constexpr std::uint32_t kClassId = 103090701;

  NCEApp() : NCEApp(NoServices(), {}) {} // an empty object, for the class registry
  // The command line is the application's model name ("NCE" when empty); the texts "SIMULATION" and
  // "500" anywhere in it switch their modes on.
  NCEApp(EngineServices engineServices, const KorText& commandLine);

  ~NCEApp() override;

  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override;
  static std::span<const MemberDescription> Members();

  void BuildWindow() override;
  void ProcessReceived() override;
  void PollIdle() override;
  void StartDownload() override;

  // --- Window -----------------------------------------------------------------------------------
  const SpecialFeatures& Features() const { return windowFeatures; }
  void SetFeatures(const SpecialFeatures& changed);
  // The special-features dialog; the form is also what scripts edit.
  void SpecialDialog();
  FormDescription SpecialForm() const;
  void AcceptSpecialForm(const FormDescription& form);

 protected:
  void BeforeServing() override;
  bool LoadTransfer(const KorText& path, std::int64_t& size) override;

 private:
  void Dispatch(const KorText& line);
  bool RefuseRest(const KorText& line);
  void BreakOffDownload();
  void OnLoopTest();
  void OnDownloadRequest(const KorText& line);
  void OnUploadRequest();
  void OnUploadData(const KorText& line);
  void OnUploadEnd(const KorText& line);
  KorText UploadNote(bool isCut) const;
  void OnUploadFailed();
  void OnDirectoryRequest();
  void OnAcknowledge();
  void OnRefuse();
  void Reply(const KorText& text); // the text and CR

  KorText MakePcFileName(const KorText& folder, const SpecialFeatures& features);
  KorText MakeModel500FileName(const KorText& folder);
  void ApplyHybridNumber();
  NcProgram::Result OpenProgram(const KorText& path);
  std::string NextBlock();
  void SendNextFrame();
  void SendFrameOrEnd();
  void DoWhatWaits();
  void ListDirectory();
  void LoadNextSequentialFile();
  bool LookAgain(const KorText& path, std::function<void()> look);
  void LookForNextFile();
  void ForgetWaits();
  void EndDownload();
  void SendDirectoryPage();
  void ShowNumberTitle();

  const bool simulation;
  const bool model500;
  SpecialFeatures windowFeatures; // window's copy: edited and stored

  SpecialFeatures workerFeatures; // worker's copy
  // What the download was begun with: a change takes effect with the next one.
  struct {
    SpecialFeatures features;
    KorText folder, extension;
  } begun;
  KorText requestText;   // last "FH " line
  KorText numberText;    // number of that request, as the host file is named
  KorText pcFilePath;    // host file being sent or received
  std::string frameText; // last frame, kept for sending again
  std::int32_t nakCount = 0;
  std::int32_t unexpectedAckCount = 0;
  std::int32_t hybridLastSheet = 0;
  // What the disk is asked for once the reply before it is on the line, or the next request comes.
  enum class Waiting { Nothing, Listing, NextFile } waiting = Waiting::Nothing;
  int looks = 0;            // at a file that somebody writes
  bool fileAwaited = false; // the next file of a chain is being written
  bool frameIsOwed = false; // and the controller waits for a frame of it
  std::vector<KorText> directoryList;
  std::size_t directoryRemaining = 0;
};

} // namespace kor
