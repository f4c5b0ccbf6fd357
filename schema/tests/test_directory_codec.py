"""The emitter of the directory-record members and of the registry rows, over a tiny source.

Run from the project root: python3 -m unittest schema/tests/test_directory_codec.py
"""

import os
import sys
import textwrap
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "schema"))

import igesgen as generate  # noqa: E402

TINY = """
schema tiny_schema
enum igs_blank_status: visible, invisible
enum igs_use_flag: geometry, annotation
select igs_lineFont: _line_pattern: int
select igs_entity_color: _color_number: int

abstract entity igs_directory_entry
  label: string; subscript: int

entity igs_transformation_matrix_entity : igs_directory_entry
  directory 124 form=a forms=10,0..1 fields=....T... status=----
  transformation: igs_transformation_matrix_entity; form: int

entity igs_mark_entity : igs_directory_entry
  directory 110 form=0 forms=0 nonstd=0 fields=.F....WC status=a-u2
  line_font: igs_lineFont; line_weight: int; color: igs_entity_color
  blank: igs_blank_status; used: igs_use_flag

abstract entity igs_definition_entity : igs_directory_entry
  directory 302

entity igs_def_entity : igs_definition_entity
  directory 302 form=a forms=5,other fields=........ status=----
  form: int

entity igs_instance_entity : igs_directory_entry
  directory 402 form=3 forms=3 fields=S....... status=----
  structure: igs_def_entity

entity igs_null_entity : igs_directory_entry
  directory 0 form=0 forms=0 raw
"""


def parse(text):
    model = generate.parse(textwrap.dedent(text), "tiny.model")
    generate.check(model)
    return model


def member(source, name):
    """The body of one member function in the emitted source."""
    start = source.index(name + "(")
    return source[start:source.index("\n}\n", start)]


class CodecEmitterTest(unittest.TestCase):
    def setUp(self):
        self.model = parse(TINY)
        schema = self.model.schema("tiny_schema")
        self.header = generate.emit_header(self.model, schema)[0]
        self.source = generate.emit_source(self.model, schema.entries, "tiny")

    def test_declared_only_by_concrete_entities(self):
        overrides = self.header.count("void de_read_record_one(int* const fields) override;")
        self.assertEqual(overrides, 5)  # matrix, mark, def, instance and the raw class
        self.assertNotIn("igs_definition_entity::de_read_record_one", self.source)
        # The raw class is declared but written by hand.
        self.assertNotIn("igs_null_entity::de_read_record_one", self.source)

    def test_reading_follows_mask_and_status(self):
        one = member(self.source, "igs_mark_entity::de_read_record_one")
        self.assertIn("blank_asi(fields[8]);", one)
        self.assertNotIn("used_asi", one)  # u: stored but not read
        self.assertNotIn("level", one)
        self.assertNotIn("form(", member(self.source, "igs_mark_entity::de_read_record_two"))
        instance = member(self.source, "igs_instance_entity::de_read_record_one")
        self.assertIn("structure(lumo_cast<igs_def_entity>(igeslib_resolve_de(fields[2])));",
                      instance)

    def test_writing_columns_and_status_digits(self):
        one = member(self.source, "igs_mark_entity::de_write_record_one")
        self.assertIn("igeslib_de_write_blank(out + 32);", one)  # level not held
        self.assertIn("igeslib_de_write_digit(out + 66, 0);", one)
        # The u digit may spill one column: the next digit must be written after it.
        self.assertLess(one.index("out + 68"), one.index("out + 70"))
        two = member(self.source, "igs_def_entity::de_write_record_two")
        self.assertIn("igeslib_de_write_int(out + 32, form());", two)


class RegistryRowsTest(unittest.TestCase):
    def test_rows_sorted_with_the_any_form_row_first(self):
        rows = generate.registry_rows(parse(TINY))
        keys = [(r[0], r[1]) for r in rows]
        self.assertEqual(keys, [(0, 0), (110, 0), (124, 0), (124, 1), (124, 10),
                                (302, generate.ANY_FORM), (302, 5), (402, 3)])
        self.assertEqual([r[3] for r in rows], [0, 1, 0, 0, 0, 0, 0, 0])
        self.assertEqual(rows[5][2], "igs_def_entity")

    def test_a_pair_named_twice_is_refused(self):
        text = TINY + "\nentity igs_other_entity : igs_directory_entry\n" \
            "  directory 124 form=0 forms=1 fields=........ status=----\n"
        with self.assertRaisesRegex(generate.ModelError, "124 form 1 .* also a row of "
                                    "igs_transformation_matrix_entity"):
            generate.registry_rows(parse(text))

    def test_table_text(self):
        rows = generate.registry_rows(parse(TINY))
        header = generate.emit_rows_header(rows)
        self.assertIn("extern const IgeslibStaticEntityRow igeslib_static_entity_table[8];",
                      header)
        source = generate.emit_rows_source(rows)
        self.assertIn("{302, -999999999, &lumotype_igs_def_entity, 0},", source)
        self.assertIn("{110, 0, &lumotype_igs_mark_entity, 1},", source)


if __name__ == "__main__":
    unittest.main()
