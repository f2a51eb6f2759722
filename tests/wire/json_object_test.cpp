#include <string>

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
}

TEST(JSONObject, KeepsMembersSortedAndTheLastOfEqualNames) {
  auto object = JSONObject::fromUnsorted({{"b", 1}, {"a", 2}, {"b", 3}, {"c", 4}, {"a", 5}});
  EXPECT_EQ(*writeJSON(object), R"({"a":5,"b":3,"c":4})");
  EXPECT_EQ(*writeJSON(*readJSON(R"({"z":1,"y":{"k":1,"k":2},"z":3})")), R"({"y":{"k":2},"z":3})");
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
