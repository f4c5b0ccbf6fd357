// Records whose layout follows another entity or a number of their own: associativity and
// attribute table instances after (and before) their definitions, tabular data, and the
// finite element results; each odd rule a case, and a small finite element model that writes
// back byte for byte.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "entities/entity_files.h"

using igeslib_test::Entry;
using igeslib_test::FileRead;
using igeslib_test::iges_file;
using igeslib_test::parameters_of;
using igeslib_test::written;

namespace {

// A line (DE 1) and a point (DE 3) stand first, for pointers to name.
std::vector<Entry> with_prefix(std::vector<Entry> entries) {
  entries.insert(entries.begin(),
                 {{110, 0, "110,0.,0.,0.,1.,0.,0.;"}, {116, 0, "116,1.,2.,3.,0;"}});
  return entries;
}

// An associativity definition of two classes: items an entity, a value and a value; and one
// item that is an integer or a negated pointer.
const Entry kAssociativityDefinition{302, 5001, "302,2,1,0,3,1,2,2,0,1,1,3;"};
const char* const kAssociativityInstance = "402,1,2,3,2.5,3HABC,-1,7;";
// An attribute table definition of form 1: a string, two integers, a logical and an entity.
const Entry kTableDefinition{322, 1, "322,1HT,5106,3,1,3,1,1HS,2,1,2,2,6,3,6,1,1;"};

// The entities' parameters as written with zeros kept, "" where the record comes back as read;
// the write after a second read gives the same bytes.
TEST(DefinitionsAndInstances, RecordsReadWriteAndSettle) {
  const struct {
    const char* name;
    std::vector<Entry> entries;  // DE 5, 7, ...
    unsigned reports;            // of the first read
    std::vector<std::string> out;
  } cases[] = {
      {"associativity instance after its definition",
       {kAssociativityDefinition, {402, 5001, kAssociativityInstance, -5}},
       0,
       {"", ""}},
      // It reads nothing: its parameters are taken for back-pointer lists. Written, it has
      // the definition's classes and no entries.
      {"associativity instance before its definition",
       {{402, 5001, "402,0,0;", -7}, kAssociativityDefinition},
       0,
       {"402,0,0;", ""}},
      {"associativity instance of no definition", {{402, 5001, "402;"}}, 1, {""}},
      {"attribute table definition of form 0", {{322, 0, "322,1HT,0,2,1,1,0,2,3,0;"}}, 0, {""}},
      {"attribute table definition of form 1", {kTableDefinition}, 0, {""}},
      // A value type of no value reads no pairs, whatever its count; an absent template is 0.
      {"attribute table definition of form 2",
       {{322, 2, "322,1HT,0,2,1,5,2,2,2,1,2.5,0;"}},
       0,
       {""}},
      {"tuple instance", {kTableDefinition, {422, 0, "422,1HX,5,6,1;", -5}}, 0, {"", ""}},
      {"table instance",
       {kTableDefinition, {422, 1, "422,2,1HX,5,6,1,1HY,7,8,0;", -5}},
       0,
       {"", ""}},
      // Before its definition the table sees no attributes: its rows are empty. The writer
      // follows the definition, read by then, and writes zeros for the values.
      {"table instance before its definition",
       {{422, 1, "422,2;", -7}, kTableDefinition},
       0,
       {"422,2,,0,0,0,,0,0,0;", ""}},
      {"tabular data of no variables", {{406, 11, "406,5,1,0,0,1.5,2.5;"}}, 0, {""}},
      {"tabular data of one variable", {{406, 11, "406,8,2,1,1,1,2,1.,2.,3.;"}}, 0, {""}},
      // np below 3 leaves a negative count of dependent values: none is read.
      {"tabular data of a short count", {{406, 11, "406,2,1,0,0;"}}, 0, {""}},
      // A node (DE 5) and a beam element on it (DE 7). The loops take the entity's nv, not
      // the element's numv.
      {"element results",
       {{134, 0, "134,1.,2.,3.,0;"},
        {136, 0, "136,1,1,5,4HBEAM;"},
        {148, 0, "148,0,1,0.5,1,0,1,3,7,1,1,1,2,1,2,9,1.,2.;"}},
       0,
       {"", "", ""}},
      {"element results of no layers", {{148, 3, "148,0,1,0.5,4,0,1,3,0,1,0,1,1,2,0;"}}, 0, {""}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<Entry> entries = with_prefix(c.entries);
    FileRead read(iges_file(entries));
    ASSERT_EQ(read.size(), entries.size());
    EXPECT_EQ(read.reports.count(), c.reports) << read.reports.text();
    std::string first = written(read, 0);
    for (std::size_t i = 0; i < c.out.size(); ++i)
      EXPECT_EQ(parameters_of(first, static_cast<int>(2 * i + 5)),
                c.out[i].empty() ? c.entries[i].parameters : c.out[i])
          << "entity " << 2 * i + 5;
    FileRead again(first);
    EXPECT_EQ(written(again, 0), first);
  }
}

TEST(DefinitionsAndInstances, ValuesFollowTheDefinition) {
  FileRead read(iges_file(with_prefix({kAssociativityDefinition,
                                       {402, 5001, kAssociativityInstance, -5},
                                       kTableDefinition,
                                       {422, 1, "422,2,1HX,5,6,1,1HY,7,8,0;", -9}})));
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  auto* instance = read.entity<igs_associativity_instance_entity>(3);
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(instance->structure(), read.entity<igs_associativity_definition_entity>(2));
  EXPECT_EQ(instance->form(), 5001);
  EXPECT_EQ((*instance->number_class_entries())[1], 2);
  ListOfListOfigs_datum* first = (*instance->parameter_data())[0];
  ASSERT_EQ(first->size(), 1u);
  ListOfigs_datum* items = (*first)[0];
  EXPECT_EQ((*items)[0]->_directory_entry(), read.entity<igs_point_entity>(1));
  EXPECT_TRUE((*items)[1]->is_float_val());
  EXPECT_EQ((*items)[2]->_str_val(), std::string("ABC"));
  ListOfListOfigs_datum* second = (*instance->parameter_data())[1];
  EXPECT_EQ((*(*second)[0])[0]->_directory_entry(), read.entity<igs_line_entity>(0));
  EXPECT_EQ((*(*second)[1])[0]->_int_val(), 7);

  auto* table = read.entity<igs_table_instance_entity>(5);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->na(), 3);
  ASSERT_EQ(table->nr(), 2);
  ListOfListOfigs_datum* row = (*table->av())[1];
  EXPECT_EQ((*(*row)[0])[0]->_str_val(), std::string("Y"));
  EXPECT_EQ((*(*row)[1])[1]->_int_val(), 8);
  EXPECT_TRUE((*(*row)[2])[0]->is_bool_val());
}

// Nodes, beam, triangle and quadrilateral elements, the nodal results on them and the element
// results of one, stated record by record: read with every pointer on its object and written
// back as stated.
TEST(DefinitionsAndInstances, AFiniteElementModelWritesBackAsStated) {
  std::vector<Entry> entries;
  const double corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  for (const auto& c : corners)
    entries.push_back({134, 0,
                       "134," + std::to_string(static_cast<int>(c[0])) + ".," +
                           std::to_string(static_cast<int>(c[1])) + ".,0.,0;"});
  entries.push_back({136, 0, "136,1,2,1,3,4HBEAM;"});      // DE 9
  entries.push_back({136, 0, "136,2,3,1,3,5,3HTRI;"});     // DE 11
  entries.push_back({136, 0, "136,5,4,1,3,5,7,4HQUAD;"});  // DE 13
  entries.push_back({212, 0, "212,0;"});                   // DE 15
  // A result's node number is its node's subscript, 0 for these nodes.
  entries.push_back({146, 1, "146,15,1,0.5,2,2,0,1,0.1,0.2,0,3,0.3,0.4;"});
  entries.push_back({148, 1, "148,15,1,0.5,1,0,1,2,11,2,1,1,1,3,1,0.7;"});
  FileRead read(iges_file(entries));
  ASSERT_EQ(read.size(), entries.size());
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  auto* quad = read.entity<igs_finite_element_entity>(6);
  ASSERT_NE(quad, nullptr);
  EXPECT_EQ(quad->itop(), igs_topology_type_LQUAD);
  ASSERT_EQ(quad->de()->size(), 4u);
  EXPECT_EQ((*quad->de())[3], read.entity<igs_node_entity>(3));
  auto* results = read.entity<igs_nodal_results_entity>(8);
  ASSERT_EQ(results->nn(), 2);
  EXPECT_EQ((*results->results())[1]->np(), read.entity<igs_node_entity>(1));
  auto* elements = read.entity<igs_element_results_entity>(9);
  igs_fem_element* element = (*elements->fem_elements())[0];
  EXPECT_EQ(element->ep(), read.entity<igs_finite_element_entity>(5));
  EXPECT_EQ((*(*element->v())[0])[0]->_element(0), 0.7);

  std::string bytes = written(read, 0);
  for (unsigned i = 0; i < entries.size(); ++i)
    EXPECT_EQ(parameters_of(bytes, static_cast<int>(2 * i + 1)), entries[i].parameters);
  FileRead again(bytes);
  EXPECT_EQ(written(again, 0), bytes);
}

// The writer of nodal displacements leaves out each node's number, which the reader drops: its
// record reads back one parameter out of step.
TEST(DefinitionsAndInstances, NodalDisplacementsAreWrittenWithoutTheNodeNumbers) {
  FileRead read(iges_file(with_prefix({{134, 0, "134,1.,2.,3.,0;"},
                                       {212, 0, "212,0;"},
                                       {138, 0, "138,1,7,1,12,5,1.,2.,3.,4.,5.,6.;"}})));
  EXPECT_EQ(read.reports.count(), 0u) << read.reports.text();
  auto* displacement = read.entity<igs_nodal_displacement_and_rotation_entity>(4);
  ASSERT_NE(displacement, nullptr);
  igs_node_case* node = (*displacement->node_cases())[0];
  EXPECT_EQ(node->np(), read.entity<igs_node_entity>(2));
  EXPECT_EQ((*node->rotation())[0]->x(), 4.0);
  EXPECT_EQ(parameters_of(written(read, 0), 9), "138,1,7,1,5,1.,2.,3.,4.,5.,6.;");
}

}  // namespace
