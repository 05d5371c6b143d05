// Trace: lines for a developer, by facility and level. A facility has a name and a word with a bit for each level; while
// the bit is clear, a trace costs the test of that word and forms no text. Nothing traced changes what a program does.
//
//    TraceHandle("Trie", false)       names the facility:    static constexpr Tesk::TraceHandle trace("Trie", false);
//    ROUTETRIE_TRACE(trace, 8)        opens a line if on:    ROUTETRIE_TRACE(trace, 8) << " prefix " << prefix;
//    TraceHandle::find("Trie")        for tools:             Tesk::TraceHandle::find("Trie")->levelIs(8, true);
//
// The facilities of the tries exist by name from load time on, whether or not anything has traced; others come to be with
// their first handle, and none ever goes. A line is written to the sink in one piece:
//
//    Trie/8 longerRoutePresent Trie.cpp:120: text
//
// Any thread may trace and switch levels at any time.
// Tested by tests/platform/Tesk/TraceTest.cpp.
#pragma once

#include <atomic>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Tesk {

class ROUTETRIE_EXPORT TraceFacility {
  public:
   // The lower, the rarer and the more important: 0 is for what should not be, 8 for every call.
   enum FacilityLevel : U8 { level0, level1, level2, level3, level4, level5, level6, level7, level8, level9 };

   constexpr explicit TraceFacility(std::string_view name, TraceFacility* next = nullptr) noexcept
      : name_(name), next_(next) {}
   TraceFacility(const TraceFacility&) = delete;
   TraceFacility& operator=(const TraceFacility&) = delete;

   std::string_view name() const noexcept { return name_; }
   // Bit n is level n.
   U32 mask() const noexcept { return mask_.load(std::memory_order_relaxed); }
   void maskIs(U32 bits) noexcept { mask_.store(bits, std::memory_order_relaxed); }
   void levelIs(U32 level, bool on) noexcept {
      const U32 bit = U32{1} << level;
      if (on) {
         mask_.fetch_or(bit, std::memory_order_relaxed);
      } else {
         mask_.fetch_and(~bit, std::memory_order_relaxed);
      }
   }

  private:
   friend class TraceHandle;

   const std::string_view name_;  // of characters that live for ever
   std::atomic<U32> mask_{0};
   TraceFacility* const next_;
};

namespace Impl {

// The facilities of the tries.
ROUTETRIE_EXPORT extern TraceFacility trieFacility;
ROUTETRIE_EXPORT extern TraceFacility trie6Facility;
ROUTETRIE_EXPORT extern TraceFacility trieCompactFacility;
ROUTETRIE_EXPORT extern TraceFacility trieGenFacility;

constexpr bool isKnown(std::string_view name) noexcept {
   return name == "Trie" || name == "Trie6" || name == "TrieCompact" || name == "TrieGen";
}
// Requires: isKnown(name).
constexpr TraceFacility* knownFacility(std::string_view name) noexcept {
   return name == "Trie"          ? &trieFacility
          : name == "Trie6"       ? &trie6Facility
          : name == "TrieCompact" ? &trieCompactFacility
                                  : &trieGenFacility;
}

}  // namespace Impl

// Names a facility; all handles of one name are the same. A constant for the facilities of the tries, so that testing a
// level needs no guard and no pointer.
class ROUTETRIE_EXPORT TraceHandle {
  public:
   // With `allLevels` every level is switched on at once; otherwise they stay as they are, off at first.
   constexpr TraceHandle(std::string_view name, bool allLevels)
      : facility_(Impl::isKnown(name) ? Impl::knownFacility(name) : made(name)) {
      if (allLevels) {
         facility_->maskIs(~U32{0});
      }
   }

   // The facility of that name, or nothing if there is none.
   static std::optional<TraceHandle> find(std::string_view name);
   static std::vector<TraceHandle> all();
   // Where lines go; null, as at first, is standard error. The sink must outlive its use. Returns once no other thread
   // writes to the sink before.
   static void sinkIs(std::ostream* sink);

   std::string_view name() const noexcept { return facility_->name(); }
   bool isOn(U32 level) const noexcept { return (facility_->mask() >> level & 1) != 0; }
   U32 mask() const noexcept { return facility_->mask(); }
   void maskIs(U32 bits) const noexcept { facility_->maskIs(bits); }
   // Requires: `level` is below 32.
   void levelIs(U32 level, bool on) const noexcept { facility_->levelIs(level, on); }

  private:
   explicit TraceHandle(TraceFacility* facility) noexcept : facility_(facility) {}
   static TraceFacility* made(std::string_view name);

   TraceFacility* facility_;
};

// One line while it is formed. Numbers are decimal until `hex`. There is no form for a single character: a U8 is a number.
class ROUTETRIE_EXPORT TraceStream {
  public:
   TraceStream& operator<<(const char* text);
   TraceStream& operator<<(std::string_view text);
   TraceStream& operator<<(const void* pointer);
   TraceStream& operator<<(int number);
   TraceStream& operator<<(unsigned number);
   // hex, dec and endl, below.
   TraceStream& operator<<(TraceStream& (*manipulator)(TraceStream&)) { return manipulator(*this); }
   // Whatever has an output to std::ostream, such as the prefixes.
   template <class T>
   requires std::is_class_v<T> || std::is_enum_v<T> TraceStream& operator<<(const T& value) {
      if (std::ostream* const out = stream()) {
         try {
            *out << value;
         } catch (...) {
            fail();
         }
      }
      return *this;
   }
   // A literal is text, and not some class made from it.
   TraceStream& operator<<(char) = delete;

   friend ROUTETRIE_EXPORT TraceStream& hex(TraceStream& stream);
   friend ROUTETRIE_EXPORT TraceStream& dec(TraceStream& stream);

  private:
   friend class TraceHelper;
   struct Line;

   TraceStream() noexcept;
   ~TraceStream();
   std::ostream* stream() noexcept;  // null if there was no memory for the line
   void fail() noexcept;

   std::unique_ptr<Line> line_;
};

ROUTETRIE_EXPORT TraceStream& hex(TraceStream& stream);
ROUTETRIE_EXPORT TraceStream& dec(TraceStream& stream);
ROUTETRIE_EXPORT TraceStream& endl(TraceStream& stream);

// Opens one line, and writes it when destroyed. It doesn't look at the level: that has been tested.
class ROUTETRIE_EXPORT TraceHelper {
  public:
   // `file` is shown without its folders.
   TraceHelper(const TraceHandle& handle, TraceFacility::FacilityLevel level, const char* file, int line,
               const char* function) noexcept;
   TraceHelper(const TraceHelper&) = delete;
   TraceHelper& operator=(const TraceHelper&) = delete;
   ~TraceHelper();

   TraceStream& stream() noexcept { return stream_; }

  private:
   TraceStream stream_;
};

namespace Impl {

constexpr const char* functionShown(const char* function) { return function; }
constexpr const char* functionShown(const char*, const char* shown) { return shown; }

}  // namespace Impl
}  // namespace Tesk

// ROUTETRIE_TRACE(handle, level) << item << item...: traces a line if the level is on; the items are not evaluated
// otherwise. ROUTETRIE_TRACE(handle, level, "name") shows that name in place of the function's.
#define ROUTETRIE_TRACE(handle, level, ...)                                                                       \
   if (!(handle).isOn(level)) [[likely]] {                                                                        \
   } else                                                                                                         \
      ::Tesk::TraceHelper((handle), static_cast<::Tesk::TraceFacility::FacilityLevel>(level), __FILE__, __LINE__, \
                          ::Tesk::Impl::functionShown(__func__ __VA_OPT__(, ) __VA_ARGS__))                       \
         .stream()
