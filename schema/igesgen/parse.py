"""Reads the text of the model source into a Model (see FORMAT.md)."""

import os
import re

from .model import (Attribute, DERIVED_FORMS, Entry, Step, HERE, IDENT, MASK_LETTERS, Model,
    ModelError, Schema, aggregate_parts)
from .check import check


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


def split_steps(text, where):
    """The steps of a layout text: split at the commas outside braces."""
    steps, depth, start = [], 0, 0
    for i, c in enumerate(text):
        if c == "{":
            depth += 1
        elif c == "}":
            depth -= 1
            if depth < 0:
                raise ModelError("%s: a '}' closes nothing in the layout" % where)
        elif c == "," and depth == 0:
            steps.append(text[start:i].strip())
            start = i + 1
    if depth:
        raise ModelError("%s: a '{' of the layout is not closed" % where)
    steps.append(text[start:].strip())
    if any(not s for s in steps):
        raise ModelError("%s: the layout has an empty step" % where)
    return steps


LAYOUT_STEPS = [
    (re.compile(r"(I|R|S|L|X|C|F|P\?|P!)(?:\s+(%s))?" % IDENT), "one"),
    (re.compile(r"D\((-?\d+(?:\.\d*)?)\)"), "D"),
    (re.compile(r"N\((%s)\)\s*(?:\{(.*)\})?" % IDENT), "N"),
    (re.compile(r"form\s*=\s*(-?\d+)\s*\{(.*)\}"), "form"),
    (re.compile(r"hand\s+(%s)" % IDENT), "hand"),
    (re.compile(r"(%s)\s*\{(.*)\}" % IDENT), "items"),
]


def parse_layout(text, where):
    """A parameter layout as a list of Step; N(x){...} is the count and the items."""
    steps = []
    for part in split_steps(text.strip(), where):
        for pattern, kind in LAYOUT_STEPS:
            m = pattern.fullmatch(part)
            if m:
                break
        else:
            raise ModelError("%s: cannot read the layout step '%s'" % (where, part))
        if kind == "one":
            steps.append(Step(m.group(1), m.group(2), where))
        elif kind == "D":
            steps.append(Step("D", None, where, value=m.group(1)))
        elif kind == "N":
            steps.append(Step("N", m.group(1), where))
            if m.group(2) is not None:
                steps.append(Step("items", m.group(1), where,
                                  steps=parse_layout(m.group(2), where)))
        elif kind == "form":
            steps.append(Step("form", None, where, value=int(m.group(1)),
                              steps=parse_layout(m.group(2), where)))
        elif kind == "hand":
            steps.append(Step("hand", m.group(1), where))
        else:
            steps.append(Step("items", m.group(1), where, steps=parse_layout(m.group(2), where)))
    return steps


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
                if current.kind != "entity" or current.parameters is not None:
                    raise ModelError("%s: a parameter layout belongs to an entity, once" % where)
                current.parameters = parse_layout(line[len("parameters:"):], where)
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
