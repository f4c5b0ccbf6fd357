// Generated classes as objects: construction, accessors with logic of their own, the
// virtual operations of the entity root and the remembered casts.
#include <gtest/gtest.h>

#include <vector>

#include "igeslib_entity_rows.h"
#include "model/model_support.h"

namespace {

TEST(Entities, AllFieldsConstructorStoresTheWholeChain) {
  ScratchDesign design;
  auto* level = new (design.design) igs_entity_level;
  auto* font = new (design.design) igs_lineFont;
  auto* arc = new (design.design) igs_circular_arc_entity(
      "A", 7, nullptr, nullptr, level, nullptr, nullptr, nullptr, igs_blank_status_invisible,
      nullptr, font, igs_subordinate_switch_both, igs_use_flag_annotation, 3, 1, 2, 3, 4, 5, 6, 7);
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
      EXPECT_EQ(lumo_cast<igs_geometric_entity>(object),
                dynamic_cast<igs_geometric_entity*>(object));
      EXPECT_EQ(lumo_cast<igs_transformation_matrix_entity>(object),
                dynamic_cast<igs_transformation_matrix_entity*>(object));
      EXPECT_EQ(lumo_cast<igs_property_entity>(object), dynamic_cast<igs_property_entity*>(object));
      EXPECT_EQ(lumo_cast<igs_entity_color>(object), dynamic_cast<igs_entity_color*>(object));
    }
  }
}

}  // namespace
