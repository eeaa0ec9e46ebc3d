// The port of a system on a real line, with a far side of which the tests know.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>

#include "link/port/serial_port.h"
#include "services/core/as_bytes.h"
#include "tests/support/test_app.h"

namespace kor {

template <class Port> class SerialPortFixture : public testing::Test {
 protected:
  std::string ErrorText() const { return port.LastErrorText().ToUtf8(); }

  std::size_t WriteSome(const std::string& bytes) {
    std::size_t count = 0;
    EXPECT_TRUE(port.Write(AsBytes(bytes), count)) << ErrorText();
    return count;
  }

  LineStatus Status() {
    LineStatus status;
    EXPECT_TRUE(port.GetStatus(status)) << ErrorText();
    return status;
  }

  std::string Take() {
    std::array<std::uint8_t, 4000> buffer{};
    std::size_t count = 1; // Read has to set it
    EXPECT_TRUE(port.Read(buffer, count)) << ErrorText();
    return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count)};
  }

  // Bytes that the far side has sent; fewer when they don't come.
  std::string ReadCount(std::size_t wanted) {
    using std::chrono::steady_clock;
    std::string received;
    const auto until = steady_clock::now() + std::chrono::seconds(10);
    while (received.size() < wanted && steady_clock::now() < until) {
      port.WaitReadable(std::chrono::microseconds(100'000));
      received += Take();
    }
    return received;
  }

  TestApp app;
  Port port;
};

} // namespace kor
