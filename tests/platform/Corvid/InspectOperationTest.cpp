// Every access kind on a field that has it, through the one entry point and with nothing known of it but how values travel.
#include <gtest/gtest.h>

#include <new>
#include <set>

#include "routetrie/platform/Corvid/FieldDescriptor.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "tests/platform/Corvid/Sample.h"

namespace InspectOperationTest {

using Corvid::AccessKind;
using Corvid::FieldDescriptor;
using Corvid::Node;
using Corvid::Ptr;
using Sample::Library;
using Sample::Shelf;

constexpr U8 done = 0;
constexpr U8 badKind = 1;
constexpr U8 noField = 2;

const Tesk::TypeFunctions& functionsOf(const Corvid::TypeData& type) { return type.module->functions[type.index]; }

U8 inspect(Corvid::TypeData type, void* result, void* object, U16 id, int kind, const void* key = nullptr,
           const void* const* arguments = nullptr) {
   const FieldDescriptor field{id};
   return functionsOf(type).inspect(result, object, &field, 0, static_cast<U8>(kind), key, arguments);
}

class InspectOperation : public testing::Test {
  protected:
   Ptr<Library> library = Library::LibraryIs(Corenet::ipv6, true);

   U8 on(U16 id, int kind, void* result = nullptr, const void* key = nullptr,
         const void* const* arguments = nullptr) {
      return inspect(library->typeData(), result, static_cast<Node*>(library.get()), id, kind, key, arguments);
   }
   template <class T>
   T get(U16 id, int kind = 0, const void* key = nullptr, const void* const* arguments = nullptr) {
      T value{};
      EXPECT_EQ(on(id, kind, &value, key, arguments), done) << id << " kind " << kind;
      return value;
   }
   Ptr<const Node> getObject(U16 id, int kind = 0, const void* key = nullptr,
                             const void* const* arguments = nullptr) {
      return Ptr<const Node>::adopt(get<const Node*>(id, kind, key, arguments));
   }
};

TEST_F(InspectOperation, GetsAndSetsEachBuiltInType) {
   const bool closed = false;
   EXPECT_TRUE(get<bool>(131));
   EXPECT_EQ(on(131, 1, nullptr, &closed), done);
   EXPECT_FALSE(get<bool>(131));
   const U8 rooms = 200;
   EXPECT_EQ(on(132, 1, nullptr, &rooms), done);
   EXPECT_EQ(get<U8>(132), 200);
   const U16 doors = 60000;
   EXPECT_EQ(on(133, 1, nullptr, &doors), done);
   EXPECT_EQ(get<U16>(133), 60000);
   const U32 books = 4000000000;
   EXPECT_EQ(on(134, 1, nullptr, &books), done);
   EXPECT_EQ(get<U32>(134), 4000000000);
   const int balance = -5;
   EXPECT_EQ(on(135, 1, nullptr, &balance), done);
   EXPECT_EQ(get<int>(135), -5);
   const Corvid::String name = "a name that is too long to be kept inside of the string object itself";
   EXPECT_EQ(on(136, 1, nullptr, &name), done);
   EXPECT_EQ(get<Corvid::String>(136), name);
   const auto prefix = Corenet::Prefix::fromString("10.0.0.0/8");
   EXPECT_EQ(on(137, 1, nullptr, &prefix), done);
   EXPECT_EQ(get<Corenet::Prefix>(137), prefix);
   EXPECT_EQ(get<Corenet::AddressFamily>(130), Corenet::AddressFamily::ipv6);
}

TEST_F(InspectOperation, DataMembersAreReadAndWrittenInPlace) {
   const U32 value = 17;
   EXPECT_EQ(on(155, 1, nullptr, &value), done);
   EXPECT_EQ(library->changes_, 17U);
   EXPECT_EQ(get<U32>(155), 17U);
}

TEST_F(InspectOperation, AReadOnlyAttributeRefusesTheSet) {
   const auto family = Corenet::AddressFamily::ipv4;
   EXPECT_EQ(on(130, 1, nullptr, &family), badKind);
   EXPECT_EQ(library->af(), Corenet::AddressFamily::ipv6);
}

TEST_F(InspectOperation, AnObjectThatComesBackBringsAReference) {
   const auto shelf = Shelf::ShelfIs(1);
   EXPECT_EQ(on(138, 1, nullptr, static_cast<const Node*>(shelf.get())), done);
   EXPECT_EQ(shelf->uses(), 2U);  // ours and the library's
   {
      const auto got = getObject(138);
      EXPECT_EQ(got.get(), shelf.get());
      EXPECT_EQ(shelf->uses(), 3U);
      const auto plain = getObject(139);  // by a getter that returns a plain pointer
      EXPECT_EQ(plain.get(), shelf.get());
      EXPECT_EQ(shelf->uses(), 4U);
   }
   EXPECT_EQ(shelf->uses(), 2U);
   EXPECT_EQ(on(138, 1, nullptr, nullptr), done);
   EXPECT_EQ(shelf->uses(), 1U);
   EXPECT_EQ(getObject(138), nullptr);
}

TEST_F(InspectOperation, AResultThatNobodyWantsIsDropped) {
   const auto shelf = Shelf::ShelfIs(1);
   library->firstIs(shelf);
   EXPECT_EQ(on(138, 0), done);
   EXPECT_EQ(on(136, 0), done);
   EXPECT_EQ(shelf->uses(), 2U);
}

TEST_F(InspectOperation, AnInstantiatingAttributeIsMadeAndTakenAway) {
   EXPECT_EQ(getObject(141), nullptr);
   const auto made = getObject(141, 1);
   ASSERT_NE(made, nullptr);
   EXPECT_EQ(made->uses(), 2U);
   EXPECT_EQ(getObject(141, 1), made);  // it is there already
   const auto taken = getObject(141, 2);
   EXPECT_EQ(taken, made);
   EXPECT_EQ(library->own(), nullptr);
   EXPECT_EQ(made->uses(), 2U);
}

TEST_F(InspectOperation, KeyedValues) {
   const auto key = Corenet::Prefix::fromString("10.0.0.0/8");
   const bool yes = true;
   const void* const arguments[] = {&yes};
   EXPECT_FALSE(get<bool>(142, 0, &key));
   EXPECT_EQ(on(142, 1, nullptr, &key, arguments), done);
   EXPECT_TRUE(get<bool>(142, 0, &key));
   EXPECT_TRUE(get<bool>(142, 2, &key));   // it was there
   EXPECT_FALSE(get<bool>(142, 2, &key));  // it was not
   EXPECT_EQ(on(142, 28, nullptr, &key), badKind);
}

TEST_F(InspectOperation, LookupWhereItIsTold) {
   const auto shelf = library->shelfIs(5);
   const U32 key = 3;
   EXPECT_EQ(getObject(143, 0, &key), shelf);
   EXPECT_EQ(getObject(143, 28, &key), shelf);
   EXPECT_EQ(on(143, 1, nullptr, &key), badKind);
   EXPECT_EQ(on(143, 2, nullptr, &key), badKind);
}

TEST_F(InspectOperation, ACollectionMakesItsMembersCountsThemAndAnswersForKeys) {
   const U32 one = 1;
   const U32 two = 2;
   EXPECT_EQ(getObject(144, 0, &one), nullptr);
   EXPECT_EQ(get<U32>(144, 3), 0U);  // a get makes nothing
   const auto made = getObject(144, 1, &one);
   ASSERT_NE(made, nullptr);
   EXPECT_EQ(made->uses(), 2U);
   EXPECT_EQ(getObject(144, 28, &one), made);
   EXPECT_EQ(get<U32>(144, 3), 1U);
   EXPECT_EQ(get<U32>(144, 4), 1U);
   EXPECT_TRUE(get<bool>(144, 5, &one));
   EXPECT_FALSE(get<bool>(144, 5, &two));
   EXPECT_EQ(getObject(144, 2, &one), made);
   EXPECT_EQ(getObject(144, 2, &one), nullptr);
   EXPECT_EQ(get<U32>(144, 3), 0U);
}

TEST_F(InspectOperation, ACollectionWhoseMembersHoldTheirKeyIsSetByTheMemberAlone) {
   const auto shelf = Shelf::ShelfIs(8);
   const U32 key = 8;
   const void* const arguments[] = {static_cast<const Node*>(shelf.get())};
   EXPECT_EQ(on(145, 1, nullptr, &key, arguments), done);
   EXPECT_EQ(library->shelf(8), shelf);
}

TEST_F(InspectOperation, Queue) {
   const Corvid::String first = "first";
   const Corvid::String second = "second";
   EXPECT_EQ(on(146, 8, nullptr, &first), done);
   EXPECT_EQ(on(146, 8, nullptr, &second), done);
   EXPECT_EQ(get<U32>(146, 3), 2U);
   EXPECT_EQ(get<Corvid::String>(146, 6), first);
   EXPECT_EQ(get<Corvid::String>(146, 7), second);
   EXPECT_EQ(on(146, 9, nullptr, &first), badKind);  // the front is taken without being told which
   EXPECT_EQ(get<Corvid::String>(146, 9), first);
   EXPECT_EQ(get<U32>(146, 3), 1U);
   EXPECT_EQ(on(146, 0), badKind);
}

TEST_F(InspectOperation, Operations) {
   const U32 a = 40;
   const U32 b = 2;
   const void* const numbers[] = {&a, &b};
   EXPECT_EQ(get<U32>(147, 10, nullptr, numbers), 42U);
   EXPECT_EQ(on(148, 10), done);
   EXPECT_FALSE(library->open());
   EXPECT_TRUE(get<bool>(152, 10));  // a lambda
   EXPECT_EQ(on(147, 0), badKind);
   EXPECT_EQ(on(148, 1), badKind);
}

TEST_F(InspectOperation, OperationsTakeAndGiveObjects) {
   struct Counting : Sample::Reader {
      int read(const Corenet::Prefix& p, const Shelf* shelf) override {
         return p.len() + (shelf != nullptr ? 100 : 0);
      }
   };
   const auto reader = Corvid::ptrIsImpl<Counting>();
   const auto prefix = Corenet::Prefix::fromString("10.0.0.0/8");
   const void* arguments[] = {static_cast<const Node*>(reader.get()), &prefix};
   EXPECT_EQ(get<int>(149, 10, nullptr, arguments), 8);
   library->firstIs(Shelf::ShelfIs(1));
   EXPECT_EQ(get<int>(149, 10, nullptr, arguments), 108);
   EXPECT_EQ(reader->uses(), 1U);

   const void* const onReader[] = {&prefix, nullptr};
   int result = 0;
   EXPECT_EQ(inspect(reader->typeData(), &result, static_cast<Node*>(reader.get()), 130, 10, nullptr, onReader),
             done);
   EXPECT_EQ(result, 8);

   const auto shelf = library->shelfIs(4);
   const U32 number = 4;
   const void* const wanted[] = {&number};
   EXPECT_EQ(getObject(150, 10, nullptr, wanted), shelf);
}

TEST_F(InspectOperation, WhatAnOperationRaisesPassesThrough) { EXPECT_THROW(on(151, 10), Corvid::RangeException); }

TEST_F(InspectOperation, WhatIsOnlyDeclaredRefusesEveryKind) {
   for (int kind = 0; kind < 256; ++kind) {
      EXPECT_EQ(on(153, kind), badKind) << kind;
      EXPECT_EQ(on(154, kind), badKind) << kind;
   }
}

TEST_F(InspectOperation, AnUnknownFieldIsNoField) {
   for (const U16 id : {U16{0}, U16{2}, U16{129}, U16{140}, U16{156}, U16{258}, U16{65535}}) {
      EXPECT_EQ(on(id, 0), noField) << id;
      EXPECT_EQ(on(id, 10), noField) << id;
   }
}

TEST_F(InspectOperation, ADerivedClassAnswersForItsOwnFieldsAlone) {
   const auto branch = Corvid::ptrIsImpl<Sample::Branch>();
   auto* const object = static_cast<Node*>(branch.get());
   U32 distance = 0;
   EXPECT_EQ(inspect(branch->typeData(), &distance, object, 258, 0), done);
   EXPECT_EQ(distance, 7U);
   EXPECT_EQ(inspect(branch->typeData(), nullptr, object, 131, 0), noField);
   EXPECT_EQ(inspect(branch->typeData(), nullptr, object, 260, 0), noField);
   // By its base's type the same object answers for those.
   EXPECT_EQ(inspect(library->typeData(), nullptr, object, 131, 0), done);
   EXPECT_EQ(inspect(library->typeData(), nullptr, object, 258, 0), noField);

   const auto annex = Corvid::ptrIsImpl<Sample::Annex>();
   EXPECT_EQ(inspect(annex->typeData(), nullptr, static_cast<Node*>(annex.get()), 258, 0), noField);
   EXPECT_EQ(inspect(annex->typeData(), nullptr, static_cast<Node*>(annex.get()), 386, 0), noField);
}

TEST_F(InspectOperation, AFieldIsRefusedInTheKindsThatItsRowDoesNotTell) {
   const Tesk::TypeRow& row = library->typeData().module->types[library->typeData().index];
   const auto key = Corenet::Prefix::fromString("10.0.0.0/8");
   for (U16 i = 0; i < row.fields; ++i) {
      const Tesk::FieldRow& field = library->typeData().module->fields[row.firstField + i];
      for (int kind = 0; kind < 256; ++kind) {
         if (kind > 28 || ((field.flags() & Tesk::fieldAccessMask) >> kind & 1) == 0) {
            EXPECT_EQ(on(field.id, kind, nullptr, &key), badKind) << field.id << " kind " << kind;
         }
      }
   }
}

TEST_F(InspectOperation, AClassHasNoWholeValue) {
   EXPECT_EQ(functionsOf(library->typeData()).inspect(nullptr, library.get(), nullptr, 0, 11, nullptr, nullptr),
             badKind);
   EXPECT_EQ(functionsOf(library->typeData()).inspect(nullptr, library.get(), nullptr, 0, 0, nullptr, nullptr),
             badKind);
}

TEST(InspectOperationOnValues, FieldsAndWholeValues) {
   const auto& functions = functionsOf(Corvid::typeDataOf<Sample::Point>());
   Sample::Point point;
   bool answer = true;
   EXPECT_EQ(functions.inspect(&answer, &point, nullptr, 0, 11, nullptr, nullptr), done);
   EXPECT_FALSE(answer);
   const U32 y = 1;
   const FieldDescriptor fieldY{3};
   EXPECT_EQ(functions.inspect(nullptr, &point, &fieldY, 1, 1, &y, nullptr), done);
   EXPECT_EQ(point, Sample::Point(0, 1));
   EXPECT_EQ(functions.inspect(&answer, &point, nullptr, 0, 11, nullptr, nullptr), done);
   EXPECT_TRUE(answer);

   const Sample::Point same(0, 1);
   const Sample::Point other(1, 1);
   EXPECT_EQ(functions.inspect(&answer, &point, nullptr, 0, 12, &same, nullptr), done);
   EXPECT_TRUE(answer);
   EXPECT_EQ(functions.inspect(&answer, &point, nullptr, 0, 12, &other, nullptr), done);
   EXPECT_FALSE(answer);
   EXPECT_EQ(functions.inspect(&answer, &point, nullptr, 0, 0, nullptr, nullptr), badKind);
   EXPECT_EQ(functions.inspect(&answer, &point, &fieldY, 1, 11, nullptr, nullptr), badKind);
   const FieldDescriptor unknown{4};
   EXPECT_EQ(functions.inspect(&answer, &point, &unknown, 2, 0, nullptr, nullptr), noField);
}

TEST(InspectOperationOnValues, AValueWithoutDefaultComparesFieldByField) {
   const auto& functions = functionsOf(Corvid::typeDataOf<Sample::Span>());
   bool answer = true;
   Sample::Span span{Corenet::Prefix()};
   EXPECT_EQ(functions.inspect(&answer, &span, nullptr, 0, 11, nullptr, nullptr), done);
   EXPECT_FALSE(answer);
   span.position = 1;
   EXPECT_EQ(functions.inspect(&answer, &span, nullptr, 0, 11, nullptr, nullptr), done);
   EXPECT_TRUE(answer);
}

TEST(InspectOperationOnValues, AValueIsConstructedByItsArguments) {
   const auto& functions = functionsOf(Corvid::typeDataOf<Sample::Span>());
   const auto prefix = Corenet::Prefix::fromString("10.0.0.0/8");
   const void* const arguments[] = {&prefix};
   alignas(Sample::Span) unsigned char place[sizeof(Sample::Span)];
   functions.constructFromCtorArgs(place, arguments);
   EXPECT_EQ(std::launder(reinterpret_cast<Sample::Span*>(place))->prefix, prefix);
}

TEST(Construct, AnObjectComesWithItsOneReference) {
   const auto& functions = functionsOf(Corvid::typeDataOf<Library>());
   const auto family = Corenet::AddressFamily::ipv6;
   const bool open = false;
   const void* const arguments[] = {&family, &open};
   const Node* made = nullptr;
   functions.constructFromCtorArgs(&made, arguments);
   const auto library = Ptr<const Library>::adopt(static_cast<const Library*>(made));
   EXPECT_EQ(library->uses(), 1U);
   EXPECT_EQ(library->af(), Corenet::AddressFamily::ipv6);
   EXPECT_FALSE(library->open());
}

TEST(Construct, ATypeThatCantBeMadeHasNoFunctionForIt) {
   EXPECT_EQ(functionsOf(Corvid::typeDataOf<Sample::Reader>()).constructFromCtorArgs, nullptr);
}

TEST(GenericIterator, FromTheStartFromAKeyAndNotForOtherFields) {
   const auto library = Corvid::ptrIsImpl<Library>();
   for (const U32 number : {30U, 10U, 20U}) {
      library->shelfIs(number);
   }
   const auto iterator = functionsOf(library->typeData()).iterator;
   const FieldDescriptor shelves{144};
   const FieldDescriptor books{134};
   const FieldDescriptor unknown{140};
   const auto* const object = static_cast<const Node*>(library.get());
   EXPECT_EQ(iterator(object, &books, nullptr), nullptr);
   EXPECT_EQ(iterator(object, &unknown, nullptr), nullptr);

   const auto keysFrom = [&](const U32* start) {
      std::vector<U32> keys;
      Tesk::GenericIterator* at = iterator(object, &shelves, start);
      for (; at->functions->iterNonnull(*at); at->functions->iterInc(*at)) {
         U32 key = 0;
         at->functions->iterKey(*at, &key);
         keys.push_back(key);
         const Node* member = nullptr;
         at->functions->iterObj(*at, &member);
         EXPECT_EQ(member->uses(), 2U);
         EXPECT_EQ(Ptr<const Node>::adopt(member), library->shelf(key));
      }
      at->functions->iterDel(at);
      return keys;
   };
   EXPECT_EQ(keysFrom(nullptr), (std::vector<U32>{10, 20, 30}));
   const U32 start = 15;
   EXPECT_EQ(keysFrom(&start), (std::vector<U32>{20, 30}));
}

TEST(PointerInterface, TakesAndDropsReferences) {
   const auto& functions = functionsOf(Corvid::typeDataOf<Shelf>());
   const auto* methods = static_cast<const Tesk::GenericIfImpl::PtrInterfaceMethods*>(functions.pointerInterface);
   const auto shelf = Shelf::ShelfIs(1);
   const auto* const object = static_cast<const Node*>(shelf.get());
   methods->incUse(object);
   EXPECT_EQ(shelf->uses(), 2U);
   methods->decUse(object);
   EXPECT_EQ(shelf->uses(), 1U);
}

}  // namespace InspectOperationTest
