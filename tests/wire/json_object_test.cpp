#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "wire/json_reader.h"
#include "wire/json_writer.h"

namespace lumetra_rpc {
namespace {

// Copies share their members; a change through one owner must never show through another,
// whichever of them changes and however deep the change is.
TEST(JSONObject, CopiesNeverSeeEachOthersChanges) {
  JSONObject original{{"b", 1}, {"a", JSONObject{{"x", "y"}}}};
  JSONObject copy = original;
  copy.insert_or_assign("c", 3);
  copy["b"] = 2;
  EXPECT_EQ(*writeJSON(original), R"({"a":{"x":"y"},"b":1})");
  EXPECT_EQ(*writeJSON(copy), R"({"a":{"x":"y"},"b":2,"c":3})");

  JSONObject third = copy;
  copy.erase("a");
  copy.clear();
  EXPECT_EQ(*writeJSON(third), R"({"a":{"x":"y"},"b":2,"c":3})");
  EXPECT_TRUE(copy.empty());

  // Growing and shrinking in every position, with a copy holding each earlier state.
  JSONObject grown;
  std::vector<std::pair<JSONObject, std::size_t>> states;
  for (int i = 0; i < 40; ++i) {
    grown[std::to_string((i * 17) % 40)] = i;
    states.emplace_back(grown, grown.size());
  }
  for (int i = 0; i < 40; i += 3) EXPECT_EQ(grown.erase(std::to_string(i)), 1u);
  EXPECT_EQ(grown.erase("absent"), 0u);
  EXPECT_EQ(grown.size(), 26u);
  EXPECT_TRUE(std::is_sorted(grown.begin(), grown.end(), [](auto& a, auto& b) { return a.first < b.first; }));
  for (const auto& [state, size] : states) EXPECT_EQ(state.size(), size);
  EXPECT_EQ(states.back().first.at("0"), AnyCodable(0));
  EXPECT_EQ(states.back().first.at("17"), AnyCodable(1));
}

TEST(JSONObject, KeepsMembersSortedAndTheLastOfEqualNames) {
  auto object = JSONObject::fromUnsorted({{"b", 1}, {"a", 2}, {"b", 3}, {"c", 4}, {"a", 5}});
  EXPECT_EQ(*writeJSON(object), R"({"a":5,"b":3,"c":4})");
  EXPECT_EQ(*writeJSON(*readJSON(R"({"z":1,"y":{"k":1,"k":2},"z":3})")), R"({"y":{"k":2},"z":3})");
  // Names order by their bytes taken unsigned: the empty name first, UTF-8 after ASCII.
  auto bytes =
      JSONObject::fromUnsorted({{"\u00e9", 1}, {"za", 2}, {"", 3}, {"z", 4}, {"Z", 5}, {"\u00e9", 6}});
  EXPECT_EQ(*writeJSON(bytes), "{\"\":3,\"Z\":5,\"z\":4,\"za\":2,\"\u00e9\":6}");
  EXPECT_NE(bytes.find("\u00e9"), bytes.end());
  EXPECT_NE(bytes.find(""), bytes.end());
  EXPECT_EQ(bytes.find("zb"), bytes.end());
  // Past a few members the sort takes another path; it must keep the same order and rule.
  JSONObject::Members many;
  for (int i = 300; i > 0; --i) many.emplace_back("k" + std::to_string(i % 7), i);
  auto sorted = JSONObject::fromUnsorted(std::move(many));
  ASSERT_EQ(sorted.size(), 7u);
  for (int k = 0; k < 7; ++k) EXPECT_EQ(sorted.begin()[k].second, AnyCodable(k == 0 ? 7 : k));
  JSONObject built;
  for (const char* name : {"m", "a", "z", "b"}) EXPECT_TRUE(built.emplace(name, 1).second);
  EXPECT_FALSE(built.emplace("a", 2).second);
  EXPECT_EQ(*writeJSON(built), R"({"a":1,"b":1,"m":1,"z":1})");
  EXPECT_EQ(built.count("m"), 1u);
  EXPECT_EQ(built.find("q"), built.end());
}

}  // namespace
}  // namespace lumetra_rpc
