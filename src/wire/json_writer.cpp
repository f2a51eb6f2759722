#include "wire/json_writer.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string_view>

namespace lumetra_rpc {
namespace {

// The escape for `c`, "" for a control character without a short one, or nothing.
const char* escapeOf(char c) {
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

// Runs of characters that need no escape are appended whole.
void appendEscaped(std::string& out, std::string_view s) {
  std::size_t run = 0;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char* escape = escapeOf(s[i]);
    if (escape == nullptr) continue;
    out.append(s.data() + run, i - run);
    run = i + 1;
    if (*escape != '\0') {
      out += escape;
    } else {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(s[i]));
      out += code;
    }
  }
  out.append(s.data() + run, s.size() - run);
}

void appendString(std::string& out, std::string_view s) {
  out += '"';
  appendEscaped(out, s);
  out += '"';
}

class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}

  // Returns a description of the first value that cannot be written, or nothing.
  std::optional<std::string> write(const AnyCodable& value) {
    return std::visit([this](const auto& v) { return writeKind(v); }, value.value());
  }
  std::optional<std::string> writeObject(const JSONObject& object) { return writeKind(object); }

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

  void writeString(std::string_view s) { appendString(out_, s); }

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

void MemberWriter::name(std::string_view name) {
  if (!first_) out_ += ',';
  first_ = false;
  appendString(out_, name);
  out_ += ':';
}

void MemberWriter::string(std::string_view name, std::string_view text) {
  this->name(name);
  appendString(out_, text);
}

void MemberWriter::string(std::string_view name, std::string_view head, std::string_view tail) {
  this->name(name);
  out_ += '"';
  // Escaping works character by character, so the parts can be escaped apart.
  appendEscaped(out_, head);
  appendEscaped(out_, tail);
  out_ += '"';
}

void MemberWriter::integer(std::string_view name, std::int64_t number) {
  this->name(name);
  char buffer[24];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, number);
  out_.append(buffer, end);
}

void MemberWriter::boolean(std::string_view name, bool flag) {
  this->name(name);
  out_ += flag ? "true" : "false";
}

void MemberWriter::value(std::string_view name, const AnyCodable& member) {
  if (failure_) return;
  this->name(name);
  if (auto failure = Writer(out_).write(member)) failure_ = WriteFailure{std::move(*failure)};
}

void MemberWriter::object(std::string_view name, const JSONObject& member) {
  if (failure_) return;
  this->name(name);
  if (auto failure = Writer(out_).writeObject(member)) failure_ = WriteFailure{std::move(*failure)};
}

Expected<std::monostate, WriteFailure> MemberWriter::close() {
  if (failure_) {
    out_.resize(mark_);
    return Unexpected{std::move(*failure_)};
  }
  out_ += '}';
  return std::monostate{};
}

}  // namespace lumetra_rpc
