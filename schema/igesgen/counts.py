"""The figures of the embedded dictionary and the load lists, and their comparison with
counts.txt."""

from .model import ModelError, STATUS_ATTRIBUTES, aggregate_parts
from .parse import strip_comment
from .check import type_kind


def defined_types(model, schema):
    """Names of the plain and enumerated select choices, once per schema."""
    names = []
    for e in schema.entries:
        for choice, type_ in e.choices:
            if type_kind(model, type_, False) in ("plain", "enum") and choice[1:] not in names:
                names.append(choice[1:])
    return names


def own_attribute_count(e):
    return {"enum": len(e.enumerators), "select": len(e.choices),
            "aggregate": 1}.get(e.kind, len(e.attributes))


def super_count(e):
    return max(1, len(e.bases)) if e.kind in ("entity", "structure") else 1


def compiled(model):
    """Entries with a compiled class or enumeration and a descriptor: all of the
    compiled schemas, and the internal aggregates that the compiled model uses."""
    used = set()
    for s in model.schemas:
        if s.internal:
            continue
        for e in s.entries:
            used.update(a.type for a in e.attributes)
            if e.kind == "aggregate":
                used.add(aggregate_parts(e.name)[1])
    extra = []
    changed = True
    while changed:
        changed = False
        for s in model.schemas:
            if not s.internal:
                continue
            for e in s.entries:
                if e.kind == "aggregate" and e.name in used and e not in extra:
                    extra.append(e)
                    used.add(aggregate_parts(e.name)[1])
                    changed = True
    return [e for s in model.schemas if s.internal for e in s.entries if e in extra]


def load_lists(model):
    extra = compiled(model)
    return [(s.name, s.entries + extra) for s in model.schemas if not s.internal]


def derive_counts(model):
    counts = {}
    totals = dict.fromkeys(("domains", "attributes", "attribute_lists", "domain_lists",
                            "defined_types", "named_objects", "objects", "supers",
                            "abstract", "optionals"), 0)
    for s in model.schemas:
        c = {}
        c["domains"] = len(s.entries)
        c["attributes"] = sum(own_attribute_count(e) for e in s.entries)
        c["abstract"] = sum(1 for e in s.entries if e.abstract)
        c["optionals"] = sum(1 for e in s.entries for a in e.attributes if a.optional)
        c["attribute_lists"] = c["domains"] + (1 if c["optionals"] else 0)
        c["domain_lists"] = c["domains"] + (1 if c["abstract"] else 0)
        c["defined_types"] = len(defined_types(model, s))
        c["named_objects"] = (c["domains"] + (1 if c["optionals"] else 0)
                              + (1 if c["abstract"] else 0))
        c["objects"] = (c["domains"] + c["attributes"] + c["attribute_lists"]
                        + c["domain_lists"] + c["defined_types"])
        c["supers"] = sum(super_count(e) for e in s.entries)
        counts[s.name] = c
        for k in totals:
            totals[k] += c[k]
    for name, entries in load_lists(model):
        counts[name]["load_list"] = len(entries)
    descriptors = [e for s in model.schemas if not s.internal for e in s.entries]
    descriptors += compiled(model)
    kinds = {}
    for e in descriptors:
        key = {"entity": "entities", "structure": "structures", "select": "selects",
               "enum": "enums", "aggregate": "aggregates"}[e.kind]
        if e.kind in ("entity", "structure"):
            key = ("abstract_" if e.abstract else "concrete_") + key
        kinds[key] = kinds.get(key, 0) + 1
    totals["descriptors"] = len(descriptors)
    totals["class_descriptors"] = len(descriptors) - kinds.get("enums", 0)
    totals.update(kinds)
    totals["object_puts"] = (totals["attributes"] + 2 * totals["domains"]
                             + totals["defined_types"]
                             + totals["attributes"] + totals["optionals"]
                             + totals["supers"] + totals["abstract"])
    totals["string_puts"] = totals["attributes"] + totals["domains"] + totals["defined_types"]
    for place, attribute in enumerate(STATUS_ATTRIBUTES):
        totals[attribute + "_asi"] = sum(
            1 for e in model.entries.values()
            if e.directory and e.directory.get("status", "....")[place] == "a")
    totals["registry_rows"] = sum(len(e.directory.get("forms", []))
                                  for e in model.entries.values() if e.directory)
    counts["total"] = totals
    return counts


def read_expected(path):
    """counts.txt: 'schema figure number' per line, '#' comments."""
    expected = []
    with open(path) as f:
        for number, raw in enumerate(f, 1):
            line = strip_comment(raw).split()
            if not line:
                continue
            if len(line) != 3 or not line[2].isdigit():
                raise ModelError("%s:%d: expected 'schema figure number'" % (path, number))
            expected.append((line[0], line[1], int(line[2])))
    return expected


def compare(counts, expected):
    """The list of figures that differ, each as a message."""
    faults = []
    for schema, figure, number in expected:
        have = counts.get(schema, {}).get(figure)
        if have is None:
            faults.append("%s: no figure called %s" % (schema, figure))
        elif have != number:
            faults.append("%s: %s is %d, expected %d" % (schema, figure, have, number))
    return faults
