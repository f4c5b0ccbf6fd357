"""Parameter layouts: what the reader of the source accepts and refuses, and the code that
the emitter makes of one layout in both directions.

Run from the project root: python3 -m unittest schema/tests/test_parameters.py
"""

import os
import sys
import textwrap
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "schema"))

import igesgen  # noqa: E402
from igesgen.emit_parameters import emit_parameter_code  # noqa: E402

HEAD = """\
schema s
enum igs_flag: off, on
abstract entity igs_directory_entry
  label: string; subscript: int
abstract entity igs_geometric_entity : igs_directory_entry
  line_font: int
select igs_either: igs_geometric_entity, _n: int
select igs_only: igs_geometric_entity
structure igs_point
  x, y, z: double; next: igs_geometric_entity; names: ListOfString
  derived nc = length(label)
  label: string
aggregate ListOfigs_point, ListOfigs_geometric_entity, ListOfigs_either
entity igs_thing : igs_geometric_entity
  directory 999 form=a forms=0..1 fields=.F...... status=----
"""
# Line 16 holds the layout; what follows it are the attributes of igs_thing.
ATTRIBUTES = """
  form: int
  k: int; f: igs_flag; r: double; s: string; on: bool; at: igs_geometric_entity
  pick: igs_either; font: igs_either; only: igs_only
  points: ListOfigs_point; members: ListOfigs_geometric_entity
  picks: ListOfigs_either; reals: ArrayOfDouble
  derived n = size(points)
"""
PLAIN = ("I k, I f, R r, S s, L on, P? at, P! pick, F font, P? only, N(points), X k, "
         "points{R x, R y, N(names){S}}, N(members){P!}, N(picks){P!}, N(reals){R}, "
         "D(1), D(2.), C n")


def model_with(layout):
    text = HEAD + "  parameters: " + layout + ATTRIBUTES
    model = igesgen.parse(text, "tiny.model")
    igesgen.check(model)
    return model


def error_of(layout):
    try:
        model_with(layout)
    except igesgen.ModelError as error:
        return str(error)
    return None


class LayoutTest(unittest.TestCase):
    def test_malformed_layouts_are_refused_with_file_and_line(self):
        cases = [
            ("R k, R r" + PLAIN[3:], "the step R k of igs_thing needs double, not int"),
            ("I nothing, " + PLAIN, "the layout of igs_thing names nothing, which it lacks"),
            ("Q k, " + PLAIN, "cannot read the layout step 'Q k'"),
            ("I k,, R r", "the layout has an empty step"),
            ("N(points){R x", "a '{' of the layout is not closed"),
            (PLAIN.replace("N(points), ", ""), "the items of points stand before its count N(points)"),
            (PLAIN.replace("points{R x, R y, N(names){S}}, ", ""),
             "the count N(points) of igs_thing has no items"),
            (PLAIN.replace("N(members){P!}", "N(members){P! at}"),
             "the items of a list of igs_geometric_entity are one nameless step"),
            (PLAIN.replace("N(reals){R}", "N(reals){I}"), "the step I of igs_thing needs int or enum, not double"),
            (PLAIN.replace("P? at", "P? r"), "the step P? r of igs_thing needs reference, not double"),
            (PLAIN.replace("C n", "C k"), "C k of igs_thing is no derived member"),
            (PLAIN.replace("F font", "F only"),
             "F only of igs_thing needs a select of a value and an entity"),
            (PLAIN.replace("I k, ", "").replace("X k, ", ""),
             "the layout of igs_thing leaves out k; name it or give it a hand step"),
            (PLAIN.replace("N(reals){R}", "N(reals){hand r}"),
             "a hand step names an attribute of the entity or of a structure item"),
            (PLAIN.replace("R x", "hand r"),
             "a hand step names an attribute of the entity or of a structure item"),
        ]
        for layout, message in cases:
            with self.subTest(message=message):
                self.assertEqual(error_of(layout), "tiny.model:16: " + message)

    def test_a_layout_beside_hand_code_is_refused(self):
        text = HEAD + "  parameters hand\n  parameters: " + PLAIN + ATTRIBUTES
        with self.assertRaisesRegex(igesgen.ModelError, "both a layout and hand-written"):
            igesgen.check(igesgen.parse(text, "tiny.model"))


class EmitterTest(unittest.TestCase):
    def code(self, layout):
        return [line.strip() for line in emit_parameter_code(model_with(layout)).splitlines()]

    # The steps whose code is more than a call of the reader or the writer: offsets, enum
    # codes, constants, computed counts, selects of a value and an entity, hand steps, forms.
    def test_reader_and_writer_follow_the_same_steps(self):
        code = self.code(PLAIN.replace("R y", "hand y") + ", hand extra, form=1{R r}")
        reader = code[code.index("void igs_thing::pdread() {"):code.index("void igs_thing::pdwrite() {")]
        writer = code[code.index("void igs_thing::pdwrite() {"):]
        # A field that the reader may take otherwise than the file says is named for its notes.
        for line in ["k(io->read_int() - 1);",
                     "io, [](igs_either* select, int n) { return select->_n(n); },",
                     'igeslib_read_code(io, [&](int n) { return f(n); }, '
                     'IgeslibField{"f", &lumotype_igs_flag, {-1, -1}});',
                     "l_members->add(igeslib_read_list_pointer<igs_geometric_entity>(io, "
                     'IgeslibField{"members[]", &lumotype_igs_geometric_entity, {i0, -1}}));',
                     "l_reals->put(io->read_real(), static_cast<unsigned>(i0));",
                     "io->read_real();  // written as 2.", "int c_n = io->read_int();",
                     "igeslib_note_value(io, IgeslibNoteKind::computed, c_n, n(), "
                     'IgeslibField{"n", nullptr, {-1, -1}});',
                     "pdread_extra(io);", "pdread_y(io, item0);"]:
            self.assertIn(line, reader)
        for line in ["io->write_int(static_cast<int>(f()));", "io->write_int(k() + 1);",
                     "igeslib_write_pointer(io, igeslib_select_entity(pick()));",
                     "io->write_real(2.);", "io->write_int(n());",
                     "io->write_int(l_reals ? static_cast<int>(l_reals->size()) : 0);",
                     "if (!(item && item->entity())) continue;",
                     "return select->is_n() ? static_cast<int>(select->_n()) : 0;",
                     "pdwrite_extra(io);", "pdwrite_y(io, item0);"]:
            self.assertIn(line, writer)
        self.assertEqual(code.count("if (form() == 1) {"), 2)


if __name__ == "__main__":
    unittest.main()
