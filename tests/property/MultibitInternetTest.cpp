// A whole Internet table on the multibit trie and on the Patricia trie: both are asked the same at random, and emptied in another
// order than they were filled. Where they may differ, the ordered list of routes says which of them is right.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>

#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "tests/property/InternetTable.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/MultibitEngine.h"
#include "tests/property/Scale.h"

namespace Property {
namespace MultibitInternetTest {

// Both tries of one set of routes.
class Pair {
  public:
   explicit Pair(PrefixList routes) : ordered_(std::move(routes)) {
      for (const auto& p : ordered_) {
         multibit_.add(p);
         patricia_->updateRoute(p, nullptr);
      }
      std::sort(ordered_.begin(), ordered_.end());
   }

   std::string longestMatchFault(const IpGenPrefix& p) const {
      return faultOf("longestMatch", p, multibit_.longestMatch(p),
                     known(patricia_->longestMatchCommon(p, nullptr, nullptr)));
   }
   std::string exactFault(const IpGenPrefix& p) const {
      return faultOf("exact", p, multibit_.exact(p), patricia_->longestMatchCommon(p, nullptr, nullptr) == p);
   }
   std::string parentFault(const IpGenPrefix& p) const {
      return faultOf("parent", p, multibit_.parent(p), known(patricia_->findParentCommon(p, nullptr, nullptr)));
   }
   // The other trie takes a branch for a longer route: from its yes to a no of this one the list decides.
   std::string longerFault(const IpGenPrefix& p) const {
      bool expected = patricia_->longerRoutePresentCommon(p);
      if (expected && !multibit_.longer(p)) {
         const auto after = std::upper_bound(ordered_.begin(), ordered_.end(), p);
         expected = after != ordered_.end() && covers(p, *after);
      }
      return faultOf("longer", p, multibit_.longer(p), expected);
   }
   std::string nextFault(const IpGenPrefix& p) const {
      const auto after = std::upper_bound(ordered_.begin(), ordered_.end(), p);
      const bool isNone = after == ordered_.end() || !multibit_.exact(p);
      return faultOf("next", p, multibit_.next(p), isNone ? std::nullopt : MaybePrefix(*after));
   }
   std::string subtreeFault(const IpGenPrefix& p) const {
      const auto from = std::lower_bound(ordered_.begin(), ordered_.end(), p);
      auto to = from;
      while (to != ordered_.end() && covers(p, *to)) {
         ++to;
      }
      return faultOf("subtree", p, multibit_.subtree(p), PrefixList(from, to));
   }

   MultibitEngine multibit_;
   Corvid::Ptr<Routing::PatriciaTrie> patricia_ = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   PrefixList ordered_;

  private:
   static MaybePrefix known(const IpGenPrefix& answer) {
      return answer == IpGenPrefix() ? std::nullopt : MaybePrefix(answer);
   }
};

// Addresses, routes, what lies in, around and beneath them, and anything else.
class RandomQueries {
  public:
   RandomQueries(const PrefixList& routes, std::uint64_t seed) : routes_(routes), random_(seed) {}

   IpGenPrefix next() {
      const U32 any = static_cast<U32>(random_());
      const IpGenPrefix& route = routes_[random_() % routes_.size()];
      const U32 length = route.len();
      const U32 inside = route.bits<32>().word() | (any & ~Corenet::AddressBits<32>::mask(length));
      switch (random_() % 8) {
         case 0: return Routing::pfx(any, 32);
         case 1: return Routing::pfx(any, static_cast<U32>(random_() % 32 + 1));
         case 2: return route;
         case 3: return Routing::pfx(inside, length - static_cast<U32>(random_() % length));
         case 4: return Routing::pfx(inside ^ 1U << (32 - length), length);
         case 5: return Routing::pfx(inside, length + static_cast<U32>(random_() % (33 - length)));
         default: return Routing::pfx(inside, 32);
      }
   }

  private:
   const PrefixList& routes_;
   std::mt19937_64 random_;
};

TEST(MultibitInternet, wholeTableAgreesWithThePatriciaTrie) {
   PrefixList routes = internetTable(ROUTETRIE_INTERNET_TABLE, Corenet::ipv4);
   ASSERT_GT(routes.size(), 100'000U);
   const std::uint64_t number = seed();
   std::mt19937_64 random(number);
   std::shuffle(routes.begin(), routes.end(), random);
   routes.resize(std::min(routes.size(), sized<std::size_t>(30'000, 60'000, routes.size())));
   std::erase(routes, IpGenPrefix(Corenet::Prefix()));  // for the random lengths above
   const LiveCounts before;
   {
      const Pair pair(routes);
      ASSERT_EQ(routes.size(), pair.multibit_.routes());
      ASSERT_EQ("", pair.multibit_.audit());
      EXPECT_EQ(pair.ordered_, pair.multibit_.ordered());

      std::uint64_t asks = number;
      const auto ask = [&](auto fault, std::size_t count) {
         RandomQueries queries(routes, ++asks);
         for (std::size_t i = 0; i < count; ++i) {
            const std::string found = (pair.*fault)(queries.next());
            ASSERT_EQ("", found);
         }
      };
      const auto many = sized<std::size_t>(20'000, 60'000, 400'000);
      ask(&Pair::longestMatchFault, many);
      ask(&Pair::exactFault, many);
      ask(&Pair::parentFault, many);
      ask(&Pair::longerFault, many);
      ask(&Pair::nextFault, many);
      // A list takes time in proportion to the subtree.
      RandomQueries queries(routes, number);
      for (std::size_t asked = 0; asked < many;) {
         const IpGenPrefix p = queries.next();
         if (p.len() >= 8) {
            ASSERT_EQ("", pair.subtreeFault(p));
            ++asked;
         }
      }

      std::shuffle(routes.begin(), routes.end(), random);
      std::size_t left = routes.size();
      for (const auto& p : routes) {
         ASSERT_TRUE(pair.multibit_.trie().routeDel(p.v4Prefix()));
         if (--left % 200'000 == 0) {
            ASSERT_EQ("", pair.multibit_.audit());
            ASSERT_EQ(left, pair.multibit_.routes());
         }
      }
      EXPECT_EQ(0, pair.multibit_.trie().nodes());
      EXPECT_TRUE(pair.multibit_.trie().root()->isBare());
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace MultibitInternetTest
}  // namespace Property
