#include "support/methods_doc.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string_view>

#include "support/pump.h"

namespace lumetra_rpc::testing {
namespace {

// The text between the backtick that ends `marker` and the next backtick.
std::optional<std::string> codeSpanAfter(std::string_view line, std::string_view marker) {
  auto start = line.find(marker);
  if (start == std::string_view::npos) return std::nullopt;
  start += marker.size();
  auto end = line.find('`', start);
  if (end == std::string_view::npos) return std::nullopt;
  return std::string(line.substr(start, end - start));
}

MessageLine parseMessageLine(const std::string& line) {
  return MessageLine{line, codeSpanAfter(line, "- `").value(), codeSpanAfter(line, "details `"),
                     codeSpanAfter(line, "e.g. `"), line.find("*in `result`*") != std::string::npos};
}

// "| `name` | kind | required |": the name's code span and the trimmed last cell.
ParameterRow parseParameterRow(const std::string& line) {
  std::string_view row(line);
  while (!row.empty() && (row.back() == ' ' || row.back() == '|')) row.remove_suffix(1);
  std::string_view last = row.substr(row.rfind('|') + 1);
  while (!last.empty() && last.front() == ' ') last.remove_prefix(1);
  return ParameterRow{*codeSpanAfter(line, "| `"), std::string(last)};
}

}  // namespace

std::map<std::string, MethodSection> loadMethodSections(const std::string& path) {
  std::istringstream page(readTextFile(path));
  std::map<std::string, MethodSection> sections;
  MethodSection* current = nullptr;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("#")) {
      current = nullptr;
      if (line.starts_with("### `") && line.ends_with("`")) {
        std::string name = line.substr(5, line.size() - 6);
        EXPECT_FALSE(sections.contains(name)) << "two sections for " << name;
        current = &sections[name];
      }
      continue;
    }
    if (current == nullptr) continue;
    if (line.starts_with("| `")) current->parameters.push_back(parseParameterRow(line));
    if (line.starts_with("- `")) current->messages.push_back(parseMessageLine(line));
  }
  return sections;
}

}  // namespace lumetra_rpc::testing
