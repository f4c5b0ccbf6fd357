"""The Python module igeslib: reads, walks, sets, makes and writes models through the run-time
dictionary, and agrees with the compiled classes and the command-line tools on every corpus
file."""

import json
import math
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import igeslib

BUILD = Path(os.environ.get("IGESLIB_BUILD_DIR", "build/default"))
CORPUS = Path("../shared/corpus")
SAMPLE = Path("examples/data/sample_part.igs")


def walk(obj, seen):
    """Reads every attribute of obj and of what it holds, once each."""
    if isinstance(obj, igeslib.Object):
        if id(obj) not in seen:
            seen[id(obj)] = obj
            for name in obj.attributes():
                walk(obj[name], seen)
    elif isinstance(obj, igeslib.Select):
        walk(obj.value, seen)
    elif isinstance(obj, igeslib.Aggregate):
        for item in obj:
            walk(item, seen)


def output(*command):
    return subprocess.run([str(c) for c in command], capture_output=True, text=True,
                          errors="surrogateescape")


# Attributes of the sample that igeslib-typed-read prints through the compiled accessors.
SAMPLED = {
    "line_entity": "x1 y1 z1 x2 y2 z2",
    "point_entity": "x y z",
    "circular_arc_entity": "zt x1 y1 x2 y2 x3 y3",
    "transformation_matrix_entity": "r11 r12 r13 t1 r21 r22 r23 t2 r31 r32 r33 t3",
}


def sample_line(e):
    """The line igeslib-typed-read prints for e, made from the dictionary."""
    text = f"{e.de_number} {e.type} {e.form} {e.class_name} {'-' if e.label is None else e.label}"
    values = [e[name] for name in SAMPLED.get(e.class_name, "").split()]
    if e.class_name == "rational_bspline_curve_entity":
        text += f" {e.m} {len(e.t)} {len(e.control_points)}"
        values = ([e.t[0], e.t[-1]] if len(e.t) else []) + (
            [e.control_points[0].x, e.control_points[0].y, e.control_points[0].z]
            if len(e.control_points) else [])
    return text + "".join(" %.17g" % v for v in values)


class Sample(unittest.TestCase):
    def setUp(self):
        self.model = igeslib.read(SAMPLE)

    def test_a_model_reads_with_its_sections_and_shared_references(self):
        m = self.model
        self.assertTrue(m.completed)
        self.assertEqual(m.reports, [])
        self.assertEqual(len(m.start_section), 3)
        self.assertTrue(m.start_section[0].startswith("igeslib sample part"))
        g = m.global_section
        self.assertEqual((g.version, g.unit_flag, g.units), (11, "millimeters", "MM"))
        self.assertEqual([e.de_number for e in m.entities], list(range(1, 31, 2)))
        self.assertEqual(m.entities[-2:], [m[13], m[14]])
        line = m.entities[1]
        self.assertEqual((line.type, line.form, line.class_name), (110, 0, "line_entity"))
        self.assertEqual((line.x1, line["x2"], line.label), (5.0, 95.0, "EDGE"))
        self.assertEqual(line.line_font, ("_line_pattern", "solid"))
        self.assertEqual(line.color.choice, "_color_number")
        self.assertEqual(line.used, "geometry")
        self.assertIn("x1", line.attributes())
        self.assertIn("x1", dir(line))
        # A reference gives the same object each time.
        self.assertIs(m.entities[3], m.entities[3])
        self.assertIs([e for e in m.entities if e.transformation][0].transformation, m.entities[0])
        point, figure = m.entities[14], m.entities[13]
        self.assertIs(point.ptr, figure)
        self.assertEqual(list(figure.de), [m.entities[11], m.entities[12]])
        self.assertIs(figure.de[-1], m.entities[12])

    def test_attributes_are_set_by_name_with_the_same_conversions(self):
        m = self.model
        line, arc = m.entities[1], m.entities[2]
        line.x1 = 7
        line["y1"] = 2.5
        line.label = "NEW"
        line.used = "annotation"
        line.color = ("_color_number", "red")
        line.transformation = m.entities[0]
        self.assertEqual((line.x1, line.y1, line.label, line.used), (7.0, 2.5, "NEW", "annotation"))
        self.assertEqual(line.color, ("_color_number", "red"))
        self.assertIs(line.transformation, m.entities[0])
        line.transformation = None
        self.assertIsNone(line.transformation)
        cases = [
            ("x1", "text", TypeError),
            ("subscript", 1.5, TypeError),
            ("subscript", 2**40, OverflowError),
            ("label", 3, TypeError),
            ("transformation", arc, TypeError),  # not a matrix
            ("transformation", igeslib.read(SAMPLE).entities[0], ValueError),  # another model's
            ("color", 3, TypeError),
            ("used", "nowhere", ValueError),
            ("color", ("_no_choice", 1), ValueError),
            ("no_such_attribute", 1, AttributeError),
        ]
        for name, value, error in cases:
            with self.subTest(name=name, value=value), self.assertRaises(error):
                line[name] = value
        with self.assertRaises(AttributeError):
            line.no_such_attribute = 1
        with self.assertRaises(AttributeError):
            line.no_such_attribute
        with self.assertRaises(KeyError):
            line["no_such_attribute"]

    def test_made_entities_are_written_and_read_back(self):
        m = igeslib.Model()
        spline = m.create("rational_bspline_curve_entity")
        spline.m = 1
        spline.t = [0.0, 0.0, 1.0]
        spline.t.append(1.0)
        spline.w = [1.0, 1.0]
        spline.v = [0.0, 1.0]
        point = m.create("coordinate")
        point.x, point.y, point.z = 1.0, 2.0, 3.0
        spline.control_points = [point, point]
        spline.control_points[1] = m.create("coordinate")
        spline.control_points[1].x = 4.0
        note = m.create("igs_general_note_entity")
        note.label = "NOTE"
        for abstract in ("geometric_entity", "copious_data_entity", "no_such_class"):
            with self.assertRaises(ValueError):
                m.create(abstract)
        self.assertEqual(list(m), [spline, note])
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "made.igs"
            self.assertEqual(m.write(path), [])
            back = igeslib.read(path)
        self.assertEqual(back.reports, [])
        self.assertEqual([e.class_name for e in back],
                         ["rational_bspline_curve_entity", "general_note_entity"])
        curve = back.entities[0]
        self.assertEqual(list(curve.t), [0.0, 0.0, 1.0, 1.0])
        self.assertEqual(curve.v, [0.0, 1.0])
        self.assertEqual([(c.x, c.y, c.z) for c in curve.control_points],
                         [(1.0, 2.0, 3.0), (4.0, 0.0, 0.0)])
        self.assertEqual(back.entities[1].label, "NOTE")

    def test_bad_files(self):
        for error, call in ((FileNotFoundError, lambda: igeslib.read("no/such/file.igs")),
                            (IsADirectoryError, lambda: igeslib.read(".")),
                            (FileNotFoundError, lambda: self.model.write("no/such/folder/o.igs"))):
            with self.assertRaises(error):
                call()
        whole = SAMPLE.read_bytes()
        for data in (bytes(range(256)) * 4, whole[: len(whole) // 2], b""):
            with self.subTest(data[:8]), tempfile.TemporaryDirectory() as folder:
                path = Path(folder) / "bad.igs"
                path.write_bytes(data)
                m = igeslib.read(path)
                self.assertFalse(m.completed)
                self.assertGreater(m.reports[-1].line, 0)
                self.assertIsInstance(m.reports[-1].message, str)
                for entity in m.entities:
                    walk(entity, {})


class Registry(unittest.TestCase):
    def test_every_registry_class_is_made_read_and_set_by_name(self):
        rows = igeslib.registry()
        self.assertGreater(len(rows), 250)
        m = igeslib.Model()
        for _, _, name in rows:
            with self.subTest(name):
                e = m.create(name)
                self.assertEqual(e.class_name, name)
                self.assertTrue(e.attributes())
                for attribute in e.attributes():
                    value = e[attribute]
                    e[attribute] = value  # every kind takes what it gives
                    self.assertEqual(e[attribute], value)


class Corpus(unittest.TestCase):
    """Every corpus file: the reports, entities and Global values iges-info shows, every entity
    in both forms of iges-dump, a sample of values of every entity as the compiled classes give
    them, every attribute walked, and the bytes of a Python write those of iges-copy."""

    def test_every_corpus_file(self):
        files = sorted(p for p in CORPUS.glob("*") if p.suffix.lower() in (".igs", ".iges"))
        if not files:
            self.skipTest("../shared/corpus is not beside the project")
        with tempfile.TemporaryDirectory() as folder:
            for path in files:
                with self.subTest(path.name):
                    self.check(path, Path(folder))

    def check(self, path, folder):
        m = igeslib.read(path)
        tools = BUILD / "tools"
        info = output(tools / "iges-info", path)
        fields = dict(line.split(": ", 1) for line in info.stdout.splitlines() if ": " in line)
        self.assertEqual(m.completed, info.returncode != 1)
        reports = info.stderr.count("Error at line #: ") + info.stderr.count("Warning at line #: ")
        self.assertEqual((len(m.reports), reports), (int(fields["Reports"]),) * 2)
        self.assertEqual(int(fields["Total entities"]), len(m.entities))
        g = m.global_section
        self.assertEqual(g.author or "", fields.get("Author", ""))
        self.assertEqual(g.version, int(fields["Version"]))
        self.assertTrue(math.isclose(g.model_space_scale, float(fields["Model space scale"])))
        dump = output(tools / "iges-dump", path, "--json")
        document = json.loads(dump.stdout)
        self.assertEqual(dump.returncode, info.returncode)
        self.assertEqual(document["entity_count"], len(m.entities))
        self.assertEqual([e["class"] for e in document["entities"]],
                         [e.class_name for e in m.entities])
        text = output(tools / "iges-dump", path).stdout
        self.assertEqual(text.count("\nEntity "), len(m.entities))
        check = output(tools / "iges-check", path, "--json")
        findings = [igeslib.Finding(field=f["field"], **{k: v for k, v in f.items() if k != "field"})
                    for f in json.loads(check.stdout)["findings"]]
        self.assertEqual(igeslib.check(m), findings)
        self.assertEqual(check.returncode, int(any(f.severity == "error" for f in findings)))
        typed = output(BUILD / "python" / "igeslib-typed-read", path)
        self.assertEqual([sample_line(e) for e in m.entities], typed.stdout.splitlines())
        seen = {}
        for entity in m.entities:
            walk(entity, seen)
        if m.completed:
            ours, theirs = folder / "python.igs", folder / "copy.igs"
            m.write(ours)
            output(tools / "iges-copy", path, theirs)
            self.assertEqual(ours.read_bytes(), theirs.read_bytes())

if __name__ == "__main__":
    unittest.main()
