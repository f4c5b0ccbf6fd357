// Objects in designs: allocation, casts along every road of the diamond,
// change tracking, delayed references and the current design.
#include <gtest/gtest.h>

#include <cstring>

#include "test_model.h"

namespace {

using Allocation = Scratch;

TEST_F(Allocation, ObjectsLiveInTheSectionTheyWereMadeIn) {
  auto* a = new (design) t_diamond();
  LumoDesignSection* other = design->section("other");
  auto* b = new (other) t_left();
  auto* heap = new t_right();
  EXPECT_EQ(a->design(), design);
  EXPECT_EQ(a->design_section(), design->defaultSection());
  EXPECT_EQ(b->design_section(), other);
  EXPECT_EQ(b->design(), design);
  EXPECT_EQ(heap->design(), nullptr);
  EXPECT_EQ(design->objectCount(), 2u);
  delete heap;
}

TEST_F(Allocation, FindObjectsAnswersInCreationOrderAndByClass) {
  t_root* made[] = {new (design) t_left(), new (design) t_diamond(), new (design) t_right(),
                    new (design) t_root()};
  new (design) t_stranger();
  auto* all = new (design) ListOft_root(0);
  design->findObjects(all, 0, 1);
  ASSERT_EQ(all->size(), 4u);
  for (unsigned i = 0; i < 4; ++i) EXPECT_EQ((*all)[i], made[i]);

  // A list of any object collects every other object of the design.
  auto* every = new (design) ListOfLumoObject(0);
  design->findObjects(every, 0, 1);
  EXPECT_EQ(every->size(), 6u);
  EXPECT_EQ(every->find(static_cast<LumoObject*>(made[0])), 0u);
}

TEST_F(Allocation, PnewInstanceUsesTheDomainsCreator) {
  lumotype_t_diamond->force_load();
  LumoObject* o = design->pnewInstance(lumotype_t_diamond->domain, 0);
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(&o->classType(), &lumotype_t_diamond);
  EXPECT_EQ(o->design(), design);
  EXPECT_NE(lumo_cast<t_diamond>(o), nullptr);
  // The domain's own creation goes to the current design.
  LumoObject* p = lumotype_t_left->domain ? lumotype_t_left->domain->pnewInstance()
                                          : lumotype_t_left->acquireDomain()->pnewInstance();
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->design(), design);
  // Abstract classes of the runtime have no creator.
  EXPECT_EQ(design->pnewInstance(lumotype_LumoObject->acquireDomain(), 0), nullptr);
  EXPECT_EQ(design->pnewInstance(nullptr, 0), nullptr);
}

TEST_F(Allocation, DeletingAnObjectInADesignKeepsTheRestIntact) {
  auto* a = new (design) t_left();
  auto* b = new (design) t_right();
  delete a;
  EXPECT_EQ(design->objectCount(), 1u);
  auto* all = new (design) ListOft_root(0);
  design->findObjects(all, 0, 1);
  ASSERT_EQ(all->size(), 1u);
  EXPECT_EQ((*all)[0], b);
}

TEST(Designs, ADeletedDesignReleasesEverythingAndIsForgotten) {
  LumoDesign* d = LUMO.newDesign("short_lived");
  EXPECT_EQ(LUMO.findDesign("short_lived"), d);
  for (int i = 0; i < 20000; ++i) {
    auto* o = new (d) t_diamond();
    lumo_update_prim(o, &o->label, "a label long enough to need storage of its own");
    auto* l = new (d) ListOfString(0);
    l->add("text").add("more text");
  }
  EXPECT_GT(d->defaultSection()->bytesReserved(), 20000u * sizeof(t_diamond));
  LumoDesign* before = LUMO.useDesign(d);
  delete d;
  EXPECT_EQ(LUMO.findDesign("short_lived"), nullptr);
  EXPECT_EQ(LUMO.design(), nullptr);
  LUMO.useDesign(before);
}

TEST(Casts, EveryRoadOfTheDiamondLeadsToOneObject) {
  t_diamond d;
  LumoObject* o = &d;
  for (LumoTypePtr* type : {&lumotype_t_diamond, &lumotype_t_left, &lumotype_t_right,
                            &lumotype_t_root, &lumotype_LumoStructure, &lumotype_LumoObject})
    EXPECT_TRUE(o->isa(*type)) << (*type)->name;
  EXPECT_FALSE(o->isa(lumotype_t_stranger));
  EXPECT_FALSE(o->isa(lumotype_LumoUnion));

  EXPECT_EQ(lumo_cast(o, lumotype_t_diamond), static_cast<void*>(&d));
  EXPECT_EQ(lumo_cast(o, lumotype_t_left), static_cast<void*>(static_cast<t_left*>(&d)));
  EXPECT_EQ(lumo_cast(o, lumotype_t_root), static_cast<void*>(static_cast<t_root*>(&d)));
  EXPECT_EQ(lumo_cast(o, lumotype_t_stranger), nullptr);
  EXPECT_EQ(lumo_cast(nullptr, lumotype_t_root), nullptr);
  EXPECT_EQ(lumo_cast<t_right>(o), static_cast<t_right*>(&d));
  EXPECT_EQ(static_cast<t_left*>(&d)->_address(), static_cast<void*>(&d));

  t_left left;
  EXPECT_FALSE(static_cast<LumoObject*>(&left)->isa(lumotype_t_right));
  EXPECT_EQ(lumo_cast(&left, lumotype_t_diamond), nullptr);
}

TEST(Casts, IsaByDomainFollowsTheSupertypes) {
  t_diamond d;
  EXPECT_TRUE(d.isa(lumotype_t_root->acquireDomain()));
  EXPECT_TRUE(d.isa(lumotype_LumoStructure->acquireDomain()));
  EXPECT_FALSE(d.isa(lumotype_t_stranger->acquireDomain()));
  EXPECT_FALSE(d.isa(static_cast<LumoDomain*>(nullptr)));
  LumoDomain* domain = d.domain();
  ASSERT_NE(domain, nullptr);
  EXPECT_STREQ(domain->name(), "t_diamond");
  EXPECT_TRUE(domain->isSubtypeOf(lumotype_t_root->domain));
  EXPECT_FALSE(lumotype_t_root->domain->isSubtypeOf(domain));
}

TEST_F(Scratch, ModifiedIsSetByStoresAndClearedOnRequest) {
  auto* o = new (design) t_diamond();
  EXPECT_FALSE(o->isModified());
  o->set_ref(nullptr);
  EXPECT_TRUE(o->isModified());
  o->clearModified();
  lumo_update_prim(o, &o->count, 7);
  EXPECT_TRUE(o->isModified());
  EXPECT_EQ(o->count, 7);

  // Copies carry no mark: only stores do.
  t_diamond copy(*o);
  EXPECT_FALSE(copy.isModified());
}

TEST_F(Scratch, TextIsCopiedIntoTheDesign) {
  auto* o = new (design) t_root();
  char buffer[32];
  std::strcpy(buffer, "first");
  lumo_update_prim(o, &o->label, buffer);
  std::strcpy(buffer, "second");
  EXPECT_STREQ(o->label, "first");
  EXPECT_NE(o->label, buffer);
  lumo_update_prim(o, &o->label, static_cast<const char*>(nullptr));
  EXPECT_EQ(o->label, nullptr);
  // An object of no design keeps its text in the runtime's own storage.
  t_root loose;
  lumo_update_prim(&loose, &loose.label, buffer);
  EXPECT_STREQ(loose.label, "second");
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
  auto* owner = new (design) t_root();
  auto* target = new (design) t_left();
  owner->ref = static_cast<t_root*>(LUMO_DELAYED);
  loader.wanted_owner = owner;
  loader.answer = static_cast<t_root*>(target);
  EXPECT_EQ(owner->get_ref(), static_cast<t_root*>(target));
  EXPECT_EQ(owner->ref, static_cast<t_root*>(target));
  EXPECT_EQ(owner->getObject(0), static_cast<LumoObject*>(target));
  EXPECT_EQ(loader.calls, 1);
}

TEST_F(Delayed, AFailedLoadReadsAsNullAndKeepsTheWord) {
  auto* owner = new (design) t_root();
  owner->ref = static_cast<t_root*>(LUMO_DELAYED);
  EXPECT_EQ(owner->get_ref(), nullptr);
  EXPECT_TRUE(lumo_is_delayed(owner->ref));
  EXPECT_EQ(lumo_access_object(owner, &owner->ref), nullptr);
  EXPECT_EQ(owner->getObject(0), nullptr);
  EXPECT_EQ(loader.calls, 3);
  // Without a loader nothing can load.
  LUMO.loader(nullptr, nullptr);
  EXPECT_EQ(owner->get_ref(), nullptr);
  EXPECT_TRUE(lumo_is_delayed(owner->ref));
}

TEST_F(Delayed, AggregateSlotsResolveThroughTheOwnerList) {
  auto* list = new (design) ListOft_root(0);
  auto* target = new (design) t_right();
  list->add(nullptr).add(static_cast<t_root*>(target));
  list->_data()[0] = static_cast<t_root*>(LUMO_DELAYED);
  EXPECT_EQ((*list)[0], nullptr);  // no loader answer for this owner
  EXPECT_TRUE(lumo_is_delayed(list->_data()[0]));
  loader.wanted_owner = list;
  loader.answer = static_cast<t_root*>(target);
  EXPECT_EQ(list->first(), static_cast<t_root*>(target));
  EXPECT_EQ(list->_data()[0], static_cast<t_root*>(target));
  EXPECT_EQ(list->getObject(0), static_cast<LumoObject*>(target));
}

}  // namespace

namespace {

using Generic = Scratch;

TEST_F(Generic, EqualityComparesAttributeByAttribute) {
  auto* a = new (design) t_diamond();
  auto* b = new (design) t_diamond();
  auto* target = new (design) t_left();
  auto* twin = new (design) t_left();
  EXPECT_TRUE(a->isEqual(b));
  lumo_update_prim(a, &a->label, "same");
  lumo_update_prim(b, &b->label, "same");
  EXPECT_TRUE(a->isEqual(b));  // text by content
  a->x = 1;
  EXPECT_FALSE(a->isEqual(b));
  b->x = 1;
  a->set_ref(target);
  b->set_ref(twin);
  EXPECT_FALSE(a->isEqual(b, 0, 0));  // references by identity
  EXPECT_TRUE(a->isEqual(b, 1, 1));   // or, deep, by what they hold
  EXPECT_FALSE(a->isEqual(new (design) t_left()));
  EXPECT_FALSE(a->isEqual(nullptr));

  auto* l1 = new (design) ListOfInteger(0);
  auto* l2 = new (design) ListOfInteger(0);
  l1->add(1);
  EXPECT_FALSE(l1->isEqual(l2));
  l2->add(1);
  EXPECT_TRUE(l1->isEqual(l2));
}

TEST_F(Generic, FindObjectsOnAStructureFollowsReferencesToTheGivenDepth) {
  auto* a = new (design) t_root();
  auto* b = new (design) t_left();
  auto* c = new (design) t_right();
  a->set_ref(b);
  b->set_ref(c);
  c->set_ref(a);  // a cycle ends at the depth limit
  auto* found = new (design) ListOft_root(0);
  a->findObjects(found, 0, 1);
  EXPECT_EQ(found->size(), 1u);
  found->emptyYourself();
  a->findObjects(found, 1, 1);
  EXPECT_EQ(found->size(), 2u);
  found->emptyYourself();
  a->findObjects(found, 5, 1);
  ASSERT_EQ(found->size(), 3u);
  EXPECT_EQ((*found)[2], static_cast<t_root*>(c));
}

TEST_F(Generic, DisplayPrintsTheDomainAndEveryAttribute) {
  auto* a = new (design) t_diamond();
  lumo_update_prim(a, &a->label, "shown");
  a->z = 42;
  ::testing::internal::CaptureStdout();
  a->display(0, 0);
  std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.rfind("t_diamond\n", 0), 0u);
  EXPECT_NE(out.find("  label: \"shown\"\n"), std::string::npos);
  EXPECT_NE(out.find("  z: 42\n"), std::string::npos);
  EXPECT_NE(out.find("  ref: null\n"), std::string::npos);
}

}  // namespace
