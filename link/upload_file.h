// UploadFile: the file that an upload fills, written beside its target, which it replaces when it
// is complete. Owned by RunningUpload. Worker's thread, but for ClearAway.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "files/kor_file.h"

namespace kor {

class UploadFile {
 public:
  // Opens a file and discards the one before. False when the target could not be replaced.
  bool Open(const KorText& path);
  bool IsOpen() const { return file != nullptr; }
  std::uint64_t Size() const { return file ? file->Size() : 0; }
  bool Write(std::string_view bytes); // false unless all were taken
  // Replaces the target by what was received. False when that could not be stored whole.
  bool Commit();
  void Discard();

  // Removes from the folder what a killed program left of its uploads. Any thread; an upload that
  // runs keeps its part.
  static void ClearAway(const KorText& folder);

 private:
  std::unique_ptr<KorFile> file;
};

} // namespace kor
