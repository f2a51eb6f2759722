#include "wire/json_writer.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string_view>

namespace lumetra_rpc {
namespace {

class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}

  // Returns a description of the first value that cannot be written, or nothing.
  std::optional<std::string> write(const AnyCodable& value) {
    return std::visit([this](const auto& v) { return writeKind(v); }, value.value());
  }

 private:
  using Failure = std::optional<std::string>;

  Failure writeKind(NullValue) {
    out_ += "null";
    return {};
  }
  Failure writeKind(bool b) {
    out_ += b ? "true" : "false";
    return {};
  }
  Failure writeKind(std::int64_t i) {
    char buffer[24];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, i);
    out_.append(buffer, end);
    return {};
  }
  Failure writeKind(double d) {
    if (!std::isfinite(d)) return "Unable to write a non-finite number in JSON";
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, d);
    out_.append(buffer, end);
    return {};
  }
  // Widened exactly, without a detour through decimal digits.
  Failure writeKind(float f) { return writeKind(static_cast<double>(f)); }
  Failure writeKind(const std::string& s) {
    writeString(s);
    return {};
  }
  Failure writeKind(const URLValue& u) {
    writeString(u.absoluteString);
    return {};
  }
  Failure writeKind(const DateValue& d) { return writeKind(d.secondsSince1970); }
  Failure writeKind(const BoxedNumber& n) { return writeKind(n.doubleValue); }
  Failure writeKind(const JSONArray& array) {
    out_ += '[';
    for (std::size_t i = 0; i < array.size(); ++i) {
      if (i) out_ += ',';
      if (auto failure = write(array[i])) return failure;
    }
    out_ += ']';
    return {};
  }
  Failure writeKind(const JSONObject& object) {
    out_ += '{';
    bool first = true;
    for (const auto& [name, member] : object) {
      if (!first) out_ += ',';
      first = false;
      writeString(name);
      out_ += ':';
      if (auto failure = write(member)) return failure;
    }
    out_ += '}';
    return {};
  }
  Failure writeKind(const AnyKeyMap&) { return "Unsupported type: Dictionary<AnyHashable, Any>"; }
  Failure writeKind(const OpaqueValue& o) { return "Unsupported type: " + o.typeName; }

  // Runs of characters that need no escape are appended whole.
  void writeString(std::string_view s) {
    out_ += '"';
    std::size_t run = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
      const char* escape = escapeOf(s[i]);
      if (escape == nullptr) continue;
      out_.append(s.data() + run, i - run);
      run = i + 1;
      if (*escape != '\0') {
        out_ += escape;
      } else {
        char code[8];
        std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(s[i]));
        out_ += code;
      }
    }
    out_.append(s.data() + run, s.size() - run);
    out_ += '"';
  }

  // The escape for `c`, "" for a control character without a short one, or nothing.
  static const char* escapeOf(char c) {
    switch (c) {
      case '"':
        return "\\\"";
      case '\\':
        return "\\\\";
      case '/':
        return "\\/";
      case '\b':
        return "\\b";
      case '\f':
        return "\\f";
      case '\n':
        return "\\n";
      case '\r':
        return "\\r";
      case '\t':
        return "\\t";
      default:
        return static_cast<unsigned char>(c) < 0x20 ? "" : nullptr;
    }
  }

  std::string& out_;
};

}  // namespace

Expected<std::monostate, WriteFailure> writeJSON(const AnyCodable& value, std::string& out) {
  const auto mark = out.size();
  if (auto failure = Writer(out).write(value)) {
    out.resize(mark);
    return Unexpected{WriteFailure{std::move(*failure)}};
  }
  return std::monostate{};
}

}  // namespace lumetra_rpc
