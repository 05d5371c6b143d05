#include "routetrie/platform/Corvid/Inspect.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/platform/Corvid/ValueFunctions.h"

namespace Corvid::Inspect {

namespace {

template <class... Parts>
[[noreturn]] void refuse(fmt::format_string<Parts...> text, Parts&&... parts) {
   RangeException::throwException(fmt::format(text, std::forward<Parts>(parts)...).c_str());
}

// A type that a field, a key or a parameter can have.
struct AnyType {
   std::string_view name;
   const Tesk::ValueFunctions* value = nullptr;  // null for a class and for none
   std::optional<Type> described;                // none for a built-in type

   bool isObject() const { return described && described->isClass(); }
   bool isNothing() const { return value == nullptr && !isObject(); }
};

AnyType builtIn(Tesk::TypeCode code) { return {builtInName(code), builtInFunctions(code), {}}; }

AnyType asAny(const Type& type) { return {type.name(), type.functions().value, type}; }

AnyType typeAt(const Tesk::ModuleInspectData& module, Tesk::S16 reference) {
   if (reference < 0) {
      return builtIn(static_cast<Tesk::TypeCode>(reference));
   }
   const Tesk::ReferencedType& referenced = module.referenced[reference];
   return asAny(Type(*referenced.module, static_cast<U16>(referenced.index)));
}

// A parameter's row tells its type by name alone.
AnyType typeNamed(std::string_view name) {
   for (const auto code : {Tesk::TypeCode::u8, Tesk::TypeCode::u16, Tesk::TypeCode::u32, Tesk::TypeCode::s32,
                           Tesk::TypeCode::boolean, Tesk::TypeCode::string}) {
      if (builtInName(code) == name) {
         return builtIn(code);
      }
   }
   if (const auto type = findType(name)) {
      return asAny(*type);
   }
   refuse("no module that is loaded has the type {}", name);
}

std::vector<Parameter> parameterList(const Tesk::ModuleInspectData& module, std::size_t first) {
   std::vector<Parameter> parameters;
   for (const Tesk::ArgumentRow* row = module.arguments + first; !row->endsList(); ++row) {
      parameters.push_back({module.fieldNames + row->nameOffset(), module.typeNames + row->typeName});
   }
   return parameters;
}

Value objectValue(Ptr<const Node> object) {
   if (!object) {
      return {"null", nullptr};
   }
   const auto type = typeOf(*object);
   return {type ? std::string(type->name()) : "Corvid::Node", std::move(object)};
}

// A place for one value or object pointer, which ends what was put there.
class Place {
  public:
   explicit Place(const AnyType& type) : type_(type) {
      const std::size_t size = type.value != nullptr ? type.value->size : sizeof(const Node*);
      memory_ = std::make_unique<std::max_align_t[]>(size / sizeof(std::max_align_t) + 1);
   }
   Place(const Place&) = delete;
   Place& operator=(const Place&) = delete;
   ~Place() {
      if (filled_ && type_.value != nullptr) {
         type_.value->destroy(memory_.get());
      }
   }

   void* get() { return type_.isNothing() ? nullptr : memory_.get(); }
   // Something was put there.
   void fill() { filled_ = true; }

   Value take() {
      if (type_.isNothing()) {
         return {};
      }
      if (type_.isObject()) {
         return objectValue(Ptr<const Node>::adopt(*static_cast<const Node**>(get())));
      }
      String text;
      type_.value->encodeToString(get(), text);
      return {std::string(text.view()), nullptr};
   }

  private:
   AnyType type_;
   std::unique_ptr<std::max_align_t[]> memory_;
   bool filled_ = false;
};

// Something given, as the type that is wanted.
class Passed {
  public:
   Passed(const AnyType& wanted, const Given& given, std::string_view what) : place_(wanted) {
      if (wanted.isObject()) {
         pointer_ = objectOf(*wanted.described, given, what);
      } else if (given.isObject()) {
         refuse("{} is a value of type {}, not an object", what, wanted.name);
      } else {
         wanted.value->decodeFromString(place_.get(), given.text());
         place_.fill();
         pointer_ = place_.get();
      }
   }

   const void* pointer() const { return pointer_; }

  private:
   static const Node* objectOf(const Type& wanted, const Given& given, std::string_view what) {
      if (!given.isObject()) {
         if (given.text() != "null") {
            throwBadText(
               fmt::format("{} is an object of class {}, and as text can only be null", what, wanted.name()),
               given.text());
         }
         return nullptr;
      }
      if (given.object() != nullptr) {
         const auto type = typeOf(*given.object());
         if (!type || !type->isA(wanted)) {
            refuse("{} is an object of class {}, not of {}", what, wanted.name(),
                   type ? type->name() : std::string_view("a class without description"));
         }
      }
      return given.object();
   }

   Place place_;
   const void* pointer_ = nullptr;
};

Field fieldOf(const Node& node, std::string_view name) {
   const auto type = typeOf(node);
   if (!type) {
      refuse("the object's class has no description, and so no field \"{}\"", name);
   }
   const auto field = type->field(name);
   if (!field) {
      refuse("{} has no field \"{}\"", type->name(), name);
   }
   return *field;
}

std::string_view kindName(AccessKind kind) {
   switch (kind) {
      case AccessKind::get: return "read";
      case AccessKind::set: return "set";
      case AccessKind::del: return "deleted";
      case AccessKind::count:
      case AccessKind::number: return "counted";
      case AccessKind::exists: return "asked for a key";
      case AccessKind::front:
      case AccessKind::back: return "read as a queue";
      case AccessKind::enqueue:
      case AccessKind::dequeue: return "changed as a queue";
      case AccessKind::call: return "called";
      case AccessKind::differsFromDefault:
      case AccessKind::equals: return "compared";
      case AccessKind::lookup: return "looked up";
   }
   return "reached";
}

std::string label(const Field& field) { return fmt::format("{}::{}", field.owner().name(), field.name()); }

[[noreturn]] void refuseKind(const Field& field, AccessKind kind) {
   refuse("{} can't be {}", label(field), kindName(kind));
}

AnyType typeOfField(const Field& field) { return typeAt(field.owner().module(), field.row().type); }
AnyType keyTypeOf(const Field& field) { return typeAt(field.owner().module(), field.row().keyType); }

// One access; `result` may be null where none is wanted.
void access(const Node& node, const Field& field, AccessKind kind, Place* result, const void* keyOrValue,
            const void* const* arguments) {
   const FieldDescriptor descriptor{field.id()};
   const U8 status =
      field.owner().functions().inspect(result != nullptr ? result->get() : nullptr, const_cast<Node*>(&node),
                                        &descriptor, field.index(), static_cast<U8>(kind), keyOrValue, arguments);
   if (status != static_cast<U8>(InspectStatus::done)) {
      refuseKind(field, kind);
   }
   if (result != nullptr) {
      result->fill();
   }
}

void require(const Field& field, AccessKind kind) {
   if (!field.takes(kind)) {
      refuseKind(field, kind);
   }
}

bool isKeyed(const Field& field) {
   return field.row().keyType != Tesk::noType && field.shape() != Tesk::Shape::queue;
}

// Whether a key goes with an access to the field as one was given.
void requireKey(const Field& field, bool given) {
   if (isKeyed(field) != given) {
      refuse("{} has {}", label(field), given ? "no members by key" : "members by key: tell which");
   }
}

Value accessPlain(const Node& node, std::string_view name, AccessKind kind) {
   const Field field = fieldOf(node, name);
   require(field, kind);
   requireKey(field, false);
   Place result(typeOfField(field));
   access(node, field, kind, &result, nullptr, nullptr);
   return result.take();
}

Value accessMember(const Node& node, std::string_view name, AccessKind kind, const Given& key) {
   const Field field = fieldOf(node, name);
   require(field, kind);
   requireKey(field, true);
   const Passed passed(keyTypeOf(field), key, "the key");
   Place result(typeOfField(field));
   access(node, field, kind, &result, passed.pointer(), nullptr);
   return result.take();
}

template <class T>
T accessFixed(const Node& node, const Field& field, AccessKind kind, const void* key) {
   T value{};
   const FieldDescriptor descriptor{field.id()};
   const U8 status = field.owner().functions().inspect(&value, const_cast<Node*>(&node), &descriptor, field.index(),
                                                       static_cast<U8>(kind), key, nullptr);
   if (status != static_cast<U8>(InspectStatus::done)) {
      refuseKind(field, kind);
   }
   return value;
}

// Arguments decoded to what the parameters want.
class PassedList {
  public:
   PassedList(const std::vector<Parameter>& parameters, const std::vector<Given>& given, std::string_view what) {
      if (parameters.size() != given.size()) {
         std::string names;
         for (const Parameter& parameter : parameters) {
            names += fmt::format("{}{}", names.empty() ? "" : ", ", parameter.name);
         }
         refuse("{} takes {} argument{} ({}), not {}", what, parameters.size(), parameters.size() == 1 ? "" : "s",
                names, given.size());
      }
      for (std::size_t i = 0; i < given.size(); ++i) {
         passed_.push_back(std::make_unique<Passed>(typeNamed(parameters[i].typeName), given[i], parameters[i].name));
         pointers_.push_back(passed_.back()->pointer());
      }
   }
   const void* const* pointers() const { return pointers_.data(); }

  private:
   std::vector<std::unique_ptr<Passed>> passed_;
   std::vector<const void*> pointers_;
};

using IteratorHolder = std::unique_ptr<Tesk::GenericIterator, void (*)(Tesk::GenericIterator*)>;

void iterateFrom(const Node& node, std::string_view name, const Given* start,
                 const std::function<bool(const Value&, const Value&)>& each) {
   const Field field = fieldOf(node, name);
   const Tesk::IteratorFunction makeIterator = field.owner().functions().iterator;
   const AnyType keyType = keyTypeOf(field);
   if (makeIterator == nullptr || keyType.isNothing()) {
      refuse("{} can't be iterated", label(field));
   }
   std::optional<Passed> from;
   if (start != nullptr) {
      from.emplace(keyType, *start, "the key");
   }
   const FieldDescriptor descriptor{field.id()};
   Tesk::GenericIterator* const made = makeIterator(&node, &descriptor, from ? from->pointer() : nullptr);
   if (made == nullptr) {
      refuse("{} can't be iterated", label(field));
   }
   const IteratorHolder iterator(made, [](Tesk::GenericIterator* ended) { ended->functions->iterDel(ended); });
   while (iterator->functions->iterNonnull(*iterator)) {
      Place key(keyType);
      iterator->functions->iterKey(*iterator, key.get());
      key.fill();
      Place member(typeOfField(field));
      iterator->functions->iterObj(*iterator, member.get());
      member.fill();
      if (!each(key.take(), member.take())) {
         return;
      }
      iterator->functions->iterInc(*iterator);
   }
}

}  // namespace

//--- types ---

std::string_view Type::name() const noexcept { return module_->typeNames + row().nameOffset(); }

std::optional<Type> Type::base() const {
   if (row().base < 0) {
      return {};
   }
   return typeAt(*module_, row().base).described;
}

std::vector<Parameter> Type::constructorParameters() const {
   return parameterList(*module_, row().firstConstructorArgument);
}

std::vector<Field> Type::fields() const {
   std::vector<Field> all;
   for (U16 i = 0; i < row().fields; ++i) {
      all.emplace_back(*this, i);
   }
   return all;
}

std::optional<Field> Type::field(std::string_view wanted) const {
   for (std::optional<Type> type = *this; type; type = type->base()) {
      for (const Field& own : type->fields()) {
         if (own.name() == wanted) {
            return own;
         }
      }
   }
   return {};
}

bool Type::isA(const Type& other) const {
   for (std::optional<Type> type = *this; type; type = type->base()) {
      if (*type == other) {
         return true;
      }
   }
   return false;
}

std::string_view Field::name() const noexcept { return type_.module().fieldNames + row().nameOffset(); }
std::string_view Field::typeName() const noexcept { return typeOfField(*this).name; }
std::string_view Field::keyTypeName() const noexcept {
   return row().keyType == Tesk::noType ? std::string_view() : keyTypeOf(*this).name;
}
std::string_view Field::keyAttribute() const noexcept { return type_.module().fieldNames + row().keyAttribute; }

std::vector<Parameter> Field::parameters() const {
   if (shape() == Tesk::Shape::keyedPointers) {
      return {};
   }
   return parameterList(type_.module(), row().firstArgument);
}

std::vector<Type> Module::types() const {
   std::vector<Type> all;
   for (U16 i = 0; i < record_->typeCount; ++i) {
      all.emplace_back(*record_, i);
   }
   return all;
}

std::vector<Module> modules() {
   std::vector<Module> all;
   for (const Tesk::ModuleInspectData* record : Tesk::modules()) {
      all.emplace_back(*record);
   }
   return all;
}

std::optional<Type> findType(std::string_view name) {
   std::vector<Type> byLastWord;
   for (const Module& module : modules()) {
      for (const Type& type : module.types()) {
         const std::string_view full = type.name();
         if (full == name) {
            return type;
         }
         if (const auto colon = full.rfind(':'); colon != std::string_view::npos && full.substr(colon + 1) == name) {
            byLastWord.push_back(type);
         }
      }
   }
   return byLastWord.size() == 1 ? std::optional(byLastWord.front()) : std::nullopt;
}

std::optional<Type> typeOf(const Node& node) {
   const TypeData data = node.typeData();
   return data.module == nullptr ? std::nullopt : std::optional(Type(*data.module, data.index));
}

//--- access ---

Value get(const Node& node, std::string_view field) { return accessPlain(node, field, AccessKind::get); }
Value get(const Node& node, std::string_view field, const Given& key) {
   return accessMember(node, field, AccessKind::get, key);
}
Value lookup(const Node& node, std::string_view field, const Given& key) {
   return accessMember(node, field, AccessKind::lookup, key);
}

void set(Node& node, std::string_view name, const Given& value) {
   const Field field = fieldOf(node, name);
   require(field, AccessKind::set);
   requireKey(field, false);
   const Passed passed(typeOfField(field), value, "the value");
   access(node, field, AccessKind::set, nullptr, passed.pointer(), nullptr);
}
Value set(Node& node, std::string_view name) { return accessPlain(node, name, AccessKind::set); }
Value set(Node& node, std::string_view name, const Given& key, const Given& value) {
   const Field field = fieldOf(node, name);
   require(field, AccessKind::set);
   requireKey(field, true);
   const Passed passedKey(keyTypeOf(field), key, "the key");
   const Passed passedValue(typeOfField(field), value, "the value");
   const void* const arguments[] = {passedValue.pointer()};
   access(node, field, AccessKind::set, nullptr, passedKey.pointer(), arguments);
   return {};
}

Value del(Node& node, std::string_view field) { return accessPlain(node, field, AccessKind::del); }
Value del(Node& node, std::string_view field, const Given& key) {
   return accessMember(node, field, AccessKind::del, key);
}

Value call(Node& node, std::string_view name, const std::vector<Given>& arguments) {
   const Field field = fieldOf(node, name);
   require(field, AccessKind::call);
   const PassedList passed(field.parameters(), arguments, label(field));
   Place result(typeOfField(field));
   access(node, field, AccessKind::call, &result, nullptr, passed.pointers());
   return result.take();
}

U32 count(const Node& node, std::string_view name) {
   const Field field = fieldOf(node, name);
   require(field, AccessKind::count);
   return accessFixed<U32>(node, field, AccessKind::count, nullptr);
}
U32 number(const Node& node, std::string_view name) {
   const Field field = fieldOf(node, name);
   require(field, AccessKind::number);
   return accessFixed<U32>(node, field, AccessKind::number, nullptr);
}
bool exists(const Node& node, std::string_view name, const Given& key) {
   const Field field = fieldOf(node, name);
   require(field, AccessKind::exists);
   const Passed passed(keyTypeOf(field), key, "the key");
   return accessFixed<bool>(node, field, AccessKind::exists, passed.pointer());
}

Value front(const Node& node, std::string_view field) { return accessPlain(node, field, AccessKind::front); }
Value back(const Node& node, std::string_view field) { return accessPlain(node, field, AccessKind::back); }
void enqueue(Node& node, std::string_view name, const Given& value) {
   const Field field = fieldOf(node, name);
   require(field, AccessKind::enqueue);
   const Passed passed(typeOfField(field), value, "the value");
   access(node, field, AccessKind::enqueue, nullptr, passed.pointer(), nullptr);
}
Value dequeue(Node& node, std::string_view field) { return accessPlain(node, field, AccessKind::dequeue); }

void iterate(const Node& node, std::string_view field,
             const std::function<bool(const Value& key, const Value& member)>& each) {
   iterateFrom(node, field, nullptr, each);
}
void iterate(const Node& node, std::string_view field, const Given& start,
             const std::function<bool(const Value& key, const Value& member)>& each) {
   iterateFrom(node, field, &start, each);
}

Ptr<Node> make(const Type& type, const std::vector<Given>& arguments) {
   if (!type.isClass() || !type.isConstructible()) {
      refuse("{} can't be made by name", type.name());
   }
   const PassedList passed(type.constructorParameters(), arguments, type.name());
   const Node* made = nullptr;
   type.functions().constructFromCtorArgs(&made, passed.pointers());
   return Ptr<Node>::adopt(const_cast<Node*>(made));
}

}  // namespace Corvid::Inspect

namespace TeskCorvid::Impl {

Corvid::String valueToStrep(const Corvid::TypeData& data, const void* value) {
   using namespace Corvid::Inspect;
   const Type type(*data.module, data.index);
   std::vector<StrepAttr> attributes;
   for (const Field& field : type.fields()) {
      Place place(typeOfField(field));
      const Corvid::FieldDescriptor descriptor{field.id()};
      type.functions().inspect(place.get(), const_cast<void*>(value), &descriptor, field.index(),
                               static_cast<U8>(Corvid::AccessKind::get), nullptr, nullptr);
      place.fill();
      attributes.push_back({field.name(), place.take().text});
   }
   return valueToStrep(type.name(), attributes);
}

}  // namespace TeskCorvid::Impl
