#pragma once
// The members of a JSON object, sorted by name, in one block that also holds the block's
// reference count, so that an object costs one allocation. Copies share the block until
// one of them is changed. A request's values pass from the reader through parsing, the
// handler, the SDK boundary and the result to the writer; sharing makes each hand-over
// cost a pointer instead of a copy of every member, and one sorted array is quicker to
// build, walk and free than a node per member.
//
// Sharing never lets two owners see each other's changes: a block that has once been
// copied is frozen, and changing it through any owner first gives that owner a block of
// its own. The copy itself sets the freeze, so no owner ever changes a block that another
// thread can read, and no reference count has to be trusted for that.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace lumetra_rpc {

template <typename Value>
class SortedObject {
 public:
  using key_type = std::string;
  using mapped_type = Value;
  using value_type = std::pair<std::string, Value>;
  // Members gathered in any order, before they become an object.
  using Members = std::vector<value_type>;
  using size_type = std::size_t;
  using iterator = value_type*;
  using const_iterator = const value_type*;

  SortedObject() = default;
  SortedObject(std::initializer_list<value_type> members) {
    for (const auto& member : members) insert_or_assign(member.first, member.second);
  }
  template <typename It>
  SortedObject(It first, It last) {
    for (; first != last; ++first) insert_or_assign(first->first, first->second);
  }
  // Takes members in any order; of two with one name the later wins, as in a JSON text.
  // The span's members are moved from, and the span is reordered.
  static SortedObject fromUnsorted(std::span<value_type> members);
  static SortedObject fromUnsorted(Members members) { return fromUnsorted(std::span<value_type>(members)); }

  SortedObject(const SortedObject& other) noexcept : node_(share(other.node_)) {}
  SortedObject(SortedObject&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
  SortedObject& operator=(const SortedObject& other) noexcept {
    if (this != &other) SortedObject(other).swap(*this);
    return *this;
  }
  SortedObject& operator=(SortedObject&& other) noexcept {
    SortedObject(std::move(other)).swap(*this);
    return *this;
  }
  ~SortedObject() { release(node_); }

  // Reading never copies.
  std::span<const value_type> members() const noexcept { return {begin(), end()}; }
  const_iterator begin() const noexcept { return node_ ? node_->items() : nullptr; }
  const_iterator end() const noexcept { return node_ ? node_->items() + node_->size : nullptr; }
  size_type size() const noexcept { return node_ ? node_->size : 0; }
  bool empty() const noexcept { return size() == 0; }
  const_iterator find(std::string_view name) const {
    auto at = lowerBound(begin(), end(), name);
    return at != end() && at->first == name ? at : end();
  }
  bool contains(std::string_view name) const { return find(name) != end(); }
  size_type count(std::string_view name) const { return contains(name) ? 1 : 0; }
  const Value& at(std::string_view name) const {
    auto found = find(name);
    if (found == end()) throw std::out_of_range("no member " + std::string(name));
    return found->second;
  }

  // Changing takes the block for this owner alone first.
  iterator begin() {
    own(size());
    return node_ ? node_->items() : nullptr;
  }
  iterator end() {
    own(size());
    return node_ ? node_->items() + node_->size : nullptr;
  }
  iterator find(std::string_view name) {
    auto first = begin();
    auto last = end();
    auto at = lowerBound(first, last, name);
    return at != last && at->first == name ? at : last;
  }
  Value& at(std::string_view name) {
    auto found = find(name);
    if (found == end()) throw std::out_of_range("no member " + std::string(name));
    return found->second;
  }
  Value& operator[](std::string_view name) { return try_emplace(name).first->second; }
  template <typename... A>
  std::pair<iterator, bool> try_emplace(std::string_view name, A&&... args);
  template <typename K, typename V>
  std::pair<iterator, bool> emplace(K&& name, V&& value) {
    return try_emplace(std::string_view(name), std::forward<V>(value));
  }
  std::pair<iterator, bool> insert(value_type member) {
    return try_emplace(member.first, std::move(member.second));
  }
  template <typename V>
  std::pair<iterator, bool> insert_or_assign(std::string_view name, V&& value) {
    auto [at, inserted] = try_emplace(name, std::forward<V>(value));
    if (!inserted) at->second = std::forward<V>(value);
    return {at, inserted};
  }
  size_type erase(std::string_view name);
  void clear() noexcept { SortedObject().swap(*this); }
  void swap(SortedObject& other) noexcept { std::swap(node_, other.node_); }

  friend bool operator==(const SortedObject& a, const SortedObject& b) {
    return a.node_ == b.node_ || std::equal(a.begin(), a.end(), b.begin(), b.end());
  }

 private:
  // The block's header; `capacity` members follow it in the same allocation.
  struct alignas(value_type) Node {
    std::atomic<std::size_t> refs{1};
    std::atomic<bool> frozen{false};
    std::size_t size = 0;
    std::size_t capacity = 0;

    value_type* items() noexcept { return reinterpret_cast<value_type*>(this + 1); }
  };

  static std::size_t blocks(std::size_t capacity) noexcept {
    return 1 + (capacity * sizeof(value_type) + sizeof(Node) - 1) / sizeof(Node);
  }
  static Node* allocate(std::size_t capacity) {
    Node* node = std::allocator<Node>().allocate(blocks(capacity));
    std::construct_at(node)->capacity = capacity;
    return node;
  }
  static Node* share(Node* node) noexcept {
    if (node) {
      node->refs.fetch_add(1, std::memory_order_relaxed);
      node->frozen.store(true, std::memory_order_relaxed);
    }
    return node;
  }
  static void release(Node* node) noexcept {
    if (!node || node->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    std::destroy_n(node->items(), node->size);
    const auto count = blocks(node->capacity);
    std::destroy_at(node);
    std::allocator<Node>().deallocate(node, count);
  }

  template <typename It>
  static It lowerBound(It first, It last, std::string_view name) {
    return std::lower_bound(first, last, name,
                            [](const value_type& member, std::string_view n) { return member.first < n; });
  }

  // Appends to a block built by this owner, which has room for it.
  void append(value_type&& member) noexcept {
    std::construct_at(node_->items() + node_->size, std::move(member));
    ++node_->size;
  }

  // Gives this owner a block of its own with room for `capacity` members. A frozen block
  // is copied; an own one is only moved when it is too small.
  void own(std::size_t capacity) {
    if (!node_ && capacity == 0) return;
    const bool frozen = node_ && node_->frozen.load(std::memory_order_relaxed);
    if (node_ && !frozen && capacity <= node_->capacity) return;
    SortedObject fresh;
    fresh.node_ = allocate(std::max<std::size_t>(capacity, 4));
    for (auto& member : std::span<value_type>(node_ ? node_->items() : nullptr, size())) {
      if (frozen) {
        std::construct_at(fresh.node_->items() + fresh.node_->size, member);
        ++fresh.node_->size;
      } else {
        fresh.append(std::move(member));
      }
    }
    swap(fresh);
  }

  Node* node_ = nullptr;
};

template <typename Value>
template <typename... A>
auto SortedObject<Value>::try_emplace(std::string_view name, A&&... args) -> std::pair<iterator, bool> {
  const const_iterator first = std::as_const(*this).begin();
  const auto index = static_cast<std::size_t>(lowerBound(first, first + size(), name) - first);
  if (index < size() && node_->items()[index].first == name) return {begin() + index, false};
  // Built before the block is touched, so a throwing value leaves the object as it was.
  value_type member(std::piecewise_construct, std::forward_as_tuple(name),
                    std::forward_as_tuple(std::forward<A>(args)...));
  const auto n = size();
  own(n < (node_ ? node_->capacity : 0) ? n + 1 : std::max<std::size_t>(n * 2, n + 1));
  value_type* items = node_->items();
  if (index == n) {
    append(std::move(member));
  } else {
    append(std::move(items[n - 1]));
    std::move_backward(items + index, items + n - 1, items + n);
    items[index] = std::move(member);
  }
  return {items + index, true};
}

template <typename Value>
auto SortedObject<Value>::erase(std::string_view name) -> size_type {
  auto at = find(name);
  if (at == end()) return 0;
  std::move(at + 1, end(), at);
  std::destroy_at(node_->items() + node_->size - 1);
  --node_->size;
  return 1;
}

template <typename Value>
SortedObject<Value> SortedObject<Value>::fromUnsorted(std::span<value_type> members) {
  SortedObject object;
  if (members.empty()) return object;
  object.node_ = allocate(members.size());
  // Of equal names, which arrive next to each other, the later one's value is kept.
  auto take = [&object](value_type& member) {
    auto& node = *object.node_;
    if (node.size > 0 && node.items()[node.size - 1].first == member.first) {
      node.items()[node.size - 1].second = std::move(member.second);
    } else {
      object.append(std::move(member));
    }
  };
  auto byName = [](const value_type& a, const value_type& b) { return a.first < b.first; };
  if (members.size() <= 16 || std::is_sorted(members.begin(), members.end(), byName)) {
    // A few members sort in place, stably, with nothing to allocate.
    for (auto at = members.begin(); at != members.end(); ++at)
      std::rotate(std::upper_bound(members.begin(), at, *at, byName), at, at + 1);
    for (auto& member : members) take(member);
  } else {
    // Sorting positions and moving each member once beats moving members while sorting.
    std::vector<std::uint32_t> order(members.size());
    for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return members[a].first < members[b].first; });
    for (auto i : order) take(members[i]);
  }
  return object;
}

}  // namespace lumetra_rpc
