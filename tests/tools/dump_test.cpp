// The dump's walk of the dictionary: every class of the registry shows every attribute of its
// class, with the value stored; each kind of value is written as the JSON form says.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <set>
#include <string>

#include "dump.h"
#include "igeslib_registry.h"
#include "support/model_support.h"

namespace {

using igeslib_tools::dump_entity_json;
using igeslib_tools::real_text;

// Stores a value made from k into the attribute and answers how the dump must write it;
// empty for an attribute that holds a reference, which stays null (or an empty list).
std::string store(LumoObject* object, LumoAttribute* attribute, int k) {
  LumoDomain* domain = attribute->slotDomain();
  LumoType* type = domain ? domain->type() : nullptr;
  switch (type ? type->kind : LumoKind::object) {
    case LumoKind::integer: {
      int value = 100 + k;
      EXPECT_TRUE(object->putData(attribute, 0, &value, lumotype_int));
      return std::to_string(value);
    }
    case LumoKind::real: {
      double value = k + 0.25;
      EXPECT_TRUE(object->putData(attribute, 0, &value, lumotype_double));
      return std::to_string(k) + ".25";
    }
    case LumoKind::single: {
      double value = k + 0.5;
      EXPECT_TRUE(object->putData(attribute, 0, &value, lumotype_double));
      return std::to_string(k) + ".5";
    }
    case LumoKind::text: {
      std::string value = "t" + std::to_string(k);
      EXPECT_TRUE(object->putString(value.c_str(), attribute, 0));
      return '"' + value + '"';
    }
    case LumoKind::boolean: {
      char value = 1;
      EXPECT_TRUE(object->putData(attribute, 0, &value, lumotype_LumoBoolean));
      return "true";
    }
    case LumoKind::enumeration: {
      ListOfLumoAttribute* enumerators = domain->typeImmediateAttributes();
      const char* last = (*enumerators)[enumerators->size() - 1]->name;
      EXPECT_TRUE(object->putString(last, attribute, 0));
      return '"' + std::string(last) + '"';
    }
    case LumoKind::object:
      break;
  }
  return "";
}

TEST(Dump, EveryRegistryClassShowsEveryAttributeWithItsValue) {
  ScratchDesign design("dump_registry");
  LUMO.useDesign(design);
  IgeslibEntityTable registry;
  std::set<LumoDomain*> seen;
  unsigned classes = 0;
  for (unsigned r = 0; r < registry.count; ++r) {
    LumoDomain* domain = igeslib_get_domain(registry.rows[r]);
    if (!domain || !seen.insert(domain).second) continue;
    if (domain->isAbstract()) continue;
    SCOPED_TRACE(domain->name());
    auto* entity = lumo_cast<igs_directory_entry>(domain->pnewInstance());
    ASSERT_NE(entity, nullptr);
    ++classes;
    auto* entities = new (design.design) ListOfigs_directory_entry;
    entities->add(entity);

    // The class's own attributes as its compiled descriptor binds them: the dump walks the
    // embedded schemas, and must find every one of them there.
    lumo_vector all;
    domain->allAttributes(all);
    std::vector<std::pair<std::string, std::string>> expected;
    int k = 0;
    for (void* a : all) {
      auto* attribute = static_cast<LumoAttribute*>(a);
      expected.emplace_back(attribute->name, store(entity, attribute, ++k));
    }
    std::string json = dump_entity_json(entity, entities);
    ASSERT_EQ(json.rfind("{\"de\": 1, ", 0), 0u) << json;
    std::size_t at = json.find("\"attributes\": {");
    ASSERT_NE(at, std::string::npos) << json;
    for (const auto& [name, value] : expected) {
      std::size_t found = json.find("\"" + name + "\":", at);
      ASSERT_NE(found, std::string::npos) << name << " in " << json;
      at = found + name.size() + 3;
      if (value.empty()) continue;
      EXPECT_EQ(json.compare(at, value.size(), value), 0) << name << " in " << json;
      EXPECT_NE(std::string(",}").find(json[at + value.size()]), std::string::npos)
          << name << " in " << json;
    }
  }
  EXPECT_GE(classes, 150u);  // the registry's distinct classes, as it stands
  LUMO.useDesign(nullptr);
}

// One curve with a value of every kind around it: a reference, selects of an enumerator and
// of an entity, an array of reals, a list of structures, an enumeration.
TEST(Dump, ValuesOfEveryKindAreWrittenAsTheirDomainSays) {
  ScratchDesign design("dump_kinds");
  LUMO.useDesign(design);
  auto* matrix = new (design.design) igs_transformation_matrix_entity;
  auto* colour = new (design.design) igs_color_definition_entity;
  auto* curve = new (design.design) igs_rational_bspline_curve_entity;
  curve->transformation(matrix);
  auto* font = new (design.design) igs_lineFont;
  font->_line_pattern(igs_line_pattern_dashed);
  curve->line_font(font);
  auto* color = new (design.design) igs_entity_color;
  color->_color_definition_entity(colour);
  curve->color(color);
  curve->t()->put(0.1, 0).put(-0.0, 1).put(1e300, 2);
  curve->control_points()->add(new (design.design) igs_coordinate(1, 2.5, -3));
  curve->prop2(igs_property2_closed);
  curve->label("A\"\\\xe9");
  auto* entities = new (design.design) ListOfigs_directory_entry;
  entities->add(matrix).add(colour).add(curve);

  std::string json = dump_entity_json(curve, entities);
  for (
      const char* part : {
          R"({"de": 5, "type": 126, "form": 0, "class": "rational_bspline_curve_entity", )",
          R"("label":"A\"\\\u00e9")",
          R"("associations":[])",
          R"("transformation":{"de":1,"class":"transformation_matrix_entity"})",
          R"("view":null)",
          R"("color":{"choice":"_color_definition_entity","value":{"de":3,"class":"color_definition_entity"}})",
          R"("line_font":{"choice":"_line_pattern","value":"dashed"})",
          R"("prop1":null,"prop2":"closed")",
          R"("t":[0.1,-0.0,1e+300])",
          R"("control_points":[{"class":"coordinate","attributes":{"x":1.0,"y":2.5,"z":-3.0}}])",
      }) {
    EXPECT_NE(json.find(part), std::string::npos) << part << "\nin " << json;
  }
  LUMO.useDesign(nullptr);
}

TEST(Dump, RealsReadBackExactly) {
  const double doubles[] = {
      0.1, 1.0 / 3, -0.0, 5e-324, 1.7976931348623157e308, 123456789012345678.0};
  for (double value : doubles) {
    std::string text = real_text(value);
    double back = std::strtod(text.c_str(), nullptr);
    EXPECT_EQ(back, value) << text;
    EXPECT_EQ(std::signbit(back), std::signbit(value)) << text;
    EXPECT_NE(text.find_first_of(".e"), std::string::npos) << text;
  }
  EXPECT_EQ(real_text(0.1f), "0.1");
  EXPECT_EQ(std::strtof(real_text(1.0f / 3).c_str(), nullptr), 1.0f / 3);
  EXPECT_EQ(real_text(std::numeric_limits<double>::quiet_NaN()), "NaN");
  EXPECT_EQ(real_text(-std::numeric_limits<double>::infinity()), "-Infinity");
}

}  // namespace
