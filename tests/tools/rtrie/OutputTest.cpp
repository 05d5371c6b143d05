// Output: buffering, and faults of the descriptor.
#include "tools/rtrie/Output.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "Support.h"
#include "tools/rtrie/Errors.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/OutputFile.h"
#include "tools/rtrie/OutputStream.h"
#include "tools/rtrie/Rows.h"
#include "tools/rtrie/TsvField.h"

namespace Rtrie {
namespace OutputTest {

class OutputTest : public testing::Test {
  protected:
   OutputTest() : path_(folder_.file("out", "")), descriptor_(open(path_.c_str(), O_WRONLY)) {}
   ~OutputTest() override { close(descriptor_); }

   Support::Folder folder_;
   std::string path_;
   int descriptor_;
};

TEST_F(OutputTest, writesWhenFlushed) {
   Output output(descriptor_);
   output.text("a");
   output.format("{}-{}\n", 1, 2);
   output.lineDone();
   EXPECT_EQ("", Support::contentOf(path_));
   output.flush();
   EXPECT_EQ("a1-2\n", Support::contentOf(path_));
   output.flush();
   EXPECT_EQ("a1-2\n", Support::contentOf(path_));
}

TEST_F(OutputTest, writesOnceThereIsEnough) {
   Output output(descriptor_);
   const std::string line(1 << 16, 'x');
   output.text(line);
   output.lineDone();
   EXPECT_EQ(line, Support::contentOf(path_));
}

TEST_F(OutputTest, jsonLinesAndTsvFields) {
   Output output(descriptor_);
   jsonLine(output, {{"z", 1}, {"a", textOrNull("")}, {"m", textOrNull("caf\xe9")}});
   output.flush();
   EXPECT_EQ("{\"z\":1,\"a\":null,\"m\":\"caf\xef\xbf\xbd\"}\n", Support::contentOf(path_));
   EXPECT_EQ("a\\tb\\nc\\rd\\\\e", tsvField("a\tb\nc\rd\\e"));
   EXPECT_EQ("", tsvField(""));
}

TEST(Output, aFullDeviceIsAFault) {
   const int full = open("/dev/full", O_WRONLY);
   ASSERT_GE(full, 0);
   Output output(full);
   output.text("a");
   try {
      output.flush();
      FAIL();
   } catch (const DataError& fault) {
      EXPECT_STREQ("cannot write the output: No space left on device", fault.what());
   }
   close(full);
}

TEST_F(OutputTest, asAStream) {
   Output output(descriptor_);
   OutputStream stream(output);
   stream << "a" << 1 << std::hex << 255 << ' ' << std::endl;
   EXPECT_EQ("", Support::contentOf(path_)) << "a stream's flush is not the output's";
   output.flush();
   EXPECT_EQ("a1ff \n", Support::contentOf(path_));
   stream << std::string(1 << 16, 'x');
   EXPECT_EQ(6u + (1 << 16), Support::contentOf(path_).size()) << "written once there is enough";
}

TEST(Output, aStreamToAFullDeviceIsAFault) {
   const int full = open("/dev/full", O_WRONLY);
   ASSERT_GE(full, 0);
   Output output(full);
   OutputStream stream(output);
   EXPECT_THROW(stream << std::string(1 << 16, 'x'), DataError);
   close(full);
}

TEST(Rows, fieldsAreQuotedWhereTheyHaveTo) {
   EXPECT_EQ("plain text", csvField("plain text"));
   EXPECT_EQ("", csvField(""));
   EXPECT_EQ("\"a,b\"", csvField("a,b"));
   EXPECT_EQ("\"say \"\"no\"\"\"", csvField("say \"no\""));
   EXPECT_EQ("\"two\nlines\"", csvField("two\nlines"));
   EXPECT_EQ("\" blank\"", csvField(" blank"));
   EXPECT_EQ("\"blank \"", csvField("blank "));
}

TEST_F(OutputTest, aFileIsWrittenAsAWhole) {
   const auto path = folder_.path("whole");
   writeFile(path, "first");
   EXPECT_EQ("first", Support::contentOf(path));
   std::filesystem::permissions(path, std::filesystem::perms::owner_all);
   std::filesystem::create_symlink(path, folder_.path("link"));
   writeFile(folder_.path("link"), std::string(100'000, 'x'));
   EXPECT_EQ(std::string(100'000, 'x'), Support::contentOf(path));
   EXPECT_TRUE(std::filesystem::is_symlink(folder_.path("link")));
   EXPECT_EQ(std::filesystem::perms::owner_all, std::filesystem::status(path).permissions());
   EXPECT_THROW(writeFile(folder_.path("no/such"), "x"), DataError);
   EXPECT_THROW(writeFile(folder_.path(""), "x"), DataError);
   writeFile("/dev/null", "x");
   EXPECT_THROW(writeFile("/dev/full", "x"), DataError);
   EXPECT_EQ(3, std::distance(std::filesystem::directory_iterator(folder_.path("")), {})) << "a part was left";
}

// Past the limit of what a process may write, and with the signal of that ignored, as on a full disk.
TEST_F(OutputTest, whatHasNoRoomLeavesTheOlderFile) {
   writeFile(path_, "older");
   const pid_t child = fork();
   if (child == 0) {
      std::signal(SIGXFSZ, SIG_IGN);
      const rlimit limit = {1000, 1000};
      setrlimit(RLIMIT_FSIZE, &limit);
      try {
         writeFile(path_, std::string(100'000, 'x'));
      } catch (const DataError&) {
         _exit(7);
      }
      _exit(0);
   }
   int status = 0;
   waitpid(child, &status, 0);
   EXPECT_EQ(7, WEXITSTATUS(status));
   EXPECT_EQ("older", Support::contentOf(path_));
   EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(folder_.path("")), {}));
}

}  // namespace OutputTest
}  // namespace Rtrie
