#pragma once
// Readers for the pieces of a simulator config. Each takes the dotted path of the value
// it reads, so that a refusal names the key the user has to fix.

#include <string>
#include <string_view>

#include "sdk/simulator/simulator_config.h"

namespace lumetra_rpc::simulator {

using Failure = Unexpected<std::string>;

Failure mustBe(std::string_view key, std::string_view kind);
std::string join(std::string_view path, std::string_view key);
const AnyCodable* member(const JSONObject& object, std::string_view key);
AnyKeyMap toAnyKeyMap(const JSONObject& object);

Expected<SDKError, std::string> readError(const AnyCodable& value, std::string_view path);
// Starts from `reply` so that an answer given only a delay keeps the default data.
Expected<CompletionReply, std::string> readCompletionReply(const AnyCodable& value, std::string_view path,
                                                           CompletionReply reply);
Expected<URLReply, std::string> readURLReply(const AnyCodable& value, std::string_view path);
Expected<DeepLinkReport, std::string> readDeepLinkReport(const AnyCodable& value, std::string_view path);

}  // namespace lumetra_rpc::simulator
