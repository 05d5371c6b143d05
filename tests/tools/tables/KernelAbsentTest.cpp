// A build that cannot ask a kernel says so, and what to do instead.
#include "Support.h"

namespace Rtrie {
namespace KernelAbsentTest {

TEST(KernelAbsent, saysSo) {
   for (const auto& arguments : {std::vector<std::string>{"lookup", "--table", "kernel:", "10.1.2.3"},
                                 std::vector<std::string>{"walk", "--table", "kernel:all"},
                                 std::vector<std::string>{"watch", "--table", "kernel:main"}}) {
      const auto ran = Support::rtrie(arguments);
      EXPECT_EQ(2, ran.status);
      EXPECT_EQ("", ran.out);
      EXPECT_EQ("rtrie: " + arguments[2] +
                   ": this program was built without libmnl, which it asks kernels with: give it what ip route show "
                   "table all prints\n",
                ran.err);
   }
}

}  // namespace KernelAbsentTest
}  // namespace Rtrie
