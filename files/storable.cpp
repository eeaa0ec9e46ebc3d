#include "files/storable.h"

#include "files/class_registry.h"
#include "files/disk_file.h"
#include "services/core/app_interface.h"

namespace kor {

void Storable::EndRecord(DiskFile& file) {
  file.EndRecord();
}

std::span<const MemberDescription> Storable::CollectMembers() const {
  const ClassRegistry::Entry* entry = ClassRegistry::Global().Find(ClassId());
  if (entry == nullptr) return {};
  return entry->members;
}

void Storable::TransferMembers(DiskFile& file) {
  if (ClassRegistry::Global().Find(ClassId()) == nullptr) {
    App().DebugWarning(u"Class is not registered!", u"Storable::TransferMembers");
    return;
  }
  file.TransferMembers(*this, CollectMembers());
}

} // namespace kor
