#include "routetrie/trie/front/TrieWalkPrefix.h"

#include <gtest/gtest.h>

#include <string>

#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/platform/Corvid/ValueFunctions.h"
#include "routetrie/platform/Tesk/Strep.h"
#include "tests/trie/Surface.h"

namespace TrieWalkPrefixTest {

using Corenet::IpGenPrefix;
using Routing::TrieWalkPrefix;
using Functions = Corvid::Inspect::InspectAtomicFnTable<TrieWalkPrefix>;

constexpr Corvid::TypeData type = Corvid::typeDataOf<TrieWalkPrefix>();

U8 inspect(TrieWalkPrefix& value, const Corvid::FieldDescriptor* field, Corvid::AccessKind kind, void* result,
           const void* other = nullptr) {
   return type.module->functions[type.index].inspect(result, &value, field, 0, static_cast<U8>(kind), other, nullptr);
}

TrieWalkPrefix valueOf(std::string_view key, U32 position) {
   TrieWalkPrefix value(IpGenPrefix::fromString(key));
   value.positionIs(position);
   return value;
}

std::string faultOf(std::string_view text) {
   try {
      static_cast<void>(Tesk::strepToValue<TrieWalkPrefix>(text));
   } catch (const Corvid::RangeException& exception) {
      return exception.what();
   }
   return "none";
}

TEST(TrieWalkPrefix, isAPrefixAndAPlace) {
   const auto value = valueOf("10.0.0.0/8", 7);
   EXPECT_EQ("10.0.0.0/8", value.key().stringValue());
   EXPECT_EQ(7u, value.position());
   EXPECT_EQ(0u, TrieWalkPrefix(IpGenPrefix()).position());
   // The position is stored before the key.
   EXPECT_EQ(reinterpret_cast<const unsigned char*>(&value) + 4,
             reinterpret_cast<const unsigned char*>(&value.key()));
}

TEST(TrieWalkPrefix, equality) {
   const auto a = valueOf("10.0.0.0/8", 7);
   const auto same = a;
   const auto elsewhere = valueOf("10.0.0.0/8", 8);
   const auto other = valueOf("11.0.0.0/8", 7);
   EXPECT_TRUE(TrieWalkPrefix::isEq(&a, &a));
   EXPECT_TRUE(TrieWalkPrefix::isEq(&a, &same));
   EXPECT_FALSE(TrieWalkPrefix::isEq(&a, &elsewhere));
   EXPECT_FALSE(TrieWalkPrefix::isEq(&a, &other));
}

TEST(TrieWalkPrefix, textRoundTrip) {
   for (const auto& value : {valueOf("10.0.0.0/8", 7), valueOf("2001:db8::/32", 4294967295), valueOf("none", 0)}) {
      Corvid::String text;
      Functions::inspectEncodeToString(&value, text);
      EXPECT_EQ(value, Tesk::strepToValue<TrieWalkPrefix>(text)) << text;
      auto decoded = valueOf("none", 0);
      Functions::inspectDecodeFromString(&decoded, text);
      EXPECT_EQ(value, decoded);
   }
   Corvid::String text;
   const auto value = valueOf("10.0.0.0/8", 7);
   Functions::inspectEncodeToString(&value, text);
   EXPECT_EQ("Routing::TrieWalkPrefix(key=10.0.0.0/8,position=7)", text);
}

TEST(TrieWalkPrefix, faultsNameTheAttribute) {
   EXPECT_EQ("key: \"Routing::TrieWalkPrefix(key=\" expected: \"\"", faultOf(""));
   EXPECT_EQ("key: prefix length 33 exceeds 32: \"10.0.0.0/33\"",
             faultOf("Routing::TrieWalkPrefix(key=10.0.0.0/33,position=1)"));
   EXPECT_EQ("key: prefix has no length: \"\"", faultOf("Routing::TrieWalkPrefix(key=,position=1)"));
   EXPECT_EQ("position: \",position=\" expected: \")\"", faultOf("Routing::TrieWalkPrefix(key=10.0.0.0/8)"));
   EXPECT_EQ("position: not a number: \"x)\"", faultOf("Routing::TrieWalkPrefix(key=10.0.0.0/8,position=x)"));
   EXPECT_EQ("text left over: \".\"", faultOf("Routing::TrieWalkPrefix(key=10.0.0.0/8,position=1)."));
}

TEST(TrieWalkPrefix, byName) {
   EXPECT_EQ("2 key Corenet::IpGenPrefix: 0\n3 position U32: 0 1\n",
             TestSupport::surfaceOf("Routing::TrieWalkPrefix"));
   auto value = valueOf("none", 0);
   bool answer = true;
   EXPECT_EQ(0, inspect(value, nullptr, Corvid::AccessKind::differsFromDefault, &answer));
   EXPECT_FALSE(answer);
   for (const auto& different : {valueOf("10.0.0.0/8", 0), valueOf("none", 1)}) {
      auto other = different;
      EXPECT_EQ(0, inspect(other, nullptr, Corvid::AccessKind::differsFromDefault, &answer));
      EXPECT_TRUE(answer);
      EXPECT_EQ(0, inspect(other, nullptr, Corvid::AccessKind::equals, &answer, &value));
      EXPECT_FALSE(answer);
      EXPECT_EQ(0, inspect(other, nullptr, Corvid::AccessKind::equals, &answer, &different));
      EXPECT_TRUE(answer);
   }
   const Corvid::FieldDescriptor key{2};
   const IpGenPrefix wanted = IpGenPrefix::fromString("10.0.0.0/8");
   EXPECT_EQ(1, inspect(value, &key, Corvid::AccessKind::set, nullptr, &wanted)) << "the key stays";
   const Corvid::FieldDescriptor position{3};
   const U32 seven = 7;
   EXPECT_EQ(0, inspect(value, &position, Corvid::AccessKind::set, nullptr, &seven));
   EXPECT_EQ(7u, value.position());
   EXPECT_THROW(Functions::inspectGetHash(&value, 0), Corvid::RangeException);

   const void* const arguments[] = {&wanted};
   auto made = valueOf("none", 9);
   type.module->functions[type.index].constructFromCtorArgs(&made, arguments);
   EXPECT_EQ(valueOf("10.0.0.0/8", 0), made);
   Functions::inspectConstruct(&made, nullptr);
   EXPECT_EQ(valueOf("none", 0), made);
}

}  // namespace TrieWalkPrefixTest
