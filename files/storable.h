// Storable: the base of every object that is kept in binary form. An object moves itself through a
// DiskFile with one Transfer operation for both directions; the stream's open mode decides.
//
// A Transfer runs inside a record that its caller began (DiskFile::TransferObject and its like do
// that) and ends that record itself, as its last step:
//
//   void Point::Transfer(DiskFile& file) {
//     file.TransferMembers(*this, Members()); // or file.Transfer(x); file.Transfer(y);
//     EndRecord(file);
//   }
//
// A class that extends another stored class ends its own record first and then lets the base class
// follow as a record of its own: file.TransferBase<Base>(*this).
//
// One thread at a time per object. Class numbers never change: stored data names classes by them.
#pragma once

#include <cstdint>
#include <span>

namespace kor {

struct FileCrc;
class DiskFile;
struct MemberDescription;

class Storable {
 public:
  virtual ~Storable() = default;

  // The class's number, its key in the class registry; 0 for a class that is never looked up.
  virtual std::uint32_t ClassId() const { return 0; }
  // Moves the fields; see above. The base has none.
  virtual void Transfer(DiskFile&) {}
  // Closes the record that the object's fields were moved in.
  virtual void EndRecord(DiskFile& file);

  // Counts unsaved changes: 0 while there are none.
  virtual void MarkChanged() { ++changes; }
  virtual std::int32_t UnmarkChanged() { return changes > 0 ? --changes : changes; }
  virtual std::int32_t ChangeCount() const { return changes; }

  // The members registered for ClassId(), in stream order; empty for an unregistered class.
  virtual std::span<const MemberDescription> CollectMembers() const;
  // Moves the registered members. An unregistered class moves nothing and gives a debug warning.
  virtual void TransferMembers(DiskFile& file);

  virtual void Reserved10() {}
  // Adds the object's contents to a checksum; two objects of a class that give the same checksum
  // are taken for equal by DiskFile::CachedInstance. The meaning of the flag is the class's own;
  // the stream passes false.
  virtual void AddToCrc(FileCrc&, bool) const {}
  virtual void Reserved12() {}
  virtual void Hook() {}

 protected:
  Storable() = default;
  Storable(const Storable&) = default;
  Storable& operator=(const Storable&) = default;

  void ClearChanges() { changes = 0; }

 private:
  std::int32_t changes = 0;
};

} // namespace kor
