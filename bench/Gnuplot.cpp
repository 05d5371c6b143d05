#include "bench/Gnuplot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace Bench {

namespace {

constexpr const char* program = "gnuplot";

using File = std::unique_ptr<std::FILE, decltype([](std::FILE* file) { std::fclose(file); })>;

[[noreturn]] void fail(const std::string& what, int error) {
   throw std::runtime_error(what + ": " + std::strerror(error));
}

// A file without a name that holds the text, to be read from its start.
File fileOf(const std::string& text) {
   File file(std::tmpfile());
   if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() ||
       std::fflush(file.get()) != 0 || lseek(fileno(file.get()), 0, SEEK_SET) != 0) {
      fail("a script for gnuplot cannot be written", errno);
   }
   return file;
}

// What gnuplot ended with, as wait() tells it; nothing if it could not be started.
bool run(const std::string& script, std::FILE* output, int& status) {
   const File input = fileOf(script);
   posix_spawn_file_actions_t actions;
   posix_spawn_file_actions_init(&actions);
   posix_spawn_file_actions_adddup2(&actions, fileno(input.get()), STDIN_FILENO);
   posix_spawn_file_actions_adddup2(&actions, fileno(output), STDOUT_FILENO);

   // Without the user's own settings, so that a chart looks the same everywhere.
   std::string name = program;
   std::string plain = "-d";
   const std::array<char*, 3> arguments = {name.data(), plain.data(), nullptr};
   pid_t child = 0;
   const int error = posix_spawnp(&child, program, &actions, nullptr, arguments.data(), environ);
   posix_spawn_file_actions_destroy(&actions);
   if (error == ENOENT) {
      return false;
   }
   if (error != 0) {
      fail("gnuplot cannot be started", error);
   }
   while (waitpid(child, &status, 0) < 0) {
      if (errno != EINTR) {
         fail("gnuplot was lost", errno);
      }
   }
   return true;
}

}  // namespace

void needGnuplot() {
   int status = 0;
   const File nowhere(std::fopen("/dev/null", "w"));
   if (nowhere == nullptr) {
      fail("/dev/null", errno);
   }
   if (!run("", nowhere.get(), status) || status != 0) {
      throw std::runtime_error("charts are drawn by gnuplot, which is not here: install it (Debian: gnuplot-nox)");
   }
}

void runGnuplot(const std::string& script, const std::string& path) {
   File output(std::fopen(path.c_str(), "w"));
   if (output == nullptr) {
      fail(path, errno);
   }
   int status = 0;
   if (!run(script, output.get(), status) || status != 0) {
      throw std::runtime_error(path + ": gnuplot failed");
   }
}

}  // namespace Bench
