// FormDialog: what the engine asks of a window, independent of any toolkit. The front ends (ui/wx,
// ui/console) and the recording fake of the tests implement it. Owned by the program's main, which
// lends it to DownloadApp, and outlives DownloadApp.
//
// Threads: every operation is called on the window's thread, except Post and CancelName, which any
// thread may call.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "services/core/file_time.h"
#include "services/core/kor_text.h"
#include "ui/link_status.h"

namespace kor {

// Indicator lamps, in display order.
enum Lamp : std::size_t {
  kLampReceive,
  kLampWrite,
  kLampCtsHold,
  kLampDsrHold,
  kLampRlsdHold,
  kLampXoffHold,
  kLampXoffSent,
  kLampCount
};

// Everything a status display shows, taken at one moment.
struct StatusView {
  LinkStatus code = LinkStatus::NoLink;
  KorText line; // its text, unpadded; a window shows it padded to 70 characters
  LinkActivity activity = LinkActivity::NoLink;
  KorText headline; // the state in few words, for a large line
  KorText reason;   // why there is no link, and what to do about it; while there is none
  KorText note;     // what the user should know beside it; empty as a rule
  KorText fileName; // full name of the current file, as line has it where it names the file
  std::int64_t bytesDone = 0;   // sent or received so far
  std::int64_t bytesTotal = 0;  // 0 when that isn't known, as for an upload
  std::int64_t barPosition = 0; // of the progress bar, from 0 to barRange
  std::int64_t barRange = 0;    // 0 when there is nothing to measure
  std::array<bool, kLampCount> lamps{};
  friend bool operator==(const StatusView&, const StatusView&) = default;
};

// A job that has ended, as it goes into the job log.
struct EndedJob {
  LinkStatus code = LinkStatus::NoLink;
  KorText line;           // its text
  KorText fileName;       // full name of its file
  SystemTime time;        // local
  KorText note{};         // what the user should know beside the text; no log has it
  std::int64_t bytes = 0; // that were transferred

  bool Failed() const;
};

// The kinds of control a described form can hold.
enum class FieldKind { Text, Number, Choice, Check, FolderPath, FilePath };

// One control of a form, by its number, which is also its label's number in the dictionary.
struct FormField {
  int number = 0;
  KorText key;   // stable name for scripts, such as "baudrate"
  KorText label; // English label; a front end with a dictionary shows the entry of number instead
  FieldKind kind = FieldKind::Text;
  KorText value; // Check: "0" or "1"; Choice: one of choices
  std::vector<KorText> choices;
  bool editable = false;    // Choice: any other text may be entered as well
  std::int32_t minimum = 0; // Number
  std::int32_t maximum = 0; // Number
  KorText browseTitle{};    // FolderPath and FilePath: title of the chooser
  KorText filters{};        // FilePath: as in FileChoice
  bool enabled = true;
  int browseNumber = 0; // of the button that opens the chooser
  int pageNumber = 0;   // of the page that it stands on with others; 0: the form has none
  KorText page{};       // the page's title
  int groupNumber = 0;  // of the box that frames it with the others of that group; 0: none
  KorText group{};      // the box's label
  KorText problem{};    // what is wrong with the value, and what the field accepts
  // The texts that the screen shows in place of the choices of a Choice; empty when it shows the
  // choices themselves.
  std::vector<KorText> shown{};
};

// Describes a modal form: its caption, its fields, and the rule that enables fields as others
// change. Controls are made in the order of the fields. Each page, and each group on it, stands at
// the place of its first field.
struct FormDescription {
  KorText caption;
  KorText name;     // of the dialog as an object; not shown
  KorText note;     // explanation shown in the form, in the first group
  KorText obstacle; // why the form can't be accepted now, whatever its fields hold
  std::vector<FormField> fields;
  // Sets which fields are enabled. Called on opening and after each change.
  std::function<void(std::vector<FormField>&)> updateEnabled;
  // Sets the obstacle and the problem of every field, as far as they can be found without looking
  // at a disk. A form with an obstacle or a problem is not accepted.
  std::function<void(FormDescription&)> check;
  // Looks at the folders and files that an accepted form names, which may take long. done gets the
  // form with the problems on the window's thread, perhaps at once.
  using Looked = std::function<void(const FormDescription&)>;
  std::function<void(const FormDescription&, const Looked& done)> look;

  FormField* Find(std::u16string_view key);
  const FormField* Find(std::u16string_view key) const;
};

struct FileChoice {
  enum class Kind { Open, Save } kind = Kind::Open;
  KorText title;   // "Open NC file"
  KorText folder;  // where the dialog starts
  KorText name;    // filled in
  KorText filters; // "label|pattern|label|pattern"
};

// The windows that appear while a manual transfer runs.
enum class EndDialog { Download, Upload };

// The buttons that start jobs by hand: send, receive, loop-back test.
enum class JobButtons { Hidden, Enabled, SendDisabled, Disabled };

enum class MessageStyle { Information, Exclamation };

class FormDialog {
 public:
  virtual ~FormDialog() = default;

  virtual void ShowStatus(const StatusView& view) = 0;
  // Shows each ended job once, in order, even when no job log is written.
  virtual void ShowEndedJob(const EndedJob&) {}
  // Shows what ended today and yesterday before this start, oldest first; some jobs may have ended
  // since.
  virtual void ShowEarlierJobs(const std::vector<EndedJob>&) {}
  // Shows whether a trace is written, when that has changed without the user's doing.
  virtual void ShowTracing(bool) {}
  virtual void AppendMonitor(const KorText& text) = 0; // may hold several lines and parts of lines
  virtual void SetTitle(const KorText& title) = 0;
  virtual void ShowEndDialog(EndDialog which, bool shown) = 0;
  virtual void SetJobButtons(JobButtons state) = 0;
  virtual void ShowSpecialButton() = 0;
  // Runs a modal form. True when the user accepted it; the fields then hold what the user entered.
  virtual bool RunForm(FormDescription& form) = 0;
  virtual std::optional<KorText> ChooseFile(const FileChoice& choice) = 0;
  virtual void ShowMessage(const KorText& caption, const KorText& text, MessageStyle style) = 0;
  // Returns what a user of this front end does to end a transfer, as a message names it.
  virtual KorText CancelName() const { return u"cancel"; }
  // Runs the task on the window's thread, in the order of the posts; never waits for it. Tasks that
  // are still waiting when the window closes are dropped.
  virtual void Post(std::function<void()> task) = 0;
};

} // namespace kor
