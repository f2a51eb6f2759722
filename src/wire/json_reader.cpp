#include "wire/json_reader.h"

#include <simdjson.h>
#include <algorithm>
#include <cmath>
#include <deque>
#include <iterator>

#include "wire/json_text.h"

namespace lumetra_rpc {
namespace {

namespace od = simdjson::ondemand;
using Failure = Unexpected<ReadFailure>;

constexpr std::string_view kUnsupportedType = "Unsupported JSON type";

Failure failure(std::string description) {
  return Failure{ReadFailure{std::move(description)}};
}
Failure failure(simdjson::error_code code) {
  return failure(std::string("The given data was not valid JSON: ") + simdjson::error_message(code));
}
Failure textAfterTopLevel() {
  return failure("The given data was not valid JSON: Unexpected text after the end of the top-level value");
}

// 2^63: the first double that no signed 64-bit integer can hold.
constexpr double kTwoTo63 = 9223372036854775808.0;

AnyCodable numberFromDouble(double d) {
  if (d >= -kTwoTo63 && d < kTwoTo63 && std::trunc(d) == d) return static_cast<std::int64_t>(d);
  return d;
}

// Per-thread buffers, one per nesting depth, that collect an array's elements or an
// object's members before they move into an array or object of exactly the right size:
// one grown as members arrive would allocate several times for each value.
template <typename Items>
class Scratch {
 public:
  static Items& at(std::size_t depth) {
    thread_local std::deque<Items> levels;
    while (levels.size() <= depth) levels.emplace_back();
    auto& items = levels[depth];
    items.clear();
    return items;
  }

  static Items take(Items& scratch) {
    Items exact;
    exact.reserve(scratch.size());
    std::move(scratch.begin(), scratch.end(), std::back_inserter(exact));
    done(scratch);
    return exact;
  }

  static void done(Items& scratch) noexcept {
    scratch.clear();
    // A huge request's buffer is not kept for the thread's lifetime.
    constexpr std::size_t kKept = 1024;
    if (scratch.capacity() > kKept) Items().swap(scratch);
  }
};

// Decoded text needs no check of its own: simdjson validates the whole input as UTF-8 and
// refuses escapes that spell lone surrogates.
//
// Walks one value in full, so that malformed text anywhere in the document is refused,
// even inside members that nobody reads. Keeping decodes the value; checking only
// validates it and holds nothing, and takes a well-formed number of any size, since it is
// never converted.
class Decoder {
 public:
  enum class Mode { keep, check };
  explicit Decoder(Mode mode) : keep_(mode == Mode::keep) {}

  template <typename V>
  Expected<AnyCodable, ReadFailure> decode(V& value, std::size_t depth) {
    od::json_type type;
    if (auto error = value.type().get(type)) return failure(error);
    switch (type) {
      case od::json_type::null: {
        bool isNull = false;
        if (value.is_null().get(isNull) || !isNull) return failure(simdjson::N_ATOM_ERROR);
        return AnyCodable();
      }
      case od::json_type::boolean: {
        bool b = false;
        if (value.get_bool().get(b)) return failure(atomError(value));
        return AnyCodable(b);
      }
      case od::json_type::number:
        return decodeNumber(value);
      case od::json_type::string:
        return decodeString(value);
      case od::json_type::array:
        return decodeArray(value, depth + 1);
      case od::json_type::object:
        return decodeObject(value, depth + 1);
    }
    return failure(std::string(kUnsupportedType));
  }

  template <typename V>
  Expected<AnyCodable, ReadFailure> decodeObject(V& value, std::size_t depth) {
    if (depth > kMaxNestingDepth) return nestingFailure();
    od::object object;
    if (auto error = value.get_object().get(object)) return failure(error);
    auto& members = Scratch<JSONObject::Members>::at(depth);
    for (auto field : object) {
      std::string_view key;
      if (auto error = field.unescaped_key().get(key)) return failure(error);
      od::value member;
      if (auto error = field.value().get(member)) return failure(error);
      auto decoded = decode(member, depth);
      if (!decoded) return Failure{decoded.error()};
      if (keep_) members.emplace_back(std::string(key), std::move(decoded).value());
    }
    auto sorted = JSONObject::fromUnsorted(std::span(members));
    Scratch<JSONObject::Members>::done(members);
    return AnyCodable(std::move(sorted));
  }

 private:
  // A value's raw token comes plain, a document's wrapped: take both the same way.
  template <typename V>
  static std::string_view rawToken(V& value) {
    simdjson::simdjson_result<std::string_view> raw(value.raw_json_token());
    std::string_view token;
    return std::move(raw).get(token) ? std::string_view() : token;
  }

  // A misspelt true or false; simdjson only says the element is not a boolean.
  template <typename V>
  static simdjson::error_code atomError(V& value) {
    return rawToken(value).starts_with('t') ? simdjson::T_ATOM_ERROR : simdjson::F_ATOM_ERROR;
  }

  template <typename V>
  Expected<AnyCodable, ReadFailure> decodeNumber(V& value) {
    const std::string_view token = rawToken(value);
    const NumberText kind = classifyNumber(token);
    if (kind == NumberText::invalid) return failure(simdjson::NUMBER_ERROR);
    if (!keep_) return AnyCodable();
    // Longer integer texts lie outside 64 bits, and simdjson's reader of a top-level
    // integer cuts them short instead of refusing them.
    constexpr std::size_t kLongestInt64Text = 20;
    std::int64_t i = 0;
    const std::size_t length = std::min(token.find_first_of(" \t\r\n"), token.size());
    if (kind == NumberText::integer && length <= kLongestInt64Text && !value.get_int64().get(i))
      return AnyCodable(i);
    // Fractions, exponents and integers beyond 64 bits (either sign); 1e400 fits no double.
    double d = 0;
    if (value.get_double().get(d) || !std::isfinite(d)) return failure(std::string(kUnsupportedType));
    // An integer text here lies outside the 64-bit range even where its double rounds
    // into it, so it stays a double.
    return kind == NumberText::integer ? AnyCodable(d) : numberFromDouble(d);
  }

  template <typename V>
  Expected<AnyCodable, ReadFailure> decodeString(V& value) {
    std::string_view text;
    if (auto error = value.get_string().get(text)) return failure(error);
    return keep_ ? AnyCodable(std::string(text)) : AnyCodable();
  }

  template <typename V>
  Expected<AnyCodable, ReadFailure> decodeArray(V& value, std::size_t depth) {
    if (depth > kMaxNestingDepth) return nestingFailure();
    od::array array;
    if (auto error = value.get_array().get(array)) return failure(error);
    auto& elements = Scratch<JSONArray>::at(depth);
    for (auto element : array) {
      od::value item;
      if (auto error = element.get(item)) return failure(error);
      auto decoded = decode(item, depth);
      if (!decoded) return Failure{decoded.error()};
      if (keep_) elements.push_back(std::move(decoded).value());
    }
    return AnyCodable(Scratch<JSONArray>::take(elements));
  }

  static Failure nestingFailure() {
    return failure("Arrays and objects nested deeper than " + std::to_string(kMaxNestingDepth) +
                   " levels are not accepted");
  }

  bool keep_;
};

// One reusable parser and padded buffer per thread: no allocation per request once warm.
struct ThreadReader {
  od::parser parser;
  std::string buffer;

  simdjson::simdjson_result<od::document> iterate(std::string_view text) {
    buffer.reserve(text.size() + simdjson::SIMDJSON_PADDING);
    buffer.assign(text);
    return parser.iterate(simdjson::padded_string_view(buffer.data(), text.size(), buffer.capacity()));
  }
};

// simdjson reports text after a top-level object or array as an unfinished document, or
// as trailing content; both are told apart from a truly unfinished one here.
Expected<od::document, ReadFailure> openDocument(std::string_view text) {
  if (hasTextAfterTopLevel(text)) return textAfterTopLevel();
  thread_local ThreadReader reader;
  od::document document;
  if (auto error = reader.iterate(text).get(document)) return failure(error);
  return document;
}

Expected<std::monostate, ReadFailure> requireEnd(od::document& document) {
  // Past the last token the document reports no location; anything else is trailing.
  if (document.current_location().error() != simdjson::OUT_OF_BOUNDS) return textAfterTopLevel();
  return std::monostate{};
}

// The request's three members, decoded as they arrive; every other member is checked.
class RequestFields {
 public:
  Expected<std::monostate, ReadFailure> take(std::string_view key, od::value& member) {
    if (key == "id") return takeId(member);
    if (key == "method") return takeMethod(member);
    if (key == "params") return takeParams(member);
    return succeeded(Decoder(Decoder::Mode::check).decode(member, 0));
  }

  Expected<LMRPCRequest, ReadFailure> finish() {
    if (!sawMethod_) return failure("The required member 'method' is missing");
    return std::move(request_);
  }

 private:
  static Expected<std::monostate, ReadFailure> succeeded(const Expected<AnyCodable, ReadFailure>& decoded) {
    if (!decoded) return Failure{decoded.error()};
    return std::monostate{};
  }

  Expected<std::monostate, ReadFailure> takeId(od::value& member) {
    auto id = Decoder(Decoder::Mode::keep).decode(member, 0);
    if (!id) return Failure{id.error()};
    request_.id = id->isNull() ? std::nullopt : std::optional<AnyCodable>(std::move(id).value());
    return std::monostate{};
  }

  Expected<std::monostate, ReadFailure> takeMethod(od::value& member) {
    auto method = Decoder(Decoder::Mode::keep).decode(member, 0);
    if (!method) return Failure{method.error()};
    auto* name = method->getIf<std::string>();
    if (!name) return failure("The member 'method' must be a string");
    request_.method = std::move(*name);
    sawMethod_ = true;
    return std::monostate{};
  }

  Expected<std::monostate, ReadFailure> takeParams(od::value& member) {
    auto params = Decoder(Decoder::Mode::keep).decode(member, 0);
    if (!params) return Failure{params.error()};
    if (auto* members = params->getIf<JSONObject>()) {
      request_.params = std::move(*members);
    } else if (params->isNull()) {
      request_.params.clear();
    } else {
      return failure("The member 'params' must be an object or null");
    }
    return std::monostate{};
  }

  LMRPCRequest request_;
  bool sawMethod_ = false;
};

}  // namespace

Expected<AnyCodable, ReadFailure> readJSON(std::string_view text) {
  auto document = openDocument(text);
  if (!document) return Failure{document.error()};
  auto value = Decoder(Decoder::Mode::keep).decode(*document, 0);
  if (!value) return value;
  if (auto end = requireEnd(*document); !end) return Failure{end.error()};
  return value;
}

Expected<LMRPCRequest, ReadFailure> readRequest(std::string_view text) {
  auto document = openDocument(text);
  if (!document) return Failure{document.error()};
  od::json_type type;
  if (auto error = document->type().get(type)) return failure(error);
  if (type != od::json_type::object) return failure("Expected a JSON object at the top level");
  od::object object;
  if (auto error = document->get_object().get(object)) return failure(error);

  RequestFields fields;
  for (auto field : object) {
    std::string_view key;
    if (auto error = field.unescaped_key().get(key)) return failure(error);
    od::value member;
    if (auto error = field.value().get(member)) return failure(error);
    if (auto taken = fields.take(key, member); !taken) return Failure{taken.error()};
  }
  if (auto end = requireEnd(*document); !end) return Failure{end.error()};
  return fields.finish();
}

}  // namespace lumetra_rpc
