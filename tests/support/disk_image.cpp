#include "tests/support/disk_image.h"

namespace kor {

DiskImage::DiskImage(const Files& files) {
  for (const auto& [path, content] : files)
    seen[path] = std::make_shared<Node>(Node{content, content});
  durable = seen;
}

DiskImage::NodePtr DiskImage::Open(const KorText& path) {
  NodePtr& node = seen[path];
  if (!node) {
    node = std::make_shared<Node>();
    waiting.push_back({{}, path, node});
  }
  return node;
}

void DiskImage::Rename(const KorText& from, const KorText& to) {
  waiting.push_back({from, to, seen[from]});
  Apply(waiting.back(), seen);
}

void DiskImage::Remove(const KorText& path) {
  waiting.push_back({path, {}, nullptr});
  Apply(waiting.back(), seen);
}

void DiskImage::SyncFolder(const KorText& folder) {
  std::erase_if(waiting, [&](const Change& change) {
    const KorText& name = change.made.IsEmpty() ? change.gone : change.made;
    const bool isHere = name.Left(name.FindLast(u'/')) == folder;
    if (isHere) Apply(change, durable);
    return isHere;
  });
}

void DiskImage::Apply(const Change& change, Names& names) {
  if (!change.gone.IsEmpty()) names.erase(change.gone);
  if (!change.made.IsEmpty()) names[change.made] = change.node;
}

std::set<DiskImage::Files> DiskImage::States() const {
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

} // namespace kor
