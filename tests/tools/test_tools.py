"""iges-info, iges-copy, iges-dump, iges-view, iges-check and the example programs, run as a
user runs them: on the sample part and on damaged copies of it (tests/python/test_igeslib.py runs
iges-info, iges-dump, iges-copy and iges-check on every file of the shared corpus; iges-view
draws every corpus file here).

Run from the project root after a build: python3 -m unittest tests/tools/test_tools.py
The programs are taken from the build tree that IGESLIB_BUILD_DIR names (build/default when
it is not set).
"""

import json
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("IGESLIB_BUILD_DIR", ROOT / "build" / "default"))
IGES_INFO, IGES_COPY, IGES_DUMP, IGES_VIEW, IGES_CHECK = (
    BUILD / "tools" / name
    for name in ("iges-info", "iges-copy", "iges-dump", "iges-view", "iges-check"))
SAMPLE = ROOT / "examples" / "data" / "sample_part.igs"
CORPUS = ROOT / ".." / "shared" / "corpus"

TABLE_ROW = re.compile(r"^\s*(-?\d+)\s+(-?\d+)\s+(\d+)\s+(\S+)$")

SAMPLE_ROWS = {
    (100, 0, "circular_arc_entity"): 6,
    (110, 0, "line_entity"): 6,
    (116, 0, "point_entity"): 1,
    (124, 0, "transformation_matrix_entity"): 1,
    (308, 0, "subfigure_definition_entity"): 1,
}


def run(program, *args):
    return subprocess.run([str(program), *map(str, args)], capture_output=True, text=True,
                          errors="replace", timeout=900)


def reports_in(stderr):
    return stderr.count("Error at line #: ") + stderr.count("Warning at line #: ")


class Info:
    """What iges-info printed: the "title: value" fields and the table of entities."""

    def __init__(self, stdout):
        self.fields = {}
        self.rows = {}
        for line in stdout.splitlines():
            row = TABLE_ROW.match(line)
            if row:
                self.rows[(int(row[1]), int(row[2]), row[4])] = int(row[3])
            elif ": " in line or line.endswith(":"):
                title, _, value = line.partition(":")
                self.fields.setdefault(title, value.strip())


def with_record(data, letter, number, change):
    """The file with record `number` of section `letter` replaced by change(record)."""
    lines = data.split(b"\n")
    for i, line in enumerate(lines):
        if line[72:73] == letter and int(line[73:80]) == number:
            lines[i] = change(line)
    return b"\n".join(lines)


def parameter_tokens(data):
    """The parameters of every P record's free-form columns, entity by entity."""
    text = b"".join(r[:64] for r in data.split(b"\n") if r[72:73] == b"P").decode()
    return [entity.split(",") for entity in text.split(";") if entity.strip()]


def entity_des(stdout):
    return [e["de"] for e in json.loads(stdout)["entities"]]


class ToolTestCase(unittest.TestCase):
    def setUp(self):
        for program in (IGES_INFO, IGES_COPY, IGES_DUMP):
            self.assertTrue(program.exists(), f"{program} is not built")
        self.scratch = tempfile.TemporaryDirectory()
        self.dir = Path(self.scratch.name)
        self.sample = SAMPLE.read_bytes()

    def tearDown(self):
        self.scratch.cleanup()

    def file(self, name, data):
        path = self.dir / name
        path.write_bytes(data)
        return path

    def info(self, path, *flags, status=0):
        result = run(IGES_INFO, path, *flags)
        self.assertEqual(result.returncode, status, result.stderr[-2000:])
        info = Info(result.stdout)
        self.assertEqual(int(info.fields["Reports"]), reports_in(result.stderr))
        return info, result


class SampleTest(ToolTestCase):
    def test_info_of_the_sample(self):
        info, result = self.info(SAMPLE)
        expected = {
            "File": str(SAMPLE),
            "Sender's product id": "sample_part",
            "File name": "sample_part.igs",
            "System id": "igeslib",
            "Preprocessor version": "make_sample 1",
            "Units": "MM",
            "Unit flag": "2 (millimeters)",
            "Model space scale": "1",
            "Author": "igeslib",
            "Organization": "igeslib project",
            "Version": "11",
            "Drafting standard": "1 (ISO)",
            "Date of generation": "20240101.120000",
            "Total entities": "15",
            "Names": "0",
            "Colours": "0",
            "Levels": "1",
            "  level 1": "14",
            "Read": "completed",
            "Reports": "0",
        }
        self.assertEqual(info.fields, expected)
        self.assertEqual(info.rows, SAMPLE_ROWS)
        self.assertEqual(result.stderr, "")

    def test_info_names_colours_and_levels_of_a_real_file(self):
        path = CORPUS / "pyIGES__lbrackt.igs"
        if not path.exists():
            self.skipTest("../shared/corpus is absent")
        info, _ = self.info(path)
        self.assertEqual([info.fields.get("  name %d" % de) for de in (45, 57, 101, 137, 185)],
                         ["ISO", "SIDE", "TOP", "FRONT", "LBRACKT"])
        self.assertEqual(info.fields["  colour 173"], "60 0 40 MAGENTA")
        self.assertEqual(info.fields["Levels"], "5")
        self.assertEqual(info.fields["  levels of definition 129"], "1")

    def test_unplaced_entity_counts_under_its_type_and_form(self):
        # The first line becomes type 9999, form 3, which no class holds.
        data = with_record(self.sample, b"D", 3, lambda r: b"    9999" + r[8:])
        data = with_record(data, b"D", 4, lambda r: b"    9999" + r[8:32] + b"       3" + r[40:])
        info, _ = self.info(self.file("unplaced.igs", data))
        expected = dict(SAMPLE_ROWS)
        expected[(110, 0, "line_entity")] -= 1
        expected[(9999, 3, "null_entity")] = 1
        self.assertEqual(info.rows, expected)
        self.assertEqual(list(info.rows), sorted(info.rows))

    def test_keep_zeros_reads_back_the_same(self):
        zeros, back = self.dir / "zeros.igs", self.dir / "back.igs"
        self.assertEqual(run(IGES_COPY, SAMPLE, zeros, "--keep-zeros").returncode, 0)
        empty = [p for entity in parameter_tokens(self.sample) for p in entity if not p.strip()]
        self.assertTrue(empty, "the sample has no empty parameters to compare with")
        for entity in parameter_tokens(zeros.read_bytes()):
            self.assertNotIn("", [p.strip() for p in entity], entity)
        self.assertEqual(self.info(zeros)[0].rows, SAMPLE_ROWS)
        self.assertEqual(run(IGES_COPY, zeros, back).returncode, 0)
        self.assertEqual(back.read_bytes(), self.sample)

    def test_damaged_ends(self):
        # A damaged end is read whole unless --strict-end, and copied with a correct Terminate
        # record; a fatal read still shows what was read before it, and copies nothing.
        blank_sequence = with_record(self.sample, b"T", 1, lambda r: r[:73] + b" " * 7)
        cases = [
            (blank_sequence, "Invalid sequence number"),
            (self.sample.rstrip(b"\n"), "the file ends inside it, without a line end"),
            (self.sample[: self.sample.index(b"P      2\n") - 30], None),
        ]
        out = self.dir / "out.igs"
        for data, fault in cases:
            for strict in (False, True):
                with self.subTest(fault, strict=strict):
                    path = self.file("damaged.igs", data)
                    damaged = fault and not strict
                    flags = ["--strict-end"] if strict else []
                    info, result = self.info(path, *flags, status=3 if damaged else 1)
                    self.assertEqual(info.fields["System id"], "igeslib")
                    if damaged:
                        self.assertEqual(info.fields["Read"], "completed, last record damaged")
                        self.assertEqual(info.rows, SAMPLE_ROWS)
                        self.assertIn(f"iges-info: {path}: last record damaged ({fault}); "
                                      "the model was read whole\n", result.stderr)
                    else:
                        self.assertEqual(info.fields["Read"], "stopped at a fatal error")
                    result = run(IGES_COPY, path, out, *flags)
                    self.assertEqual(result.returncode, 3 if damaged else 1, result.stderr)
                    self.assertGreaterEqual(reports_in(result.stderr), 1)
                    if damaged:
                        self.assertEqual(out.read_bytes(), self.sample)
                        out.unlink()
                    self.assertFalse(out.exists())

    def test_dump_json_holds_every_entity_with_its_values(self):
        result = run(IGES_DUMP, SAMPLE, "--json")
        self.assertEqual(result.returncode, 0)
        document = json.loads(result.stdout)
        self.assertEqual(list(document)[:2], ["schema_version", "file"])
        self.assertEqual(document["schema_version"], 1)
        self.assertEqual(document["global"]["unit_flag"], "millimeters")
        entities = document["entities"]
        point = entities[-1]
        self.assertEqual((point["type"], point["form"], point["class"]), (116, 0, "point_entity"))
        self.assertEqual(point["attributes"]["ptr"],
                         {"de": 27, "class": "subfigure_definition_entity"})
        self.assertEqual(point["status"]["use"], "geometry")
        self.assertEqual(entities[10]["attributes"]["transformation"]["de"], 1)
        text = run(IGES_DUMP, SAMPLE).stdout
        self.assertIn("Entity 29: point_entity (type 116, form 0)\n", text)
        self.assertIn("  ptr: #27 subfigure_definition_entity\n", text)

    def test_arguments(self):
        missing = self.dir / "no such file.igs"
        out = self.dir / "out.igs"
        usage = "Usage: iges-info FILE"
        cases = [
            # program, arguments, exit status, what stdout (status 0) or stderr holds
            (IGES_INFO, [], 2, usage),
            (IGES_INFO, [SAMPLE, SAMPLE], 2, usage),
            (IGES_INFO, ["--bogus"], 2, usage),
            (IGES_INFO, ["--help"], 0, usage),
            (IGES_INFO, [missing], 2, f"iges-info: {missing}: No such file or directory"),
            (IGES_INFO, [self.dir], 2, ""),
            (IGES_COPY, [], 2, ""),
            (IGES_COPY, [SAMPLE], 2, ""),
            (IGES_COPY, [SAMPLE, out, out], 2, ""),
            (IGES_COPY, ["--bogus", SAMPLE, out], 2, ""),
            (IGES_COPY, [missing, out], 2, ""),
            (IGES_COPY, [SAMPLE, self.dir / "no" / "dir.igs"], 2, ""),
            (IGES_COPY, ["--help"], 0, ""),
            (IGES_DUMP, ["--help"], 0, '"Infinity"'),
            (IGES_DUMP, [SAMPLE, "--json", "--entity", "4"], 2, ""),
            (IGES_DUMP, [SAMPLE, "--json", "--entity", "31"], 2, ""),
            (IGES_DUMP, [SAMPLE, "--json", "--entity", "x"], 2, ""),
            (IGES_DUMP, [SAMPLE, "--json", "--type", "100,"], 2, ""),
            (IGES_DUMP, [SAMPLE, "--json", "--xml"], 2, ""),
            (IGES_CHECK, [], 2, "Usage: iges-check FILE"),
            (IGES_CHECK, [SAMPLE, "--level", "fatal"], 2, "Usage: iges-check FILE"),
            (IGES_CHECK, [SAMPLE, "--code", "pointer-zero,nope"], 2, "no code 'nope'"),
            (IGES_CHECK, [missing], 2, f"iges-check: {missing}: No such file or directory"),
            (IGES_CHECK, [self.dir], 2, ""),
            (IGES_CHECK, ["--codes"], 0, "pointer-wrong-class      error"),
            (IGES_CHECK, [SAMPLE], 0, "Findings: 0 errors, 0 warnings, 0 infos"),
        ]
        for program, args, status, text in cases:
            with self.subTest(program=program.name, args=args):
                result = run(program, *args)
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertIn(text, result.stdout if status == 0 else result.stderr)
                if status:
                    self.assertEqual(result.stdout, "")
                    self.assertTrue(result.stderr)
                self.assertFalse(out.exists())

    def test_check_groups_filters_and_exits_by_severity(self):
        # A line whose P record says it is a point, and a Global unit name that isn't MM.
        data = with_record(self.sample, b"P", 3, lambda r: b"116" + r[3:])
        data = with_record(data, b"G", 2, lambda r: r.replace(b"2HMM", b"2HIN"))
        path = self.file("faults.igs", data)
        text = run(IGES_CHECK, path)
        self.assertEqual(text.returncode, 1, text.stderr)
        self.assertIn("Findings: 1 errors, 1 warnings, 0 infos\n\nread-error (error): 1\n  DE 5 "
                      "(line 39): parse_pd_section: Entity type in the PD section does not match",
                      text.stdout)
        self.assertIn("\nglobal-units (warning): 1\n  file units: unit flag 2 means MM, the unit "
                      "name is IN\n", text.stdout)
        document = json.loads(run(IGES_CHECK, path, "--json").stdout)
        self.assertEqual((document["schema_version"], document["counts"]),
                         (1, {"error": 1, "warning": 1, "info": 0}))
        self.assertEqual([f["code"] for f in document["findings"]], ["global-units", "read-error"])
        for flags, status, codes in [(["--level", "error"], 1, ["read-error"]),
                                     (["--code=global-units"], 0, ["global-units"])]:
            with self.subTest(flags=flags):
                result = run(IGES_CHECK, path, "--json", *flags)
                self.assertEqual(result.returncode, status)
                self.assertEqual([f["code"] for f in json.loads(result.stdout)["findings"]], codes)

    def test_dump_selections(self):
        cases = [
            ([], list(range(1, 31, 2))),
            (["--type", "110"], [3, 7, 11, 15, 23, 25]),
            (["--type=100,0", "--entity", "5"], [5]),
            (["--type", "100,1"], []),
            (["--entity", "5", "--type", "110"], []),
        ]
        for args, expected in cases:
            with self.subTest(args=args):
                result = run(IGES_DUMP, SAMPLE, "--json", *args)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertEqual(entity_des(result.stdout), expected)

    def test_the_examples_give_their_committed_files_which_copy_byte_for_byte(self):
        # The copy reads every pointer back to where the program linked it.
        for name, entities in (("sample_part", 15), ("csg_part", 7), ("fem_part", 25)):
            program = BUILD / "examples" / ("make_" + name.split("_")[0])
            committed = ROOT / "examples/data" / (name + ".igs")
            with self.subTest(program=program.name):
                out, copy = self.dir / (name + ".igs"), self.dir / "copy.igs"
                result = run(program, out)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertEqual(out.read_bytes(), committed.read_bytes(),
                                 f"{committed} is not what {program.name} writes: run it again")
                result = run(IGES_COPY, committed, copy)
                self.assertEqual(result.stdout.splitlines()[-1],
                                 f"{committed} -> {copy}: {entities} entities, 0 reports")
                self.assertEqual(copy.read_bytes(), committed.read_bytes())

class ViewTest(ToolTestCase):
    """iges-view, built where cairo is found; its pictures are checked by their elements."""

    def setUp(self):
        super().setUp()
        if not IGES_VIEW.exists():
            self.skipTest("iges-view is not built (cairo was not found)")

    def view(self, path, picture, *args, status=0):
        result = run(IGES_VIEW, path, "-o", picture, *args)
        self.assertEqual(result.returncode, status, result.stderr[-2000:])
        return result

    def test_the_sample_is_drawn_in_its_colours(self):
        svg = self.dir / "sample.svg"
        result = self.view(SAMPLE, svg)
        self.assertEqual(result.stderr, "")
        self.assertIn("Units: MM\nModel size: 100 x 60 x 0 MM\nDrawn: 13\nSkipped: 0\n",
                      result.stdout)
        # One path for each curve: the plate's four edges and four fillets in green, its bores
        # in blue, and in red the two strokes of the cross that shows the point at a bore's
        # centre (the point has a subfigure as its symbol). The legend's glyphs have no stroke.
        strokes = re.findall(r"<path [^>]*stroke:(rgb\([^)]*\))", svg.read_text())
        counts = {colour: strokes.count(colour) for colour in set(strokes)}
        self.assertEqual(counts, {"rgb(0%,100%,0%)": 8, "rgb(0%,0%,100%)": 2,
                                  "rgb(100%,0%,0%)": 2})
        png = self.dir / "sample.png"
        self.view(SAMPLE, png, "--view", "top", "--size", "320x200")
        header = png.read_bytes()[:24]
        self.assertEqual(header[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual((int.from_bytes(header[16:20], "big"), int.from_bytes(header[20:24], "big")),
                         (320, 200))

    def test_arguments(self):
        picture = self.dir / "out.svg"
        cases = [
            ([SAMPLE], "no picture given"),
            ([SAMPLE, "-o", self.dir / "out.pdf"], "must end in .svg or .png"),
            ([SAMPLE, "-o", picture, "--view", "side"], "unknown view side"),
            ([SAMPLE, "-o", picture, "--size", "10x10"], "size not WxH"),
            ([SAMPLE, "-o", picture, "--size", "640"], "size not WxH"),
            ([SAMPLE, SAMPLE, "-o", picture], "one file only"),
            ([self.dir / "none.igs", "-o", picture], "No such file or directory"),
            ([SAMPLE, "-o", self.dir / "no" / "out.svg"], "No such file or directory"),
        ]
        for args, text in cases:
            with self.subTest(args=args):
                result = run(IGES_VIEW, *args)
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertIn(text, result.stderr)
                self.assertEqual(result.stdout, "")
                self.assertFalse(picture.exists())
        self.assertIn("Usage: iges-view FILE", run(IGES_VIEW, "--help").stdout)

    def test_every_corpus_file_is_drawn(self):
        files = sorted(p for p in CORPUS.glob("*") if p.suffix.lower() in (".igs", ".iges"))
        if not files:
            self.skipTest("../shared/corpus is absent")
        drawn = 0
        for path in files:
            with self.subTest(path.name):
                picture = self.dir / "corpus.svg"
                result = run(IGES_VIEW, path, "-o", picture)
                # 3: read whole with a damaged last record, as iges-info says too.
                self.assertIn(result.returncode, (0, 3), result.stderr[-2000:])
                self.assertTrue(picture.read_bytes().startswith(b"<?xml"))
                drawn += int(re.search(r"^Drawn: (\d+)$", result.stdout, re.M)[1])
        self.assertGreater(drawn, 2000)


if __name__ == "__main__":
    unittest.main()
