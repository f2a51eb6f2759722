#include "sdk/simulator/reply_readers.h"

#include <limits>

namespace lumetra_rpc::simulator {

Failure mustBe(std::string_view key, std::string_view kind) {
  return Failure{"simulator config: \"" + std::string(key) + "\" must be " + std::string(kind)};
}

std::string join(std::string_view path, std::string_view key) {
  return std::string(path) + "." + std::string(key);
}

const AnyCodable* member(const JSONObject& object, std::string_view key) {
  auto found = object.find(key);
  return found == object.end() ? nullptr : &found->second;
}

AnyKeyMap toAnyKeyMap(const JSONObject& object) {
  AnyKeyMap map;
  for (const auto& [key, value] : object) map.emplace_back(AnyCodable(key), value);
  return map;
}

namespace {

Expected<std::uint32_t, std::string> readCount(const AnyCodable& value, std::string_view key) {
  const auto* number = value.getIf<std::int64_t>();
  if (!number || *number < 0 || *number > std::numeric_limits<std::uint32_t>::max()) {
    return mustBe(key, "a non-negative integer");
  }
  return static_cast<std::uint32_t>(*number);
}

Expected<ReplyTiming, std::string> readTiming(const JSONObject& object, std::string_view path) {
  ReplyTiming timing;
  if (const auto* delay = member(object, "delayMs")) {
    auto ms = readCount(*delay, join(path, "delayMs"));
    if (!ms) return Failure{ms.error()};
    timing.delayMs = *ms;
  }
  if (const auto* times = member(object, "times")) {
    auto count = readCount(*times, join(path, "times"));
    if (!count) return Failure{count.error()};
    timing.times = *count;
  }
  return timing;
}

Expected<bool, std::string> readNever(const JSONObject& object, std::string_view path) {
  const auto* never = member(object, "never");
  if (!never) return false;
  const auto* flag = never->getIf<bool>();
  if (!flag) return mustBe(join(path, "never"), "a boolean");
  return *flag;
}

}  // namespace

Expected<SDKError, std::string> readError(const AnyCodable& value, std::string_view path) {
  const auto* object = value.getIf<JSONObject>();
  if (!object) return mustBe(path, "an object with \"code\" and \"message\"");
  SDKError error{"LumetraLibErrorDomain", 1, "Simulated SDK error"};
  if (const auto* code = member(*object, "code")) {
    const auto* number = code->getIf<std::int64_t>();
    if (!number) return mustBe(join(path, "code"), "an integer");
    error.code = *number;
  }
  if (const auto* message = member(*object, "message")) {
    const auto* text = message->getIf<std::string>();
    if (!text) return mustBe(join(path, "message"), "a string");
    error.localizedDescription = *text;
  }
  return error;
}

Expected<CompletionReply, std::string> readCompletionReply(const AnyCodable& value, std::string_view path,
                                                           CompletionReply reply) {
  const auto* object = value.getIf<JSONObject>();
  if (!object) return mustBe(path, "an object");
  auto timing = readTiming(*object, path);
  if (!timing) return Failure{timing.error()};
  reply.timing = *timing;
  auto never = readNever(*object, path);
  if (!never) return Failure{never.error()};
  if (const auto* data = member(*object, "data")) {
    const auto* dictionary = data->getIf<JSONObject>();
    if (!dictionary) return mustBe(join(path, "data"), "an object");
    reply.kind = CompletionReply::Kind::data;
    reply.data = toAnyKeyMap(*dictionary);
  }
  if (const auto* error = member(*object, "error")) {
    auto read = readError(*error, join(path, "error"));
    if (!read) return Failure{read.error()};
    reply.kind = CompletionReply::Kind::error;
    reply.error = *read;
  }
  if (*never) reply.kind = CompletionReply::Kind::never;
  return reply;
}

Expected<URLReply, std::string> readURLReply(const AnyCodable& value, std::string_view path) {
  const auto* object = value.getIf<JSONObject>();
  if (!object) return mustBe(path, "an object");
  URLReply reply;
  auto timing = readTiming(*object, path);
  if (!timing) return Failure{timing.error()};
  reply.timing = *timing;
  if (const auto* url = member(*object, "url")) {
    if (url->isNull()) {
      reply.kind = URLReply::Kind::noURL;
    } else if (const auto* text = url->getIf<std::string>()) {
      reply.url = *text;
    } else {
      return mustBe(join(path, "url"), "a string or null");
    }
  }
  auto never = readNever(*object, path);
  if (!never) return Failure{never.error()};
  if (*never) reply.kind = URLReply::Kind::never;
  return reply;
}

namespace {

Expected<LumetraDeepLink, std::string> readDeepLink(const AnyCodable& value, std::string_view path) {
  const auto* object = value.getIf<JSONObject>();
  if (!object) return mustBe(path, "an object");
  LumetraDeepLink link;
  if (const auto* text = member(*object, "deeplinkValue")) {
    if (!text->getIf<std::string>()) return mustBe(join(path, "deeplinkValue"), "a string");
    link.deeplinkValue = *text->getIf<std::string>();
  }
  if (const auto* clickEvent = member(*object, "clickEvent")) {
    if (!clickEvent->getIf<JSONObject>()) return mustBe(join(path, "clickEvent"), "an object");
    link.clickEvent = toAnyKeyMap(*clickEvent->getIf<JSONObject>());
  }
  if (const auto* deferred = member(*object, "isDeferred")) {
    if (!deferred->getIf<bool>()) return mustBe(join(path, "isDeferred"), "a boolean");
    link.isDeferred = *deferred->getIf<bool>();
  }
  return link;
}

}  // namespace

Expected<DeepLinkReport, std::string> readDeepLinkReport(const AnyCodable& value, std::string_view path) {
  const auto* object = value.getIf<JSONObject>();
  if (!object) return mustBe(path, "an object");
  DeepLinkReport report;
  auto timing = readTiming(*object, path);
  if (!timing) return Failure{timing.error()};
  report.timing = *timing;
  if (const auto* status = member(*object, "status")) {
    const auto* number = status->getIf<std::int64_t>();
    if (!number || *number < 0) return mustBe(join(path, "status"), "a non-negative integer");
    report.result.status = static_cast<std::uint64_t>(*number);
  }
  if (const auto* link = member(*object, "deepLink")) {
    auto read = readDeepLink(*link, join(path, "deepLink"));
    if (!read) return Failure{read.error()};
    report.result.deepLink = *read;
  }
  if (const auto* error = member(*object, "error")) {
    auto read = readError(*error, join(path, "error"));
    if (!read) return Failure{read.error()};
    report.result.error = *read;
  }
  return report;
}

}  // namespace lumetra_rpc::simulator
