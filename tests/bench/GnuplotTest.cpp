// Gnuplot: how the program is started and what it writes, with a stand-in for it on the path; whether it is on the
// machine that runs the tests does not matter.
#include "bench/Gnuplot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Bench {
namespace GnuplotTest {

using testing::HasSubstr;
using testing::ThrowsMessage;

class GnuplotTest : public testing::Test {
  protected:
   GnuplotTest() {
      std::string name = (std::filesystem::temp_directory_path() / "gnuplotXXXXXX").string();
      folder_ = mkdtemp(name.data());
      setenv("PATH", folder_.c_str(), 1);
   }
   ~GnuplotTest() override {
      setenv("PATH", path_.c_str(), 1);
      std::filesystem::remove_all(folder_);
   }

   void gnuplotIs(const std::string& shellCommand) {
      const auto program = folder_ / "gnuplot";
      std::ofstream(program) << "#!/bin/sh\n" << shellCommand << '\n';
      std::filesystem::permissions(program, std::filesystem::perms::owner_all);
   }
   std::string file(const std::string& name) const { return (folder_ / name).string(); }
   static std::string textOf(const std::string& path) {
      std::ifstream in(path);
      return {std::istreambuf_iterator<char>(in), {}};
   }

  private:
   const std::string path_ = std::getenv("PATH");
   std::filesystem::path folder_;
};

TEST_F(GnuplotTest, ReadsTheScriptAndWritesTheFile) {
   gnuplotIs("echo \"$*\"; while read -r line; do echo \"$line\"; done");
   runGnuplot("plot 1\nplot '$HOME'\n", file("a b.svg"));
   EXPECT_EQ(textOf(file("a b.svg")), "-d\nplot 1\nplot '$HOME'\n");
}

TEST_F(GnuplotTest, IsAskedFor) {
   EXPECT_THAT([] { needGnuplot(); }, ThrowsMessage<std::runtime_error>(HasSubstr("gnuplot-nox")));
   gnuplotIs("exit 0");
   EXPECT_NO_THROW(needGnuplot());
}

TEST_F(GnuplotTest, FailureNamesTheFile) {
   gnuplotIs("exit 1");
   EXPECT_THAT([&] { runGnuplot("plot", file("x.svg")); },
               ThrowsMessage<std::runtime_error>(file("x.svg") + ": gnuplot failed"));
   EXPECT_THAT([&] { runGnuplot("plot", file("no/x.svg")); },
               ThrowsMessage<std::runtime_error>(file("no/x.svg") + ": No such file or directory"));
}

}  // namespace GnuplotTest
}  // namespace Bench
