// A fresh folder in the system's temporary one. What killed tests left there a day ago goes first.
#pragma once

#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace kor {

inline std::filesystem::path MakeTestFolder() {
  namespace fs = std::filesystem;
  const fs::path temporary = fs::temp_directory_path();
  static const bool cleared = [&] {
    std::error_code ignored; // another test's, or another user's
    const auto yesterday = fs::file_time_type::clock::now() - std::chrono::hours(24);
    for (const auto& entry : fs::directory_iterator(temporary))
      if (entry.path().filename().string().starts_with("ncedl-test-") &&
          entry.last_write_time(ignored) < yesterday && !ignored)
        fs::remove_all(entry.path(), ignored);
    return true;
  }();
  static_cast<void>(cleared);
  std::random_device random;
  fs::path made = temporary / ("ncedl-test-" + std::to_string(random()) + std::to_string(random()));
  fs::create_directory(made);
  fs::permissions(made, fs::perms::owner_all);
  return made;
}

} // namespace kor
