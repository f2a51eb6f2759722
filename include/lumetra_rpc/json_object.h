#pragma once
// The members of a JSON object, sorted by name, in one vector whose copies share it until
// one of them is changed. A request's values pass from the reader through parsing, the
// handler, the SDK boundary and the result to the writer; sharing makes each hand-over
// cost a pointer instead of a copy of every member, and one sorted vector is quicker to
// build, walk and free than a node per member.
//
// Sharing never lets two owners see each other's changes: a vector that has once been
// copied is frozen, and changing it through any owner first gives that owner a vector of
// its own. The copy itself sets the freeze, so no owner ever changes a vector that
// another thread can read, and no reference count has to be trusted for that.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumetra_rpc {

template <typename Value>
class SortedObject {
 public:
  using key_type = std::string;
  using mapped_type = Value;
  using value_type = std::pair<std::string, Value>;
  using Members = std::vector<value_type>;
  using size_type = typename Members::size_type;
  using iterator = typename Members::iterator;
  using const_iterator = typename Members::const_iterator;

  SortedObject() = default;
  SortedObject(std::initializer_list<value_type> members) {
    for (const auto& member : members) insert_or_assign(member.first, member.second);
  }
  template <typename It>
  SortedObject(It first, It last) {
    for (; first != last; ++first) insert_or_assign(first->first, first->second);
  }
  // Takes members in any order; of two with one name the later wins, as in a JSON text.
  static SortedObject fromUnsorted(Members members);

  SortedObject(const SortedObject& other) noexcept : node_(other.node_) { freeze(); }
  SortedObject(SortedObject&&) noexcept = default;
  SortedObject& operator=(const SortedObject& other) noexcept {
    node_ = other.node_;
    freeze();
    return *this;
  }
  SortedObject& operator=(SortedObject&&) noexcept = default;
  ~SortedObject() = default;

  // Reading never copies.
  const Members& members() const noexcept { return node_ ? node_->members : noMembers(); }
  const_iterator begin() const noexcept { return members().begin(); }
  const_iterator end() const noexcept { return members().end(); }
  size_type size() const noexcept { return members().size(); }
  bool empty() const noexcept { return members().empty(); }
  const_iterator find(std::string_view name) const {
    auto at = lowerBound(members(), name);
    return at != end() && at->first == name ? at : end();
  }
  bool contains(std::string_view name) const { return find(name) != end(); }
  size_type count(std::string_view name) const { return contains(name) ? 1 : 0; }
  const Value& at(std::string_view name) const {
    auto found = find(name);
    if (found == end()) throw std::out_of_range("no member " + std::string(name));
    return found->second;
  }

  // Changing takes the vector for this owner alone first.
  iterator begin() { return edit().begin(); }
  iterator end() { return edit().end(); }
  iterator find(std::string_view name) {
    auto at = lowerBound(edit(), name);
    return at != end() && at->first == name ? at : end();
  }
  Value& at(std::string_view name) {
    auto found = find(name);
    if (found == end()) throw std::out_of_range("no member " + std::string(name));
    return found->second;
  }
  Value& operator[](std::string_view name) { return try_emplace(name).first->second; }
  template <typename... A>
  std::pair<iterator, bool> try_emplace(std::string_view name, A&&... args) {
    auto& all = edit();
    auto at = lowerBound(all, name);
    if (at != all.end() && at->first == name) return {at, false};
    return {all.emplace(at, std::piecewise_construct, std::forward_as_tuple(name),
                        std::forward_as_tuple(std::forward<A>(args)...)),
            true};
  }
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
  size_type erase(std::string_view name) {
    auto at = find(name);
    if (at == end()) return 0;
    edit().erase(at);
    return 1;
  }
  void clear() noexcept { node_.reset(); }
  void swap(SortedObject& other) noexcept { node_.swap(other.node_); }

  friend bool operator==(const SortedObject& a, const SortedObject& b) {
    return a.node_ == b.node_ || a.members() == b.members();
  }

 private:
  struct Node {
    Members members;
    std::atomic<bool> frozen{false};
  };

  template <typename Range>
  static auto lowerBound(Range& all, std::string_view name) {
    return std::lower_bound(all.begin(), all.end(), name,
                            [](const value_type& member, std::string_view n) { return member.first < n; });
  }
  Members& edit() {
    if (!node_) {
      node_ = std::make_shared<Node>();
    } else if (node_->frozen.load(std::memory_order_relaxed)) {
      auto own = std::make_shared<Node>();
      own->members = node_->members;
      node_ = std::move(own);
    }
    return node_->members;
  }
  void freeze() noexcept {
    if (node_) node_->frozen.store(true, std::memory_order_relaxed);
  }
  static const Members& noMembers() noexcept {
    static const Members kEmpty;
    return kEmpty;
  }

  std::shared_ptr<Node> node_;
};

template <typename Value>
SortedObject<Value> SortedObject<Value>::fromUnsorted(Members members) {
  auto byName = [](const value_type& a, const value_type& b) { return a.first < b.first; };
  if (std::is_sorted(members.begin(), members.end(), byName)) {
    // Already in order.
  } else if (members.size() <= 16) {
    // A few members sort in place, stably, with nothing to allocate.
    for (auto at = members.begin() + 1; at != members.end(); ++at)
      std::rotate(std::upper_bound(members.begin(), at, *at, byName), at, at + 1);
  } else {
    // Sorting positions and moving each member once beats moving members while sorting.
    std::vector<std::uint32_t> order(members.size());
    for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return members[a].first < members[b].first; });
    Members sorted;
    sorted.reserve(members.size());
    for (auto i : order) sorted.push_back(std::move(members[i]));
    members = std::move(sorted);
  }
  // Keep the last of equal names: move it over the first, then drop the rest.
  auto sameName = [](const value_type& a, const value_type& b) { return a.first == b.first; };
  if (std::adjacent_find(members.begin(), members.end(), sameName) != members.end()) {
    Members unique;
    for (auto& member : members) {
      if (!unique.empty() && unique.back().first == member.first) {
        unique.back().second = std::move(member.second);
      } else {
        unique.push_back(std::move(member));
      }
    }
    members = std::move(unique);
  }
  SortedObject object;
  if (!members.empty()) object.edit() = std::move(members);
  return object;
}

}  // namespace lumetra_rpc
