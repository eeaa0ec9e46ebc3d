// One JSON object on one line, in plain ASCII. A value type.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "services/core/kor_text.h"

namespace kor {

class JsonObject {
 public:
  JsonObject& Text(std::string_view name, const KorText& value);
  JsonObject& Text(std::string_view name, std::string_view utf8);
  // Adds bytes of the line, each as the character of the same number.
  JsonObject& Bytes(std::string_view name, std::string_view bytes);
  JsonObject& Number(std::string_view name, std::int64_t value);
  JsonObject& Count(std::string_view name, std::uint64_t value);
  JsonObject& Real(std::string_view name, double value, int decimals); // not finite: null
  JsonObject& Flag(std::string_view name, bool value);
  JsonObject& Json(std::string_view name, std::string_view json); // taken as it stands
  JsonObject& Members(const JsonObject& other);                   // all of the other's
  std::string Finish() const { return "{" + members + "}"; }

 private:
  std::string members;
};

} // namespace kor
