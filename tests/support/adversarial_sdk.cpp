#include "support/adversarial_sdk.h"

#include <memory>

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

namespace lumetra_rpc::testing {

namespace {
const SDKError kRefused{"LM", 7, "refused"};
}  // namespace

AdversarialSDK::AdversarialSDK(std::function<Answer(std::string_view)> pick, AnyKeyMap data,
                               std::chrono::milliseconds late)
    : pick_(std::move(pick)), data_(std::move(data)), late_(late) {}

// The foreign thread runs until the late answers are delivered. Owners hold the last
// reference themselves, so this never runs on that thread.
AdversarialSDK::~AdversarialSDK() {
  work_.reset();
  if (foreign_.joinable()) foreign_.join();
}

void AdversarialSDK::answer(std::string_view operation, std::function<void()> ok,
                            std::function<void()> failed) {
  switch (pick_(operation)) {
    case Answer::kNever:
      return;
    case Answer::kData:
      return ok();
    case Answer::kTwice:
      ok();
      return ok();
    case Answer::kError:
      return failed();
    case Answer::kForeign:
      return later(std::move(ok), std::chrono::milliseconds(0));
    case Answer::kLate:
      return later(std::move(ok), late_);
  }
}

void AdversarialSDK::later(std::function<void()> fire, std::chrono::milliseconds delay) {
  ++pending_;
  // Started on first use: most fuzz inputs never need it, and each input makes an SDK.
  std::call_once(foreignStarted_, [this] { foreign_ = std::thread([this] { io_.run(); }); });
  boost::asio::post(io_, [this, fire = std::move(fire), delay]() mutable {
    auto timer = std::make_shared<boost::asio::steady_timer>(io_, delay);
    timer->async_wait([this, timer, fire = std::move(fire)](boost::system::error_code) {
      fire();
      --pending_;
    });
  });
}

void AdversarialSDK::completion(std::string_view operation, SDKCompletion done) {
  answer(
      operation, [done, data = data_] { done(data, std::nullopt); },
      [done] { done(std::nullopt, kRefused); });
}

void AdversarialSDK::start(SDKCompletion done) {
  completion("start", std::move(done));
}

void AdversarialSDK::logEvent(const std::string&, const std::optional<JSONObject>&, SDKCompletion done) {
  completion("logEvent", std::move(done));
}

void AdversarialSDK::validateAndLogInAppPurchase(std::shared_ptr<const LMSDKPurchaseDetails>,
                                                 const std::optional<JSONObject>&, SDKCompletion done) {
  completion("purchaseV2", std::move(done));
}

void AdversarialSDK::validateAndLogInAppPurchase(const std::string&, const std::string&, const std::string&,
                                                 const std::string&, const std::optional<JSONObject>&,
                                                 std::function<void(AnyKeyMap)> success,
                                                 std::function<void(SDKError, AnyCodable)> failure) {
  answer(
      "purchase", [success, data = data_] { success(data); }, [failure] { failure(kRefused, AnyCodable()); });
}

void AdversarialSDK::logAndOpenStore(const std::string&, const std::optional<std::string>&,
                                     const std::optional<JSONObject>&,
                                     std::function<void(OpaqueValue, URLValue)> openStore) {
  auto open = [openStore] {
    openStore(OpaqueValue{"URLSession", nullptr}, URLValue{"https://store.test/a"});
  };
  answer("openStore", open, open);
}

void AdversarialSDK::generateInviteUrl(LinkGeneratorCallback linkGenerator,
                                       std::function<void(std::optional<URLValue>)> done) {
  // The simulator fills its link generator; only the answer is ours.
  LumetraSDKAdapter::generateInviteUrl(std::move(linkGenerator), [](std::optional<URLValue>) {});
  answer(
      "inviteUrl", [done] { done(URLValue{"https://invite.test/a"}); }, [done] { done(std::nullopt); });
}

}  // namespace lumetra_rpc::testing
