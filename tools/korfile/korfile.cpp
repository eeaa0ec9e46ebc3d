#include "tools/korfile/korfile.h"

#include <chrono>

#include "files/compressed_file.h"
#include "files/spooled_file.h"
#include "services/command_line/json.h"
#include "services/command_line/progress_bar.h"
#include "services/core/app_interface.h"
#include "tools/korfile/describe.h"
#include "tools/korfile/options.h"

namespace kor {
namespace {

constexpr std::size_t kReadSize = 0x100000;

ProgressBar::Time Now() {
  return std::chrono::duration_cast<ProgressBar::Time>(
      std::chrono::duration<double>(App().HighResolutionSeconds()));
}

struct Failure {
  FileResult result = FileResult::Success;
  ContainerFault fault;
};

const char16_t* Remedy(KorfileCommand command, const Failure& failure) {
  const bool compressing = command == KorfileCommand::Compress;
  if (failure.fault.noMemory) return u"Close other programs, or work with fewer threads (-j 1).";
  switch (failure.result) {
  case FileResult::DestinationUnwritable:
    return u"Check the free space and your right to write in that folder; an older file is whole.";
  case FileResult::WrongKind:
    return compressing ? u"Nothing needs to be done." : u"Use it as it is.";
  case FileResult::SourceUnreadable:
    return failure.fault.systemError != 0
               ? u"Check the file's name and your right to read it."
               : u"The file was cut off: take it from a backup or from where it came from.";
  case FileResult::Failure:
    if (compressing) return u"Keep the file as it is.";
    [[fallthrough]];
  default:
    return u"Take the file from a backup or from where it came from.";
  }
}

class Korfile {
 public:
  Korfile(const KorfileOptions& toFollow, const KorfileOutput& toUse)
      : options(toFollow), output(toUse), bar(output.progress != nullptr ? *output.progress : none,
                                              output.progress != nullptr && !toFollow.quiet) {}

  int Run() {
    int exitCode = 0;
    for (const KorText& file : options.files) {
      const int code = KorfileExitCode(RunOn(file));
      if (exitCode == 0) exitCode = code;
      if (output.isCancelled()) break;
    }
    return exitCode;
  }

 private:
  FileResult RunOn(const KorText& file) {
    App().SetLastError(0);
    const SpooledFile spooled(file, [this] { return !output.isCancelled(); });
    if (spooled.Result() != FileResult::Success) return ReportUnread(file, spooled.Result());
    source = spooled.Path();
    switch (options.command) {
    case KorfileCommand::Compress:
    case KorfileCommand::Restore:
      return Convert(file);
    case KorfileCommand::Info:
      return Info(file);
    case KorfileCommand::Test:
      return Test(file);
    case KorfileCommand::Crc:
      return Crc(file);
    }
    return FileResult::Failure;
  }

  FileResult ReportUnread(const KorText& file, FileResult result) {
    Failure failure{result, {}};
    if (result == FileResult::Failure)
      Fail(&failure.fault, result, 0, 0, u"cancelled");
    else
      FailSystem(&failure.fault, result, 0, 0,
                 result == FileResult::SourceUnreadable ? u"the source can't be read in full"
                                                        : u"the temporary folder can't be written");
    return ReportFailure(file, failure);
  }

  CompressOptions Settings(const KorText& file, Failure& failure) {
    CompressOptions settings{.workers = options.threads, .fault = &failure.fault};
    const std::optional<FileInfo> info = App().FileAttributes(source);
    bar.Start(file.ToUtf8(), info ? info->size : 0, Now());
    settings.progress = [this](std::uint64_t done, std::uint64_t) {
      bar.Update(done, Now());
      return !output.isCancelled();
    };
    return settings;
  }

  FileResult Convert(const KorText& file) {
    Failure failure;
    const KorText& target = options.target.IsEmpty() ? file : options.target;
    const CompressOptions settings = Settings(file, failure);
    failure.result = options.command == KorfileCommand::Compress
                         ? CompressFile(source, target, OpenWait::No, settings)
                         : DecompressFile(source, target, OpenWait::No, settings);
    bar.Finish();
    if (options.command == KorfileCommand::Restore) ExcuseShortFile(source, failure);
    if (failure.result != FileResult::Success) return ReportFailure(file, failure);
    if (options.json || !options.quiet) ReportConversion(file, target);
    return failure.result;
  }

  // A plain file may be shorter than a signature.
  static void ExcuseShortFile(const KorText& path, Failure& failure) {
    SimpleFile file(path);
    if (failure.result != FileResult::SourceUnreadable || failure.fault.systemError != 0) return;
    if (file.Open(kFileRead) && IsShortPlainFile(file))
      failure.result = Fail(&failure.fault, FileResult::WrongKind, 0, 0, u"not a compressed file");
  }

  FileResult ReportFailure(const KorText& file, const Failure& failure) {
    if (options.json) PrintJson(RenderFailureJson(file, failure.result, failure.fault));
    return Complain(file, failure);
  }

  void ReportConversion(const KorText& file, const KorText& target) {
    FileDescription made;
    SimpleFile opened(target);
    if (opened.Open(kFileRead)) {
      made.stored = made.contents = opened.Size();
      made.compressed = options.command == KorfileCommand::Compress;
      if (made.compressed) DescribeContainer(opened, made.container);
      if (made.compressed) made.contents = made.container.inflated;
    }
    made.path = target;
    if (options.json) return PrintJson(RenderDescriptionJson(made));
    if (!made.compressed)
      return output.print(KorText::Format(u"%s: %u bytes restored", file, made.contents));
    output.print(
        KorText::Format(u"%s: %u bytes compressed to %u", file, made.contents, made.stored));
  }

  FileResult Info(const KorText& file) {
    FileDescription description = DescribeFile(source);
    AddRecords(description);
    description.path = file;
    Failure failure{description.result, description.fault};
    if (failure.fault.systemError == 0) description.crc = ChecksumOf(file, failure);
    bar.Finish();
    if (options.json) {
      description.result = failure.result;
      description.fault = failure.fault;
      PrintJson(RenderDescriptionJson(description));
    } else if (description.crc) {
      for (const KorText& line : RenderDescription(description))
        output.print(line);
    }
    return failure.result == FileResult::Success ? failure.result : Complain(file, failure);
  }

  // Inflates a compressed file, reads a plain one, and looks into the records of a record file.
  FileResult Test(const KorText& file) {
    FileDescription description = DescribeFile(source);
    Failure failure{description.result, description.fault};
    if (failure.result == FileResult::Success)
      (description.compressed ? description.contentsCrc : description.crc) =
          description.compressed ? InflatedChecksum(file, failure) : ChecksumOf(file, failure);
    if (failure.result == FileResult::Success) {
      AddRecords(description);
      failure = {description.result, description.fault};
    }
    bar.Finish();
    description.path = file;
    description.result = failure.result;
    description.fault = failure.fault;
    if (options.json) PrintJson(RenderDescriptionJson(description));
    if (failure.result != FileResult::Success) return Complain(file, failure);
    if (!options.json && !options.quiet)
      output.print(KorText::Format(u"%s: whole, %u bytes", file, description.contents));
    return failure.result;
  }

  FileResult Crc(const KorText& file) {
    Failure failure;
    const bool inflate = options.contents && IsCompressedFile(source);
    const auto crc = inflate ? InflatedChecksum(file, failure) : ChecksumOf(file, failure);
    bar.Finish();
    if (!crc) return ReportFailure(file, failure);
    const KorText number = KorText::Format(u"%08X%08X", crc->high, crc->low);
    if (options.json)
      PrintJson(JsonObject()
                    .Text("file", file)
                    .Text(inflate ? "contentsChecksum" : "checksum", number)
                    .Count("count", crc->count)
                    .Finish());
    else
      output.print(KorText::Format(u"%s  %s", number, file));
    return FileResult::Success;
  }

  // Computes the checksum of the file as it lies. Returns nothing, and notes the failure, when the
  // file can't be read or the work is cancelled.
  std::optional<FileCrc> ChecksumOf(const KorText& file, Failure& failure) {
    const CompressOptions settings = Settings(file, failure);
    SimpleFile read(source);
    FileCrc crc;
    VoidBuffer bytes;
    bool good = read.Open(kFileRead) && bytes.Resize(kReadSize);
    while (good && !read.AtEnd()) {
      const std::size_t wanted = std::min<std::uint64_t>(kReadSize, read.Size() - read.Position());
      good = read.Read(bytes.Bytes().first(wanted)) == wanted;
      crc.Add(bytes.Bytes().first(good ? wanted : 0));
      if (good && settings.progress(read.Position(), read.Size())) continue;
      if (good) failure.result = Fail(&failure.fault, FileResult::Failure, 0, 0, u"cancelled");
      if (good) return std::nullopt;
    }
    if (good) return crc;
    failure.result = FailSystem(&failure.fault, FileResult::SourceUnreadable, 0, read.Position(),
                                u"the source can't be read in full");
    return std::nullopt;
  }

  std::optional<FileCrc> InflatedChecksum(const KorText& file, Failure& failure) {
    CompressOptions settings = Settings(file, failure);
    FileCrc crc;
    settings.contentCrc = &crc;
    SimpleFile read(source);
    if (!read.Open(kFileRead))
      failure.result = FailSystem(&failure.fault, FileResult::SourceUnreadable, 0, 0,
                                  u"the source can't be opened");
    else
      failure.result = DecompressFile(read, nullptr, nullptr, settings);
    return failure.result == FileResult::Success ? std::optional(crc) : std::nullopt;
  }

  FileResult Complain(const KorText& file, const Failure& failure) {
    const ContainerFault& fault = failure.fault;
    KorText system;
    if (fault.systemError != 0)
      system = KorText::Format(u" (%s)", App().ErrorText(fault.systemError));
    const bool hasPlace = fault.block != 0 || fault.offset != 0;
    const KorText place =
        hasPlace ? KorText::Format(u"block %u at offset %u: ", fault.block, fault.offset)
                 : KorText();
    const bool isTarget =
        failure.result == FileResult::DestinationUnwritable && !options.target.IsEmpty();
    output.complain(KorText::Format(u"korfile: %s: %s%s%s. %s [%s]",
                                    isTarget ? options.target : file, place, fault.reason, system,
                                    output.isCancelled() ? u"An older file is whole."
                                                         : Remedy(options.command, failure),
                                    ResultNumber(failure.result)));
    return failure.result;
  }

  void PrintJson(const std::string& json) { output.print(KorText::FromUtf8(json)); }

  const KorfileOptions& options;
  const KorfileOutput& output;
  std::ostream none{nullptr};
  ProgressBar bar;
  KorText source; // where the bytes of the file in hand are read
};

} // namespace

int KorfileExitCode(FileResult result) {
  const auto offset = static_cast<int>(static_cast<std::uint32_t>(result) -
                                       static_cast<std::uint32_t>(FileResult::Failure));
  if (result == FileResult::Success) return 0;
  return offset == 0 ? 1 : offset + kWrongCommandLine; // 2 is taken by the wrong command line
}

int RunKorfile(const std::vector<KorText>& arguments, const KorfileOutput& output) {
  KorfileOptions options;
  const CommandLineAnswer answer = ReadKorfileOptions(arguments, options);
  if (const auto code = answer.Tell(output)) return *code;
  return Korfile(options, output).Run();
}

} // namespace kor
