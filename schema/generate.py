#!/usr/bin/env python3
"""Reads the data-model source (see FORMAT.md), checks it, and derives the
figures of the embedded dictionary and the load lists from it.

    generate.py --check            parse, check, compare with counts.txt
    generate.py --counts           print the derived figures
    generate.py --output DIR       write the C++ data model into DIR
"""

import argparse
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))

PLAIN_TYPES = {"int", "double", "string", "bool"}
RUNTIME_AGGREGATES = {
    kind + elem
    for kind in ("ListOf", "ArrayOf", "SetOf", "BagOf")
    for elem in ("Integer", "Double", "Float", "String", "Boolean", "LumoObject")
}
RUNTIME_CLASSES = {"LumoDomain", "LumoAttribute"}
AGGREGATE_KINDS = ("ListOf", "ArrayOf", "SetOf", "BagOf")

# Directory-record codec: mask position -> attribute, status position -> attribute.
MASK_ATTRIBUTES = ("structure", "line_font", "level", "view", "transformation",
                   "label_display", "line_weight", "color")
MASK_LETTERS = "SFLVTDWC"
STATUS_ATTRIBUTES = ("blank", "subordinate", "used", "hierarchy")

DERIVED_FORMS = [
    (re.compile(r"^size\((\w+)\)$"), "size"),
    (re.compile(r"^size\((\w+)\) - 1$"), "size_less_one"),
    (re.compile(r"^size\((\w+)\[0\]\) - 1$"), "first_size_less_one"),
    (re.compile(r"^length\((\w+)\)$"), "length"),
    (re.compile(r"^(\w+)\.subscript$"), "subscript"),
    (re.compile(r"^(-?\d+)$"), "constant"),
    (re.compile(r"^([A-Za-z_]\w*)$"), "alias"),
]

IDENT = r"[A-Za-z_]\w*"


class ModelError(Exception):
    """A fault in the source, with the place where it stands."""


class Attribute:
    def __init__(self, name, type_, where, optional=False, spelling=None, default=None):
        self.name = name
        self.type = type_
        self.where = where
        self.optional = optional
        self.spelling = spelling or name
        self.default = default


class Entry:
    """One class, select, enumeration or aggregate of the source."""

    def __init__(self, kind, name, schema, where):
        self.kind = kind          # entity, structure, select, enum, aggregate
        self.name = name
        self.schema = schema
        self.where = where
        self.abstract = False
        self.bases = []
        self.attributes = []
        self.choices = []         # (choice name, type) pairs
        self.enumerators = []
        self.directory = None
        self.derived = []         # (name, form, argument, where)
        self.parameters = None
        self.parameter_code = False  # pdread and pdwrite written by hand

    @property
    def dictionary_name(self):
        return dictionary_name(self.name)


class Schema:
    def __init__(self, name, internal, where):
        self.name = name
        self.internal = internal
        self.where = where
        self.entries = []


class Model:
    def __init__(self):
        self.schemas = []
        self.entries = {}

    def schema(self, name):
        for s in self.schemas:
            if s.name == name:
                return s
        return None


def dictionary_name(name):
    for kind in AGGREGATE_KINDS:
        if name.startswith(kind) and name not in RUNTIME_AGGREGATES:
            return kind + dictionary_name(name[len(kind):])
    return name[4:] if name.startswith("igs_") else name


def aggregate_parts(name):
    """('ListOf', 'igs_coordinate') for 'ListOfigs_coordinate', else None."""
    for kind in AGGREGATE_KINDS:
        if name.startswith(kind) and len(name) > len(kind):
            return kind, name[len(kind):]
    return None


# ---------------------------------------------------------------- parsing

def strip_comment(line):
    quoted = False
    for i, c in enumerate(line):
        if c == '"':
            quoted = not quoted
        elif c == "#" and not quoted:
            return line[:i]
    return line


def logical_lines(text, filename):
    """Yields (where, indented, text), joining lines that end in a comma."""
    pending = None
    for number, raw in enumerate(text.splitlines(), 1):
        line = strip_comment(raw).rstrip()
        if pending is not None:
            where, indented, head = pending
            line = head + " " + line.strip()
            pending = None
        else:
            if not line.strip():
                continue
            where = "%s:%d" % (filename, number)
            indented = line[0] in " \t"
            line = line.strip()
        if line.endswith(","):
            pending = (where, indented, line)
            continue
        yield where, indented, line
    if pending is not None:
        raise ModelError("%s: the text ends after a continuing comma" % pending[0])


def split_names(text, where):
    names = [n.strip() for n in text.split(",")]
    for n in names:
        if not re.fullmatch(IDENT, n):
            raise ModelError("%s: '%s' is not a name" % (where, n))
    return names


def parse_attributes(entry, text, where):
    for group in re.split(r';(?=(?:[^"]*"[^"]*")*[^"]*$)', text):
        group = group.strip()
        if not group:
            continue
        m = re.fullmatch(r"([^:]+):\s*(%s)(?:\s+as\s+(%s))?(?:\s*=\s*(\"[^\"]*\"|-?[\w.]+))?"
                         % (IDENT, IDENT), group)
        if not m:
            raise ModelError("%s: cannot read the attribute group '%s'; expected "
                             "'name, name: type'" % (where, group))
        names, type_, spelling, default = m.groups()
        raw_names = [n.strip() for n in names.split(",")]
        if spelling and len(raw_names) > 1:
            raise ModelError("%s: a spelling applies to one attribute only" % where)
        for raw in raw_names:
            optional = raw.endswith("?")
            name = raw[:-1] if optional else raw
            if not re.fullmatch(IDENT, name):
                raise ModelError("%s: '%s' is not an attribute name" % (where, raw))
            entry.attributes.append(Attribute(name, type_, where, optional, spelling, default))


def parse_forms(text, where):
    """Registry rows: 'other' for the row of all forms not listed, ranges a..b."""
    forms = []
    for part in text.split(","):
        if part == "other":
            forms.append("other")
            continue
        m = re.fullmatch(r"(-?\d+)(?:\.\.(-?\d+))?", part)
        if not m:
            raise ModelError("%s: cannot read the forms '%s'" % (where, part))
        low = int(m.group(1))
        high = int(m.group(2)) if m.group(2) else low
        if high < low:
            raise ModelError("%s: the form range %s runs backwards" % (where, part))
        forms.extend(range(low, high + 1))
    return forms


def parse_directory(entry, text, where):
    if entry.kind != "entity":
        raise ModelError("%s: only an entity has a directory line" % where)
    if entry.directory is not None:
        raise ModelError("%s: a second directory line for %s" % (where, entry.name))
    words = text.split()
    if not words or not re.fullmatch(r"-?\d+", words[0]):
        raise ModelError("%s: the directory line starts with the entity type" % where)
    d = {"type": int(words[0]), "skip": [], "nonstd": [], "raw": False}
    for word in words[1:]:
        if word == "raw":
            d["raw"] = True
            continue
        key, eq, value = word.partition("=")
        if not eq:
            raise ModelError("%s: '%s' is not key=value" % (where, word))
        if key == "form":
            if value != "a" and not re.fullmatch(r"-?\d+", value):
                raise ModelError("%s: form is a number or 'a', not '%s'" % (where, value))
            d["form"] = value if value == "a" else int(value)
        elif key == "forms":
            d["forms"] = parse_forms(value, where)
        elif key == "nonstd":
            d["nonstd"] = parse_forms(value, where)
        elif key == "fields":
            if not re.fullmatch(r"[S.][F1.][L.][V.][T.][D.][W.][C.]", value):
                raise ModelError("%s: the field mask '%s' is not eight places of %s"
                                 % (where, value, MASK_LETTERS))
            d["fields"] = value
        elif key == "status":
            if not re.fullmatch(r"[az\-u0-9]{4}", value):
                raise ModelError("%s: the status '%s' is not four places of a, z, u, -"
                                 " or a digit" % (where, value))
            d["status"] = value
        elif key == "skip":
            d["skip"] = split_names(value, where)
        else:
            raise ModelError("%s: unknown directory setting '%s'" % (where, key))
    entry.directory = d


def parse_derived(entry, text, where):
    m = re.fullmatch(r"(%s)\s+hand" % IDENT, text)
    if m:
        entry.derived.append((m.group(1), "hand", None, where))
        return
    m = re.fullmatch(r"(%s)\s*=\s*(.+)" % IDENT, text)
    if not m:
        raise ModelError("%s: a derived member is 'derived name = expression' or "
                         "'derived name hand'" % where)
    name, expression = m.group(1), m.group(2).strip()
    for pattern, form in DERIVED_FORMS:
        e = pattern.fullmatch(expression)
        if e:
            entry.derived.append((name, form, e.group(1), where))
            return
    raise ModelError("%s: cannot read the derived expression '%s'" % (where, expression))


def parse_choices(entry, text, where):
    for part in text.split(","):
        part = part.strip()
        m = re.fullmatch(r"(%s)(?:\s*:\s*(%s))?" % (IDENT, IDENT), part)
        if not m:
            raise ModelError("%s: cannot read the choice '%s'" % (where, part))
        name, type_ = m.groups()
        if type_ is None:
            if not name.startswith("igs_"):
                raise ModelError("%s: the choice '%s' needs '_name: type' or a class "
                                 "name igs_X" % (where, name))
            entry.choices.append(("_" + name[4:], name))
        else:
            if not name.startswith("_"):
                raise ModelError("%s: a choice name starts with '_': '%s'" % (where, name))
            entry.choices.append((name, type_))


def parse(text, filename, model=None):
    model = model or Model()
    schema = None
    current = None

    def add(entry):
        if schema is None:
            raise ModelError("%s: %s stands before any schema heading"
                             % (entry.where, entry.name))
        if entry.name in model.entries:
            raise ModelError("%s: %s is already defined at %s"
                             % (entry.where, entry.name, model.entries[entry.name].where))
        model.entries[entry.name] = entry
        schema.entries.append(entry)
        return entry

    for where, indented, line in logical_lines(text, filename):
        if indented:
            if current is None or current.kind not in ("entity", "structure"):
                raise ModelError("%s: an indented line belongs to a class entry" % where)
            word, _, rest = line.partition(" ")
            if word == "directory":
                parse_directory(current, rest, where)
            elif word == "derived":
                parse_derived(current, rest.strip(), where)
            elif line.startswith("parameters:"):
                current.parameters = line[len("parameters:"):].strip()
            elif line == "parameters hand":
                if current.kind != "entity":
                    raise ModelError("%s: only an entity has parameter code" % where)
                current.parameter_code = True
            else:
                parse_attributes(current, line, where)
            continue
        current = None
        m = re.fullmatch(r"schema\s+(%s)(\s+internal)?" % IDENT, line)
        if m:
            schema = model.schema(m.group(1))
            if schema is None:
                schema = Schema(m.group(1), bool(m.group(2)), where)
                model.schemas.append(schema)
            continue
        m = re.fullmatch(r"(enum|select)\s+(%s)\s*:\s*(.+)" % IDENT, line)
        if m:
            entry = add(Entry(m.group(1), m.group(2), schema, where))
            if m.group(1) == "enum":
                entry.enumerators = split_names(m.group(3), where)
            else:
                parse_choices(entry, m.group(3), where)
            continue
        m = re.fullmatch(r"aggregate\s+(.+)", line)
        if m:
            for name in split_names(m.group(1), where):
                if aggregate_parts(name) is None:
                    raise ModelError("%s: an aggregate name starts with ListOf, ArrayOf, "
                                     "SetOf or BagOf: '%s'" % (where, name))
                add(Entry("aggregate", name, schema, where))
            continue
        m = re.fullmatch(r"(abstract\s+)?(entity|structure)\s+(%s)(?:\s*:\s*(.+))?"
                         % IDENT, line)
        if m:
            current = add(Entry(m.group(2), m.group(3), schema, where))
            current.abstract = bool(m.group(1))
            if m.group(4):
                current.bases = split_names(m.group(4), where)
            continue
        raise ModelError("%s: cannot read '%s'" % (where, line))
    return model


def load(paths=None):
    if paths is None:
        with open(os.path.join(HERE, "MODELS")) as f:
            paths = [os.path.join(HERE, p.strip()) for p in f if p.strip()]
    model = Model()
    for path in paths:
        with open(path) as f:
            parse(f.read(), os.path.relpath(path, os.path.dirname(HERE)), model)
    check(model)
    return model


# ---------------------------------------------------------------- checking

def chain(model, entry):
    """Ancestors of a class, root first, each once, the class itself last."""
    seen = []

    def walk(e, path):
        if e.name in path:
            raise ModelError("%s: %s derives from itself" % (e.where, e.name))
        for b in e.bases:
            walk(model.entries[b], path + [e.name])
        if e not in seen:
            seen.append(e)
    walk(entry, [])
    return seen


def all_attributes(model, entry):
    return [a for e in chain(model, entry) for a in e.attributes]


def type_kind(model, type_, internal):
    """What a type name stands for, or None if it is unknown."""
    if type_ in PLAIN_TYPES:
        return "plain"
    if type_ in RUNTIME_AGGREGATES:
        return "runtime_aggregate"
    if internal and type_ in RUNTIME_CLASSES:
        return "runtime"
    e = model.entries.get(type_)
    return e.kind if e else None


def check(model):
    for schema in model.schemas:
        for e in schema.entries:
            CHECKS[e.kind](model, e)
    check_dictionary_names(model)


def check_dictionary_names(model):
    seen = {}
    for e in model.entries.values():
        other = seen.setdefault(e.dictionary_name, e)
        if other is not e:
            raise ModelError("%s: %s has the dictionary name %s of %s"
                             % (e.where, e.name, e.dictionary_name, other.name))


def check_enum(model, e):
    if len(set(e.enumerators)) != len(e.enumerators):
        raise ModelError("%s: %s lists an enumerator twice" % (e.where, e.name))


def check_select(model, e):
    names = [c for c, _ in e.choices]
    if len(set(names)) != len(names):
        raise ModelError("%s: %s lists a choice twice" % (e.where, e.name))
    for choice, type_ in e.choices:
        kind = type_kind(model, type_, False)
        if kind not in ("plain", "enum", "entity", "structure"):
            raise ModelError("%s: the choice %s of %s has the unknown type %s"
                             % (e.where, choice, e.name, type_))


def check_aggregate(model, e):
    _, element = aggregate_parts(e.name)
    kind = type_kind(model, element, e.schema.internal)
    if kind is None:
        if e.schema.internal and element in ("Integer", "Double", "Float", "String", "Boolean"):
            return
        raise ModelError("%s: the element %s of %s is not defined" % (e.where, element, e.name))
    if e.schema.internal:
        return
    home = model.entries.get(element)
    if home is not None and home.schema is not e.schema:
        raise ModelError("%s: %s belongs to %s, the schema of its element %s"
                         % (e.where, e.name, home.schema.name, element))


def check_class(model, e):
    for b in e.bases:
        base = model.entries.get(b)
        if base is None or base.kind not in ("entity", "structure"):
            raise ModelError("%s: the base %s of %s is not a class" % (e.where, b, e.name))
        if e.kind == "structure":
            raise ModelError("%s: the structure %s has a base; structures stand on the "
                             "runtime's structure class" % (e.where, e.name))
    if e.kind == "entity" and not e.bases and e.name != "igs_directory_entry":
        raise ModelError("%s: the entity %s has no base" % (e.where, e.name))
    if len(set(e.bases)) != len(e.bases):
        raise ModelError("%s: %s names a base twice" % (e.where, e.name))
    names = {}
    for a in all_attributes(model, e):
        if a.name in names and names[a.name] is not a:
            raise ModelError("%s: %s has two attributes called %s (also at %s)"
                             % (a.where, e.name, a.name, names[a.name].where))
        names[a.name] = a
        if type_kind(model, a.type, e.schema.internal) is None:
            raise ModelError("%s: the attribute %s of %s has the unknown type %s"
                             % (a.where, a.name, e.name, a.type))
    for name, form, argument, where in e.derived:
        check_derived(model, e, names, name, form, argument, where)
    check_directory(model, e, names)


def check_derived(model, e, names, name, form, argument, where):
    if name in names:
        raise ModelError("%s: the derived member %s of %s is also an attribute"
                         % (where, name, e.name))
    if form in ("constant", "hand"):
        return
    a = names.get(argument)
    if a is None:
        raise ModelError("%s: the derived member %s of %s uses %s, which it lacks"
                         % (where, name, e.name, argument))
    kind = "text" if a.type == "string" else type_kind(model, a.type, False)
    need = {"size": ("aggregate", "runtime_aggregate"),
            "size_less_one": ("aggregate", "runtime_aggregate"),
            "first_size_less_one": ("aggregate",),
            "length": ("text",), "subscript": ("entity",)}.get(form)
    if need and kind not in need:
        raise ModelError("%s: %s(%s) of %s needs %s, not %s"
                         % (where, form, argument, e.name, NEEDS[need[0]], a.type))


NEEDS = {"aggregate": "an aggregate", "text": "a text", "entity": "an entity reference"}


def check_directory(model, e, names):
    d = e.directory
    if e.kind != "entity":
        return
    if d is None:
        if not e.abstract:
            raise ModelError("%s: the concrete entity %s has no directory line"
                             % (e.where, e.name))
        return
    settings = [k for k in ("form", "forms", "fields", "status") if k in d]
    if e.abstract:
        if settings or d["raw"]:
            raise ModelError("%s: the abstract %s has codec settings; it answers only "
                             "its entity type" % (e.where, e.name))
        return
    need = ("form", "forms") if d["raw"] else ("form", "forms", "fields", "status")
    for k in need:
        if k not in d:
            raise ModelError("%s: the directory line of %s lacks %s=" % (e.where, e.name, k))
    for s in d["nonstd"]:
        if s not in d["forms"]:
            raise ModelError("%s: the non-standard form %s of %s is not among its forms"
                             % (e.where, s, e.name))
    has_form = "form" in names
    if (d["form"] == "a") != has_form:
        raise ModelError("%s: %s has form=%s but %s a form attribute"
                         % (e.where, e.name, d["form"], "has" if has_form else "lacks"))
    if d["raw"]:
        return
    for s in d["skip"]:
        if s not in names:
            raise ModelError("%s: %s skips %s, which it does not hold" % (e.where, e.name, s))
    coded = []
    for place, attribute in zip(d["fields"], MASK_ATTRIBUTES):
        coded.append((place in MASK_LETTERS, attribute, "field " + place))
    for place, attribute in zip(d["status"], STATUS_ATTRIBUTES):
        coded.append((place in "azu", attribute, "status " + place))
    for stored, attribute, place in coded:
        if stored and attribute not in names:
            raise ModelError("%s: %s codes %s (%s) but does not hold it"
                             % (e.where, e.name, attribute, place))
        if not stored and attribute in names and attribute not in d["skip"]:
            raise ModelError("%s: %s holds %s but its %s neither codes nor skips it"
                             % (e.where, e.name, attribute, place))


CHECKS = {"enum": check_enum, "select": check_select, "aggregate": check_aggregate,
          "entity": check_class, "structure": check_class}


# ---------------------------------------------------------------- counting

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


# ---------------------------------------------------------------- C++ emitter

# The attributes whose getter is one of the virtual operations of the entity root.
VIRTUAL_GETTERS = ("form",) + STATUS_ATTRIBUTES
STATUS_TYPES = {"blank": "igs_blank_status", "subordinate": "igs_subordinate_switch",
                "used": "igs_use_flag", "hierarchy": "igs_hierarchy_flag"}
CXX_KEYWORDS = {"void", "int", "float", "bool", "union", "double", "char", "class", "default",
                "delete", "new", "this", "operator", "template", "typename", "register"}
PLAIN_CXX = {"int": "int", "double": "double", "string": "char*", "bool": "char"}
PLAIN_DESCRIPTORS = {"int": "lumotype_int", "double": "lumotype_double",
                     "string": "lumotype_LumoSTR", "bool": "lumotype_LumoBoolean"}
SLOT_MEMBERS = {"int": "i", "double": "d", "string": "s", "bool": "c"}
# Compiled schemas in load order; the structure schema is compiled in three parts.
LOAD_ORDER = ("iges_curve_and_surface_geometry_schema", "iges_annotation_schema",
              "iges_boundary_representation_schema", "iges_constructive_solid_geometry_schema",
              "iges_structure_schema", "iges_types_schema")
SOURCE_PARTS = {"iges_structure_schema": 3}
COMMON_HEADER = "igeslib_schema_common.h"
SUPPORT_HEADER = "igeslib_binding_internal.h"


def output_files(model):
    """Paths, relative to the output folder, of everything the emitter writes."""
    headers = ["include/" + COMMON_HEADER, "include/" + ROWS_HEADER]
    sources = ["src/" + SUPPORT_HEADER, "src/igeslib_load.cpp",
               "src/igeslib_builtin_schemas.cpp", "src/igeslib_entity_rows.cpp"]
    for s in model.schemas:
        if s.internal:
            continue
        headers.append("include/%s.h" % s.name)
        parts = SOURCE_PARTS.get(s.name, 1)
        sources += ["src/%s%s.cpp" % (s.name, "_%d" % (k + 1) if parts > 1 else "")
                    for k in range(parts)]
    return headers + sources


def cxx_type(model, type_):
    """The C++ type of a field or value of a source type."""
    if type_ in PLAIN_CXX:
        return PLAIN_CXX[type_]
    if model.entries.get(type_) is not None and model.entries[type_].kind == "enum":
        return type_
    return type_ + "*"


def value_type(model, type_):
    """The type in which a setter takes a value: text as const char*."""
    return "const char*" if type_ == "string" else cxx_type(model, type_)


def descriptor(model, type_):
    return PLAIN_DESCRIPTORS.get(type_, "lumotype_" + type_)


def param(name):
    return name + "_" if name in CXX_KEYWORDS else name


def is_reference(model, type_):
    return type_ not in PLAIN_CXX and model.entries.get(type_, Entry("", "", None, "")).kind != "enum"


def is_aggregate(model, type_):
    return type_kind(model, type_, False) in ("aggregate", "runtime_aggregate")


def entity_bases(model, e):
    return [b for b in e.bases if model.entries[b].kind == "entity"]


def own_answer(model, e, op):
    """What class e itself says that a virtual getter answers: ('field', name),
    ('const', value) or None when it leaves the answer to its bases."""
    d = e.directory or {}
    own = [a.name for a in e.attributes]
    if op == "entity_type":
        return ("const", d["type"]) if "type" in d else None
    if op == "form":
        if "form" in own:
            return ("field", "form")
        return ("const", d["form"]) if isinstance(d.get("form"), int) else None
    place = d.get("status", "....")[STATUS_ATTRIBUTES.index(op)]
    if place.isdigit():
        return ("const", int(place))
    if op in own:
        return ("field", op)
    if place == "-" and op in d.get("skip", []):
        return ("const", -1)
    return None


def answer(model, e, op):
    mine = own_answer(model, e, op)
    if mine is not None:
        return mine
    for b in entity_bases(model, e):
        found = answer(model, model.entries[b], op)
        if found is not None:
            return found
    return None


def overridden(model, e):
    """Virtual getters that class e defines: its own answers, and all answers of
    a class with two entity bases, which must settle the final overrider."""
    if e.kind != "entity" or e.name == "igs_directory_entry":
        return []
    ops = ("entity_type",) + VIRTUAL_GETTERS
    several = len(entity_bases(model, e)) > 1
    return [(op, answer(model, e, op)) for op in ops
            if own_answer(model, e, op) is not None or (several and answer(model, e, op))]


def coded_name(name):
    return name + "_asi" if name in STATUS_ATTRIBUTES else name


class Writer:
    def __init__(self):
        self.lines = []

    def __call__(self, text="", *args):
        self.lines.append(text % args if args else text)

    def text(self):
        return "\n".join(self.lines) + "\n"


# --- declarations

def declare_allocation(w, name):
    w("  static void* operator new(std::size_t size);")
    w("  static void* operator new(std::size_t size, LumoDesign* design);")
    w("  static void* operator new(std::size_t size, LumoDesignSection* section);")
    w("  static void* operator new(std::size_t size, LumoDesignSection* section, "
      "LumoDomain* domain);")
    w("  static void operator delete(void* p) { lumo_delete(p); }")
    w("  void* _address() override;")
    w("  LumoTypePtr& classType() override;")


def declare_accessors(model, w, a, getter=True):
    t = cxx_type(model, a.type)
    setter_type = "const char*" if a.type == "string" else t
    if getter:
        w("  %s %s();", t, a.spelling)
    w("  void %s(%s value);", a.spelling, setter_type)
    if type_kind(model, a.type, False) == "enum":
        w("  char %s(int code);", coded_name(a.spelling))


def declare_class(model, w, e):
    chain_attributes = all_attributes(model, e)
    bases = ", ".join("public virtual " + b for b in e.bases) or "public virtual LumoStructure"
    w("// %s%s %s of %s", "abstract " if e.abstract else "", e.kind, e.dictionary_name,
      e.schema.name)
    w("class %s : %s {", e.name, bases)
    w(" public:")
    w("  %s() = default;", e.name)
    if chain_attributes:
        w("  %s(%s);", e.name, ", ".join("%s %s" % (value_type(model, a.type), param(a.name))
                                           for a in chain_attributes))
    w("  %s(const %s& other) = default;", e.name, e.name)
    w("  %s& operator=(const %s& other) = default;", e.name, e.name)
    declare_allocation(w, e.name)
    if e.name == "igs_directory_entry":
        w("")
        w("  virtual int entity_type();")
        w("  virtual int form();")
        for op in STATUS_ATTRIBUTES:
            w("  virtual %s %s();", STATUS_TYPES[op], op)
        w("  virtual void de_read_record_one(int* const fields);")
        w("  virtual void de_read_record_two(int* const fields, char* label);")
        w("  virtual void de_write_record_one(char* out);")
        w("  virtual void de_write_record_two(char* out);")
        w("  virtual void pdread();")
        w("  virtual void pdwrite();")
    held = {a.name: a for a in chain_attributes}
    own = [a.name for a in e.attributes]
    for op, _ in overridden(model, e):
        w("  %s %s() override;", STATUS_TYPES.get(op, "int"), op)
        if op in held and op not in own:
            declare_accessors(model, w, held[op], getter=False)
    for a in e.attributes:
        declare_accessors(model, w, a, getter=a.name not in VIRTUAL_GETTERS
                          or e.kind != "entity")
    for name, form, argument, _ in e.derived:
        t = cxx_type(model, held[argument].type) if form == "alias" else "int"
        w("  %s %s();", t, name)
    if has_codec(e):
        w("  void de_read_record_one(int* const fields) override;")
        w("  void de_read_record_two(int* const fields, char* label) override;")
        w("  void de_write_record_one(char* out) override;")
        w("  void de_write_record_two(char* out) override;")
    if e.parameter_code:
        w("  void pdread() override;")
        w("  void pdwrite() override;")
    for line in HAND_MEMBERS.get(e.name, ()):
        w(line)
    w("")
    # Widest first, dictionary order within a width: no padding falls between fields, which
    # matters in a model of millions of entities. The dictionary binds each attribute to its
    # field by offset, so the order here is free.
    w("  // Fields, eight-byte ones first; change them through the accessors above.")
    fields = [(cxx_type(model, a.type), a) for a in e.attributes]
    for wide in (True, False):
        for ctype, a in fields:
            if field_is_wide(ctype) == wide and ctype != "char":
                w("  %s %s_ = %s;", ctype, a.name, field_default(model, a))
        if not wide and e.name == "igs_directory_entry":
            w("  // File bookkeeping, not part of the dictionary: DE number of the entity,")
            w("  // first line and line count of its parameter data.")
            w("  int de_number = 0;")
            w("  int pd_pointer = 0;")
            w("  int pd_line_count = 0;")
    for ctype, a in fields:
        if ctype == "char":
            w("  %s %s_ = %s;", ctype, a.name, field_default(model, a))
    w("};")
    w("")



def field_is_wide(ctype):
    """True for a field of eight bytes: a pointer or a double."""
    return ctype.endswith("*") or ctype == "double"

# Run-time members of file-level classes, declared here and defined by hand
# under model/: they are no part of the dictionary.
HAND_MEMBERS = {
    "igs_iges_file": (
        "",
        "  // The entities of the file in directory order. Outside a run (directory_populated",
        "  // zero) the list is gathered afresh from the current design on every call.",
        "  ListOfigs_directory_entry* directory_entries();",
        "  // The working record of the read or write under way; null after a read, and stale",
        "  // after a write: ask for it only during a run.",
        "  IgeslibIO* igesFiler();",
        "  // Reads a whole IGES file into this design; null after a fatal error, or when a",
        "  // Start or Global section fails with strict set. The stream is left open.",
        "  igs_iges_file* read(FILE* stream, char strict);",
        "  igs_iges_file* read(const char* path, char strict);",
        "  // Writes every entity of the current design; zero_as_default leaves zeros out.",
        "  igs_iges_file* write(FILE* stream, char zero_as_default);",
        "  igs_iges_file* write(const char* path, char zero_as_default);",
        "  IgeslibIO* filer_ = nullptr;",
        "  int directory_populated = 0;",
        "  ListOfigs_directory_entry directory_list_;",
    ),
}
HAND_FORWARDS = ("struct IgeslibIO;",)


def has_codec(e):
    """A concrete entity with a directory line has the four record members."""
    return e.kind == "entity" and not e.abstract and e.directory is not None


def field_default(model, a):
    if a.default is not None:
        return "const_cast<char*>(%s)" % a.default if a.type == "string" else a.default
    if type_kind(model, a.type, False) == "enum":
        return "%s_unset" % a.type
    return "0" if a.type in ("int", "double", "bool") else "nullptr"


def declare_select(model, w, e):
    w("// select %s of %s", e.dictionary_name, e.schema.name)
    w("class %s : public LumoUnion {", e.name)
    w(" public:")
    w("  %s() = default;", e.name)
    w("  %s(const %s& other) = default;", e.name, e.name)
    w("  %s& operator=(const %s& other) = default;", e.name, e.name)
    declare_allocation(w, e.name)
    for choice, type_ in e.choices:
        t = cxx_type(model, type_)
        w("  char is%s();", choice)
        w("  %s %s();", t, choice)
        w("  void %s(%s value);", choice, "const char*" if type_ == "string" else t)
        if type_kind(model, type_, False) == "enum":
            w("  char %s(int code);", choice)
    w("};")
    w("")


def aggregate_template(model, e):
    kind, element = aggregate_parts(e.name)
    shape = "LumoAggKind::array" if kind == "ArrayOf" else "LumoAggKind::list"
    return "LumoObjectAggregate<%s, %s, lumotype_%s, %s>" % (
        element, shape, e.name, descriptor(model, element))


def declare_aggregate(model, w, e):
    kind, element = aggregate_parts(e.name)
    w("// %s of %s", "array" if kind == "ArrayOf" else "list", element)
    if type_kind(model, element, False) == "enum":
        declare_enum_array(w, e, element)
        return
    w("class %s : public %s {", e.name, aggregate_template(model, e))
    w(" public:")
    w("  explicit %s(unsigned capacity = 0) : LumoObjectAggregate(capacity) {}", e.name)
    declare_allocation(w, e.name)
    w("};")
    w("")


def declare_enum_array(w, e, element):
    w("class %s : public LumoEnumArray {", e.name)
    w(" public:")
    w("  explicit %s(unsigned capacity = 0) : LumoEnumArray(capacity) {}", e.name)
    declare_allocation(w, e.name)
    w("  LumoTypePtr& slotType(LumoAttribute*, unsigned) override { return lumotype_%s; }",
      element)
    w("  %s& put(%s value, unsigned i) {", e.name, element)
    w("    _put(value, i);")
    w("    return *this;")
    w("  }")
    w("  unsigned find(%s value) { return _find(static_cast<int>(value)); }", element)
    w("  char contains(%s value) { return find(value) != ~0u; }", element)
    w("  void removeValue(%s value) { _remove(static_cast<int>(value)); }", element)
    w("  %s* _data() { return static_cast<%s*>(data().v); }", element, element)
    w("  %s _element(unsigned i) { return _data()[i]; }", element)
    w("  // Past the end answers the null value, -1.")
    w("  %s operator[](unsigned i) { return i < size() ? _element(i) : %s_unset; }",
      element, element)
    w("  %s get(unsigned i) { return (*this)[i]; }", element)
    w("  %s first() { return (*this)[0]; }", element)
    w("  %s last() { return size() ? _element(size() - 1) : %s_unset; }", element, element)
    w("  char %s_asInt(int code, int index);", dictionary_name(element))
    w("};")
    w("")


def declare_enum(w, e):
    w("enum %s : int {", e.name)
    w("  %s_unset = -1,", e.name)
    for n in e.enumerators:
        w("  %s_%s,", e.name, n)
    w("};")
    w("")


# --- definitions

def define_allocation(w, name):
    w("void* %s::operator new(std::size_t size) { return ::operator new(size); }", name)
    w("void* %s::operator new(std::size_t size, LumoDesign* design) {", name)
    w("  return lumo_new_in_default_section(size, design, nullptr, lumotype_%s);", name)
    w("}")
    w("void* %s::operator new(std::size_t size, LumoDesignSection* section) {", name)
    w("  return lumo_new(size, section, nullptr, lumotype_%s);", name)
    w("}")
    w("void* %s::operator new(std::size_t size, LumoDesignSection* section, "
      "LumoDomain* domain) {", name)
    w("  return lumo_new(size, section, domain, lumotype_%s);", name)
    w("}")
    w("void* %s::_address() { return this; }", name)
    w("LumoTypePtr& %s::classType() { return lumotype_%s; }", name, name)


def define_getter(model, w, e, a, name=None):
    c, t = e.name, cxx_type(model, a.type)
    w("%s %s::%s() {", t, c, name or a.spelling)
    if is_reference(model, a.type):
        w("  if (lumo_is_delayed(%s_) && !lumo_access_object(this, &%s_)) return nullptr;",
          a.name, a.name)
    if is_aggregate(model, a.type):
        w("  if (!%s_) {", a.name)
        w("    void* place = lumo_new(sizeof(%s), design_section(), nullptr, lumotype_%s);",
          a.type, a.type)
        w("    modified();")
        w("    %s_ = place ? ::new (place) %s(0) : nullptr;", a.name, a.type)
        w("  }")
    w("  return %s_;", a.name)
    w("}")


def define_setters(model, w, e, a):
    c = e.name
    if a.type == "string":
        w("void %s::%s(const char* value) { lumo_update_prim(this, &%s_, value); }",
          c, a.spelling, a.name)
    else:
        w("void %s::%s(%s value) {", c, a.spelling, cxx_type(model, a.type))
        w("  modified();")
        w("  %s_ = value;", a.name)
        w("}")
    if type_kind(model, a.type, False) == "enum":
        # The typed setter once the code is known to name an enumerator: what a store through
        # the dictionary does for this field, without finding the field again.
        w("char %s::%s(int code) {", c, coded_name(a.spelling))
        w("  if (!igeslib_code_in_range(this, \"%s\", code)) return 0;", a.name)
        w("  %s(static_cast<%s>(code));", a.spelling, cxx_type(model, a.type))
        w("  return 1;")
        w("}")


def define_class(model, w, e):
    c = e.name
    w("// --- %s", c)
    chain_attributes = all_attributes(model, e)
    held = {a.name: a for a in chain_attributes}
    if chain_attributes:
        w("%s::%s(%s) {", c, c, ", ".join("%s %s" % (value_type(model, a.type), param(a.name))
                                          for a in chain_attributes))
        for a in chain_attributes:
            w("  this->%s(%s);", a.spelling, param(a.name))
        w("}")
    define_allocation(w, c)
    if c == "igs_directory_entry":
        w("int %s::entity_type() { return -1; }", c)
        w("int %s::form() { return 0; }", c)
        for op in STATUS_ATTRIBUTES:
            w("%s %s::%s() { return %s_unset; }", STATUS_TYPES[op], c, op, STATUS_TYPES[op])
        w("void %s::de_read_record_one(int* const) {}", c)
        w("void %s::de_read_record_two(int* const, char*) {}", c)
        w("void %s::de_write_record_one(char*) {}", c)
        w("void %s::de_write_record_two(char*) {}", c)
        w("void %s::pdread() {}", c)
        w("void %s::pdwrite() {", c)
        w("  std::printf(\"Directory entry and parameter data sections of file for entity "
          "type %s are incorrect\\nbecause the executable does not contain class code.\\n\",")
        w("              domain()->name());")
        w("}")
    own = [a.name for a in e.attributes]
    for op, (how, value) in overridden(model, e):
        t = STATUS_TYPES.get(op, "int")
        if how == "field":
            w("%s %s::%s() { return %s_; }", t, c, op, value)
        else:
            w("%s %s::%s() { return %s; }", t, c, op,
              value if t == "int" else "static_cast<%s>(%d)" % (t, value))
        if op in held and op not in own:
            define_setters(model, w, e, held[op])
    for a in e.attributes:
        if a.name not in VIRTUAL_GETTERS or e.kind != "entity":
            define_getter(model, w, e, a)
        define_setters(model, w, e, a)
    for name, form, argument, _ in e.derived:
        define_derived(model, w, e, held, name, form, argument)
    if has_codec(e) and not e.directory["raw"]:
        define_codec(model, w, e, held)
    w("")


# Columns of the fields of record one that the mask governs, from column 17 on.
MASK_COLUMNS = dict(zip(MASK_ATTRIBUTES, (16, 24, 32, 40, 48, 56)))


def define_codec(model, w, e, held):
    """The four directory-record members of a class, from its mask, status and form."""
    c, d = e.name, e.directory

    def f(text, *args):
        w.lines.append(text % args)  # always formatted: the C formats are written %%
    mask = dict(zip(MASK_ATTRIBUTES, d["fields"]))
    stored = {a for a, place in mask.items() if place in MASK_LETTERS}
    f("void %s::de_read_record_one(int* const fields) {", c)
    f("  pd_pointer = fields[1];")
    if "structure" in stored:
        f("  if (fields[2] < 0)")
        f("    structure(lumo_cast<%s>(igeslib_resolve_de(fields[2])));", held["structure"].type)
    if "line_font" in stored:
        f("  line_font(igeslib_de_read_line_font(fields[3]));")
    if "level" in stored:
        f("  level(igeslib_de_read_level(fields[4]));")
    if "view" in stored:
        f("  if (fields[5] > 0) view(igeslib_de_read_view(fields[5]));")
    for attribute, k in (("transformation", 6), ("label_display", 7)):
        if attribute in stored:
            f("  if (fields[%d] > 0)", k)
            f("    %s(lumo_cast<%s>(igeslib_resolve_de(fields[%d])));", attribute,
              held[attribute].type, k)
    for k, (attribute, place) in enumerate(zip(STATUS_ATTRIBUTES, d["status"])):
        if place == "a":
            f("  %s_asi(fields[%d]);", attribute, 8 + k)
    f("  de_number = fields[12];")
    f("}")
    f("void %s::de_read_record_two(int* const fields, char* label) {", c)
    if "line_weight" in stored:
        f("  line_weight(fields[1]);")
    if "color" in stored:
        f("  color(igeslib_de_read_color(fields[2]));")
    f("  pd_line_count = fields[3];")
    if d["form"] == "a":
        f("  form(fields[4]);")
    f("  this->label(label);")
    f("  subscript(fields[8]);")
    f("}")
    f("void %s::de_write_record_one(char* out) {", c)
    f("  igeslib_de_write_int(out, entity_type());")
    f("  igeslib_de_write_int(out + 8, pd_pointer);")
    for attribute, column in MASK_COLUMNS.items():
        place = mask[attribute]
        if attribute == "structure" and place == "S":
            # A definition that is missing or can't be loaded leaves the columns blank.
            f("  igeslib_de_write_definition(out + %d, structure());", column)
        elif place == "1":
            f("  igeslib_de_write_int(out + %d, 1);", column)
        elif place == ".":
            f("  igeslib_de_write_blank(out + %d);", column)
        elif attribute in ("line_font", "level", "view"):
            f("  igeslib_de_write_%s(out + %d, %s());", attribute, column, attribute)
        else:
            f("  igeslib_de_write_pointer(out + %d, %s());", column, attribute)
    for k, (attribute, place) in enumerate(zip(STATUS_ATTRIBUTES, d["status"])):
        column = 64 + 2 * k
        if place == "a":
            f("  igeslib_de_write_status(out + %d, %s());", column, attribute)
        elif place == "u" or place.isdigit():
            f("  igeslib_de_write_digit(out + %d, static_cast<int>(%s()));", column, attribute)
        else:
            f("  igeslib_de_write_digit(out + %d, 0);", column)
    f("}")
    f("void %s::de_write_record_two(char* out) {", c)
    f("  igeslib_de_write_int(out, entity_type());")
    if "line_weight" in stored:
        f("  igeslib_de_write_int(out + 8, line_weight());")
    else:
        f("  igeslib_de_write_blank(out + 8);")
    if "color" in stored:
        f("  igeslib_de_write_color(out + 16, color());")
    else:
        f("  igeslib_de_write_blank(out + 16);")
    f("  igeslib_de_write_int(out + 24, pd_line_count);")
    f("  igeslib_de_write_int(out + 32, form());")
    f("  igeslib_de_write_blank(out + 40);")
    f("  igeslib_de_write_blank(out + 48);")
    f("  igeslib_de_write_label(out + 56, this->label());")
    f("  igeslib_de_write_int(out + 64, subscript());")
    f("}")


def define_derived(model, w, e, held, name, form, argument):
    c = e.name
    if form == "hand":
        return
    getter = held[argument].spelling if argument in held else argument
    if form == "constant":
        w("int %s::%s() { return %s; }", c, name, argument)
    elif form == "alias":
        w("%s %s::%s() { return %s(); }", cxx_type(model, held[argument].type), c, name, getter)
    elif form == "length":
        w("int %s::%s() {", c, name)
        w("  const char* chars = %s();", getter)
        w("  return chars ? static_cast<int>(std::strlen(chars)) : 0;")
        w("}")
    elif form == "subscript":
        w("int %s::%s() {", c, name)
        w("  %s* target = %s();", held[argument].type, getter)
        w("  return target ? target->subscript() : 0;")
        w("}")
    else:
        less = " - 1" if form != "size" else ""
        w("int %s::%s() {", c, name)
        w("  LumoObject* list = %s();", getter)
        if form == "first_size_less_one":
            w("  list = list ? list->getObject(0) : nullptr;")
        w("  return list ? static_cast<int>(list->size())%s : %s;", less, "-1" if less else "0")
        w("}")


def define_select(model, w, e):
    c = e.name
    w("// --- %s", c)
    define_allocation(w, c)
    for choice, type_ in e.choices:
        t = cxx_type(model, type_)
        w("char %s::is%s() { return getAttribute(\"%s\") == getAttribute(nullptr); }",
          c, choice, choice)
        if is_reference(model, type_):
            w("%s %s::%s() {", t, c, choice)
            w("  if (lumo_is_delayed(value_.p) && !lumo_access_object(this, &value_.p)) "
              "return nullptr;")
            w("  return static_cast<%s>(value_.p);", t)
            w("}")
            w("void %s::%s(%s value) {", c, choice, t)
            w("  if (!putAttribute(\"%s\")) return;", choice)
            w("  modified();")
            w("  value_.p = value;")
            w("}")
            continue
        member = SLOT_MEMBERS.get(type_, "i")
        if type_ in PLAIN_CXX:
            w("%s %s::%s() { return value_.%s; }", t, c, choice, member)
        else:
            w("%s %s::%s() { return static_cast<%s>(value_.i); }", t, c, choice, t)
        w("void %s::%s(%s value) {", c, choice, "const char*" if type_ == "string" else t)
        w("  if (putAttribute(\"%s\")) lumo_update_prim(this, &value_.%s, %s);", choice, member,
          "value" if type_ in PLAIN_CXX else "static_cast<int>(value)")
        w("}")
        if type_ not in PLAIN_CXX:
            # Once the code is known to name an enumerator, the choice is taken by its
            # attribute and the code stored: what a store through the dictionary does, without
            # its checks of the slot's kind.
            w("char %s::%s(int code) {", c, choice)
            w("  LumoAttribute* choice = igeslib_code_in_range(this, \"%s\", code);", choice)
            w("  if (!choice || !putAttribute(choice)) return 0;")
            w("  lumo_update_prim(this, &value_.i, code);")
            w("  return 1;")
            w("}")
    w("")


def define_aggregate(model, w, e):
    define_allocation(w, e.name)
    kind, element = aggregate_parts(e.name)
    if type_kind(model, element, False) == "enum":
        w("char %s::%s_asInt(int code, int index) {", e.name, dictionary_name(element))
        w("  return igeslib_put_code(this, \"%s\", code, static_cast<unsigned>(index));",
          dictionary_name(element))
        w("}")
    w("")


def define_binding(model, w, e):
    """Prototype, binder, descriptor of a class or enumeration, in that order."""
    c = e.name
    schema = "nullptr" if e.kind == "aggregate" else '"%s"' % e.schema.name
    if e.kind == "enum":
        w("static void bind_%s(LumoTypePtr& self) {", c)
        w("  self->superOffset(self, lumotype_LumoEnum, 0)")
        w("      ->super(lumotype_LumoEnum)")
        w("      ->schema(%s)", schema)
        for k, n in enumerate(e.enumerators):
            w("      ->enumerator(\"%s\", %d)%s", n, k, ";" if k == len(e.enumerators) - 1 else "")
        w("}")
        w("LumoTypePtr lumotype_%s(\"%s\", sizeof(int), bind_%s, nullptr);", c,
          e.dictionary_name, c)
        w("")
        return
    capacity = "(0)" if e.kind == "aggregate" else ""
    w("static %s prototype_%s%s;", c, c, capacity)
    w("static void bind_%s(LumoTypePtr& self) {", c)
    if e.kind in ("entity", "structure"):
        w("  auto* p = self->prototype ? dynamic_cast<%s*>(self->prototype) : nullptr;", c)
        w("  self->superOffset(self, lumotype_LumoObject, igeslib_offset<%s, LumoObject>(p))", c)
        w("      ->superOffset(self, lumotype_LumoStructure, "
          "igeslib_offset<%s, LumoStructure>(p))", c)
        for b in chain(model, e)[:-1]:
            w("      ->superOffset(self, lumotype_%s, igeslib_offset<%s, %s>(p))", b.name, c,
              b.name)
        w("      ->superOffset(self, self, 0)")
        w("      ->schema(%s)", schema)
        for b in e.bases or ["LumoStructure"]:
            w("      ->virtual_super(lumotype_%s)", b)
        for a in e.attributes:
            w("      ->variable(%s, \"%s\", p ? static_cast<void*>(&p->%s_) : nullptr)",
              descriptor(model, a.type), a.name, a.name)
    elif e.kind == "select":
        w("  self->superOffset(self, lumotype_LumoObject, 0)")
        w("      ->superOffset(self, lumotype_LumoUnion, 0)")
        w("      ->superOffset(self, self, 0)")
        w("      ->schema(%s)", schema)
        w("      ->super(lumotype_LumoUnion)")
        for choice, type_ in e.choices:
            w("      ->variable(%s, \"%s\", nullptr)", descriptor(model, type_), choice)
    else:
        kind, element = aggregate_parts(e.name)
        enum = type_kind(model, element, False) == "enum"
        bases = (["LumoAggregate", "LumoArray", "LumoEnumArray"] if enum else
                 ["LumoAggregate", "LumoArray", "LumoPtrArray"] if kind == "ArrayOf" else
                 ["LumoAggregate", "LumoList", "LumoPtrList"])
        w("  self->schema(nullptr)")
        w("      ->superOffset(self, lumotype_LumoObject, 0)")
        for b in bases:
            w("      ->superOffset(self, lumotype_%s, 0)", b)
        w("      ->superOffset(self, self, 0)")
        w("      ->super(lumotype_%s)", bases[-1])
        w("      ->variable(%s, %s->name, self->prototype)", descriptor(model, element),
          descriptor(model, element))
    w("      ;")
    w("}")
    name = '"%s"' % e.dictionary_name
    if e.kind == "aggregate":
        name = 'lumo_build_aggname("%s", "%s")' % (e.dictionary_name, c)
    w("LumoTypePtr lumotype_%s(%s, sizeof(%s), &prototype_%s,", c, name, c, c)
    w("                        igeslib_create<%s, lumotype_%s>, bind_%s, igeslib_cast<%s>);",
      c, c, c, c)
    w("")


# --- files

def class_order(model, entries):
    """Entries with every base before the classes that derive from it."""
    done, order = set(), []

    def visit(e):
        if e.name in done:
            return
        done.add(e.name)
        for b in e.bases:
            if model.entries[b] in entries:
                visit(model.entries[b])
        order.append(e)
    for e in entries:
        visit(e)
    return order


def compiled_entries(model, schema):
    """A schema's entries; the first compiled schema also takes the compiled
    aggregates of the internal schemas."""
    first = [s for s in model.schemas if not s.internal][0]
    return schema.entries + (compiled(model) if schema is first else [])


def emit_common(model):
    w = Writer()
    w("// Generated from the data-model source by schema/generate.py. Do not edit.")
    w("// Names of every class, enumeration and descriptor of the data model.")
    w("#pragma once")
    w("")
    w("#include <cstdio>")
    w("")
    w("#include \"lumo.h\"")
    w("")
    entries = [e for s in model.schemas if not s.internal for e in s.entries] + compiled(model)
    for e in entries:
        if e.kind != "enum":
            w("class %s;", e.name)
    for line in HAND_FORWARDS:
        w(line)
    w("")
    for e in entries:
        if e.kind == "enum":
            declare_enum(w, e)
    for e in entries:
        w("extern LumoTypePtr lumotype_%s;", e.name)
    w("")
    w("// Binds every class of the library and makes its domain, in schema order.")
    w("void igeslib_force_load();")
    w("// Builds the eight schema designs of the dictionary from the tables compiled in.")
    w("void igeslib_create_builtin_schemas();")
    w("")
    for e in compiled(model):
        declare_aggregate(model, w, e)
    return w.text()


def emit_header(model, schema):
    w = Writer()
    w("// Generated from the data-model source by schema/generate.py. Do not edit.")
    w("// The classes of %s.", schema.name)
    w("#pragma once")
    w("")
    w("#include \"%s\"", COMMON_HEADER)
    needed = []
    for e in schema.entries:
        for b in e.bases:
            home = model.entries[b].schema.name
            if home != schema.name and home not in needed:
                needed.append(home)
    for n in needed:
        w("#include \"%s.h\"", n)
    w("")
    for e in class_order(model, schema.entries):
        if e.kind in ("entity", "structure"):
            declare_class(model, w, e)
        elif e.kind == "select":
            declare_select(model, w, e)
        elif e.kind == "aggregate":
            declare_aggregate(model, w, e)
    return w.text(), needed


def emit_source(model, entries, part_name):
    w = Writer()
    w("// Generated from the data-model source by schema/generate.py. Do not edit.")
    w("// Members, prototypes, binders and descriptors of %s.", part_name)
    w("#include <cstdio>")
    w("#include <cstring>")
    w("")
    for s in model.schemas:
        if not s.internal:
            w("#include \"%s.h\"", s.name)
    w("#include \"%s\"", SUPPORT_HEADER)
    w("")
    for e in entries:
        if e.kind in ("entity", "structure"):
            define_class(model, w, e)
        elif e.kind == "select":
            define_select(model, w, e)
        elif e.kind == "aggregate":
            define_aggregate(model, w, e)
    for e in entries:
        define_binding(model, w, e)
    return w.text()


SUPPORT = """// Generated by schema/generate.py. Do not edit.
// Templates shared by the generated binders, creators and int-coded accessors.
#pragma once

#include <new>

#include "igeslib_directory.h"
#include "igeslib_schema_common.h"
#include "lumo.h"

// Where the part B lies inside an instance of C, measured on the prototype.
template <class C, class B>
unsigned igeslib_offset(C* prototype) {
  if (!prototype) return 0;
  return static_cast<unsigned>(reinterpret_cast<char*>(static_cast<B*>(prototype)) -
                               reinterpret_cast<char*>(prototype));
}

template <class C>
LumoObject* igeslib_cast(void* start) {
  return static_cast<C*>(start);
}

// An instance in section, made by the default constructor (an aggregate with
// the capacity asked for).
template <class C, LumoTypePtr& T>
LumoObject* igeslib_create(LumoDesignSection* section, LumoDomain* domain, unsigned capacity) {
  void* place = lumo_new(sizeof(C), section, domain, T);
  if (!place) return nullptr;
  if constexpr (std::is_base_of_v<LumoAggregate, C>)
    return ::new (place) C(capacity);
  else
    return ::new (place) C();
}

// Stores the enumerator whose position in the dictionary is code into the
// attribute called name; false, with nothing stored, if there is no such
// enumerator. A negative code is out of range as well. igeslib_code_in_range
// only checks: the attribute when the code names one of its enumerators. The
// name is a literal of the generated code.
inline LumoAttribute* igeslib_code_in_range(LumoObject* object, const char* name, int code) {
  LumoDomain* domain = object->domain();
  LumoAttribute* attribute = domain ? domain->findTypeAttributeByFixedName(name) : nullptr;
  if (!attribute || !attribute->slotDomain()) return nullptr;
  ListOfLumoAttribute* enumerators = attribute->slotDomain()->typeImmediateAttributes();
  if (code < 0 || !(*enumerators)[static_cast<unsigned>(code)]) return nullptr;
  return attribute;
}
inline char igeslib_put_code(LumoObject* object, const char* name, int code, unsigned index) {
  LumoAttribute* attribute = igeslib_code_in_range(object, name, code);
  if (!attribute) return 0;
  // The enumerator's position is the code itself.
  int position = code;
  return object->putData(attribute, index, &position, lumotype_int);
}

// The directory-record codec's shared steps (model/directory_codec.cpp).
// Fresh selects for one record, made in the current design.
igs_lineFont* igeslib_de_read_line_font(int field);
igs_entity_level* igeslib_de_read_level(int field);
igs_entity_view* igeslib_de_read_view(int field);
igs_entity_color* igeslib_de_read_color(int field);
// Eight columns each: blanks when the value is missing.
void igeslib_de_write_pointer(char* out, igs_directory_entry* entity);
void igeslib_de_write_definition(char* out, igs_directory_entry* entity);  // negated
void igeslib_de_write_line_font(char* out, igs_lineFont* font);
void igeslib_de_write_level(char* out, igs_entity_level* level);
void igeslib_de_write_view(char* out, igs_entity_view* view);
void igeslib_de_write_color(char* out, igs_entity_color* color);
// Two columns: 00 for an unset status.
void igeslib_de_write_status(char* out, int value);
"""


def emit_load(model):
    w = Writer()
    w("// Generated from the data-model source by schema/generate.py. Do not edit.")
    w("// The load lists: every descriptor of each compiled schema, in schema order.")
    w("#include \"%s\"", COMMON_HEADER)
    w("")
    lists = dict(load_lists(model))
    order = [n for n in LOAD_ORDER if n in lists] + [n for n in lists if n not in LOAD_ORDER]
    for name in order:
        w("static LumoTypePtr* const load_%s[] = {", name)
        for e in lists[name]:
            w("    &lumotype_%s,", e.name)
        w("};")
    w("")
    w("void igeslib_force_load() {")
    for name in order:
        w("  for (LumoTypePtr* type : load_%s) (*type)->force_load();", name)
    w("}")
    return w.text()


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


def emit(model, out):
    """Writes every generated file under out; a file whose text is unchanged is
    left alone, so that the build does not redo its work."""
    texts = {"include/" + COMMON_HEADER: emit_common(model),
             "src/" + SUPPORT_HEADER: SUPPORT, "src/igeslib_load.cpp": emit_load(model),
             "src/igeslib_builtin_schemas.cpp": emit_tables(model)}
    rows = registry_rows(model)
    texts["include/" + ROWS_HEADER] = emit_rows_header(rows)
    texts["src/igeslib_entity_rows.cpp"] = emit_rows_source(rows)
    graph = {}
    for s in model.schemas:
        if s.internal:
            continue
        texts["include/%s.h" % s.name], graph[s.name] = emit_header(model, s)
        entries = compiled_entries(model, s)
        parts = SOURCE_PARTS.get(s.name, 1)
        size = -(-len(entries) // parts)
        for k in range(parts):
            name = "src/%s%s.cpp" % (s.name, "_%d" % (k + 1) if parts > 1 else "")
            texts[name] = emit_source(model, entries[k * size:(k + 1) * size], name)
    check_includes(graph)
    for path, text in texts.items():
        full = os.path.join(out, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        if os.path.exists(full):
            with open(full) as f:
                if f.read() == text:
                    continue
        with open(full, "w") as f:
            f.write(text)
    return sorted(texts)


def check_includes(graph):
    def walk(name, path):
        if name in path:
            raise ModelError("the schemas %s include each other through their bases"
                             % " -> ".join(path + [name]))
        for n in graph.get(name, []):
            walk(n, path + [name])
    for name in graph:
        walk(name, [])


BUILTIN_DOMAINS = (["LumoAttribute"]
                   + [k + e for k in AGGREGATE_KINDS
                      for e in ("Integer", "Double", "Float", "String", "Boolean", "LumoObject")]
                   + ["LumoSTR", "LumoDomain", "LumoStructure", "ListOfLumoAttribute",
                      "ListOfLumoDomain", "LumoPtrList", "LumoPtrBag", "LumoPtrSet",
                      "LumoPtrArray", "int", "double", "LumoEnum", "LumoUnion", "LumoBoolean",
                      "LumoEnumArray"])
PLAIN_DOMAINS = {"int": "int", "double": "double", "string": "LumoSTR", "bool": "LumoBoolean"}
PREFIX_COUNTS = {"lintel_extensions": 4, "header_section_schema": 3}
AGGREGATE_SUPERS = {"ListOf": "LumoPtrList", "ArrayOf": "LumoPtrArray", "SetOf": "LumoPtrSet",
                    "BagOf": "LumoPtrBag"}


def builtin(name):
    return -(BUILTIN_DOMAINS.index(name) + 1)


def dictionary_tables(model):
    """The rows of the embedded dictionary: designs, objects (domain reference,
    prefix, low part, size, name), object puts and string puts."""
    objects, object_puts, string_puts, designs, prefixes = [], [], [], [], []
    domain_row = {}
    late = []  # puts that name a domain of a later row: resolved at the end

    def row(domain, size=0, name=None):
        objects.append([domain, None, size, name])
        return len(objects) - 1

    def domain_of(type_):
        if type_ in PLAIN_DOMAINS:
            return builtin(PLAIN_DOMAINS[type_])
        if type_ in BUILTIN_DOMAINS:
            return builtin(type_)
        return type_

    internal = [s for s in model.schemas if s.internal]
    for s in internal + sorted((s for s in model.schemas if not s.internal),
                               key=lambda s: s.name):
        first = len(objects)
        optionals, abstracts, defined = [], [], {}
        for e in s.entries:
            d = domain_row[e.name] = row(builtin("LumoDomain"), name=e.dictionary_name)
            string_puts.append((d, "name", 0, e.dictionary_name))
            if e.kind == "enum":
                members = [(n, "int") for n in e.enumerators]
            elif e.kind == "select":
                members = e.choices
            elif e.kind == "aggregate":
                element = aggregate_parts(e.name)[1]
                members = [(dictionary_name(element), element)]
            else:
                members = [(a.name, a.type) for a in e.attributes]
            rows = []
            for name, type_ in members:
                a = row(builtin("LumoAttribute"))
                rows.append(a)
                string_puts.append((a, "name", 0, name))
                late.append((a, "domain", 0, domain_of(type_)))
                if e.kind == "select" and type_kind(model, type_, False) in ("plain", "enum"):
                    defined.setdefault(name[1:], domain_of(type_))
            for a, attribute in zip(rows, e.attributes):
                if attribute.optional:
                    optionals.append(a)
            attributes = row(builtin("ListOfLumoAttribute"), len(rows))
            for k, a in enumerate(rows):
                object_puts.append((attributes, None, k, a))
            if e.kind in ("entity", "structure"):
                supers = e.bases or ["LumoStructure"]
            else:
                supers = [{"enum": "LumoEnum", "select": "LumoUnion"}.get(e.kind) or
                          ("LumoEnumArray" if type_kind(model, aggregate_parts(e.name)[1],
                                                        False) == "enum"
                           else AGGREGATE_SUPERS[aggregate_parts(e.name)[0]])]
            supers_list = row(builtin("ListOfLumoDomain"), len(supers))
            for k, b in enumerate(supers):
                late.append((supers_list, None, k, domain_of(b)))
            late.append((d, "listOfSuper", 0, supers_list))
            late.append((d, "listOfAttribute", 0, attributes))
            if e.abstract:
                abstracts.append(d)
        for marker, members, kind in (("_____LUMO_OPTIONALS", optionals, "ListOfLumoAttribute"),
                                      ("_____LUMO_ABSTRACT", abstracts, "ListOfLumoDomain")):
            if members:
                m = row(builtin(kind), len(members), marker)
                objects[m][1] = "marker"
                for k, member in enumerate(members):
                    object_puts.append((m, None, k, member))
        for name, target in defined.items():
            t = row("LumoDefType")
            string_puts.append((t, "name", 0, name))
            late.append((t, "lumo_def", 0, target))
        # The first schema is the dictionary's own vocabulary, which the others use.
        designs.append((s.name, first, len(objects), 0 if s is model.schemas[0] else 1))
    for target, attribute, index, value in late:
        if isinstance(value, str):
            value = domain_row[value]
        object_puts.append((target, attribute, index, value))
    for o in objects:
        if isinstance(o[0], str):
            if o[0] not in domain_row:
                raise ModelError("select choices of a plain type need the class %s" % o[0])
            o[0] = domain_row[o[0]]
    # OID prefixes: the marker lists of a schema have a prefix of their own.
    for number, (name, first, end, _) in enumerate(designs):
        count = PREFIX_COUNTS.get(name, 2)
        markers = name not in PREFIX_COUNTS
        ordinary = count - 1 if markers else count
        base = len(prefixes)
        prefixes += [(number, base + k) for k in range(count)]
        lows = [0] * count
        for k in range(first, end):
            if markers and objects[k][1] == "marker":
                p = base + count - 1
            else:
                p = base + (k - first) * ordinary // (end - first)
            lows[p - base] += 1
            objects[k][1] = (p, lows[p - base])
    return designs, objects, object_puts, string_puts, prefixes


def c_text(text):
    return "nullptr" if text is None else '"%s"' % text


def emit_tables(model):
    designs, objects, object_puts, string_puts, prefixes = dictionary_tables(model)
    w = Writer()
    w("// Generated from the data-model source by schema/generate.py. Do not edit.")
    w("// The embedded dictionary: constant tables and the builder of the schema designs.")
    w("#include <cstdint>")
    w("#include <cstdlib>")
    w("")
    w("#include \"%s\"", COMMON_HEADER)
    w("")
    w("namespace {")
    w("")
    w("struct DesignRow {")
    w("  const char* name;")
    w("  unsigned end;")
    w("  unsigned pass;")
    w("};")
    w("struct ObjectRow {")
    w("  std::int32_t domain;  // an object row, or -(n + 1) for built-in domain n")
    w("  std::uint16_t prefix;")
    w("  std::uint16_t low;")
    w("  std::uint64_t size;")
    w("  const char* name;")
    w("};")
    w("struct ObjectPut {")
    w("  std::uint32_t target;")
    w("  const char* attribute;")
    w("  std::uint32_t index;")
    w("  std::int32_t value;")
    w("};")
    w("struct StringPut {")
    w("  std::uint32_t target;")
    w("  const char* attribute;")
    w("  std::uint32_t index;")
    w("  const char* text;")
    w("};")
    w("")
    w("constexpr unsigned kObjects = %d;", len(objects))
    w("const DesignRow designs[] = {")
    for name, first, end, pass_ in designs:
        w("    {\"%s\", %d, %d},", name, end, pass_)
    w("};")
    w("LumoTypePtr* const builtin_types[] = {")
    for n in BUILTIN_DOMAINS:
        w("    &lumotype_%s,", n)
    w("};")
    w("const ObjectRow objects[kObjects] = {")
    for domain, (prefix, low), size, name in objects:
        w("    {%d, %d, %d, %d, %s},", domain, prefix, low, size, c_text(name))
    w("};")
    w("const ObjectPut object_puts[] = {")
    for target, attribute, index, value in object_puts:
        w("    {%d, %s, %d, %d},", target, c_text(attribute), index, value)
    w("};")
    w("const StringPut string_puts[] = {")
    for target, attribute, index, text in string_puts:
        w("    {%d, %s, %d, \"%s\"},", target, c_text(attribute), index, text)
    w("};")
    w("LumoOIDPrefix prefixes[] = {")
    for design, k in prefixes:
        w("    {{0x49474553u, %du, %du, 0x4c554d4fu, 0u}},", design, k)
    w("};")
    w("")
    w(BUILDER)
    return w.text()


BUILDER = """LumoObject* domain_object(LumoObject* const* made, LumoObject* const* builtin, int reference) {
  return reference < 0 ? builtin[-reference - 1] : made[reference];
}

}  // namespace

void igeslib_create_builtin_schemas() {
  LumoObject* builtin[sizeof builtin_types / sizeof builtin_types[0]];
  for (unsigned k = 0; k < sizeof builtin_types / sizeof builtin_types[0]; ++k) {
    LumoType* type = &**builtin_types[k];
    builtin[k] = type->domain ? type->domain : type->acquireDomain();
  }
  LumoObject* made[kObjects] = {};
  unsigned char fresh[kObjects];
  LumoDesign* design_of[sizeof designs / sizeof designs[0]];
  for (unsigned d = 0; d < sizeof designs / sizeof designs[0]; ++d)
    design_of[d] = LUMO.newDesign(designs[d].name, nullptr);
  for (unsigned pass = 0; pass < 2; ++pass) {
    for (unsigned k = 0; k < kObjects; ++k) fresh[k] = 0;
    unsigned first = 0;
    for (unsigned d = 0; d < sizeof designs / sizeof designs[0]; first = designs[d++].end) {
      if (designs[d].pass != pass) continue;
      for (unsigned k = first; k < designs[d].end; ++k) {
        const ObjectRow& row = objects[k];
        auto* domain = static_cast<LumoDomain*>(
            lumo_cast(domain_object(made, builtin, row.domain), lumotype_LumoDomain));
        LumoObject* object = design_of[d]->pnewInstance(domain, 0);
        LumoOIDPrefix* prefix = LUMO.designIndex()->findPrefix(&prefixes[row.prefix]);
        if (!prefix) prefix = LUMO.designIndex()->addPrefix(&prefixes[row.prefix]);
        if (!prefix) {
          lumo_ec()->text("embedded schema: Cannot get OID prefix\\n");
          std::exit(3);
        }
        if (object) {
          object->oid(prefix->words[4] | row.low);
          if (row.size) object->size(static_cast<unsigned>(row.size), -1);
          if (row.name) design_of[d]->addName(row.name, object);
        }
        made[k] = object;
        fresh[k] = 1;
      }
    }
    for (const ObjectPut& put : object_puts) {
      LumoObject* target = made[put.target];
      if (!target || !fresh[put.target]) continue;
      LumoObject* value = domain_object(made, builtin, put.value);
      if (put.attribute)
        target->putObject(value, put.attribute, 0);
      else
        target->putObject(value, put.index);
    }
    for (const StringPut& put : string_puts) {
      LumoObject* target = made[put.target];
      if (!target || !fresh[put.target]) continue;
      if (put.attribute)
        target->putString(put.text, put.attribute, 0);
      else
        target->putString(put.text, put.index);
    }
    for (unsigned d = 0; d < sizeof designs / sizeof designs[0]; ++d)
      if (designs[d].pass == pass) design_of[d]->activate();
  }
}"""


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--output", metavar="DIR",
                        help="write the generated C++ into DIR (include/ and src/)")
    parser.add_argument("--check", action="store_true",
                        help="compare the derived figures with counts.txt")
    parser.add_argument("--counts", action="store_true", help="print the derived figures")
    args = parser.parse_args(argv)
    try:
        model = load()
        counts = derive_counts(model)
        if args.output:
            emit(model, args.output)
    except ModelError as error:
        print("error: %s" % error, file=sys.stderr)
        return 1
    if args.counts:
        for schema, figures in counts.items():
            for figure, number in figures.items():
                print("%-42s %-20s %d" % (schema, figure, number))
    if args.check:
        faults = compare(counts, read_expected(os.path.join(HERE, "counts.txt")))
        for fault in faults:
            print("error: %s" % fault, file=sys.stderr)
        return 1 if faults else 0
    return 0


if __name__ == "__main__":
    sys.exit(main())
