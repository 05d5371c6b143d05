// Inspect: every described class by name, for tools that know none of them: what types there are, what fields they have,
// and each field read, set, deleted, called, counted and iterated with its values as text.
//
//    const auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
//    Inspect::call(*trie, "updateRoute", {"10.0.0.0/8", "null"});
//    Inspect::get(*trie, "routes").text;                                          // "1"
//    Inspect::call(*trie, "longestMatchCommon", {"10.1.2.3/32", "null", "null"}).text;  // "10.0.0.0/8"
//
// It knows nothing but the module records that are loaded and the inspectOperation of each type. Text is what the type's
// own fromString and stringValue speak. Objects are passed as pointers, or as the text "null"; the text of an object that
// comes back is its type's name. What can't be done raises Corvid::RangeException, whose text says what was asked for and
// what there is: an unknown field, an access that the field does not take, a wrong number of arguments, bad text, an object
// of another class.
// Tested by tests/platform/Corvid/InspectTest.cpp.
#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corvid/FieldDescriptor.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/Module.h"

namespace Corvid::Inspect {

class Field;

// The name and the type's name of a parameter.
struct Parameter {
   std::string_view name;
   std::string_view typeName;
};

// A type that has a row in a module record.
class ROUTETRIE_EXPORT Type {
  public:
   Type(const Tesk::ModuleInspectData& module, U16 index) noexcept : module_(&module), index_(index) {}

   std::string_view name() const noexcept;
   std::string_view moduleName() const noexcept { return module_->typeNames; }
   bool isClass() const noexcept { return row().kind != Tesk::kindValue; }
   bool isAbstract() const noexcept { return row().kind == Tesk::kindAbstractClass; }
   bool isConstructible() const noexcept { return (row().flags & Tesk::typeConstructible) != 0; }
   // None for a class right under Corvid::Node, and for a value type.
   std::optional<Type> base() const;
   std::vector<Parameter> constructorParameters() const;
   // The type's own fields, in the order of their ids.
   std::vector<Field> fields() const;
   // The field of that name, the type's own or the nearest base's.
   std::optional<Field> field(std::string_view wanted) const;
   // Whether an object of this class is one of `other`.
   bool isA(const Type& other) const;

   const Tesk::ModuleInspectData& module() const noexcept { return *module_; }
   U16 index() const noexcept { return index_; }
   const Tesk::TypeRow& row() const noexcept { return module_->types[index_]; }
   const Tesk::TypeFunctions& functions() const noexcept { return module_->functions[index_]; }

   friend bool operator==(const Type& a, const Type& b) noexcept = default;

  private:
   const Tesk::ModuleInspectData* module_;
   U16 index_;
};

class ROUTETRIE_EXPORT Field {
  public:
   Field(const Type& type, U16 fieldIndex) noexcept : type_(type), index_(fieldIndex) {}

   // The type whose field it is.
   const Type& owner() const noexcept { return type_; }
   std::string_view name() const noexcept;
   FieldId id() const noexcept { return row().id; }
   Tesk::Shape shape() const noexcept { return row().shape; }
   bool takes(AccessKind kind) const noexcept { return ((row().flags() >> static_cast<U8>(kind)) & 1) != 0; }
   bool isPublished() const noexcept { return (row().flags() & Tesk::fieldPublished) != 0; }
   // What a get or a call gives; "void" for an operation without result.
   std::string_view typeName() const noexcept;
   // Of keyed members and queues; empty for any other field.
   std::string_view keyTypeName() const noexcept;
   // Of objects that hold their own key, the name of the attribute; empty for any other field.
   std::string_view keyAttribute() const noexcept;
   // Of an operation, and of an attribute that is made with arguments.
   std::vector<Parameter> parameters() const;
   // Its place among the type's own fields.
   U16 index() const noexcept { return index_; }
   const Tesk::FieldRow& row() const noexcept { return type_.module().fields[type_.row().firstField + index_]; }

  private:
   Type type_;
   U16 index_;
};

// A module and its types.
class ROUTETRIE_EXPORT Module {
  public:
   explicit Module(const Tesk::ModuleInspectData& record) noexcept : record_(&record) {}
   std::string_view name() const noexcept { return record_->typeNames; }
   std::vector<Type> types() const;
   const Tesk::ModuleInspectData& record() const noexcept { return *record_; }

  private:
   const Tesk::ModuleInspectData* record_;
};

// The modules that are loaded, by name.
ROUTETRIE_EXPORT std::vector<Module> modules();
// The type of that full name, such as "Routing::PatriciaTrie"; or of a name without its namespaces if only one type has it.
ROUTETRIE_EXPORT std::optional<Type> findType(std::string_view name);
// The described type of an object, which for a class without a description is its nearest described base; none if there
// is none.
ROUTETRIE_EXPORT std::optional<Type> typeOf(const Node& node);

// What comes back: a value as text, or an object, which may be null, with its type's name or "null" as text.
struct Value {
   std::string text;
   Ptr<const Node> object;
};

// What is given: text, or an object.
class Given {
  public:
   Given(const char* text) : text_(text) {}
   Given(std::string_view text) : text_(text) {}
   Given(const std::string& text) : text_(text) {}
   // Borrowed until the call that it is given to returns; null is a null object.
   Given(const Node* object) : object_(object), isObject_(true) {}
   template <class T>
   Given(const Ptr<T>& object) : Given(object.get()) {}

   bool isObject() const noexcept { return isObject_; }
   std::string_view text() const noexcept { return text_; }
   const Node* object() const noexcept { return object_; }

  private:
   std::string text_;
   const Node* object_ = nullptr;
   bool isObject_ = false;
};

// An attribute; with `key`, a member of a keyed field.
ROUTETRIE_EXPORT Value get(const Node& node, std::string_view field);
ROUTETRIE_EXPORT Value get(const Node& node, std::string_view field, const Given& key);
// The member without side effect.
ROUTETRIE_EXPORT Value lookup(const Node& node, std::string_view field, const Given& key);

// Sets an attribute; the second form makes the object of an instantiating one, and the third sets a keyed member. The
// value of a collection that makes its members is not looked at.
ROUTETRIE_EXPORT void set(Node& node, std::string_view field, const Given& value);
ROUTETRIE_EXPORT Value set(Node& node, std::string_view field);
ROUTETRIE_EXPORT Value set(Node& node, std::string_view field, const Given& key, const Given& value);

// Deletes a keyed member or, without key, the object of an instantiating attribute. The result is what the class's own
// ...Del gives, and false or null if that is nothing.
ROUTETRIE_EXPORT Value del(Node& node, std::string_view field);
ROUTETRIE_EXPORT Value del(Node& node, std::string_view field, const Given& key);

// Calls an operation; empty text if it has no result.
ROUTETRIE_EXPORT Value call(Node& node, std::string_view field, const std::vector<Given>& arguments = {});

// Of a collection or queue.
ROUTETRIE_EXPORT U32 count(const Node& node, std::string_view field);
ROUTETRIE_EXPORT U32 number(const Node& node, std::string_view field);
ROUTETRIE_EXPORT bool exists(const Node& node, std::string_view field, const Given& key);

// Of a queue; dequeue takes the front away.
ROUTETRIE_EXPORT Value front(const Node& node, std::string_view field);
ROUTETRIE_EXPORT Value back(const Node& node, std::string_view field);
ROUTETRIE_EXPORT void enqueue(Node& node, std::string_view field, const Given& value);
ROUTETRIE_EXPORT Value dequeue(Node& node, std::string_view field);

// Calls `each` with the key and the member of all, from the start or from `start`, until it returns false. `each` may
// delete the member that it is called with.
ROUTETRIE_EXPORT void iterate(const Node& node, std::string_view field,
                              const std::function<bool(const Value& key, const Value& member)>& each);
ROUTETRIE_EXPORT void iterate(const Node& node, std::string_view field, const Given& start,
                              const std::function<bool(const Value& key, const Value& member)>& each);

// A new object of a class, by its constructor's arguments.
ROUTETRIE_EXPORT Ptr<Node> make(const Type& type, const std::vector<Given>& arguments = {});

}  // namespace Corvid::Inspect
