#include "services/dictionary/text_holder.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "files/container_layout.h"
#include "files/kor_file.h"
#include "files/paths.h"
#include "services/core/app_interface.h"
#include "services/core/user_texts.h"

namespace kor {
namespace {

// What message boxes need before a dictionary is loaded, or without one.
constexpr UserText kBuiltInTexts[] = {
    kTexts.ok,
    kTexts.cancel,
    kTexts.no,
    kTexts.yes,
    kTexts.warning,
    kTexts.problem,
    kTexts.continueAnyway,
    kTexts.close,
    kTexts.yesToAll,
    kTexts.retry,
    kTexts.noToAll,
    kTexts.abort,
    kTexts.dontShowAgain,
    kTexts.quit,
};

constexpr std::u16string_view kSourcePrimary = u"en";

struct Reference {
  std::int32_t id = 0;
  std::size_t length = 0; // characters, the "^" included
};

// At a "^". A number beyond every table stays beyond it.
Reference ReadReference(std::u16string_view text) {
  std::int64_t number = 0;
  std::size_t at = 1;
  for (; at < text.size() && IsDigit(text[at]); ++at)
    number = std::min<std::int64_t>(number * 10 + (text[at] - u'0'), TextHolder::kEditing);
  return {static_cast<std::int32_t>(number), at};
}

// "de_DE.UTF-8" and "de-DE" are the same language.
KorText LanguageCode(std::u16string_view request) {
  KorText code(request.substr(0, request.find_first_of(u".@")));
  return code.ReplaceAll(u'_', u'-');
}

KorText PrimaryLanguage(const KorText& code) {
  return code.Left(code.Find(u'-'));
}

} // namespace

// --- Lookup ---

std::optional<std::u16string_view> TextHolder::FindText(std::int32_t id) const {
  if (id < 0 || static_cast<std::size_t>(id) >= offsets.size()) return std::nullopt;
  const std::uint64_t place = offsets[static_cast<std::size_t>(id)];
  if (place == 0) return std::nullopt;
  return std::u16string_view(pool.c_str() + (place - 1));
}

KorText TextHolder::Text(std::int32_t id) const {
  if (const auto text = FindText(id)) return *text;
  for (const auto& [number, text] : kBuiltInTexts)
    if (number == id) return text;
  return {};
}

std::optional<std::u16string_view> TextHolder::FindTextRef(std::u16string_view reference) const {
  if (!reference.starts_with(u'^')) return std::nullopt;
  return FindText(ReadReference(reference).id);
}

KorText TextHolder::TextRef(std::u16string_view reference) const {
  return FindTextRef(reference).value_or(std::u16string_view());
}

bool TextHolder::Expand(KorText& text) const {
  std::size_t mark = text.Find(u'^');
  if (mark == KorText::kNone) return false;
  KorText expanded;
  bool replaced = false;
  std::u16string_view rest = text.View();
  while (mark != KorText::kNone) {
    expanded += rest.substr(0, mark);
    rest.remove_prefix(mark);
    const Reference reference = ReadReference(rest);
    const auto found = FindText(reference.id);
    expanded += found.value_or(rest.substr(0, reference.length));
    replaced = replaced || found.has_value();
    rest.remove_prefix(reference.length);
    mark = rest.find(u'^');
  }
  expanded += rest;
  text = std::move(expanded);
  return replaced;
}

// --- Loading ---

void TextHolder::Clear() {
  loaded = false;
  pool = {};
  offsets = {};
  languages.clear();
  entries.clear();
  categories.clear();
  selector = kSourceTexts;
  path.Clear();
  ClearChanges();
}

void TextHolder::StartEditing(const KorText& newPath) {
  KorText kept = newPath; // it may be this object's own
  Clear();
  loaded = true;
  selector = kEditing;
  path = std::move(kept);
  TextCatagory& general = categories.emplace_back();
  general.name = u"General";
}

bool TextHolder::Load(const KorText& file, std::int32_t languageSelector, Failures failures,
                      const KorText& requestedLanguage) {
  const KorText folder =
      FolderOfPath(file).IsEmpty() ? App().GetApplicationPropertyPath(kProgramFolder) : KorText();
  const KorText named = folder + file; // a copy: the argument may be this object's own path
  Clear();
  const KorText found = App().FileExists(named) ? named : App().LocateFile(named);
  selector = languageSelector;
  if (!found.IsEmpty() && ReadFile(found, requestedLanguage)) {
    loaded = true;
    path = found;
    if (!IsEditing()) SetFailureNotice();
    return true;
  }
  Clear();
  if (failures == Failures::Reported)
    App().Report({MessageLevel::Warn, u"Error Opening Specified Dictionary", named, {}, 0});
  return false;
}

// Looked at before anything is inflated.
bool TextHolder::IsTooLarge(const KorText& file) {
  SimpleFile source(file);
  return source.Open(kFileRead) && std::max(source.Size(), InflatedSize(source)) > kLargestFile;
}

// The file lies compressed. One that is not is opened once more, as it is.
bool TextHolder::ReadFile(const KorText& file, const KorText& requestedLanguage) {
  if (IsTooLarge(file)) return false;
  KorFile source(file);
  FileResult result = FileResult::Success;
  if (!source.Open(kFileRead, OpenWait::No, Compression::Yes, &result)) {
    if (result != FileResult::WrongKind || !source.Open(kFileRead)) return false;
  }
  VoidBuffer bytes;
  if (source.InMemory()) {
    bytes = VoidBuffer(source.MemoryBytes());
  } else {
    const auto content = source.ReadAll();
    if (!content) return false;
    bytes = VoidBuffer(*content);
  }
  source.Close();
  if (selector == kChooseLanguage || selector == kChooseLanguageToo) {
    // The languages stand at the end, so that a choice takes a first look at them alone.
    languagesOnly = true;
    const bool read = ReadStream(bytes, file);
    languagesOnly = false;
    if (!read) return false;
    selector = ChooseLanguage(requestedLanguage);
  }
  return ReadStream(bytes, file);
}

bool TextHolder::ReadStream(VoidBuffer& bytes, const KorText& file) {
  DiskFile stream(file, {{kFileType}});
  stream.ReportErrors(false); // Load has its own report
  return stream.AttachMemory(kFileRead, bytes) && stream.TransferHeader() &&
         stream.TransferObject(*this) && stream.Errors() == 0;
}

void TextHolder::SetFailureNotice() const {
  App().SetFailureNotice(KorText::Format(u"%s\n\n%s", Text(kTexts.unexpectedProblem.number),
                                         Text(kTexts.contactSupplier.number)));
}

// --- Languages, entries ---

std::int32_t TextHolder::LanguageWithCode(std::u16string_view code) const {
  for (std::size_t i = 0; i < languages.size(); ++i)
    if (languages[i].folder.EqualsNoCase(code)) return static_cast<std::int32_t>(i);
  return kSourceTexts;
}

std::int32_t TextHolder::ChooseLanguage(std::u16string_view request) const {
  if (request.empty()) return kSourceTexts;
  for (std::size_t i = 0; i < languages.size(); ++i)
    if (languages[i].name.EqualsNoCase(request)) return static_cast<std::int32_t>(i);
  const KorText code = LanguageCode(request);
  const std::int32_t exact = LanguageWithCode(code);
  if (exact >= 0) return exact;
  const KorText primary = PrimaryLanguage(code);
  if (primary.EqualsNoCase(kSourcePrimary)) return kSourceTexts;
  for (std::size_t i = 0; i < languages.size(); ++i)
    if (PrimaryLanguage(languages[i].folder).EqualsNoCase(primary))
      return static_cast<std::int32_t>(i);
  return kSourceTexts;
}

void TextHolder::AddLanguage(const TextLanguage& language) {
  languages.push_back(language);
  MarkChanged();
}

const TextEntry* TextHolder::FindEntry(std::int32_t id) const {
  const auto at = std::ranges::lower_bound(entries, id, {}, &TextEntry::id);
  return at != entries.end() && at->id == id ? &*at : nullptr;
}

TextEntry* TextHolder::FindEntry(std::int32_t id) {
  return const_cast<TextEntry*>(std::as_const(*this).FindEntry(id));
}

// All at once: to insert each in its place would take quadratic time.
void TextHolder::AddEntries(std::vector<TextEntry> fresh) {
  MarkChanged();
  entries.insert(entries.end(), std::make_move_iterator(fresh.begin()),
                 std::make_move_iterator(fresh.end()));
  SortContent();
}

// --- Saving ---

bool TextHolder::Save(Backup backup) {
  if (!IsEditing()) {
    App().Report(
        {MessageLevel::Warn, u"Dictionary", u"Cannot Save Dictionary - not fully loaded", {}, 0});
    return false;
  }
  if (backup == Backup::Made && !MakeBackup()) return false;
  RecordFileOptions options;
  options.format.fileTypes = {kFileType};
  options.compressed = true;
  if (!SaveObject(path, *this, options)) return false;
  ClearChanges();
  return true;
}

// True when there is a backup, nothing to back up, or the user goes on without one.
bool TextHolder::MakeBackup() {
  if (!App().FileExists(path)) return true;
  const KorText backup = path + u".bak";
  if (App().FileExists(backup)) App().RemoveFile(backup);
  if (App().DuplicateFile(path, backup)) return true;
  MessageRecord question;
  question.level = MessageLevel::Query;
  question.info = u"Problem Saving";
  question.message = u"Unable to backup existing dictionary\n\nContinue?";
  question.details = Text(kTexts.continueAnyway.number); // the button
  question.number = kAnswerCancel;
  return App().Report(question) == kAnswerContinue;
}

bool TextHolder::MayExport(std::u16string_view what) const {
  if (IsEditing()) return true;
  App().Report({MessageLevel::Warn,
                u"Dictionary",
                KorText::Format(u"Cannot %s - not fully loaded", what),
                {},
                0});
  return false;
}

} // namespace kor
