// Parameter data of the view associativities whose colour and line-font selects are read with
// the rule of negative pointers but written without the sign: a definition written here comes
// back as a colour or pattern number.
#include "../igeslib_parameters.h"

namespace {

template <class S>
S* read_select(IgeslibIO* io, const IgeslibField& field) {
  return igeslib_read_negative_select<S>(
      io,
      [](S* select, int n) -> bool {
        if constexpr (std::is_same_v<S, igs_entity_color>)
          return select->_color_number(n);
        else
          return select->_line_pattern(n);
      },
      field);
}

int unsigned_color(igs_entity_color* color) {
  if (igs_directory_entry* definition = color ? color->entity() : nullptr)
    return definition->de_number;
  return color && color->is_color_number() ? static_cast<int>(color->_color_number()) : 0;
}

int unsigned_font(igs_lineFont* font) {
  if (igs_directory_entry* definition = font ? font->entity() : nullptr)
    return definition->de_number;
  return font && font->is_line_pattern() ? static_cast<int>(font->_line_pattern()) : 0;
}

}  // namespace

// Form 4: both counts first, then the blocks, then the entities.
void igs_views_visible_color_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  int n = io->count(io->read_int());
  int m = io->count(io->read_int());
  auto* list = igeslib_new_list<ListOfigs_view_parameters>(n);
  if (list) blocks(list);
  for (int i = 0; i < n; ++i) {
    auto* block = new (LUMO.design()) igs_view_parameters;
    block->dev(igeslib_read_pointer<igs_view_entity>(
        io, {"blocks[].dev", &lumotype_igs_view_entity, {i, -1}}));
    block->lf(io->read_int());
    block->def(igeslib_read_pointer<igs_line_font_definition_entity>(
        io, {"blocks[].def", &lumotype_igs_line_font_definition_entity, {i, -1}}));
    block->cn(
        read_select<igs_entity_color>(io, {"blocks[].cn", &lumotype_igs_entity_color, {i, -1}}));
    block->lw(io->read_int());
    list->add(block);
  }
  auto* entities = igeslib_new_list<ListOfigs_directory_entry>(m);
  if (entities) de(entities);
  for (int i = 0; i < m; ++i)
    entities->add(igeslib_read_list_pointer<igs_directory_entry>(
        io, {"de[]", &lumotype_igs_directory_entry, {i, -1}}));
}

void igs_views_visible_color_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_view_parameters* list = blocks_ ? blocks() : nullptr;
  ListOfigs_directory_entry* entities = de_ ? de() : nullptr;
  io->write_int(igeslib_count_items(list, [](auto* block) { return block != nullptr; }));
  io->write_int(igeslib_count_items(entities, [](auto* entity) { return entity != nullptr; }));
  for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i) {
    igs_view_parameters* block = (*list)[i];
    if (!block) continue;
    igeslib_write_pointer(io, block->dev());
    io->write_int(block->lf());
    igeslib_write_pointer(io, block->def());
    io->write_int(unsigned_color(block->cn()));
    io->write_int(block->lw());
  }
  for (unsigned i = 0, n = entities ? entities->size() : 0; i < n; ++i)
    if (igs_directory_entry* entity = (*entities)[i]) igeslib_write_pointer(io, entity);
}

// Form 19: a view segment block of view, parameter, flag, colour, line font and weight each.
void igs_segmented_views_visible_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  int n = io->count(io->read_int());
  auto* list = igeslib_new_list<ListOfigs_view_segment_block>(n);
  if (list) blocks(list);
  for (int i = 0; i < n; ++i) {
    auto* block = new (LUMO.design()) igs_view_segment_block;
    block->pt(igeslib_read_list_pointer<igs_view_entity>(
        io, {"blocks[].pt", &lumotype_igs_view_entity, {i, -1}}));
    block->p(io->read_real());
    block->df(io->read_int());
    block->c(
        read_select<igs_entity_color>(io, {"blocks[].c", &lumotype_igs_entity_color, {i, -1}}));
    block->l(read_select<igs_lineFont>(io, {"blocks[].l", &lumotype_igs_lineFont, {i, -1}}));
    block->w(io->read_int());
    list->add(block);
  }
}

void igs_segmented_views_visible_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfigs_view_segment_block* list = blocks_ ? blocks() : nullptr;
  io->write_int(igeslib_count_items(list, [](auto* block) { return block != nullptr; }));
  for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i) {
    igs_view_segment_block* block = (*list)[i];
    if (!block) continue;
    igeslib_write_pointer(io, block->pt());
    io->write_real(block->p());
    io->write_int(block->df());
    io->write_int(unsigned_color(block->c()));
    io->write_int(unsigned_font(block->l()));
    io->write_int(block->w());
  }
}
