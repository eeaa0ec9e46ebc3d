#include "services/command_line/json.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace kor {
namespace {

std::string Quoted(std::u16string_view text) {
  std::string quoted = "\"";
  for (const char16_t c : text) {
    if (c == u'"' || c == u'\\') {
      quoted += '\\';
      quoted += static_cast<char>(c);
    } else if (c >= 32 && c < 127) {
      quoted += static_cast<char>(c);
    } else {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(c));
      quoted += escape.data();
    }
  }
  return quoted + "\"";
}

} // namespace

JsonObject& JsonObject::Json(std::string_view name, std::string_view json) {
  if (!members.empty()) members += ", ";
  members += Quoted(KorText::FromUtf8(name));
  members += ": ";
  members += json;
  return *this;
}

JsonObject& JsonObject::Members(const JsonObject& other) {
  if (!members.empty() && !other.members.empty()) members += ", ";
  members += other.members;
  return *this;
}

JsonObject& JsonObject::Text(std::string_view name, const KorText& value) {
  return Json(name, Quoted(value));
}

JsonObject& JsonObject::Text(std::string_view name, std::string_view utf8) {
  return Text(name, KorText::FromUtf8(utf8));
}

JsonObject& JsonObject::Bytes(std::string_view name, std::string_view bytes) {
  return Text(name, KorText::FromBytes(bytes));
}

JsonObject& JsonObject::Number(std::string_view name, std::int64_t value) {
  return Json(name, std::to_string(value));
}

JsonObject& JsonObject::Count(std::string_view name, std::uint64_t value) {
  return Json(name, std::to_string(value));
}

JsonObject& JsonObject::Real(std::string_view name, double value, int decimals) {
  if (!std::isfinite(value)) return Json(name, "null");
  std::array<char, 400> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, value);
  return Json(name, buffer.data());
}

JsonObject& JsonObject::Flag(std::string_view name, bool value) {
  return Json(name, value ? "true" : "false");
}

} // namespace kor
