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
//
// Each value is decoded straight into the place that keeps it (an array's element, an
// object's member), so it is never moved on its way there.
class Decoder {
 public:
  enum class Mode { keep, check };
  explicit Decoder(Mode mode) : keep_(mode == Mode::keep) {}

  // Decodes into `out`, which is left null when checking (so that children being checked
  // can share it); false on failure.
  template <typename V>
  bool decode(V& value, std::size_t depth, AnyCodable& out) {
    od::json_type type;
    if (auto error = value.type().get(type)) return fail(error);
    switch (type) {
      case od::json_type::null: {
        bool isNull = false;
        if (value.is_null().get(isNull) || !isNull) return fail(simdjson::N_ATOM_ERROR);
        return true;
      }
      case od::json_type::boolean: {
        bool b = false;
        if (value.get_bool().get(b)) return fail(atomError(value));
        if (keep_) out = AnyCodable(b);
        return true;
      }
      case od::json_type::number:
        return decodeNumber(value, out);
      case od::json_type::string:
        return decodeString(value, out);
      case od::json_type::array:
        return decodeArray(value, depth + 1, out);
      case od::json_type::object:
        return decodeObject(value, depth + 1, out);
    }
    return fail(failure(std::string(kUnsupportedType)));
  }

  template <typename V>
  bool decodeObject(V& value, std::size_t depth, AnyCodable& out) {
    if (depth > kMaxNestingDepth) return failNesting();
    od::object object;
    if (auto error = value.get_object().get(object)) return fail(error);
    auto& members = Scratch<JSONObject::Members>::at(depth);
    for (auto field : object) {
      std::string_view key;
      if (auto error = field.unescaped_key().get(key)) return fail(error);
      od::value member;
      if (auto error = field.value().get(member)) return fail(error);
      AnyCodable& place = keep_ ? members.emplace_back(std::string(key), AnyCodable()).second : out;
      if (!decode(member, depth, place)) return false;
    }
    if (keep_) out = AnyCodable(JSONObject::fromUnsorted(std::span(members)));
    Scratch<JSONObject::Members>::done(members);
    return true;
  }

  ReadFailure&& takeFailure() && { return std::move(failure_); }

 private:
  bool fail(Failure why) {
    failure_ = std::move(why.error);
    return false;
  }
  bool fail(simdjson::error_code code) { return fail(failure(code)); }
  bool failNesting() {
    return fail(failure("Arrays and objects nested deeper than " + std::to_string(kMaxNestingDepth) +
                        " levels are not accepted"));
  }

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
  bool decodeNumber(V& value, AnyCodable& out) {
    const std::string_view token = rawToken(value);
    const NumberText kind = classifyNumber(token);
    if (kind == NumberText::invalid) return fail(simdjson::NUMBER_ERROR);
    if (!keep_) return true;
    // Longer integer texts lie outside 64 bits, and simdjson's reader of a top-level
    // integer cuts them short instead of refusing them.
    constexpr std::size_t kLongestInt64Text = 20;
    std::int64_t i = 0;
    const std::size_t length = std::min(token.find_first_of(" \t\r\n"), token.size());
    if (kind == NumberText::integer && length <= kLongestInt64Text && !value.get_int64().get(i)) {
      out = AnyCodable(i);
      return true;
    }
    // Fractions, exponents and integers beyond 64 bits (either sign); 1e400 fits no double.
    double d = 0;
    if (value.get_double().get(d) || !std::isfinite(d)) return fail(failure(std::string(kUnsupportedType)));
    // An integer text here lies outside the 64-bit range even where its double rounds
    // into it, so it stays a double.
    out = kind == NumberText::integer ? AnyCodable(d) : numberFromDouble(d);
    return true;
  }

  template <typename V>
  bool decodeString(V& value, AnyCodable& out) {
    std::string_view text;
    if (auto error = value.get_string().get(text)) return fail(error);
    if (keep_) out.value().template emplace<std::string>(text);
    return true;
  }

  template <typename V>
  bool decodeArray(V& value, std::size_t depth, AnyCodable& out) {
    if (depth > kMaxNestingDepth) return failNesting();
    od::array array;
    if (auto error = value.get_array().get(array)) return fail(error);
    auto& elements = Scratch<JSONArray>::at(depth);
    for (auto element : array) {
      od::value item;
      if (auto error = element.get(item)) return fail(error);
      if (!decode(item, depth, keep_ ? elements.emplace_back() : out)) return false;
    }
    if (keep_) out = AnyCodable(Scratch<JSONArray>::take(elements));
    return true;
  }

  bool keep_;
  ReadFailure failure_;
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

// Decodes one member in full into `out`.
template <typename V>
Expected<std::monostate, ReadFailure> decodeInto(Decoder::Mode mode, V& value, AnyCodable& out) {
  Decoder decoder(mode);
  if (!decoder.decode(value, 0, out)) return Failure{std::move(decoder).takeFailure()};
  return std::monostate{};
}

// The request's three members, decoded as they arrive; every other member is checked.
class RequestFields {
 public:
  Expected<std::monostate, ReadFailure> take(std::string_view key, od::value& member) {
    if (key == "id") return takeId(member);
    if (key == "method") return takeMethod(member);
    if (key == "params") return takeParams(member);
    AnyCodable unkept;
    return decodeInto(Decoder::Mode::check, member, unkept);
  }

  Expected<LMRPCRequest, ReadFailure> finish() {
    if (!sawMethod_) return failure("The required member 'method' is missing");
    return std::move(request_);
  }

 private:
  Expected<std::monostate, ReadFailure> takeId(od::value& member) {
    auto& id = request_.id.emplace();
    auto decoded = decodeInto(Decoder::Mode::keep, member, id);
    if (id.isNull()) request_.id.reset();
    return decoded;
  }

  Expected<std::monostate, ReadFailure> takeMethod(od::value& member) {
    AnyCodable method;
    if (auto decoded = decodeInto(Decoder::Mode::keep, member, method); !decoded) return decoded;
    auto* name = method.getIf<std::string>();
    if (!name) return failure("The member 'method' must be a string");
    request_.method = std::move(*name);
    sawMethod_ = true;
    return std::monostate{};
  }

  Expected<std::monostate, ReadFailure> takeParams(od::value& member) {
    AnyCodable params;
    if (auto decoded = decodeInto(Decoder::Mode::keep, member, params); !decoded) return decoded;
    if (auto* members = params.getIf<JSONObject>()) {
      request_.params = std::move(*members);
    } else if (params.isNull()) {
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
  AnyCodable value;
  if (auto decoded = decodeInto(Decoder::Mode::keep, *document, value); !decoded)
    return Failure{decoded.error()};
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
