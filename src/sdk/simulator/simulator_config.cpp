#include "sdk/simulator/simulator_config.h"

#include <charconv>
#include <fstream>
#include <sstream>

#include "sdk/simulator/reply_readers.h"
#include "wire/json_reader.h"

namespace lumetra_rpc::simulator {

namespace {

CompletionReply dataReply(std::string_view key, std::string_view value) {
  CompletionReply reply;
  reply.data = {{AnyCodable(key), AnyCodable(value)}};
  return reply;
}

Expected<std::string, std::string> readString(const JSONObject& root, std::string_view key,
                                              std::string fallback) {
  const auto* value = member(root, key);
  if (!value) return fallback;
  if (!value->getIf<std::string>()) return mustBe(key, "a string");
  return *value->getIf<std::string>();
}

// "17", "17.4" and "17.4.1" are all accepted; missing parts are zero.
std::optional<OSVersion> parseOSVersion(std::string_view text) {
  int parts[3] = {0, 0, 0};
  std::size_t index = 0;
  const char* cursor = text.data();
  const char* end = text.data() + text.size();
  while (index < 3) {
    auto [next, error] = std::from_chars(cursor, end, parts[index]);
    if (error != std::errc{} || parts[index] < 0) return std::nullopt;
    ++index;
    cursor = next;
    if (cursor == end) return OSVersion{parts[0], parts[1], parts[2]};
    if (*cursor != '.') return std::nullopt;
    ++cursor;
  }
  return std::nullopt;
}

Expected<OSVersion, std::string> readOSVersion(const JSONObject& root) {
  const auto* value = member(root, "osVersion");
  if (!value) return OSVersion{};
  const auto* text = value->getIf<std::string>();
  auto version = text ? parseOSVersion(*text) : std::nullopt;
  if (!version) return mustBe("osVersion", "a version string \"major.minor.patch\"");
  return *version;
}

Expected<std::vector<std::string>, std::string> readClasses(const JSONObject& root) {
  std::vector<std::string> names;
  const auto* value = member(root, "classes");
  if (!value) return names;
  const auto* array = value->getIf<JSONArray>();
  if (!array) return mustBe("classes", "an array of class names");
  for (const auto& element : *array) {
    if (!element.getIf<std::string>()) return mustBe("classes", "an array of class names");
    names.push_back(*element.getIf<std::string>());
  }
  return names;
}

Expected<std::monostate, std::string> readReplies(const JSONObject& root, SimulatorConfig& config) {
  const auto* value = member(root, "replies");
  if (!value) return std::monostate{};
  const auto* replies = value->getIf<JSONObject>();
  if (!replies) return mustBe("replies", "an object");
  for (const auto& [name, reply] : *replies) {
    auto path = join("replies", name);
    CompletionReply* completion = name == "start"        ? &config.start
                                  : name == "logEvent"   ? &config.logEvent
                                  : name == "purchase"   ? &config.purchase
                                  : name == "purchaseV2" ? &config.purchaseV2
                                                         : nullptr;
    URLReply* url = name == "openStore"   ? &config.openStore
                    : name == "inviteUrl" ? &config.inviteUrl
                                          : nullptr;
    if (completion) {
      auto read = readCompletionReply(reply, path, *completion);
      if (!read) return Failure{read.error()};
      *completion = *read;
    } else if (url) {
      auto read = readURLReply(reply, path);
      if (!read) return Failure{read.error()};
      *url = *read;
    } else {
      // A misspelt operation would otherwise silently keep its default answer.
      return Failure{"simulator config: \"" + path + "\" is not a known operation"};
    }
  }
  return std::monostate{};
}

Expected<std::monostate, std::string> readReports(const JSONObject& root, SimulatorConfig& config) {
  for (auto [key, slot] : {std::pair{"conversion", &config.conversion},
                           std::pair{"appOpenAttribution", &config.appOpenAttribution}}) {
    if (const auto* value = member(root, key)) {
      auto read = readCompletionReply(*value, key, CompletionReply{});
      if (!read) return Failure{read.error()};
      *slot = *read;
    }
  }
  if (const auto* value = member(root, "deepLink")) {
    auto read = readDeepLinkReport(*value, "deepLink");
    if (!read) return Failure{read.error()};
    config.deepLink = *read;
  }
  return std::monostate{};
}

Expected<std::monostate, std::string> readTopLevel(const JSONObject& root, SimulatorConfig& config) {
  auto uid = readString(root, "uid", config.uid);
  if (!uid) return Failure{uid.error()};
  config.uid = *uid;
  auto version = readString(root, "version", config.version);
  if (!version) return Failure{version.error()};
  config.version = *version;
  auto osVersion = readOSVersion(root);
  if (!osVersion) return Failure{osVersion.error()};
  config.osVersion = *osVersion;
  auto classes = readClasses(root);
  if (!classes) return Failure{classes.error()};
  config.classes = *classes;
  if (const auto* details = member(root, "purchaseDetails")) {
    const auto* text = details->getIf<std::string>();
    if (!text || (*text != "fail" && *text != "ok")) return mustBe("purchaseDetails", "\"fail\" or \"ok\"");
    config.purchaseDetailsFail = *text == "fail";
  }
  return std::monostate{};
}

}  // namespace

SimulatorConfig defaultSimulatorConfig() {
  SimulatorConfig config;
  config.start = dataReply("status", "success");
  config.logEvent = dataReply("status", "success");
  config.purchase = dataReply("status", "validated");
  config.purchaseV2 = dataReply("status", "validated");
  return config;
}

Expected<SimulatorConfig, std::string> parseSimulatorConfig(std::string_view text) {
  auto value = readJSON(text);
  if (!value) return Failure{"simulator config is not valid JSON: " + value.error().description};
  const auto* root = value->getIf<JSONObject>();
  if (!root) return Failure{"simulator config: the top level must be an object"};
  SimulatorConfig config = defaultSimulatorConfig();
  for (auto step : {readTopLevel, readReplies, readReports}) {
    auto read = step(*root, config);
    if (!read) return Failure{read.error()};
  }
  return config;
}

Expected<std::string, std::string> readSimulatorConfigFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return Failure{"cannot read simulator config " + path};
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace lumetra_rpc::simulator
