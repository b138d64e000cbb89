#include "plugin/StringsFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include <sstream>

namespace {

TEST(StringsFile, ReadsEntriesCommentsAndEscapes) {
  std::istringstream in("/* a = \"b\"; */\n\"k1\" = \"one\";\n// not this\n\"k 2\"=\"say \\\"two\\\"\\n\\\\\";");
  bool complete = false;
  const LocalisedStrings strings = ReadStringsFile(in, &complete);
  EXPECT_TRUE(complete);
  EXPECT_EQ(strings, (LocalisedStrings{{"k1", "one"}, {"k 2", "say \"two\"\n\\"}}));
}

TEST(StringsFile, KeepsWhatStandsBeforeAFault) {
  for (const char* faulty : {"\"a\" = \"1\"; \"b\" = \"2\"", "\"a\" = \"1\"; \"b\" \"2\";", "\"a\" = \"1\"; b = \"2\";",
                             "\"a\" = \"1\"; \"b\" = \"2", "\"a\" = \"1\"; \"b\" = \"2\\"}) {
    std::istringstream in(faulty);
    bool complete = true;
    EXPECT_EQ(ReadStringsFile(in, &complete), (LocalisedStrings{{"a", "1"}})) << faulty;
    EXPECT_FALSE(complete) << faulty;
  }
}

TEST(StringsFile, AnUnclosedCommentEndsTheFile) {
  std::istringstream in("\"a\" = \"1\"; /* and so on");
  EXPECT_EQ(ReadStringsFile(in).size(), 1u);
}

class ShippedStrings : public testing::TestWithParam<const char*> {
 protected:
  static LocalisedStrings Load(const std::string& language) {
    std::ifstream in(ORVANE_SOURCE_DIR "/resources/" + language + ".lproj/Localizable.strings");
    bool complete = false;
    LocalisedStrings strings = ReadStringsFile(in, &complete);
    EXPECT_TRUE(complete) << language;
    return strings;
  }
};

TEST_P(ShippedStrings, HaveATextForEveryKey) {
  const LocalisedStrings english = Load("en"), strings = Load(GetParam());
  EXPECT_EQ(english.size(), 40u);  // 18 parameters, 13 menu entries, 9 texts of alerts
  for (const auto& [key, text] : english) {
    EXPECT_EQ(key.rfind("OrvaneFCPX::", 0), 0u);
    ASSERT_TRUE(strings.count(key)) << key;
    EXPECT_FALSE(strings.at(key).empty()) << key;
  }
  EXPECT_EQ(strings.size(), english.size());
}

INSTANTIATE_TEST_SUITE_P(Languages, ShippedStrings, testing::Values("en", "de", "fr"));

}  // namespace
