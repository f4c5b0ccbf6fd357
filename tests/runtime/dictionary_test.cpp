// The run-time dictionary: binding, domains walked by attribute name, stores by name,
// enumerations, unions, and instances of a domain that has no class; then the embedded schema
// designs, their figures, the enumerations and selects they describe held to their compiled
// descriptors, and abstract domains.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/model_support.h"

namespace {

using Dictionary = Scratch;

std::string names_of(ListOfLumoAttribute* list) {
  std::string out;
  for (unsigned i = 0; i < list->size(); ++i)
    out += (i ? ", " : "") + std::string((*list)[i]->name);
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
            "subordinate, tf, ff, sptr, cptr, jptr, name, gptr, cfptr");
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
  EXPECT_EQ(d->aside()->transformation_, target);
  EXPECT_TRUE(d->isModified());
  EXPECT_FALSE(d->putObject(new (design) igs_point_entity(), "transformation", 0));
  EXPECT_EQ(d->aside()->transformation_, target);
  EXPECT_TRUE(d->putObject(nullptr, "transformation", 0));
  EXPECT_EQ(d->aside()->transformation_, nullptr);
  EXPECT_FALSE(d->putObject(target, "nothing", 0));

  char buffer[] = "label";
  EXPECT_TRUE(d->putString(buffer, "label", 0));
  buffer[0] = 'L';
  EXPECT_STREQ(d->label(), "label");
  EXPECT_FALSE(d->putString("text", "subscript", 0));
}

// The Directory fields kept aside: read through the dictionary as their defaults while the
// entity has no record, which only a store makes; in a class whose root is a virtual base too;
// a copy gets a record of its own.
TEST_F(Dictionary, FieldsAsideReadAsDefaultsUntilStored) {
  auto* line = new (design) igs_line_entity();
  auto* flow = new (design) igs_flow_entity();
  auto* other = new (design) igs_line_entity();
  EXPECT_TRUE(line->isEqual(other));
  EXPECT_EQ(other->aside_, nullptr);
  for (igs_directory_entry* e :
       {static_cast<igs_directory_entry*>(line), static_cast<igs_directory_entry*>(flow)}) {
    LumoAttribute* subscript = e->getAttribute("subscript");
    EXPECT_EQ(*e->slotToRead(subscript, 0).i, 0);
    EXPECT_EQ(*e->slotToRead(e->getAttribute("label"), 0).s, nullptr);
    EXPECT_EQ(e->aside_, nullptr);
    e->subscript(0);  // the default makes no record either
    EXPECT_EQ(e->aside_, nullptr);
    *e->slotAddress(subscript, 0).i = 4;
    ASSERT_NE(e->aside_, nullptr);
    EXPECT_EQ(e->subscript(), 4);
    EXPECT_EQ(e->getAttribute(static_cast<void*>(&e->aside_->subscript_)), subscript);
  }
  EXPECT_FALSE(line->isEqual(other));
  igs_line_entity copy(*line);
  copy.subscript(9);
  EXPECT_NE(copy.aside_, line->aside_);
  EXPECT_EQ(line->subscript(), 4);
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
            "geometry, annotation, definition, other, logical_positional, parametric");
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
  // takes its name. (An int-coded choice refusing a code outside its enumeration shows in
  // the colour of a Directory pair read.)
  auto* font = new (design) igs_lineFont();
  EXPECT_TRUE(font->putString("dashed", font->getAttribute("_line_pattern"), 0));
  EXPECT_EQ(font->_line_pattern(), igs_line_pattern_dashed);
  EXPECT_FALSE(font->putObject(flow, "_line_font_definition_entity", 0));
  EXPECT_TRUE(font->is_line_pattern());

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

struct EnumRow {
  const char* schema;
  const char* name;
  const char* members;  // comma separated, in order
};

// A few enumerations and selects whose order is the order of the codes a file holds; the
// rest are held to their compiled descriptors below.
const EnumRow kSpots[] = {
    {"iges_annotation_schema", "justification_code", "none, right, center, left"},
    {"iges_curve_and_surface_geometry_schema", "curveType",
     "null, linear, quadratic, cubic, wilson_fowler, modified_wilson_fowler, bspline"},
    {"iges_types_schema", "unitFlag",
     "none, inches, millimeters, unspecified, feet, miles, meters, kilometers, mils, microns, "
     "centimeters, microinches"},
    {"iges_types_schema", "datum", "_int_val, _float_val, _str_val, _directory_entry, _bool_val"},
    {"iges_types_schema", "entity_level", "_definition_levels_entity, _int_val"},
};

struct Figures {
  const char* design;
  unsigned domains, attributes, attribute_lists, domain_lists, defined_types, named, objects;
};

const Figures kFigures[] = {
    {"lintel_extensions", 127, 131, 127, 127, 0, 127, 512},
    {"header_section_schema", 6, 17, 7, 6, 0, 7, 36},
    {"iges_annotation_schema", 35, 189, 36, 36, 1, 37, 297},
    {"iges_boundary_representation_schema", 23, 85, 23, 24, 0, 24, 155},
    {"iges_constructive_solid_geometry_schema", 18, 121, 18, 19, 1, 19, 177},
    {"iges_curve_and_surface_geometry_schema", 63, 375, 64, 64, 0, 65, 566},
    {"iges_structure_schema", 161, 690, 162, 162, 0, 163, 1175},
    {"iges_types_schema", 28, 120, 29, 29, 6, 30, 212},
};

LumoDomain* schema_domain(const char* design, const char* name) {
  LumoDesign* d = LUMO.findDesign(design);
  return d ? dynamic_cast<LumoDomain*>(d->findName(name)) : nullptr;
}

TEST(Schemas, EveryDesignHasItsFigures) {
  load_model();
  std::size_t all = 0;
  for (const Figures& f : kFigures) {
    SCOPED_TRACE(f.design);
    LumoDesign* design = LUMO.findDesign(f.design);
    ASSERT_NE(design, nullptr);
    EXPECT_TRUE(design->active());
    unsigned domains = 0, attributes = 0, attribute_lists = 0, domain_lists = 0, defined = 0;
    for (LumoObject* o : design->defaultSection()->objects()) {
      LumoTypePtr* type = &o->classType();
      domains += type == &lumotype_LumoDomain;
      attributes += type == &lumotype_LumoAttribute;
      attribute_lists += type == &lumotype_ListOfLumoAttribute;
      domain_lists += type == &lumotype_ListOfLumoDomain;
      defined += std::strcmp(o->domain()->name(), "LumoDefType") == 0;
    }
    EXPECT_EQ(domains, f.domains);
    EXPECT_EQ(attributes, f.attributes);
    EXPECT_EQ(attribute_lists, f.attribute_lists);
    EXPECT_EQ(domain_lists, f.domain_lists);
    EXPECT_EQ(defined, f.defined_types);
    EXPECT_EQ(design->names().size(), f.named);
    EXPECT_EQ(design->objectCount(), f.objects);
    all += design->objectCount();
  }
  EXPECT_EQ(all, 3130u);
  EXPECT_EQ(LUMO.designIndex()->size(), 19u);
}

// Every enumeration and select of the schema designs lists its members in the order of its
// compiled descriptor.
TEST(Schemas, EnumerationsAndSelectsAgreeWithTheirDescriptors) {
  load_model();
  unsigned enumerations = 0, selects = 0;
  for (const Figures& f : kFigures) {
    for (LumoObject* o : LUMO.findDesign(f.design)->defaultSection()->objects()) {
      auto* domain = dynamic_cast<LumoDomain*>(o);
      if (!domain || !domain->name()) continue;
      LumoType* type = LumoType::find(domain->name());
      bool enumeration = domain->isEnumeration();
      bool select = type && dynamic_cast<LumoUnion*>(type->prototype);
      if (!enumeration && !select) continue;
      SCOPED_TRACE(domain->name());
      enumerations += enumeration;
      selects += select;
      ASSERT_NE(type, nullptr);
      EXPECT_EQ(names_of(domain->typeImmediateAttributes()),
                names_of(type->acquireDomain()->typeImmediateAttributes()));
    }
  }
  EXPECT_EQ(enumerations, 48u);
  EXPECT_EQ(selects, 21u);
  for (const EnumRow& e : kSpots) {
    SCOPED_TRACE(e.name);
    LumoDomain* domain = schema_domain(e.schema, e.name);
    ASSERT_NE(domain, nullptr);
    EXPECT_EQ(names_of(domain->typeImmediateAttributes()), e.members);
  }
}

TEST(Schemas, AbstractDomainsAndOptionalAttributes) {
  load_model();
  LumoDesign* types = LUMO.findDesign("iges_types_schema");
  auto* root = dynamic_cast<LumoDomain*>(types->findName("directory_entry"));
  ASSERT_NE(root, nullptr);
  EXPECT_TRUE(root->isAbstract());
  EXPECT_EQ(root->type(), &*lumotype_igs_directory_entry);
  EXPECT_EQ(types->pnewInstance(root, 0), nullptr);
  EXPECT_NE(types->pnewInstance(schema_domain("iges_types_schema", "coordinate"), 0), nullptr);

  LumoDomain* population = schema_domain("header_section_schema", "file_population");
  ASSERT_NE(population, nullptr);
  EXPECT_EQ(names_of(population->typeImmediateAttributes()),
            "governing_schema, determination_method, governed_sections");
  EXPECT_TRUE(population->findTypeAttribute("governed_sections")->optional());
  EXPECT_FALSE(population->findTypeAttribute("governing_schema")->optional());
}

// A domain made from the tables meets its class by name; its attributes read the compiled
// fields, and the subtype tests follow the tables' supertypes.
TEST(Schemas, DomainsAreMatchedToDescriptorsByName) {
  ScratchDesign design;
  LumoDomain* arc = schema_domain("iges_curve_and_surface_geometry_schema", "circular_arc_entity");
  ASSERT_NE(arc, nullptr);
  EXPECT_EQ(arc->type(), &*lumotype_igs_circular_arc_entity);
  EXPECT_EQ(names_of(arc->typeImmediateAttributes()).substr(0, 22), "line_font, subordinate");
  ASSERT_EQ(arc->supertypes()->size(), 1u);
  EXPECT_STREQ((*arc->supertypes())[0]->name(), "geometric_entity");
  LumoAttribute* x1 = arc->findTypeAttribute("x1");
  ASSERT_NE(x1, nullptr);
  EXPECT_NE(x1, lumotype_igs_circular_arc_entity->domain->findTypeAttribute("x1"));
  EXPECT_STREQ(x1->slotDomain()->name(), "double");
  auto* object = new (design.design) igs_circular_arc_entity;
  object->x1(6.5);
  EXPECT_EQ(*object->slotAddress(x1, 0).d, 6.5);
  EXPECT_TRUE(object->isa(arc));
  EXPECT_NE(arc->findTypeAttribute("label"), nullptr);  // through the supertypes

  LumoDomain* flow = schema_domain("iges_structure_schema", "flow_entity");
  ASSERT_NE(flow, nullptr);
  EXPECT_TRUE(flow->isSubtypeOf(schema_domain("iges_structure_schema", "structure_entity")));
}

}  // namespace
