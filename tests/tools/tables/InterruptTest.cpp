// Interrupt: SIGINT is noted while it is caught, raised once, and ends what reads and prints.
#include "tools/tables/Interrupt.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tools/rtrie/Output.h"
#include "tools/tables/Progress.h"

namespace Rtrie {
namespace InterruptTest {

TEST(Interrupt, isRaisedOnceForEachSignal) {
   const InterruptsCaught caught;
   EXPECT_NO_THROW(stopIfInterrupted());
   std::raise(SIGINT);
   EXPECT_THROW(stopIfInterrupted(), Interrupted);
   EXPECT_NO_THROW(stopIfInterrupted());
}

TEST(Interrupt, oneThatNobodySawIsForgottenWithTheCatcher) {
   {
      const InterruptsCaught caught;
      std::raise(SIGINT);
   }
   EXPECT_NO_THROW(stopIfInterrupted());
   const InterruptsCaught again;
   EXPECT_NO_THROW(stopIfInterrupted());
}

TEST(Interrupt, theHandlerBeforeComesBack) {
   std::signal(SIGINT, SIG_IGN);
   { const InterruptsCaught caught; }
   std::raise(SIGINT);  // would end the program
   EXPECT_EQ(SIG_IGN, std::signal(SIGINT, SIG_DFL));
}

TEST(Interrupt, endsOutputAndLongWork) {
   const InterruptsCaught caught;
   Output output(STDOUT_FILENO);
   Progress progress(false);
   std::raise(SIGINT);
   output.text("dropped");
   EXPECT_THROW(output.lineDone(), Interrupted);
   std::raise(SIGINT);
   EXPECT_THROW(progress.update("table", 1, 2, 1), Interrupted);
   progress.update("table", 1, 2, 1);
   output.lineDone();
}

TEST(Interrupt, endsAWriteThatWaits) {
   const InterruptsCaught caught;
   int ends[2];
   ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
   const auto room = static_cast<std::size_t>(fcntl(ends[1], F_SETPIPE_SZ, 4096));
   Output output(ends[1]);
   output.text(std::string(room + 1, 'x'));  // nobody reads
   struct sigaction action {};
   action.sa_handler = [](int) { std::raise(SIGINT); };
   struct sigaction before {};
   sigaction(SIGALRM, &action, &before);
   ualarm(50000, 0);
   EXPECT_THROW(output.flush(), Interrupted);
   sigaction(SIGALRM, &before, nullptr);
   close(ends[0]);
   close(ends[1]);
}

}  // namespace InterruptTest
}  // namespace Rtrie
