// The entity-type registry: one row for each (entity type, form) pair that the filer knows,
// with the class to instantiate and a count of what a file held. Each run of the filer owns
// a fresh copy, so additions made for one file never reach the next.
#pragma once

#include "lumo_base.h"

class LumoDomain;

// The form of the rows that serve every form of their type that has no row of its own.
constexpr int igeslib_other_forms = -999999999;

struct IgeslibEntityData {
  int entity = 0;
  int form = 0;  // igeslib_other_forms: every form that has no row of its own
  LumoDomain* domain = nullptr;
  int nonstd = 0;  // non-zero: not an entity of the standard
  unsigned count = 0;
};

struct IgeslibEntityTable {
  IgeslibEntityData** rows = nullptr;  // owned, sorted by entity then form
  unsigned count = 0;
  unsigned capacity = 0;
  int other_count = 0;  // entities written whose entity type is negative

  // The rows every run starts from, with room for 30 more.
  LUMO_HOT IgeslibEntityTable();
  IgeslibEntityTable(const IgeslibEntityTable&) = delete;
  IgeslibEntityTable& operator=(const IgeslibEntityTable&) = delete;
  LUMO_HOT ~IgeslibEntityTable();

  // The row of exactly (entity, form), or null.
  LUMO_HOT IgeslibEntityData* find_entity_data(int entity, int form) const;
  // The class of the type's row for all other forms; the raw-text class when the type has
  // no such row, even if some of its forms are known.
  LumoDomain* find_domain(int entity) const;
  // The row of (entity, form), made with count and flag 0 when it is new; the rows stay
  // sorted.
  IgeslibEntityData* add_entity_data(int entity, int form, LumoDomain* domain);
};

// Accessors of one row; each is safe on a null row.
void igeslib_increment_count(IgeslibEntityData* row);
unsigned igeslib_get_count(IgeslibEntityData* row);
LumoDomain* igeslib_get_domain(IgeslibEntityData* row);
void igeslib_set_domain(IgeslibEntityData* row, LumoDomain* domain);
int igeslib_get_entity(IgeslibEntityData* row);
int igeslib_get_form(IgeslibEntityData* row);
int igeslib_is_nonstd(IgeslibEntityData* row);
void igeslib_set_nonstd(IgeslibEntityData* row, int flag);
