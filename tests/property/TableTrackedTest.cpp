// Tracked tables beside slow models: every watched answer is found anew, by looking at all routes, after each change, and has to be
// what the watches have told since; digests are found anew from the routes; journals are read by readers who lag behind.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "tests/property/Scale.h"
#include "tests/property/TrackedSession.h"

namespace Property::Tracked {
namespace TableTrackedTest {

using routetrie::table4;
using routetrie::table6;

template <class Table>
class TableTrackedTest : public TrackedSession<Table> {};
using Tables = testing::Types<table4<Hop>, table6<Hop>>;
TYPED_TEST_SUITE(TableTrackedTest, Tables);

TYPED_TEST(TableTrackedTest, watchesAreToldWhatASlowModelFinds) { this->run(0, sized(4, 6, 16)); }
TYPED_TEST(TableTrackedTest, watchesWhoseFunctionsChangeTheTable) { this->run(12, sized(4, 6, 16)); }

// Of one change at a time, without functions that do more: each watch whose answer changes is told once and no other.
TYPED_TEST(TableTrackedTest, oneChangeIsToldOnce) {
   for (int i = 0; i < 60; ++i) {
      this->watch(0);
   }
   for (int i = sized(100, 1000, 4000); i-- != 0;) {  // routes add up, and each is looked at with each change
      std::vector<std::size_t> expected;
      std::vector<std::size_t> before;
      const auto told = [&] {
         std::vector<std::optional<std::pair<typename TypeParam::prefix_type, std::uint32_t>>> list;
         for (const auto& w : this->watched) {
            list.push_back(this->answer(*w));
         }
         return list;
      };
      const auto first = told();
      const auto routesBefore = this->routes;
      for (const auto& w : this->watched) {
         before.push_back(w->calls);
      }
      this->change();
      const auto second = told();
      for (std::size_t n = 0; n < this->watched.size(); ++n) {
         const auto& w = *this->watched[n];
         bool isTold = first[n] != second[n];
         if (w.kind == watch_kind::anything_under) {
            const auto now = this->under(w.at);
            const auto routesNow = std::exchange(this->routes, routesBefore);
            isTold = now != this->under(w.at);
            this->routes = routesNow;
         }
         ASSERT_EQ(before[n] + (isTold ? 1u : 0u), w.calls) << w.at;
      }
   }
   this->compare();
}

// Readers who look now and then, and bring a copy of the prefixes up to date by the journal; or by the whole table, if it is too old.
TYPED_TEST(TableTrackedTest, journalsBringReadersUpToDate) {
   using Prefix = typename TypeParam::prefix_type;
   struct Reader {
      std::map<Prefix, std::uint32_t> known;
      std::uint64_t generation = 0;
   };
   std::vector<Reader> readers(4);
   std::size_t late = 0;
   std::size_t inTime = 0;
   this->table.keep_changes(40);
   for (int i = sized(200, 5000, 30'000); i-- != 0;) {
      this->below(10) == 0 ? this->changeMany() : this->change();
      Reader& reader = readers[this->below(4)];
      if (this->below(10) != 0) {
         continue;
      }
      if (const auto changes = this->table.changes_since(reader.generation)) {
         ++inTime;
         std::uint64_t last = reader.generation;
         for (const auto& c : *changes) {
            ASSERT_EQ(++last, c.generation);
            const auto now = this->table.find(c.prefix);
            now == this->table.end() ? (void)reader.known.erase(c.prefix)
                                     : (void)(reader.known[c.prefix] = now->value.number);
         }
         ASSERT_EQ(this->table.generation(), last);
      } else {
         ++late;
         reader.known = this->under(Prefix());
      }
      reader.generation = this->table.generation();
      ASSERT_EQ(this->under(Prefix()), reader.known);
   }
   EXPECT_GT(late, 0u);
   EXPECT_GT(inTime, 0u);
}

// Tables are replaced by others in which values are alike, two numbers each, and not the same: digests and journals follow the values,
// and a watch is told of what is not alike. Each chain of what a watch is told goes on from what it was told last.
TYPED_TEST(TableTrackedTest, valuesThatAreAlikeAreUntoldAndThere) {
   using Prefix = typename TypeParam::prefix_type;
   using Known = typename TestFixture::Answer;
   const auto areAlike = [](const Hop& a, const Hop& b) { return a.number / 2 == b.number / 2; };
   const auto alike = [](const Known& a, const Known& b) {
      return a.has_value() == b.has_value() && (!a || (a->first == b->first && a->second / 2 == b->second / 2));
   };
   struct Chain {
      Prefix at;
      watch_kind kind;
      Known told;
      std::map<Prefix, std::uint32_t> under;
      std::size_t calls = 0;
      routetrie::watch_handle handle;
   };
   std::vector<std::unique_ptr<Chain>> chains;
   std::map<Prefix, std::uint32_t> known;
   std::uint64_t generation = 0;
   std::size_t tellings = 0;
   std::size_t unsaid = 0;
   const auto answerNow = [&](const Chain& c) -> Known {
      if (c.kind == watch_kind::exact_route) {
         const auto found = this->table.find(c.at);
         return found == this->table.end() ? std::nullopt : Known({c.at, found->value.number});
      }
      return this->answerOf(this->table.match(c.at));
   };
   this->table.keep_changes(
      1u << 16);  // one replace() of a table that has grown is more than a journal has room for by itself
   for (int round = sized(400, 3000, 6000); round-- != 0;) {
      if (this->below(8) == 0) {
         auto& c = *chains.emplace_back(std::make_unique<Chain>());
         c.at = this->anyPrefix();
         c.kind = static_cast<watch_kind>(this->below(3));
         c.told = answerNow(c);
         for (const auto& [p, hop] : this->table.covered(c.at)) {
            c.under.emplace(p, hop.number);
         }
         c.handle = this->table.watch(c.at, c.kind, [&, this](const auto& e) {
            const Known before = this->answerOf(e.before);
            const Known after = this->answerOf(e.after);
            ++c.calls;
            ++tellings;
            EXPECT_NE(before, after);
            if (c.kind != watch_kind::anything_under) {
               EXPECT_EQ(c.told, before) << "a chain";
               EXPECT_EQ(answerNow(c), after);
               c.told = after;
            } else {
               const auto last = c.under.find(e.changed);
               EXPECT_TRUE(alike(last == c.under.end() ? std::nullopt : Known({e.changed, last->second}), before));
               after ? (void)(c.under[e.changed] = after->second) : (void)c.under.erase(e.changed);
            }
         });
         if (chains.size() > 30) {
            chains.erase(chains.begin() + this->below(30));
         }
      }
      if (this->below(3) != 0) {
         this->change();
      } else {
         TypeParam next;
         bool isAlike = true;
         const bool onlyAlike = this->below(2) == 0;
         for (const auto& [p, hop] : this->table) {
            const unsigned kind = this->below(8);
            const std::uint32_t number = kind < 3                 ? hop.number ^ 1u
                                         : kind < 4 && !onlyAlike ? this->below(8)
                                                                  : hop.number;
            isAlike = isAlike && number / 2 == hop.number / 2;
            next.insert({p, Hop{number}});
         }
         std::vector<std::size_t> before;
         for (const auto& c : chains) {
            before.push_back(c->calls);
         }
         this->table.replace(next, areAlike);
         for (std::size_t i = 0; isAlike && i < chains.size(); ++i) {
            EXPECT_EQ(before[i], chains[i]->calls) << "nothing was to be told";
         }
         unsaid += isAlike && !(next == this->table.table()) ? 1u : 0u;
      }
      for (const auto& c : chains) {
         if (c->kind != watch_kind::anything_under) {
            ASSERT_TRUE(alike(answerNow(*c), c->told)) << c->at;
         } else {
            std::size_t count = 0;
            for (const auto& [p, hop] : this->table.covered(c->at)) {
               ASSERT_TRUE(c->under.contains(p) && c->under[p] / 2 == hop.number / 2) << p;
               ++count;
            }
            ASSERT_EQ(count, c->under.size());
         }
      }
      ASSERT_EQ(routetrie::digest(this->table.table()), this->table.digest());
      const auto changes = this->table.changes_since(generation);
      ASSERT_TRUE(changes);
      for (const auto& change : *changes) {
         const auto now = this->table.find(change.prefix);
         now == this->table.end() ? (void)known.erase(change.prefix)
                                  : (void)(known[change.prefix] = now->value.number);
      }
      generation = this->table.generation();
      std::map<Prefix, std::uint32_t> all;
      for (const auto& [p, hop] : this->table) {
         all.emplace(p, hop.number);
      }
      ASSERT_EQ(all, known);
      if (this->HasFailure()) {
         return;
      }
   }
   EXPECT_GT(tellings, 50u);
   EXPECT_GT(unsaid, 10u);
}

// Of both families in one table: each watch is told what a look at all routes finds, and of its own family alone.
TEST(WatchedTables, ofBothFamiliesTellWhatASlowModelFinds) {
   using routetrie::prefix;
   using Answer = std::optional<std::pair<prefix, std::uint32_t>>;
   struct Watched {
      prefix at;
      watch_kind kind;
      Answer told;
      std::map<prefix, std::uint32_t> under;
      std::size_t calls = 0;
      routetrie::watch_handle handle;
   };
   std::mt19937_64 random(seed());
   const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
   // The first bits are the same in both families, so that who takes one for the other is found out.
   const auto anyPrefix = [&]() -> prefix {
      const std::uint32_t word = below(64) << 26 | below(4);
      const unsigned length = below(6) == 0 ? 0 : below(5) == 0 ? 32 : 1 + below(7);
      return below(2) == 0 ? prefix(routetrie::prefix4::cut(routetrie::prefix4::Bits(word), length))
                           : prefix(routetrie::prefix6::cut(
                                routetrie::prefix6::Bits(routetrie::prefix6::Bits::Word{word} << 96), length));
   };
   const auto isOver = [](const prefix& above, const prefix& p) {
      if (above.af() != p.af() || above.len() > p.len()) {
         return false;
      }
      return above.af() == Corenet::AddressFamily::ipv4
                ? p.v4Prefix().bits().sharesFirst(above.v4Prefix().bits(), above.len())
                : p.v6Prefix().bits().sharesFirst(above.v6Prefix().bits(), above.len());
   };
   routetrie::tracked_table<routetrie::table<std::uint32_t>, routetrie::watch_tracker, routetrie::digest_tracker> t;
   std::map<prefix, std::uint32_t> routes;
   const auto answer = [&](const Watched& w) {
      Answer best;
      for (const auto& [p, value] : routes) {
         if (w.kind == watch_kind::exact_route ? p == w.at
                                               : isOver(p, w.at) && (!best || best->first.len() < p.len())) {
            best = {p, value};
         }
      }
      return best;
   };
   const auto under = [&](const Watched& w) {
      std::map<prefix, std::uint32_t> list;
      for (const auto& [p, value] : routes) {
         if (isOver(w.at, p)) {
            list.emplace(p, value);
         }
      }
      return list;
   };
   const auto change = [&] {
      const prefix p = anyPrefix();
      const std::uint32_t value = below(4);
      switch (below(8)) {
         case 0:
         case 1:
            routes.try_emplace(p, value);
            t.insert({p, value});
            break;
         case 2:
         case 3:
         case 4:
            routes[p] = value;
            t.insert_or_assign(p, value);
            break;
         case 5:
            std::erase_if(routes, [&](const auto& entry) { return p.len() > 2 && isOver(p, entry.first); });
            p.len() > 2 ? (void)t.erase_covered(p) : (void)0;
            break;
         default:
            routes.erase(p);
            t.erase(p);
            break;
      }
   };
   std::vector<std::unique_ptr<Watched>> watched;
   std::size_t calls = 0;
   for (int step = sized(500, 4000, 40'000); step-- != 0;) {
      if (below(10) == 0) {
         if (watched.size() == 30) {
            watched.erase(watched.begin() + below(30));
         }
         auto& w = *watched.emplace_back(std::make_unique<Watched>());
         w.at = anyPrefix();
         w.kind = static_cast<watch_kind>(below(3));
         w.told = answer(w);
         w.under = under(w);
         w.handle = t.watch(w.at, w.kind, [&](const auto& e) {
            const auto of = [](const auto& r) { return r ? Answer({r->prefix, r->value}) : std::nullopt; };
            ++w.calls;
            ++calls;
            EXPECT_NE(of(e.before), of(e.after));
            if (w.kind == watch_kind::anything_under) {
               const auto known = w.under.find(e.changed);
               EXPECT_EQ(of(e.before), known == w.under.end() ? std::nullopt : Answer(*known));
               e.after ? (void)(w.under[e.changed] = e.after->value) : (void)w.under.erase(e.changed);
            } else {
               EXPECT_EQ(w.told, of(e.before));
               w.told = of(e.after);
            }
         });
      }
      std::vector<std::pair<std::size_t, bool>>
         before;  // calls, and whether it is one that counts changes of one answer
      std::vector<Answer> first;
      for (const auto& w : watched) {
         before.emplace_back(w->calls, w->kind != watch_kind::anything_under);
         first.push_back(answer(*w));
      }
      if (below(6) != 0) {
         change();
      } else if (below(2) == 0) {
         t.batch([&](auto&) {
            for (unsigned n = below(8); n-- != 0;) {
               change();
            }
         });
      } else {
         routetrie::table<std::uint32_t> next;
         for (auto& [p, value] : routes) {
            value = below(5) == 0 ? below(4) : value;
            next.insert({p, value});
         }
         t.replace(std::move(next));
      }
      for (std::size_t i = 0; i < watched.size(); ++i) {
         const Watched& w = *watched[i];
         if (before[i].second) {
            ASSERT_EQ(answer(w), w.told) << w.at;
            ASSERT_EQ(before[i].first + (first[i] != w.told ? 1u : 0u), w.calls) << w.at;
         } else {
            ASSERT_EQ(under(w), w.under) << w.at;
         }
      }
      ASSERT_EQ(routes.size(), t.size());
      ASSERT_EQ(routetrie::digest(t.table()), t.digest());
   }
   EXPECT_GT(calls, 100u);
}

}  // namespace TableTrackedTest
}  // namespace Property::Tracked
