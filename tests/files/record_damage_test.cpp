// Damage done to record files byte by byte: reading ends in an error or in valid objects, without
// taking more memory than the file justifies. And what the class registry and the inspector say.
#include <string>

#include "tests/files/allocation_watch.h"
#include "tests/files/file_test_support.h"
#include "tests/support/record_samples.h"
#include "tools/korfile/record_inspector.h"

namespace kor {
namespace {

class RecordDamageTest : public testing::Test {
 protected:
  RecordDamageTest() { RegisterSamples(); }

  // What a damaged file made of the objects must be whole enough to be written and read again.
  static void ReadAndWriteAgain(const Bytes& bytes, const RecordFormat& format) {
    SampleRobot robot;
    largestAllocation = 0;
    const std::uint32_t errors =
        ReadRecords(bytes, format, [&](DiskFile& file) { file.TransferObject(robot); });
    EXPECT_LE(largestAllocation, std::size_t{DiskFile::kBlockSize} + 16 * bytes.size());
    EXPECT_EQ(errors & ~(1U | 32U | 64U | 128U | 512U), 0U);
    SampleRobot again;
    const Bytes rewritten =
        WriteRecords(format, [&](DiskFile& file) { file.TransferObject(robot); });
    EXPECT_EQ(ReadRecords(rewritten, format, [&](DiskFile& file) { file.TransferObject(again); }),
              0U);
    EXPECT_EQ(again.name, robot.name);
  }

  // Whether a file of the bytes is loaded; if not, the object stays as it was.
  bool Loads(const Bytes& bytes, const RecordFormat& format) {
    SampleRobot robot, before;
    robot.name = before.name = u"mine";
    app.Put(app.Path(u"file"), TextOf(bytes));
    const bool isLoaded = LoadObject(app.Path(u"file"), robot, {format, false, false, {}});
    EXPECT_TRUE(isLoaded || robot == before);
    return isLoaded;
  }

  static Bytes Sample(const RecordFormat& format) {
    SampleRobot robot;
    FillSample(robot);
    return WriteRecords(format, [&](DiskFile& file) { file.TransferObject(robot); });
  }

  TestApp app;
};

TEST_F(RecordDamageTest, EveryTruncationAndEveryChangedByteIsSurvived) {
  for (const RecordFormat& format : {RecordFormat{}, RecordFormat{{9}, true, 1}}) {
    Bytes bytes = Sample(format);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
      SCOPED_TRACE(at);
      const Bytes cut = Start(bytes, at);
      ReadAndWriteAgain(cut, format);
      EXPECT_TRUE(format.wideSizes || !Loads(cut, format));
      app.LimitReads(at);
      EXPECT_TRUE(format.wideSizes || !Loads(bytes, format));
      app.ClearFaults();
      const std::uint8_t right = bytes[at];
      for (const int flip : std::initializer_list<int>{0x01, 0x02, 0x04, 0x10, 0x40, 0x80, 0xFF,
                                                       right, right ^ 0xFF}) {
        bytes[at] = static_cast<std::uint8_t>(right ^ flip);
        ReadAndWriteAgain(bytes, format);
      }
      Loads(bytes, format);
      bytes[at] = right;
    }
  }
}

constexpr const char16_t* kTree = uR"(type 77
sizes 64-bit, two per record
revision 2
record 100200303 SampleRobot at 16, 24 bytes
  arms = 2
record 100200302 SampleMachine at 40, 317 bytes
  name = Plasma é中
  number = 3735928559
  offset = -5
  state = 1
  running = 1
  position = -300
  travelled = -5000000000
  speed = 1.5
  codes = 3 elements: 1, 500, 65535
  jobs = 3 elements: , 123, a longer job name
  tools = 1 elements
  parts = 0 elements
  left = new
  right = shared
  record 100200301 SampleTool at 179, 46 bytes
    name = drill
    length = 12.25
    bought = 2024-02-29
  record 100200301 SampleTool at 229, 46 bytes
    name = punch
    length = 1
    bought = none
  record 100200301 SampleTool at 295, 46 bytes
    name = torch
    length = 4
    bought = none
)";

TEST_F(RecordDamageTest, TheInspectorShowsTheTreeAndItsMembers) {
  SampleRobot robot;
  FillSample(robot);
  robot.parts.clear();
  robot.tools.resize(1);
  const RecordFileOptions options{{{77}, true, 2}, true, true, {}};
  ASSERT_TRUE(SaveObject(app.Path(u"robot"), robot, options));
  const RecordFileDescription found = DescribeRecordFile(app.Path(u"robot"));
  EXPECT_TRUE(found.isRecordFile && found.compressed && found.damage.empty());
  ASSERT_EQ(found.records.size(), 2U);
  EXPECT_EQ(found.records[1].end, found.size);
  KorText all;
  for (const KorText& line : RenderRecordFile(found))
    all += line + u"\n";
  EXPECT_EQ(all, kTree);
}

// A record of a class that nobody registered, with two objects inside.
void WriteOpaque(DiskFile& file) {
  file.BeginRecord(4711);
  std::uint16_t number = 0x1234;
  SampleTool tool(u"saw", 1);
  for (int i = 0; i < 2; ++i) {
    file.Transfer(number);
    file.TransferObject(tool);
  }
  file.EndRecord();
}

TEST_F(RecordDamageTest, TheInspectorFindsRecordsByShapeAndDamageByOffset) {
  const Bytes whole = WriteRecords({}, WriteOpaque);
  const auto changed = [&](std::size_t at, std::uint8_t to) {
    Bytes bytes = whole;
    bytes[at] = to;
    return bytes;
  };
  using Damage = std::vector<std::pair<std::uint64_t, std::uint32_t>>; // offset, flag
  const auto finds = [&](const char* what, const Bytes& bytes, const Damage& expected,
                         std::size_t inner = 2) {
    SCOPED_TRACE(what);
    app.Put(app.Path(u"file"), TextOf(bytes));
    const RecordFileDescription found = DescribeRecordFile(app.Path(u"file"));
    EXPECT_TRUE(found.isRecordFile);
    ASSERT_FALSE(found.records.empty());
    EXPECT_EQ(found.records[0].records.size(), inner);
    Damage damage;
    for (const RecordDamage& d : found.damage)
      damage.emplace_back(d.offset, d.flag);
    EXPECT_EQ(damage, expected);
  };
  finds("whole", whole, {});
  finds("size A of the outer record", changed(16, 0), {{16, 64}});
  finds("size A of an inner record", changed(31, 0xFF), {});
  finds("size B of an inner record", changed(35, 0xFF), {{30, 64}}, 1);
  finds("length of a text", changed(38, 99), {{38, 128}});
  finds("a tail", Joined(whole, {5, 0}), {{whole.size(), 128}});
  finds("a tail without sizes", Joined(whole, {5, 0, 0, 0}), {{whole.size() + 4, 512}});
}

TEST_F(RecordDamageTest, TheInspectorEndsAnOlderRecordWithItsLastMember) {
  KorText name = u"saw";
  const Bytes bytes = WriteRecords({}, [&](DiskFile& file) {
    for (int i = 0; i < 2; ++i) {
      file.BeginRecord(SampleTool::kClassId);
      file.Transfer(name);
      file.EndRecord();
    }
  });
  app.Put(app.Path(u"file"), TextOf(bytes));
  const RecordFileDescription found = DescribeRecordFile(app.Path(u"file"));
  ASSERT_EQ(found.records.size(), 2U);
  EXPECT_EQ(found.records[0].fields.size(), 1U);
  EXPECT_TRUE(found.damage.empty());
}

TEST_F(RecordDamageTest, TheInspectorTellsRecordFilesFromOthers) {
  using namespace std::string_literals;
  const auto isRecordFile = [&](const std::string& bytes) {
    app.Put(app.Path(u"file"), KorText::FromBytes(bytes));
    return DescribeRecordFile(app.Path(u"file")).isRecordFile;
  };
  EXPECT_TRUE(isRecordFile("\x05\0\0\0\x04\0\0\0abcd"s)) << "from before headers";
  EXPECT_FALSE(isRecordFile("\x05\0\0\0\x05\0\0\0abcd"s));
  EXPECT_FALSE(isRecordFile("[Port Settings]\r\nport=COM1\r\n") || isRecordFile(""));
  EXPECT_EQ(DescribeRecordFile(app.Path(u"missing")).result, FileResult::SourceUnreadable);
}

TEST(ClassRegistry, FindsEachNumberAndNoOther) {
  ClassRegistry registry;
  for (const std::uint64_t number : {0ULL, 1ULL, 15ULL, 16ULL, 0x100ULL, 100091201ULL, 103090701ULL,
                                     0xFFFFFFFFULL, 0xF000000000000000ULL, 0xFFFFFFFFFFFFFFFFULL}) {
    EXPECT_EQ(registry.Find(number), nullptr);
    EXPECT_TRUE(
        registry.Register({number, u"class", [] { return std::make_unique<SampleTool>(); }, {}}));
    ASSERT_NE(registry.Find(number), nullptr);
    EXPECT_EQ(registry.Find(number)->classId, number);
  }
  for (const std::uint64_t number : {2ULL, 0x1000000000000000ULL, 0xFFFFFFFEULL})
    EXPECT_EQ(registry.Create(number), nullptr);
  EXPECT_NE(registry.Create(15), nullptr);
  TestApp app;
  EXPECT_FALSE(registry.Register({15, u"again", {}, {}}));
  EXPECT_EQ(app.Warnings(), (Warnings{{u"Class registered multiple times!", u"again"}}));
  EXPECT_EQ(registry.Find(15)->name, u"class");
}

} // namespace
} // namespace kor
