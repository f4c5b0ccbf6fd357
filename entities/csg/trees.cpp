// Parameter data of the Boolean tree, whose operands are negated pointers among operator codes,
// and of the solid assembly, whose matrices run parallel to its members.
#include "../igeslib_parameters.h"

namespace {

// The entity that a negated pointer v names: place (-1 - v) / 2 of the file, null past it.
igs_constructive_solid_geometry_entity* negated(int v) {
  int place = (-1 - v) / 2;
  if (place < 0) return nullptr;
  return lumo_cast<igs_constructive_solid_geometry_entity>(igeslib_file_entity(2 * place + 1));
}

igs_boolean_ops* operand(IgeslibIO* io, int v, int i) {
  auto* op = new (LUMO.design()) igs_boolean_ops;
  igs_constructive_solid_geometry_entity* named = negated(v);
  op->_constructive_solid_geometry_entity(named);
  // An operand is a negated pointer: a positive one or an even one is a fault of the file.
  if ((!named || v >= 0 || (v & 1) == 0) && io->notes && !io->record_failed)
    io->note(IgeslibNoteKind::pointer,
             {"operands[]", &lumotype_igs_constructive_solid_geometry_entity, {i, -1}}, v, -1);
  return op;
}

int negated_number(igs_boolean_ops* op, int none) {
  igs_directory_entry* entity = op ? op->entity() : nullptr;
  return entity ? -entity->de_number : none;
}

}  // namespace

// The first two items are operands whatever their sign, and whatever the count says; after
// them a negative value is an operand and any other an operator code. The post-order is kept
// as it stands, unchecked.
void igs_boolean_tree_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  int n = io->count(io->read_int());
  auto* list = new (LUMO.design()) ListOfigs_boolean_ops(igeslib_reserve(n < 2 ? 2 : n));
  operands(list);
  list->add(operand(io, io->read_int(), 0));
  list->add(operand(io, io->read_int(), 1));
  for (int i = 2; i < n; ++i) {
    int v = io->read_int();
    if (v < 0) {
      list->add(operand(io, v, i));
    } else {
      auto* code = new (LUMO.design()) igs_boolean_ops;
      code->_boolean_op_code(v);
      list->add(code);
    }
  }
}

// A first or second operand that names no entity is written as 1, which names none again; a
// later one as 0, which reads back as the null operator and writes again as 0. A list shorter
// than two is written with the count 2, as the list of two that it reads back as.
void igs_boolean_tree_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_boolean_ops* list = operands_ ? operands() : nullptr;
  unsigned n = list ? list->size() : 0;
  io->write_int(static_cast<int>(n < 2 ? 2 : n));
  for (unsigned i = 0; i < n || i < 2; ++i) {
    igs_boolean_ops* op = i < n ? (*list)[i] : nullptr;
    if (i >= 2 && op && op->is_boolean_op_code())
      io->write_int(static_cast<int>(op->_boolean_op_code()));
    else
      io->write_int(negated_number(op, i < 2 ? 1 : 0));
  }
}

// The members as bare pointers, then a guarded matrix pointer for each: 0 is no matrix.
void igs_solid_assembly_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  int n = io->count(io->read_int());
  auto* members =
      new (LUMO.design()) ListOfigs_constructive_solid_geometry_entity(igeslib_reserve(n));
  ptr(members);
  for (int i = 0; i < n; ++i)
    members->add(igeslib_read_list_pointer<igs_constructive_solid_geometry_entity>(
        io, {"ptr[]", &lumotype_igs_constructive_solid_geometry_entity, {i, -1}}));
  auto* matrices = new (LUMO.design()) ArrayOfigs_transformation_matrix_entity(igeslib_reserve(n));
  ptrm(matrices);
  for (int i = 0; i < n; ++i)
    matrices->put(igeslib_read_pointer<igs_transformation_matrix_entity>(
                      io, {"ptrm[]", &lumotype_igs_transformation_matrix_entity, {i, -1}}),
                  static_cast<unsigned>(i));
}

// The count comes from the members; a matrix array of another length is cut or filled with 0.
void igs_solid_assembly_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_constructive_solid_geometry_entity* members = ptr_ ? ptr() : nullptr;
  unsigned n = members ? members->size() : 0;
  io->write_int(static_cast<int>(n));
  for (unsigned i = 0; i < n; ++i) igeslib_write_pointer(io, (*members)[i]);
  ArrayOfigs_transformation_matrix_entity* matrices = ptrm_;
  for (unsigned i = 0; i < n; ++i) igeslib_write_pointer(io, matrices ? (*matrices)[i] : nullptr);
}
