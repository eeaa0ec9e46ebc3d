#include "files/disk_file.h"

#include <chrono>

#include "services/core/text_lookup.h"
#include "tests/files/file_test_support.h"
#include "tests/support/record_samples.h"

namespace kor {
namespace {

using Reader = std::function<void(DiskFile&)>;

const RecordFormat kNarrow;
const RecordFormat kWide{{}, true, 2};
const RecordFormat kTyped{{77, 78}, false, 1};

// Numbers as the file has them.
Bytes Dwords(std::initializer_list<std::uint32_t> numbers) {
  Bytes bytes;
  for (const std::uint32_t number : numbers)
    AppendNumber(bytes, number);
  return bytes;
}
const Bytes kHeader = Dwords({17099701, 2410100, 19020200});

// Opens a record of class 5 and moves the numbers.
template <class... Numbers> Reader Record(Numbers&... numbers) {
  return [&](DiskFile& file) {
    if (!file.BeginRecord(5)) return;
    (file.Transfer(numbers), ...);
    file.EndRecord();
  };
}

class DiskFileTest : public testing::Test {
 protected:
  DiskFileTest() { RegisterSamples(); }
  static void ExpectReads(const Bytes& bytes, const Reader& reader) {
    EXPECT_EQ(ReadRecords(bytes, kNarrow, reader), 0U);
  }
  TestApp app;
};

TEST_F(DiskFileTest, ObjectsComeBackAsTheyWereInEveryFormat) {
  SampleRobot robot;
  FillSample(robot);
  robot.arms = 7;
  // Past several blocks, so that sizes are patched behind the block cache and texts span blocks.
  robot.jobs.assign(20000, u"123456789");
  robot.jobs.push_back(KorText(200000, u'x'));
  for (const RecordFormat& format : {kNarrow, kWide, kTyped, RecordFormat{{}, false, 1}}) {
    for (const bool compressed : {false, true}) {
      const KorText path = app.Path(u"robot.rec");
      const RecordFileOptions options{format, compressed, true, {}};
      ASSERT_TRUE(SaveObject(path, robot, options));
      SampleRobot read;
      ASSERT_TRUE(LoadObject(path, read, options));
      EXPECT_TRUE(read == robot);
      EXPECT_EQ(read.arms, 7);
      EXPECT_EQ(read.left, read.right);
      EXPECT_NE(dynamic_cast<SampleMachine*>(read.parts[1].get()), nullptr);
    }
  }
  EXPECT_TRUE(app.Messages().empty());
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(DiskFileTest, AnOlderRecordLeavesNewFieldsAloneAndANewerOneIsSkippedToItsEnd) {
  std::uint32_t one = 1, two = 2, three = 3, next = 9;
  const Bytes bytes = WriteRecords(kNarrow, [&](DiskFile& file) {
    Record(one, two, three)(file);
    Record(next)(file);
  });
  std::uint32_t a = 0, b = 0, c = 0, missing = 42;
  std::uint8_t alsoMissing = 43;
  KorText text = u"kept";
  ExpectReads(bytes, [&](DiskFile& file) {
    ASSERT_TRUE(file.BeginRecord(5));
    EXPECT_EQ(file.BytesLeft(), 12U);
    EXPECT_TRUE(file.Transfer(a) && file.Transfer(b) && file.Transfer(c));
    EXPECT_FALSE(file.Transfer(missing) || file.Transfer(alsoMissing));
    EXPECT_FALSE(file.Transfer(text) || file.SectionMark());
    file.EndRecord();
    Record(a)(file);
  });
  EXPECT_EQ(std::tie(a, b, c, missing), std::make_tuple(9U, 2U, 3U, 42U));
  EXPECT_EQ(alsoMissing, 43);
  EXPECT_EQ(text, u"kept");

  a = b = 0;
  ExpectReads(bytes, [&](DiskFile& file) {
    Record(a)(file);
    Record(b)(file);
  });
  EXPECT_EQ(std::tie(a, b), std::make_tuple(1U, 9U));
}

TEST_F(DiskFileTest, MoreBytesThanABlockGoPastItAndALongTextIsPassedOver) {
  KorText text(40000, u'x');
  Bytes many = MakeBytes(0x280001, 200), read(many.size());
  std::uint32_t one = 1, two = 2, a = 0, b = 0;
  const Bytes bytes = WriteRecords(kNarrow, [&](DiskFile& file) {
    file.BeginRecord(5);
    EXPECT_TRUE(file.Transfer(one) && file.Transfer(many.data(), many.size()));
    EXPECT_TRUE(file.Transfer(text) && file.Transfer(two));
    file.EndRecord();
  });
  ExpectReads(bytes, [&](DiskFile& file) {
    ASSERT_TRUE(file.BeginRecord(5));
    EXPECT_TRUE(file.Transfer(a) && file.Transfer(read.data(), read.size()));
    EXPECT_TRUE(file.SkipText() && file.Transfer(b));
    file.EndRecord();
  });
  EXPECT_EQ(std::tie(a, b), std::make_tuple(1U, 2U));
  EXPECT_TRUE(read == many);
}

TEST_F(DiskFileTest, NothingIsMovedWhereThereIsNoRecordAndAMissingOneReadsAsEmpty) {
  KorText text = u"kept";
  DiskFile closed;
  closed.ReportErrors(false);
  EXPECT_FALSE(closed.TransferHeader() || closed.BeginRecord(5) || closed.Transfer(text));
  ASSERT_TRUE(closed.OpenMemory(kFileWrite));
  closed.SetError(kErrorCancelled);
  EXPECT_FALSE(closed.TransferHeader() || closed.BeginRecord(5) || closed.Transfer(text));
  EXPECT_EQ(closed.StreamPosition(), 0u);
  std::uint32_t one = 1;
  const Bytes bytes = WriteRecords(kNarrow, Record(one));
  std::uint32_t value = 7;
  ExpectReads(bytes, [&](DiskFile& file) {
    EXPECT_FALSE(file.Transfer(value));
    ASSERT_TRUE(file.BeginRecord(5));
    file.Transfer(one);
    auto inner = file.BeginRecord(6); // behind the end of its record
    EXPECT_TRUE(inner.open && !inner.present && inner.object == nullptr);
    EXPECT_FALSE(file.Transfer(value));
    file.EndRecord();
    file.EndRecord();
    EXPECT_FALSE(file.BeginRecord(5)); // at the end of the file
    EXPECT_EQ(file.RecordDepth(), 0U);
  });
  EXPECT_EQ(value, 7U);
}

TEST_F(DiskFileTest, HeadersFromBeforeAFieldExistedStillRead) {
  const Bytes oneSize = Dwords({5, 4, 11}), twoSizes = Dwords({5, 8, 4, 11});
  const Bytes wide = Dwords({5, 12, 0, 4, 0, 11});
  std::uint32_t value = 0;
  const auto reads = [&](const char* what, const Bytes& bytes, const RecordFormat& format,
                         bool secondSize, bool wideSizes, bool marker, int revision) {
    SCOPED_TRACE(what);
    value = 0;
    const Reader reader = [&](DiskFile& file) {
      EXPECT_EQ(file.HasSecondSize(), secondSize);
      EXPECT_EQ(file.WideSizes(), wideSizes);
      EXPECT_EQ(file.HasFormatMarker(), marker);
      EXPECT_EQ(file.Revision(), revision);
      EXPECT_EQ(file.FileType(), format.fileTypes.empty() ? 0U : 78U);
      Record(value)(file);
    };
    EXPECT_EQ(ReadRecords(bytes, format, reader), 0U);
    EXPECT_EQ(value, 11U);
  };
  reads("whole", Joined(kHeader, twoSizes), kNarrow, true, false, true, 2);
  reads("wide", Joined(Dwords({28062022, 2410100, 19020200}), wide), kNarrow, true, true, true, 2);
  reads("revision 1", Joined(Dwords({17099701, 2410100}), twoSizes), kWide, true, false, true, 1);
  reads("no size marker", Joined(Dwords({2410100}), oneSize), kNarrow, false, false, true, 1);
  reads("no header", oneSize, kWide, false, false, false, 1);
  reads("second type", Joined(Dwords({78, 17099701}), twoSizes), kTyped, true, false, false, 1);
  value = 0;
  const Bytes otherType = Joined(Dwords({79, 17099701}), twoSizes);
  EXPECT_EQ(ReadRecords(otherType, kTyped, Record(value)), 32U);
  EXPECT_EQ(ReadRecords({77, 0, 0}, kTyped, Record(value)), 128U) << "the type is cut";
  EXPECT_EQ(value, 0U);
}

TEST_F(DiskFileTest, EachFaultSetsItsFlagAndLeavesAloneWhatItReads) {
  std::uint32_t number = 0;
  KorText text = u"before";
  std::vector<std::uint64_t> list = {1};
  const auto sets = [&](std::uint32_t flag, const char* by, const Bytes& body, const Reader& read) {
    SCOPED_TRACE(by);
    EXPECT_EQ(ReadRecords(Joined(kHeader, body), kNarrow, read), flag);
    EXPECT_EQ(number, 0U);
    EXPECT_EQ(text, u"before");
    EXPECT_EQ(list.size(), 1U);
  };
  const Reader create = [](DiskFile& file) { file.BeginRecord(0, DiskFile::NewObject::Create); };
  const Reader nested = [](DiskFile& file) { file.BeginRecord(5), file.BeginRecord(6); };
  const Reader mark = [](DiskFile& file) { file.BeginRecord(5), file.SectionMark(); };
  sets(1, "another class", Dwords({6, 8, 4, 11}), Record(number));
  sets(1, "unregistered class", Dwords({6, 8, 4, 11}), create);
  sets(64, "size B above size A", Dwords({5, 3, 4, 11}), Record(number));
  sets(64, "size B past the file", Dwords({5, 9, 5, 11}), Record(number));
  sets(64, "record past its enclosing one", Dwords({5, 16, 12, 6, 9, 5, 0, 0}), nested);
  sets(64, "no section mark", Dwords({5, 8, 4, 11}), mark);
  sets(128, "class number cut", {5, 0}, Record(number));
  sets(128, "size cut", Joined(Dwords({5}), {8, 0}), Record(number));
  sets(128, "text longer than its record", Dwords({5, 12, 8, 3, 0}), Record(text));
  sets(128, "text of 8 GiB", Dwords({5, 12, 8, 0xFFFFFFFF, 0}), Record(text));
  sets(128, "more elements than bytes", Dwords({5, 20, 16, 2, 0, 0, 0}), Record(list));
  sets(512, "size A behind the file", Dwords({5}), Record(number));
  sets(512, "size B behind the file", Dwords({5, 8}), Record(number));
  DiskFile writing;
  writing.OpenMemory(kFileWrite);
  EXPECT_FALSE(writing.BeginRecord(5, DiskFile::NewObject::Create));
  EXPECT_EQ(writing.Errors(), 16U);
}

TEST_F(DiskFileTest, UnknownObjectsAreSkippedWhereThatIsAllowed) {
  std::uint32_t lost = 1, kept = 2;
  const Bytes bytes = WriteRecords(kNarrow, [&](DiskFile& file) {
    Record(lost)(file);
    SampleTool tool(u"saw", 2);
    file.TransferObject(tool);
    Record(kept)(file);
  });
  std::unique_ptr<SampleTool> none, tool;
  std::unique_ptr<SampleMachine> notATool;
  ExpectReads(bytes, [&](DiskFile& file) {
    EXPECT_FALSE(file.TransferNewObject(none, DiskFile::OtherClass::Skip));
    EXPECT_TRUE(file.TransferNewObject(tool));
    Record(lost)(file);
  });
  ASSERT_NE(tool, nullptr);
  EXPECT_EQ(tool->name, u"saw");
  EXPECT_EQ(lost, 2U);
  EXPECT_EQ(ReadRecords(bytes, kNarrow,
                        [&](DiskFile& file) {
                          file.TransferNewObject(none, DiskFile::OtherClass::Skip);
                          file.TransferNewObject(notATool);
                        }),
            1U);
  EXPECT_EQ(notATool, nullptr);
}

TEST_F(DiskFileTest, ObjectsNestedWithoutEndAreRefused) {
  Bytes bytes = kHeader;
  constexpr std::uint32_t kLevels = 100000;
  for (std::uint32_t left = kLevels; left > 0; --left)
    bytes = Joined(std::move(bytes), Dwords({5, 12 * left - 8, 12 * left - 12}));
  std::size_t depth = 0;
  EXPECT_EQ(ReadRecords(bytes, kNarrow,
                        [&](DiskFile& file) {
                          while (file.BeginRecord(5))
                            depth = file.RecordDepth();
                        }),
            64U);
  EXPECT_EQ(depth, DiskFile::kDeepestRecord);
}

TEST_F(DiskFileTest, EachKindOfErrorIsReportedOnce) {
  SetTextLookup([](int number) {
    if (number == 15631) return KorText(u"\u00BF%s?"); // no sign is put behind a word by the code
    return number == 251 ? KorText(u"Fehler") : number == 1492 ? KorText(u"Weiter") : KorText();
  });
  ReadRecords(
      kHeader, kNarrow,
      [](DiskFile& file) {
        file.SetError(kErrorInconsistent | kErrorShortRead);
        file.SetError(kErrorShortRead);
        file.SetErrorQuestion(ErrorQuestion::Continue);
        file.SetError(kErrorUnknownClass);
        EXPECT_EQ(file.ErrorAnswer(), 1);
      },
      true);
  SetTextLookup({});
  const auto messages = app.Messages();
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(messages[0].info, u"File Error");
  EXPECT_EQ(messages[0].number, 192);
  EXPECT_EQ(messages[0].message, u"A problem occurred with the file \"memory\" -\n\n Fehler 192 - "
                                 u"inconsistent sizes, unexpected end of data");
  EXPECT_EQ(messages[1].message, u"A problem occurred with the file \"memory\" -\n\n Fehler 1 - "
                                 u"unknown kind of object\n\n\u00BFWeiter?");
  EXPECT_EQ(messages[1].level, MessageLevel::Query);
}

TEST_F(DiskFileTest, WideValuesInNarrowFilesWarnAndKeepTheirLowHalf) {
  std::uint64_t big = 0x1'2345'6789, small = 0xFFFFFFFF;
  std::int64_t bigInt = 0x1'0000'0002, negative = -3;
  const Reader move = [&](DiskFile& file) {
    file.BeginRecord(5);
    file.CompatibleDword(big);
    file.CompatibleDword(small);
    file.CompatibleInt(bigInt);
    file.CompatibleInt(negative);
    file.EndRecord();
  };
  const Bytes wide = WriteRecords(kWide, move);
  EXPECT_TRUE(app.Warnings().empty());
  const Bytes narrow = WriteRecords(kNarrow, move);
  EXPECT_EQ(app.Warnings(),
            (Warnings{{u"Size is too big for 32bit!", u"DiskFile::ioCompatibleDWORD"},
                      {u"Size is too big for 32bit!", u"DiskFile::ioCompatibleInt"}}));
  big = small = 0;
  bigInt = negative = 0;
  ReadRecords(wide, kNarrow, move);
  EXPECT_EQ(std::tie(big, small, bigInt, negative),
            std::make_tuple(0x1'2345'6789U, 0xFFFFFFFFU, 0x1'0000'0002, -3));
  ReadRecords(narrow, kNarrow, move);
  EXPECT_EQ(std::tie(big, small, bigInt, negative),
            std::make_tuple(0x2345'6789U, 0xFFFFFFFFU, 2, -3));
  app.ForgetReports();
  WriteRecords(kNarrow, move);
  EXPECT_TRUE(app.Warnings().empty()) << "now they fit";

  std::uint8_t buffer[4] = {1, 2, 3, 4};
  const Bytes bytes = WriteRecords(kNarrow, [&](DiskFile& file) {
    file.Transfer(buffer, 0x1'0000'0002); // only its low half counts
  });
  EXPECT_EQ(bytes.size(), kHeader.size() + 2);
  EXPECT_EQ(app.Warnings(), (Warnings{{u"Buffer is too big for 32bit!", u"DiskFile::Transfer"}}));
}

TEST_F(DiskFileTest, EqualObjectsAreReadBackSharedAndOnesThatWereNeverWrittenAreNone) {
  const SampleTool saw(u"saw", 1), drill(u"drill", 2);
  std::vector<std::shared_ptr<SampleTool>> held{std::make_shared<SampleTool>(saw),
                                                std::make_shared<SampleTool>(drill), nullptr,
                                                std::make_shared<SampleTool>(saw)};
  const Reader move = [&](DiskFile& file) {
    file.BeginRecord(5);
    for (auto& tool : held)
      file.CachedInstance(tool);
    file.EndRecord();
  };
  const Bytes bytes = WriteRecords(kNarrow, move);
  held.assign(4, std::make_shared<SampleTool>(u"old", 0));
  ExpectReads(bytes, move);
  EXPECT_EQ(*held[0], saw);
  EXPECT_EQ(*held[1], drill);
  EXPECT_EQ(held[2], nullptr);
  EXPECT_EQ(held[3], held[0]);

  const Bytes lost = Joined(kHeader, Dwords({5, 20, 16, SampleTool::kClassId, 1, 2, 3}));
  held.resize(1);
  ExpectReads(lost, move);
  EXPECT_EQ(held[0], nullptr);
  EXPECT_EQ(app.Warnings(), (Warnings{{u"DiskFile::ioCachedInstance", u"CRC does not exist!"}}));
}

TEST_F(DiskFileTest, ProgressIsToldPerBlockAndCanCancel) {
  std::vector<std::uint32_t> list(3 * DiskFile::kBlockSize / 4);
  const Bytes bytes = WriteRecords(kNarrow, Record(list));
  int blocks = 0;
  const auto read = [&](int cancelAfter) {
    DiskFile file;
    file.ReportErrors(false);
    file.OpenMemory(kFileRead, VoidBuffer(bytes));
    file.SetProgress([&](double position, double size) {
      EXPECT_LE(position, size);
      EXPECT_EQ(size, static_cast<double>(bytes.size()));
      return ++blocks < cancelAfter;
    });
    file.TransferHeader();
    Record(list)(file);
    return file.Errors();
  };
  EXPECT_EQ(read(100), 0U);
  EXPECT_EQ(blocks, 4);
  blocks = 0;
  EXPECT_EQ(read(2), 2048U);
  EXPECT_EQ(blocks, 2);
  SampleRobot robot;
  const RecordFileOptions whole{kNarrow, false, false, {}};
  RecordFileOptions cancelled = whole;
  cancelled.progress = [](double, double) { return false; };
  EXPECT_FALSE(SaveObject(app.Path(u"robot"), robot, cancelled));
  EXPECT_TRUE(SaveObject(app.Path(u"robot"), robot, whole));
  EXPECT_FALSE(LoadObject(app.Path(u"robot"), robot, cancelled));
}

TEST_F(DiskFileTest, ATransferThatForgetsToEndItsRecordDoesNoHarm) {
  struct Careless : Storable {
    std::uint32_t ClassId() const override { return 5; }
    void Transfer(DiskFile& file) override { file.Transfer(value); }
    std::uint32_t value = 3;
  } careless;
  std::uint32_t after = 4;
  const Reader move = [&](DiskFile& file) {
    file.TransferObject(careless);
    Record(after)(file);
  };
  const Bytes bytes = WriteRecords(kNarrow, move);
  careless.value = after = 0;
  ExpectReads(bytes, move);
  EXPECT_EQ(std::tie(careless.value, after), std::make_tuple(3U, 4U));
  EXPECT_EQ(app.Warnings(), Warnings(2, {u"Record was not ended!", u"DiskFile"}));
}

TEST_F(DiskFileTest, DatesThatAreNoneReadAsNone) {
  using namespace std::chrono;
  for (const std::uint16_t y : std::initializer_list<std::uint16_t>{0, 2000, 2023, 2024, 2100})
    for (std::uint8_t m = 0; m <= 13; ++m)
      for (std::uint8_t d = 0; d <= 32; ++d) {
        const year_month_day date{year(y), month(m), day(d)};
        EXPECT_EQ(IsCalendarDate({y, m, d}), y != 0 && date.ok()) << y << "-" << +m << "-" << +d;
      }
  const auto readBack = [](CalendarDate written) {
    CalendarDate date{1999, 1, 1};
    ExpectReads(WriteRecords(kNarrow, Record(written)), Record(date));
    return date;
  };
  EXPECT_EQ(readBack({2024, 2, 29}), (CalendarDate{2024, 2, 29}));
  EXPECT_EQ(readBack({2023, 2, 29}), CalendarDate());
  EXPECT_EQ(readBack({}), CalendarDate());
}

} // namespace
} // namespace kor
