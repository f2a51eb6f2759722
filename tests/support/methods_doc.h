#pragma once
// docs/methods.md read into one section per method, for the tests that hold the page and
// other descriptions of the methods to the library.

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace lumetra_rpc::testing {

// One row of a method's "| Parameter | Kind | Required |" table.
struct ParameterRow {
  std::string name;      // "product.productId" for an entry of an object parameter
  std::string required;  // the last cell as written: "required", "default `true`", "absent", ...
};

// One line "- `message` — when; details `{...}`; e.g. `{params}`"; details are optional,
// and a failure reported in the result object is marked "*in `result`*".
struct MessageLine {
  std::string line;
  std::string message;
  std::optional<std::string> details;
  std::optional<std::string> params;
  bool inResult = false;
};

struct MethodSection {
  std::vector<ParameterRow> parameters;
  std::vector<MessageLine> messages;
};

// A method's section runs from its "### `name`" heading to the next heading of any level.
// A method with two sections is reported as a test failure.
std::map<std::string, MethodSection> loadMethodSections(const std::string& path);

}  // namespace lumetra_rpc::testing
