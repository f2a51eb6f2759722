#include "wire/json_reader.h"

#include <simdjson.h>
#include <cmath>

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

// 2^63: the first double that no signed 64-bit integer can hold.
constexpr double kTwoTo63 = 9223372036854775808.0;

AnyCodable numberFromDouble(double d) {
  if (d >= -kTwoTo63 && d < kTwoTo63 && std::trunc(d) == d) return static_cast<std::int64_t>(d);
  return d;
}

// Decodes documents and values alike: both offer the same typed getters.
class Decoder {
 public:
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
        if (auto error = value.get_bool().get(b)) return failure(error);
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
    JSONObject members;
    for (auto field : object) {
      std::string_view key;
      if (auto error = field.unescaped_key().get(key)) return failure(error);
      if (!simdjson::validate_utf8(key.data(), key.size())) return invalidUnicode();
      od::value member;
      if (auto error = field.value().get(member)) return failure(error);
      auto decoded = decode(member, depth);
      if (!decoded) return Failure{decoded.error()};
      members.insert_or_assign(std::string(key), std::move(decoded).value());
    }
    return AnyCodable(std::move(members));
  }

 private:
  template <typename V>
  Expected<AnyCodable, ReadFailure> decodeNumber(V& value) {
    od::number_type kind;
    if (auto error = value.get_number_type().get(kind)) return failure(error);
    if (kind == od::number_type::signed_integer) {
      std::int64_t i = 0;
      if (auto error = value.get_int64().get(i)) return failure(error);
      return AnyCodable(i);
    }
    if (kind == od::number_type::unsigned_integer) {
      std::uint64_t u = 0;
      if (!value.get_uint64().get(u)) return AnyCodable(static_cast<double>(u));
    }
    // Floating-point texts and integers beyond 64 bits; 1e400 fits no double.
    double d = 0;
    if (value.get_double().get(d) || !std::isfinite(d)) return failure(std::string(kUnsupportedType));
    return numberFromDouble(d);
  }

  template <typename V>
  Expected<AnyCodable, ReadFailure> decodeString(V& value) {
    std::string_view text;
    if (auto error = value.get_string().get(text)) return failure(error);
    // Escapes can spell lone surrogates, which are not text; refuse them rather than pass
    // invalid UTF-8 on to the SDK or back to the host.
    if (!simdjson::validate_utf8(text.data(), text.size())) return invalidUnicode();
    return AnyCodable(std::string(text));
  }

  template <typename V>
  Expected<AnyCodable, ReadFailure> decodeArray(V& value, std::size_t depth) {
    if (depth > kMaxNestingDepth) return nestingFailure();
    od::array array;
    if (auto error = value.get_array().get(array)) return failure(error);
    JSONArray elements;
    for (auto element : array) {
      od::value item;
      if (auto error = element.get(item)) return failure(error);
      auto decoded = decode(item, depth);
      if (!decoded) return Failure{decoded.error()};
      elements.push_back(std::move(decoded).value());
    }
    return AnyCodable(std::move(elements));
  }

  static Failure nestingFailure() {
    return failure("Arrays and objects nested deeper than " + std::to_string(kMaxNestingDepth) +
                   " levels are not accepted");
  }
  static Failure invalidUnicode() { return failure("The given data contains invalid Unicode text"); }
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

ThreadReader& threadReader() {
  thread_local ThreadReader reader;
  return reader;
}

Expected<std::monostate, ReadFailure> requireEnd(od::document& document) {
  // Past the last token the document reports no location; anything else is trailing.
  if (document.current_location().error() != simdjson::OUT_OF_BOUNDS)
    return failure(simdjson::TRAILING_CONTENT);
  return std::monostate{};
}

}  // namespace

Expected<AnyCodable, ReadFailure> readJSON(std::string_view text) {
  od::document document;
  if (auto error = threadReader().iterate(text).get(document)) return failure(error);
  Decoder decoder;
  auto value = decoder.decode(document, 0);
  if (!value) return value;
  if (auto end = requireEnd(document); !end) return Failure{end.error()};
  return value;
}

Expected<LMRPCRequest, ReadFailure> readRequest(std::string_view text) {
  od::document document;
  if (auto error = threadReader().iterate(text).get(document)) return failure(error);
  od::json_type type;
  if (auto error = document.type().get(type)) return failure(error);
  if (type != od::json_type::object) return failure("Expected a JSON object at the top level");
  od::object object;
  if (auto error = document.get_object().get(object)) return failure(error);

  LMRPCRequest request;
  bool sawMethod = false;
  Decoder decoder;
  for (auto field : object) {
    std::string_view key;
    if (auto error = field.unescaped_key().get(key)) return failure(error);
    od::value member;
    if (auto error = field.value().get(member)) return failure(error);
    if (key == "id") {
      auto id = decoder.decode(member, 0);
      if (!id) return Failure{id.error()};
      request.id = id->isNull() ? std::nullopt : std::optional<AnyCodable>(std::move(id).value());
    } else if (key == "method") {
      auto method = decoder.decode(member, 0);
      if (!method) return Failure{method.error()};
      auto* name = method->getIf<std::string>();
      if (!name) return failure("The member 'method' must be a string");
      request.method = std::move(*name);
      sawMethod = true;
    } else if (key == "params") {
      auto params = decoder.decode(member, 0);
      if (!params) return Failure{params.error()};
      if (auto* members = params->getIf<JSONObject>()) {
        request.params = std::move(*members);
      } else if (params->isNull()) {
        request.params.clear();
      } else {
        return failure("The member 'params' must be an object or null");
      }
    }
  }
  if (!sawMethod) return failure("The required member 'method' is missing");
  if (auto end = requireEnd(document); !end) return Failure{end.error()};
  return request;
}

}  // namespace lumetra_rpc
