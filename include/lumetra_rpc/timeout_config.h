#pragma once

namespace lumetra_rpc {

// Seconds each supervised SDK operation may take before the caller gets a timeout.
struct TimeoutConfig {
  double start = 10.0;
  double logEvent = 10.0;
  double purchase = 30.0;
  double crossPromotion = 10.0;
  double shareInvite = 10.0;
};

}  // namespace lumetra_rpc
