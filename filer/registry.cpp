// The entity-type registry's storage.
#include "igeslib_registry.h"

IgeslibEntityTable::~IgeslibEntityTable() {
  for (unsigned i = 0; i < count; ++i) delete rows[i];
  delete[] rows;
}
