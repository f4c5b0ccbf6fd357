"""The data-model source reader, its checker, its figures, the registry rows and the files it
writes, over a tiny source. The emitted C++ itself is compiled and tested with the real model.

Run from the project root: python3 -m unittest schema/tests/test_generate.py
"""

import os
import sys
import tempfile
import textwrap
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "schema"))

import igesgen as generate  # noqa: E402

TINY = """
schema tiny_internal internal
aggregate ListOfArrayOfDouble, SetOfListOfString

schema tiny_types_schema
enum igs_blank_status: visible, invisible
enum igs_line_pattern: none, solid,
    dashed
select igs_lineFont: _line_pattern: igs_line_pattern, igs_line_font_definition_entity
select igs_entity_level: igs_definition_levels_entity, _int_val: int
select igs_datum: _int_val: int, igs_directory_entry
aggregate ListOfigs_datum

abstract entity igs_directory_entry
  label: string; subscript: int

structure igs_coordinate
  x, y: double; z?: double

schema tiny_geometry_schema
abstract entity igs_geometric_entity : igs_directory_entry
  directory 100
  level: igs_entity_level; blank: igs_blank_status
abstract structure igs_copious_data_entity

entity igs_line_font_definition_entity : igs_geometric_entity
  directory 304 form=a forms=1..2,other nonstd=2 fields=.FL..... status=a---
  line_font: igs_lineFont; form: int
  w: ListOfArrayOfDouble; size: double as Size
  delimiter: string = ";"
  derived k = size(w) - 1
  parameters hand

entity igs_definition_levels_entity : igs_copious_data_entity, igs_geometric_entity
  directory 406 form=1 forms=1 fields=..L..... status=z---
  values: ListOfigs_datum
  derived n = size(values)

schema tiny_structure_schema
entity igs_matrix_entity : igs_directory_entry
  directory 124 form=a forms=10,0 fields=........ status=----
  form: int

entity igs_null_entity : igs_directory_entry
  directory 0 form=0 forms=0 raw
"""

# The class of the defined types, which the dictionary tables need.
DEFINED_TYPE = """
schema tiny_internal internal
structure LumoDefType
  name: string; lumo_def: LumoDomain
"""


def parse(text, filename="tiny.model"):
    model = generate.parse(textwrap.dedent(text), filename)
    generate.check(model)
    return model


def error_of(text):
    try:
        parse(text)
    except generate.ModelError as error:
        return str(error)
    return None


class ReadingTest(unittest.TestCase):
    def test_source_order_attributes_choices_and_settings(self):
        model = parse(TINY)
        self.assertEqual([s.name for s in model.schemas],
                         ["tiny_internal", "tiny_types_schema", "tiny_geometry_schema",
                          "tiny_structure_schema"])
        self.assertEqual([e.name for e in model.schema("tiny_geometry_schema").entries][:4],
                         ["igs_geometric_entity", "igs_copious_data_entity",
                          "igs_line_font_definition_entity", "igs_definition_levels_entity"])
        font = model.entries["igs_line_font_definition_entity"]
        self.assertEqual([(a.name, a.type, a.spelling, a.default) for a in font.attributes][3:],
                         [("size", "double", "Size", None), ("delimiter", "string", "delimiter", '";"')])
        self.assertEqual([a.optional for a in model.entries["igs_coordinate"].attributes],
                         [False, False, True])
        levels = model.entries["igs_definition_levels_entity"]
        self.assertEqual([a.name for a in generate.all_attributes(model, levels)],
                         ["label", "subscript", "level", "blank", "values"])
        self.assertEqual(levels.derived, [("n", "size", "values", "tiny.model:37")])
        self.assertEqual(model.entries["igs_line_pattern"].enumerators, ["none", "solid", "dashed"])
        self.assertEqual(model.entries["igs_lineFont"].choices,
                         [("_line_pattern", "igs_line_pattern"),
                          ("_line_font_definition_entity", "igs_line_font_definition_entity")])
        d = font.directory
        self.assertEqual((d["type"], d["form"], d["forms"], d["nonstd"]),
                         (304, "a", [1, 2, "other"], [2]))


class MalformedSourceTest(unittest.TestCase):
    """Each broken source is refused with a message naming the place and the fault."""

    HEAD = "schema s\nenum igs_e: a, b\n"
    ROOT_CLASS = "abstract entity igs_directory_entry\n  label: string\n"
    ENTITY = ROOT_CLASS + "entity igs_x : igs_directory_entry\n"

    CASES = [
        (ROOT_CLASS + "structure igs_p\n  x: igs_nothing\n",
         "tiny.model:6: the attribute x of igs_p has the unknown type igs_nothing"),
        (ROOT_CLASS + "abstract entity igs_f : igs_nothing\n",
         "tiny.model:5: the base igs_nothing of igs_f is not a class"),
        ("structure igs_e\n", "tiny.model:3: igs_e is already defined at tiny.model:2"),
        ("structure igs_p\n  x double\n", "tiny.model:4: cannot read the attribute group 'x double'"),
        (ROOT_CLASS + "abstract entity igs_f : igs_directory_entry\n  label: int\n",
         "tiny.model:6: igs_f has two attributes called label (also at tiny.model:4)"),
        (ENTITY + "  directory 1 form=0 forms=0 fields=..L..... status=----\n",
         "tiny.model:5: igs_x codes level (field L) but does not hold it"),
        (ENTITY + "  directory 1 form=0 forms=0 fields=........ status=----\n  blank: igs_e\n",
         "tiny.model:5: igs_x holds blank but its status - neither codes nor skips it"),
        (ENTITY + "  directory 1 form=a forms=0 fields=........ status=----\n",
         "tiny.model:5: igs_x has form=a but lacks a form attribute"),
        (ENTITY, "tiny.model:5: the concrete entity igs_x has no directory line"),
        (ROOT_CLASS + "abstract entity igs_x : igs_directory_entry\n  directory 1 form=0\n",
         "tiny.model:5: the abstract igs_x has codec settings"),
        (ENTITY + "  directory 1 form=0 forms=0 fields=.Q...... status=----\n",
         "tiny.model:6: the field mask '.Q......' is not eight places of SFLVTDWC"),
        ("structure igs_p\nschema t\naggregate ListOfigs_p\n",
         "tiny.model:5: ListOfigs_p belongs to s, the schema of its element igs_p"),
        ("aggregate ListOfigs_nothing\n",
         "tiny.model:3: the element igs_nothing of ListOfigs_nothing is not defined"),
        ("structure igs_p\n  derived n = size(items)\n",
         "tiny.model:4: the derived member n of igs_p uses items, which it lacks"),
        ("structure igs_p\n  x: int\n  derived n = size(x)\n",
         "tiny.model:5: size(x) of igs_p needs an aggregate, not int"),
        ("select igs_s: int_val: int\n", "tiny.model:3: a choice name starts with '_': 'int_val'"),
        ("  x: int\n", "tiny.model:3: an indented line belongs to a class entry"),
        ("enum igs_f: a,\n", "tiny.model:3: the text ends after a continuing comma"),
        ("structure igs_p\n  parameters hand\n", "tiny.model:4: only an entity has parameter code"),
        ("structure e\n", "tiny.model:3: e has the dictionary name e of igs_e"),
    ]

    def test_messages(self):
        for body, message in self.CASES:
            with self.subTest(message):
                self.assertEqual(error_of(self.HEAD + body)[:len(message)], message)
        self.assertEqual(error_of("enum igs_e: a\n"),
                         "tiny.model:1: igs_e stands before any schema heading")
        twice = TINY + "\nentity igs_other_entity : igs_directory_entry\n" \
            "  directory 124 form=0 forms=10 fields=........ status=----\n"
        with self.assertRaisesRegex(generate.ModelError,
                                    "124 form 10 .* also a row of igs_matrix_entity"):
            generate.registry_rows(parse(twice))


class FiguresAndOutputTest(unittest.TestCase):
    def setUp(self):
        self.model = parse(TINY)
        self.counts = generate.derive_counts(self.model)

    def test_dictionary_figures_per_schema(self):
        types, geometry = self.counts["tiny_types_schema"], self.counts["tiny_geometry_schema"]
        # 2 + 3 enumerators, 2 + 2 + 2 choices, 1 aggregate element, 2 + 3 attributes
        self.assertEqual(types["attributes"], 17)
        self.assertEqual((types["domains"], types["abstract"], types["optionals"]), (8, 1, 1))
        self.assertEqual((types["attribute_lists"], types["domain_lists"]), (9, 9))
        # int_val of two selects makes one defined type; line_pattern is the other
        self.assertEqual(types["defined_types"], 2)
        self.assertEqual(types["named_objects"], 10)
        self.assertEqual(types["objects"], 8 + 17 + 9 + 9 + 2)
        self.assertEqual((geometry["abstract"], geometry["optionals"], geometry["supers"]),
                         (2, 0, 5))  # two bases on one class
        self.assertEqual((geometry["attribute_lists"], geometry["domain_lists"]), (4, 5))
        # Load lists end with the internal aggregates a schema uses.
        self.assertEqual((types["load_list"], geometry["load_list"]), (9, 5))
        self.assertNotIn("load_list", self.counts["tiny_internal"])
        total = self.counts["total"]
        self.assertEqual(total["string_puts"],
                         total["attributes"] + total["domains"] + total["defined_types"])
        self.assertEqual((total["blank_asi"], total["subordinate_asi"]), (1, 0))
        expected = [("tiny_types_schema", "domains", 8), ("tiny_types_schema", "attributes", 16),
                    ("total", "widgets", 1)]
        self.assertEqual(generate.compare(self.counts, expected),
                         ["tiny_types_schema: attributes is 17, expected 16",
                          "total: no figure called widgets"])

    def test_dictionary_tables_agree_with_the_figures(self):
        full = parse(TINY + DEFINED_TYPE)
        designs, objects, object_puts, string_puts, prefixes = generate.dictionary_tables(full)
        totals = generate.derive_counts(full)["total"]
        self.assertEqual((len(objects), len(object_puts), len(string_puts)),
                         (totals["objects"], totals["object_puts"], totals["string_puts"]))
        self.assertEqual([(d[0], d[3]) for d in designs],
                         [("tiny_internal", 0), ("tiny_geometry_schema", 1),
                          ("tiny_structure_schema", 1), ("tiny_types_schema", 1)])
        for k, (domain, _, _, _) in enumerate(objects):
            self.assertLess(domain, k)  # a row's class exists before the row
        self.assertEqual(len(prefixes), 4 * 2)  # two to a design
        oids = [o[1] for o in objects]
        self.assertEqual(len(set(oids)), len(oids))

    def test_registry_rows_sorted_with_the_any_form_row_first(self):
        rows = generate.registry_rows(self.model)
        self.assertEqual([(r[0], r[1], r[3]) for r in rows],
                         [(0, 0, 0), (124, 0, 0), (124, 10, 0), (304, generate.ANY_FORM, 0),
                          (304, 1, 0), (304, 2, 1), (406, 1, 0)])
        self.assertEqual(self.counts["total"]["registry_rows"], len(rows))

    def test_emit_writes_only_what_changed(self):
        with tempfile.TemporaryDirectory() as out:
            full = parse(TINY + DEFINED_TYPE)
            self.assertIn("src/igeslib_builtin_schemas.cpp", generate.emit(full, out))
            path = os.path.join(out, "include", "tiny_types_schema.h")
            os.utime(path, (0, 0))
            generate.emit(full, out)
            self.assertEqual(os.stat(path).st_mtime, 0)


if __name__ == "__main__":
    unittest.main()
