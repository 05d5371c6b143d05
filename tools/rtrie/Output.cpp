#include "tools/rtrie/Output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/rtrie/Errors.h"

namespace Rtrie {

void Output::flush() {
   std::string_view rest(buffer_.data(), buffer_.size());
   while (!rest.empty()) {
      const ssize_t written = write(descriptor_, rest.data(), rest.size());
      if (written < 0 && errno != EINTR) {
         const bool isReaderGone = errno == EPIPE;
         const std::string fault = fmt::format("cannot write the output: {}", std::strerror(errno));
         if (isReaderGone) {
            throw ReaderGone(fault);
         }
         throw DataError(fault);
      }
      stopIfInterrupted();  // a signal may have cut the write short
      rest.remove_prefix(static_cast<std::size_t>(std::max(written, ssize_t{0})));
   }
   buffer_.clear();
}

}  // namespace Rtrie
