"""Tests of the data-model source reader, its checker and its figures.

Run from the project root: python3 -m unittest schema/tests/test_generate.py
"""

import os
import sys
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
    def setUp(self):
        self.model = parse(TINY)

    def test_schemas_and_entries_keep_source_order(self):
        self.assertEqual([s.name for s in self.model.schemas],
                         ["tiny_internal", "tiny_types_schema", "tiny_geometry_schema"])
        self.assertEqual([e.name for e in self.model.schema("tiny_geometry_schema").entries],
                         ["igs_geometric_entity", "igs_copious_data_entity",
                          "igs_line_font_definition_entity", "igs_definition_levels_entity"])

    def test_attributes_marks_spellings_and_defaults(self):
        arc = self.model.entries["igs_line_font_definition_entity"]
        self.assertEqual([a.name for a in arc.attributes],
                         ["line_font", "form", "w", "size", "delimiter"])
        size = arc.attributes[3]
        self.assertEqual((size.type, size.spelling), ("double", "Size"))
        self.assertEqual(arc.attributes[4].default, '";"')
        coordinate = self.model.entries["igs_coordinate"]
        self.assertEqual([a.optional for a in coordinate.attributes], [False, False, True])

    def test_whole_chain_of_attributes_is_root_first(self):
        levels = self.model.entries["igs_definition_levels_entity"]
        names = [a.name for a in generate.all_attributes(self.model, levels)]
        self.assertEqual(names, ["label", "subscript", "level", "blank", "values"])

    def test_choices_enumerators_and_continued_lines(self):
        self.assertEqual(self.model.entries["igs_line_pattern"].enumerators,
                         ["none", "solid", "dashed"])
        self.assertEqual(self.model.entries["igs_lineFont"].choices,
                         [("_line_pattern", "igs_line_pattern"),
                          ("_line_font_definition_entity", "igs_line_font_definition_entity")])

    def test_directory_settings(self):
        d = self.model.entries["igs_line_font_definition_entity"].directory
        self.assertEqual((d["type"], d["form"], d["forms"], d["nonstd"]),
                         (304, "a", [1, 2, "other"], [2]))
        self.assertEqual(self.model.entries["igs_definition_levels_entity"].derived,
                         [("n", "size", "values", "tiny.model:37")])

    def test_dictionary_names(self):
        cases = [("igs_circular_arc_entity", "circular_arc_entity"),
                 ("ListOfListOfigs_datum", "ListOfListOfdatum"),
                 ("ArrayOfigs_variable_type", "ArrayOfvariable_type"),
                 ("ListOfArrayOfDouble", "ListOfArrayOfDouble"),
                 ("LumoDefType", "LumoDefType")]
        for name, expected in cases:
            with self.subTest(name=name):
                self.assertEqual(generate.dictionary_name(name), expected)


class MalformedSourceTest(unittest.TestCase):
    """Each broken source is refused with a message naming the place and the fault."""

    HEAD = "schema s\nenum igs_e: a, b\n"
    ROOT_CLASS = "abstract entity igs_directory_entry\n  label: string\n"

    CASES = [
        ("unknown type", ROOT_CLASS + "structure igs_p\n  x: igs_nothing\n",
         "tiny.model:6: the attribute x of igs_p has the unknown type igs_nothing"),
        ("unknown base", ROOT_CLASS + "abstract entity igs_f : igs_nothing\n",
         "tiny.model:5: the base igs_nothing of igs_f is not a class"),
        ("name twice", "structure igs_e\n",
         "tiny.model:3: igs_e is already defined at tiny.model:2"),
        ("unreadable group", "structure igs_p\n  x double\n",
         "tiny.model:4: cannot read the attribute group 'x double'"),
        ("attribute twice along the bases",
         ROOT_CLASS + "abstract entity igs_f : igs_directory_entry\n  label: int\n",
         "tiny.model:6: igs_f has two attributes called label (also at tiny.model:4)"),
        ("mask codes an absent attribute", ROOT_CLASS
         + "entity igs_x : igs_directory_entry\n"
           "  directory 1 form=0 forms=0 fields=..L..... status=----\n",
         "tiny.model:5: igs_x codes level (field L) but does not hold it"),
        ("attribute neither coded nor skipped", ROOT_CLASS
         + "entity igs_x : igs_directory_entry\n"
           "  directory 1 form=0 forms=0 fields=........ status=----\n  blank: igs_e\n",
         "tiny.model:5: igs_x holds blank but its status - neither codes nor skips it"),
        ("stored form without attribute", ROOT_CLASS
         + "entity igs_x : igs_directory_entry\n"
           "  directory 1 form=a forms=0 fields=........ status=----\n",
         "tiny.model:5: igs_x has form=a but lacks a form attribute"),
        ("concrete entity without directory", ROOT_CLASS + "entity igs_x : igs_directory_entry\n",
         "tiny.model:5: the concrete entity igs_x has no directory line"),
        ("abstract entity with codec settings", ROOT_CLASS
         + "abstract entity igs_x : igs_directory_entry\n  directory 1 form=0\n",
         "tiny.model:5: the abstract igs_x has codec settings"),
        ("bad mask", ROOT_CLASS + "entity igs_x : igs_directory_entry\n"
         "  directory 1 form=0 forms=0 fields=.Q...... status=----\n",
         "tiny.model:6: the field mask '.Q......' is not eight places of SFLVTDWC"),
        ("aggregate away from its element", "structure igs_p\nschema t\naggregate ListOfigs_p\n",
         "tiny.model:5: ListOfigs_p belongs to s, the schema of its element igs_p"),
        ("aggregate of nothing", "aggregate ListOfigs_nothing\n",
         "tiny.model:3: the element igs_nothing of ListOfigs_nothing is not defined"),
        ("derived over a missing attribute", "structure igs_p\n  derived n = size(items)\n",
         "tiny.model:4: the derived member n of igs_p uses items, which it lacks"),
        ("derived size of a number", "structure igs_p\n  x: int\n  derived n = size(x)\n",
         "tiny.model:5: size(x) of igs_p needs an aggregate, not int"),
        ("choice without underscore", "select igs_s: int_val: int\n",
         "tiny.model:3: a choice name starts with '_': 'int_val'"),
        ("indented line outside a class", "  x: int\n",
         "tiny.model:3: an indented line belongs to a class entry"),
        ("source ends in a comma", "enum igs_f: a,\n",
         "tiny.model:3: the text ends after a continuing comma"),
        ("parameter code on a structure", "structure igs_p\n  parameters hand\n",
         "tiny.model:4: only an entity has parameter code"),
        ("same dictionary name", "structure e\n",
         "tiny.model:3: e has the dictionary name e of igs_e"),
    ]

    def test_messages(self):
        for label, body, message in self.CASES:
            with self.subTest(label):
                self.assertEqual(error_of(self.HEAD + body)[:len(message)], message)

    def test_entry_before_any_schema(self):
        self.assertEqual(error_of("enum igs_e: a\n"),
                         "tiny.model:1: igs_e stands before any schema heading")


class FiguresTest(unittest.TestCase):
    def setUp(self):
        self.counts = generate.derive_counts(parse(TINY))

    def test_dictionary_figures_per_schema(self):
        types = self.counts["tiny_types_schema"]
        # 2 + 3 enumerators, 2 + 2 + 2 choices, 1 aggregate element, 2 + 3 attributes
        self.assertEqual(types["attributes"], 17)
        self.assertEqual((types["domains"], types["abstract"], types["optionals"]), (8, 1, 1))
        self.assertEqual((types["attribute_lists"], types["domain_lists"]), (9, 9))
        # int_val of two selects makes one defined type; line_pattern is the other
        self.assertEqual(types["defined_types"], 2)
        self.assertEqual(types["named_objects"], 10)
        self.assertEqual(types["objects"], 8 + 17 + 9 + 9 + 2)

    def test_markers_only_where_needed(self):
        geometry = self.counts["tiny_geometry_schema"]
        self.assertEqual((geometry["abstract"], geometry["optionals"]), (2, 0))
        self.assertEqual((geometry["attribute_lists"], geometry["domain_lists"]), (4, 5))
        self.assertEqual(geometry["supers"], 5)   # two bases on one class

    def test_load_lists_end_with_the_used_internal_aggregates(self):
        self.assertEqual(self.counts["tiny_types_schema"]["load_list"], 9)
        self.assertEqual(self.counts["tiny_geometry_schema"]["load_list"], 5)
        self.assertNotIn("load_list", self.counts["tiny_internal"])
        self.assertEqual(self.counts["total"]["descriptors"], 8 + 4 + 1)

    def test_tables_registry_and_status_tallies(self):
        total = self.counts["total"]
        self.assertEqual(total["string_puts"],
                         total["attributes"] + total["domains"] + total["defined_types"])
        self.assertEqual(total["registry_rows"], 4)
        self.assertEqual((total["blank_asi"], total["subordinate_asi"]), (1, 0))

    def test_compare_names_each_figure_that_is_off(self):
        expected = [("tiny_types_schema", "domains", 8), ("tiny_types_schema", "attributes", 16),
                    ("total", "widgets", 1)]
        self.assertEqual(generate.compare(self.counts, expected),
                         ["tiny_types_schema: attributes is 17, expected 16",
                          "total: no figure called widgets"])


DEFINED_TYPE = """
schema tiny_internal internal
structure LumoDefType
  name: string; lumo_def: LumoDomain
"""


class EmitterTest(unittest.TestCase):
    def setUp(self):
        self.model = parse(TINY + DEFINED_TYPE)
        self.line_font = self.model.entries["igs_line_font_definition_entity"]

    def header(self, schema):
        return generate.emit_header(self.model, self.model.schema(schema))[0]

    def test_class_declaration(self):
        text = self.header("tiny_geometry_schema")
        self.assertIn("class igs_line_font_definition_entity : "
                      "public virtual igs_geometric_entity {", text)
        self.assertIn("class igs_definition_levels_entity : public virtual "
                      "igs_copious_data_entity, public virtual igs_geometric_entity {", text)
        # The whole chain, root first, in the all-fields constructor.
        self.assertIn("igs_line_font_definition_entity(const char* label, int subscript, "
                      "igs_entity_level* level, igs_blank_status blank, igs_lineFont* "
                      "line_font, int form, ListOfArrayOfDouble* w, double Size, "
                      "const char* delimiter);", text.replace("double size", "double Size"))
        for member in ("double Size();", "int k();", "int form() override;",
                       "char blank_asi(int code);",
                       "igs_blank_status blank_ = igs_blank_status_unset;",
                       'char* delimiter_ = const_cast<char*>(";");'):
            self.assertIn(member, text)
        self.assertIn('#include "tiny_types_schema.h"', text)
        # Hand-written parameter code is declared only where the source asks for it.
        line_font = text[text.index("class igs_line_font_definition_entity"):]
        line_font = line_font[:line_font.index("};")]
        self.assertIn("void pdread() override;", line_font)
        self.assertIn("void pdwrite() override;", line_font)
        levels = text[text.index("class igs_definition_levels_entity"):]
        self.assertNotIn("pdread", levels[:levels.index("};")])

    def test_virtual_getters(self):
        m = self.model
        answers = dict(generate.overridden(m, self.line_font))
        self.assertEqual(answers["entity_type"], ("const", 304))
        self.assertEqual(answers["form"], ("field", "form"))
        self.assertNotIn("blank", answers)  # the family root holds and answers it
        self.assertEqual(dict(generate.overridden(m, m.entries["igs_geometric_entity"]))["blank"],
                         ("field", "blank"))
        self.assertEqual(generate.overridden(m, m.entries["igs_directory_entry"]), [])

    def test_select_and_enumeration(self):
        text = self.header("tiny_types_schema")
        for member in ("char is_line_pattern();", "char _line_pattern(int code);",
                       "class igs_lineFont : public LumoUnion {"):
            self.assertIn(member, text)
        common = generate.emit_common(self.model)
        self.assertIn("  igs_line_pattern_unset = -1,\n  igs_line_pattern_none,\n"
                      "  igs_line_pattern_solid,\n  igs_line_pattern_dashed,", common)
        self.assertIn("class ListOfArrayOfDouble : public LumoObjectAggregate<ArrayOfDouble, "
                      "LumoAggKind::list, lumotype_ListOfArrayOfDouble, "
                      "lumotype_ArrayOfDouble> {", common)

    def test_binding(self):
        w = generate.Writer()
        generate.define_binding(self.model, w, self.model.entries["igs_definition_levels_entity"])
        text = w.text()
        order = ["lumotype_LumoObject", "lumotype_LumoStructure",
                 "lumotype_igs_copious_data_entity", "lumotype_igs_directory_entry",
                 "lumotype_igs_geometric_entity",
                 "superOffset(self, self, 0)", 'schema("tiny_geometry_schema")',
                 "virtual_super(lumotype_igs_copious_data_entity)",
                 "virtual_super(lumotype_igs_geometric_entity)",
                 'variable(lumotype_ListOfigs_datum, "values"']
        places = [text.index(o) for o in order]
        self.assertEqual(places, sorted(places))
        self.assertLess(text.index("static igs_definition_levels_entity prototype_"),
                        text.index("LumoTypePtr lumotype_igs_definition_levels_entity("))

    def test_dictionary_tables_agree_with_the_figures(self):
        designs, objects, object_puts, string_puts, prefixes = \
            generate.dictionary_tables(self.model)
        totals = generate.derive_counts(self.model)["total"]
        self.assertEqual(len(objects), totals["objects"])
        self.assertEqual(len(object_puts), totals["object_puts"])
        self.assertEqual(len(string_puts), totals["string_puts"])
        self.assertEqual([d[0] for d in designs],
                         ["tiny_internal", "tiny_geometry_schema", "tiny_types_schema"])
        self.assertEqual([d[3] for d in designs], [0, 1, 1])
        for k, (domain, _, _, _) in enumerate(objects):
            self.assertLess(domain, k)  # a row's class exists before the row
        self.assertEqual(len(prefixes), 3 * 2)
        oids = [o[1] for o in objects]
        self.assertEqual(len(set(oids)), len(oids))

    def test_emit_writes_only_what_changed(self):
        import tempfile
        with tempfile.TemporaryDirectory() as out:
            written = generate.emit(self.model, out)
            self.assertIn("src/igeslib_builtin_schemas.cpp", written)
            path = os.path.join(out, "include", "tiny_types_schema.h")
            os.utime(path, (0, 0))
            generate.emit(self.model, out)
            self.assertEqual(os.stat(path).st_mtime, 0)


if __name__ == "__main__":
    unittest.main()
