#include "tools/tables/JsonReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>

#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

constexpr std::size_t jsonChunkBytes = std::size_t{1} << 16;

// The bytes of a source, of which no more than a limit may go by without an end of something.
class Bytes {
  public:
   Bytes(ByteSource& source, std::uint64_t most) : source_(source), most_(most), buffer_(jsonChunkBytes) { fill(); }

   bool atEnd() const { return begin_ == end_; }
   char front() const { return buffer_[begin_]; }
   void next() {
      if (++sinceMark_ > most_) {
         throw BadText(fmt::format("byte {}: an entry longer than {} bytes", position_, most_));
      }
      ++position_;
      if (++begin_ == end_) {
         fill();
      }
   }
   void mark() { sinceMark_ = 0; }

  private:
   void fill() {
      begin_ = 0;
      end_ = source_.read(buffer_.data(), buffer_.size());
   }

   ByteSource& source_;
   std::uint64_t most_;
   std::vector<char> buffer_;
   std::size_t begin_ = 0;
   std::size_t end_ = 0;
   std::uint64_t position_ = 0;
   std::uint64_t sinceMark_ = 0;
};

// Copies share their place, as an input iterator's do. Without bytes, it is the end.
struct ByteIterator {
   using iterator_category = std::input_iterator_tag;
   using value_type = char;
   using difference_type = std::ptrdiff_t;
   using pointer = const char*;
   using reference = char;

   Bytes* bytes = nullptr;

   char operator*() const { return bytes->front(); }
   ByteIterator& operator++() {
      bytes->next();
      return *this;
   }
   bool operator==(const ByteIterator& other) const { return isEnd() == other.isEnd(); }
   bool isEnd() const { return bytes == nullptr || bytes->atEnd(); }
};

// Puts entries together from what the parser tells.
class Entries final : public nlohmann::json_sax<nlohmann::json> {
  public:
   Entries(Bytes& bytes, const std::function<void(const JsonEntry& entry)>& each, JsonLimits limits)
      : bytes_(bytes), each_(each), limits_(limits) {}

   bool null() override { return scalar(JsonValue::Kind::null, ""); }
   bool boolean(bool value) override { return scalar(JsonValue::Kind::boolean, value ? "true" : "false"); }
   bool number_integer(std::int64_t value) override {
      return scalar(JsonValue::Kind::number, fmt::format("{}", value));
   }
   bool number_unsigned(std::uint64_t value) override {
      return scalar(JsonValue::Kind::number, fmt::format("{}", value));
   }
   bool number_float(double, const std::string& text) override { return scalar(JsonValue::Kind::number, text); }
   bool string(std::string& text) override { return scalar(JsonValue::Kind::string, text); }
   bool binary(nlohmann::json::binary_t&) override { return true; }
   bool key(std::string& name) override {
      if (open_.empty()) {
         entry_.path.back() = name;
      } else {
         open_.back().names.push_back(name);
      }
      return true;
   }
   bool start_object(std::size_t) override { return start(JsonValue::Kind::object); }
   bool start_array(std::size_t) override { return start(JsonValue::Kind::array); }
   bool end_object() override { return end(); }
   bool end_array() override { return end(); }
   bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override {
      // "[json.exception.parse_error.101] parse error at line 1, column 5: syntax error ..."
      std::string_view what = error.what();
      constexpr std::string_view lead = " at ";
      if (const auto at = what.find(lead); at != std::string_view::npos) {
         what.remove_prefix(at + lead.size());
      }
      fault_ = what;
      return false;
   }

   const std::string& fault() const { return fault_; }

  private:
   bool isWithinArray() const { return arrays_ > 0; }

   bool start(JsonValue::Kind kind) {
      if (++depth_ > limits_.depth) {
         fault_ = fmt::format("nested deeper than {}", limits_.depth);
         return false;
      }
      if (isWithinArray()) {
         open_.emplace_back().kind = kind;
      } else if (kind == JsonValue::Kind::array) {
         arrays_ = 1;
         bytes_.mark();
      } else {
         entry_.path.emplace_back();
      }
      return true;
   }

   bool end() {
      --depth_;
      if (!open_.empty()) {
         JsonValue value = std::move(open_.back());
         open_.pop_back();
         put(std::move(value));
      } else if (isWithinArray()) {
         arrays_ = 0;
         bytes_.mark();
      } else {
         entry_.path.pop_back();
         bytes_.mark();
      }
      return true;
   }

   bool scalar(JsonValue::Kind kind, std::string text) {
      if (isWithinArray()) {
         JsonValue value;
         value.kind = kind;
         value.text = std::move(text);
         put(std::move(value));
      } else {
         bytes_.mark();
      }
      return true;
   }

   void put(JsonValue value) {
      if (!open_.empty()) {
         open_.back().values.push_back(std::move(value));
         return;
      }
      entry_.value = std::move(value);
      bytes_.mark();
      each_(entry_);
   }

   Bytes& bytes_;
   const std::function<void(const JsonEntry& entry)>& each_;
   const JsonLimits limits_;
   std::size_t depth_ = 0;
   unsigned arrays_ = 0;          // 1 within the outermost array
   JsonEntry entry_;              // its path has a name for each open object outside of that array
   std::vector<JsonValue> open_;  // what is not complete within an entry, outermost first
   std::string fault_;
};

}  // namespace

const JsonValue* JsonValue::at(std::string_view name) const {
   const auto found = std::find(names.begin(), names.end(), name);
   return found == names.end() ? nullptr : &values[static_cast<std::size_t>(found - names.begin())];
}

std::string_view JsonValue::textAt(std::string_view name) const {
   const JsonValue* value = at(name);
   return value == nullptr ? std::string_view() : std::string_view(value->text);
}

bool isJson(std::string_view firstBytes) {
   constexpr std::string_view space = " \t\r\n";
   if (firstBytes.starts_with("\xef\xbb\xbf")) {
      firstBytes.remove_prefix(3);
   }
   const auto skip = [&] {
      firstBytes.remove_prefix(std::min(firstBytes.size(), firstBytes.find_first_not_of(space)));
   };
   skip();
   if (firstBytes.empty() || (firstBytes.front() != '{' && firstBytes.front() != '[')) {
      return false;
   }
   const bool isObject = firstBytes.front() == '{';
   firstBytes.remove_prefix(1);
   skip();
   // Lines of text may begin with a bracket as well: [::]/0
   return firstBytes.empty() ||
          (isObject ? std::string_view("\"}") : std::string_view("{[\"]")).find(firstBytes.front()) !=
             std::string_view::npos;
}

void readJson(ByteSource& source, const std::function<void(const JsonEntry& entry)>& each,
              const std::function<void(const std::string& what)>& tell, JsonLimits limits) {
   Bytes bytes(source, limits.entryBytes);
   constexpr std::string_view between = " \t\r\n\xef\xbb\xbf";
   try {
      for (;;) {
         while (!bytes.atEnd() && between.find(bytes.front()) != std::string_view::npos) {
            bytes.next();
         }
         bytes.mark();
         if (bytes.atEnd()) {
            return;
         }
         Entries entries(bytes, each, limits);
         if (!nlohmann::json::sax_parse(ByteIterator{&bytes}, ByteIterator{}, &entries,
                                        nlohmann::json::input_format_t::json, false)) {
            tell(entries.fault());
            return;
         }
      }
   } catch (const BadText& fault) {
      tell(fault.what());
   }
}

}  // namespace Rtrie
