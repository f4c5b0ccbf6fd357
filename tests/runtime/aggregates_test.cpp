// Aggregates: typed lists of references, lists and arrays of values, sets,
// arrays of enumerators and the untyped element operations beneath them.
#include <gtest/gtest.h>

#include "test_model.h"

namespace {

using Aggregates = Scratch;

TEST_F(Aggregates, ReferenceListOperations) {
  auto* list = new (design) ListOft_root(0);
  auto* a = new (design) t_left();
  auto* b = new (design) t_right();
  auto* c = new (design) t_diamond();
  t_root *ra = a, *rb = b, *rc = c;

  EXPECT_EQ(list->last(), nullptr);

  list->add(ra).add(rb).add(ra);  // a list keeps duplicates
  EXPECT_EQ(list->size(), 3u);
  list->addIfAbsent(rb).addIfAbsent(rc);
  EXPECT_EQ(list->size(), 4u);
  EXPECT_EQ(list->find(rc), 3u);
  EXPECT_EQ(list->find(ra), 0u);
  EXPECT_TRUE(list->contains(rb));

  list->insert(rc, 0);
  EXPECT_EQ(list->first(), rc);
  list->put(rb, 0);
  EXPECT_EQ(list->get(0), rb);
  list->put(ra, 99);  // a list replaces only what it holds
  EXPECT_EQ(list->size(), 5u);
  EXPECT_EQ((*list)[list->size()], nullptr);
  EXPECT_EQ(list->last(), rc);

  list->removeValue(rb);
  EXPECT_EQ(list->size(), 4u);
  EXPECT_EQ(list->first(), ra);
  list->emptyYourself();
  EXPECT_EQ(list->size(), 0u);
  EXPECT_FALSE(list->contains(ra));
  EXPECT_EQ(list->find(ra), ~0u);
  EXPECT_EQ(list->find(ra) + 1, 0u);
}

TEST_F(Aggregates, ElementsOfAnotherClassAreConvertedOrRefused) {
  auto* list = new (design) ListOft_root(0);
  auto* d = new (design) t_diamond();
  // Added as a t_right, stored as the t_root of the same object.
  EXPECT_TRUE(list->_add(static_cast<t_right*>(d), lumotype_t_right));
  EXPECT_EQ(list->first(), static_cast<t_root*>(d));
  EXPECT_EQ(list->_find(static_cast<t_left*>(d), lumotype_t_left), 0u);

  auto* stranger = new (design) t_stranger();
  EXPECT_FALSE(list->isObjectAllowed(stranger, 0));
  EXPECT_FALSE(list->addObject(stranger));
  EXPECT_FALSE(list->_add(stranger, lumotype_t_stranger));
  EXPECT_TRUE(list->addObject(d));
  EXPECT_EQ(list->size(), 2u);
  EXPECT_EQ(list->getObject(1), static_cast<LumoObject*>(d));
  EXPECT_EQ(&list->slotType(nullptr, 0), &lumotype_t_root);
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

TEST_F(Aggregates, ValueListsAndArrays) {
  auto* ints = new (design) ListOfInteger(0);
  ints->add(3).add(4).add(3);
  EXPECT_EQ((*ints)[2], 3);
  EXPECT_EQ((*ints)[3], 0);
  EXPECT_EQ(ints->find(4), 1u);
  EXPECT_EQ(ints->_find(3), 0u);
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
  EXPECT_EQ((*reals)[4], 2.5);
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
}

TEST_F(Aggregates, SetsKeepOneOfEach) {
  auto* set = new (design) SetOfInteger(0);
  set->add(1).add(1).add(2);
  EXPECT_EQ(set->size(), 2u);
  auto* objects = new (design) SetOfLumoObject(0);
  auto* a = new (design) t_left();
  objects->add(a).add(a);
  EXPECT_EQ(objects->size(), 1u);
  EXPECT_TRUE(objects->addObject(a));
  EXPECT_EQ(objects->size(), 1u);
}

TEST_F(Aggregates, ArraysOfEnumeratorsAnswerMinusOneForNothing) {
  auto* array = new (design) LumoEnumArray(0);
  EXPECT_TRUE(array->_put(2, 3));
  ASSERT_EQ(array->size(), 4u);
  auto* values = static_cast<int*>(array->data().v);
  EXPECT_EQ(values[0], -1);
  EXPECT_EQ(values[3], 2);
  EXPECT_EQ(array->_find(2), 3u);
  EXPECT_EQ(array->_find(7), ~0u);
}

TEST_F(Aggregates, SizeCapacityAndFill) {
  auto* list = new (design) ListOft_root(3);
  EXPECT_EQ(list->capacity(), 3u);
  EXPECT_EQ(list->size(), 0u);
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
