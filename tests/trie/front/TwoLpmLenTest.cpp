#include "routetrie/trie/front/TwoLpmLen.h"

#include <gtest/gtest.h>

#include <string>

#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/platform/Corvid/ValueFunctions.h"
#include "routetrie/platform/Tesk/Strep.h"
#include "tests/trie/Surface.h"

namespace TwoLpmLenTest {

using Functions = Corvid::Inspect::InspectAtomicFnTable<Routing::TwoLpmLen>;
using Routing::TwoLpmLen;

constexpr Corvid::TypeData type = Corvid::typeDataOf<TwoLpmLen>();

U8 inspect(TwoLpmLen& value, const Corvid::FieldDescriptor* field, Corvid::AccessKind kind, void* result,
           const void* other = nullptr) {
   return type.module->functions[type.index].inspect(result, &value, field, 0, static_cast<U8>(kind), other, nullptr);
}

std::string faultOf(std::string_view text) {
   try {
      static_cast<void>(Tesk::strepToValue<TwoLpmLen>(text));
   } catch (const Corvid::RangeException& exception) {
      return exception.what();
   }
   return "none";
}

TEST(TwoLpmLen, isTwoNumbers) {
   const TwoLpmLen none;
   EXPECT_EQ(0u, none.lpm1);
   EXPECT_EQ(0u, none.lpm2);
   static_assert(sizeof(TwoLpmLen) == 8 && offsetof(TwoLpmLen, lpm2) == 4);
   const TwoLpmLen a(24, 16);
   const TwoLpmLen b(24, 17);
   const TwoLpmLen c(25, 16);
   const TwoLpmLen same = a;
   EXPECT_TRUE(TwoLpmLen::isEq(&a, &same));
   EXPECT_FALSE(TwoLpmLen::isEq(&a, &b));
   EXPECT_FALSE(TwoLpmLen::isEq(&a, &c));
}

TEST(TwoLpmLen, textRoundTrip) {
   for (const TwoLpmLen& value : {TwoLpmLen(), TwoLpmLen(24, 16), TwoLpmLen(4294967295, 1)}) {
      Corvid::String text;
      Functions::inspectEncodeToString(&value, text);
      EXPECT_EQ(value, Tesk::strepToValue<TwoLpmLen>(text));
      TwoLpmLen decoded;
      Functions::inspectDecodeFromString(&decoded, text);
      EXPECT_EQ(value, decoded);
   }
   Corvid::String text;
   const TwoLpmLen value(24, 16);
   Functions::inspectEncodeToString(&value, text);
   EXPECT_EQ("Routing::TwoLpmLen(lpm1=24,lpm2=16)", text);
}

TEST(TwoLpmLen, faultsNameTheAttribute) {
   EXPECT_EQ("lpm1: \"Routing::TwoLpmLen(lpm1=\" expected: \"\"", faultOf(""));
   EXPECT_EQ("lpm1: not a number: \"x,lpm2=1)\"", faultOf("Routing::TwoLpmLen(lpm1=x,lpm2=1)"));
   EXPECT_EQ("lpm1: number past 32 bits: \"4294967296,lpm2=1)\"",
             faultOf("Routing::TwoLpmLen(lpm1=4294967296,lpm2=1)"));
   EXPECT_EQ("lpm2: \",lpm2=\" expected: \")\"", faultOf("Routing::TwoLpmLen(lpm1=1)"));
   EXPECT_EQ("lpm2: not a number: \"-1)\"", faultOf("Routing::TwoLpmLen(lpm1=1,lpm2=-1)"));
   EXPECT_EQ("lpm2: \")\" expected: \"\"", faultOf("Routing::TwoLpmLen(lpm1=1,lpm2=1"));
   EXPECT_EQ("text left over: \" \"", faultOf("Routing::TwoLpmLen(lpm1=1,lpm2=1) "));
}

TEST(TwoLpmLen, byName) {
   EXPECT_EQ("2 lpm1 U32: 0 1\n3 lpm2 U32: 0 1\n", TestSupport::surfaceOf("Routing::TwoLpmLen"));
   TwoLpmLen value;
   bool answer = true;
   EXPECT_EQ(0, inspect(value, nullptr, Corvid::AccessKind::differsFromDefault, &answer));
   EXPECT_FALSE(answer);
   const Corvid::FieldDescriptor lpm2{3};
   const U32 one = 1;
   EXPECT_EQ(0, inspect(value, &lpm2, Corvid::AccessKind::set, nullptr, &one));
   EXPECT_EQ(TwoLpmLen(0, 1), value);
   EXPECT_EQ(0, inspect(value, nullptr, Corvid::AccessKind::differsFromDefault, &answer));
   EXPECT_TRUE(answer);
   U32 got = 0;
   EXPECT_EQ(0, inspect(value, &lpm2, Corvid::AccessKind::get, &got));
   EXPECT_EQ(1u, got);
   const TwoLpmLen same(0, 1);
   EXPECT_EQ(0, inspect(value, nullptr, Corvid::AccessKind::equals, &answer, &same));
   EXPECT_TRUE(answer);
   value.lpm1 = 5;
   EXPECT_EQ(0, inspect(value, nullptr, Corvid::AccessKind::equals, &answer, &same));
   EXPECT_FALSE(answer);
   EXPECT_EQ(1, inspect(value, &lpm2, Corvid::AccessKind::call, nullptr));
   const Corvid::FieldDescriptor none{4};
   EXPECT_EQ(2, inspect(value, &none, Corvid::AccessKind::get, &got));
   EXPECT_THROW(Functions::inspectGetHash(&value, 0), Corvid::RangeException);
}

TEST(TwoLpmLen, construction) {
   const TwoLpmLen value(24, 16);
   alignas(TwoLpmLen) unsigned char place[sizeof(TwoLpmLen)];
   Functions::inspectConstruct(place, &value);
   EXPECT_EQ(value, *reinterpret_cast<TwoLpmLen*>(place));
   Functions::inspectDestroy(place);
   Functions::inspectConstruct(place, nullptr);
   EXPECT_EQ(TwoLpmLen(), *reinterpret_cast<TwoLpmLen*>(place));
}

}  // namespace TwoLpmLenTest
