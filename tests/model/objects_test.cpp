// Generated classes as objects: construction, accessors, copies, the virtual
// operations of the entity root, and walking an object by attribute name.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "igeslib_entity_rows.h"
#include "model/model_support.h"

namespace {

// The value of a reference attribute read through the dictionary.
LumoObject* reference_by_name(LumoObject* object, const char* name) {
  LumoDataPtr slot = object->slotAddress(object->getAttribute(name), 0);
  if (!slot.v || !*slot.p) return nullptr;
  LumoAttribute* attribute = object->getAttribute(name);
  return attribute->slotDomain()->type()->toObject(*slot.p);
}

TEST(Entities, SettersMarkModifiedAndTextIsCopied) {
  ScratchDesign design;
  auto* arc = new (design.design) igs_circular_arc_entity;
  EXPECT_FALSE(arc->isModified());
  char label[] = "ARC1";
  arc->label(label);
  label[0] = 'X';
  EXPECT_STREQ(arc->label(), "ARC1");
  EXPECT_TRUE(arc->isModified());
  arc->clearModified();
  arc->x3(2.5);
  EXPECT_TRUE(arc->isModified());
}

TEST(Entities, AllFieldsConstructorStoresTheWholeChain) {
  ScratchDesign design;
  auto* level = new (design.design) igs_entity_level;
  auto* font = new (design.design) igs_lineFont;
  auto* arc = new (design.design) igs_circular_arc_entity(
      "A", 7, nullptr, nullptr, level, nullptr, nullptr, nullptr, igs_blank_status_invisible,
      nullptr, font, igs_subordinate_switch_both, igs_use_flag_annotation, 3, 1, 2, 3, 4, 5, 6,
      7);
  EXPECT_TRUE(arc->isModified());
  EXPECT_STREQ(arc->label(), "A");
  EXPECT_EQ(arc->level(), level);
  EXPECT_EQ(arc->line_font(), font);
  EXPECT_EQ(arc->subordinate(), igs_subordinate_switch_both);
  EXPECT_EQ(arc->used(), igs_use_flag_annotation);
  EXPECT_EQ(arc->line_weight(), 3);
  EXPECT_EQ(arc->zt(), 1);
  EXPECT_EQ(arc->y3(), 7);
}

TEST(Entities, CopiesAreShallowAndLeaveModifiedAlone) {
  ScratchDesign design;
  auto* level = new (design.design) igs_entity_level;
  level->_int_val(4);
  igs_line_entity a;
  a.level(level);
  a.label("L");
  a.x1(1.5);
  a.de_number = 9;
  a.pd_pointer = 3;
  a.pd_line_count = 2;

  igs_line_entity copy(a);
  igs_line_entity b;
  b = a;
  for (igs_line_entity* c : {&copy, &b}) {
    EXPECT_FALSE(c->isModified());
    EXPECT_EQ(c->label(), a.label());  // the text is shared, not duplicated
    EXPECT_EQ(c->x1(), 1.5);
    EXPECT_EQ(c->de_number, 9);
    EXPECT_EQ(c->pd_pointer, 3);
    EXPECT_EQ(c->pd_line_count, 2);
  }
  // Both point to one select object: a change of its value shows through b,
  // whereas pointing a elsewhere does not.
  level->_int_val(8);
  EXPECT_EQ(b.level()->_int_val(), 8);
  a.level(new (design.design) igs_entity_level);
  EXPECT_EQ(b.level(), level);
}

TEST(Entities, AggregateGettersCreateOnDemandInTheOwnersSection) {
  ScratchDesign design;
  auto* arc = new (design.design) igs_circular_arc_entity;
  EXPECT_EQ(arc->associations_, nullptr);
  ListOfigs_associativities* list = arc->associations();
  ASSERT_NE(list, nullptr);
  EXPECT_TRUE(arc->isModified());
  EXPECT_EQ(list->size(), 0u);
  EXPECT_EQ(list->capacity(), 0u);
  EXPECT_EQ(list->design_section(), arc->design_section());
  EXPECT_EQ(arc->associations(), list);

  auto* curve = new (design.design) igs_composite_curve_entity;
  EXPECT_EQ(curve->n(), 0);
  auto* member = new (design.design) igs_geometric_or_connect_point;
  curve->de()->add(member).add(member);
  EXPECT_EQ(curve->n(), 2);
}

TEST(Entities, AttributeTableInstancesTakeTheirWidthFromTheDefinition) {
  ScratchDesign design;
  auto* tuple = new (design.design) igs_tuple_instance_entity;
  auto* table = new (design.design) igs_table_instance_entity;
  EXPECT_EQ(tuple->na(), 0);  // no definition: no attributes
  EXPECT_EQ(table->na(), 0);
  auto* definition = new (design.design) igs_attribute_table_definition_entity;
  auto* attribute = new (design.design) igs_attribute_definition;
  definition->attribute_list()->add(attribute).add(attribute).add(attribute);
  tuple->structure(definition);
  table->structure(definition);
  EXPECT_EQ(tuple->na(), 3);
  EXPECT_EQ(table->na(), 3);
  EXPECT_EQ(table->nr(), 0);
}

TEST(Entities, DelayedReferenceThatCannotBeLoadedReadsNull) {
  ScratchDesign design;
  auto* arc = new (design.design) igs_circular_arc_entity;
  arc->transformation_ = static_cast<igs_transformation_matrix_entity*>(LUMO_DELAYED);
  EXPECT_EQ(arc->transformation(), nullptr);
  EXPECT_TRUE(lumo_is_delayed(arc->transformation_));

  auto* matrix = new (design.design) igs_transformation_matrix_entity;
  static igs_transformation_matrix_entity* target = matrix;
  LUMO.loader([](LumoObject*, void*, void*) -> void* { return target; }, nullptr);
  EXPECT_EQ(arc->transformation(), matrix);
  EXPECT_EQ(arc->transformation_, matrix);
  LUMO.loader(nullptr, nullptr);
}

TEST(Entities, DefaultPdwriteReportsTheMissingClassCode) {
  load_model();
  igs_directory_entry root;
  testing::internal::CaptureStdout();
  root.pdwrite();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Directory entry and parameter data sections of file for entity type "
            "directory_entry are incorrect\nbecause the executable does not contain class "
            "code.\n");
}

TEST(Entities, IntCodedAccessorsFollowTheDictionaryOrder) {
  ScratchDesign design;
  auto* line = new (design.design) igs_line_entity;
  EXPECT_TRUE(line->blank_asi(1));
  EXPECT_EQ(line->blank(), igs_blank_status_invisible);

  auto* other = new (design.design) igs_line_entity;
  EXPECT_FALSE(other->blank_asi(2));
  EXPECT_FALSE(other->blank_asi(-1));
  EXPECT_EQ(other->blank(), igs_blank_status_unset);
  EXPECT_FALSE(other->used_asi(6));
  EXPECT_TRUE(other->used_asi(5));
  EXPECT_EQ(other->used(), igs_use_flag_parametric);
  auto* spline = new (design.design) igs_parametric_spline_curve_entity;
  EXPECT_TRUE(spline->ctype(6));
  EXPECT_EQ(spline->ctype(), igs_curveType_bspline);
}

TEST(Entities, WalkedByAttributeNameThroughTheDictionary) {
  ScratchDesign design;
  struct Sample {
    LumoObject* object;
    const char* int_or_double;
    double value;
    const char* reference;
  };
  auto* matrix = new (design.design) igs_transformation_matrix_entity;
  auto* arc = new (design.design) igs_circular_arc_entity;  // geometry
  arc->x2(4.25);
  arc->transformation(matrix);
  auto* vertices = new (design.design) igs_vertex_list_entity;  // B-rep
  vertices->subscript(12);
  auto* flow = new (design.design) igs_flow_entity;  // structure, two families
  flow->subscript(5);
  auto* text = new (design.design) igs_text_string;  // a record inside parameters
  text->wt(1.5);
  const Sample samples[] = {
      {arc, "x2", 4.25, "transformation"},
      {vertices, "subscript", 12, nullptr},
      {flow, "subscript", 5, nullptr},
      {text, "wt", 1.5, nullptr},
  };
  for (const Sample& s : samples) {
    SCOPED_TRACE(s.object->domain()->name());
    LumoAttribute* attribute = s.object->getAttribute(s.int_or_double);
    ASSERT_NE(attribute, nullptr);
    LumoDataPtr slot = s.object->slotAddress(attribute, 0);
    ASSERT_NE(slot.v, nullptr);
    if (std::strcmp(attribute->slotDomain()->name(), "double") == 0) {
      EXPECT_EQ(*slot.d, s.value);
    } else {
      EXPECT_EQ(*slot.i, static_cast<int>(s.value));
    }
    if (s.reference) {
      EXPECT_EQ(reference_by_name(s.object, s.reference), matrix);
    }
  }
  EXPECT_TRUE(flow->isa(lumotype_igs_structure_entity));
  EXPECT_TRUE(flow->isa(lumotype_igs_connectivity_entity));
  EXPECT_FALSE(flow->isa(lumotype_igs_geometric_entity));
  EXPECT_EQ(lumo_cast(flow, lumotype_igs_directory_entry),
            static_cast<igs_directory_entry*>(flow));
}

// The remembered casts give what dynamic_cast gives for every entity class of the registry,
// towards each of the classes that the reader and the writer cast to, the second time round
// (from memory) as the first, with the classes met in turn so that the memory's places are
// shared and overwritten.
TEST(Entities, RememberedCastsAgreeWithDynamicCast) {
  ScratchDesign design;
  std::vector<LumoObject*> made;
  for (const IgeslibStaticEntityRow& row : igeslib_static_entity_table) {
    LumoObject* object = design->pnewInstance((*row.type)->acquireDomain());
    if (object) made.push_back(object);
  }
  ASSERT_GT(made.size(), 100u);
  auto* select = new (design.design) igs_entity_color;
  made.push_back(select);
  for (int round = 0; round < 2; ++round) {
    for (LumoObject* object : made) {
      SCOPED_TRACE(object->domain()->name());
      EXPECT_EQ(lumo_cast<igs_directory_entry>(object), dynamic_cast<igs_directory_entry*>(object));
      EXPECT_EQ(lumo_cast<igs_geometric_entity>(object), dynamic_cast<igs_geometric_entity*>(object));
      EXPECT_EQ(lumo_cast<igs_transformation_matrix_entity>(object),
                dynamic_cast<igs_transformation_matrix_entity*>(object));
      EXPECT_EQ(lumo_cast<igs_property_entity>(object), dynamic_cast<igs_property_entity*>(object));
      EXPECT_EQ(lumo_cast<igs_entity_color>(object), dynamic_cast<igs_entity_color*>(object));
    }
  }
}

}  // namespace
