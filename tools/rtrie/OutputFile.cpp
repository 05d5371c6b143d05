#include "tools/rtrie/OutputFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

[[noreturn]] void cannotWrite(const std::string& path) {
   throw DataError(fmt::format("{}: cannot write: {}", path, std::strerror(errno)));
}

// False with errno set if not all could be written. Closes the descriptor.
bool writeAllAndClose(int descriptor, std::string_view bytes) {
   while (!bytes.empty()) {
      const ssize_t written = write(descriptor, bytes.data(), bytes.size());
      if (written >= 0) {
         bytes.remove_prefix(static_cast<std::size_t>(written));
      } else if (errno != EINTR) {
         const int error = errno;
         close(descriptor);
         errno = error;
         return false;
      }
   }
   return close(descriptor) == 0;
}

}  // namespace

void writeFile(const std::string& path, std::string_view bytes) {
   struct stat older = {};
   const bool isThere = stat(path.c_str(), &older) == 0;
   if (isThere && !S_ISREG(older.st_mode)) {
      const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
      if (descriptor < 0 || !writeAllAndClose(descriptor, bytes)) {
         cannotWrite(path);
      }
      return;
   }
   // Where the path is a link, it goes on being one.
   const std::unique_ptr<char, decltype(&std::free)> real(isThere ? realpath(path.c_str(), nullptr) : nullptr,
                                                          std::free);
   const std::string target = real ? std::string(real.get()) : path;
   const std::string part = fmt::format("{}.part{}", target, getpid());
   const int descriptor =
      open(part.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, isThere ? older.st_mode & 0777 : 0666);
   if (descriptor < 0) {
      cannotWrite(path);
   }
   if (!writeAllAndClose(descriptor, bytes) || std::rename(part.c_str(), target.c_str()) != 0) {
      const int error = errno;
      unlink(part.c_str());
      errno = error;
      cannotWrite(path);
   }
}

}  // namespace Rtrie
