#include "tools/rtrie/shell/HistoryFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace Rtrie {
namespace {

// Makes the folder and those above it, which hold what a person did. False, with errno, if that can't be done.
bool madeFolder(const std::string& path) {
   constexpr mode_t forOwner = 0700;
   struct stat found {};
   if (path.empty() || stat(path.c_str(), &found) == 0) {
      return true;
   }
   return madeFolder(path.substr(0, path.rfind('/'))) && (mkdir(path.c_str(), forOwner) == 0 || errno == EEXIST);
}

int openToAdd(const std::string& path) {
   constexpr mode_t forOwner = 0600;
   return open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, forOwner);
}

}  // namespace

std::string HistoryFile::defaultPath() {
   // A path that is not absolute is to be ignored, by the rules for that variable.
   const char* state = std::getenv("XDG_STATE_HOME");
   if (state != nullptr && *state == '/') {
      return std::string(state) + "/rtrie/history";
   }
   const char* home = std::getenv("HOME");
   return home != nullptr && *home == '/' ? std::string(home) + "/.local/state/rtrie/history" : "";
}

HistoryFile::HistoryFile(std::string path) : path_(std::move(path)) {
   if (path_.empty()) {
      fault_ = "neither XDG_STATE_HOME nor HOME names a folder";
      return;
   }
   const int file = madeFolder(path_.substr(0, path_.rfind('/'))) ? openToAdd(path_) : -1;
   if (file < 0) {
      fault_ = fmt::format("cannot write {}: {}", path_, std::strerror(errno));
   } else {
      close(file);
   }
   read();
}

void HistoryFile::read() {
   std::ifstream file(path_);
   for (std::string line; std::getline(file, line);) {
      lines_.push_back(line);
   }
   if (lines_.size() > mostLines) {
      const bool isMuchTooLong = lines_.size() > 2 * mostLines;
      lines_.erase(lines_.begin(), lines_.end() - mostLines);
      if (isMuchTooLong && fault_.empty()) {
         rewrite();
      }
   }
}

// By way of another file, since a shell beside this one may read it.
void HistoryFile::rewrite() const {
   const std::string fresh = fmt::format("{}.{}", path_, getpid());
   const int file = openToAdd(fresh);
   if (file < 0) {
      return;  // it stays long, then
   }
   const std::string text = fmt::format("{}\n", fmt::join(lines_, "\n"));
   const bool isWhole = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
   close(file);
   if (!isWhole || rename(fresh.c_str(), path_.c_str()) != 0) {
      unlink(fresh.c_str());
   }
}

void HistoryFile::add(std::string_view line) {
   if (!fault_.empty()) {
      return;
   }
   const int file = openToAdd(path_);
   const std::string text = fmt::format("{}\n", line);
   // One write, so that lines of several shells do not mix.
   if (file < 0 || write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      fault_ = fmt::format("cannot write {}: {}", path_, std::strerror(errno));
   }
   if (file >= 0) {
      close(file);
   }
}

}  // namespace Rtrie
