// Publishing: what shared_table knows of a table that others do not: its versions, and when what they leave may be freed.
// Tested by tests/table/SharedTableTest.cpp.
#pragma once

#include <cstddef>
#include <utility>

#include "routetrie/table.h"

namespace routetrie::Impl {

// The routes of a table as they were, without a claim on its memory: who reads it sees to that.
template <unsigned width, class T>
class Version : public basic_questions<width, T> {
  public:
   Version() noexcept = default;
   Version(const Version&) = delete;
   Version& operator=(const Version&) = delete;
   ~Version() = default;

   table_statistics statistics() const { return this->tree_.statistics(); }

  private:
   friend struct Publishing;
   // Those of a table as it is now.
   void become(const Tree<width>& tree, const Values<T>& values) noexcept {
      tree.freezeTo(this->tree_);
      values.freezeTo(this->values_);
   }
};
template <class T>
class BothVersions : public both_questions<Version<32, T>, Version<128, T>> {
  public:
   BothVersions() noexcept = default;
   both_statistics statistics() const { return {this->v4_.statistics(), this->v6_.statistics()}; }

  private:
   friend struct Publishing;
};

struct Publishing {
   template <unsigned width, class T>
   static Version<width, T> versionFor(const basic_table<width, T>&);  // the type alone
   template <class T>
   static BothVersions<T> versionFor(const table<T>&);

   template <unsigned width, class T>
   static void become(Version<width, T>& version, const basic_table<width, T>& t) noexcept {
      version.become(t.tree_, t.values_);
   }
   template <class T>
   static void become(BothVersions<T>& version, const table<T>& t) noexcept {
      become(version.v4_, t.v4_);
      become(version.v6_, t.v6_);
   }

   // From now on, what its versions have stays until it is told that their readers have gone.
   template <unsigned width, class T>
   static void start(basic_table<width, T>& t) {
      const auto& store = t.tree_.store();
      if constexpr (Values<T>::haveSlots) {
         if (!store->keepsSlots()) {
            store->keep(t.values_.keeper());
         }
      }
      t.tree_.startPublishing();
   }
   template <class T>
   static void start(table<T>& t) {
      start(t.v4_);
      start(t.v6_);
   }

   // A mark, without what it knows of the routes that go, is for another table.
   template <unsigned width, class T>
   static void moveMark(basic_table<width, T>& from, basic_table<width, T>& to) noexcept {
      to.refresh_ = std::move(from.refresh_);
      if (to.refresh_ != nullptr) {
         to.refresh_->forgetAll();
      }
   }
   template <class T>
   static void moveMark(table<T>& from, table<T>& to) noexcept {
      moveMark(from.v4_, to.v4_);
      moveMark(from.v6_, to.v6_);
   }

   // Counts a whole table among what waits for readers.
   template <unsigned width, class T>
   static void addWaiting(table_statistics& to, const basic_table<width, T>& t) noexcept {
      to.memory.old += t.memory().total();
      to.memory.for_readers += t.memory().total();
   }
   template <class T>
   static void addWaiting(both_statistics& to, const table<T>& t) noexcept {
      addWaiting(to.v4, t.v4());
      addWaiting(to.v6, t.v6());
   }

   // Where another erase_if() hides it.
   template <class Table, class Test, class... Slice>
   static auto eraseIf(Table& t, Test test, const Slice&... slice) {
      return erase_if(t, std::move(test), slice...);
   }

   // Calls visit(store) for that of each family.
   template <unsigned width, class T, class Visit>
   static void stores(const basic_table<width, T>& t, Visit&& visit) {
      visit(*t.tree_.storeIfAny());
   }
   template <class T, class Visit>
   static void stores(const table<T>& t, Visit&& visit) {
      stores(t.v4_, visit);
      stores(t.v6_, visit);
   }
};

}  // namespace routetrie::Impl
