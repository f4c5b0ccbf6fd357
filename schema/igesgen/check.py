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
