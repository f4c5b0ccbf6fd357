// The run-time dictionary: binding, domains walked by attribute name, stores
// by name, enumerations, unions, and designs of domains made from tables.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "test_model.h"

namespace {

using Dictionary = Scratch;

std::vector<std::string> names_of(ListOfLumoAttribute* list) {
  std::vector<std::string> out;
  for (unsigned i = 0; i < list->size(); ++i) out.push_back((*list)[i]->name);
  return out;
}

TEST(Binding, ForceLoadRunsTheBinderOnceAndMakesTheDomain) {
  lumotype_t_diamond->force_load();
  LumoDomain* domain = lumotype_t_diamond->domain;
  ASSERT_NE(domain, nullptr);
  auto ancestors = lumotype_t_diamond->ancestors().size();
  lumotype_t_diamond->force_load();
  EXPECT_EQ(lumotype_t_diamond->domain, domain);
  EXPECT_EQ(lumotype_t_diamond->ancestors().size(), ancestors);
  EXPECT_STREQ(lumotype_t_diamond->schema_name(), "test_schema");
  EXPECT_EQ(LumoType::find("t_diamond"), &*lumotype_t_diamond);
  EXPECT_EQ(LumoType::find("ListOft_root"), &*lumotype_ListOft_root);
  EXPECT_EQ(LumoType::find("no_such_class"), nullptr);
  ASSERT_EQ(domain->supertypes()->size(), 2u);
  EXPECT_STREQ((*domain->supertypes())[0]->name(), "t_left");
  EXPECT_STREQ((*domain->supertypes())[1]->name(), "t_right");
}

TEST(Binding, OffsetsAreMeasuredOnThePrototype) {
  t_diamond d;
  auto at = [&](void* p) { return static_cast<char*>(p) - reinterpret_cast<char*>(&d); };
  EXPECT_EQ(lumotype_t_diamond->offsetOf(&*lumotype_t_right), at(static_cast<t_right*>(&d)));
  EXPECT_EQ(lumotype_t_diamond->offsetOf(&*lumotype_t_root), at(static_cast<t_root*>(&d)));
  EXPECT_EQ(lumotype_t_diamond->offsetOf(&*lumotype_LumoObject),
            at(static_cast<LumoObject*>(&d)));
  EXPECT_EQ(lumotype_t_diamond->offsetOf(&*lumotype_t_stranger), -1);
  // A select's choices have no field of their own.
  LumoAttribute* choice = lumotype_t_choice->acquireDomain()->findTypeAttribute("_left");
  ASSERT_NE(choice, nullptr);
  EXPECT_EQ(choice->offset(), -1);
}

TEST_F(Dictionary, AttributesAreWalkedByNameInSchemaOrder) {
  LumoDomain* domain = lumotype_t_diamond->acquireDomain();
  EXPECT_EQ(names_of(domain->typeImmediateAttributes()), std::vector<std::string>{"z"});
  EXPECT_EQ(names_of(lumotype_t_root->domain->typeImmediateAttributes()),
            (std::vector<std::string>{"count", "label", "ref", "colour"}));
  lumo_vector all;
  domain->allAttributes(all);
  std::vector<std::string> names;
  for (void* a : all) names.push_back(static_cast<LumoAttribute*>(a)->name);
  EXPECT_EQ(names, (std::vector<std::string>{"count", "label", "ref", "colour", "x", "y", "z"}));

  auto* d = new (design) t_diamond();
  d->count = 4;
  d->x = 1.25;
  d->z = -3;
  LumoDataPtr slot = d->slotAddress(d->getAttribute("x"), 0);
  ASSERT_NE(slot.v, nullptr);
  EXPECT_EQ(*slot.d, 1.25);
  EXPECT_EQ(*d->slotAddress(d->getAttribute("count"), 0).i, 4);
  EXPECT_EQ(*d->slotAddress(d->getAttribute("z"), 0).i, -3);
  EXPECT_EQ(d->getAttribute("nothing"), nullptr);
  EXPECT_EQ(d->getAttribute(static_cast<void*>(&d->y)), d->getAttribute("y"));
  EXPECT_EQ(&d->slotType(d->getAttribute("ref"), 0), &lumotype_t_root);
}

TEST_F(Dictionary, StoresByNameMarkTheOwnerAndCheckTheClass) {
  auto* d = new (design) t_diamond();
  auto* target = new (design) t_left();
  EXPECT_TRUE(d->putObject(target, "ref", 0));
  EXPECT_EQ(d->ref, static_cast<t_root*>(target));
  EXPECT_TRUE(d->isModified());
  EXPECT_FALSE(d->putObject(new (design) t_stranger(), "ref", 0));
  EXPECT_EQ(d->ref, static_cast<t_root*>(target));
  EXPECT_TRUE(d->putObject(nullptr, "ref", 0));
  EXPECT_EQ(d->ref, nullptr);
  EXPECT_FALSE(d->putObject(target, "nothing", 0));

  char buffer[] = "label";
  EXPECT_TRUE(d->putString(buffer, "label", 0));
  buffer[0] = 'L';
  EXPECT_STREQ(d->label, "label");
  EXPECT_FALSE(d->putString("text", "count", 0));
}

TEST_F(Dictionary, EnumeratorsAreStoredByTheirPosition) {
  LumoDomain* colours = lumotype_t_colour->acquireDomain();
  EXPECT_TRUE(colours->isEnumeration());
  EXPECT_EQ(names_of(colours->typeImmediateAttributes()),
            (std::vector<std::string>{"red", "green", "blue"}));
  auto* d = new (design) t_diamond();
  EXPECT_EQ(d->colour, t_colour_unset);
  LumoAttribute* colour = d->domain()->findTypeAttribute("colour");
  ASSERT_NE(colour, nullptr);
  // The int-coded store: the code is a position in the dictionary.
  LumoAttribute* third = (*colour->slotDomain()->typeImmediateAttributes())[2];
  ASSERT_NE(third, nullptr);
  EXPECT_TRUE(d->putString(third->name, colour, 0));
  EXPECT_EQ(d->colour, blue);
  EXPECT_EQ((*colour->slotDomain()->typeImmediateAttributes())[3], nullptr);
  EXPECT_EQ((*colour->slotDomain()->typeImmediateAttributes())[~0u], nullptr);
  EXPECT_FALSE(d->putString("purple", colour, 0));
  EXPECT_EQ(d->colour, blue);
  EXPECT_TRUE(d->putString("green", "colour", 0));
  EXPECT_EQ(d->colour, green);
}

TEST_F(Dictionary, AUnionHoldsOneChoiceAndOneValue) {
  auto* u = new (design) t_choice();
  EXPECT_EQ(u->getAttribute(nullptr), nullptr);
  EXPECT_FALSE(u->is_("_int_val"));
  EXPECT_EQ(u->getObject(0), nullptr);

  EXPECT_TRUE(u->putAttribute("_int_val"));
  *u->data().i = 7;
  EXPECT_TRUE(u->is_("_int_val"));
  EXPECT_FALSE(u->is_("_float_val"));
  EXPECT_STREQ(u->getAttribute(nullptr)->name, "_int_val");

  double value = 2.5;
  EXPECT_TRUE(u->putData(u->getAttribute("_float_val"), 0, &value, lumotype_double));
  EXPECT_TRUE(u->is_("_float_val"));
  EXPECT_EQ(*u->data().d, 2.5);
  EXPECT_NE(*u->data().i, 7);  // one slot: the double's bits

  // A foreign choice is refused and leaves the union as it was.
  EXPECT_FALSE(u->putAttribute("_z"));
  EXPECT_FALSE(u->putAttribute(lumotype_t_diamond->acquireDomain()->findTypeAttribute("z")));
  EXPECT_TRUE(u->is_("_float_val"));

  auto* left = new (design) t_diamond();
  EXPECT_TRUE(u->putObject(left, "_left", 0));
  EXPECT_TRUE(u->is_("_left"));
  EXPECT_EQ(*u->data().p, static_cast<void*>(static_cast<t_left*>(left)));
  EXPECT_EQ(u->getObject(0), static_cast<LumoObject*>(left));
  // A reference of the wrong class is no store and no change of choice.
  EXPECT_FALSE(u->putObject(new (design) t_right(), "_left", 0));
  EXPECT_TRUE(u->is_("_left"));

  EXPECT_TRUE(u->putString("blue", u->getAttribute("_colour"), 0));
  EXPECT_TRUE(u->is_("_colour"));
  EXPECT_EQ(*u->data().i, 2);
  EXPECT_TRUE(u->putString("words", "_str_val", 0));
  EXPECT_STREQ(*u->data().s, "words");

  t_choice copy(*u);
  EXPECT_EQ(copy.getAttribute(nullptr), u->getAttribute(nullptr));
  EXPECT_EQ(*copy.data().s, *u->data().s);  // text shared, not duplicated

  // The choice is kept beside the object's change flag: neither disturbs the other, and an
  // assignment takes the choice while the object keeps its own flag.
  u->clearModified();
  EXPECT_TRUE(u->is_("_str_val"));
  u->modified();
  EXPECT_TRUE(u->is_("_str_val"));
  auto* other = new (design) t_choice();
  other->clearModified();
  *other = *u;
  EXPECT_TRUE(other->is_("_str_val"));
  EXPECT_FALSE(other->isModified());
  EXPECT_TRUE(other->putAttribute("_int_val"));
  EXPECT_TRUE(other->isModified());
  EXPECT_TRUE(u->is_("_str_val"));
  EXPECT_STREQ(other->getAttribute(nullptr)->name, "_int_val");
}

// A design of domains made the way a dictionary is loaded from tables:
// objects first, then references and names by attribute, then activation.
TEST_F(Dictionary, ActivatedDomainsMeetTheirClassesByName) {
  lumotype_t_left->force_load();  // the class has its bound domain already
  LumoDesign* schema = LUMO.newDesign("test_tables");
  LumoDomain* domain_of_domains = lumotype_LumoDomain->acquireDomain();
  LumoDomain* domain_of_attributes = lumotype_LumoAttribute->acquireDomain();
  auto make = [&](LumoDomain* d) { return schema->pnewInstance(d, 0); };

  LumoObject* left = make(domain_of_domains);
  LumoObject* x = make(domain_of_attributes);
  LumoObject* attributes = make(lumotype_ListOfLumoAttribute->acquireDomain());
  LumoObject* supers = make(lumotype_ListOfLumoDomain->acquireDomain());
  LumoObject* abstract = make(lumotype_ListOfLumoDomain->acquireDomain());
  LumoObject* stranger = make(domain_of_domains);
  ASSERT_TRUE(left && x && attributes && supers && abstract && stranger);
  EXPECT_TRUE(attributes->size(1, -1));
  EXPECT_TRUE(supers->size(1, -1));
  EXPECT_TRUE(abstract->size(1, -1));
  EXPECT_TRUE(left->putString("t_left", "name", 0));
  EXPECT_TRUE(x->putString("x", "name", 0));
  EXPECT_TRUE(x->putObject(lumotype_double->acquireDomain(), "domain", 0));
  EXPECT_TRUE(attributes->putObject(x, 0));
  EXPECT_TRUE(supers->putObject(lumotype_t_root->acquireDomain(), 0));
  EXPECT_TRUE(left->putObject(attributes, "listOfAttribute", 0));
  EXPECT_TRUE(left->putObject(supers, "listOfSuper", 0));
  EXPECT_TRUE(stranger->putString("t_stranger", "name", 0));
  EXPECT_TRUE(abstract->putObject(stranger, 0));
  schema->addName("t_left", left);
  schema->addName("t_stranger", stranger);
  schema->addName("_____LUMO_ABSTRACT", abstract);
  schema->activate();

  auto* domain = lumo_cast<LumoDomain>(left);
  ASSERT_NE(domain, nullptr);
  EXPECT_EQ(domain->type(), &*lumotype_t_left);
  EXPECT_FALSE(domain->isAbstract());
  LumoObject* made = schema->pnewInstance(domain, 0);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(&made->classType(), &lumotype_t_left);
  // A domain of the abstract list can't be instantiated, though its class has a descriptor.
  auto* abstract_domain = lumo_cast<LumoDomain>(stranger);
  EXPECT_TRUE(abstract_domain->isAbstract());
  EXPECT_EQ(schema->pnewInstance(abstract_domain, 0), nullptr);
  EXPECT_EQ(design->pnewInstance(lumotype_t_stranger->acquireDomain(), 0), nullptr);
  // The attribute made from the tables finds the compiled field.
  auto* d = new (design) t_diamond();
  d->x = 6.5;
  LumoAttribute* from_tables = domain->findTypeAttribute("x");
  ASSERT_NE(from_tables, nullptr);
  EXPECT_NE(from_tables, lumotype_t_left->domain->findTypeAttribute("x"));
  EXPECT_EQ(*d->slotAddress(from_tables, 0).d, 6.5);
  EXPECT_TRUE(d->isa(domain));
  EXPECT_NE(domain->findTypeAttribute("count"), nullptr);  // through the supertype
  delete schema;
}

TEST_F(Dictionary, ADomainWithNoClassMakesGenericInstances) {
  LumoDomain* plain = lumo_cast<LumoDomain>(
      design->pnewInstance(lumotype_LumoDomain->acquireDomain(), 0));
  ASSERT_NE(plain, nullptr);
  plain->putString("defined_type", "name", 0);
  for (const char* name : {"name", "lumo_def"}) {
    auto* a = lumo_cast<LumoAttribute>(
        design->pnewInstance(lumotype_LumoAttribute->acquireDomain(), 0));
    a->putString(name, "name", 0);
    a->putObject(std::strcmp(name, "name") == 0 ? lumotype_LumoSTR->acquireDomain()
                                                : lumotype_LumoDomain->acquireDomain(),
                 "domain", 0);
    plain->typeImmediateAttributes()->add(a);
  }
  LumoObject* instance = design->pnewInstance(plain, 0);
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(instance->domain(), plain);
  EXPECT_TRUE(instance->isa(plain));
  EXPECT_TRUE(instance->isa(lumotype_LumoStructure));
  EXPECT_TRUE(instance->putString("int_val", "name", 0));
  EXPECT_TRUE(instance->putObject(lumotype_int->acquireDomain(), "lumo_def", 0));
  EXPECT_EQ(instance->getObject(0), lumotype_int->domain);
  EXPECT_STREQ(*instance->slotAddress(instance->getAttribute("name"), 0).s, "int_val");
  EXPECT_FALSE(instance->putObject(instance, "lumo_def", 0));
}

}  // namespace
