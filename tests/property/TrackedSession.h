// TrackedSession: a tracked table beside a slow model: every watched answer is found anew, by looking at all routes, after each
// change, and has to be what the watches have told since.
// Used by tests/property/TableTrackedTest.cpp and tests/property/TableTrackedFaultTest.cpp.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/digest.h"
#include "routetrie/journal.h"
#include "routetrie/watch.h"
#include "tests/property/Scale.h"

namespace Property::Tracked {

using routetrie::covers;
using routetrie::watch_cause;
using routetrie::watch_kind;

// Values that are equal in pairs, so that an assignment may be none.
struct Hop {
   std::uint32_t number = 0;
   friend bool operator==(const Hop& a, const Hop& b) { return a.number == b.number; }
   friend void digest_append(routetrie::digest_stream& out, const Hop& h) { digest_value(out, h.number); }
};

template <class Table>
class TrackedSession : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using Word = typename P::Bits::Word;
   using TrackedTable = routetrie::tracked_table<Table, routetrie::digest_tracker, routetrie::journal_tracker,
                                                 routetrie::watch_tracker>;
   using Event = typename TrackedTable::event;
   using Answer = std::optional<std::pair<P, std::uint32_t>>;
   using Routes = std::map<std::pair<Word, unsigned>, std::uint32_t>;

   // One watch and what the model knows of it. A batch or a call of another function may have come between a change and the call
   // that tells of it, so the model holds the answer that was told last, and compares when all is told.
   struct Watched {
      P at;
      watch_kind kind;
      bool isTested;
      Answer told;                       // of best matches and exact routes
      std::map<P, std::uint32_t> under;  // of anything under
      bool isLive = true;
      std::size_t calls = 0;
      routetrie::watch_handle handle;
   };

   TrackedSession() : random(seed()) {}

   unsigned below(unsigned n) { return static_cast<unsigned>(random() % n); }
   // Prefixes of a small world, with the default route, so that they nest and come again.
   P anyPrefix() {
      const unsigned length = below(8) == 0 ? 0 : 1 + below(10) + (below(5) == 0 ? P::width - 10 : 0);
      return P::cut(typename P::Bits(static_cast<Word>(Word{below(1024)} << (P::width - 10) | Word{below(4)})),
                    length);
   }
   // Its numbers below 8 are up unless they are told to be down.
   bool isUp(std::uint32_t number) const { return !down.contains(number); }

   Answer best(const P& at, bool isTested) const {
      Answer found;
      for (const auto& [key, number] : routes) {
         const P p = P::cut(typename P::Bits(key.first), key.second);
         if (covers(p, at) && (!found || found->first.len() < p.len()) && (!isTested || isUp(number))) {
            found = {p, number};
         }
      }
      return found;
   }
   Answer answer(const Watched& w) const {
      if (w.kind == watch_kind::exact_route) {
         const auto at = routes.find({w.at.bits().word(), w.at.len()});
         return at == routes.end() ? std::nullopt : Answer({w.at, at->second});
      }
      return best(w.at, w.isTested);
   }
   std::map<P, std::uint32_t> under(const P& at) const {
      std::map<P, std::uint32_t> list;
      for (const auto& [key, number] : routes) {
         const P p = P::cut(typename P::Bits(key.first), key.second);
         if (covers(at, p)) {
            list.emplace(p, number);
         }
      }
      return list;
   }

   //--- changes, of the table and the model

   void set(const P& p, std::uint32_t number) {
      routes[{p.bits().word(), p.len()}] = number;
      table.insert_or_assign(p, Hop{number});
   }
   void add(const P& p, std::uint32_t number) {
      routes.try_emplace({p.bits().word(), p.len()}, number);
      table.insert({p, Hop{number}});
   }
   void change() {
      const P p = anyPrefix();
      const std::uint32_t number = below(8);
      switch (below(10)) {
         case 0:
         case 1:
         case 2: add(p, number); break;
         case 3:
         case 4: set(p, number); break;
         case 5:
            routes[{p.bits().word(), p.len()}] = number;
            table.update(p, [&](Hop& h) { h.number = number; });
            break;
         default:
            routes.erase({p.bits().word(), p.len()});
            table.erase(p);
            break;
      }
   }
   void changeMany() {
      const P p = anyPrefix();
      const auto isUnder = [&](const auto& entry) {
         return covers(p, P::cut(typename P::Bits(entry.first.first), entry.first.second));
      };
      Table other;
      Routes others;
      for (unsigned i = below(6); i-- != 0;) {
         const P q = anyPrefix();
         const std::uint32_t number = below(8);
         others[{q.bits().word(), q.len()}] = number;
         other.insert_or_assign(q, Hop{number});
      }
      switch (below(6)) {
         case 0:
            std::erase_if(routes, isUnder);
            table.erase_covered(p);
            break;
         case 1: {
            const std::uint32_t which = below(8);
            std::erase_if(routes, [&](const auto& entry) { return entry.second == which; });
            erase_if(table, [&](const auto& r) { return r.value.number == which; });
            break;
         }
         case 2:
            if (below(2) == 0) {
               TrackedTable source;
               source.insert(other);
               std::size_t taken = 0;
               for (const auto& entry : others) {
                  taken += routes.contains(entry.first) ? 0u : 1u;
               }
               routes.insert(others.begin(), others.end());
               table.merge(source);
               EXPECT_EQ(routetrie::digest(source.table()), source.digest());
               EXPECT_EQ(others.size() - taken, source.size());
               EXPECT_EQ(others.size() + taken, source.generation());
               break;
            }
            routes.insert(others.begin(), others.end());
            table.merge(other);
            break;
         case 3:
            for (const auto& [key, number] : others) {
               auto& mine = routes.try_emplace(key, number).first->second;
               mine = std::max(mine, number);
            }
            table.merge(other, [](const P&, Hop& mine, const Hop& theirs) {
               mine.number = std::max(mine.number, theirs.number);
            });
            break;
         case 4:
            if (below(5) == 0) {
               routes.clear();
               table.clear();
            }
            break;
         default:
            routes = others;
            for (const auto& [q, value] : table) {  // mostly what is there already
               if (below(4) != 0) {
                  routes.try_emplace({q.bits().word(), q.len()}, value.number);
                  other.insert({q, value});
               }
            }
            table.replace(std::move(other));
            break;
      }
   }
   void recheckSome() {
      const std::uint32_t number = below(8);
      if (!down.erase(number)) {
         down.insert(number);
      }
      for (const auto& [key, value] : Routes(routes)) {
         if (value == number) {
            table.recheck(P::cut(typename P::Bits(key.first), key.second));
         }
      }
   }

   //--- watches

   void watch(unsigned deeds) {
      watched.push_back(std::make_unique<Watched>());
      Watched& w = *watched.back();
      w.at = anyPrefix();
      w.kind = static_cast<watch_kind>(below(3));
      w.isTested = w.kind == watch_kind::best_match && below(3) == 0;
      w.told = answer(w);
      w.under = under(w.at);
      const auto told = [this, &w, deeds](const Event& e) { take(w, e, deeds); };
      if (w.isTested) {
         w.handle = table.watch_if(
            w.at, [this](const auto& r) { return isUp(r.value.number); }, told);
      } else if (w.at.len() == P::width) {
         w.handle = table.watch(w.at.address(), w.kind, told);
      } else {
         w.handle = table.watch(w.at, w.kind, told);
      }
   }
   static Answer answerOf(const auto& route) {
      return route ? Answer({route->prefix, route->value.number}) : std::nullopt;
   }
   void take(Watched& w, const Event& e, unsigned deeds) {
      const std::size_t left = failsAt != nullptr ? std::exchange(*failsAt, 0) : 0;
      EXPECT_TRUE(w.isLive) << "told after its end";
      EXPECT_FALSE(isInBatch);
      ++w.calls;
      ++calls;
      EXPECT_EQ(w.at, e.watched);
      const Answer before = answerOf(e.before);
      const Answer after = answerOf(e.after);
      EXPECT_NE(before, after) << "nothing has changed";
      if (w.kind == watch_kind::anything_under) {
         const P p = before ? before->first : after->first;
         EXPECT_TRUE(covers(w.at, p));
         EXPECT_EQ(p, e.changed);
         const auto known = w.under.find(p);
         EXPECT_EQ(before, known == w.under.end() ? std::nullopt : Answer({p, known->second}));
         after ? (void)(w.under[p] = after->second) : (void)w.under.erase(p);
         const auto now = routes.find({p.bits().word(), p.len()});
         if (!isShortOfMemory) {
            EXPECT_EQ(after, now == routes.end() ? std::nullopt : Answer({p, now->second})) << "as it is now";
         }
      } else {
         EXPECT_EQ(w.told, before);
         w.told = after;
         if (!isShortOfMemory) {
            EXPECT_EQ(answer(w), after) << "as it is now";
         }
      }
      EXPECT_NE("", describe(e.cause));
      // What a function may do: all but destroy the table.
      if (deeds != 0 && deedsLeft != 0) {
         --deedsLeft;
         switch (below(deeds)) {
            case 0: change(); break;
            case 1:
               w.isLive = false;
               w.handle.end();
               break;
            case 2: endSome(); break;
            case 3: watch(deeds); break;
            case 4: changeMany(); break;
            case 5: recheckSome(); break;
            default: break;
         }
         EXPECT_EQ(before, answerOf(e.before)) << "holds as long as the call";
         EXPECT_EQ(after, answerOf(e.after)) << "holds as long as the call";
      }
      if (failsAt != nullptr) {
         *failsAt = left;
      }
   }
   void endSome() {
      if (!watched.empty()) {
         Watched& w = *watched[below(static_cast<unsigned>(watched.size()))];
         w.isLive = false;
         w.handle.end();
      }
   }
   // Every watch has been told what is there now.
   void compare() {
      for (const auto& w : watched) {
         if (!w->isLive) {
            continue;
         }
         if (w->kind == watch_kind::anything_under) {
            ASSERT_EQ(under(w->at), w->under) << w->at;
         } else {
            ASSERT_EQ(answer(*w), w->told) << w->at << " kind " << static_cast<int>(w->kind);
         }
      }
      ASSERT_EQ(routes.size(), table.size());
      ASSERT_EQ(routetrie::digest(table.table()), table.digest());
      ASSERT_EQ("", table.audit());
   }

   void run(unsigned deeds, int rounds) {
      for (int round = rounds; round-- != 0;) {
         routes.clear();
         table.clear();
         watched.clear();
         for (int i = sized(400, 1000, 1000); i-- != 0;) {
            deedsLeft = 20;
            switch (below(12)) {
               case 0: watch(deeds); break;
               case 1: endSome(); break;
               case 2: changeMany(); break;
               case 3:
                  if (below(2) == 0) {
                     recheckSome();
                  }
                  break;
               case 4:
                  isInBatch = true;
                  table.batch([&](auto&) {
                     for (unsigned n = below(12); n-- != 0;) {
                        switch (below(10)) {
                           case 0: changeMany(); break;
                           case 1:
                           case 2: watch(deeds); break;
                           case 3: endSome(); break;
                           case 4: recheckSome(); break;
                           default: change(); break;
                        }
                     }
                     isInBatch = false;
                  });
                  break;
               default: change(); break;
            }
            ASSERT_NO_FATAL_FAILURE(compare()) << "round " << round;
            if (this->HasFailure()) {
               return;
            }
         }
      }
      EXPECT_GT(calls, 100u);
      std::cout << calls << " calls\n";
   }

   std::mt19937_64 random;
   TrackedTable table;
   Routes routes;
   std::set<std::uint32_t> down;
   std::vector<std::unique_ptr<Watched>> watched;
   std::size_t calls = 0;
   bool isInBatch = false;
   std::size_t* failsAt = nullptr;  // the allocation that fails next, where a test has them fail
   bool isShortOfMemory = false;    // so that the model may be ahead of the table
   int deedsLeft = 0;               // until the next step
};

}  // namespace Property::Tracked
