#pragma once
// The simulated SDK, except that each operation the library waits for answers as `pick`
// says, including the ways a real SDK misbehaves and the simulator cannot be told to:
// twice at once, from a foreign thread, or long after the library gave up.
// Everything else is the simulator's.

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string_view>
#include <thread>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include "sdk/lumetra_sdk_adapter.h"

namespace lumetra_rpc::testing {

enum class Answer { kNever, kData, kTwice, kError, kForeign, kLate };

class AdversarialSDK : public LumetraSDKAdapter {
 public:
  // `pick` gets the operation's name ("start", "logEvent", "purchase", "purchaseV2",
  // "openStore", "inviteUrl") on every call. Successful answers carry `data`; late ones
  // come `late` after the call, from the foreign thread.
  AdversarialSDK(std::function<Answer(std::string_view)> pick, AnyKeyMap data,
                 std::chrono::milliseconds late = std::chrono::milliseconds(80));
  ~AdversarialSDK() override;  // waits for the late answers still on their way; not on their thread

  // Answers still to come from the foreign thread.
  std::size_t pending() const { return pending_; }

  void start(SDKCompletion completion) override;
  using LumetraSDKAdapter::logEvent;
  void logEvent(const std::string& name, const std::optional<JSONObject>& values,
                SDKCompletion completion) override;
  using LumetraSDKAdapter::validateAndLogInAppPurchase;
  void validateAndLogInAppPurchase(const std::string& productIdentifier, const std::string& price,
                                   const std::string& currency, const std::string& transactionId,
                                   const std::optional<JSONObject>& additionalParameters,
                                   std::function<void(AnyKeyMap)> success,
                                   std::function<void(SDKError, AnyCodable)> failure) override;
  void validateAndLogInAppPurchase(std::shared_ptr<const LMSDKPurchaseDetails> details,
                                   const std::optional<JSONObject>& purchaseAdditionalDetails,
                                   SDKCompletion completion) override;
  void logAndOpenStore(const std::string& appID, const std::optional<std::string>& campaign,
                       const std::optional<JSONObject>& parameters,
                       std::function<void(OpaqueValue, URLValue)> openStore) override;
  void generateInviteUrl(LinkGeneratorCallback linkGenerator,
                         std::function<void(std::optional<URLValue>)> completionHandler) override;

 private:
  void answer(std::string_view operation, std::function<void()> ok, std::function<void()> failed);
  void completion(std::string_view operation, SDKCompletion completion);
  void later(std::function<void()> fire, std::chrono::milliseconds delay);

  std::function<Answer(std::string_view)> pick_;
  AnyKeyMap data_;
  std::chrono::milliseconds late_;
  std::atomic<std::size_t> pending_{0};
  boost::asio::io_context io_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{io_.get_executor()};
  std::once_flag foreignStarted_;
  std::thread foreign_;
};

}  // namespace lumetra_rpc::testing
