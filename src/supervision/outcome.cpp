#include "supervision/outcome.h"

namespace lumetra_rpc {
namespace {

// Members in sorted order: data, message, success.
void writeSuccess(const SDKSuccess& success, MemberWriter& result) {
  // An empty data object is still data: it is written as {}, not left out.
  if (success.data) result.object("data", *success.data);
  result.string("message", success.message.head(), success.message.tail());
  result.boolean("success", true);
}

// Members in sorted order: error, errorCode, errorType, message, success.
void writeFailure(const SDKFailure& failure, MemberWriter& result) {
  if (failure.error) result.string("error", *failure.error);
  if (failure.errorCode) result.integer("errorCode", *failure.errorCode);
  if (failure.errorType) result.string("errorType", *failure.errorType);
  result.string("message", failure.message.head(), failure.message.tail());
  result.boolean("success", false);
}

}  // namespace

Expected<std::monostate, WriteFailure> writeResult(const SDKOutcome& outcome, std::string& out) {
  MemberWriter result(out);
  if (const auto* success = std::get_if<SDKSuccess>(&outcome)) {
    writeSuccess(*success, result);
  } else {
    writeFailure(std::get<SDKFailure>(outcome), result);
  }
  return result.close();
}

}  // namespace lumetra_rpc
