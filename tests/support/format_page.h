// The examples of docs/formats: fenced blocks of lines, most of them hexadecimal, a bar and text.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace kor {

struct PageExample {
  int line = 0; // where it begins on the page
  std::vector<std::string> lines;
};

inline std::vector<std::string> ReadPage(const std::string& page) {
  std::ifstream stream(NCEDL_SOURCE_DIR "/docs/formats/" + page);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  EXPECT_FALSE(lines.empty()) << page;
  return lines;
}

// The blocks of a page that begin with ``` and that word.
inline std::vector<PageExample> ReadExamples(const std::string& page, const std::string& word) {
  std::vector<PageExample> examples;
  bool inside = false;
  int number = 0;
  for (const std::string& line : ReadPage(page)) {
    ++number;
    if (line.starts_with("```")) {
      inside = line == "```" + word;
      if (inside) examples.push_back({number, {}});
    } else if (inside) {
      examples.back().lines.push_back(line);
    }
  }
  return examples;
}

// Returns the bytes of one example line, such as "46 48 0D | FH.".
inline std::string PageBytes(std::string_view line) {
  std::istringstream numbers(std::string(line.substr(0, line.find('|'))));
  std::string bytes;
  for (int byte = 0; numbers >> std::hex >> byte;)
    bytes += static_cast<char>(byte);
  return bytes;
}

// Returns the bytes of each block of a page, all lines together.
inline std::vector<std::string> ReadByteExamples(const std::string& page, const std::string& word) {
  std::vector<std::string> examples;
  for (const PageExample& example : ReadExamples(page, word)) {
    std::string& bytes = examples.emplace_back();
    for (const std::string& line : example.lines)
      bytes += PageBytes(line);
  }
  return examples;
}

// The same, of a page whose text behind the bar is what the bytes say.
inline std::string ShownBytes(std::string_view line) {
  const std::string bytes = PageBytes(line);
  std::string shown = bytes;
  for (char& c : shown)
    if (c < ' ' || c > '~') c = '.';
  EXPECT_TRUE(line.ends_with("| " + shown)) << line;
  return bytes;
}

} // namespace kor
