#include "tools/korfile/describe.h"

#include <algorithm>

#include "files/disk_file.h"
#include "services/command_line/json.h"

namespace kor {
namespace {

// Larger contents are not inflated only to look for records in them.
constexpr std::uint64_t kLargestToInspect = 0x10000000;

double Ratio(const FileDescription& file) {
  return file.contents == 0 ? 1
                            : static_cast<double>(file.stored) / static_cast<double>(file.contents);
}

KorText Kind(const FileDescription& file) {
  const bool records = file.records && file.records->isRecordFile;
  if (!file.compressed) return records ? u"record file" : u"plain file";
  return KorText::Format(u"compressed file %i%s", file.container.year,
                         records ? u", holds a record file" : u"");
}

KorText CrcText(const FileCrc& crc) {
  return KorText::Format(u"%08X%08X", crc.high, crc.low);
}

template <class Item, class Render>
std::string JsonArray(const std::vector<Item>& items, Render render) {
  std::string list;
  for (const Item& item : items)
    list += (list.empty() ? "" : ", ") + render(item);
  return "[" + list + "]";
}

std::string BlockJson(const ContainerBlock& block) {
  return JsonObject()
      .Count("offset", block.offset)
      .Count("stored", block.stored)
      .Count("contents", block.inflated)
      .Finish();
}

std::string FieldJson(const RecordField& field) {
  return JsonObject()
      .Text("name", field.name)
      .Count("offset", field.offset)
      .Text("value", field.value)
      .Finish();
}

std::string RecordJson(const RecordNode& record) {
  return JsonObject()
      .Count("offset", record.offset)
      .Count("class", record.classId)
      .Text("name", record.className)
      .Count("sizeA", record.sizeA)
      .Count("sizeB", record.sizeB)
      .Count("body", record.body)
      .Count("end", record.end)
      .Json("fields", JsonArray(record.fields, FieldJson))
      .Json("records", JsonArray(record.records, RecordJson))
      .Finish();
}

std::string DamageJson(const RecordDamage& damage) {
  return JsonObject()
      .Count("offset", damage.offset)
      .Count("flag", damage.flag)
      .Text("what", DescribeRecordErrors(damage.flag))
      .Finish();
}

std::string RecordFileJson(const RecordFileDescription& file) {
  JsonObject json;
  if (file.fileType) json.Count("type", *file.fileType);
  return json.Number("sizeBits", file.wideSizes ? 64 : 32)
      .Number("sizesPerRecord", file.secondSize ? 2 : 1)
      .Flag("formatMarker", file.formatMarker)
      .Number("revision", file.revision)
      .Json("records", JsonArray(file.records, RecordJson))
      .Json("damage", JsonArray(file.damage, DamageJson))
      .Finish();
}

void DescribeLayout(FileDescription& file, SimpleFile& source) {
  file.stored = file.contents = source.Size();
  file.result = DescribeContainer(source, file.container, &file.fault);
  file.compressed = file.result != FileResult::WrongKind && file.container.year != 0;
  if (file.compressed) file.contents = file.container.inflated;
  if (file.result == FileResult::WrongKind || IsShortPlainFile(source))
    file.result = FileResult::Success;
}

std::string FaultJson(const ContainerFault& fault) {
  return JsonObject()
      .Count("block", fault.block)
      .Count("offset", fault.offset)
      .Text("reason", fault.reason)
      .Finish();
}

} // namespace

KorText ResultNumber(FileResult result) {
  return KorText::Format(u"0x%08X", static_cast<std::uint32_t>(result));
}

FileDescription DescribeFile(const KorText& path) {
  FileDescription file;
  file.path = path;
  SimpleFile source(path);
  if (!source.Open(kFileRead)) {
    file.result =
        FailSystem(&file.fault, FileResult::SourceUnreadable, 0, 0, u"the source can't be opened");
    return file;
  }
  DescribeLayout(file, source);
  return file;
}

void AddRecords(FileDescription& file) {
  if (file.result != FileResult::Success) return;
  if (file.compressed && file.contents > kLargestToInspect) return;
  RecordFileDescription records = DescribeRecordFile(file.path, &file.fault);
  if (records.result == FileResult::Failure && !file.fault.noMemory)
    Fail(&file.fault, records.result, 0, 0, u"the contents are damaged (korfile test tells where)");
  if (records.result != FileResult::Success) file.result = records.result;
  if (!records.isRecordFile) return;
  if (!records.damage.empty()) {
    const RecordDamage& first = records.damage[0];
    file.result = FileResult::Corrupt;
    file.fault = {0, first.offset, DescribeRecordErrors(first.flag)};
  }
  file.records = std::move(records);
}

std::vector<KorText> RenderDescription(const FileDescription& file) {
  std::vector<KorText> lines{file.path};
  const auto add = [&](const char16_t* name, const KorText& value) {
    lines.push_back(KorText::Format(u"  %-9s %s", name, value));
  };
  add(u"format", Kind(file));
  add(u"stored", KorText::Format(u"%u bytes", file.stored));
  if (file.compressed) {
    add(u"contents",
        KorText::Format(u"%u bytes in %u blocks", file.contents, file.container.blocks.size()));
    if (file.result == FileResult::Success)
      add(u"ratio", KorText::Format(u"%.1f %%", Ratio(file) * 100));
  }
  if (file.crc) add(u"checksum", CrcText(*file.crc));
  for (std::size_t i = 0; i < file.container.blocks.size(); ++i) {
    const ContainerBlock& block = file.container.blocks[i];
    lines.push_back(KorText::Format(u"  block %-5u at %-12u %10u bytes stored %10u contents", i,
                                    block.offset, block.stored, block.inflated));
  }
  if (!file.records) return lines;
  lines.emplace_back(u"  records");
  for (const KorText& line : RenderRecordFile(*file.records))
    lines.push_back(u"    " + line);
  return lines;
}

std::string RenderDescriptionJson(const FileDescription& file) {
  JsonObject json;
  json.Text("file", file.path).Text("result", ResultNumber(file.result));
  json.Text("format", file.compressed ? u"compressed" : u"plain");
  if (file.compressed) json.Number("year", file.container.year);
  json.Count("stored", file.stored).Count("contents", file.contents);
  if (file.result == FileResult::Success) json.Real("ratio", Ratio(file), 4);
  if (file.crc) json.Text("checksum", CrcText(*file.crc));
  if (file.compressed) json.Json("blocks", JsonArray(file.container.blocks, BlockJson));
  if (file.contentsCrc) json.Text("contentsChecksum", CrcText(*file.contentsCrc));
  if (file.result != FileResult::Success) json.Json("fault", FaultJson(file.fault));
  if (file.records) json.Json("recordFile", RecordFileJson(*file.records));
  return json.Finish();
}

std::string RenderFailureJson(const KorText& path, FileResult result, const ContainerFault& fault) {
  return JsonObject()
      .Text("file", path)
      .Text("result", ResultNumber(result))
      .Json("fault", FaultJson(fault))
      .Finish();
}

bool IsShortPlainFile(SimpleFile& file) {
  Signature header{};
  file.Seek(0);
  const std::size_t length = file.Read(header);
  const auto begins = [&](int year) {
    return std::equal(header.begin(), header.begin() + static_cast<std::ptrdiff_t>(length),
                      ContainerSignature(year).begin());
  };
  // As in a whole signature, more than half of it betrays one.
  const bool isCut = length > kSignatureSize / 2 && (begins(2004) || begins(2005));
  return file.Size() < kSignatureSize && !isCut;
}

} // namespace kor
