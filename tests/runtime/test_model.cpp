#include "test_model.h"

namespace {

template <class C, class B>
unsigned offset_of(C* object) {
  return static_cast<unsigned>(reinterpret_cast<char*>(static_cast<B*>(object)) -
                               reinterpret_cast<char*>(object));
}

template <class C>
LumoObject* cast(void* start) {
  return static_cast<C*>(start);
}

t_root proto_root;
t_left proto_left;
t_right proto_right;
t_diamond proto_diamond;
t_choice proto_choice;
ListOft_root proto_list(0);
t_stranger proto_stranger;

template <class C, LumoTypePtr& T>
LumoObject* make(LumoDesignSection* section, LumoDomain* domain, unsigned capacity) {
  void* place = lumo_new(sizeof(C), section, domain, T);
  if (!place) return nullptr;
  if constexpr (std::is_same_v<C, ListOft_root>)
    return ::new (place) C(capacity);
  else
    return ::new (place) C();
}

void bind_root(LumoTypePtr& self) {
  auto* p = dynamic_cast<t_root*>(self->prototype);
  self->superOffset(self, lumotype_LumoObject, offset_of<t_root, LumoObject>(p))
      ->superOffset(self, lumotype_LumoStructure, offset_of<t_root, LumoStructure>(p))
      ->superOffset(self, self, 0)
      ->schema("test_schema")
      ->virtual_super(lumotype_LumoStructure)
      ->variable(lumotype_int, "count", &p->count)
      ->variable(lumotype_LumoSTR, "label", &p->label)
      ->variable(lumotype_t_root, "ref", &p->ref)
      ->variable(lumotype_t_colour, "colour", &p->colour);
}

void bind_left(LumoTypePtr& self) {
  auto* p = dynamic_cast<t_left*>(self->prototype);
  self->superOffset(self, lumotype_LumoObject, offset_of<t_left, LumoObject>(p))
      ->superOffset(self, lumotype_LumoStructure, offset_of<t_left, LumoStructure>(p))
      ->superOffset(self, lumotype_t_root, offset_of<t_left, t_root>(p))
      ->superOffset(self, self, 0)
      ->schema("test_schema")
      ->virtual_super(lumotype_t_root)
      ->variable(lumotype_double, "x", &p->x);
}

void bind_right(LumoTypePtr& self) {
  auto* p = dynamic_cast<t_right*>(self->prototype);
  self->superOffset(self, lumotype_LumoObject, offset_of<t_right, LumoObject>(p))
      ->superOffset(self, lumotype_LumoStructure, offset_of<t_right, LumoStructure>(p))
      ->superOffset(self, lumotype_t_root, offset_of<t_right, t_root>(p))
      ->superOffset(self, self, 0)
      ->schema("test_schema")
      ->virtual_super(lumotype_t_root)
      ->variable(lumotype_int, "y", &p->y);
}

void bind_diamond(LumoTypePtr& self) {
  auto* p = dynamic_cast<t_diamond*>(self->prototype);
  self->superOffset(self, lumotype_LumoObject, offset_of<t_diamond, LumoObject>(p))
      ->superOffset(self, lumotype_LumoStructure, offset_of<t_diamond, LumoStructure>(p))
      ->superOffset(self, lumotype_t_root, offset_of<t_diamond, t_root>(p))
      ->superOffset(self, lumotype_t_left, offset_of<t_diamond, t_left>(p))
      ->superOffset(self, lumotype_t_right, offset_of<t_diamond, t_right>(p))
      ->superOffset(self, self, 0)
      ->schema("test_schema")
      ->virtual_super(lumotype_t_left)
      ->virtual_super(lumotype_t_right)
      ->variable(lumotype_int, "z", &p->z);
}

void bind_choice(LumoTypePtr& self) {
  self->superOffset(self, lumotype_LumoObject, 0)
      ->superOffset(self, lumotype_LumoUnion, 0)
      ->superOffset(self, self, 0)
      ->schema("test_schema")
      ->super(lumotype_LumoUnion)
      ->variable(lumotype_int, "_int_val", nullptr)
      ->variable(lumotype_double, "_float_val", nullptr)
      ->variable(lumotype_LumoSTR, "_str_val", nullptr)
      ->variable(lumotype_t_left, "_left", nullptr)
      ->variable(lumotype_t_colour, "_colour", nullptr);
}

void bind_colour(LumoTypePtr& self) {
  self->superOffset(self, lumotype_LumoEnum, 0)
      ->super(lumotype_LumoEnum)
      ->schema("test_schema")
      ->enumerator("red", 0)
      ->enumerator("green", 1)
      ->enumerator("blue", 2);
}

void bind_list(LumoTypePtr& self) {
  self->schema(nullptr)
      ->superOffset(self, lumotype_LumoObject, 0)
      ->superOffset(self, lumotype_LumoAggregate, 0)
      ->superOffset(self, lumotype_LumoList, 0)
      ->superOffset(self, lumotype_LumoPtrList, 0)
      ->superOffset(self, self, 0)
      ->super(lumotype_LumoPtrList)
      ->variable(lumotype_t_root, lumotype_t_root->name, self->prototype);
}

void bind_stranger(LumoTypePtr& self) {
  auto* p = dynamic_cast<t_stranger*>(self->prototype);
  self->superOffset(self, lumotype_LumoObject, offset_of<t_stranger, LumoObject>(p))
      ->superOffset(self, lumotype_LumoStructure, offset_of<t_stranger, LumoStructure>(p))
      ->superOffset(self, self, 0)
      ->virtual_super(lumotype_LumoStructure);
}

}  // namespace

LumoTypePtr lumotype_t_root("t_root", sizeof(t_root), &proto_root, make<t_root, lumotype_t_root>,
                            bind_root, cast<t_root>);
LumoTypePtr lumotype_t_left("t_left", sizeof(t_left), &proto_left, make<t_left, lumotype_t_left>,
                            bind_left, cast<t_left>);
LumoTypePtr lumotype_t_right("t_right", sizeof(t_right), &proto_right,
                             make<t_right, lumotype_t_right>, bind_right, cast<t_right>);
LumoTypePtr lumotype_t_diamond("t_diamond", sizeof(t_diamond), &proto_diamond,
                               make<t_diamond, lumotype_t_diamond>, bind_diamond,
                               cast<t_diamond>);
LumoTypePtr lumotype_t_choice("t_choice", sizeof(t_choice), &proto_choice,
                              make<t_choice, lumotype_t_choice>, bind_choice, cast<t_choice>);
LumoTypePtr lumotype_t_colour("t_colour", sizeof(int), bind_colour, nullptr);
LumoTypePtr lumotype_ListOft_root(lumo_build_aggname("ListOft_root", "ListOft_root"),
                                  sizeof(ListOft_root), &proto_list,
                                  make<ListOft_root, lumotype_ListOft_root>, bind_list,
                                  cast<ListOft_root>);
LumoTypePtr lumotype_t_stranger("t_stranger", sizeof(t_stranger), &proto_stranger,
                                make<t_stranger, lumotype_t_stranger>, bind_stranger,
                                cast<t_stranger>);
