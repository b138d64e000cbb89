#include "film/ParameterStore.h"

#include <gtest/gtest.h>

#include "film/StoredNumber.h"

namespace film {
namespace {

class ParameterStoreTest : public testing::Test {
 protected:
  ParameterStoreTest() {
    store.addToggleButtonWithName("Toggle", 1, true, 0);
    store.addPushButtonWithName(
        "Button", 2, [this] { ++presses; }, 0);
    store.startParameterSubGroup("Group", 10, 0);
    store.addPopupMenuWithName("Menu", 3, 1, {"a", "b", "c"}, 0);
    store.addIntSliderWithName("Int", 4, 100, 1, 100, 1, 100, 1, 4);
    store.endParameterSubGroup();
    store.addFloatSliderWithName("Float", 5, 1.5, 1.0, 2.0, 1.0, 2.0, 0.01, 0);
    store.addCustomParameterWithName("Custom", 6, std::make_shared<StoredNumber>(7.0), 35);
  }
  ParameterStore store;
  int presses = 0;
};

TEST_F(ParameterStoreTest, ValuesBeginAsTheirDefaults) {
  bool toggle = false;
  int number = 0;
  double amount = 0;
  EXPECT_TRUE(store.getBoolValue(&toggle, 1, 0.0));
  EXPECT_TRUE(toggle);
  EXPECT_TRUE(store.getIntValue(&number, 3, 5.0));
  EXPECT_EQ(number, 1);
  EXPECT_TRUE(store.getIntValue(&number, 4, 0.0));
  EXPECT_EQ(number, 100);
  EXPECT_TRUE(store.getFloatValue(&amount, 5, 0.0));
  EXPECT_EQ(amount, 1.5);
}

TEST_F(ParameterStoreTest, AnotherKindOrAnUnknownOneIsRefusedAndLeavesTheResult) {
  int number = -5;
  bool toggle = true;
  double amount = -5;
  std::shared_ptr<const KeyedCodable> custom;
  for (unsigned id : {1u, 2u, 5u, 6u, 10u, 99u}) EXPECT_FALSE(store.getIntValue(&number, id, 0.0)) << id;
  for (unsigned id : {2u, 3u, 4u, 5u, 6u, 99u}) EXPECT_FALSE(store.getBoolValue(&toggle, id, 0.0)) << id;
  for (unsigned id : {1u, 3u, 4u, 6u, 99u}) EXPECT_FALSE(store.getFloatValue(&amount, id, 0.0)) << id;
  for (unsigned id : {1u, 3u, 99u}) EXPECT_FALSE(store.getCustomParameterValue(&custom, id)) << id;
  EXPECT_EQ(number, -5);
  EXPECT_TRUE(toggle);
  EXPECT_EQ(amount, -5);
  EXPECT_FALSE(store.setIntValue(1, 1, 0.0));
  EXPECT_FALSE(store.setParameterFlags(4, 99));
  EXPECT_FALSE(store.setCustomParameterValue(std::make_shared<StoredNumber>(), 3));
}

TEST_F(ParameterStoreTest, NumbersStayInTheirRange) {
  EXPECT_FALSE(store.setNumber(3, 3));
  EXPECT_FALSE(store.setNumber(3, -1));
  EXPECT_FALSE(store.setNumber(4, 0));
  EXPECT_FALSE(store.setNumber(4, 50.5));
  EXPECT_FALSE(store.setNumber(5, 2.01));
  EXPECT_FALSE(store.setNumber(6, 1));
  EXPECT_TRUE(store.setNumber(5, 2.0));
  EXPECT_TRUE(store.setIntValue(2, 3, 0.0));
  EXPECT_EQ(store.find(3)->value, 2);
}

TEST_F(ParameterStoreTest, ButtonsRunWhatTheyWereDeclaredWith) {
  EXPECT_TRUE(store.press(2));
  EXPECT_EQ(presses, 1);
  EXPECT_FALSE(store.press(1));
  EXPECT_FALSE(store.press(99));
}

TEST_F(ParameterStoreTest, AnIdIsDeclaredOnce) {
  EXPECT_FALSE(store.addToggleButtonWithName("Again", 4, false, 0));
  EXPECT_EQ(store.parameters().size(), 7u);
}

TEST_F(ParameterStoreTest, GroupsHoldWhatIsDeclaredInThem) {
  EXPECT_EQ(store.find(3)->group, 10u);
  EXPECT_EQ(store.find(4)->group, 10u);
  EXPECT_EQ(store.find(5)->group, 0u);
  EXPECT_FALSE(store.endParameterSubGroup());
}

TEST_F(ParameterStoreTest, FlagsCanBeChanged) {
  EXPECT_EQ(store.find(4)->flags, 4u);
  EXPECT_TRUE(store.setParameterFlags(0, 4));
  EXPECT_EQ(store.find(4)->flags, 0u);
}

TEST_F(ParameterStoreTest, NumbersAndArchivesComeBackFromJson) {
  store.setNumber(4, 30);
  store.setNumber(5, 1.23);
  store.setCustomParameterValue(std::make_shared<StoredNumber>(0.1), 6);
  const nlohmann::json numbers = store.numbers(), archives = store.archives();
  store.setNumber(4, 40);
  store.setNumber(5, 1.0);
  store.setCustomParameterValue(std::make_shared<StoredNumber>(9), 6);
  store.setNumbers(numbers);
  store.setArchives(archives);
  EXPECT_EQ(store.numbers(), nlohmann::json::parse(R"({"1": 1, "3": 1, "4": 30, "5": 1.23})"));
  EXPECT_EQ(dynamic_cast<const StoredNumber&>(*store.find(6)->custom).number, 0.1);
}

TEST_F(ParameterStoreTest, StoredNumbersOutOfRangeAreNotTaken) {
  store.setNumbers(nlohmann::json::parse(R"({"3": 17, "4": "many", "5": null, "77": 1})"));
  EXPECT_EQ(store.find(3)->value, 1);
  EXPECT_EQ(store.find(4)->value, 100);
  EXPECT_EQ(store.find(5)->value, 1.5);
}

}  // namespace
}  // namespace film
