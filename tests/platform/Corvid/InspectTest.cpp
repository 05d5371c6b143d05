#include "routetrie/platform/Corvid/Inspect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "routetrie/platform/Corvid/ModuleTables.h"
#include "tests/platform/Corvid/Sample.h"

namespace InspectTest {

namespace Inspect = Corvid::Inspect;
using Corvid::AccessKind;
using Corvid::Ptr;
using Sample::Library;
using testing::ElementsAre;
using testing::HasSubstr;

// What the call raises.
template <class Call>
std::string refusal(Call call) {
   try {
      call();
   } catch (const Corvid::RangeException& exception) {
      return exception.what();
   }
   return "";
}

class InspectTest : public testing::Test {
  protected:
   Ptr<Library> library = Library::LibraryIs(Corenet::ipv4, true);
   Inspect::Type type = *Inspect::typeOf(*library);
};

std::vector<std::string> names(const std::vector<Inspect::Parameter>& parameters) {
   std::vector<std::string> all;
   for (const auto& parameter : parameters) {
      all.push_back(std::string(parameter.typeName) + " " + std::string(parameter.name));
   }
   return all;
}

TEST_F(InspectTest, TheModulesThatAreLoadedAreFoundByName) {
   std::vector<std::string> all;
   for (const auto& module : Inspect::modules()) {
      all.emplace_back(module.name());
      EXPECT_FALSE(module.types().empty()) << module.name();
   }
   EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
   for (const char* wanted : {"Corenet", "Keel", "PatriciaTrieData", "Sample", "Vrf"}) {
      EXPECT_THAT(all, testing::Contains(wanted));
   }
}

TEST_F(InspectTest, AnnouncingARecordAgainChangesNothing) {
   const auto before = Inspect::modules().size();
   _Sample_0123456789abcdef_teskModule.loaded();
   EXPECT_EQ(Inspect::modules().size(), before);
}

TEST_F(InspectTest, TypesAreFoundByTheirFullOrLastName) {
   EXPECT_EQ(Inspect::findType("Sample::Library")->name(), "Sample::Library");
   EXPECT_EQ(*Inspect::findType("Library"), type);
   EXPECT_FALSE(Inspect::findType("Sample"));
   EXPECT_FALSE(Inspect::findType("Nothing"));
   EXPECT_FALSE(Inspect::findType(""));
}

TEST_F(InspectTest, ATypeTellsOfItself) {
   EXPECT_EQ(type.name(), "Sample::Library");
   EXPECT_EQ(type.moduleName(), "Sample");
   EXPECT_TRUE(type.isClass());
   EXPECT_FALSE(type.isAbstract());
   EXPECT_TRUE(type.isConstructible());
   EXPECT_FALSE(type.base());
   EXPECT_THAT(names(type.constructorParameters()), ElementsAre("Corenet::AddressFamily af", "bool open"));
   EXPECT_EQ(type.fields().size(), 25U);

   const auto reader = *Inspect::findType("Sample::Reader");
   EXPECT_TRUE(reader.isAbstract());
   EXPECT_FALSE(reader.isConstructible());
   const auto annex = *Inspect::findType("Sample::Annex");
   EXPECT_EQ(annex.base()->name(), "Sample::Branch");
   EXPECT_EQ(annex.base()->base()->name(), "Sample::Library");
   EXPECT_TRUE(annex.isA(type));
   EXPECT_FALSE(type.isA(annex));
   const auto point = *Inspect::findType("Sample::Point");
   EXPECT_FALSE(point.isClass());
   EXPECT_FALSE(point.base());
}

TEST_F(InspectTest, AFieldTellsOfItself) {
   const auto af = *type.field("af");
   EXPECT_EQ(af.id(), 130);
   EXPECT_EQ(af.typeName(), "Corenet::AddressFamily");
   EXPECT_EQ(af.shape(), Tesk::Shape::value);
   EXPECT_TRUE(af.takes(AccessKind::get));
   EXPECT_FALSE(af.takes(AccessKind::set));
   EXPECT_NE(af.row().flags() & Tesk::fieldConstructorArgument, 0U);
   EXPECT_EQ(type.field("rooms")->row().flags() & Tesk::fieldConstructorArgument, 0U);
   EXPECT_TRUE(type.field("books")->isPublished());
   EXPECT_FALSE(af.isPublished());

   const auto lent = *type.field("lent");
   EXPECT_EQ(lent.id(), 142);
   EXPECT_EQ(lent.shape(), Tesk::Shape::keyedValues);
   EXPECT_EQ(lent.typeName(), "bool");
   EXPECT_EQ(lent.keyTypeName(), "Corenet::Prefix");
   const auto shelf = *type.field("shelf");
   EXPECT_EQ(shelf.shape(), Tesk::Shape::keyedPointers);
   EXPECT_EQ(shelf.typeName(), "Sample::Shelf");
   EXPECT_EQ(shelf.keyTypeName(), "U32");
   EXPECT_EQ(shelf.keyAttribute(), "number");
   EXPECT_TRUE(shelf.parameters().empty());
   EXPECT_EQ(type.field("queue")->shape(), Tesk::Shape::queue);
   EXPECT_EQ(type.field("first")->shape(), Tesk::Shape::pointer);

   const auto sum = *type.field("sum");
   EXPECT_EQ(sum.shape(), Tesk::Shape::constOperation);
   EXPECT_THAT(names(sum.parameters()), ElementsAre("U32 a", "U32 b"));
   EXPECT_EQ(type.field("close")->shape(), Tesk::Shape::operation);
   EXPECT_EQ(type.field("close")->typeName(), "void");
   EXPECT_EQ(type.field("empty")->shape(), Tesk::Shape::constOperation);
   EXPECT_EQ(type.field("shelfHolding")->shape(), Tesk::Shape::keyedPointerOperation);
   EXPECT_THAT(names(type.field("readBy")->parameters()), ElementsAre("Sample::Reader reader", "Corenet::Prefix p"));
   EXPECT_FALSE(type.field("nothing"));
}

TEST_F(InspectTest, AFieldOfABaseIsTheDerivedClassesToo) {
   const auto branch = Corvid::ptrIsImpl<Sample::Annex>();
   EXPECT_EQ(Inspect::get(*branch, "distance").text, "7");
   EXPECT_EQ(Inspect::get(*branch, "af").text, "ipv4");
   EXPECT_EQ(Inspect::typeOf(*branch)->field("af")->owner().name(), "Sample::Library");
   EXPECT_EQ(Inspect::typeOf(*branch)->field("distance")->id(), 258);
   EXPECT_EQ(Inspect::typeOf(*branch)->field("roomsAndDoors")->id(), 259);
}

TEST_F(InspectTest, ACallersClassIsItsNearestDescribedBase) {
   struct Own : Library {
      using Library::Library;
   };
   EXPECT_EQ(Inspect::typeOf(*Corvid::ptrIsImpl<Own>())->name(), "Sample::Library");
   struct Bare : Corvid::Node {};
   const auto bare = Corvid::ptrIsImpl<Bare>();
   EXPECT_FALSE(Inspect::typeOf(*bare));
   EXPECT_EQ(refusal([&] { Inspect::get(*bare, "x"); }),
             "the object's class has no description, and so no field \"x\"");
}

TEST_F(InspectTest, ValuesAreText) {
   Inspect::set(*library, "rooms", "200");
   Inspect::set(*library, "balance", "-5");
   Inspect::set(*library, "name", "a \"name\"");
   Inspect::set(*library, "prefix", "10.0.0.0/8");
   Inspect::set(*library, "open", "false");
   EXPECT_EQ(Inspect::get(*library, "rooms").text, "200");
   EXPECT_EQ(Inspect::get(*library, "balance").text, "-5");
   EXPECT_EQ(Inspect::get(*library, "name").text, "a \"name\"");
   EXPECT_EQ(Inspect::get(*library, "prefix").text, "10.0.0.0/8");
   EXPECT_EQ(Inspect::get(*library, "open").text, "false");
   EXPECT_EQ(Inspect::get(*library, "af").text, "ipv4");
}

TEST_F(InspectTest, BadTextIsQuotedAndChangesNothing) {
   EXPECT_EQ(refusal([&] { Inspect::set(*library, "rooms", "256"); }), "not a value of type U8: \"256\"");
   EXPECT_EQ(refusal([&] { Inspect::set(*library, "rooms", ""); }), "not a value of type U8: \"\"");
   EXPECT_EQ(refusal([&] { Inspect::set(*library, "rooms", "1 "); }), "not a value of type U8: \"1 \"");
   EXPECT_EQ(refusal([&] { Inspect::set(*library, "doors", "-1"); }), "not a value of type U16: \"-1\"");
   EXPECT_EQ(refusal([&] { Inspect::set(*library, "open", "yes"); }), "not a value of type bool: \"yes\"");
   EXPECT_THAT(refusal([&] { Inspect::set(*library, "prefix", "10.0.0.1/8"); }), HasSubstr("10.0.0.1/8"));
   EXPECT_EQ(Inspect::get(*library, "rooms").text, "0");
   EXPECT_EQ(Inspect::get(*library, "prefix").text, "0.0.0.0/0");
}

TEST_F(InspectTest, ObjectsComeWithTheirTypesName) {
   EXPECT_EQ(Inspect::get(*library, "first").text, "null");
   EXPECT_EQ(Inspect::get(*library, "first").object, nullptr);
   const auto shelf = Sample::Shelf::ShelfIs(3);
   Inspect::set(*library, "first", shelf);
   EXPECT_EQ(shelf->uses(), 2U);
   {
      const auto value = Inspect::get(*library, "first");
      EXPECT_EQ(value.text, "Sample::Shelf");
      EXPECT_EQ(value.object, shelf);
      EXPECT_EQ(Inspect::get(*value.object, "number").text, "3");
   }
   Inspect::set(*library, "first", "null");
   EXPECT_EQ(shelf->uses(), 1U);
}

TEST_F(InspectTest, AnObjectOfAnotherClassIsRefused) {
   EXPECT_EQ(refusal([&] { Inspect::set(*library, "first", library); }),
             "the value is an object of class Sample::Shelf, not of Sample::Library");
   EXPECT_EQ(refusal([&] { Inspect::set(*library, "first", "3"); }),
             "the value is an object of class Sample::Shelf, and as text can only be null: \"3\"");
   EXPECT_EQ(refusal([&] { Inspect::set(*library, "rooms", library); }),
             "the value is a value of type U8, not an object");
   EXPECT_EQ(library->uses(), 1U);
}

TEST_F(InspectTest, KeyedMembers) {
   EXPECT_EQ(Inspect::get(*library, "lent", "10.0.0.0/8").text, "false");
   Inspect::set(*library, "lent", "10.0.0.0/8", "true");
   EXPECT_EQ(Inspect::get(*library, "lent", "10.0.0.0/8").text, "true");
   EXPECT_EQ(Inspect::del(*library, "lent", "10.0.0.0/8").text, "true");
   EXPECT_EQ(Inspect::del(*library, "lent", "10.0.0.0/8").text, "false");
   EXPECT_EQ(refusal([&] { Inspect::get(*library, "lent"); }),
             "Sample::Library::lent has members by key: tell which");
   EXPECT_EQ(refusal([&] { Inspect::get(*library, "af", "1"); }), "Sample::Library::af has no members by key");
   EXPECT_EQ(refusal([&] { Inspect::lookup(*library, "lent", "10.0.0.0/8"); }),
             "Sample::Library::lent can't be looked up");
   EXPECT_EQ(Inspect::lookup(*library, "nearest", "1").text, "null");
}

TEST_F(InspectTest, CollectionsAreCountedAndIterated) {
   for (const char* number : {"30", "10", "20"}) {
      Inspect::set(*library, "shelf", number, "null");
   }
   EXPECT_EQ(Inspect::count(*library, "shelf"), 3U);
   EXPECT_EQ(Inspect::number(*library, "shelf"), 3U);
   EXPECT_TRUE(Inspect::exists(*library, "shelf", "10"));
   EXPECT_FALSE(Inspect::exists(*library, "shelf", "11"));
   std::vector<std::string> seen;
   Inspect::iterate(*library, "shelf", [&](const Inspect::Value& key, const Inspect::Value& member) {
      seen.push_back(key.text + " " + member.text);
      return true;
   });
   EXPECT_THAT(seen, ElementsAre("10 Sample::Shelf", "20 Sample::Shelf", "30 Sample::Shelf"));
   seen.clear();
   Inspect::iterate(*library, "shelf", "15", [&](const Inspect::Value& key, const Inspect::Value&) {
      seen.push_back(key.text);
      return false;  // one is enough
   });
   EXPECT_THAT(seen, ElementsAre("20"));
   EXPECT_EQ(library->shelf(20)->uses(), 2U);
   EXPECT_EQ(refusal([&] { Inspect::iterate(*library, "lent", [](auto&, auto&) { return true; }); }),
             "Sample::Library::lent can't be iterated");
   EXPECT_EQ(refusal([&] { Inspect::count(*library, "lent"); }), "Sample::Library::lent can't be counted");
}

TEST_F(InspectTest, Queues) {
   Inspect::enqueue(*library, "queue", "first");
   Inspect::enqueue(*library, "queue", "second");
   EXPECT_EQ(Inspect::count(*library, "queue"), 2U);
   EXPECT_EQ(Inspect::front(*library, "queue").text, "first");
   EXPECT_EQ(Inspect::back(*library, "queue").text, "second");
   std::vector<std::string> seen;
   Inspect::iterate(*library, "queue", [&](const Inspect::Value& key, const Inspect::Value& member) {
      seen.push_back(key.text + " " + member.text);
      return true;
   });
   EXPECT_THAT(seen, ElementsAre("0 first", "1 second"));
   EXPECT_EQ(Inspect::dequeue(*library, "queue").text, "first");
   EXPECT_EQ(Inspect::count(*library, "queue"), 1U);
}

TEST_F(InspectTest, OperationsAreCalledWithText) {
   EXPECT_EQ(Inspect::call(*library, "sum", {"40", "2"}).text, "42");
   EXPECT_EQ(Inspect::call(*library, "close").text, "");
   EXPECT_FALSE(library->open());
   EXPECT_EQ(refusal([&] { Inspect::call(*library, "sum", {"40"}); }),
             "Sample::Library::sum takes 2 arguments (a, b), not 1");
   EXPECT_EQ(refusal([&] { Inspect::call(*library, "lookupShelf", {"1"}); }),
             "Sample::Library::lookupShelf can't be called");
   EXPECT_EQ(refusal([&] { Inspect::call(*library, "fail"); }), "the roof is down");
   EXPECT_EQ(refusal([&] { Inspect::call(*library, "nothing"); }), "Sample::Library has no field \"nothing\"");
}

TEST_F(InspectTest, InstantiatingAttributes) {
   EXPECT_EQ(Inspect::set(*library, "own").text, "Sample::Shelf");
   EXPECT_EQ(Inspect::get(*library, "own").text, "Sample::Shelf");
   EXPECT_EQ(Inspect::del(*library, "own").text, "Sample::Shelf");
   EXPECT_EQ(Inspect::get(*library, "own").text, "null");
}

TEST_F(InspectTest, ObjectsAreMadeByName) {
   const auto made = Inspect::make(type, {"ipv6", "false"});
   EXPECT_EQ(made->uses(), 1U);
   EXPECT_EQ(Inspect::get(*made, "af").text, "ipv6");
   EXPECT_EQ(refusal([&] { Inspect::make(type); }), "Sample::Library takes 2 arguments (af, open), not 0");
   EXPECT_EQ(refusal([&] { Inspect::make(*Inspect::findType("Reader")); }), "Sample::Reader can't be made by name");
}

TEST(ValueText, ADescribedValueIsWrittenByItsFieldsAndReadBack) {
   const auto& functions = *Corvid::PlaceOf<Sample::Point>::module->functions[5].value;
   const Sample::Point point(3, 4);
   Corvid::String text;
   functions.encodeToString(&point, text);
   EXPECT_EQ(text, "Sample::Point(x=3,y=4)");
   Sample::Point read;
   functions.decodeFromString(&read, text);
   EXPECT_EQ(read, point);
   EXPECT_THROW(functions.decodeFromString(&read, "Sample::Point(x=3,y=4)x"), Corvid::RangeException);
   EXPECT_THROW(functions.decodeFromString(&read, "Sample::Point(x=3)"), Corvid::RangeException);
   EXPECT_EQ(refusal([&] { functions.getHash(&point, 0); }), "Sample::Point can't be hashed");
}

TEST(ValueText, AValueIsCopiedOrZeroAndDestroyed) {
   const auto& functions = *Corvid::PlaceOf<Sample::Point>::module->functions[5].value;
   Sample::Point place(9, 9);
   const Sample::Point source(1, 2);
   functions.construct(&place, &source);
   EXPECT_EQ(place, source);
   functions.construct(&place, nullptr);
   EXPECT_EQ(place, Sample::Point());
   functions.destroy(&place);
   EXPECT_EQ(functions.size, sizeof(Sample::Point));
   const auto& prefix =
      *Corvid::PlaceOf<Corenet::IpGenPrefix>::module->functions[Corvid::PlaceOf<Corenet::IpGenPrefix>::index].value;
   const auto ten = Corenet::IpGenPrefix::fromString("10.0.0.0/8");
   EXPECT_EQ(prefix.getHash(&ten, 7), ten.hash(7));
}

}  // namespace InspectTest
