// The entity-type registry: loaded from the generated static table for every run, searched by
// bisection, and grown by the pairs a file brings that the table doesn't list.
#include <cstdlib>
#include <cstring>

#include "igeslib.h"
#include "igeslib_entity_rows.h"
#include "igeslib_registry.h"

static_assert(igeslib_other_forms == igeslib_any_form);

namespace {

// Room kept free at the start so that the common file never reallocates.
constexpr unsigned kSpareRows = 30;

LumoDomain* domain_of(LumoTypePtr* type) {
  if (!type) return nullptr;
  return (*type)->domain ? (*type)->domain : (*type)->acquireDomain();
}

// The order of the rows: entity, then form, by subtraction as the file's numbers stand.
int compare_rows(const void* a, const void* b) {
  const IgeslibEntityData* x = *static_cast<IgeslibEntityData* const*>(a);
  const IgeslibEntityData* y = *static_cast<IgeslibEntityData* const*>(b);
  if (x->entity != y->entity) return x->entity < y->entity ? -1 : 1;
  if (x->form != y->form) return x->form < y->form ? -1 : 1;
  return 0;
}

}  // namespace

IgeslibEntityTable::IgeslibEntityTable() {
  capacity = igeslib_static_entity_count + kSpareRows;
  rows = new IgeslibEntityData*[capacity];
  for (unsigned i = 0; i < igeslib_static_entity_count; ++i) {
    const IgeslibStaticEntityRow& from = igeslib_static_entity_table[i];
    rows[i] = new IgeslibEntityData{from.entity, from.form, domain_of(from.type), from.nonstd, 0};
  }
  count = igeslib_static_entity_count;
}

IgeslibEntityTable::~IgeslibEntityTable() {
  for (unsigned i = 0; i < count; ++i) delete rows[i];
  delete[] rows;
}

IgeslibEntityData* IgeslibEntityTable::find_entity_data(int entity, int form) const {
  unsigned low = 0, high = count;
  while (low < high) {
    unsigned mid = low + (high - low) / 2;
    IgeslibEntityData* row = rows[mid];
    if (row->entity == entity && row->form == form) return row;
    if (row->entity < entity || (row->entity == entity && row->form < form))
      low = mid + 1;
    else
      high = mid;
  }
  return nullptr;
}

LumoDomain* IgeslibEntityTable::find_domain(int entity) const {
  if (IgeslibEntityData* row = find_entity_data(entity, igeslib_other_forms)) return row->domain;
  return domain_of(&lumotype_igs_null_entity);
}

IgeslibEntityData* IgeslibEntityTable::add_entity_data(int entity, int form, LumoDomain* domain) {
  if (IgeslibEntityData* row = find_entity_data(entity, form)) return row;
  auto* row = new IgeslibEntityData{entity, form, domain, 0, 0};
  if (count >= capacity) {
    capacity = static_cast<unsigned>((count + 1) * 1.1);
    auto** grown = new IgeslibEntityData*[capacity];
    std::memcpy(grown, rows, count * sizeof *rows);
    delete[] rows;
    rows = grown;
  }
  rows[count++] = row;
  std::qsort(rows, count, sizeof *rows, compare_rows);
  return row;
}

void igeslib_increment_count(IgeslibEntityData* row) {
  if (row) ++row->count;
}

unsigned igeslib_get_count(IgeslibEntityData* row) { return row ? row->count : 0; }

LumoDomain* igeslib_get_domain(IgeslibEntityData* row) { return row ? row->domain : nullptr; }

void igeslib_set_domain(IgeslibEntityData* row, LumoDomain* domain) {
  if (row) row->domain = domain;
}

int igeslib_get_entity(IgeslibEntityData* row) { return row ? row->entity : -1; }

int igeslib_get_form(IgeslibEntityData* row) { return row ? row->form : -1; }

int igeslib_is_nonstd(IgeslibEntityData* row) { return !row || row->nonstd ? 1 : 0; }

void igeslib_set_nonstd(IgeslibEntityData* row, int flag) {
  if (row) row->nonstd = flag;
}
