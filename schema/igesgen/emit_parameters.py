"""The parameter code of the entities that state their layout: pdread and pdwrite, both
from the one list of steps, so that reader and writer cannot drift apart."""

from .model import ModelError
from .check import all_attributes, element_type, step_type, value_choice
from .emit_classes import Writer, cxx_type, packable_entities

PARAMETER_SOURCE = "igeslib_parameter_code.cpp"

READ_VALUE = {"I": "io->read_int()", "R": "io->read_real()", "S": "io->read_string()",
              "L": "io->read_logical()", "X": "io->read_int() - 1"}
WRITE_CALL = {"I": "write_int", "R": "write_real", "S": "write_string", "L": "write_logical",
              "X": "write_int"}


class Scope:
    """Where the steps of one level act: the entity itself, or the item of a list."""

    def __init__(self, model, attributes, target, depth, path="", items=()):
        self.model = model
        self.attributes = attributes  # name -> Attribute
        self.target = target          # "" for the entity, "item0->" for an item
        self.depth = depth
        self.path = path              # the field name of the item: "" or "curves[]."
        self.items = items            # the loop variables of the lists on the way
        self.constants = {}           # a fixed value -> the derived member that answers it

    def attribute(self, name):
        return self.attributes[name]

    def inner(self, element, list_name):
        e = self.model.entries[element]
        return Scope(self.model, {a.name: a for a in all_attributes(self.model, e)},
                     "item%d->" % self.depth, self.depth + 1, "%s%s[]." % (self.path, list_name),
                     self.items + ("i%d" % self.depth,))

    def field(self, name, type_=None, item=None):
        """The IgeslibField of a step on attribute name (of an item of list name when item is
        its loop variable), holding type_."""
        items = self.items + ((item,) if item else ())
        text = self.path + name + ("[]" if item else "")
        described = "&lumotype_%s" % type_ if type_ else "nullptr"
        places = ", ".join((list(items) + ["-1", "-1"])[:2])
        return 'IgeslibField{"%s", %s, {%s}}' % (text, described, places)


def is_select(model, type_):
    e = model.entries.get(type_)
    return e is not None and e.kind == "select"


def packed_selects(model, list_type_, element):
    """A list whose selects the reader holds packed: just the entity of each element."""
    e = model.entries.get(element)
    return not is_array(list_type_) and e is not None and packable_entities(model, e)


def pointer_value(model, kind, type_, field):
    """The expression that reads a pointer parameter to an entity or a select of type_."""
    if is_select(model, type_):
        return "igeslib_read_select<%s>(io, %s, %s)" % (
            type_, "true" if kind == "P?" else "false", field)
    helper = "igeslib_read_pointer" if kind == "P?" else "igeslib_read_list_pointer"
    return "%s<%s>(io, %s)" % (helper, type_, field)


def read_value(model, kind, type_, field):
    if kind in ("P?", "P!"):
        return pointer_value(model, kind, type_, field)
    return READ_VALUE[kind]


def is_code(model, kind, type_):
    """An I step into an enumeration: read through its int-coded setter."""
    return kind == "I" and step_type(model, type_) == "enum"


def write_value(model, kind, type_, value):
    """The statement that writes one parameter of value (an expression of type_)."""
    if kind in ("P?", "P!"):
        if is_select(model, type_):
            value = "igeslib_select_entity(%s)" % value
        if kind == "P?":
            return "igeslib_write_pointer(io, %s);" % value
        return "igeslib_write_bare_pointer<%s>(io, %s);" % (type_, value)
    if kind == "I" and step_type(model, type_) == "enum":
        value = "static_cast<int>(%s)" % value
    if kind == "X":
        value = "%s + 1" % value
    return "io->%s(%s);" % (WRITE_CALL[kind], value)


def list_type(model, type_):
    return cxx_type(model, type_)[:-1]


def is_array(type_):
    return type_.startswith("ArrayOf")


def present(model, s, element):
    """The test of an item that the writer gives, or None when every item is written. A
    bare pointer that names no entity is left out, count and all: written as 0 it would
    come back as the first entity of the file."""
    item = s.steps[0] if s.steps else None
    if model.entries.get(element) is not None and model.entries[element].kind == "structure":
        return "item != nullptr"
    if item is not None and item.kind == "P!":
        return "item && item->entity()" if is_select(model, element) else "item != nullptr"
    return None


def hand_arguments(scope):
    """A hand step gets the filer, and among a list's items the item as well."""
    return "io, %s" % scope.target[:-2] if scope.target else "io"


def read_steps(w, scope, steps, indent):
    model = scope.model
    pad = "  " * indent
    t = scope.target
    computed = []
    for s in steps:
        if s.kind == "I" and is_code(model, s.kind, scope.attribute(s.name).type):
            a = scope.attribute(s.name)
            w("%sigeslib_read_code(io, [&](int n) { return %s%s(n); }, %s);", pad, t,
              a.spelling, scope.field(s.name, a.type))
        elif s.kind in READ_VALUE or s.kind in ("P?", "P!"):
            a = scope.attribute(s.name)
            w("%s%s%s(%s);", pad, t, a.spelling,
              read_value(model, s.kind, a.type, scope.field(s.name, a.type)))
        elif s.kind == "F":
            a = scope.attribute(s.name)
            choice = value_choice(model, a.type)
            w("%s%s%s(igeslib_read_negative_select<%s>(", pad, t, a.spelling, a.type)
            w("%s    io, [](%s* select, int n) { return select->%s(n); },", pad, a.type, choice)
            w("%s    %s));", pad, scope.field(s.name, a.type))
        elif s.kind == "C":
            # Compared with what the object computes once the rest of the record is read.
            w("%sint c_%s = io->read_int();", pad, s.name)
            computed.append(s.name)
        elif s.kind == "D":
            if "." in s.value:
                w("%sio->read_real();  // written as %s", pad, s.value)
            else:
                w("%sigeslib_note_value(io, IgeslibNoteKind::constant, io->read_int(), %s,",
                  pad, s.value)
                w("%s                   %s);", pad, scope.field(scope.constants.get(s.value, "")))
        elif s.kind == "N":
            a = scope.attribute(s.name)
            n, lst = "n_%s" % s.name, "l_%s" % s.name
            w("%sint %s = io->count(io->read_int());", pad, n)
            w("%s%s* %s = igeslib_new_list<%s>(%s);", pad, list_type(model, a.type), lst,
              list_type(model, a.type), n)
            w("%sif (%s) %s%s(%s);", pad, lst, t, a.spelling, lst)
        elif s.kind == "items":
            read_items(w, scope, s, indent)
        elif s.kind == "form":
            w("%sif (form() == %d) {", pad, s.value)
            read_steps(w, scope, s.steps, indent + 1)
            w("%s}", pad)
        elif s.kind == "hand":
            w("%spdread_%s(%s);", pad, s.name, hand_arguments(scope))
    for name in computed:
        w("%sigeslib_note_value(io, IgeslibNoteKind::computed, c_%s, %s%s(), %s);", pad, name,
          t, name, scope.field(name))


def read_items(w, scope, s, indent):
    model = scope.model
    pad = "  " * indent
    a = scope.attribute(s.name)
    element = element_type(a.type)
    n, lst, i = "n_%s" % s.name, "l_%s" % s.name, "i%d" % scope.depth
    w("%sfor (int %s = 0; %s < %s; ++%s) {", pad, i, i, n, i)
    if model.entries.get(element) is not None and model.entries[element].kind == "structure":
        inner = scope.inner(element, s.name)
        item = "item%d" % scope.depth
        w("%s  auto* %s = new (LUMO.design()) %s;", pad, item, element)
        read_steps(w, inner, s.steps, indent + 1)
        value = item
    elif packed_selects(model, a.type, element):
        w("%s  igeslib_read_select_onto<%s>(io, %s, %s, %s);", pad, element, lst,
          "true" if s.steps[0].kind == "P?" else "false", scope.field(s.name, element, i))
        w("%s}", pad)
        return
    else:
        item = s.steps[0]
        value = read_value(model, item.kind, element, scope.field(s.name, element, i))
    if is_array(a.type):
        w("%s  %s->put(%s, static_cast<unsigned>(%s));", pad, lst, value, i)
    else:
        w("%s  %s->add(%s);", pad, lst, value)
    w("%s}", pad)


def write_steps(w, scope, steps, indent):
    model = scope.model
    pad = "  " * indent
    t = scope.target
    for s in steps:
        if s.kind in WRITE_CALL or s.kind in ("P?", "P!"):
            a = scope.attribute(s.name)
            w("%s%s", pad, write_value(model, s.kind, a.type, "%s%s()" % (t, a.spelling)))
        elif s.kind == "F":
            a = scope.attribute(s.name)
            choice = value_choice(model, a.type)
            w("%sigeslib_write_negative_select(io, %s%s(), [](%s* select) {", pad, t, a.spelling,
              a.type)
            w("%s  return select->is%s() ? static_cast<int>(select->%s()) : 0;", pad, choice,
              choice)
            w("%s});", pad)
        elif s.kind == "C":
            w("%sio->write_int(%s%s());", pad, t, s.name)
        elif s.kind == "D":
            w("%sio->%s(%s);", pad, "write_real" if "." in s.value else "write_int", s.value)
        elif s.kind == "N":
            write_count(w, scope, s, steps, pad)
        elif s.kind == "items":
            write_items(w, scope, s, indent)
        elif s.kind == "form":
            w("%sif (form() == %d) {", pad, s.value)
            write_steps(w, scope, s.steps, indent + 1)
            w("%s}", pad)
        elif s.kind == "hand":
            w("%spdwrite_%s(%s);", pad, s.name, hand_arguments(scope))


def write_count(w, scope, s, steps, pad):
    model = scope.model
    a = scope.attribute(s.name)
    items = next(x for x in steps if x.kind == "items" and x.name == s.name)
    lst = "l_%s" % s.name
    # The field itself: a list never made is written as empty, and none is made for it.
    w("%s%s* %s = %s%s_ ? %s%s() : nullptr;", pad, list_type(model, a.type), lst,
      scope.target, s.name, scope.target, a.spelling)
    test = present(model, items, element_type(a.type))
    if test is not None and packed_selects(model, a.type, element_type(a.type)):
        w("%sio->write_int(igeslib_count_entities(%s));", pad, lst)
    elif test is None:
        w("%sio->write_int(%s ? static_cast<int>(%s->size()) : 0);", pad, lst, lst)
    else:
        w("%sio->write_int(igeslib_count_items(%s, [](auto* item) { return %s; }));",
          pad, lst, test)


def write_items(w, scope, s, indent):
    model = scope.model
    pad = "  " * indent
    a = scope.attribute(s.name)
    element = element_type(a.type)
    lst, i = "l_%s" % s.name, "i%d" % scope.depth
    size = "size%d" % scope.depth
    w("%sfor (unsigned %s = 0, %s = %s ? %s->size() : 0; %s < %s; ++%s) {", pad, i, size, lst,
      lst, i, size, i)
    structure = model.entries.get(element) is not None and \
        model.entries[element].kind == "structure"
    item = "item%d" % scope.depth if structure else "item"
    if packed_selects(model, a.type, element):
        # The entities as the list holds them, packed or not: a write makes no selects.
        w("%s  igs_directory_entry* item = %s->entityAt(%s);", pad, lst, i)
        kind = s.steps[0].kind
        if kind == "P!":
            w("%s  if (!item) continue;", pad)
            w("%s  igeslib_write_bare_pointer<%s>(io, item);", pad, element)
        else:
            w("%s  igeslib_write_pointer(io, item);", pad)
        w("%s}", pad)
        return
    w("%s  auto %s = (*%s)[%s];", pad, item, lst, i)
    test = present(model, s, element)
    if test is not None:
        w("%s  if (!(%s)) continue;", pad, test.replace("item", item))
    if structure:
        write_steps(w, scope.inner(element, s.name), s.steps, indent + 1)
    else:
        w("%s  %s", pad, write_value(model, s.steps[0].kind, element, item))
    w("%s}", pad)


def define_parameters(model, w, e):
    scope = Scope(model, {a.name: a for a in all_attributes(model, e)}, "", 0)
    scope.constants = {argument: name for name, form, argument, _ in e.derived
                       if form == "constant"}
    for direction, emit in (("pdread", read_steps), ("pdwrite", write_steps)):
        w("void %s::%s() {", e.name, direction)
        w("  IgeslibIO* io = igeslib_filer();")
        w("  if (!io) return;")
        emit(w, scope, e.parameters, 1)
        w("}")
    w("")


def laid_out(model):
    return [e for s in model.schemas if not s.internal for e in s.entries
            if e.kind == "entity" and e.parameters is not None]


def emit_parameter_code(model):
    w = Writer()
    w("// Generated from the data-model source by schema/generate.py. Do not edit.")
    w("// The parameter data of every entity whose layout the source states: pdread and")
    w("// pdwrite from the same steps.")
    w("#include \"igeslib_parameters.h\"")
    w("")
    for e in laid_out(model):
        try:
            define_parameters(model, w, e)
        except KeyError as missing:  # the checker refuses such a layout first
            raise ModelError("%s: the layout of %s names %s" % (e.where, e.name, missing))
    return w.text()
