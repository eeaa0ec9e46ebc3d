// What every libFuzzer target starts with. A target includes this once and defines TryInput.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

#include "tests/support/test_app.h"

namespace kor {

using FuzzInput = std::span<const std::uint8_t>;

// Tries one input, which may be any bytes. The services live as long as the process; what was
// reported is forgotten after each input.
void TryInput(TestApp& app, FuzzInput bytes);

inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

inline std::string_view TextOf(FuzzInput bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace kor

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static kor::TestApp app;
  kor::TryInput(app, {data, size});
  app.ForgetReports();
  return 0;
}
