// NceProtocol: the host side of the NCE controller's protocol over an exchange. The controller
// sends requests, each ended by CR; every one is answered with one reply line ended by CR.
//
// One class in several files: which line is which request in nce_protocol.cpp, and what answers it
// in nce_download.cpp, nce_upload.cpp and nce_directory_request.cpp. Owned by NCEApp. Worker's
// thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "app/nce_numbers.h"
#include "link/exchange.h"

namespace kor {

// What the command line switches on.
struct NceModes {
  bool simulation = false; // it plays the controller itself
  bool model500 = false;   // host files are named "H...", where there is one
};

class NceProtocol {
 public:
  NceProtocol(Exchange& servedExchange, const KorText& model, NceModes nceModes)
      : exchange(servedExchange), modelName(model), modes(nceModes) {}

  // Takes changed features, which take effect with the next download.
  void SetFeatures(const SpecialFeatures& changed) { features = changed; }

  // The hooks that the engine calls.
  void ProcessReceived();
  void PollIdle();
  void StartDownload();
  bool LoadTransfer(const KorText& path, std::int64_t& size);
  void AwaitUpload() { endMarkAwaited = true; }

 private:
  void Dispatch(const KorText& line);
  bool RefuseRest(const KorText& line);
  void BreakOffDownload();
  void OnLoopTest();
  void OnDownloadRequest(const KorText& line);
  void OnUploadRequest();
  void OnUploadData(const KorText& line);
  void OnUploadEnd(const KorText& line);
  KorText UploadNote() const;
  void OnUploadFailed();
  void OnDirectoryRequest();
  void OnAcknowledge();
  void OnRefuse();
  void Reply(const KorText& text); // the text and CR

  KorText MakePcFileName(const KorText& folder, const SpecialFeatures& chosen);
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

  LinkStatus Status() { return exchange.Status().Code(); }
  void EnterStatus(LinkStatus code, const KorText& note = {}) {
    exchange.Status().Enter(code, note);
  }
  StatusBoard& Board() { return exchange.Status().Board(); }

  Exchange& exchange;
  const KorText modelName;
  const NceModes modes;
  SpecialFeatures features;
  // What the running download was begun with.
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
  // Whether an upload has begun, or was refused, whose end mark has not come. The controller may
  // still send the rest after the upload has ended on this side.
  bool endMarkAwaited = false;
  // What is read from the disk once the reply before it is on the line, or the next request comes.
  enum class Waiting { Nothing, Listing, NextFile } waiting = Waiting::Nothing;
  int looks = 0;            // at a file that somebody writes
  bool fileAwaited = false; // the next file of a chain is being written
  bool frameIsOwed = false; // and the controller waits for a frame of it
  std::vector<KorText> directoryList;
  std::size_t directoryRemaining = 0;
};

} // namespace kor
