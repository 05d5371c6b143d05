// MapPictureAbsent: a build that can't draw says so.
#include <gtest/gtest.h>

#include <filesystem>

#include "Support.h"
#include "tools/rtrie/map/MapPicture.h"

namespace Rtrie {
namespace MapAbsentTest {

TEST(MapAbsent, mapSaysThatItCannotDraw) {
   EXPECT_FALSE(canDraw());
   const Support::Folder folder;
   for (const char* name : {"a.png", "a.svg"}) {
      const auto ran =
         Support::rtrie({"map", "--table", folder.file("t", "10.0.0.0/8\n"), "--out", folder.path(name)});
      EXPECT_EQ("rtrie: this rtrie was built without cairo, which draws the pictures\n", ran.err);
      EXPECT_EQ(3, ran.status);
      EXPECT_FALSE(std::filesystem::exists(folder.path(name)));
   }
}

}  // namespace MapAbsentTest
}  // namespace Rtrie
