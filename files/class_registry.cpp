#include "files/class_registry.h"

#include "services/core/app_interface.h"

namespace kor {

ClassRegistry::ClassRegistry() : nodes(1) {}

ClassRegistry& ClassRegistry::Global() {
  static ClassRegistry registry;
  return registry;
}

bool ClassRegistry::Register(Entry entry) {
  std::size_t at = 0;
  for (int level = 0; level < kLevels - 1; ++level) {
    const unsigned nibble = Nibble(entry.classId, level);
    if (nodes[at].next[nibble] == 0) {
      nodes.emplace_back();
      nodes[at].next[nibble] = static_cast<std::uint32_t>(nodes.size() - 1);
    }
    at = nodes[at].next[nibble];
  }
  std::uint32_t& slot = nodes[at].next[Nibble(entry.classId, kLevels - 1)];
  if (slot != 0) {
    App().DebugWarning(u"Class registered multiple times!", entry.name);
    return false;
  }
  entries.push_back(std::move(entry));
  slot = static_cast<std::uint32_t>(entries.size());
  return true;
}

const ClassRegistry::Entry* ClassRegistry::Find(std::uint64_t classId) const {
  std::size_t at = 0;
  for (int level = 0; level < kLevels - 1; ++level) {
    at = nodes[at].next[Nibble(classId, level)];
    if (at == 0) return nullptr; // the root is nobody's child
  }
  const std::uint32_t slot = nodes[at].next[Nibble(classId, kLevels - 1)];
  return slot == 0 ? nullptr : &entries[slot - 1];
}

std::unique_ptr<Storable> ClassRegistry::Create(std::uint64_t classId) const {
  const Entry* entry = Find(classId);
  return entry != nullptr && entry->make ? entry->make() : nullptr;
}

} // namespace kor
