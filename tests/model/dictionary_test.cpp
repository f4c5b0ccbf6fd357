// The embedded dictionary: the eight schema designs, their figures, the
// enumerations and selects they describe, and the marker lists.
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

// Enumerations: schema, name, enumerators in order.
const EnumRow kEnums[] = {
    {"iges_annotation_schema", "fixed_or_variable_display", "fixed_length, variable_length"},
    {"iges_annotation_schema", "justification_code", "none, right, center, left"},
    {"iges_annotation_schema", "mirror_flag", "none, perpendicular, base_line"},
    {"iges_annotation_schema", "rotate_flag", "horizontial, vertical"},
    {"iges_boundary_representation_schema", "edge_type", "edge, vertex"},
    {"iges_constructive_solid_geometry_schema", "boolean_op_code", "null, union, intersection, difference"},
    {"iges_curve_and_surface_geometry_schema", "boundedSurface", "trim_curves, parameter_space_curves"},
    {"iges_curve_and_surface_geometry_schema", "creationMethod", "unspecified, projection, intersection, isoparametric"},
    {"iges_curve_and_surface_geometry_schema", "curveType", "null, linear, quadratic, cubic, wilson_fowler, modified_wilson_fowler, bspline"},
    {"iges_curve_and_surface_geometry_schema", "offsetFlag", "null, uniform, varies, as_function"},
    {"iges_curve_and_surface_geometry_schema", "patchType", "unspecified, cartesian"},
    {"iges_curve_and_surface_geometry_schema", "property1", "nonplanar, planar"},
    {"iges_curve_and_surface_geometry_schema", "property2", "open, closed"},
    {"iges_curve_and_surface_geometry_schema", "property3", "rational, polynomial"},
    {"iges_curve_and_surface_geometry_schema", "property4", "nonperiodic, periodic"},
    {"iges_curve_and_surface_geometry_schema", "taperedOffset", "null, arcLength, parameter"},
    {"iges_curve_and_surface_geometry_schema", "trimCurveRep", "unspecified, model_space, parameter_space, equal"},
    {"iges_structure_schema", "arrowhead_orientation", "point_in, point_out"},
    {"iges_structure_schema", "clipping_indicator", "none, back_plane, front_plane, both"},
    {"iges_structure_schema", "cornering_code", "rounded, squared"},
    {"iges_structure_schema", "data_layer_flag", "unspecified, top, middle, bottom, ordered"},
    {"iges_structure_schema", "decimal_symbol", "period, comma"},
    {"iges_structure_schema", "dimension_type", "ordinary, ref, basic"},
    {"iges_structure_schema", "extension_flag", "none, one_half, by_parameter"},
    {"iges_structure_schema", "functionFlag", "unspecified, electrical, fluid"},
    {"iges_structure_schema", "function_flag", "not_specified, electrical_signal, fluid_flow_path"},
    {"iges_structure_schema", "justification_flag", "center, left, right"},
    {"iges_structure_schema", "line_or_point_grid", "points, lines"},
    {"iges_structure_schema", "position", "none, before, after, above, below"},
    {"iges_structure_schema", "property_type", "none, youngs_modulus, poisson_ratio, shear_modulus, material_matrix, mass_density, thermal_expansion, laminate, bending, transverse, bending_coupling, material_coordinate, nodal_load_constraint, beam_elements, beam_end, offsets, stress_recovery, element_thickness, non_structural_mass, thermal_conductivity, heat_capacity, convective_film, radiation_parameters"},
    {"iges_structure_schema", "restriction_flag", "none, inside, outside"},
    {"iges_structure_schema", "results_reporting_flag", "node, centriod, volume, gauss"},
    {"iges_structure_schema", "text_alignment", "horizontal, parallel"},
    {"iges_structure_schema", "text_level", "none, above, below"},
    {"iges_structure_schema", "topology_type", "null, BEAM, LTRIA, PTRIA, CTRIA, LQUAD, PQUAD, CQUAD, PTSW, CTSW, PTS, CTS, LSOT, PSOT, LSOW, PSOW, CSOW, LSO, PSO, CSO, ALLIN, APLIN, ACLIN, ALTRIA, APTRIA, ALQUAD, APQUAD, SPR, GSPR, DAMP, GDAMP, MASS, RBDY, TBEAM"},
    {"iges_structure_schema", "type_flag", "not_specified, logical_design, physical_design"},
    {"iges_structure_schema", "type_of_flow", "not_specified, logical_flow, physical_flow"},
    {"iges_structure_schema", "up_down_flag", "down, up"},
    {"iges_structure_schema", "variable_type", "none, temperature, pressure, relative_humidity, rate_of_strain, velocity, acceleration, time, strain"},
    {"iges_types_schema", "blank_status", "visible, invisible"},
    {"iges_types_schema", "color_number", "undefined, black, red, green, blue, yellow, magenta, cyan, white"},
    {"iges_types_schema", "draftingStandardCode", "none, ISO, AFNOR, ANSI, BSI, CSA, DIN, JIS"},
    {"iges_types_schema", "hierarchy_flag", "all, none, individual"},
    {"iges_types_schema", "line_pattern", "none, solid, dashed, phantom, centerline, dotted"},
    {"iges_types_schema", "subordinate_switch", "independent, physicallyDependent, logicallyDependent, both"},
    {"iges_types_schema", "unitFlag", "none, inches, millimeters, unspecified, feet, miles, meters, kilometers, mils, microns, centimeters, microinches"},
    {"iges_types_schema", "use_flag", "geometry, annotation, definition, other, logical_positional, parametric"},
    {"iges_types_schema", "variable", "no_value, int, float, character_string, pointer, not_used, bool"},
};
// Selects: schema, name, choices in order.
const EnumRow kSelects[] = {
    {"iges_annotation_schema", "definition_curve", "_circular_arc_entity, _composite_curve_entity, _conic_arc_entity, _simple_closed_planar_curve_entity, _parametric_spline_curve_entity, _rational_bspline_curve_entity"},
    {"iges_annotation_schema", "font_code", "_int_val, _text_font_definition_entity"},
    {"iges_annotation_schema", "geometry_ptr", "_circular_arc_entity, _composite_curve_entity, _simple_closed_planar_curve_entity"},
    {"iges_annotation_schema", "witness_or_leader", "_witness_line_entity, _leader_arrow_entity"},
    {"iges_boundary_representation_schema", "model_space_curve", "_circular_arc_entity, _composite_curve_entity, _conic_arc_entity, _planar_piecewise_curve_entity, _piecewise_curve_entity, _simple_closed_planar_curve_entity, _line_entity, _parametric_spline_curve_entity, _rational_bspline_curve_entity, _offset_curve_entity"},
    {"iges_boundary_representation_schema", "surface_type", "_parametric_spline_surface_entity, _ruled_surface_entity, _surface_of_revolution_entity, _tabulated_cylinder_entity, _rational_bspline_surface_entity, _offset_surface_entity, _plane_surface_entity, _right_circular_cylindrical_surface_entity, _right_circular_conical_surface_entity, _spherical_surface_entity, _toroidal_surface_entity"},
    {"iges_boundary_representation_schema", "vertex_or_edge", "_vertex_list_entity, _edge_list_entity"},
    {"iges_constructive_solid_geometry_schema", "boolean_ops", "_constructive_solid_geometry_entity, _boolean_op_code"},
    {"iges_curve_and_surface_geometry_schema", "geometric_or_connect_point", "_geometric_entity, _connect_point_entity"},
    {"iges_curve_and_surface_geometry_schema", "piecewise_representation", "_coordinate, _sextuple"},
    {"iges_structure_schema", "base_entity", "_associativity_group_type_entity, _point_entity, _line_entity, _circular_arc_entity, _conic_arc_entity, _parametric_spline_curve_entity, _rational_bspline_curve_entity, _annotation_entity, _rectangular_array_subfigure_instance_entity, _circular_array_subfigure_instance_entity, _subfigure_definition_entity"},
    {"iges_structure_schema", "definition_reference", "_network_subfigure_definition_entity, _external_reference_entity"},
    {"iges_structure_schema", "geometry_entities", "_geometric_entity, _constructive_solid_geometry_entity"},
    {"iges_structure_schema", "owner", "_network_subfigure_instance_entity, _network_subfigure_definition_entity"},
    {"iges_types_schema", "associativities", "_associativity_entity, _general_note_entity, _text_display_template_entity"},
    {"iges_types_schema", "datum", "_int_val, _float_val, _str_val, _directory_entry, _bool_val"},
    {"iges_types_schema", "entity_color", "_color_number, _color_definition_entity"},
    {"iges_types_schema", "entity_level", "_definition_levels_entity, _int_val"},
    {"iges_types_schema", "entity_view", "_view_entity, _views_visible_entity, _views_visible_color_entity, _segmented_views_visible_entity"},
    {"iges_types_schema", "lineFont", "_line_pattern, _line_font_definition_entity"},
    {"iges_types_schema", "properties", "_property_entity, _attribute_table_entity"},
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

TEST(Dictionary, EnumerationsListTheirEnumeratorsInOrder) {
  load_model();
  ASSERT_EQ(sizeof kEnums / sizeof kEnums[0], 48u);
  for (const EnumRow& e : kEnums) {
    SCOPED_TRACE(e.name);
    LumoDomain* domain = schema_domain(e.schema, e.name);
    ASSERT_NE(domain, nullptr);
    EXPECT_TRUE(domain->isEnumeration());
    EXPECT_EQ(names_of(domain->typeImmediateAttributes()), e.members);
    // The compiled descriptor binds the same enumerators.
    ASSERT_NE(LumoType::find(e.name), nullptr);
    EXPECT_EQ(names_of(LumoType::find(e.name)->acquireDomain()->typeImmediateAttributes()),
              e.members);
  }
}

TEST(Dictionary, SelectsListTheirChoicesInOrder) {
  load_model();
  ASSERT_EQ(sizeof kSelects / sizeof kSelects[0], 21u);
  for (const EnumRow& s : kSelects) {
    SCOPED_TRACE(s.name);
    LumoDomain* domain = schema_domain(s.schema, s.name);
    ASSERT_NE(domain, nullptr);
    EXPECT_EQ(names_of(domain->typeImmediateAttributes()), s.members);
    EXPECT_EQ(names_of(LumoType::find(s.name)->acquireDomain()->typeImmediateAttributes()),
              s.members);
  }
}

TEST(Dictionary, MarkerListsAndAbstractDomains) {
  load_model();
  struct Marker {
    const char* design;
    int abstract, optionals;  // -1: no such list
  };
  const Marker markers[] = {
      {"lintel_extensions", -1, -1},
      {"header_section_schema", -1, 3},
      {"iges_annotation_schema", 3, 8},
      {"iges_boundary_representation_schema", 1, -1},
      {"iges_constructive_solid_geometry_schema", 1, -1},
      {"iges_curve_and_surface_geometry_schema", 3, 6},
      {"iges_structure_schema", 14, 4},
      {"iges_types_schema", 1, 1},
  };
  for (const Marker& m : markers) {
    SCOPED_TRACE(m.design);
    LumoDesign* design = LUMO.findDesign(m.design);
    LumoObject* abstract = design->findName("_____LUMO_ABSTRACT");
    LumoObject* optionals = design->findName("_____LUMO_OPTIONALS");
    EXPECT_EQ(abstract ? static_cast<int>(abstract->size()) : -1, m.abstract);
    EXPECT_EQ(optionals ? static_cast<int>(optionals->size()) : -1, m.optionals);
  }
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

TEST(Dictionary, DomainsAreMatchedToDescriptorsByName) {
  load_model();
  LumoDomain* arc = schema_domain("iges_curve_and_surface_geometry_schema", "circular_arc_entity");
  ASSERT_NE(arc, nullptr);
  EXPECT_EQ(arc->type(), &*lumotype_igs_circular_arc_entity);
  EXPECT_EQ(names_of(arc->supertypes()->size() ? arc->typeImmediateAttributes() : nullptr)
                .substr(0, 22),
            "line_font, subordinate");
  ASSERT_EQ(arc->supertypes()->size(), 1u);
  EXPECT_STREQ((*arc->supertypes())[0]->name(), "geometric_entity");
  LumoAttribute* x1 = arc->findTypeAttribute("x1");
  ASSERT_NE(x1, nullptr);
  EXPECT_GE(x1->offset(), 0);
  EXPECT_STREQ(x1->slotDomain()->name(), "double");

  LumoDomain* flow = schema_domain("iges_structure_schema", "flow_entity");
  LumoDomain* structure = schema_domain("iges_structure_schema", "structure_entity");
  ASSERT_NE(flow, nullptr);
  EXPECT_TRUE(flow->isSubtypeOf(structure));
  EXPECT_EQ(schema_domain("iges_types_schema", "use_flag")->typeImmediateAttributes()->size(),
            6u);
}

}  // namespace
