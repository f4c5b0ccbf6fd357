"""The C++ classes of the data model: declarations, members, binders, descriptors and
the load lists."""

from .model import (Entry, MASK_ATTRIBUTES, MASK_LETTERS, STATUS_ATTRIBUTES, aggregate_parts,
    dictionary_name)
from .check import all_attributes, chain, element_type, type_kind
from .counts import compiled, load_lists

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
# Directory fields that a file mostly leaves at their default: an entity keeps them in a record
# of their own (igs_directory_aside), made when one of them is first set, so that an entity
# that has none of them costs one pointer instead of a slot for each.
ASIDE_ATTRIBUTES = ("label", "associations", "properties", "view", "transformation",
                    "label_display", "subscript")
ASIDE_RECORD = "igs_directory_aside"
COMMON_HEADER = "igeslib_schema_common.h"
SUPPORT_HEADER = "igeslib_binding_internal.h"


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


def is_aside(e, a):
    return e.kind == "entity" and a.name in ASIDE_ATTRIBUTES


def aside_fields(model):
    """The fields of the record aside, eight-byte ones first, each with its one type."""
    types = {}
    for e in model.entries.values():
        if e.kind == "entity":
            for a in e.attributes:
                if is_aside(e, a):
                    assert types.setdefault(a.name, a.type) == a.type, a.name
    fields = [(cxx_type(model, types[n]), n, types[n]) for n in ASIDE_ATTRIBUTES if n in types]
    return sorted(fields, key=lambda f: not field_is_wide(f[0]))


def declare_aside(model, w):
    w("// The Directory fields that a file mostly leaves at their default, kept out of the")
    w("// entity until one of them is set (igs_directory_entry::aside).")
    w("struct %s {", ASIDE_RECORD)
    for ctype, name, type_ in aside_fields(model):
        w("  %s %s_ = %s;", ctype, name, "0" if type_ == "int" else "nullptr")
    w("};")
    w("")


def field_of(e, a, make=False):
    """The expression of attribute a's field in a member of e: in the record aside, made first
    when make is set, or in the object."""
    if not is_aside(e, a):
        return "%s_" % a.name
    return "%s->%s_" % ("aside()" if make else "aside_", a.name)


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
    w("  LUMO_HOT void* _address() override;")
    w("  LUMO_HOT LumoTypePtr& classType() override;")


def declare_accessors(model, w, a, getter=True, hot=False):
    t = cxx_type(model, a.type)
    setter_type = "const char*" if a.type == "string" else t
    hot = "LUMO_HOT " if hot else ""
    if getter:
        w("  %s%s %s();", hot, t, a.spelling)
    w("  %svoid %s(%s value);", hot, a.spelling, setter_type)
    if type_kind(model, a.type, False) == "enum":
        w("  %schar %s(int code);", hot, coded_name(a.spelling))


# The classes whose fields every directory record reads: their accessors are hot read code, as
# are the overrides of those accessors and the accessors of selects.
DIRECTORY_CLASSES = ("igs_directory_entry", "igs_geometric_entity")


def packable(model, e):
    """A structure of reals alone, with no base but the runtime's: its lists can be packed."""
    attributes = all_attributes(model, e)
    return (e.kind == "structure" and not e.bases and attributes
            and all(cxx_type(model, a.type) == "double" for a in attributes))


def packable_entities(model, e):
    """A select whose every choice is an entity: its lists can hold just the entities."""
    return e.kind == "select" and len(entity_choices(model, e)) == len(e.choices)


def is_marker(model, name):
    """An abstract structure with no attributes and no bases: a fact of the dictionary alone."""
    b = model.entries[name]
    return b.kind == "structure" and b.abstract and not b.bases and not b.attributes


def compiled_bases(model, e):
    """The bases of e's compiled class. A marker beside another base is left out: it holds
    nothing, and the entity so keeps a single chain of bases and one table pointer."""
    bases = [b for b in e.bases if not is_marker(model, b)] or e.bases
    return bases or ["LumoStructure"]


def compiled_ancestors(model, name):
    """The classes that name's compiled class derives from, directly or not."""
    found = set()
    for b in compiled_bases(model, model.entries[name]):
        if b != "LumoStructure" and b not in found:
            found.add(b)
            found |= compiled_ancestors(model, b)
    return found


def virtual_edges(model):
    """The (class, base) pairs whose inheritance is virtual: only where some class reaches the
    base through two of its own bases, so that it holds one copy of it. Everywhere else a base
    is an ordinary one, which costs no table pointer of its own in every object."""
    edges = set()
    for e in model.entries.values():
        if e.kind not in ("entity", "structure"):
            continue
        into = {}  # base: the classes through which e reaches it

        def walk(name):
            if name == "LumoStructure":
                return
            for b in compiled_bases(model, model.entries[name]):
                if name not in into.setdefault(b, set()):
                    into[b].add(name)
                    walk(b)
        walk(e.name)
        for b, children in into.items():
            if len(children) > 1:
                edges.update((c, b) for c in children)
    return edges


def base_list(model, e):
    if not hasattr(model, "virtual_edges"):
        model.virtual_edges = virtual_edges(model)
    return ", ".join("public %s%s" % ("virtual " if (e.name, b) in model.virtual_edges else "", b)
                     for b in compiled_bases(model, e))


def declare_class(model, w, e):
    chain_attributes = all_attributes(model, e)
    bases = base_list(model, e)
    if e.name == "igs_directory_entry":
        declare_aside(model, w)
    w("// %s%s %s of %s", "abstract " if e.abstract else "", e.kind, e.dictionary_name,
      e.schema.name)
    w("class %s : %s {", e.name, bases)
    w(" public:")
    w("  %s() = default;", e.name)
    if chain_attributes:
        w("  %s(%s);", e.name, ", ".join("%s %s" % (value_type(model, a.type), param(a.name))
                                           for a in chain_attributes))
    # The root copies the record aside into one of its own.
    copy = "" if e.name == "igs_directory_entry" else " = default"
    w("  %s(const %s& other)%s;", e.name, e.name, copy)
    w("  %s& operator=(const %s& other)%s;", e.name, e.name, copy)
    declare_allocation(w, e.name)
    if e.name == "igs_directory_entry":
        w("")
        w("  // The record of the fields kept aside, made on the first call; aside_ is null")
        w("  // while the entity has none of them.")
        w("  %s* aside();", ASIDE_RECORD)
        w("  LUMO_HOT virtual int entity_type();")
        w("  LUMO_HOT virtual int form();")
        for op in STATUS_ATTRIBUTES:
            w("  LUMO_HOT virtual %s %s();", STATUS_TYPES[op], op)
        w("  LUMO_HOT virtual void de_read_record_one(int* const fields);")
        w("  LUMO_HOT virtual void de_read_record_two(int* const fields, char* label);")
        w("  virtual void de_write_record_one(char* out);")
        w("  virtual void de_write_record_two(char* out);")
        w("  LUMO_HOT virtual void pdread();")
        w("  virtual void pdwrite();")
    held = {a.name: a for a in chain_attributes}
    own = [a.name for a in e.attributes]
    for op, _ in overridden(model, e):
        w("  LUMO_HOT %s %s() override;", STATUS_TYPES.get(op, "int"), op)
        if op in held and op not in own:
            declare_accessors(model, w, held[op], getter=False, hot=True)
    for a in e.attributes:
        declare_accessors(model, w, a, getter=a.name not in VIRTUAL_GETTERS
                          or e.kind != "entity", hot=e.name in DIRECTORY_CLASSES)
    for name, form, argument, _ in e.derived:
        t = cxx_type(model, held[argument].type) if form == "alias" else "int"
        w("  %s %s();", t, name)
    if has_codec(e):
        w("  LUMO_HOT void de_read_record_one(int* const fields) override;")
        w("  LUMO_HOT void de_read_record_two(int* const fields, char* label) override;")
        w("  void de_write_record_one(char* out) override;")
        w("  void de_write_record_two(char* out) override;")
    if e.parameter_code or e.parameters is not None:
        w("  LUMO_HOT void pdread() override;")
        w("  void pdwrite() override;")
    for name, item in hand_steps(model, e, e.parameters or []):
        w("  // A step of the parameter data written by hand%s.",
          " for each item of a list" if item else "")
        argument = ", %s* item" % item if item else ""
        w("  void pdread_%s(IgeslibIO* io%s);", name, argument)
        w("  void pdwrite_%s(IgeslibIO* io%s);", name, argument)
    for line in HAND_MEMBERS.get(e.name, ()):
        w(line)
    if packable(model, e):
        # Lists of it may hold just the reals of their elements (LumoAggregate::isPacked).
        w("  static constexpr unsigned lumo_packed_width = %d;", len(chain_attributes))
        w("  static %s* from_packed(LumoDesignSection* section, const double* values) {", e.name)
        w("    return new (section) %s(%s);", e.name,
          ", ".join("values[%d]" % i for i in range(len(chain_attributes))))
        w("  }")
    w("")
    w("  // Fields, laid out to leave no padding; change them through the accessors above.")
    for text, _ in ordered_fields(own_fields(model, e), layout_start(model, e)):
        w("  %s", text)
    w("};")
    w("")


def own_fields(model, e):
    """The fields that e's class declares, (declaration, C++ type): its attributes but those
    kept aside, and in the entity root the pointer to the record aside and the file
    bookkeeping."""
    fields = [("%s %s_ = %s;" % (ctype, a.name, field_default(model, a)), ctype)
              for ctype, a in [(cxx_type(model, a.type), a) for a in e.attributes
                               if not is_aside(e, a)]]
    if e.name == "igs_directory_entry":
        fields.insert(0, ("%s* aside_ = nullptr;" % ASIDE_RECORD, "pointer*"))
        # File bookkeeping, not part of the dictionary: the DE number of the entity, the first
        # line and the line count of its parameter data.
        fields += [("int %s = 0;" % n, "int") for n in ("de_number", "pd_pointer",
                                                         "pd_line_count")]
    return fields


def field_is_wide(ctype):
    """True for a field of eight bytes: a pointer or a double."""
    return ctype.endswith("*") or ctype == "double"


def field_size(ctype):
    return 8 if field_is_wide(ctype) else 1 if ctype == "char" else 4


def ordered_fields(fields, start):
    """The fields (text, C++ type) in the order that leaves no padding, dictionary order
    within a size. Where the class's fields begin after a base whose last word is half used
    (start), small ones fill it first: a derived class's fields go right after its base's data,
    in the base's own padding. Where start is unknown, widest first."""
    by_size = {n: [f for f in fields if field_size(f[1]) == n] for n in (8, 4, 1)}
    first = []
    if start is not None:
        room = -start % 8
        while room >= 4 and by_size[4]:
            first.append(by_size[4].pop(0))
            room -= 4
        while room and by_size[1]:
            first.append(by_size[1].pop(0))
            room -= 1
    return first + by_size[8] + by_size[4] + by_size[1]


def layout_end(fields, start):
    """Where fields laid out from start end: the data size of the class."""
    at = start
    for _, ctype in fields:
        size = field_size(ctype)
        at = (at + size - 1) // size * size + size
    return at


def layout_start(model, e):
    """Where the fields of e's class begin: after the data of its one base. None where that
    isn't known here: a class of several bases, a virtual base, members written by hand."""
    if not hasattr(model, "layout_starts"):
        model.layout_starts = {}
    if e.name in model.layout_starts:
        return model.layout_starts[e.name]
    bases = compiled_bases(model, e)
    start = None
    if not hasattr(model, "virtual_edges"):
        model.virtual_edges = virtual_edges(model)
    if len(bases) == 1 and e.name not in HAND_MEMBERS:
        if bases[0] == "LumoStructure":
            start = 12  # the runtime's part: table pointer and flags
        elif (e.name, bases[0]) not in model.virtual_edges:
            b = model.entries[bases[0]]
            base_start = layout_start(model, b)
            if base_start is not None:
                start = layout_end(ordered_fields(own_fields(model, b), base_start), base_start)
    model.layout_starts[e.name] = start
    return start

# Run-time members of file-level classes, declared here and defined by hand
# under model/: they are no part of the dictionary.
HAND_MEMBERS = {
    "igs_iges_file": (
        "",
        "  // One IGES file, the root object of the design that holds its entities. To read:",
        "  // make it in a design of its own (new (design) igs_iges_file), make that design",
        "  // current (LUMO.useDesign) after igeslib_force_load(), and call read; the entities",
        "  // are then directory_entries(), and deleting the design releases them all. To write:",
        "  // make the entities in the current design, then call write.",
        "  //",
        "  // The entities of the file in directory order. Outside a run (directory_populated",
        "  // zero) the list is gathered afresh from the current design on every call.",
        "  ListOfigs_directory_entry* directory_entries();",
        "  // The working record of the read or write under way; null after a read, and stale",
        "  // after a write: ask for it only during a run.",
        "  IgeslibIO* igesFiler();",
        "  // Reads a whole IGES file into this design; null after a fatal error, or when a",
        "  // Start or Global section fails with strict set. The stream is left open. Faults",
        "  // are reported on the runtime's error channel (standard error unless redirected)",
        "  // and cost no more than the entity they stand in; see also igeslib_limits().",
        "  LUMO_HOT igs_iges_file* read(FILE* stream, char strict);",
        "  LUMO_HOT igs_iges_file* read(const char* path, char strict);",
        "  // Writes every entity of the current design in the order they were made, numbered",
        "  // 1, 3, 5, ...; zero_as_default leaves zeros out. Null when the path can't be opened.",
        "  igs_iges_file* write(FILE* stream, char zero_as_default);",
        "  igs_iges_file* write(const char* path, char zero_as_default);",
        "  IgeslibIO* filer_ = nullptr;",
        "  int directory_populated = 0;",
        "  ListOfigs_directory_entry directory_list_;",
    ),
}
HAND_FORWARDS = ("struct IgeslibIO;",)


def hand_steps(model, owner, steps, item=None):
    """The hand steps of a layout, form conditions and list items included: their names,
    and the structure of the item that a step among a list's items stands in (else None)."""
    attributes = {a.name: a for a in all_attributes(model, owner)}
    for s in steps:
        if s.kind == "hand":
            yield s.name, item
        elif s.kind == "form":
            yield from hand_steps(model, owner, s.steps, item)
        elif s.kind == "items":
            element = element_type(attributes[s.name].type)
            entry = model.entries.get(element)
            if entry is not None and entry.kind == "structure":
                yield from hand_steps(model, entry, s.steps, element)


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
        w("  LUMO_HOT char is%s();", choice)
        w("  LUMO_HOT %s %s();", t, choice)
        w("  LUMO_HOT void %s(%s value);", choice, "const char*" if type_ == "string" else t)
        if type_kind(model, type_, False) == "enum":
            w("  LUMO_HOT char %s(int code);", choice)
    if entity_choices(model, e):
        w("  // The entity of the choice now set; null for none, or for a choice of a value.")
        w("  LUMO_HOT igs_directory_entry* entity();")
        w("  // Sets the first choice whose class entity is of; false, with nothing set, for")
        w("  // an entity of none of them or for null.")
        w("  LUMO_HOT char choose_entity(igs_directory_entry* entity);")
    if packable_entities(model, e):
        w("  // Lists of it may hold just the entity of each element (LumoAggregate::isPacked).")
        w("  using lumo_packed_entity = igs_directory_entry;")
        w("  // The select of a packed element: the first choice whose class entity is of; with")
        w("  // no entity, the choice at place (from 1; 0 for none), holding none.")
        w("  static %s* from_entity(LumoDesignSection* section, igs_directory_entry* entity,",
          e.name)
        w("                        unsigned place);")
        w("  // Whether choose_entity takes entity, nothing chosen.")
        w("  LUMO_HOT static bool takes_entity(igs_directory_entry* entity);")
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
    entry = model.entries.get(element)
    if entry is not None and kind == "ListOf" and packable_entities(model, entry):
        w("  // With packed true, the elements' entities alone until an element is asked for.")
        w("  %s(unsigned capacity, bool packed) : LumoObjectAggregate(capacity, packed) {}",
          e.name)
    if entry is not None and packable(model, entry):
        w("  // With packed true, the elements' reals alone until an element is asked for.")
        w("  %s(unsigned capacity, bool packed) : LumoObjectAggregate(capacity, packed) {}",
          e.name)
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
    field = field_of(e, a)
    if is_aside(e, a) and not is_aggregate(model, a.type):
        w("  if (!aside_) return %s;", field_default(model, a))
    elif is_aside(e, a):
        field = field_of(e, a, make=True)  # the list is made, and so the record
    if is_reference(model, a.type):
        w("  if (lumo_is_delayed(%s) && !lumo_access_object(this, &%s)) return nullptr;",
          field, field)
    if is_aggregate(model, a.type):
        w("  if (!%s) {", field)
        w("    void* place = lumo_new(sizeof(%s), design_section(), nullptr, lumotype_%s);",
          a.type, a.type)
        w("    modified();")
        w("    %s = place ? ::new (place) %s(0) : nullptr;", field, a.type)
        w("  }")
    if is_aggregate(model, a.type) or type_kind(model, a.type, False) == "select":
        w("  return lumo_own(this, %s);", field)  # a shared value is copied first
        w("}")
        return
    w("  return %s;", field)
    w("}")


def define_setters(model, w, e, a):
    c = e.name
    if is_aside(e, a):
        # The default stored where there is no record yet leaves it unmade.
        unset = "!value" if a.type != "int" else "value == 0"
        w("void %s::%s(%s value) {", c, a.spelling, value_type(model, a.type))
        if a.type == "string":
            w("  if (%s && !aside_) return modified();", unset)
            w("  lumo_update_prim(this, &%s, value);", field_of(e, a, make=True))
        else:
            w("  modified();")
            w("  if (%s && !aside_) return;", unset)
            w("  %s = value;", field_of(e, a, make=True))
        w("}")
    elif a.type == "string":
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
        # The enumeration's codes are its enumerators' places, 0 to n - 1.
        w("char %s::%s(int code) {", c, coded_name(a.spelling))
        w("  if (code < 0 || code >= %d) return 0;", len(model.entries[a.type].enumerators))
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
        w("%s::%s(const %s& other) : LumoStructure(other) { *this = other; }", c, c, c)
        w("%s& %s::operator=(const %s& other) {", c, c, c)
        w("  LumoStructure::operator=(other);")
        for ctype, a in [(cxx_type(model, a.type), a) for a in e.attributes if not is_aside(e, a)]:
            w("  %s_ = other.%s_;", a.name, a.name)
        for name in ("de_number", "pd_pointer", "pd_line_count"):
            w("  %s = other.%s;", name, name)
        w("  if (other.aside_)")
        w("    *aside() = *other.aside_;")
        w("  else if (aside_)")
        w("    *aside_ = %s();", ASIDE_RECORD)
        w("  return *this;")
        w("}")
        w("%s* %s::aside() {", ASIDE_RECORD, c)
        w("  if (!aside_)")
        w("    if (void* place = lumo_allocate_for(this, sizeof(%s)))", ASIDE_RECORD)
        w("      aside_ = ::new (place) %s();", ASIDE_RECORD)
        w("  return aside_;")
        w("}")
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

    def held_select(attribute):
        # Read as it stands: a select the reader shares stays shared when written.
        a = held[attribute]
        return "lumo_is_delayed(%s_) ? %s() : %s_" % (a.name, a.spelling, a.name)
    stored = {a for a, place in mask.items() if place in MASK_LETTERS}
    f("void %s::de_read_record_one(int* const fields) {", c)
    f("  pd_pointer = fields[1];")
    if "structure" in stored:
        f("  if (fields[2] != 0)")
        f("    structure(lumo_cast<%s>(igeslib_de_reference(fields[2], true, lumotype_%s, \"structure\")));",
          held["structure"].type, held["structure"].type)
    if "line_font" in stored:
        f("  line_font(igeslib_de_read_line_font(fields[3]));")
    if "level" in stored:
        f("  level(igeslib_de_read_level(fields[4]));")
    if "view" in stored:
        f("  if (fields[5] != 0) view(igeslib_de_read_view(fields[5]));")
    for attribute, k in (("transformation", 6), ("label_display", 7)):
        if attribute in stored:
            type_ = held[attribute].type
            f("  if (fields[%d] != 0)", k)
            f("    %s(lumo_cast<%s>(igeslib_de_reference(fields[%d], false, lumotype_%s, \"%s\")));",
              attribute, type_, k, type_, attribute)
    for k, (attribute, place) in enumerate(zip(STATUS_ATTRIBUTES, d["status"])):
        if place == "a":
            f("  if (!%s_asi(fields[%d]))", attribute, 8 + k)
            f("    igeslib_de_note_code(fields[%d], lumotype_%s, \"%s\");", 8 + k,
              held[attribute].type, attribute)
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
        elif attribute in ("line_font", "level"):
            f("  igeslib_de_write_%s(out + %d, %s);", attribute, column, held_select(attribute))
        elif attribute == "view":
            f("  igeslib_de_write_view(out + %d, view());", column)
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
        f("  igeslib_de_write_color(out + 16, %s);", held_select("color"))
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
    for place, (choice, type_) in enumerate(e.choices):
        t = cxx_type(model, type_)
        w("char %s::is%s() { return getAttribute(\"%s\") == getAttribute(nullptr); }",
          c, choice, choice)
        # The choice taken by its place among the select's own attributes, as the dictionary
        # lists them in the model's order.
        take = "chooseOwn(%d, \"%s\", known)" % (place, choice)
        if is_reference(model, type_):
            w("%s %s::%s() {", t, c, choice)
            w("  if (lumo_is_delayed(value_.p) && !lumo_access_object(this, &value_.p)) "
              "return nullptr;")
            w("  return static_cast<%s>(value_.p);", t)
            w("}")
            w("void %s::%s(%s value) {", c, choice, t)
            w("  static LumoAttribute* known = nullptr;")
            w("  if (!%s) return;", take)
            w("  value_.p = value;")
            w("}")
            continue
        member = SLOT_MEMBERS.get(type_, "i")
        if type_ in PLAIN_CXX:
            w("%s %s::%s() { return value_.%s; }", t, c, choice, member)
        else:
            w("%s %s::%s() { return static_cast<%s>(value_.i); }", t, c, choice, t)
        w("void %s::%s(%s value) {", c, choice, "const char*" if type_ == "string" else t)
        w("  static LumoAttribute* known = nullptr;")
        w("  if (%s) lumo_update_prim(this, &value_.%s, %s);", take, member,
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
    define_select_entity(model, w, e)
    w("")


def entity_choices(model, e):
    """(place, choice, class) of the choices of a select that hold an entity."""
    return [(k, choice, type_) for k, (choice, type_) in enumerate(e.choices)
            if type_kind(model, type_, False) == "entity"]


def define_select_entity(model, w, e):
    choices = entity_choices(model, e)
    if not choices:
        return
    c = e.name
    w("igs_directory_entry* %s::entity() {", c)
    w("  switch (flags_ >> kChoiceShift) {  // the place of the choice, from 1")
    for k, choice, _ in choices:
        w("    case %d:", k + 1)
        w("      return %s();", choice)
    w("    default:")
    w("      return nullptr;")
    w("  }")
    w("}")
    w("char %s::choose_entity(igs_directory_entry* entity) {", c)
    for _, choice, type_ in choices:
        w("  if (auto* chosen = lumo_cast<%s>(entity)) {", type_)
        w("    %s(chosen);", choice)
        w("    return 1;")
        w("  }")
    w("  return 0;")
    w("}")
    if not packable_entities(model, e):
        return
    w("%s* %s::from_entity(LumoDesignSection* section, igs_directory_entry* entity, "
      "unsigned place) {" % (c, c))
    w("  auto* made = new (section) %s;" % c)
    w("  if (!made) return nullptr;")
    w("  made->value_.p = nullptr;  // the whole slot: the constructor zeroes its first member")
    w("  if (entity) {")
    w("    made->choose_entity(entity);")
    w("  } else {")
    w("    switch (place) {")
    for k, choice, _ in choices:
        w("      case %d:" % (k + 1))
        w("        made->%s(nullptr);" % choice)
        w("        break;")
    w("    }")
    w("  }")
    w("  made->clearModified();  // made as it was read, unchanged since")
    w("  return made;")
    w("}")
    w("bool %s::takes_entity(igs_directory_entry* entity) {" % c)
    w("  return %s;" % " || ".join("lumo_cast<%s>(entity) != nullptr" % t
                                   for _, _, t in choices))
    w("}")


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
            # A marker left out of the compiled bases is seen at the object's start.
            offset = ("0" if b.name not in compiled_ancestors(model, e.name)
                      else "igeslib_offset<%s, %s>(p)" % (c, b.name))
            w("      ->superOffset(self, lumotype_%s, %s)", b.name, offset)
        w("      ->superOffset(self, self, 0)")
        w("      ->schema(%s)", schema)
        for b in e.bases or ["LumoStructure"]:
            w("      ->virtual_super(lumotype_%s)", b)
        for a in e.attributes:
            if is_aside(e, a):
                w("      ->variable(%s, \"%s\", lumotype_igs_directory_entry, "
                  "igeslib_aside_place(p),", descriptor(model, a.type), a.name)
                w("                 offsetof(%s, %s_), sizeof(%s))", ASIDE_RECORD, a.name,
                  ASIDE_RECORD)
            else:
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
    w("// Binds every class of the library and makes its domain, in schema order. An")
    w("// application calls it once, before it reads, writes or makes any entity.")
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

// Where an entity root keeps the pointer to its record aside, measured on the root part of a
// prototype (a root that is a virtual base lies at another place in every class).
inline long igeslib_aside_place(igs_directory_entry* root) {
  return root ? reinterpret_cast<char*>(&root->aside_) - reinterpret_cast<char*>(root) : -1;
}

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
LUMO_HOT LumoObject* igeslib_create(LumoDesignSection* section, LumoDomain* domain,
                                    unsigned capacity) {
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
// The entity that DE pointer field n names, as an instance of type; null when it names none,
// has the other sign than the field's (negated: pointers are given negated there) or names
// an entity of another class. Such a value, and an even one, is noted for checkers, under the
// field's name.
LUMO_HOT igs_directory_entry* igeslib_de_reference(int n, bool negated, LumoTypePtr& type,
                                                   const char* name);
// Notes for checkers a status code of the record that is no value of its enumeration.
void igeslib_de_note_code(int code, LumoTypePtr& type, const char* name);
LUMO_HOT igs_lineFont* igeslib_de_read_line_font(int field);
LUMO_HOT igs_entity_level* igeslib_de_read_level(int field);
LUMO_HOT igs_entity_view* igeslib_de_read_view(int field);
LUMO_HOT igs_entity_color* igeslib_de_read_color(int field);
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
