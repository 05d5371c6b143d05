#include "tools/rtrie/shell/Redirection.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/rtrie/Errors.h"

extern char** environ;

namespace Rtrie {
namespace {

// A system's shell that reads from the descriptor. Raises DataError.
pid_t startedShell(const std::string& commandLine, int input) {
   posix_spawn_file_actions_t files;
   posix_spawn_file_actions_init(&files);
   posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
   // It shall end when its own reader does.
   posix_spawnattr_t attributes;
   posix_spawnattr_init(&attributes);
   sigset_t defaults;
   sigemptyset(&defaults);
   sigaddset(&defaults, SIGPIPE);
   posix_spawnattr_setsigdefault(&attributes, &defaults);
   posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

   std::string words[] = {"sh", "-c", commandLine};
   char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
   pid_t process = 0;
   const int fault = posix_spawn(&process, "/bin/sh", &files, &attributes, arguments, environ);
   posix_spawnattr_destroy(&attributes);
   posix_spawn_file_actions_destroy(&files);
   if (fault != 0) {
      throw DataError(fmt::format("cannot run /bin/sh: {}", std::strerror(fault)));
   }
   return process;
}

}  // namespace

Redirection::Redirection(const ShellLine& line) {
   if (!line.file.empty()) {
      const int file =
         open(line.file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | (line.appends ? O_APPEND : O_TRUNC), 0666);
      if (file < 0) {
         throw DataError(fmt::format("cannot write {}: {}", line.file, std::strerror(errno)));
      }
      outputIs(file);
   } else if (!line.pipe.empty()) {
      int ends[2];
      if (pipe2(ends, O_CLOEXEC) != 0) {
         throw DataError(fmt::format("cannot make a pipe: {}", std::strerror(errno)));
      }
      try {
         command_ = startedShell(line.pipe, ends[0]);
      } catch (...) {
         close(ends[0]);
         close(ends[1]);
         throw;
      }
      close(ends[0]);
      struct sigaction ignored {};
      ignored.sa_handler = SIG_IGN;  // a write tells, too
      sigaction(SIGPIPE, &ignored, &pipeBefore_);
      outputIs(ends[1]);
   }
}

void Redirection::outputIs(int descriptor) {
   before_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
   dup2(descriptor, STDOUT_FILENO);
   close(descriptor);
}

bool Redirection::end() {
   if (before_ >= 0) {
      dup2(before_, STDOUT_FILENO);
      close(before_);
      before_ = -1;
   }
   if (command_ == 0) {
      return true;
   }
   int status = 0;
   while (waitpid(command_, &status, 0) < 0 && errno == EINTR) {
   }
   command_ = 0;
   sigaction(SIGPIPE, &pipeBefore_, nullptr);
   return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace Rtrie
