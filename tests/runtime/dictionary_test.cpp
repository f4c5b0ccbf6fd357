// The run-time dictionary: binding, domains walked by attribute name, stores by name,
// enumerations, unions, and instances of a domain that has no class.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "model/model_support.h"

namespace {

using Dictionary = Scratch;

std::string names_of(ListOfLumoAttribute* list) {
  std::string out;
  for (unsigned i = 0; i < list->size(); ++i) out += (i ? " " : "") + std::string((*list)[i]->name);
  return out;
}

TEST(Binding, ForceLoadRunsTheBindersOnceAndMakesTheDomains) {
  load_model();
  LumoDomain* domain = lumotype_igs_flow_entity->domain;
  ASSERT_NE(domain, nullptr);
  auto ancestors = lumotype_igs_flow_entity->ancestors().size();
  std::size_t objects = LUMO.dictionary()->objectCount();
  igeslib_force_load();
  lumotype_igs_flow_entity->force_load();
  EXPECT_EQ(lumotype_igs_flow_entity->domain, domain);
  EXPECT_EQ(lumotype_igs_flow_entity->ancestors().size(), ancestors);
  EXPECT_EQ(LUMO.dictionary()->objectCount(), objects);
  EXPECT_STREQ(lumotype_igs_flow_entity->schema_name(), "iges_structure_schema");
  EXPECT_EQ(LumoType::find("flow_entity"), &*lumotype_igs_flow_entity);
  EXPECT_EQ(LumoType::find("ListOfListOfcoordinate"), &*lumotype_ListOfListOfigs_coordinate);
  EXPECT_EQ(LumoType::find("no_such_class"), nullptr);
  EXPECT_TRUE(lumotype_ListOfListOfArrayOfDouble->bound());
  ASSERT_EQ(domain->supertypes()->size(), 2u);
  EXPECT_STREQ((*domain->supertypes())[0]->name(), "associativity_entity");
  EXPECT_STREQ((*domain->supertypes())[1]->name(), "connectivity_entity");

  // Offsets are measured on the prototype; a select's choices have no field of their own.
  igs_flow_entity d;
  auto at = [&](void* p) { return static_cast<char*>(p) - reinterpret_cast<char*>(&d); };
  EXPECT_EQ(lumotype_igs_flow_entity->offsetOf(&*lumotype_igs_connectivity_entity),
            at(static_cast<igs_connectivity_entity*>(&d)));
  EXPECT_EQ(lumotype_igs_flow_entity->offsetOf(&*lumotype_igs_directory_entry),
            at(static_cast<igs_directory_entry*>(&d)));
  EXPECT_EQ(lumotype_igs_flow_entity->offsetOf(&*lumotype_igs_coordinate), -1);
  EXPECT_EQ(lumotype_igs_datum->acquireDomain()->findTypeAttribute("_directory_entry")->offset(),
            -1);
}

TEST_F(Dictionary, AttributesAreWalkedByNameInSchemaOrder) {
  LumoDomain* domain = lumotype_igs_flow_entity->acquireDomain();
  EXPECT_EQ(names_of(domain->typeImmediateAttributes()),
            "subordinate tf ff sptr cptr jptr name gptr cfptr");
  lumo_vector all;
  domain->allAttributes(all);
  std::string names;
  for (void* a : all) names += static_cast<LumoAttribute*>(a)->name + std::string(" ");
  // The root of the diamond once, first.
  EXPECT_EQ(names,
            "label subscript associations properties subordinate tf ff sptr cptr jptr "
            "name gptr cfptr ");

  // Every attribute of every class is read and stored by name in the dump's and the Python
  // module's tests; here a reference, and an attribute found from its slot.
  auto* matrix = new (design) igs_transformation_matrix_entity;
  auto* arc = new (design) igs_circular_arc_entity;
  arc->transformation(matrix);
  LumoAttribute* reference = arc->getAttribute("transformation");
  EXPECT_EQ(reference->slotDomain()->type()->toObject(*arc->slotAddress(reference, 0).p), matrix);
  EXPECT_EQ(&arc->slotType(reference, 0), &lumotype_igs_transformation_matrix_entity);
  EXPECT_EQ(arc->getAttribute("nothing"), nullptr);
  EXPECT_EQ(arc->getAttribute(static_cast<void*>(&arc->x2_)), arc->getAttribute("x2"));
}

TEST_F(Dictionary, StoresByNameMarkTheOwnerAndCheckTheClass) {
  auto* d = new (design) igs_line_entity();
  auto* target = new (design) igs_transformation_matrix_entity();
  EXPECT_TRUE(d->putObject(target, "transformation", 0));
  EXPECT_EQ(d->transformation_, target);
  EXPECT_TRUE(d->isModified());
  EXPECT_FALSE(d->putObject(new (design) igs_point_entity(), "transformation", 0));
  EXPECT_EQ(d->transformation_, target);
  EXPECT_TRUE(d->putObject(nullptr, "transformation", 0));
  EXPECT_EQ(d->transformation_, nullptr);
  EXPECT_FALSE(d->putObject(target, "nothing", 0));

  char buffer[] = "label";
  EXPECT_TRUE(d->putString(buffer, "label", 0));
  buffer[0] = 'L';
  EXPECT_STREQ(d->label(), "label");
  EXPECT_FALSE(d->putString("text", "subscript", 0));
}

// An enumerator is stored by its position in the dictionary, or by name.
TEST_F(Dictionary, EnumeratorsAreStoredByTheirPosition) {
  LumoDomain* uses = lumotype_igs_use_flag->acquireDomain();
  EXPECT_TRUE(uses->isEnumeration());
  auto* d = new (design) igs_line_entity();
  EXPECT_EQ(d->used(), igs_use_flag_unset);
  LumoAttribute* used = d->domain()->findTypeAttribute("used");
  ASSERT_NE(used, nullptr);
  ListOfLumoAttribute* enumerators = used->slotDomain()->typeImmediateAttributes();
  EXPECT_EQ(names_of(enumerators),
            "geometry annotation definition other logical_positional parametric");
  EXPECT_TRUE(d->putString((*enumerators)[2]->name, used, 0));
  EXPECT_EQ(d->used(), igs_use_flag_definition);
  EXPECT_EQ((*enumerators)[6], nullptr);
  EXPECT_EQ((*enumerators)[~0u], nullptr);
  EXPECT_FALSE(d->putString("purple", used, 0));
  EXPECT_EQ(d->used(), igs_use_flag_definition);
  EXPECT_TRUE(d->putString("annotation", "used", 0));
  EXPECT_EQ(d->used(), igs_use_flag_annotation);
}

TEST_F(Dictionary, AUnionHoldsOneChoiceAndOneValue) {
  auto* u = new (design) igs_datum();
  EXPECT_EQ(u->getAttribute(nullptr), nullptr);
  EXPECT_FALSE(u->is_int_val());
  EXPECT_EQ(u->_int_val(), 0);
  EXPECT_EQ(u->getObject(0), nullptr);

  EXPECT_TRUE(u->putAttribute("_int_val"));
  *u->data().i = 7;
  EXPECT_TRUE(u->is_int_val());
  EXPECT_EQ(u->_int_val(), 7);
  EXPECT_STREQ(u->getAttribute(nullptr)->name, "_int_val");
  double value = 2.5;
  EXPECT_TRUE(u->putData(u->getAttribute("_float_val"), 0, &value, lumotype_double));
  EXPECT_TRUE(u->is_float_val());
  EXPECT_FALSE(u->is_int_val());
  EXPECT_EQ(*u->data().d, 2.5);
  EXPECT_NE(*u->data().i, 7);  // one slot: the double's bits

  // A foreign choice is refused and leaves the union as it was.
  EXPECT_FALSE(u->putAttribute("_z"));
  EXPECT_FALSE(u->putAttribute(lumotype_igs_line_entity->acquireDomain()->findTypeAttribute("x1")));
  EXPECT_TRUE(u->is_float_val());

  auto* flow = new (design) igs_flow_entity();
  EXPECT_TRUE(u->putObject(flow, "_directory_entry", 0));
  EXPECT_TRUE(u->is_directory_entry());
  EXPECT_EQ(u->_directory_entry(), static_cast<igs_directory_entry*>(flow));
  EXPECT_EQ(u->getObject(0), static_cast<LumoObject*>(flow));
  u->_directory_entry(nullptr);  // accepted: the choice is set, the slot null
  EXPECT_TRUE(u->is_directory_entry());
  EXPECT_EQ(u->_directory_entry(), nullptr);

  // A reference of the wrong class is no store and no change of choice; an enumerator choice
  // takes its name; an int-coded choice refuses a code outside its enumeration.
  auto* font = new (design) igs_lineFont();
  EXPECT_TRUE(font->putString("dashed", font->getAttribute("_line_pattern"), 0));
  EXPECT_EQ(font->_line_pattern(), igs_line_pattern_dashed);
  EXPECT_FALSE(font->putObject(flow, "_line_font_definition_entity", 0));
  EXPECT_TRUE(font->is_line_pattern());
  auto* color = new (design) igs_entity_color();
  EXPECT_FALSE(color->_color_number(9));
  EXPECT_EQ(color->getAttribute(nullptr), nullptr);
  EXPECT_TRUE(color->_color_number(8));
  EXPECT_EQ(color->_color_number(), igs_color_number_white);

  EXPECT_TRUE(u->putString("words", "_str_val", 0));
  EXPECT_STREQ(u->_str_val(), "words");
  igs_datum copy(*u);
  EXPECT_EQ(copy.getAttribute(nullptr), u->getAttribute(nullptr));
  EXPECT_EQ(copy._str_val(), u->_str_val());  // text shared, not duplicated

  // The choice is kept beside the object's change flag: neither disturbs the other, and an
  // assignment takes the choice while the object keeps its own flag.
  u->clearModified();
  EXPECT_TRUE(u->is_str_val());
  u->modified();
  EXPECT_TRUE(u->is_str_val());
  auto* other = new (design) igs_datum();
  other->clearModified();
  *other = *u;
  EXPECT_TRUE(other->is_str_val());
  EXPECT_FALSE(other->isModified());
  EXPECT_TRUE(other->putAttribute("_int_val"));
  EXPECT_TRUE(other->isModified());
  EXPECT_TRUE(u->is_str_val());
}

// The defined types of the schema designs have a domain and no class: they are generic
// instances, stored and read by attribute name.
TEST_F(Dictionary, ADomainWithNoClassMakesGenericInstances) {
  LumoDesign* types = LUMO.findDesign("iges_types_schema");
  ASSERT_NE(types, nullptr);
  LumoObject* defined = nullptr;
  for (LumoObject* o : types->defaultSection()->objects())
    if (std::strcmp(o->domain()->name(), "LumoDefType") == 0) defined = o;
  ASSERT_NE(defined, nullptr);
  LumoDomain* plain = defined->domain();
  EXPECT_EQ(plain->type(), nullptr);
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
