#!/usr/bin/env python3
"""Reads the data-model source (see FORMAT.md), checks it, and derives the
figures of the embedded dictionary and the load lists from it.

    generate.py --check            parse, check, compare with counts.txt
    generate.py --counts           print the derived figures
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


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true",
                        help="compare the derived figures with counts.txt")
    parser.add_argument("--counts", action="store_true", help="print the derived figures")
    args = parser.parse_args(argv)
    try:
        model = load()
        counts = derive_counts(model)
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
