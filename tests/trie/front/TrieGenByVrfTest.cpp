#include "routetrie/trie/front/TrieGenByVrf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Inspect.h"
#include "tests/property/LiveCounts.h"
#include "tests/trie/Surface.h"

namespace TrieGenByVrfTest {

namespace Inspect = Corvid::Inspect;
using Routing::TrieGenByVrf;
using testing::ElementsAre;
using TestSupport::statusOf;
using TestSupport::surfaceOf;
using Vrf::VrfIdMap;

VrfIdMap::VrfId vrf(U32 number) { return VrfIdMap::VrfId(number); }

class ByVrf : public testing::Test {
  protected:
   std::vector<std::string> keys() {
      std::vector<std::string> result;
      Inspect::iterate(*set_, "vrfTrieGen", [&](const auto& key, const auto& member) {
         EXPECT_EQ("Routing::VrfTrieGen", member.text);
         result.push_back(key.text);
         return true;
      });
      return result;
   }
   Corvid::Ptr<TrieGenByVrf> set_ = Routing::trieGenByVrfFactory();
};

TEST_F(ByVrf, anEntryIsMadeOnce) {
   const auto entry = set_->vrfTrieGenIs(vrf(7));
   EXPECT_EQ(vrf(7), entry->vrfId());
   EXPECT_EQ(nullptr, entry->ipv4Trie());
   EXPECT_EQ(nullptr, entry->ipv6Trie());
   EXPECT_EQ(2u, entry->uses());
   EXPECT_EQ(entry, set_->vrfTrieGenIs(vrf(7)));
   EXPECT_EQ(1u, set_->entries().memberCount());
   EXPECT_EQ(entry, set_->vrfTrieGen(vrf(7)));
   EXPECT_EQ(nullptr, set_->vrfTrieGen(vrf(8)));
   EXPECT_EQ(nullptr, entry->publisher());
   EXPECT_EQ(nullptr, set_->publisher());
}

TEST_F(ByVrf, triesAreTheCallers) {
   const auto trie = Routing::trieGenFactory("vrf 7", Corenet::ipv4());
   const auto entry = set_->vrfTrieGenIs(vrf(7));
   entry->ipv4TrieIs(trie);
   EXPECT_EQ(trie, set_->vrfTrieGenIs(vrf(7))->ipv4Trie());
   EXPECT_EQ(nullptr, set_->vrfTrieGenIs(vrf(8))->ipv4Trie()) << "an entry begins without, whatever exists elsewhere";
}

TEST_F(ByVrf, aDeletedEntryIsHandedOver) {
   const auto trie = Routing::trieGenFactory("vrf 7", Corenet::ipv6());
   set_->vrfTrieGenIs(vrf(7))->ipv6TrieIs(trie);
   const auto entry = set_->vrfTrieGenDel(vrf(7));
   EXPECT_EQ(1u, entry->uses()) << "with the map's own reference";
   EXPECT_EQ(trie, entry->ipv6Trie());
   EXPECT_EQ(nullptr, set_->vrfTrieGenDel(vrf(7)));
   EXPECT_EQ(nullptr, set_->vrfTrieGen(vrf(7)));
   set_ = nullptr;
   entry->ipv6Trie()->routeIs(Corenet::IpGenPrefix::fromString("::1/128"), true);
   EXPECT_EQ(1u, trie->routes());
}

TEST_F(ByVrf, allAtOnce) {
   const auto entry = set_->vrfTrieGenIs(vrf(1));
   set_->vrfTrieGenIs(vrf(2));
   set_->vrfTrieGenDelAll();
   EXPECT_EQ(0u, set_->entries().memberCount());
   EXPECT_EQ(1u, entry->uses());
   EXPECT_NE(entry, set_->vrfTrieGenIs(vrf(1)));
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST_F(ByVrf, outOfMemoryChangesNothing) {
   set_->vrfTrieGenIs(vrf(1));
   const Property::LiveCounts before;
   for (std::uint64_t n = 1; n <= 2; ++n) {
      CoreSlab::failAt(n);
      EXPECT_THROW(set_->vrfTrieGenIs(vrf(2)), std::bad_alloc) << n;
      CoreSlab::failAt(0);
      EXPECT_EQ("", before.changes()) << n;
   }
   EXPECT_EQ(1u, set_->entries().memberCount());
   CoreSlab::failAt(1);
   EXPECT_THROW(Routing::trieGenByVrfFactory(), std::bad_alloc);
   CoreSlab::failAt(0);
}
#endif

//--- by name ---

TEST_F(ByVrf, surfaces) {
   EXPECT_EQ("130 vrfTrieGen Routing::VrfTrieGen: 0 1 2 3 4 5 28\n", surfaceOf("Routing::TrieGenByVrf"));
   EXPECT_EQ(
      "130 vrfId Vrf::VrfIdMap::VrfId: 0\n"
      "131 ipv4Trie Routing::TrieGen: 0 1\n"
      "132 ipv6Trie Routing::TrieGen: 0 1\n",
      surfaceOf("Routing::VrfTrieGen"));
   EXPECT_EQ("vrfId", Inspect::findType("Routing::TrieGenByVrf")->field("vrfTrieGen")->keyAttribute());
   EXPECT_EQ(1, statusOf(*set_, 130, 6));
   EXPECT_EQ(2, statusOf(*set_, 131, 0));
}

TEST_F(ByVrf, getsNeverMakeAndASetDoes) {
   EXPECT_EQ("null", Inspect::get(*set_, "vrfTrieGen", "7").text);
   EXPECT_EQ("null", Inspect::lookup(*set_, "vrfTrieGen", "7").text);
   EXPECT_FALSE(Inspect::exists(*set_, "vrfTrieGen", "7"));
   EXPECT_EQ(0u, Inspect::count(*set_, "vrfTrieGen"));
   Inspect::set(*set_, "vrfTrieGen", "7", "null");
   const Corvid::Ptr<Corvid::Node> entry = set_->vrfTrieGen(vrf(7));
   ASSERT_NE(nullptr, entry);
   Inspect::set(*set_, "vrfTrieGen", "7", "null");
   EXPECT_EQ(entry, Inspect::get(*set_, "vrfTrieGen", "7").object) << "as it is";
   EXPECT_EQ(entry, Inspect::lookup(*set_, "vrfTrieGen", "7").object);
   EXPECT_TRUE(Inspect::exists(*set_, "vrfTrieGen", "7"));
   EXPECT_EQ(1u, Inspect::count(*set_, "vrfTrieGen"));
   EXPECT_EQ(1u, Inspect::number(*set_, "vrfTrieGen"));
   EXPECT_EQ("7", Inspect::get(*entry, "vrfId").text);
   EXPECT_EQ(entry, Inspect::del(*set_, "vrfTrieGen", "7").object);
   EXPECT_EQ(1u, entry->uses());
   EXPECT_EQ(nullptr, Inspect::del(*set_, "vrfTrieGen", "7").object);
   EXPECT_EQ(2u, Inspect::number(*set_, "vrfTrieGen"));
}

TEST_F(ByVrf, anEntrysTriesByName) {
   const auto entry = Inspect::make(Inspect::findType("Routing::VrfTrieGen").value(), {"4294967295"});
   const auto trie = Routing::trieGenFactory("by name", Corenet::ipv4());
   for (const char* field : {"ipv4Trie", "ipv6Trie"}) {
      EXPECT_EQ("null", Inspect::get(*entry, field).text);
      Inspect::set(*entry, field, trie);
      EXPECT_EQ(trie, Inspect::get(*entry, field).object);
   }
   EXPECT_EQ(3u, trie->uses());
   EXPECT_EQ("4294967295", Inspect::get(*entry, "vrfId").text);
}

TEST_F(ByVrf, iteratesFromAKeyAndWhileMembersGo) {
   for (const U32 number : {5u, 3u, 9u, 1u}) {
      set_->vrfTrieGenIs(vrf(number));
   }
   EXPECT_THAT(keys(), ElementsAre("5", "3", "9", "1")) << "in the order of coming";
   std::vector<std::string> seen;
   Inspect::iterate(*set_, "vrfTrieGen", "3", [&](const auto& key, const auto&) {
      seen.push_back(key.text);
      set_->vrfTrieGenDel(VrfIdMap::VrfId::fromString(key.text));
      if (key.text == "3") {
         set_->vrfTrieGenDel(vrf(9));  // the next one
         set_->vrfTrieGenIs(vrf(4));
      }
      return true;
   });
   EXPECT_THAT(seen, ElementsAre("3", "1", "4"));
   EXPECT_THAT(keys(), ElementsAre("5"));
   Inspect::iterate(*set_, "vrfTrieGen", "77", [](const auto&, const auto&) {
      ADD_FAILURE() << "there is no such member";
      return true;
   });
}

TEST(ByVrfAtScale, tenThousandVrfs) {
   const Property::LiveCounts before;
   {
      constexpr U32 count = 10000;
      const auto set = TrieGenByVrf::TrieGenByVrfIs();
      std::set<std::string> expected;
      for (U32 i = 0; i < count; ++i) {
         const auto entry = set->vrfTrieGenIs(vrf(i * 429496u));
         entry->ipv4TrieIs(Routing::trieGenFactory("4", Corenet::ipv4()));
         expected.insert(std::string(entry->vrfId().stringValue().view()));
      }
      EXPECT_EQ(count, Inspect::count(*set, "vrfTrieGen"));
      U32 number = 0;
      Inspect::iterate(*set, "vrfTrieGen", [&](const auto& key, const auto&) {
         EXPECT_EQ(1u, expected.erase(key.text)) << key.text;
         if (++number % 2 == 0) {
            Inspect::del(*set, "vrfTrieGen", key.text);
         }
         return true;
      });
      EXPECT_TRUE(expected.empty());
      EXPECT_EQ(count / 2, Inspect::count(*set, "vrfTrieGen"));
      for (U32 i = 0; i < count; i += 2) {
         ASSERT_NE(nullptr, set->vrfTrieGen(vrf(i * 429496u))) << i;
         ASSERT_EQ(nullptr, set->vrfTrieGen(vrf((i + 1) * 429496u))) << i;
      }
      set->vrfTrieGenDelAll();
      EXPECT_EQ(0u, Inspect::count(*set, "vrfTrieGen"));
      set->vrfTrieGenIs(vrf(1));  // goes with the collection
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace TrieGenByVrfTest
