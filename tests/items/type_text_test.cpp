#include "items/type_text.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(TypeText, EveryTypeCode) {
  EXPECT_EQ(TypeText({0}), u"MALFORMED");
  EXPECT_EQ(TypeText({1, 1}), u"DIAG RX");
  EXPECT_EQ(TypeText({2, 1}), u"DIAG TX");
  EXPECT_EQ(TypeText({3}), u"GPS");
  EXPECT_EQ(TypeText({4, 1}), u"EVENT");
  EXPECT_EQ(TypeText({5, 1}), u"LOG");
  EXPECT_EQ(TypeText({6, 1, 1}), u"MSG");
  EXPECT_EQ(TypeText({7, 1}), u"STRING");
  EXPECT_EQ(TypeText({8, 1}), u"OTA LOG");
  EXPECT_EQ(TypeText({9, 1, 1}), u"SUBSYS RX");
  EXPECT_EQ(TypeText({10, 1, 1}), u"SUBSYS TX");
}

TEST(TypeText, UnknownForInvalidKeysAndCodes) {
  EXPECT_EQ(TypeText({}), u"Unknown");
  EXPECT_EQ(TypeText({11}), u"Unknown");
  EXPECT_EQ(TypeText({1, 256}), u"Unknown");  // a DIAG code out of range
}

}  // namespace
}  // namespace quillon
