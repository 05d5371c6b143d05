// ByteCursor: numbers in network order, and nothing past the end.
#include "tools/tables/ByteCursor.h"

#include "Support.h"
#include "tests/tools/tables/MrtBytes.h"

namespace Rtrie {
namespace ByteCursorTest {

TEST(ByteCursor, numbersInNetworkOrder) {
   const std::string bytes("\x01\x02\x03\xff\xfe\xfd\xfc\x05\x06", 9);
   ByteCursor cursor(Mrt::bytesOf(bytes));
   EXPECT_EQ(1, cursor.u8("a"));
   EXPECT_EQ(0x0203, cursor.u16("a"));
   EXPECT_EQ(0xfffefdfcU, cursor.u32("a"));
   EXPECT_EQ(7U, cursor.at());
   EXPECT_EQ(2U, cursor.left());
   EXPECT_EQ(5, cursor.take(2, "a")[0]);
   EXPECT_TRUE(cursor.atEnd());
   EXPECT_TRUE(cursor.take(0, "a").empty());
}

TEST(ByteCursor, whatIsNotThereTakesNothing) {
   const std::string bytes("\x01\x02\x03", 3);
   ByteCursor cursor(Mrt::bytesOf(bytes));
   try {
      cursor.u32("a peer");
      FAIL();
   } catch (const BadText& fault) {
      EXPECT_STREQ("a peer takes 4 bytes where 3 are left", fault.what());
   }
   EXPECT_EQ(0U, cursor.at());
   cursor.u16("a peer");
   EXPECT_THROW(cursor.u16("a peer"), BadText);
   EXPECT_EQ(3, cursor.u8("a peer"));
   EXPECT_THROW(cursor.u8("a peer"), BadText);
}

}  // namespace ByteCursorTest
}  // namespace Rtrie
