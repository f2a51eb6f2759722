#include "cli_options.h"

#include "pipeline/configuration.h"

#include <charconv>
#include <cmath>

namespace lumetra_rpc::cli {

const char kUsage[] =
    "usage: lumetra-rpc [--sdk CONFIG.json] [--journal FILE]\n"
    "                   [--timeouts start=S,logEvent=S,purchase=S,crossPromotion=S,shareInvite=S]\n"
    "                   [--concurrent] [--openrpc] [--help]\n"
    "\n"
    "Reads one JSON-RPC request per line from stdin and writes every response and event\n"
    "text to stdout, one per line, as delivered.\n"
    "\n"
    "  --sdk CONFIG.json  how the simulated SDK behaves (replies, delays, delegate reports)\n"
    "  --journal FILE     append every call made into the SDK to FILE, one JSON line each\n"
    "  --timeouts LIST    override supervision timeouts, in seconds (decimals allowed)\n"
    "  --concurrent       send every request at once instead of one after another\n"
    "  --openrpc          print the OpenRPC description of every method and exit\n"
    "  --help             show this text\n";

namespace {

using Failure = Unexpected<std::string>;

std::optional<double> parseSeconds(std::string_view text) {
  double seconds = 0;
  auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  if (!isValidTimeout(seconds)) return std::nullopt;
  return seconds;
}

Expected<std::monostate, std::string> applyTimeout(std::string_view item, TimeoutConfig& timeouts) {
  auto equals = item.find('=');
  if (equals == std::string_view::npos) {
    return Failure{"--timeouts: expected NAME=SECONDS, got \"" + std::string(item) + "\""};
  }
  auto name = item.substr(0, equals);
  double* field = timeoutField(timeouts, name);
  if (!field) {
    return Failure{"--timeouts: unknown timeout \"" + std::string(name) +
                   "\" (known: start, logEvent, purchase, crossPromotion, shareInvite)"};
  }
  auto seconds = parseSeconds(item.substr(equals + 1));
  if (!seconds) {
    return Failure{"--timeouts: " + std::string(name) + " must be a non-negative number of seconds"};
  }
  *field = *seconds;
  return std::monostate{};
}

// Takes the value of a flag given as "--flag VALUE" or "--flag=VALUE".
std::optional<std::string_view> flagValue(const std::vector<std::string_view>& arguments, std::size_t& index,
                                          std::string_view flag) {
  auto argument = arguments[index];
  if (argument == flag) {
    if (index + 1 >= arguments.size()) return std::nullopt;
    return arguments[++index];
  }
  return argument.substr(flag.size() + 1);
}

bool names(std::string_view argument, std::string_view flag) {
  return argument == flag ||
         (argument.size() > flag.size() && argument.starts_with(flag) && argument[flag.size()] == '=');
}

}  // namespace

Expected<TimeoutConfig, std::string> parseTimeouts(std::string_view text, TimeoutConfig base) {
  while (true) {
    auto comma = text.find(',');
    auto applied = applyTimeout(text.substr(0, comma), base);
    if (!applied) return Failure{applied.error()};
    if (comma == std::string_view::npos) return base;
    text.remove_prefix(comma + 1);
  }
}

Expected<CliOptions, std::string> parseCliOptions(const std::vector<std::string_view>& arguments) {
  CliOptions options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    auto argument = arguments[i];
    if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else if (argument == "--openrpc") {
      options.openrpc = true;
    } else if (argument == "--concurrent") {
      options.concurrent = true;
    } else if (names(argument, "--sdk") || names(argument, "--journal") || names(argument, "--timeouts")) {
      auto flag = argument.substr(0, argument.find('='));
      auto value = flagValue(arguments, i, flag);
      if (!value || value->empty()) return Failure{std::string(flag) + " needs a value"};
      if (flag == "--sdk") options.sdkConfigPath = std::string(*value);
      if (flag == "--journal") options.journalPath = std::string(*value);
      if (flag == "--timeouts") {
        auto timeouts = parseTimeouts(*value, options.timeouts);
        if (!timeouts) return Failure{timeouts.error()};
        options.timeouts = *timeouts;
      }
    } else {
      return Failure{"unknown argument \"" + std::string(argument) + "\""};
    }
  }
  return options;
}

}  // namespace lumetra_rpc::cli
