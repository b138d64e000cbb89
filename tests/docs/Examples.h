#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

// The examples of docs/formats.md.

/// The lines of the block behind the comment that names it.
inline std::vector<std::string> BlockOf(const std::string& name) {
  std::ifstream page(ORVANE_SOURCE_DIR "/docs/formats.md");
  std::string line;
  while (std::getline(page, line) && line != "<!-- example: " + name + " -->") continue;
  std::getline(page, line);  // the fence
  std::vector<std::string> lines;
  while (std::getline(page, line) && line != "```") lines.push_back(line);
  EXPECT_FALSE(lines.empty()) << "formats.md has no example " << name;
  return lines;
}

inline std::string TextOf(const std::string& name) {
  std::string text;
  for (const std::string& line : BlockOf(name)) text += line + "\n";
  return text;
}
