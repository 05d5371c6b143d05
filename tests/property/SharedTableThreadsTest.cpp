// Readers beside a writer, whose answers are checked: each was right at some moment between its question's begin and its end. The writer
// numbers its changes, and tells the number before and after each; a reader notes both beside its answer; and when all is over, the
// changes are replayed. A reader keeps 20,000 answers; of more, new ones take the places of others, picked at random. Batches are never seen in part, snapshots stay as they were, whoever drops them, and a reader that sleeps stops
// nobody. 8 readers and 10^6 changes at full size.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "routetrie/shared_table.h"
#include "tests/property/Scale.h"

namespace Property {
namespace SharedTableThreadsTest {

using namespace routetrie::literals;
using routetrie::prefix4;
using routetrie::prefix6;
using routetrie::shared_table;
using routetrie::table4;

// When all readers have left and all snapshots are gone, nothing is kept for either.
template <class Shared>
void expectAllBack(Shared& t) {
   for (int i = 0; i < 5000 && (t.pending_bytes() != 0 || t.memory().old != 0); ++i) {
      t.reclaim();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
   }
   EXPECT_EQ(0u, t.pending_bytes());
   EXPECT_EQ(0u, t.memory().old);
   EXPECT_EQ(0u, t.memory().for_readers);
   EXPECT_EQ("", t.audit());
}

template <class P>
typename P::Bits highBits(std::uint32_t word) {
   using Word = typename P::Bits::Word;
   return typename P::Bits(static_cast<Word>(Word{word} << (P::width - 32)));
}

// Some addresses, and nests of prefixes that cover several of them each.
template <class P>
struct World {
   std::vector<typename P::AddressType> addresses;
   std::vector<P> prefixes;

   explicit World(std::mt19937_64& random) {
      for (unsigned i = 0; i < 24; ++i) {
         // Two addresses of three share 20 bits with others.
         const auto word = static_cast<std::uint32_t>(i % 3 == 0 ? random() : (0x0a010000u | (random() & 0xfff)));
         addresses.push_back(typename P::AddressType(highBits<P>(word | 0x08000000u)));
         for (const unsigned length : {0u, 7u, 12u, 16u, 20u, 23u, 24u, 27u, 32u}) {
            prefixes.push_back(P::cut(addresses.back().bits(), length));
         }
      }
      std::sort(prefixes.begin(), prefixes.end());
      prefixes.erase(std::unique(prefixes.begin(), prefixes.end()), prefixes.end());
   }
};

// A change: what one prefix has from now on; 0: no route.
struct Change {
   std::uint32_t prefix;
   std::uint32_t value;
};

template <class Shared>
class AnswersOfReaders {
   using P = typename Shared::prefix_type;

  public:
   struct Sample {
      std::uint32_t begun, ended;  // changes
      std::uint32_t address;
      std::uint32_t value;  // 0: none
   };

   explicit AnswersOfReaders(std::uint64_t seed) : random(seed), world(random) {
      // Others around, so that there is an index, and nodes of all sizes.
      table4OrSix many;
      while (many.size() < (P::width == 32 ? 33'000u : 9'000u)) {
         auto word = static_cast<std::uint32_t>(random()) | 0x40000000u;
         many.insert({P::cut(highBits<P>(word), 20 + static_cast<unsigned>(random() % 9)), 1});
      }
      t.emplace(std::move(many));
   }

   void run(unsigned readers, std::uint32_t changes, std::size_t samplesEach) {
      std::vector<std::vector<Sample>> samples(readers);
      std::vector<std::thread> threads;
      for (unsigned r = 0; r < readers; ++r) {
         threads.emplace_back([&, r] { read(samples[r], r, samplesEach); });
      }
      std::vector<Change> log;
      log.reserve(changes);
      std::vector<std::uint32_t> has(world.prefixes.size());
      for (std::uint32_t n = 1; n <= changes; ++n) {
         const auto i = static_cast<std::uint32_t>(random() % world.prefixes.size());
         const bool goes = has[i] != 0 && random() % 3 != 0;
         log.push_back({i, has[i] = goes ? 0 : n});
         begun.store(n);
         if (goes) {
            ASSERT_EQ(1u, t->erase(world.prefixes[i]));
         } else {
            t->insert_or_assign(world.prefixes[i], n);
         }
         ended.store(n);
         if (n % 64 == 0) {
            std::this_thread::yield();
         }
      }
      isOver = true;
      for (auto& thread : threads) {
         thread.join();
      }
      ASSERT_EQ("", t->audit());
      expectAllBack(*t);
      check(log, samples);
   }

  private:
   using table4OrSix = typename Shared::table_type;

   void read(std::vector<Sample>& samples, unsigned number, std::size_t most) {
      std::mt19937 own(number);
      const auto reader = t->reader();
      samples.reserve(most);
      while (!isOver) {
         const auto address = static_cast<std::uint32_t>(own() % world.addresses.size());
         Sample sample{ended.load(), 0, address, 0};
         switch (own() % 4) {
            case 0:
               if (const auto best = reader.match(world.addresses[address])) {
                  sample.value = best->value;
               }
               break;
            case 1:
               for (const auto& route : reader.covering(world.addresses[address])) {
                  sample.value = route.value;
               }
               break;
            case 2: {
               const auto routes = reader.lock();
               if (const std::uint32_t* value = routes->lookup(world.addresses[address])) {
                  sample.value = *value;
               }
               break;
            }
            default:
               if (const auto value = reader.lookup(world.addresses[address])) {
                  sample.value = *value;
               }
               break;
         }
         sample.ended = begun.load();
         if (samples.size() < most) {
            samples.push_back(sample);
         } else {
            samples[own() % most] = sample;
         }
      }
   }

   bool isUnder(std::size_t address, std::uint32_t prefix) const {
      const P& p = world.prefixes[prefix];
      return world.addresses[address].bits().sharesFirst(p.bits(), p.len());
   }
   void check(const std::vector<Change>& log, const std::vector<std::vector<Sample>>& samples) {
      // Of each address, the answers and the changes from which on they were right.
      using Answer = std::pair<std::uint32_t, std::uint32_t>;
      std::vector<std::vector<Answer>> right(world.addresses.size(), {Answer(0, 0)});
      std::vector<std::uint32_t> has(world.prefixes.size());
      std::vector<std::vector<std::uint32_t>> covering(world.addresses.size());  // longest first
      for (std::size_t a = 0; a < world.addresses.size(); ++a) {
         for (auto i = static_cast<std::uint32_t>(world.prefixes.size()); i-- != 0;) {
            if (isUnder(a, i)) {
               covering[a].push_back(i);
            }
         }
         std::sort(covering[a].begin(), covering[a].end(), [&](std::uint32_t x, std::uint32_t y) {
            return world.prefixes[x].len() > world.prefixes[y].len();
         });
      }
      std::uint32_t number = 0;
      for (const Change& change : log) {
         ++number;
         has[change.prefix] = change.value;
         for (std::size_t a = 0; a < world.addresses.size(); ++a) {
            if (!isUnder(a, change.prefix)) {
               continue;
            }
            std::uint32_t best = 0;
            for (const std::uint32_t i : covering[a]) {
               if (has[i] != 0) {
                  best = has[i];
                  break;
               }
            }
            if (best != right[a].back().second) {
               right[a].push_back({number, best});
            }
         }
      }
      std::size_t checked = 0;
      for (const auto& list : samples) {
         for (const Sample& sample : list) {
            const auto& answers = right[sample.address];
            auto at = std::upper_bound(answers.begin(), answers.end(), Answer(sample.begun, ~0u));
            bool was = std::prev(at)->second == sample.value;
            for (; at != answers.end() && at->first <= sample.ended; ++at) {
               was = was || at->second == sample.value;
            }
            ASSERT_TRUE(was) << "the answer " << sample.value << " between the changes " << sample.begun << " and "
                             << sample.ended;
            ++checked;
         }
      }
      EXPECT_GT(checked, 100u);
   }

   std::mt19937_64 random;
   World<P> world;
   std::optional<Shared> t;
   std::atomic<std::uint32_t> begun{0};
   std::atomic<std::uint32_t> ended{0};
   std::atomic<bool> isOver{false};
};

TEST(SharedTableThreads, everyAnswerWasRightAtSomeMomentIpv4) {
   AnswersOfReaders<routetrie::shared_table4<std::uint32_t>> world(seed());
   world.run(8, sized<std::uint32_t>(1500, 10'000, 1'000'000), 20'000);
}
TEST(SharedTableThreads, everyAnswerWasRightAtSomeMomentIpv6) {
   AnswersOfReaders<routetrie::shared_table6<std::uint32_t>> world(seed() + 1);
   world.run(8, sized<std::uint32_t>(1500, 10'000, 100'000), 20'000);
}

// Each batch gives all routes of both families one number; some come and go.
TEST(SharedTableThreads, batchesAreNeverSeenInPart) {
   std::mt19937_64 random(seed());
   const World<prefix4> four(random);
   const World<prefix6> six(random);
   shared_table<std::uint32_t> t;
   t.insert({"0.0.0.0/0"_prefix, 0});
   routetrie::snapshot<std::uint32_t> first = t.snapshot();
   std::atomic<bool> isOver{false};
   std::atomic<unsigned> faults{0};
   std::atomic<std::uint64_t> walks{0};
   std::vector<std::thread> threads;
   for (unsigned r = 0; r < 8; ++r) {
      threads.emplace_back([&, r] {
         const auto reader = t.reader();
         std::uint32_t last = 0;
         while (!isOver) {
            const auto routes = reader.lock();
            const std::uint32_t number = routes->find("0.0.0.0/0"_prefix)->value;
            faults += number < last ? 1u : 0u;
            last = number;
            for (const auto& route : *routes) {
               faults += route.value != number ? 1u : 0u;
            }
            faults += routes->audit().empty() ? 0u : 1u;
            if (r == 0) {
               faults += first.size() != 1 || first.begin()->value != 0 ? 1u : 0u;
            }
            ++walks;
         }
      });
   }
   const auto batches = sized<std::uint32_t>(60, 400, 10'000);
   for (std::uint32_t n = 1; n <= batches; ++n) {
      t.batch([&](auto& w) {
         const auto all = [&](const auto& prefixes) {
            for (const auto& p : prefixes) {
               if (p.len() != 0 && (p.bits().word() >> 3) % 5 == n % 5) {
                  w.erase(p);
               } else {
                  w.insert_or_assign(p, n);
               }
            }
         };
         all(four.prefixes);
         all(six.prefixes);
      });
   }
   while (walks < 20) {
      std::this_thread::yield();
   }
   isOver = true;
   for (auto& thread : threads) {
      thread.join();
   }
   EXPECT_EQ(0u, faults.load());
   first = {};
   expectAllBack(t);
}

// Values that own memory are made, replaced and destroyed under the eyes of readers.
TEST(SharedTableThreads, valuesInSlots) {
   std::mt19937_64 random(seed());
   const World<prefix4> world(random);
   routetrie::shared_table4<std::string> t;
   std::atomic<bool> isOver{false};
   std::atomic<unsigned> faults{0};
   std::vector<std::thread> threads;
   for (unsigned r = 0; r < 4; ++r) {
      threads.emplace_back([&, r] {
         const auto reader = t.reader();
         std::mt19937 own(r);
         while (!isOver) {
            const auto best = reader.match(world.addresses[own() % world.addresses.size()]);
            if (best) {
               faults += best->value != "a next hop for " + std::string(best->prefix.stringValue()) ? 1u : 0u;
            }
            if (own() % 64 == 0) {
               const auto s = t.snapshot();
               for (const auto& route : s) {
                  faults += route.value.size() < 16 ? 1u : 0u;
               }
            }
         }
      });
   }
   const auto changes = sized<std::uint32_t>(1000, 5000, 60'000);
   for (std::uint32_t n = 0; n < changes; ++n) {
      const prefix4& p = world.prefixes[random() % world.prefixes.size()];
      switch (random() % 3) {
         case 0: t.erase(p); break;
         case 1: t.insert_or_assign(p, "a next hop for " + std::string(p.stringValue())); break;
         default:
            t.update(p, [&](std::string& value) { value = "a next hop for " + std::string(p.stringValue()); });
            break;
      }
      if (n % 500 == 0) {
         std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
   }
   isOver = true;
   for (auto& thread : threads) {
      thread.join();
   }
   EXPECT_EQ(0u, faults.load());
   expectAllBack(t);
}

TEST(SharedTableThreads, aReaderThatSleepsStopsNobody) {
   routetrie::shared_table4<std::uint32_t> t;
   std::vector<prefix4> prefixes;
   for (std::uint32_t i = 0; i < 300; ++i) {
      prefixes.push_back(prefix4::cut(prefix4::Bits(i * 977 << 12), 24));
      t.insert({prefixes.back(), i});
   }
   std::atomic<bool> isOver{false};
   std::atomic<bool> isAsleep{false};
   std::size_t sum = 0;
   std::thread sleeper([&] {
      const auto reader = t.reader();
      const auto routes = reader.lock();
      isAsleep = true;
      while (!isOver) {
         std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
      for (const auto& route : *routes) {
         sum += route.value;
      }
   });
   while (!isAsleep) {
      std::this_thread::yield();
   }
   std::size_t before = 0;
   for (std::uint32_t n = 0; n < 2000; ++n) {
      t.insert_or_assign(prefixes[n % 300], 1000u);
      if (n % 500 == 499) {
         std::this_thread::sleep_for(std::chrono::milliseconds(15));
         EXPECT_GT(t.pending_bytes(), before);
         before = t.pending_bytes();
      }
   }
   isOver = true;
   sleeper.join();
   EXPECT_EQ(300u * 299 / 2, sum) << "it has seen the version that it has locked";
   expectAllBack(t);
}

//--- snapshots of tables that are not shared ---

// One thread changes the table and takes snapshots, others read them and drop them, also when the table has gone.
TEST(SnapshotThreads, areReadAndDroppedOnOtherThreads) {
   struct Given {
      routetrie::snapshot4<std::string> snapshot;
      std::size_t size;
   };
   std::mutex lock;
   std::vector<Given> queue;
   std::atomic<bool> isOver{false};
   std::atomic<unsigned> faults{0};
   std::vector<std::thread> threads;
   for (unsigned r = 0; r < 3; ++r) {
      threads.emplace_back([&, r] {
         std::mt19937 own(r);
         std::vector<Given> mine;
         for (;;) {
            {
               const std::lock_guard guard(lock);
               if (queue.empty() && isOver) {
                  break;
               }
               if (!queue.empty()) {
                  mine.push_back(queue.back());  // a copy; the queue's own goes here as well
                  queue.pop_back();
               }
            }
            for (const Given& given : mine) {
               std::size_t count = 0;
               for (const auto& route : given.snapshot) {
                  count += route.value == route.prefix.stringValue() ? 1u : 0u;
               }
               faults += count != given.size || !given.snapshot.audit().empty() ? 1u : 0u;
            }
            if (mine.size() > own() % 8) {
               mine.erase(mine.begin() + static_cast<std::ptrdiff_t>(own() % mine.size()));
            }
         }
      });
   }
   std::mt19937_64 random(seed());
   std::optional<table4<std::string>> t(std::in_place);
   const auto changes = sized<std::uint32_t>(1500, 8000, 60'000);
   for (std::uint32_t n = 0; n < changes; ++n) {
      const auto p = prefix4::cut(prefix4::Bits(static_cast<std::uint32_t>(random() % 64) << 20),
                                  12u + static_cast<unsigned>(random() % 4));
      if (random() % 3 == 0) {
         t->erase(p);
      } else {
         t->insert_or_assign(p, std::string(p.stringValue()));
      }
      if (n % 20 == 0) {
         const std::lock_guard guard(lock);
         if (queue.size() < 50) {
            queue.push_back({t->snapshot(), t->size()});
         }
      }
   }
   EXPECT_EQ("", t->audit());
   t.reset();
   isOver = true;
   for (auto& thread : threads) {
      thread.join();
   }
   EXPECT_EQ(0u, faults.load());
}

}  // namespace SharedTableThreadsTest
}  // namespace Property
