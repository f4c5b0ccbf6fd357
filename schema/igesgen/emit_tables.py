"""The embedded dictionary: the tables from which the eight schema designs are built."""

from .model import AGGREGATE_KINDS, ModelError, aggregate_parts, dictionary_name
from .check import type_kind
from .emit_classes import COMMON_HEADER, Writer

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
