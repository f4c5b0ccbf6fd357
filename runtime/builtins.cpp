// The runtime's own descriptors: its classes, its plain value types and its
// ready-made aggregates.
#include "lumo_internal.h"

namespace {

template <class C, class Base>
unsigned offset_in(C* object) {
  return object ? static_cast<unsigned>(reinterpret_cast<char*>(static_cast<Base*>(object)) -
                                        reinterpret_cast<char*>(object))
                : 0u;
}

template <class C>
C* prototype_of(LumoTypePtr& self) {
  return self->prototype ? static_cast<C*>(self->prototype) : nullptr;
}

template <class C, LumoTypePtr& Type>
LumoObject* create(LumoDesignSection* section, LumoDomain* domain, unsigned capacity) {
  (void)capacity;
  void* place = lumo_new(sizeof(C), section, domain, Type);
  if (!place) return nullptr;
  if constexpr (std::is_constructible_v<C, unsigned>)
    return ::new (place) C(capacity);
  else
    return ::new (place) C();
}

template <class C>
LumoObject* cast(void* start) {
  return static_cast<C*>(start);
}

// States the chain of single bases from the root down, the direct base last,
// then the class itself.
template <class C, class... Bases, class... Types>
void bind_chain(LumoTypePtr& self, Types&... chain) {
  static_assert(sizeof...(Bases) == sizeof...(Types));
  C* proto = prototype_of<C>(self);
  LumoTypePtr* types[] = {&chain...};
  unsigned offsets[] = {offset_in<C, Bases>(proto)...};
  for (unsigned i = 0; i < sizeof...(Bases); ++i) self->superOffset(self, *types[i], offsets[i]);
  self->superOffset(self, self, 0)->schema(nullptr)->super(*types[sizeof...(Bases) - 1]);
}

void bind_object(LumoTypePtr& self) { self->superOffset(self, self, 0); }

}  // namespace

// Primitive value types: no class, only a kind.
LumoTypePtr lumotype_int("int", sizeof(int), nullptr, nullptr, LumoKind::integer);
LumoTypePtr lumotype_double("double", sizeof(double), nullptr, nullptr, LumoKind::real);
LumoTypePtr lumotype_float("float", sizeof(float), nullptr, nullptr, LumoKind::single);
LumoTypePtr lumotype_LumoSTR("LumoSTR", sizeof(char*), nullptr, nullptr, LumoKind::text);
LumoTypePtr lumotype_LumoBoolean("LumoBoolean", sizeof(char), nullptr, nullptr,
                                 LumoKind::boolean);
LumoTypePtr lumotype_LumoEnum("LumoEnum", sizeof(int), nullptr, nullptr,
                              LumoKind::enumeration);

// Abstract classes of the runtime: described, never created.
LumoTypePtr lumotype_LumoObject("LumoObject", sizeof(LumoObject), nullptr, nullptr, bind_object,
                                cast<LumoObject>);
LumoTypePtr lumotype_LumoStructure("LumoStructure", sizeof(LumoStructure), nullptr, nullptr,
                                   [](LumoTypePtr& self) {
                                     bind_chain<LumoStructure, LumoObject>(self, lumotype_LumoObject);
                                   },
                                   cast<LumoStructure>);
LumoTypePtr lumotype_LumoUnion("LumoUnion", sizeof(LumoUnion), nullptr, nullptr,
                               [](LumoTypePtr& self) {
                                 bind_chain<LumoUnion, LumoObject>(self, lumotype_LumoObject);
                               },
                               cast<LumoUnion>);
LumoTypePtr lumotype_LumoAggregate("LumoAggregate", sizeof(LumoAggregate), nullptr, nullptr,
                                   [](LumoTypePtr& self) {
                                     bind_chain<LumoAggregate, LumoObject>(self, lumotype_LumoObject);
                                   },
                                   cast<LumoAggregate>);
LumoTypePtr lumotype_LumoList("LumoList", sizeof(LumoList), nullptr, nullptr,
                              [](LumoTypePtr& self) {
                                bind_chain<LumoList, LumoObject, LumoAggregate>(self, lumotype_LumoObject, lumotype_LumoAggregate);
                              },
                              cast<LumoList>);
LumoTypePtr lumotype_LumoArray("LumoArray", sizeof(LumoArray), nullptr, nullptr,
                               [](LumoTypePtr& self) {
                                 bind_chain<LumoArray, LumoObject, LumoAggregate>(self, lumotype_LumoObject, lumotype_LumoAggregate);
                               },
                               cast<LumoArray>);
LumoTypePtr lumotype_LumoDesign("LumoDesign", sizeof(LumoDesign), nullptr, nullptr,
                                [](LumoTypePtr& self) {
                                  bind_chain<LumoDesign, LumoObject>(self, lumotype_LumoObject);
                                },
                                cast<LumoDesign>);

// Instantiable classes of the runtime, each with its prototype.
#define LUMO_RUNTIME_CLASS(Class, ...)                                                 \
  static Class prototype_##Class;                                                         \
  LumoTypePtr lumotype_##Class(#Class, sizeof(Class), &prototype_##Class, (create<Class, lumotype_##Class>), \
                               __VA_ARGS__, cast<Class>);

#define LUMO_POINTER_AGGREGATE(Class)                                              \
  LUMO_RUNTIME_CLASS(Class, [](LumoTypePtr& self) {                                 \
    bind_chain<Class, LumoObject, LumoAggregate, LumoList>(                         \
        self, lumotype_LumoObject, lumotype_LumoAggregate, lumotype_LumoList);      \
    self->variable(lumotype_LumoObject, "LumoObject", prototype_of<Class>(self));    \
  })
LUMO_POINTER_AGGREGATE(LumoPtrList)
LUMO_POINTER_AGGREGATE(LumoPtrBag)
LUMO_POINTER_AGGREGATE(LumoPtrSet)
#undef LUMO_POINTER_AGGREGATE

LUMO_RUNTIME_CLASS(LumoPtrArray, [](LumoTypePtr& self) {
  bind_chain<LumoPtrArray, LumoObject, LumoAggregate, LumoArray>(self, lumotype_LumoObject, lumotype_LumoAggregate, lumotype_LumoArray);
  self->variable(lumotype_LumoObject, "LumoObject", prototype_of<LumoPtrArray>(self));
})
LUMO_RUNTIME_CLASS(LumoEnumArray, [](LumoTypePtr& self) {
  bind_chain<LumoEnumArray, LumoObject, LumoAggregate, LumoArray>(self, lumotype_LumoObject, lumotype_LumoAggregate, lumotype_LumoArray);
  self->variable(lumotype_LumoEnum, "LumoEnum", prototype_of<LumoEnumArray>(self));
})

LUMO_RUNTIME_CLASS(LumoAttribute, [](LumoTypePtr& self) {
  LumoAttribute* p = prototype_of<LumoAttribute>(self);
  bind_chain<LumoAttribute, LumoObject, LumoStructure>(self, lumotype_LumoObject, lumotype_LumoStructure);
  self->variable(lumotype_LumoSTR, "name", p ? &p->name : nullptr)
      ->variable(lumotype_LumoDomain, "domain", p ? &p->domain : nullptr);
})
LUMO_RUNTIME_CLASS(LumoDomain, [](LumoTypePtr& self) {
  LumoDomain* p = prototype_of<LumoDomain>(self);
  bind_chain<LumoDomain, LumoObject, LumoStructure>(self, lumotype_LumoObject, lumotype_LumoStructure);
  self->variable(lumotype_LumoSTR, "name", p ? &p->name_ : nullptr)
      ->variable(lumotype_ListOfLumoDomain, "listOfSuper", p ? &p->listOfSuper : nullptr)
      ->variable(lumotype_ListOfLumoAttribute, "listOfAttribute",
                 p ? &p->listOfAttribute : nullptr);
})

// Typed aggregates: one attribute, named after the element's type.
#define LUMO_TYPED_AGGREGATE(Class, Base, Elem)                                      \
  LUMO_RUNTIME_CLASS(Class, [](LumoTypePtr& self) {                                  \
    bind_chain<Class, LumoObject, LumoAggregate, Base>(                              \
        self, lumotype_LumoObject, lumotype_LumoAggregate, lumotype_##Base);         \
    self->variable(Elem, Elem->name, prototype_of<Class>(self));                     \
  })
#define LUMO_TYPED_FAMILY(K, Base, ObjectBase)                                        \
  LUMO_TYPED_AGGREGATE(K##Integer, Base, lumotype_int)                                \
  LUMO_TYPED_AGGREGATE(K##Double, Base, lumotype_double)                              \
  LUMO_TYPED_AGGREGATE(K##Float, Base, lumotype_float)                                \
  LUMO_TYPED_AGGREGATE(K##String, Base, lumotype_LumoSTR)                             \
  LUMO_TYPED_AGGREGATE(K##Boolean, Base, lumotype_LumoBoolean)                        \
  LUMO_RUNTIME_CLASS(K##LumoObject, [](LumoTypePtr& self) {                           \
    bind_chain<K##LumoObject, LumoObject, LumoAggregate, Base, ObjectBase>(           \
        self, lumotype_LumoObject, lumotype_LumoAggregate, lumotype_##Base,           \
        lumotype_##ObjectBase);                                                       \
    self->variable(lumotype_LumoObject, "LumoObject", prototype_of<K##LumoObject>(self)); \
  })
LUMO_TYPED_FAMILY(ListOf, LumoList, LumoPtrList)
LUMO_TYPED_FAMILY(ArrayOf, LumoArray, LumoPtrArray)
LUMO_TYPED_FAMILY(SetOf, LumoList, LumoPtrSet)
LUMO_TYPED_FAMILY(BagOf, LumoList, LumoPtrBag)
#undef LUMO_TYPED_FAMILY
#undef LUMO_TYPED_AGGREGATE

LUMO_RUNTIME_CLASS(ListOfLumoAttribute, [](LumoTypePtr& self) {
  bind_chain<ListOfLumoAttribute, LumoObject, LumoAggregate, LumoList, LumoPtrList>(
      self, lumotype_LumoObject, lumotype_LumoAggregate, lumotype_LumoList, lumotype_LumoPtrList);
  self->variable(lumotype_LumoAttribute, "LumoAttribute",
                 prototype_of<ListOfLumoAttribute>(self));
})
LUMO_RUNTIME_CLASS(ListOfLumoDomain, [](LumoTypePtr& self) {
  bind_chain<ListOfLumoDomain, LumoObject, LumoAggregate, LumoList, LumoPtrList>(
      self, lumotype_LumoObject, lumotype_LumoAggregate, lumotype_LumoList, lumotype_LumoPtrList);
  self->variable(lumotype_LumoDomain, "LumoDomain", prototype_of<ListOfLumoDomain>(self));
})
#undef LUMO_RUNTIME_CLASS
