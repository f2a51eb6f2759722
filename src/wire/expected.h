#pragma once
// A value or the error that prevented it. Errors travel as values inside the library;
// nothing in the request path throws.

#include <cassert>
#include <type_traits>
#include <utility>
#include <variant>

namespace lumetra_rpc {

template <typename E>
struct Unexpected {
  E error;
};
template <typename E>
Unexpected(E) -> Unexpected<E>;

template <typename T>
inline constexpr bool kIsUnexpected = false;
template <typename E>
inline constexpr bool kIsUnexpected<Unexpected<E>> = true;

template <typename T, typename E>
class Expected {
 public:
  // Built in place from whatever makes a T: a value on its way out of a function is not
  // moved once more through a parameter.
  template <typename U = T>
  requires(std::is_constructible_v<T, U&&> && !std::is_same_v<std::remove_cvref_t<U>, Expected> &&
           !kIsUnexpected<std::remove_cvref_t<U>>) Expected(U&& value)
      : state_(std::in_place_index<0>, std::forward<U>(value)) {}
  Expected(Unexpected<E> failure) : state_(std::in_place_index<1>, std::move(failure.error)) {}

  bool hasValue() const noexcept { return state_.index() == 0; }
  explicit operator bool() const noexcept { return hasValue(); }

  T& value() & { return std::get<0>(state_); }
  const T& value() const& { return std::get<0>(state_); }
  T&& value() && { return std::get<0>(std::move(state_)); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }

  const E& error() const& { return std::get<1>(state_); }
  E&& error() && { return std::get<1>(std::move(state_)); }

 private:
  std::variant<T, E> state_;
};

}  // namespace lumetra_rpc
