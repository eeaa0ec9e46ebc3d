// Stored classes for tests, fuzzing and benchmarks: between them their members are of every kind
// that the record stream moves. Also record files in memory.
#pragma once

#include <functional>
#include <memory>
#include <tuple>
#include <vector>

#include "files/member.h"
#include "services/core/as_bytes.h"

namespace kor {

class SampleTool : public Storable {
 public:
  static constexpr std::uint32_t kClassId = 100200301;
  static std::span<const MemberDescription> Members() {
    static constexpr MemberDescription kMembers[] = {
        Member<&SampleTool::name>(u"name"),
        Member<&SampleTool::length>(u"length"),
        Member<&SampleTool::bought>(u"bought"),
    };
    return kMembers;
  }
  SampleTool() = default;
  SampleTool(const KorText& toolName, double toolLength) : name(toolName), length(toolLength) {}
  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override {
    file.TransferMembers(*this, Members());
    EndRecord(file);
  }
  void AddToCrc(FileCrc& crc, bool) const override {
    const std::string bytes = name.ToBytes();
    crc.Add(AsBytes(bytes));
  }
  friend bool operator==(const SampleTool& a, const SampleTool& b) {
    return std::tie(a.name, a.length, a.bought) == std::tie(b.name, b.length, b.bought);
  }

  KorText name;
  double length = 0;
  CalendarDate bought;
};

enum class SampleState : std::uint8_t { Idle = 0, Cutting = 1 };

class SampleMachine : public Storable {
 public:
  struct Axis {
    std::int16_t position = 0;
    std::int64_t travelled = 0;
    friend bool operator==(const Axis&, const Axis&) = default;
  };

  static constexpr std::uint32_t kClassId = 100200302;
  static std::span<const MemberDescription> Members() {
    using M = SampleMachine;
    static constexpr MemberDescription kMembers[] = {
        Member<&M::name>(u"name"),
        Member<&M::number>(u"number"),
        Member<&M::offset>(u"offset"),
        Member<&M::state>(u"state"),
        Member<&M::running>(u"running"),
        Member<&M::axis, &Axis::position>(u"position"),
        Member<&M::axis, &Axis::travelled>(u"travelled"),
        Member<&M::speed>(u"speed"),
        SectionMark(),
        Member<&M::codes>(u"codes"),
        Member<&M::jobs>(u"jobs"),
        Member<&M::spindle>(u"spindle"),
        Member<&M::tools>(u"tools"),
        Member<&M::parts>(u"parts"),
        Member<&M::left>(u"left"),
        Member<&M::right>(u"right"),
    };
    return kMembers;
  }
  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override {
    file.TransferMembers(*this, Members());
    EndRecord(file);
  }
  bool operator==(const SampleMachine& o) const {
    const auto same = [](const auto& a, const auto& b) {
      return a == nullptr ? b == nullptr : b != nullptr && *a == *b;
    };
    return std::tie(name, number, offset, state, running, axis, speed, codes, jobs, spindle,
                    tools) == std::tie(o.name, o.number, o.offset, o.state, o.running, o.axis,
                                       o.speed, o.codes, o.jobs, o.spindle, o.tools) &&
           parts.size() == o.parts.size() && same(left, o.left) && same(right, o.right);
  }

  KorText name;
  std::uint32_t number = 0;
  std::int32_t offset = 0;
  SampleState state = SampleState::Idle;
  bool running = false;
  Axis axis;
  float speed = 0;
  std::vector<std::uint16_t> codes;
  std::vector<KorText> jobs;
  SampleTool spindle;
  std::vector<SampleTool> tools;
  std::vector<std::unique_ptr<Storable>> parts; // of any class
  std::shared_ptr<SampleTool> left, right;      // may be the same
};

// A class that extends another: two records, one after the other.
class SampleRobot : public SampleMachine {
 public:
  static constexpr std::uint32_t kClassId = 100200303;
  static std::span<const MemberDescription> Members() {
    static constexpr MemberDescription kMembers[] = {Member<&SampleRobot::arms>(u"arms")};
    return kMembers;
  }
  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override {
    TransferMembers(file); // by the registry
    EndRecord(file);
    file.TransferBase<SampleMachine>(*this);
  }

  std::int32_t arms = 2;
};

inline void RegisterSamples() {
  static const bool registered =
      ClassRegistry::Global().Register<SampleTool>(u"SampleTool") &&
      ClassRegistry::Global().Register<SampleMachine>(u"SampleMachine") &&
      ClassRegistry::Global().Register<SampleRobot>(u"SampleRobot");
  static_cast<void>(registered);
}

inline void FillSample(SampleMachine& machine) {
  machine.name = u"Plasma \u00e9\u4e2d";
  machine.number = 0xDEADBEEF;
  machine.offset = -5;
  machine.state = SampleState::Cutting;
  machine.running = true;
  machine.axis = {-300, -5'000'000'000};
  machine.speed = 1.5F;
  machine.codes = {1, 500, 65535};
  machine.jobs = {u"", u"123", u"a longer job name"};
  machine.spindle = {u"drill", 12.25};
  machine.spindle.bought = {2024, 2, 29};
  machine.tools = {{u"punch", 1}, {u"saw", 2}};
  machine.parts.push_back(std::make_unique<SampleTool>(u"clamp", 3));
  machine.parts.push_back(std::make_unique<SampleMachine>());
  machine.left = machine.right = std::make_shared<SampleTool>(u"torch", 4);
}

inline std::vector<std::uint8_t> Joined(std::vector<std::uint8_t> a,
                                        const std::vector<std::uint8_t>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// Returns what the writer wrote, as a file.
inline std::vector<std::uint8_t> WriteRecords(const RecordFormat& format,
                                              const std::function<void(DiskFile&)>& writer) {
  DiskFile file({}, format);
  file.OpenMemory(kFileWrite);
  file.TransferHeader();
  writer(file);
  file.FlushRecords();
  const auto bytes = file.MemoryBytes();
  return {bytes.begin(), bytes.end()};
}

// Lets the reader read a file of these bytes, from behind its header on; returns the error flags.
inline std::uint32_t ReadRecords(const std::vector<std::uint8_t>& bytes, const RecordFormat& format,
                                 const std::function<void(DiskFile&)>& reader,
                                 bool report = false) {
  DiskFile file(u"memory", format);
  file.ReportErrors(report);
  file.OpenMemory(kFileRead, VoidBuffer(bytes));
  if (file.TransferHeader()) reader(file);
  return file.Errors();
}

} // namespace kor
