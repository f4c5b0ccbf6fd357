"""Checks a parsed Model: types, bases, names, derived members and directory settings."""

from .model import (MASK_ATTRIBUTES, MASK_LETTERS, ModelError, PLAIN_TYPES, RUNTIME_AGGREGATES,
    RUNTIME_CLASSES, STATUS_ATTRIBUTES, aggregate_parts, dictionary_name)


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
    if e.parameters is not None:
        if e.parameter_code:
            raise ModelError("%s: %s has both a layout and hand-written parameter code"
                             % (e.where, e.name))
        check_layout(model, e, names)


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


# ---------------------------------------------------------------- parameter layouts

# The attribute types that each one-parameter step takes.
STEP_TYPES = {"I": ("int", "enum"), "R": ("double",), "S": ("string",), "L": ("bool",),
              "X": ("int",), "P?": ("reference",), "P!": ("reference",)}
RUNTIME_ELEMENTS = {"Integer": "int", "Double": "double", "String": "string",
                    "Boolean": "bool"}


def step_type(model, type_):
    """What a step sees in a type: a plain name, 'enum', 'reference' (an entity class, or a
    select with an entity among its choices), 'aggregate', or None."""
    if type_ in ("int", "double", "string", "bool"):
        return type_
    e = model.entries.get(type_)
    if type_ in RUNTIME_AGGREGATES or (e is not None and e.kind == "aggregate"):
        return "aggregate"
    if e is None:
        return None
    if e.kind == "entity":
        return "reference"
    if e.kind == "select" and any(
            type_kind(model, t, False) == "entity" for _, t in e.choices):
        return "reference"
    return e.kind


def value_choice(model, type_):
    """The first choice of a select that holds an integer or an enumerator, or None."""
    e = model.entries.get(type_)
    if e is None or e.kind != "select":
        return None
    for choice, t in e.choices:
        if t == "int" or type_kind(model, t, False) == "enum":
            return choice
    return None


def element_type(type_):
    """The element of an aggregate type, with the runtime's plain elements as plain names."""
    _, element = aggregate_parts(type_)
    return RUNTIME_ELEMENTS.get(element, element)


def parameter_attributes(model, e):
    """The attributes of an entity that its parameter data holds: all but those of the
    directory entry root and the directory record's fields."""
    root = [a.name for a in model.entries["igs_directory_entry"].attributes]
    directory = set(root) | set(MASK_ATTRIBUTES) | set(STATUS_ATTRIBUTES) | {"form"}
    return [a for a in all_attributes(model, e) if a.name not in directory]


def check_layout(model, e, names):
    """A layout may only name what the class holds, with shapes that fit the types, and
    must name (or leave to a hand step) every parameter attribute of the class."""
    derived = {name for name, _, _, _ in e.derived}
    named = check_steps(model, e.name, e.parameters, names, derived, None, True)
    for a in parameter_attributes(model, e):
        if a.name not in named:
            raise ModelError("%s: the layout of %s leaves out %s; name it or give it a hand "
                             "step" % (e.parameters[0].where, e.name, a.name))


def check_steps(model, owner, steps, names, derived, element, top):
    """Checks steps of a layout over the attributes names (of the entity, or of a list's
    structure item); element is the item type of a list whose items are no structure.
    Answers the attribute names that the steps cover."""
    named, counted = set(), []
    for s in steps:
        where = s.where
        if s.kind in STEP_TYPES:
            if s.name is None:
                if element is None:
                    raise ModelError("%s: the step %s of %s names no attribute"
                                     % (where, s.kind, owner))
                have = element
            else:
                if element is not None:
                    raise ModelError("%s: the items of a list of %s are one nameless step"
                                     % (where, element))
                if s.name not in names:
                    raise ModelError("%s: the layout of %s names %s, which it lacks"
                                     % (where, owner, s.name))
                have = names[s.name].type
                named.add(s.name)
            if step_type(model, have) not in STEP_TYPES[s.kind]:
                raise ModelError("%s: the step %s of %s needs %s, not %s"
                                 % (where, " ".join([s.kind] + ([s.name] if s.name else [])), owner,
                                    " or ".join(STEP_TYPES[s.kind]), have))
        elif s.kind == "F":
            a = names.get(s.name)
            if a is None or value_choice(model, a.type) is None or \
                    step_type(model, a.type) != "reference":
                raise ModelError("%s: F %s of %s needs a select of a value and an entity"
                                 % (where, s.name, owner))
            named.add(s.name)
        elif s.kind == "C":
            if s.name not in derived:
                raise ModelError("%s: C %s of %s is no derived member"
                                 % (where, s.name, owner))
        elif s.kind in ("N", "items"):
            a = names.get(s.name)
            if a is None or step_type(model, a.type) != "aggregate":
                raise ModelError("%s: %s(%s) of %s needs a list attribute"
                                 % (where, s.kind, s.name, owner))
            if s.kind == "N":
                if s.name in counted:
                    raise ModelError("%s: %s is counted twice" % (where, s.name))
                counted.append(s.name)
                continue
            if s.name not in counted:
                raise ModelError("%s: the items of %s stand before its count N(%s)"
                                 % (where, s.name, s.name))
            counted.remove(s.name)
            named.add(s.name)
            check_items(model, owner, s, element_type(a.type))
        elif s.kind == "form":  # the entity's form, also in the items of its lists
            named |= check_steps(model, owner, s.steps, names, derived, element, top)
        elif s.kind == "hand":
            # Among a structure's item steps it stands for one attribute of the item.
            if element is not None or (not top and s.name not in names):
                raise ModelError("%s: a hand step names an attribute of the entity or of a "
                                 "structure item" % where)
            named.add(s.name)
    if counted:
        raise ModelError("%s: the count N(%s) of %s has no items"
                         % (steps[-1].where, counted[0], owner))
    return named


def check_items(model, owner, s, element):
    e = model.entries.get(element)
    if e is not None and e.kind == "structure":
        attributes = {a.name: a for a in all_attributes(model, e)}
        derived = {name for name, _, _, _ in e.derived}
        check_steps(model, element, s.steps, attributes, derived, None, False)
        return
    if len(s.steps) != 1:
        raise ModelError("%s: the items of %s of %s are one nameless step"
                         % (s.where, s.name, owner))
    check_steps(model, owner, s.steps, {}, set(), element, False)
