#pragma once
// The cases of tests/data/parsing_cases.json: a request (a text, or an object written as
// one) that either parses or is refused with the listed error. Read by the parsing, docs
// and stress tests.

#include <optional>
#include <string>
#include <vector>

#include "wire/records.h"

namespace lumetra_rpc::testing {

struct ParsingCase {
  std::string name;
  std::string requestText;
  LMRPCRequest request;               // empty when the text is refused as a whole
  std::optional<AnyCodable> error;    // absent: the request must parse
  std::optional<AnyCodable> message;  // when given, the result's exact message
};

std::vector<ParsingCase> loadParsingCases();

}  // namespace lumetra_rpc::testing
