// The embedded dictionary: the eight schema designs, their figures, the enumerations and
// selects they describe held to their compiled descriptors, and abstract domains.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "model/model_support.h"

namespace {

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

std::string names_of(ListOfLumoAttribute* attributes) {
  std::string out;
  for (unsigned k = 0; k < attributes->size(); ++k) {
    if (k) out += ", ";
    out += (*attributes)[k]->name;
  }
  return out;
}

LumoDomain* schema_domain(const char* design, const char* name) {
  LumoDesign* d = LUMO.findDesign(design);
  return d ? dynamic_cast<LumoDomain*>(d->findName(name)) : nullptr;
}

TEST(Dictionary, EveryDesignHasItsFigures) {
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
TEST(Dictionary, EnumerationsAndSelectsAgreeWithTheirDescriptors) {
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

TEST(Dictionary, AbstractDomainsAndOptionalAttributes) {
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
TEST(Dictionary, DomainsAreMatchedToDescriptorsByName) {
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
