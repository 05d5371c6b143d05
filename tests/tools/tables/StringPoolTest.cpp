// StringPool: one id for one text.
#include "tools/tables/StringPool.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Rtrie {
namespace StringPoolTest {

TEST(StringPool, theEmptyTextIsIdZero) {
   StringPool pool;
   EXPECT_EQ(0U, pool.idOf(""));
   EXPECT_EQ("", pool.text(0));
   EXPECT_EQ(1U, pool.size());
}

TEST(StringPool, equalTextsShareAnId) {
   StringPool pool;
   const U32 australia = pool.idOf("AU");
   const U32 china = pool.idOf("CN");
   EXPECT_NE(australia, china);
   EXPECT_EQ(australia, pool.idOf("AU"));
   EXPECT_EQ(china, pool.idOf(std::string("C") + "N"));
   EXPECT_EQ("AU", pool.text(australia));
   EXPECT_EQ("CN", pool.text(china));
   EXPECT_EQ(3U, pool.size());
   EXPECT_NE(pool.idOf("AUCN"), pool.idOf("A"));  // pieces of neighbours are texts of their own
   EXPECT_EQ(0U, pool.idOf(""));
}

TEST(StringPool, growsWithoutLosingAny) {
   StringPool pool;
   std::vector<U32> ids;
   for (unsigned i = 0; i < 5000; ++i) {
      ids.push_back(pool.idOf("text " + std::to_string(i)));
   }
   for (unsigned i = 0; i < 5000; ++i) {
      ASSERT_EQ("text " + std::to_string(i), pool.text(ids[i]));
      ASSERT_EQ(ids[i], pool.idOf("text " + std::to_string(i)));
   }
   EXPECT_EQ(5001U, pool.size());
}

}  // namespace StringPoolTest
}  // namespace Rtrie
