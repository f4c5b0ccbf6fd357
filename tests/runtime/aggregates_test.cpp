// Aggregates: typed lists of references, lists and arrays of values, sets, arrays of
// enumerators and the untyped element operations beneath them.
#include <gtest/gtest.h>

#include "support/model_support.h"

namespace {

using Aggregates = Scratch;

TEST_F(Aggregates, ReferenceListOperations) {
  auto* list = new (design) ListOfigs_directory_entry(0);
  igs_directory_entry* a = new (design) igs_line_entity();
  igs_directory_entry* b = new (design) igs_point_entity();
  igs_directory_entry* c = new (design) igs_flow_entity();
  EXPECT_EQ(list->last(), nullptr);

  list->add(a).add(b).add(a);  // a list keeps duplicates
  EXPECT_EQ(list->size(), 3u);
  list->addIfAbsent(b).addIfAbsent(c);
  EXPECT_EQ(list->size(), 4u);
  EXPECT_EQ(list->find(c), 3u);
  EXPECT_TRUE(list->contains(b));

  list->insert(c, 0);
  EXPECT_EQ(list->first(), c);
  list->put(b, 0);
  EXPECT_EQ(list->get(0), b);
  list->put(a, 99);  // a list replaces only what it holds
  EXPECT_EQ(list->size(), 5u);
  EXPECT_EQ((*list)[list->size()], nullptr);
  EXPECT_EQ(list->last(), c);

  list->removeValue(b);
  EXPECT_EQ(list->size(), 4u);
  EXPECT_EQ(list->first(), a);
  list->emptyYourself();
  EXPECT_EQ(list->size(), 0u);
  EXPECT_EQ(list->find(a), ~0u);
}

TEST_F(Aggregates, ElementsOfAnotherClassAreConvertedOrRefused) {
  auto* list = new (design) ListOfigs_directory_entry(0);
  auto* d = new (design) igs_flow_entity();
  // Added as a connectivity entity, stored as the directory entry of the same object.
  EXPECT_TRUE(
      list->_add(static_cast<igs_connectivity_entity*>(d), lumotype_igs_connectivity_entity));
  EXPECT_EQ(list->first(), static_cast<igs_directory_entry*>(d));
  EXPECT_EQ(
      list->_find(static_cast<igs_associativity_entity*>(d), lumotype_igs_associativity_entity),
      0u);

  auto* stranger = new (design) igs_coordinate();
  EXPECT_FALSE(list->isObjectAllowed(stranger, 0));
  EXPECT_FALSE(list->addObject(stranger));
  EXPECT_FALSE(list->_add(stranger, lumotype_igs_coordinate));
  EXPECT_TRUE(list->addObject(d));
  EXPECT_EQ(list->size(), 2u);
  EXPECT_EQ(list->getObject(1), static_cast<LumoObject*>(d));
  EXPECT_EQ(&list->slotType(nullptr, 0), &lumotype_igs_directory_entry);
  EXPECT_EQ(&(new (design) ListOfigs_coordinate(0))->slotType(nullptr, 0),
            &lumotype_igs_coordinate);
}

TEST_F(Aggregates, CopiesShareOneStorage) {
  auto* list = new (design) ListOfInteger(4);
  list->add(1).add(2);
  ListOfInteger copy(*list);
  EXPECT_EQ(copy._data(), list->_data());
  list->put(5, 0);
  EXPECT_EQ(copy[0], 5);
  EXPECT_EQ(copy.size(), 2u);
  ListOfInteger assigned(0);
  assigned = *list;
  EXPECT_EQ(assigned._data(), list->_data());
}

TEST_F(Aggregates, ValueListsArraysAndSets) {
  auto* ints = new (design) ListOfInteger(0);
  ints->add(3).add(4).add(3);
  EXPECT_EQ((*ints)[3], 0);
  EXPECT_EQ(ints->find(4), 1u);
  EXPECT_TRUE(ints->_remove(3));
  EXPECT_EQ(ints->first(), 4);

  auto* strings = new (design) ListOfString(0);
  char buffer[8] = "abc";
  strings->add(buffer).add(nullptr);
  buffer[0] = 'x';
  EXPECT_STREQ((*strings)[0], "abc");
  EXPECT_EQ((*strings)[1], nullptr);
  EXPECT_EQ((*strings)[2], nullptr);
  EXPECT_TRUE(strings->contains("abc"));
  EXPECT_FALSE(strings->contains("xbc"));

  auto* reals = new (design) ArrayOfDouble(2);
  reals->put(1.5, 0).put(2.5, 4);  // an array grows to the index it is given
  EXPECT_EQ(reals->size(), 5u);
  EXPECT_EQ((*reals)[2], 0.0);
  EXPECT_EQ((*reals)[5], 0.0);
  auto* texts = new (design) ArrayOfString(0);
  texts->put("z", 1);
  EXPECT_EQ((*texts)[0], nullptr);
  EXPECT_STREQ((*texts)[1], "z");
  auto* flags = new (design) ListOfBoolean(0);
  flags->add(1).add(0);
  EXPECT_EQ(flags->recordSize(), 1u);
  EXPECT_EQ((*flags)[0], 1);

  auto* set = new (design) SetOfInteger(0);
  set->add(1).add(1).add(2);
  EXPECT_EQ(set->size(), 2u);
  auto* objects = new (design) SetOfLumoObject(0);
  objects->add(set).add(set);
  EXPECT_TRUE(objects->addObject(set));
  EXPECT_EQ(objects->size(), 1u);
}

// Unset places of an array of enumerators read as the unset value, -1; codes outside the
// enumeration are refused.
TEST_F(Aggregates, ArraysOfEnumerators) {
  auto* types = new (design) ArrayOfigs_variable_type(0);
  EXPECT_EQ(types->first(), igs_variable_type_unset);
  types->put(igs_variable_type_pressure, 3);
  ASSERT_EQ(types->size(), 4u);
  EXPECT_EQ(static_cast<int*>(types->data().v)[0], -1);
  EXPECT_EQ((*types)[4], igs_variable_type_unset);
  EXPECT_TRUE(types->variable_type_asInt(8, 0));
  EXPECT_EQ((*types)[0], igs_variable_type_strain);
  EXPECT_FALSE(types->variable_type_asInt(9, 0));
  EXPECT_EQ(types->find(igs_variable_type_pressure), 3u);
  EXPECT_EQ(types->_find(77), ~0u);
  EXPECT_EQ(&types->slotType(nullptr, 0), &lumotype_igs_variable_type);
}

TEST_F(Aggregates, SizeCapacityAndFill) {
  auto* list = new (design) ListOfigs_directory_entry(3);
  EXPECT_EQ(list->capacity(), 3u);
  EXPECT_TRUE(list->size(5, -1));
  EXPECT_EQ(list->size(), 5u);
  EXPECT_EQ((*list)[4], nullptr);
  EXPECT_GE(list->capacity(), 5u);
  EXPECT_EQ(list->recordSize(), sizeof(void*));
  EXPECT_EQ(list->recordCount(), 5u);
  auto* ints = new (design) ArrayOfInteger(0);
  EXPECT_TRUE(ints->size(3, 7));
  EXPECT_EQ((*ints)[2], 7);
  // A count no storage can hold is refused, not attempted.
  EXPECT_FALSE(ints->size(0xFFFFFFF0u, 0));
  EXPECT_EQ(ints->size(), 3u);
  // Growth goes on past many doublings with the contents intact.
  for (int i = 0; i < 10000; ++i) ints->put(i, static_cast<unsigned>(i));
  EXPECT_EQ((*ints)[9999], 9999);
  EXPECT_EQ((*ints)[0], 0);
}

}  // namespace
