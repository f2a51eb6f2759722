#include "supervision/sdk_wait.h"

#include <utility>

#include "runtime/main_hop.h"

namespace lumetra_rpc {

SDKOutcome SDKRace::outcome(SDKRaceResult result) const {
  return amend(raceOutcome(operationName, timeoutSeconds, std::move(result)));
}

SDKOutcome SDKRace::amend(SDKOutcome decided) const {
  auto* success = std::get_if<SDKSuccess>(&decided);
  if (!addedData || success == nullptr) return decided;
  JSONObject merged = success->data.value_or(JSONObject{});
  for (const auto& [key, value] : *addedData) merged.insert_or_assign(key, value);
  success->data = std::move(merged);
  return decided;
}

boost::asio::awaitable<SDKOutcome> awaitWait(SDKWait wait) {
  if (auto* race = std::get_if<SDKRace>(&wait)) {
    auto racing =
        withSDKCompletionTimeout(race->timeoutSeconds, race->operationName, std::move(race->operation));
    auto decided = co_await std::move(racing);
    co_return race->amend(std::move(decided));
  }
  auto& main = std::get<MainCall>(wait);
  auto hop = runOnMain(std::move(main.call));
  co_await std::move(hop);
  co_return main.returned();
}

}  // namespace lumetra_rpc
