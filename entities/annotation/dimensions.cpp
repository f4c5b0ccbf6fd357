// The selects of the annotation entities that take their member from the entity type of what
// they name, not from its class: a 106 of another form than the member's class sets the member
// to null, and a type outside the list leaves the select without a member.
#include "../igeslib_parameters.h"

namespace {

template <class S>
void write_select(IgeslibIO* io, S* select) {
  igeslib_write_pointer(io, igeslib_select_entity(select));
}

// A boundary or island of a sectioned area; 0 names the first entity.
igs_definition_curve* definition_curve(IgeslibIO* io, const IgeslibField& field) {
  auto* curve = new (LUMO.design()) igs_definition_curve;
  int n = io->read_int();
  auto* geometry = lumo_cast<igs_geometric_entity>(igeslib_file_entity(n));
  switch (geometry ? geometry->entity_type() : 0) {
    case 100:
      curve->_circular_arc_entity(lumo_cast<igs_circular_arc_entity>(geometry));
      break;
    case 102:
      curve->_composite_curve_entity(lumo_cast<igs_composite_curve_entity>(geometry));
      break;
    case 104:
      curve->_conic_arc_entity(lumo_cast<igs_conic_arc_entity>(geometry));
      break;
    case 106:
      curve->_simple_closed_planar_curve_entity(
          lumo_cast<igs_simple_closed_planar_curve_entity>(geometry));
      break;
    case 112:
      curve->_parametric_spline_curve_entity(
          lumo_cast<igs_parametric_spline_curve_entity>(geometry));
      break;
    case 126:
      curve->_rational_bspline_curve_entity(lumo_cast<igs_rational_bspline_curve_entity>(geometry));
      break;
    default:
      break;
  }
  igeslib_note_pointer(io, n, curve->entity(), field);
  return curve;
}

}  // namespace

// 218 form 0: there is no test for 0, which names the first entity.
void igs_ordinate_dimension_entity_with_witness_or_leader_entity::pdread_dewit(IgeslibIO* io) {
  auto* select = new (LUMO.design()) igs_witness_or_leader;
  dewit(select);
  int n = io->read_int();
  auto* named = lumo_cast<igs_annotation_entity>(igeslib_file_entity(n));
  int type = named ? named->entity_type() : 0;
  if (type == 106)
    select->_witness_line_entity(lumo_cast<igs_witness_line_entity>(named));
  else if (type == 214)
    select->_leader_arrow_entity(lumo_cast<igs_leader_arrow_entity>(named));
  igeslib_note_pointer(io, n, select->entity(), {"dewit", &lumotype_igs_witness_or_leader});
}

void igs_ordinate_dimension_entity_with_witness_or_leader_entity::pdwrite_dewit(IgeslibIO* io) {
  write_select(io, dewit());
}

// 220: 0 is no select at all.
void igs_point_dimension_entity::pdread_degeom(IgeslibIO* io) {
  int n = io->read_int();
  if (n == 0) return;
  auto* select = new (LUMO.design()) igs_geometry_ptr;
  degeom(select);
  auto* geometry = lumo_cast<igs_geometric_entity>(igeslib_file_entity(n));
  int type = geometry ? geometry->entity_type() : 0;
  if (type == 100)
    select->_circular_arc_entity(lumo_cast<igs_circular_arc_entity>(geometry));
  else if (type == 102)
    select->_composite_curve_entity(lumo_cast<igs_composite_curve_entity>(geometry));
  else if (type == 106)
    select->_simple_closed_planar_curve_entity(
        lumo_cast<igs_simple_closed_planar_curve_entity>(geometry));
  igeslib_note_pointer(io, n, select->entity(), {"degeom", &lumotype_igs_geometry_ptr});
}

void igs_point_dimension_entity::pdwrite_degeom(IgeslibIO* io) { write_select(io, degeom()); }

void igs_sectioned_area_entity::pdread_bndp(IgeslibIO* io) {
  bndp(definition_curve(io, {"bndp", &lumotype_igs_definition_curve}));
}

void igs_sectioned_area_entity::pdwrite_bndp(IgeslibIO* io) { write_select(io, bndp()); }

// An island that fits no member keeps its place in the list; the writer leaves out the islands
// that name no curve, count and all.
void igs_sectioned_area_entity::pdread_islpt(IgeslibIO* io) {
  int n = io->count(io->read_int());
  auto* islands = igeslib_new_list<ListOfigs_definition_curve>(n);
  if (islands) islpt(islands);
  for (int i = 0; i < n; ++i)
    islands->add(definition_curve(io, {"islpt[]", &lumotype_igs_definition_curve, {i, -1}}));
}

void igs_sectioned_area_entity::pdwrite_islpt(IgeslibIO* io) {
  ListOfigs_definition_curve* islands = islpt_ ? islpt() : nullptr;
  auto named = [](igs_definition_curve* island) {
    return igeslib_select_entity(island) != nullptr;
  };
  io->write_int(igeslib_count_items(islands, named));
  for (unsigned i = 0, n = islands ? islands->size() : 0; i < n; ++i)
    if (named((*islands)[i])) write_select(io, (*islands)[i]);
}
