// DiskImage: what a power cut may leave of a folder's files. Writing changes what the running system
// sees; Sync makes one file's content durable, a folder's sync its new, changed and removed names.
//
// Owned by a TestApp, which tells it of every change and guards it.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "services/core/kor_text.h"

namespace kor {

class DiskImage {
 public:
  using Files = std::map<KorText, std::string>; // path, content
  struct Node {
    std::string seen, durable;
  };
  using NodePtr = std::shared_ptr<Node>;

  // All of these are on the disk.
  explicit DiskImage(const Files& files);
  // The file of that name, made when missing.
  NodePtr Open(const KorText& path);
  void Rename(const KorText& from, const KorText& to);
  void Remove(const KorText& path);
  void SyncFolder(const KorText& folder); // without trailing "/"
  // Everything that may be found after a cut now: of the names' changes the first few, and of what was
  // written without a sync the older content, nothing, a half or all of it.
  std::set<Files> States() const;

 private:
  using Names = std::map<KorText, NodePtr>;
  struct Change {
    KorText gone, made; // either may be empty
    NodePtr node;
  };
  static void Apply(const Change& change, Names& names);

  Names seen, durable;
  std::deque<Change> waiting;
};

} // namespace kor
