// The entity-type registry: one row for each (entity type, form) pair that the filer knows,
// with the class to instantiate and a count of what a file held. Each run of the filer owns
// a fresh copy, so additions made for one file never reach the next.
#pragma once

class LumoDomain;

struct IgeslibEntityData {
  int entity = 0;
  int form = 0;  // -999999999: every form that has no row of its own
  LumoDomain* domain = nullptr;
  int nonstd = 0;  // non-zero: not an entity of the standard
  unsigned count = 0;
};

struct IgeslibEntityTable {
  IgeslibEntityData** rows = nullptr;  // owned, sorted by entity then form
  unsigned count = 0;
  unsigned capacity = 0;
  int other_count = 0;  // entities written whose entity type is negative

  IgeslibEntityTable() = default;
  IgeslibEntityTable(const IgeslibEntityTable&) = delete;
  IgeslibEntityTable& operator=(const IgeslibEntityTable&) = delete;
  ~IgeslibEntityTable();
};
