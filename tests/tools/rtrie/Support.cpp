#include "Support.h"

#include <bzlib.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <lzma.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>
#include <zstd.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tools/rtrie/Errors.h"
#include "tools/rtrie/TableSet.h"

extern char** environ;

namespace Rtrie::Support {

Folder::Folder() {
   std::string pattern = (std::filesystem::temp_directory_path() / "rtrie-test-XXXXXX").string();
   if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("no temporary folder");
   }
   folder_ = pattern;
}

Folder::~Folder() { std::filesystem::remove_all(folder_); }

std::string Folder::file(std::string_view name, std::string_view content) const {
   std::ofstream(path(name), std::ios::binary) << content;
   return path(name);
}

std::string Folder::gzFile(std::string_view name, std::string_view content) const { return file(name, gz(content)); }

std::string gz(std::string_view content) {
   z_stream stream{};
   constexpr int gzipWindow = 15 + 16;
   if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, gzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
      throw std::runtime_error("zlib does not start");
   }
   std::string input(content);
   std::string output(deflateBound(&stream, input.size()) + 32, '\0');
   stream.next_in = reinterpret_cast<Bytef*>(input.data());
   stream.avail_in = static_cast<uInt>(input.size());
   stream.next_out = reinterpret_cast<Bytef*>(output.data());
   stream.avail_out = static_cast<uInt>(output.size());
   const int code = deflate(&stream, Z_FINISH);
   output.resize(stream.total_out);
   deflateEnd(&stream);
   if (code != Z_STREAM_END) {
      throw std::runtime_error("zlib does not end");
   }
   return output;
}

std::string bz2(std::string_view content) {
   std::string input(content);
   std::string output(input.size() + input.size() / 50 + 700, '\0');
   auto size = static_cast<unsigned>(output.size());
   if (BZ2_bzBuffToBuffCompress(output.data(), &size, input.data(), static_cast<unsigned>(input.size()), 9, 0, 0) !=
       BZ_OK) {
      throw std::runtime_error("bzip2 does not end");
   }
   output.resize(size);
   return output;
}

std::string xz(std::string_view content) {
   std::string output(lzma_stream_buffer_bound(content.size()), '\0');
   std::size_t size = 0;
   if (lzma_easy_buffer_encode(6, LZMA_CHECK_CRC64, nullptr, reinterpret_cast<const uint8_t*>(content.data()),
                               content.size(), reinterpret_cast<uint8_t*>(output.data()), &size,
                               output.size()) != LZMA_OK) {
      throw std::runtime_error("xz does not end");
   }
   output.resize(size);
   return output;
}

std::string zst(std::string_view content) {
   ZSTD_CCtx* context = ZSTD_createCCtx();
   ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
   std::string output(ZSTD_compressBound(content.size()), '\0');
   const auto size = ZSTD_compress2(context, output.data(), output.size(), content.data(), content.size());
   ZSTD_freeCCtx(context);
   if (ZSTD_isError(size) != 0) {
      throw std::runtime_error("zstd does not end");
   }
   output.resize(size);
   return output;
}

std::string contentOf(const std::string& path) {
   std::ifstream file(path, std::ios::binary);
   std::ostringstream content;
   content << file.rdbuf();
   return content.str();
}

pid_t started(std::vector<std::string> arguments, const std::string& in, const std::string& out,
              const std::string& err) {
   arguments.insert(arguments.begin(), "rtrie");
   std::vector<char*> words;
   for (auto& argument : arguments) {
      words.push_back(argument.data());
   }
   words.push_back(nullptr);

   posix_spawn_file_actions_t files;
   posix_spawn_file_actions_init(&files);
   posix_spawn_file_actions_addopen(&files, STDIN_FILENO, in.c_str(), O_RDONLY, 0);
   posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out.c_str(), O_WRONLY, 0);
   posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err.c_str(), O_WRONLY, 0);
   pid_t child = 0;
   const int failed = posix_spawn(&child, RTRIE_PROGRAM, &files, nullptr, words.data(), environ);
   posix_spawn_file_actions_destroy(&files);
   if (failed != 0) {
      throw std::runtime_error("cannot run " RTRIE_PROGRAM);
   }
   return child;
}

Ran rtrie(const std::vector<std::string>& arguments, std::string_view input) {
   const Folder folder;
   const auto in = folder.file("in", input);
   const auto out = folder.file("out", "");
   const auto err = folder.file("err", "");
   const pid_t child = started(arguments, in, out, err);
   int status = 0;
   rusage usage{};
   wait4(child, &status, 0, &usage);
   return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contentOf(out), contentOf(err),
           static_cast<std::uint64_t>(usage.ru_maxrss) * 1024};
}

std::vector<std::string> textOf(RouteSet& routes) {
   routes.seal();
   std::vector<std::string> lines;
   for (auto af : families) {
      routes.forEach(af, [&](const Corenet::IpGenPrefix& route) {
         lines.push_back(fmt::format("{} {}", route.stringValue(), routes.payload(route).value_or("(lost)")));
      });
   }
   return lines;
}

Parsed parsed(LineParser& parser, const std::vector<std::string>& lines) {
   RouteSet routes;
   routes.candidatesAreKept();
   Parsed result;
   for (const auto& line : lines) {
      try {
         parser.line(line, routes);
      } catch (const BadText& fault) {
         result.faults.emplace_back(fault.what());
      }
   }
   parser.end(routes);
   result.routes = textOf(routes);
   for (auto af : families) {
      routes.forEach(af, [&](const Corenet::IpGenPrefix& route) {
         for (const Candidate& candidate : routes.candidates(route)) {
            if (!candidate.chosen) {
               result.candidates.push_back(fmt::format("{} {}{}", route.stringValue(), candidate.payload,
                                                       candidate.answers ? "" : " (bound)"));
            }
         }
      });
   }
   result.leftOut = parser.leftOut().names();
   return result;
}

}  // namespace Rtrie::Support
