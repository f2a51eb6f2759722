#include "wire/records.h"

#include <chrono>
#include <cmath>

namespace lumetra_rpc {
namespace {

std::int64_t nowInMilliseconds() {
  using namespace std::chrono;
  const double seconds = duration<double>(system_clock::now().time_since_epoch()).count();
  return static_cast<std::int64_t>(std::trunc(seconds * 1000.0));
}

}  // namespace

LMRPCEvent::LMRPCEvent(std::string eventName, std::optional<AnyCodable> payload,
                       std::optional<std::int64_t> time, std::string originName)
    : event(std::move(eventName)),
      data(std::move(payload)),
      timestamp(time ? *time : nowInMilliseconds()),
      origin(std::move(originName)) {}

Expected<std::monostate, WriteFailure> writeError(const LMRPCError& error, std::string& out) {
  MemberWriter object(out);
  object.integer("code", error.code);
  if (error.details) object.object("details", *error.details);
  object.string("message", error.message);
  return object.close();
}

AnyCodable toJSON(const LMRPCEvent& event) {
  JSONObject object{{"event", event.event}, {"timestamp", event.timestamp}, {"origin", event.origin}};
  if (event.data) object.emplace("data", *event.data);
  return object;
}

}  // namespace lumetra_rpc
