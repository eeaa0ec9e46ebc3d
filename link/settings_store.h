// SettingsStore: the window's settings on the disk: the members of their record, the load with the
// hand-over from a text profile, the save. Owned by DownloadApp. Window's thread.
//
// The record is the whole application's, of which the settings are a part: reading and writing the
// record are operations of the application, which this class calls when their turn has come.
#pragma once

#include <functional>
#include <memory>
#include <span>

#include "files/member.h"
#include "link/link_settings.h"
#include "services/core/os_files.h"

namespace kor {

// Returns the settings as members of the class that holds them; Path leads from that class to its
// LinkSettings.
template <auto... Path> std::span<const MemberDescription> LinkSettingsMembers() {
  static constexpr MemberDescription kMembers[] = {
      Member<Path..., &LinkSettings::port>(u"port"),
      Member<Path..., &LinkSettings::baudrate>(u"baudrate"),
      Member<Path..., &LinkSettings::parity>(u"parity"),
      Member<Path..., &LinkSettings::databits>(u"databits"),
      Member<Path..., &LinkSettings::stopbits>(u"stopbits"),
      Member<Path..., &LinkSettings::flowControl>(u"flow control"),
      Member<Path..., &LinkSettings::uploadPath>(u"upload path"),
      Member<Path..., &LinkSettings::downloadPath>(u"download path"),
      Member<Path..., &LinkSettings::fileExtension>(u"file extension"),
      Member<Path..., &LinkSettings::transmitDelay>(u"transmit delay"),
      Member<Path..., &LinkSettings::logFile>(u"log file"),
      Member<Path..., &LinkSettings::writeLog>(u"write log"),
      Member<Path..., &LinkSettings::characterDelay>(u"character delay"),
      Member<Path..., &LinkSettings::lineDelay>(u"line delay"),
      Member<Path..., &LinkSettings::sendSot>(u"send SOT"),
      Member<Path..., &LinkSettings::sendEot>(u"send EOT"),
      Member<Path..., &LinkSettings::sotCharacter>(u"SOT character"),
      Member<Path..., &LinkSettings::eotCharacter>(u"EOT character"),
      Member<Path..., &LinkSettings::extraText>(u"extra text"),
      Member<Path..., &LinkSettings::rtsCtsHandshake>(u"RTS/CTS handshake"),
      Member<Path..., &LinkSettings::dtrDsrHandshake>(u"DTR/DSR handshake"),
      Member<Path..., &LinkSettings::applicationInteger>(u"application integer"),
      Member<Path..., &LinkSettings::dncSynchronisation>(u"DNC synchronisation"),
      Member<Path..., &LinkSettings::dncServerRole>(u"DNC server role"),
      Member<Path..., &LinkSettings::machineName>(u"machine name"),
  };
  return kMembers;
}

class SettingsStore {
 public:
  using Warning = std::function<void(const KorText& caption, const KorText& text)>;
  using RecordStep = std::function<bool()>;

  // The settings are the window's copy, which is stored, and outlive this. cncFolder is the default
  // of both NC folders. The user is warned through warn.
  SettingsStore(LinkSettings& windowSettings, const KorText& cncFolder, Warning warn);

  // Takes the settings of the file of this name. A name that no file can have keeps no settings and
  // reads none; while another program keeps those of the name, this one saves none. The user is
  // warned of both.
  void SetName(const KorText& name);
  // Returns the path of a file beside the record, of the record's name and this ending; empty when
  // nothing is kept.
  KorText PathBeside(const KorText& ending) const;

  // Read and write the file's record; false when it could not be read, or not be stored whole.
  bool ReadRecord(Storable& application) const;
  bool WriteRecord(Storable& application);

  // Loads the settings by the application's operation, and from a text profile when that fails. A
  // record that can't be used is kept as "NAME.INI.damaged", and the log says so.
  void Load(const RecordStep& load);
  // Saves the settings by the application's operation. A failure is reported once, until a save
  // succeeds again.
  void Save(const RecordStep& save);
  void Change(const std::function<void(LinkSettings&)>& change); // not saved yet
  // Warns that a port that is no COM name is used only until the program ends.
  void WarnOfUnkeptPort() const;
  // Removes what a program that was killed while it saved left behind.
  void ClearAway() const;

 private:
  bool NamesComPort() const;
  bool LoadTwice(const RecordStep& load) const;
  void KeepDamaged() const;
  void Claim(const KorText& name);

  LinkSettings& settings;
  const KorText cncFolder;
  const Warning warn;
  KorText path;                  // empty: not named yet, or never kept
  KorText keptPort = u"COM1";    // the COM name that the record holds
  bool lossReported = false;     // the last save failed, and this was said
  std::unique_ptr<OsFile> claim; // held by the program that keeps the settings of the name
  bool keptElsewhere = false;    // by another program
};

} // namespace kor
