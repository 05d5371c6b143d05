// Sample: classes with a field of every kind that a description can tell of.
#pragma once

#include <deque>
#include <map>
#include <set>
#include <string>

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/ModulePlace.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Tesk/CharRange.h"

namespace Sample {
class Shelf;
class Reader;
class Library;
class Branch;
class Annex;
struct Point;
struct Span;
}  // namespace Sample

ROUTETRIE_MODULE(_Sample_0123456789abcdef_teskModule, Sample::Shelf, Sample::Reader, Sample::Library, Sample::Branch,
                 Sample::Annex, Sample::Point, Sample::Span)

namespace Sample {

class Shelf : public Corvid::Node {
  public:
   explicit Shelf(U32 number) : number_(number) {}
   U32 number() const { return number_; }
   Corvid::TypeData typeData() const override { return Corvid::typeDataOf<Shelf>(); }
   static Corvid::Ptr<Shelf> ShelfIs(U32 number) { return Corvid::ptrIsImpl<Shelf>(number); }

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Shelf>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept { Corvid::releaseFor<Shelf>(memory, bytes); }

  private:
   U32 number_;
};

// A value without operations: two fields and a text.
struct Point {
   U32 x = 0;
   U32 y = 0;

   Point() = default;
   Point(U32 atX, U32 atY) : x(atX), y(atY) {}
   explicit Point(Tesk::CharRange& text);
   friend bool operator==(const Point&, const Point&) = default;
};

// A value without default, with a field that can't be changed.
struct Span {
   explicit Span(const Corenet::Prefix& of) : prefix(of) {}
   Corenet::Prefix prefix;
   U32 position = 0;
   friend bool operator==(const Span&, const Span&) = default;
};

class Reader : public Corvid::Node {
  public:
   virtual int read(const Corenet::Prefix& p, const Shelf* shelf) = 0;
   Corvid::TypeData typeData() const override { return Corvid::typeDataOf<Reader>(); }
};

class Library : public Corvid::Node {
  public:
   explicit Library(Corenet::AddressFamily af, bool open) : af_(af), open_(open) {}
   Library() : Library(Corenet::AddressFamily::ipv4, true) {}
   static Corvid::Ptr<Library> LibraryIs(Corenet::AddressFamily af, bool open) {
      return Corvid::ptrIsImpl<Library>(af, open);
   }
   Corvid::TypeData typeData() const override { return Corvid::typeDataOf<Library>(); }

   Corenet::AddressFamily af() const noexcept { return af_; }
   bool open() const { return open_; }
   void openIs(bool value) { open_ = value; }
   U8 rooms() const { return rooms_; }
   void roomsIs(U8 value) { rooms_ = value; }
   U16 doors() const { return doors_; }
   void doorsIs(U16 value) { doors_ = value; }
   U32 books() const { return books_; }
   void booksIs(U32 value) { books_ = value; }
   int balance() const { return balance_; }
   void balanceIs(int value) { balance_ = value; }
   const Corvid::String& name() const { return name_; }
   void nameIs(const Corvid::String& value) { name_ = value; }
   Corenet::Prefix prefix() const { return prefix_; }
   void prefixIs(const Corenet::Prefix& value) { prefix_ = value; }

   const Corvid::Ptr<Shelf>& first() const { return first_; }
   void firstIs(const Corvid::Ptr<Shelf>& shelf) { first_ = shelf; }
   Shelf* plain() const { return first_.get(); }

   const Corvid::Ptr<Shelf>& own() const { return own_; }
   Corvid::Ptr<Shelf> ownIs() {
      if (!own_) {
         own_ = Shelf::ShelfIs(99);
      }
      return own_;
   }
   Corvid::Ptr<Shelf> ownDel() { return std::move(own_); }

   bool lent(const Corenet::Prefix& key) const { return lent_.count(std::string(key.stringValue().view())) != 0; }
   void lentIs(const Corenet::Prefix& key, bool value) {
      if (value) {
         lent_.insert(std::string(key.stringValue().view()));
      } else {
         lent_.erase(std::string(key.stringValue().view()));
      }
   }
   bool lentDel(const Corenet::Prefix& key) { return lent_.erase(std::string(key.stringValue().view())) != 0; }

   Corvid::Ptr<Shelf> nearest(U32 number) const {
      const auto found = shelves_.lower_bound(number);
      return found == shelves_.end() ? nullptr : found->second;
   }
   Corvid::Ptr<Shelf> shelf(U32 number) const {
      const auto found = shelves_.find(number);
      return found == shelves_.end() ? nullptr : found->second;
   }
   Corvid::Ptr<Shelf> shelfIs(U32 number) {
      auto& place = shelves_[number];
      if (!place) {
         place = Shelf::ShelfIs(number);
         ++changes_;
      }
      return place;
   }
   Corvid::Ptr<Shelf> shelfDel(U32 number) {
      const auto shelf = this->shelf(number);
      changes_ += static_cast<U32>(shelves_.erase(number));
      return shelf;
   }
   void placed(const Corvid::Ptr<Shelf>& shelf) { shelves_[shelf->number()] = shelf; }
   Corvid::Ptr<Shelf> shelfHolding(U32 number) const { return shelf(number); }

   U32 sum(U32 a, U32 b) const { return a + b; }
   void close() { open_ = false; }
   int readBy(Reader* reader, const Corenet::Prefix& p) { return reader->read(p, first_.get()); }
   void fail() { Corvid::RangeException::throwException("the roof is down"); }

   std::map<U32, Corvid::Ptr<Shelf>> shelves_;
   std::deque<Corvid::String> queue_;
   U32 changes_ = 0;

  protected:
   Corenet::AddressFamily af_;
   bool open_;
   U8 rooms_ = 0;
   U16 doors_ = 0;
   U32 books_ = 0;
   int balance_ = 0;
   Corvid::String name_;
   Corenet::Prefix prefix_;
   Corvid::Ptr<Shelf> first_;
   Corvid::Ptr<Shelf> own_;
   std::set<std::string> lent_;

   template <class T>
   friend struct Corvid::Description;
};

class Branch : public Library {
  public:
   using Library::Library;
   Corvid::TypeData typeData() const override { return Corvid::typeDataOf<Branch>(); }
   U32 distance() const { return 7; }
};

// Three levels down, without a field of its own.
class Annex : public Branch {
  public:
   using Branch::Branch;
   Corvid::TypeData typeData() const override { return Corvid::typeDataOf<Annex>(); }
};

}  // namespace Sample
