#include "tests/platform/Corvid/Sample.h"

#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/platform/Tesk/Strep.h"

namespace Sample {

Tesk::AllocTrackTypeInfo* Shelf::memAllocationTracker_ = nullptr;

namespace {

struct ShelfMembers {
   static U32 count(const Library& library) { return static_cast<U32>(library.shelves_.size()); }
   static U32 number(const Library& library) { return library.changes_; }
   static bool exists(const Library& library, U32 key) { return library.shelves_.count(key) != 0; }
   class Iterator {
     public:
      explicit Iterator(const Library& library) : library_(library), at_(library.shelves_.begin()) {}
      Iterator(const Library& library, U32 key) : library_(library), at_(library.shelves_.lower_bound(key)) {}
      U32 key() const { return at_->first; }
      Corvid::Ptr<Shelf> member() const { return at_->second; }
      void advance() { ++at_; }
      bool atEnd() const { return at_ == library_.shelves_.end(); }

     private:
      const Library& library_;
      std::map<U32, Corvid::Ptr<Shelf>>::const_iterator at_;
   };
};

struct QueueMembers {
   static U32 count(const Library& library) { return static_cast<U32>(library.queue_.size()); }
   static Corvid::String front(const Library& library) {
      return library.queue_.empty() ? Corvid::String() : library.queue_.front();
   }
   static Corvid::String back(const Library& library) {
      return library.queue_.empty() ? Corvid::String() : library.queue_.back();
   }
   static void enqueue(Library& library, const Corvid::String& value) { library.queue_.push_back(value); }
   static Corvid::String dequeue(Library& library) {
      const Corvid::String value = front(library);
      if (!library.queue_.empty()) {
         library.queue_.pop_front();
      }
      return value;
   }
   class Iterator {
     public:
      explicit Iterator(const Library& library, U32 position = 0) : library_(library), at_(position) {}
      U32 key() const { return at_; }
      Corvid::String member() const { return library_.queue_[at_]; }
      void advance() { ++at_; }
      bool atEnd() const { return at_ >= library_.queue_.size(); }

     private:
      const Library& library_;
      U32 at_;
   };
};

Span spanOf(const Corenet::Prefix& prefix) { return Span(prefix); }

}  // namespace

Point::Point(Tesk::CharRange& text)
   : x(Tesk::desAttrPre<U32>(text, "Sample::Point", "x")), y(Tesk::desAttrPost<U32>(text, "y")) {}

}  // namespace Sample

namespace Corvid {

template <>
struct Description<Sample::Shelf> {
   using T = Sample::Shelf;
   static constexpr auto value =
      describeClass<T>(constructor<&T::ShelfIs>("number"), attribute<&T::number>("number"));
};

template <>
struct Description<Sample::Reader> {
   using T = Sample::Reader;
   static constexpr auto value = describeClass<T>(noConstructor, operation<&T::read>("read", "p", "shelf"));
};

template <>
struct Description<Sample::Library> {
   using T = Sample::Library;
   static constexpr auto value = describeClass<T>(
      constructor<&T::LibraryIs>("af", "open"), attribute<&T::af>("af").stored(ROUTETRIE_POSITION(T, af_)),  // 130
      attribute<&T::open, &T::openIs>("open").stored(ROUTETRIE_POSITION(T, open_)),                          // 131
      attribute<&T::rooms, &T::roomsIs>("rooms"),                                                            // 132
      attribute<&T::doors, &T::doorsIs>("doors"),                                                            // 133
      attribute<&T::books, &T::booksIs>("books").published(),                                                // 134
      attribute<&T::balance, &T::balanceIs>("balance"),                                                      // 135
      attribute<&T::name, &T::nameIs>("name"),                                                               // 136
      attribute<&T::prefix, &T::prefixIs>("prefix"),                                                         // 137
      attribute<&T::first, &T::firstIs>("first"),                                                            // 138
      attribute<&T::plain>("plain"),                                                                         // 139
      instantiating<&T::own, &T::ownIs, &T::ownDel>("own").at(141),                                          // 141
      keyed<&T::lent, &T::lentIs, &T::lentDel>("lent"),                                                      // 142
      keyedWithLookup<&T::nearest>("nearest", "number"),                                                     // 143
      collectionWithLookup<Sample::ShelfMembers, &T::shelf, &T::shelfIs, &T::shelfDel>("shelf", "number"),   // 144
      keyed<&T::shelf, &T::placed, &T::shelfDel>("placed", "number"),                                        // 145
      queue<Sample::QueueMembers, T>("queue"),                                                               // 146
      operation<&T::sum>("sum", "a", "b"),                                                                   // 147
      operation<&T::close>("close"),                                                                         // 148
      operation<&T::readBy>("readBy", "reader", "p"),                                                        // 149
      operation<&T::shelfHolding>("shelfHolding", "number"),                                                 // 150
      operation<&T::fail>("fail"),                                                                           // 151
      operation<[](const T& library) { return library.books() == 0; }>("empty"),                             // 152
      declaredOperation<Sample::Shelf*, U32>("lookupShelf", "number"),                                       // 153
      declaredAttribute<Sample::Shelf*>("hidden"),                                                           // 154
      attribute<&T::changes_, &T::changes_>("changes"));                                                     // 155
};

template <>
struct Description<Sample::Branch> {
   using T = Sample::Branch;
   static constexpr auto value = describeClass<T, Sample::Library>(noConstructor, attribute<&T::distance>("distance"),
                                                                   attribute<&T::doors>("roomsAndDoors"));
};

template <>
struct Description<Sample::Annex> {
   static constexpr auto value = describeClass<Sample::Annex, Sample::Branch, Sample::Library>(noConstructor);
};

template <>
struct Description<Sample::Point> {
   using T = Sample::Point;
   static constexpr auto value =
      describeValue<T>(noConstructor, attribute<&T::x, &T::x>("x"), attribute<&T::y, &T::y>("y"));
};

template <>
struct Description<Sample::Span> {
   using T = Sample::Span;
   static constexpr auto value =
      describeValue<T>(constructor<&Sample::spanOf>("prefix"), attribute<&T::prefix>("prefix"),
                       attribute<&T::position, &T::position>("position"));
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_Sample_0123456789abcdef_teskModule)
