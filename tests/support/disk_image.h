// DiskImage: what a power cut may leave of a folder's files. Writing changes what the running
// system sees; Sync makes one file's content durable, a folder's sync its new, changed and removed
// names.
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
  explicit DiskImage(const Files& files) {
    for (const auto& [path, content] : files)
      seen[path] = std::make_shared<Node>(Node{content, content});
    durable = seen;
  }
  // The file of that name, made when missing.
  NodePtr Open(const KorText& path) {
    NodePtr& node = seen[path];
    if (!node) {
      node = std::make_shared<Node>();
      waiting.push_back({{}, path, node});
    }
    return node;
  }
  void Rename(const KorText& from, const KorText& to) {
    waiting.push_back({from, to, seen[from]});
    Apply(waiting.back(), seen);
  }
  void Remove(const KorText& path) {
    waiting.push_back({path, {}, nullptr});
    Apply(waiting.back(), seen);
  }
  void SyncFolder(const KorText& folder) { // without trailing "/"
    std::erase_if(waiting, [&](const Change& change) {
      const KorText& name = change.made.IsEmpty() ? change.gone : change.made;
      const bool isHere = name.Left(name.FindLast(u'/')) == folder;
      if (isHere) Apply(change, durable);
      return isHere;
    });
  }
  // Everything that may be found after a cut now: of the names' changes the first few, and of what
  // was written without a sync the older content, nothing, a half or all of it.
  std::set<Files> States() const {
    std::set<Files> states;
    Names names = durable;
    for (std::size_t kept = 0;; Apply(waiting[kept++], names)) {
      for (const int unsynced : {0, 1, 2, 3}) {
        Files files;
        for (const auto& [path, node] : names) {
          const std::size_t part[] = {0, 0, node->seen.size() / 2, node->seen.size()};
          const bool older = unsynced == 0 || node->seen == node->durable;
          files[path] = older ? node->durable : node->seen.substr(0, part[unsynced]);
        }
        states.insert(std::move(files));
      }
      if (kept == waiting.size()) return states;
    }
  }

 private:
  using Names = std::map<KorText, NodePtr>;
  struct Change {
    KorText gone, made; // either may be empty
    NodePtr node;
  };
  static void Apply(const Change& change, Names& names) {
    if (!change.gone.IsEmpty()) names.erase(change.gone);
    if (!change.made.IsEmpty()) names[change.made] = change.node;
  }

  Names seen, durable;
  std::deque<Change> waiting;
};

} // namespace kor
