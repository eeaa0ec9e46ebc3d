// iniFile: binds program variables to keys of a sectioned text file. Items are registered first;
// then Read fills the variables (defaults for what is missing) and Write updates the file, keeping
// every line that belongs to no item. Each call reads the file anew; between calls only the path
// and the items are kept. Owned by the caller; one thread at a time.
//
// The file keeps the encoding that it was found in. A file without a mark is UTF-8 when all of it
// is valid UTF-8, else 8-bit text. A new one is 8-bit text. A text whose encoding could not be told
// so later, and characters above 255 in 8-bit text, turn the file into UTF-8 with its mark, so that
// no text is lost. Saving writes beside the file, or beside what a link of its name leads to, and
// renames, so it needs a folder that can be written to, and a failure leaves the older file whole.
//
// A file of more than kLargestSettings, kMostSettingsLines or kMostSections is no settings file: it
// is neither read nor written over, and a warning says so.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "files/simple_file.h"
#include "services/core/failures.h"
#include "services/core/kor_text.h"
#include "services/ini/ini_items.h"
#include "services/ini/ini_lines.h"

namespace kor {

class iniFile {
 public:
  using Filter = std::optional<KorText>; // a name that items have to bear; none: all items

  explicit iniFile(KorText filePath) : path(std::move(filePath)) {}

  const KorText& Path() const { return path; }
  // Adds an item; null is ignored.
  void Add(std::unique_ptr<iniStruct> item);
  // Makes and adds an item.
  template <class Item, class... Args> void Add(Args&&... args) {
    Add(std::make_unique<Item>(std::forward<Args>(args)...));
  }

  // Fills the variables. False when the file could not be loaded: every item has its default then.
  bool Read(const Filter& section = {}, const Filter& key = {},
            Failures failures = Failures::Silent);
  // Updates the file. The result is always true, also when saving failed, which is intended:
  // LastSaveSucceeded tells. A file that can't be loaded is written as a new one.
  bool Write(const Filter& section = {}, const Filter& key = {},
             Failures failures = Failures::Silent);

  // These are the steps of the two. The next Read or Write uses the lines loaded here.
  bool Load(Failures failures = Failures::Silent);
  bool Save(Failures failures = Failures::Silent);
  // Looks in the lines that Load has fetched.
  bool HasSection(const KorText& name) { return lines.Find(name) != nullptr; }

  bool IsWritten() const { return written; } // Write was called
  bool LastSaveSucceeded() const { return saved; }

 private:
  void Release();
  bool ReadLines(SimpleFile& file, std::vector<KorText>& read);
  void TakeLines(std::vector<KorText> read);
  std::string BytesOf(const KorText& line) const;
  bool Passes(const iniStruct& item, const Filter& section, const Filter& key) const;
  bool WriteLines();
  std::uint32_t EncodingMode(const std::vector<const KorText*>& all) const;

  KorText path;
  std::vector<std::unique_ptr<iniStruct>> items; // in order of registration
  iniLines lines;
  TextEncoding encoding = TextEncoding::EightBit; // of the loaded file, by its mark
  bool unmarkedUtf8 = false;
  bool loaded = false;
  bool tooLarge = false; // the file on disk, when it was last loaded
  bool written = false;
  bool saved = false;
};

} // namespace kor
