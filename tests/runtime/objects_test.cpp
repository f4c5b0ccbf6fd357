// Objects in designs: allocation, casts along every road of a diamond of virtual bases,
// change tracking, text, delayed references, and the generic walks of equality, search and
// display.
#include <gtest/gtest.h>

#include <cstring>

#include "model/model_support.h"

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
  for (int i = 0; i < 20000; ++i) {
    auto* o = new (d) igs_flow_entity();
    lumo_update_prim(o, &o->label_, "a label long enough to need storage of its own");
    auto* l = new (d) ListOfString(0);
    l->add("text").add("more text");
  }
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

  // The casts of every registry class are held to dynamic_cast with the model's tests.
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
  lumo_update_prim(o, &o->subscript_, 7);
  EXPECT_TRUE(o->isModified());
  EXPECT_EQ(o->subscript(), 7);
  igs_line_entity copy(*o);  // copies carry no mark: only stores do
  EXPECT_FALSE(copy.isModified());

  char buffer[32];
  std::strcpy(buffer, "first");
  o->label(buffer);
  std::strcpy(buffer, "second");
  EXPECT_STREQ(o->label(), "first");
  lumo_update_prim(o, &o->label_, static_cast<const char*>(nullptr));
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
  owner->transformation_ = static_cast<igs_transformation_matrix_entity*>(LUMO_DELAYED);
  loader.wanted_owner = owner;
  loader.answer = target;
  EXPECT_EQ(owner->transformation(), target);
  EXPECT_EQ(owner->transformation_, target);
  EXPECT_EQ(loader.calls, 1);
}

TEST_F(Delayed, AFailedLoadReadsAsNullAndKeepsTheWord) {
  auto* owner = new (design) igs_line_entity();
  owner->transformation_ = static_cast<igs_transformation_matrix_entity*>(LUMO_DELAYED);
  EXPECT_EQ(owner->transformation(), nullptr);
  EXPECT_TRUE(lumo_is_delayed(owner->transformation_));
  EXPECT_EQ(lumo_access_object(owner, &owner->transformation_), nullptr);
  EXPECT_EQ(loader.calls, 2);
  // Without a loader nothing can load.
  LUMO.loader(nullptr, nullptr);
  EXPECT_EQ(owner->transformation(), nullptr);
  EXPECT_TRUE(lumo_is_delayed(owner->transformation_));
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

}  // namespace
