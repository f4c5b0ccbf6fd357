// Objects in designs: allocation, casts along every road of a diamond of virtual bases,
// change tracking, text, delayed references, and the generic walks of equality, search and
// display; then generated classes as objects: construction, accessors with logic of their own,
// the virtual operations of the entity root and the remembered casts.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "igeslib_entity_rows.h"
#include "support/model_support.h"

namespace {

using Allocation = Scratch;

TEST_F(Allocation, ObjectsLiveInTheSectionTheyWereMadeInAndAreFoundByClass) {
  LumoDesignSection* other = design->section("other");
  igs_directory_entry* made[] = {new (design) igs_associativity_instance_entity(),
                                 new (design) igs_flow_entity(), new (design) igs_line_entity(),
                                 new (design) igs_connect_point_entity()};
  auto* elsewhere = new (other) igs_coordinate();
  auto* heap = new igs_line_entity();
  EXPECT_EQ(made[1]->design_section(), design->defaultSection());
  EXPECT_EQ(elsewhere->design_section(), other);
  EXPECT_EQ(elsewhere->design(), design);
  EXPECT_EQ(heap->design(), nullptr);
  EXPECT_EQ(design->objectCount(), 5u);

  auto* found = new (design) ListOfigs_directory_entry(0);
  design->findObjects(found, 0, 1);
  ASSERT_EQ(found->size(), 4u);  // in creation order, the coordinate left out
  for (unsigned i = 0; i < 4; ++i) EXPECT_EQ((*found)[i], made[i]);
  // A list of any object collects every other object of the design.
  auto* every = new (design) ListOfLumoObject(0);
  design->findObjects(every, 0, 1);
  EXPECT_EQ(every->size(), 6u);

  delete made[0];
  delete heap;
  EXPECT_EQ(design->objectCount(), 6u);
  found->emptyYourself();
  design->findObjects(found, 0, 1);
  ASSERT_EQ(found->size(), 3u);
  EXPECT_EQ((*found)[0], made[1]);
}

// A list of points read from a file holds their reals alone; the points become objects, all
// at once and for good, when anything first asks for one.
TEST_F(Allocation, PackedListsMakeTheirElementsWhenFirstAsked) {
  auto* list = new (design) ListOfigs_coordinate(2, true);
  const double a[] = {1, 2, 3}, b[] = {4, 5, 6};
  for (const double* values : {a, b, a}) list->addValues(values);  // past the room asked for
  auto* copy = new (design) ListOfigs_coordinate(*list);
  const std::size_t objects = design->objectCount();
  ASSERT_TRUE(list->isPacked());
  EXPECT_EQ(list->size(), 3u);
  EXPECT_EQ(list->packedAt(1)[2], 6.0);
  EXPECT_EQ(list->packedAt(3), nullptr);

  igs_coordinate* point = (*list)[1];
  EXPECT_FALSE(list->isPacked());
  EXPECT_EQ(list->packedAt(1), nullptr);
  EXPECT_EQ(design->objectCount(), objects + 3);
  EXPECT_EQ(point->z(), 6.0);
  EXPECT_EQ((*list)[1], point);
  EXPECT_EQ(point->design_section(), list->design_section());
  // The copy made while packed still has the reals, and its own objects when asked.
  EXPECT_EQ(copy->packedAt(2)[0], 1.0);
  EXPECT_EQ(copy->last()->x(), 1.0);
  EXPECT_NE(copy->last(), list->last());
}

// A surface's net is one block of reals; its rows become packed lists over that block when a
// row is first asked for, and a row's points objects when a point is.
TEST_F(Allocation, PackedRowsMakeRowsOverTheirBlock) {
  auto* net = new (design) ListOfListOfigs_coordinate;
  double* reals = net->startRows(2, 3);
  ASSERT_NE(reals, nullptr);
  for (int i = 0; i < 18; ++i) reals[i] = i;
  EXPECT_EQ(net->size(), 2u);
  EXPECT_EQ(net->packedRowAt(1, 2)[0], 15.0);
  EXPECT_EQ(net->packedRowAt(2, 0), nullptr);
  EXPECT_EQ(net->packedRowAt(0, 3), nullptr);

  ListOfigs_coordinate* row = (*net)[1];
  EXPECT_FALSE(net->hasPackedRows());
  EXPECT_EQ(net->packedRowAt(1, 2), nullptr);
  ASSERT_TRUE(row->isPacked());
  EXPECT_EQ(row->size(), 3u);
  EXPECT_EQ(row->packedAt(0)[1], 10.0);
  EXPECT_EQ((*row)[2]->z(), 17.0);
  EXPECT_EQ((*net)[0]->last()->x(), 6.0);
  EXPECT_EQ(net->startRows(1, 1), nullptr);  // only on an empty list
}

// Creation by domain goes to the current design; classes made by every row of the registry
// are tested with the entities.
TEST_F(Allocation, PnewInstanceUsesTheDomainsCreator) {
  LumoObject* o = lumotype_igs_flow_entity->acquireDomain()->pnewInstance();
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(&o->classType(), &lumotype_igs_flow_entity);
  EXPECT_EQ(o->design(), design);
  EXPECT_EQ(design->pnewInstance(lumotype_LumoObject->acquireDomain(), 0), nullptr);
  EXPECT_EQ(design->pnewInstance(nullptr, 0), nullptr);
}

TEST(Designs, ADeletedDesignReleasesEverythingAndIsForgotten) {
  load_model();
  LumoDesign* d = LUMO.newDesign("short_lived");
  EXPECT_EQ(LUMO.findDesign("short_lived"), d);
  LumoDesignSection* other = d->section("other");
  std::vector<LumoObject*> made;
  for (int i = 0; i < 20000; ++i) {
    auto* o = new (d) igs_flow_entity();
    made.push_back(o);
    lumo_update_prim(o, &o->aside()->label_, "a label long enough to need storage of its own");
    auto* l = new (i % 2 ? other : d->defaultSection()) ListOfString(0);
    l->add("text").add("more text");
    // Objects find their section from the block they lie in, over many blocks.
    ASSERT_EQ(o->design_section(), d->defaultSection());
    ASSERT_EQ(l->design_section(), i % 2 ? other : d->defaultSection());
  }
  // The walk of a section's objects keeps creation order over its many blocks.
  std::vector<LumoObject*> walked;
  for (LumoObject* o : d->defaultSection()->objects())
    if (&o->classType() == &lumotype_igs_flow_entity) walked.push_back(o);
  EXPECT_EQ(walked, made);
  EXPECT_EQ(d->objectCount(), 40000u);
  // A search whose list grows in the design while the design is walked.
  auto* all = new (d) ListOfLumoObject(0);
  d->findObjects(all, 0, 1);
  EXPECT_EQ(all->size(), 40000u);
  // The runtime's part of an object: table pointer and flags, twelve bytes; a class's first
  // four-byte field takes the next four. The identifier is kept beside the object.
  auto* line = new (d) igs_line_entity();
  EXPECT_EQ(reinterpret_cast<char*>(&line->de_number) - reinterpret_cast<char*>(line), 12);
  line->oid(77);
  auto* copy = new (d) igs_line_entity(*line);
  EXPECT_EQ(line->oid(), 77u);
  EXPECT_EQ(made[1]->oid(), 0u);
  EXPECT_EQ(copy->oid(), 0u);
  line->oid(0);
  EXPECT_EQ(line->oid(), 0u);
  made[1]->oid(78);  // forgotten with the design
  // An aggregate adds its element storage, size and capacity; kind and set flag ride in flags.
  EXPECT_EQ(sizeof(LumoAggregate), 32u);
  EXPECT_GT(d->defaultSection()->bytesReserved(), 20000u * sizeof(igs_flow_entity));
  LumoDesign* before = LUMO.useDesign(d);
  delete d;
  EXPECT_EQ(LUMO.findDesign("short_lived"), nullptr);
  EXPECT_EQ(LUMO.design(), nullptr);
  LUMO.useDesign(before);
}

TEST(Casts, EveryRoadOfTheDiamondLeadsToOneObject) {
  load_model();
  igs_flow_entity d;
  LumoObject* o = &d;
  for (LumoTypePtr* type :
       {&lumotype_igs_flow_entity, &lumotype_igs_associativity_entity,
        &lumotype_igs_connectivity_entity, &lumotype_igs_structure_entity,
        &lumotype_igs_directory_entry, &lumotype_LumoStructure, &lumotype_LumoObject}) {
    EXPECT_TRUE(o->isa(*type)) << (*type)->name;
    EXPECT_TRUE(d.isa((*type)->acquireDomain())) << (*type)->name;
  }
  for (LumoTypePtr* type :
       {&lumotype_igs_coordinate, &lumotype_LumoUnion, &lumotype_igs_geometric_entity}) {
    EXPECT_FALSE(o->isa(*type)) << (*type)->name;
    EXPECT_EQ(lumo_cast(o, *type), nullptr) << (*type)->name;
  }
  EXPECT_FALSE(d.isa(static_cast<LumoDomain*>(nullptr)));
  EXPECT_TRUE(d.domain()->isSubtypeOf(lumotype_igs_structure_entity->domain));
  EXPECT_FALSE(lumotype_igs_structure_entity->domain->isSubtypeOf(d.domain()));

  // The casts of every registry class are held to dynamic_cast below.
  EXPECT_EQ(lumo_cast(o, lumotype_igs_associativity_entity),
            static_cast<void*>(static_cast<igs_associativity_entity*>(&d)));
  EXPECT_EQ(lumo_cast(nullptr, lumotype_igs_directory_entry), nullptr);
  EXPECT_EQ(static_cast<igs_associativity_entity*>(&d)->_address(), static_cast<void*>(&d));
  igs_associativity_instance_entity left;
  EXPECT_FALSE(static_cast<LumoObject*>(&left)->isa(lumotype_igs_connectivity_entity));
  EXPECT_EQ(lumo_cast(&left, lumotype_igs_flow_entity), nullptr);
}

TEST_F(Scratch, StoresMarkTheObjectAndCopyTheirText) {
  auto* o = new (design) igs_line_entity();
  EXPECT_FALSE(o->isModified());
  o->transformation(nullptr);
  EXPECT_TRUE(o->isModified());
  o->clearModified();
  lumo_update_prim(o, &o->aside()->subscript_, 7);
  EXPECT_TRUE(o->isModified());
  EXPECT_EQ(o->subscript(), 7);
  igs_line_entity copy(*o);  // copies carry no mark: only stores do
  EXPECT_FALSE(copy.isModified());

  char buffer[32];
  std::strcpy(buffer, "first");
  o->label(buffer);
  std::strcpy(buffer, "second");
  EXPECT_STREQ(o->label(), "first");
  lumo_update_prim(o, &o->aside()->label_, static_cast<const char*>(nullptr));
  EXPECT_EQ(o->label(), nullptr);
  // An object of no design keeps its text in the runtime's own storage.
  igs_line_entity loose;
  loose.label(buffer);
  EXPECT_STREQ(loose.label(), "second");
  EXPECT_NE(loose.label(), buffer);
}

struct Loader {
  LumoObject* wanted_owner = nullptr;
  void* answer = nullptr;
  int calls = 0;
  static void* load(LumoObject* owner, void*, void* user) {
    auto* self = static_cast<Loader*>(user);
    ++self->calls;
    return owner == self->wanted_owner ? self->answer : nullptr;
  }
};

struct Delayed : Scratch {
  Loader loader;
  Delayed() { LUMO.loader(Loader::load, &loader); }
  ~Delayed() override { LUMO.loader(nullptr, nullptr); }
};

TEST_F(Delayed, AFieldLoadsOnceAndThenHoldsThePointer) {
  auto* owner = new (design) igs_line_entity();
  auto* target = new (design) igs_transformation_matrix_entity();
  owner->aside()->transformation_ = static_cast<igs_transformation_matrix_entity*>(LUMO_DELAYED);
  loader.wanted_owner = owner;
  loader.answer = target;
  EXPECT_EQ(owner->transformation(), target);
  EXPECT_EQ(owner->aside()->transformation_, target);
  EXPECT_EQ(loader.calls, 1);
}

TEST_F(Delayed, AFailedLoadReadsAsNullAndKeepsTheWord) {
  auto* owner = new (design) igs_line_entity();
  owner->aside()->transformation_ = static_cast<igs_transformation_matrix_entity*>(LUMO_DELAYED);
  EXPECT_EQ(owner->transformation(), nullptr);
  EXPECT_TRUE(lumo_is_delayed(owner->aside()->transformation_));
  EXPECT_EQ(lumo_access_object(owner, &owner->aside()->transformation_), nullptr);
  EXPECT_EQ(loader.calls, 2);
  // Without a loader nothing can load.
  LUMO.loader(nullptr, nullptr);
  EXPECT_EQ(owner->transformation(), nullptr);
  EXPECT_TRUE(lumo_is_delayed(owner->aside()->transformation_));
}

TEST_F(Delayed, AggregateSlotsResolveThroughTheOwnerList) {
  auto* list = new (design) ListOfigs_directory_entry(0);
  auto* target = new (design) igs_line_entity();
  list->add(nullptr).add(target);
  list->_data()[0] = static_cast<igs_directory_entry*>(LUMO_DELAYED);
  EXPECT_EQ((*list)[0], nullptr);  // no loader answer for this owner
  EXPECT_TRUE(lumo_is_delayed(list->_data()[0]));
  loader.wanted_owner = list;
  loader.answer = static_cast<igs_directory_entry*>(target);
  EXPECT_EQ(list->getObject(0), static_cast<LumoObject*>(target));
  EXPECT_EQ(list->_data()[0], static_cast<igs_directory_entry*>(target));
}

using Generic = Scratch;

TEST_F(Generic, EqualityComparesAttributeByAttribute) {
  auto* a = new (design) igs_line_entity();
  auto* b = new (design) igs_line_entity();
  EXPECT_TRUE(a->isEqual(b));
  a->label("same");
  b->label("same");
  EXPECT_TRUE(a->isEqual(b));  // text by content
  a->x1(1);
  EXPECT_FALSE(a->isEqual(b));
  b->x1(1);
  a->transformation(new (design) igs_transformation_matrix_entity());
  b->transformation(new (design) igs_transformation_matrix_entity());
  EXPECT_FALSE(a->isEqual(b, 0, 0));  // references by identity
  EXPECT_TRUE(a->isEqual(b, 1, 1));   // or, deep, by what they hold
  EXPECT_FALSE(a->isEqual(new (design) igs_point_entity()));
  EXPECT_FALSE(a->isEqual(nullptr));

  auto* l1 = new (design) ListOfInteger(0);
  auto* l2 = new (design) ListOfInteger(0);
  l1->add(1);
  EXPECT_FALSE(l1->isEqual(l2));
  l2->add(1);
  EXPECT_TRUE(l1->isEqual(l2));
}

TEST_F(Generic, FindObjectsOnAStructureFollowsReferencesToTheGivenDepth) {
  igs_transformation_matrix_entity* m[3];
  for (auto*& one : m) one = new (design) igs_transformation_matrix_entity();
  for (int i = 0; i < 3; ++i) m[i]->transformation(m[(i + 1) % 3]);  // a cycle
  auto* found = new (design) ListOfigs_directory_entry(0);
  for (unsigned depth : {0u, 1u, 5u}) {
    found->emptyYourself();
    m[0]->findObjects(found, depth, 1);
    EXPECT_EQ(found->size(), depth < 2 ? depth + 1 : 3u) << depth;
  }
  EXPECT_EQ((*found)[2], m[2]);
}

TEST_F(Generic, DisplayPrintsTheDomainAndEveryAttribute) {
  auto* a = new (design) igs_line_entity();
  a->label("shown");
  a->subscript(42);
  ::testing::internal::CaptureStdout();
  a->display(0, 0);
  std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.rfind("line_entity\n", 0), 0u) << out;
  for (const char* line : {"  label: \"shown\"\n", "  subscript: 42\n", "  transformation: null\n"})
    EXPECT_NE(out.find(line), std::string::npos) << line << out;
}

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
  EXPECT_EQ(arc->aside_, nullptr);
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
