"""The entity-type registry as generated rows."""

from .model import ModelError
from .emit_classes import COMMON_HEADER, Writer

ANY_FORM = -999999999
ROWS_HEADER = "igeslib_entity_rows.h"


def registry_rows(model):
    """(entity, form, class, non-standard) for every row of the registry, sorted by
    entity type and then form as signed numbers; 'other' is the row of all forms
    not listed."""
    rows, seen = [], {}
    for s in model.schemas:
        for e in s.entries:
            d = e.directory
            if not d or "forms" not in d:
                continue
            for f in d["forms"]:
                form = ANY_FORM if f == "other" else f
                key = (d["type"], form)
                if key in seen:
                    raise ModelError("%s: the registry row %d form %s of %s is also a row of %s"
                                     % (e.where, key[0], f, e.name, seen[key]))
                seen[key] = e.name
                rows.append((d["type"], form, e.name, 1 if f in d["nonstd"] else 0))
    rows.sort(key=lambda r: (r[0], r[1]))
    return rows


def emit_rows_header(rows):
    w = Writer()
    w("// Generated from the data-model source by schema/generate.py. Do not edit.")
    w("// The entity-type registry as it stands at the start of every run: one row for each")
    w("// (entity type, form) pair, sorted by entity type and then form.")
    w("#pragma once")
    w("")
    w("#include \"%s\"", COMMON_HEADER)
    w("")
    w("struct IgeslibStaticEntityRow {")
    w("  int entity;")
    w("  int form;  // %d: every form of the type that has no row of its own", ANY_FORM)
    w("  LumoTypePtr* type;")
    w("  int nonstd;  // non-zero: not an entity of the standard")
    w("};")
    w("")
    w("constexpr int igeslib_any_form = %d;", ANY_FORM)
    w("constexpr unsigned igeslib_static_entity_count = %d;", len(rows))
    w("extern const IgeslibStaticEntityRow igeslib_static_entity_table[%d];", len(rows))
    return w.text()


def emit_rows_source(rows):
    w = Writer()
    w("// Generated from the data-model source by schema/generate.py. Do not edit.")
    w("#include \"%s\"", ROWS_HEADER)
    w("")
    w("const IgeslibStaticEntityRow igeslib_static_entity_table[%d] = {", len(rows))
    for entity, form, name, nonstd in rows:
        w("    {%d, %d, &lumotype_%s, %d},", entity, form, name, nonstd)
    w("};")
    return w.text()
