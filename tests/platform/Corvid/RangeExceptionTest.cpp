#include "routetrie/platform/Corvid/RangeException.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace RangeExceptionTest {

using Corvid::RangeException;

TEST(RangeException, isARangeError) {
   static_assert(std::is_base_of_v<std::range_error, RangeException>);
   EXPECT_THROW(RangeException::throwException("text"), std::range_error);
   EXPECT_THROW(RangeException::throwException("text"), std::runtime_error);
}

TEST(RangeException, copiesItsText) {
   std::string text = "prefix length 33 exceeds 32";
   try {
      RangeException::throwException(text.c_str());
   } catch (const RangeException& fault) {
      text.assign(text.size(), 'x');
      EXPECT_STREQ("prefix length 33 exceeds 32", fault.what());
      return;
   }
   FAIL() << "nothing was raised";
}

TEST(RangeException, mayHaveNoText) {
   try {
      RangeException::throwException("");
   } catch (const RangeException& fault) {
      EXPECT_STREQ("", fault.what());
      return;
   }
   FAIL() << "nothing was raised";
}

}  // namespace RangeExceptionTest
