#include "platform/posix/line_editor_posix.h"

#include <cstdio>
#include <deque>
#include <optional>

#include <fcntl.h>
#include <histedit.h>
#include <locale.h> // IWYU pragma: keep
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "services/core/kor_text.h"

namespace kor {

namespace {

constexpr int kHistoryLines = 200;
constexpr unsigned short kVeryWide = 4400; // columns: no line wraps. libedit keeps the whole screen
constexpr wchar_t kEscape = 27;
constexpr wchar_t kDelete = 127;
constexpr std::wstring_view kControls = L"\x01\x02\x04\x05\x06\b\n\v\x0e\x10\r\x14\x15\x17\x19\x7f";

// What a key that sends several characters means in keys of one or two; nothing for other keys.
struct Sequence {
  std::string_view bytes;
  std::wstring_view keys;
};
constexpr Sequence kSequences[] = {
    {"\x1b[A", L"\x10"},        {"\x1bOA", L"\x10"},       // up: the line before
    {"\x1b[B", L"\x0e"},        {"\x1bOB", L"\x0e"},       // down
    {"\x1b[C", L"\x06"},        {"\x1bOC", L"\x06"},       // right
    {"\x1b[D", L"\x02"},        {"\x1bOD", L"\x02"},       // left
    {"\x1b[H", L"\x01"},        {"\x1bOH", L"\x01"},       // home
    {"\x1b[1~", L"\x01"},       {"\x1b[7~", L"\x01"},      //
    {"\x1b[F", L"\x05"},        {"\x1bOF", L"\x05"},       // end
    {"\x1b[4~", L"\x05"},       {"\x1b[8~", L"\x05"},      //
    {"\x1b[3~", L"\x04"},                                  // delete
    {"\x1b[1;5C", L"\x1b\x66"}, {"\x1b\x66", L"\x1b\x66"}, // Ctrl-right, Alt-F: a word on
    {"\x1b[1;5D", L"\x1b\x62"}, {"\x1b\x62", L"\x1b\x62"}, // Ctrl-left, Alt-B: a word back
    {"\x1b\x64", L"\x1b\x64"},                             // Alt-D: without the next word
};

// The length of the key at the start of bytes; 0 while more of it has to come.
std::size_t KeyLength(std::string_view bytes) {
  const auto first = static_cast<unsigned char>(bytes[0]);
  if (first == kEscape) {
    if (bytes.size() < 2) return 0;
    if (bytes[1] != '[' && bytes[1] != 'O') return 2;
    std::size_t at = 2;
    while (at < bytes.size() && bytes[at] >= ' ' && bytes[at] < '@')
      ++at;
    return at < bytes.size() ? at + 1 : 0;
  }
  const std::size_t wanted = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : first >= 0xc0 ? 2 : 1;
  std::size_t length = 1;
  while (length < wanted && length < bytes.size() && (bytes[length] & 0xc0) == 0x80)
    ++length;
  return length < wanted && length == bytes.size() ? 0 : length;
}

// UTF-8 without what is no character.
std::wstring ToWide(std::string_view utf8) {
  const KorText text = KorText::FromUtf8(utf8);
  std::wstring wide;
  for (std::size_t at = 0; at < text.Length(); ++at) {
    const auto c = static_cast<wchar_t>(text[at]);
    const bool pair = (c & 0xfc00) == 0xd800 && at + 1 < text.Length();
    if (pair)
      wide += static_cast<wchar_t>(0x10000 + ((c - 0xd800) << 10) + (text[++at] - 0xdc00));
    else if ((c & 0xf800) != 0xd800)
      wide += c;
  }
  return wide;
}

std::string ToUtf8(std::wstring_view wide) {
  KorText text;
  for (const wchar_t c : wide) {
    if (c >= 0x10000) text += static_cast<char16_t>(0xd7c0 + (c >> 10));
    text += static_cast<char16_t>(c >= 0x10000 ? 0xdc00 + (c & 0x3ff) : c);
  }
  return text.ToUtf8();
}

// What libedit is to get for one key.
std::wstring KeysOf(std::string_view key) {
  for (const Sequence& sequence : kSequences)
    if (sequence.bytes == key) return std::wstring(sequence.keys);
  if (key[0] == kEscape) return {};
  std::wstring wide = ToWide(key == "\t" ? " " : key); // pasted
  const bool control = !wide.empty() && (wide[0] < L' ' || (wide[0] >= kDelete && wide[0] < 0xa0));
  // Others would wait for a key more, or do nothing.
  if (control && kControls.find(wide[0]) == std::wstring_view::npos) return {};
  return wide;
}

// libedit asks the thread's locale what is a character.
class Utf8Locale {
 public:
  Utf8Locale() : mine(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
    if (mine) before = ::uselocale(mine);
  }
  ~Utf8Locale() {
    if (!mine) return;
    ::uselocale(before);
    ::freelocale(mine);
  }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  const locale_t mine;
  locale_t before = nullptr;
};

// libedit sets the modes of its terminal and waits until all output is out. A screen that somebody
// has stopped must not stop the program: libedit gets a terminal of its own that nobody looks at,
// and whoever draws the screen draws the line.
class PosixLineEditor : public LineEditor {
 public:
  ~PosixLineEditor() override {
    if (edit) ::el_end(edit);
    if (history) ::history_wend(history);
    if (nowhere) std::fclose(nowhere);
    for (const int descriptor : {nearEnd, farEnd})
      if (descriptor >= 0) ::close(descriptor);
  }

  bool Start() {
    const Utf8Locale locale;
    if (!OpenTerminal()) return false;
    nowhere = std::fopen("/dev/null", "r+e");
    history = ::history_winit();
    if (!nowhere || !history) return false;
    edit = ::el_init_fd("ncedl-console", nowhere, nowhere, nowhere, farEnd, farEnd, farEnd);
    if (!edit) return false;
    HistEventW event;
    ::history_w(history, &event, H_SETSIZE, kHistoryLines);
    ::history_w(history, &event, H_SETUNIQUE, 1);
    ::el_wset(edit, EL_CLIENTDATA, this);
    ::el_wset(edit, EL_GETCFN, &PosixLineEditor::NextKey);
    ::el_wset(edit, EL_TERMINAL, L"dumb");
    ::el_wset(edit, EL_EDITOR, L"emacs");
    ::el_wset(edit, EL_HIST, history_w, history);
    ::el_wset(edit, EL_BIND, L"^D", L"ed-delete-next-char", nullptr);
    ::el_wset(edit, EL_BIND, L"^W", L"ed-delete-prev-word", nullptr);
    ::el_wset(edit, EL_UNBUFFERED, 1);
    return true;
  }

  std::vector<std::string> Take(std::string_view bytes) override {
    const Utf8Locale locale;
    pending += bytes;
    std::vector<std::string> lines;
    while (const std::size_t length = pending.empty() ? 0 : KeyLength(pending)) {
      const std::wstring wide = KeysOf(std::string_view(pending).substr(0, length));
      keys.assign(wide.begin(), wide.end());
      pending.erase(0, length);
      while (!keys.empty())
        if (auto line = TakeKey()) lines.push_back(std::move(*line));
    }
    return lines;
  }

  std::string Text() const override {
    const LineInfoW* line = ::el_wline(edit);
    return ToUtf8({line->buffer, line->lastchar});
  }

  std::size_t Cursor() const override {
    const LineInfoW* line = ::el_wline(edit);
    return ToUtf8({line->buffer, line->cursor}).size();
  }

 private:
  static int NextKey(EditLine* edit, wchar_t* key) {
    void* self = nullptr;
    ::el_wget(edit, EL_CLIENTDATA, &self);
    auto& waiting = static_cast<PosixLineEditor*>(self)->keys;
    if (waiting.empty()) return 0;
    *key = waiting.front();
    waiting.pop_front();
    return 1;
  }

  std::optional<std::string> TakeKey() {
    const bool isText = keys.front() >= L' ' && keys.front() != kDelete;
    const LineInfoW* typed = ::el_wline(edit);
    if (isText && static_cast<std::size_t>(typed->lastchar - typed->buffer) >= kLongestLine) {
      keys.clear();
      return std::nullopt;
    }
    int count = 0;
    const std::size_t before = keys.size();
    const wchar_t* line = ::el_wgets(edit, &count);
    if (keys.size() == before) keys.clear(); // it takes no more; never ask it for ever
    if (!line || count < 1 || (line[count - 1] != L'\n' && line[count - 1] != L'\r'))
      return std::nullopt;
    const std::wstring text(line, static_cast<std::size_t>(count - 1));
    HistEventW event;
    if (!text.empty()) ::history_w(history, &event, H_ENTER, text.c_str());
    // Begins the next line.
    ::el_wset(edit, EL_UNBUFFERED, 0);
    ::el_wset(edit, EL_UNBUFFERED, 1);
    return ToUtf8(text);
  }

  bool OpenTerminal() {
    nearEnd = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (nearEnd < 0 || ::grantpt(nearEnd) != 0 || ::unlockpt(nearEnd) != 0) return false;
    char name[64];
    if (::ptsname_r(nearEnd, name, sizeof name) != 0) return false;
    farEnd = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (farEnd < 0) return false;
    const winsize size{2, kVeryWide, 0, 0};
    return ::ioctl(nearEnd, TIOCSWINSZ, &size) == 0;
  }

  int nearEnd = -1, farEnd = -1;
  std::FILE* nowhere = nullptr;
  EditLine* edit = nullptr;
  HistoryW* history = nullptr;
  std::string pending;      // the beginning of a key
  std::deque<wchar_t> keys; // for libedit
};

} // namespace

std::unique_ptr<LineEditor> MakeSystemLineEditor() {
  auto editor = std::make_unique<PosixLineEditor>();
  if (!editor->Start()) return nullptr;
  return editor;
}

} // namespace kor
