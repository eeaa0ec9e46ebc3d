// NCEApp: the application for the NCE controller. It stores the special features and shows their
// dialog, and it passes the engine's protocol operations on to NceProtocol.
//
// Made once by main. NceProtocol belongs to the worker; the window edits the special features and
// hands them over before the next poll.
#pragma once

#include <cstdint>

#include "app/nce_protocol.h"
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
  void ProcessReceived() override { protocol.ProcessReceived(); }
  void PollIdle() override { protocol.PollIdle(); }
  void StartDownload() override { protocol.StartDownload(); }

  // --- Window -----------------------------------------------------------------------------------
  const SpecialFeatures& Features() const { return windowFeatures; }
  void SetFeatures(const SpecialFeatures& changed);
  // The special-features dialog; the form is also what scripts edit.
  void SpecialDialog();
  FormDescription SpecialForm() const;
  void AcceptSpecialForm(const FormDescription& form);

 protected:
  void BeforeServing() override;
  bool LoadTransfer(const KorText& path, std::int64_t& size) override {
    return protocol.LoadTransfer(path, size);
  }
  void AwaitUpload() override { protocol.AwaitUpload(); }

 private:
  NceProtocol protocol;
  SpecialFeatures windowFeatures; // edited and stored; the protocol has a copy
};

} // namespace kor
