#include "tools/tables/Unpacker.h"

#include <bzlib.h>
#include <fmt/format.h>
#include <lzma.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

#include "routetrie/platform/Types.h"

namespace Rtrie {
namespace {

using std::string_view_literals::operator""sv;  // NOLINT(misc-unused-using-decls): literals use it

constexpr auto gzSignature = "\x1f\x8b"sv;
constexpr auto bz2Signature = "BZh"sv;
constexpr auto xzSignature =
   "\xfd"
   "7zXZ\0"sv;
constexpr auto zstSignature = "\x28\xb5\x2f\xfd"sv;

// A decoder may ask for its dictionary; what the programs write by themselves stays far below this.
constexpr std::uint64_t maxDecoderBytes = std::uint64_t{256} << 20;

std::string_view textOf(std::span<const char> bytes) { return {bytes.data(), bytes.size()}; }

template <class Count>
Count capped(std::size_t size) {
   return static_cast<Count>(std::min<std::size_t>(size, std::numeric_limits<Count>::max()));
}

class GzUnpacker final : public Unpacker {
  public:
   GzUnpacker() {
      constexpr int gzipWindow = 15 + 16;
      if (inflateInit2(&stream_, gzipWindow) != Z_OK) {
         throw std::bad_alloc();
      }
   }
   ~GzUnpacker() override { inflateEnd(&stream_); }

   Step step(std::span<const char> in, std::span<char> out) override {
      if (isBetween_) {
         // What follows a stream and is none itself is passed over, as gzip does.
         if (!textOf(in).starts_with(gzSignature)) {
            return {in.size(), 0, true};
         }
         inflateReset(&stream_);
         isBetween_ = false;
      }
      stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data()));
      stream_.avail_in = capped<uInt>(in.size());
      stream_.next_out = reinterpret_cast<Bytef*>(out.data());
      stream_.avail_out = capped<uInt>(out.size());
      const uInt inBefore = stream_.avail_in;
      const uInt outBefore = stream_.avail_out;
      switch (inflate(&stream_, Z_NO_FLUSH)) {
         case Z_STREAM_END: isBetween_ = true; break;
         case Z_OK:
         case Z_BUF_ERROR: break;
         case Z_MEM_ERROR: throw std::bad_alloc();
         default: throw BadPacking(stream_.msg != nullptr ? stream_.msg : "dictionary needed");
      }
      return {inBefore - stream_.avail_in, outBefore - stream_.avail_out, false};
   }

  private:
   z_stream stream_{};
   bool isBetween_ = false;  // a stream has ended, and the next has not begun
};

class Bz2Unpacker final : public Unpacker {
  public:
   Bz2Unpacker() { begin(); }
   ~Bz2Unpacker() override { BZ2_bzDecompressEnd(&stream_); }

   Step step(std::span<const char> in, std::span<char> out) override {
      if (isBetween_) {
         if (!textOf(in).starts_with(bz2Signature)) {
            return {in.size(), 0, true};
         }
         BZ2_bzDecompressEnd(&stream_);
         begin();
         isBetween_ = false;
      }
      stream_.next_in = const_cast<char*>(in.data());
      stream_.avail_in = capped<unsigned>(in.size());
      stream_.next_out = out.data();
      stream_.avail_out = capped<unsigned>(out.size());
      const unsigned inBefore = stream_.avail_in;
      const unsigned outBefore = stream_.avail_out;
      switch (BZ2_bzDecompress(&stream_)) {
         case BZ_STREAM_END: isBetween_ = true; break;
         case BZ_OK: break;
         case BZ_MEM_ERROR: throw std::bad_alloc();
         default: throw BadPacking("its data does not fit its check sums");
      }
      return {inBefore - stream_.avail_in, outBefore - stream_.avail_out, false};
   }

  private:
   void begin() {
      stream_ = {};
      if (BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK) {
         throw std::bad_alloc();
      }
   }

   bz_stream stream_{};
   bool isBetween_ = false;
};

class XzUnpacker final : public Unpacker {
  public:
   XzUnpacker() {
      if (lzma_stream_decoder(&stream_, maxDecoderBytes, LZMA_CONCATENATED) != LZMA_OK) {
         throw std::bad_alloc();
      }
   }
   ~XzUnpacker() override { lzma_end(&stream_); }

   Step step(std::span<const char> in, std::span<char> out) override {
      stream_.next_in = reinterpret_cast<const uint8_t*>(in.data());
      stream_.avail_in = in.size();
      stream_.next_out = reinterpret_cast<uint8_t*>(out.data());
      stream_.avail_out = out.size();
      const auto code = lzma_code(&stream_, in.empty() ? LZMA_FINISH : LZMA_RUN);
      switch (code) {
         case LZMA_OK:
         case LZMA_STREAM_END:
         case LZMA_BUF_ERROR: break;
         case LZMA_MEM_ERROR: throw std::bad_alloc();
         case LZMA_MEMLIMIT_ERROR:
            throw BadPacking(fmt::format("unpacking it takes more than {} MiB", maxDecoderBytes >> 20));
         case LZMA_FORMAT_ERROR: throw BadPacking("something else follows its data");
         case LZMA_OPTIONS_ERROR: throw BadPacking("it was written in a way that is not known here");
         default: throw BadPacking("its data does not fit its check sums");
      }
      return {in.size() - stream_.avail_in, out.size() - stream_.avail_out, code == LZMA_STREAM_END};
   }

  private:
   lzma_stream stream_ = LZMA_STREAM_INIT;
};

class ZstUnpacker final : public Unpacker {
  public:
   ZstUnpacker() : stream_(ZSTD_createDStream()) {
      if (stream_ == nullptr) {
         throw std::bad_alloc();
      }
   }
   ~ZstUnpacker() override { ZSTD_freeDStream(stream_); }

   Step step(std::span<const char> in, std::span<char> out) override {
      if (in.empty() && isBetween_) {
         return {0, 0, true};
      }
      ZSTD_inBuffer from = {in.data(), in.size(), 0};
      ZSTD_outBuffer to = {out.data(), out.size(), 0};
      const std::size_t code = ZSTD_decompressStream(stream_, &to, &from);
      if (ZSTD_isError(code) != 0) {
         throw BadPacking(ZSTD_getErrorName(code));
      }
      isBetween_ = code == 0;
      return {from.pos, to.pos, false};
   }

  private:
   ZSTD_DStream* stream_;
   bool isBetween_ = false;
};

template <class Made>
std::unique_ptr<Unpacker> make() {
   return std::make_unique<Made>();
}

template <const std::string_view& signature>
bool startsWith(std::string_view bytes) {
   return bytes.starts_with(signature);
}

// "BZh", the size of a block, and the mark of a first block or of the end: "BZh" alone could begin a word.
bool isBz2(std::string_view bytes) {
   if (!bytes.starts_with(bz2Signature)) {
      return false;
   }
   const auto size = bytes.substr(bz2Signature.size(), 1);
   const auto mark = bytes.substr(std::min(bytes.size(), bz2Signature.size() + 1)).substr(0, 6);
   return !size.empty() && size >= "1" && size <= "9" &&
          ("\x31\x41\x59\x26\x53\x59"sv.starts_with(mark) || "\x17\x72\x45\x38\x50\x90"sv.starts_with(mark));
}

constexpr auto lz4Signature = "\x04\x22\x4d\x18"sv;
constexpr auto lzipSignature = "LZIP"sv;
constexpr auto zipSignature = "PK\x03\x04"sv;
constexpr auto sevenZipSignature = "7z\xbc\xaf\x27\x1c"sv;
constexpr auto compressSignature = "\x1f\x9d"sv;

constexpr Packing packings[] = {
   {".gz", startsWith<gzSignature>, make<GzUnpacker>}, {".bz2", isBz2, make<Bz2Unpacker>},
   {".xz", startsWith<xzSignature>, make<XzUnpacker>}, {".zst", startsWith<zstSignature>, make<ZstUnpacker>},
   {".lz4", startsWith<lz4Signature>, nullptr},        {".lz", startsWith<lzipSignature>, nullptr},
   {".zip", startsWith<zipSignature>, nullptr},        {".7z", startsWith<sevenZipSignature>, nullptr},
   {".Z", startsWith<compressSignature>, nullptr},
};

}  // namespace

const Packing* packingOf(std::string_view firstBytes) {
   for (const Packing& packing : packings) {
      if (packing.isAt(firstBytes)) {
         return &packing;
      }
   }
   return nullptr;
}

}  // namespace Rtrie
