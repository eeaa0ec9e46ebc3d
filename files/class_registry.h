// ClassRegistry: what a record's class number stands for. A class registers once, at start, with
// its number, its name, a factory and the description of its members; a reader creates objects by
// number.
//
// Filled on the main thread before any record is read; after that every operation but Register may
// be called from any thread. Entries live as long as the registry.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "files/storable.h"

namespace kor {

// How a member is written; the byte forms are in docs/formats/record-stream.md.
enum class MemberKind : std::uint8_t {
  Unsigned8,
  Signed8,
  Unsigned16,
  Signed16,
  Unsigned32,
  Signed32,
  Unsigned64,
  Signed64,
  Real32,
  Real64,
  Flag, // bool, 4 bytes
  Text,
  Date,
  SectionMark,
  List,      // count, then the elements
  Object,    // a record of its own
  Reference, // to a shared object
};

// One member: its name, its kind and the operation that moves it. Made by Member and SectionMark of
// files/member.h.
struct MemberDescription {
  std::u16string_view name;
  MemberKind kind = MemberKind::Object;
  MemberKind element = MemberKind::Object; // of a List
  void (*transfer)(DiskFile& file, Storable& object) = nullptr;
};

class ClassRegistry {
 public:
  struct Entry {
    std::uint64_t classId = 0;
    std::u16string_view name;
    std::function<std::unique_ptr<Storable>()> make;
    std::span<const MemberDescription> members;
  };

  ClassRegistry();
  ClassRegistry(const ClassRegistry&) = delete;
  ClassRegistry& operator=(const ClassRegistry&) = delete;

  // The registry of the program.
  static ClassRegistry& Global();

  // The texts and descriptions that the entry refers to must outlive the registry. A number that is
  // registered already keeps its first entry; the call then gives a debug warning and returns
  // false.
  bool Register(Entry entry);
  // Registers a class that has kClassId, Members() and a constructor without arguments.
  template <class Class> bool Register(std::u16string_view name) {
    return Register({Class::kClassId, name, [] { return std::make_unique<Class>(); },
                     std::span<const MemberDescription>(Class::Members())});
  }
  // Returns null for an unknown number.
  const Entry* Find(std::uint64_t classId) const;
  std::unique_ptr<Storable> Create(std::uint64_t classId) const;

 private:
  // The numbers are kept in a 16-way trie: one level per four bits, highest first. The first
  // fifteen levels lead to a node, the last one to an entry; 0 means "none", numbers are counted
  // from 1.
  struct Node {
    std::array<std::uint32_t, 16> next{};
  };
  static constexpr int kLevels = 16;
  static unsigned Nibble(std::uint64_t classId, int level) {
    return static_cast<unsigned>(classId >> (4 * (kLevels - 1 - level))) & 15U;
  }

  std::vector<Node> nodes;
  std::deque<Entry> entries;
};

} // namespace kor
