"""iges-info, iges-copy and the sample program, run as a user runs them.

Run from the project root after a build: python3 -m unittest tests/tools/test_tools.py
The programs are taken from the build tree that IGESLIB_BUILD_DIR names (build/default when
it is not set).
"""

import collections
import os
import re
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("IGESLIB_BUILD_DIR", ROOT / "build" / "default"))
IGES_INFO = BUILD / "tools" / "iges-info"
IGES_COPY = BUILD / "tools" / "iges-copy"
MAKE_SAMPLE = BUILD / "examples" / "make_sample"
MAKE_CSG = BUILD / "examples" / "make_csg"
MAKE_FEM = BUILD / "examples" / "make_fem"
SAMPLE = ROOT / "examples" / "data" / "sample_part.igs"
CORPUS = ROOT / ".." / "shared" / "corpus"

# How each report on standard error begins.
REPORT_STARTS = (b"Error at line #: ", b"Warning at line #: ")
TABLE_ROW = re.compile(r"^\s*(-?\d+)\s+(-?\d+)\s+(\d+)\s+(\S+)$")

SAMPLE_ROWS = {
    (100, 0, "circular_arc_entity"): 6,
    (110, 0, "line_entity"): 6,
    (116, 0, "point_entity"): 1,
    (124, 0, "transformation_matrix_entity"): 1,
    (308, 0, "subfigure_definition_entity"): 1,
}


def run(program, *args):
    return subprocess.run(
        [str(program), *map(str, args)],
        capture_output=True,
        text=True,
        errors="replace",
        timeout=900,
    )


def reports_in(stderr):
    if isinstance(stderr, str):
        stderr = stderr.encode()
    return sum(stderr.count(start) for start in REPORT_STARTS)


def run_counting_reports(program, *args):
    """Runs program with its standard error counted, not kept: files without parameter code
    for their entities give hundreds of megabytes of reports. Returns the exit status, the
    standard output and the number of reports."""
    with subprocess.Popen(
        [str(program), *map(str, args)], stdout=subprocess.PIPE, stderr=subprocess.PIPE
    ) as process:
        stdout = []
        reader = threading.Thread(target=lambda: stdout.append(process.stdout.read()))
        reader.start()
        count, rest = 0, b""
        while chunk := process.stderr.read(1 << 20):
            whole, _, rest = (rest + chunk).rpartition(b"\n")
            count += reports_in(whole)
        count += reports_in(rest)
        reader.join()
        status = process.wait(timeout=900)
    return status, stdout[0].decode(errors="replace"), count


def run_quietly(program, *args):
    """Runs program with its standard error dropped: the exit status and standard output."""
    result = subprocess.run(
        [str(program), *map(str, args)],
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
        timeout=900,
    )
    return result.returncode, result.stdout.decode(errors="replace")

class Info:
    """What iges-info printed: the "title: value" fields and the table of entities."""

    def __init__(self, stdout):
        self.fields = {}
        self.rows = {}
        for line in stdout.splitlines():
            row = TABLE_ROW.match(line)
            if row:
                key = (int(row[1]), int(row[2]), row[4])
                self.rows[key] = int(row[3])
            elif ": " in line or line.endswith(":"):
                title, _, value = line.partition(":")
                self.fields.setdefault(title, value.strip())

    def by_type(self):
        counts = collections.Counter()
        for (entity_type, _, _), count in self.rows.items():
            counts[entity_type] += count
        return counts


def records(data):
    """The records of a file: lines split at any line end; a line with none is cut into card
    images of 80 columns."""
    out = []
    for line in data.replace(b"\r", b"\n").split(b"\n"):
        if len(line) > 82:
            out.extend(line[at : at + 80] for at in range(0, len(line), 80))
        elif line:
            out.append(line)
    return out


def leading_int(field):
    """The number at the start of a fixed field, as the C library's atoi reads it."""
    match = re.match(rb"\s*([-+]?\d+)", field)
    return int(match[1]) if match else 0


def directory_pairs(data):
    """(type, form) of each pair of D records: columns 1-8 of the first, 33-40 of the second."""
    d = [r for r in records(data) if r[72:73] == b"D"]
    return [(leading_int(d[i][:8]), leading_int(d[i + 1][32:40])) for i in range(0, len(d) - 1, 2)]


def with_record(data, letter, number, change):
    """The file with record `number` of section `letter` replaced by change(record)."""
    lines = data.split(b"\n")
    for i, line in enumerate(lines):
        if line[72:73] == letter and int(line[73:80]) == number:
            lines[i] = change(line)
    return b"\n".join(lines)


def damaged_ends(sample):
    """(name, file, what iges-info says was wrong or None when the read must stop) for the
    sample with a damaged end."""
    blank_sequence = with_record(sample, b"T", 1, lambda r: r[:73] + b" " * 7)
    no_line_end = "the file ends inside it, without a line end"
    return [
        ("blank sequence field", blank_sequence, "Invalid sequence number"),
        ("last record without a line end", sample.rstrip(b"\n"), no_line_end),
        ("cut inside the P section", sample[: sample.index(b"P      2\n") - 30], None),
    ]


def parameter_tokens(data):
    """The parameters of every P record's free-form columns, entity by entity."""
    text = b"".join(r[:64] for r in records(data) if r[72:73] == b"P").decode()
    return [entity.split(",") for entity in text.split(";") if entity.strip()]


class ToolTestCase(unittest.TestCase):
    def setUp(self):
        for program in (IGES_INFO, IGES_COPY, MAKE_SAMPLE):
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

    def info(self, path, status=0):
        result = run(IGES_INFO, path)
        self.assertEqual(result.returncode, status, result.stderr[-2000:])
        info = Info(result.stdout)
        self.assertEqual(int(info.fields["Reports"]), reports_in(result.stderr))
        return info, result


class IgesInfoTest(ToolTestCase):
    def test_names_colours_and_levels_of_a_real_file(self):
        path = CORPUS / "pyIGES__lbrackt.igs"
        if not path.exists():
            self.skipTest("../shared/corpus is absent")
        info, _ = self.info(path)
        self.assertEqual([info.fields.get("  name %d" % de) for de in (45, 57, 101, 137, 185)],
                         ["ISO", "SIDE", "TOP", "FRONT", "LBRACKT"])
        self.assertEqual(info.fields["  colour 173"], "60 0 40 MAGENTA")
        self.assertEqual(info.fields["Levels"], "5")
        self.assertEqual(info.fields["  levels of definition 129"], "1")

    def test_sample_global_values_and_entities(self):
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

    def test_reports_are_counted_and_still_written_out(self):
        # Wrong counts on the T record: the read completes with reports.
        data = with_record(self.sample, b"T", 1, lambda r: b"S      9" + r[8:])
        info, result = self.info(self.file("counts.igs", data))
        self.assertEqual(info.fields["Read"], "completed")
        self.assertGreaterEqual(int(info.fields["Reports"]), 1)
        self.assertIn("IGES record:", result.stderr)

    def test_damaged_ends(self):
        for name, data, fault in damaged_ends(self.sample):
            for strict in (False, True):
                with self.subTest(name, strict=strict):
                    path = self.file("damaged.igs", data)
                    damaged = fault and not strict
                    args = [path, "--strict-end"] if strict else [path]
                    result = run(IGES_INFO, *args)
                    self.assertEqual(result.returncode, 3 if damaged else 1, result.stderr)
                    info = Info(result.stdout)
                    self.assertEqual(int(info.fields["Reports"]), reports_in(result.stderr))
                    # What was read before a stop is still shown.
                    self.assertEqual(info.fields["System id"], "igeslib")
                    if damaged:
                        self.assertEqual(info.fields["Read"], "completed, last record damaged")
                        self.assertEqual(info.rows, SAMPLE_ROWS)
                        self.assertIn(
                            f"iges-info: {path}: last record damaged ({fault}); "
                            "the model was read whole\n",
                            result.stderr,
                        )
                    else:
                        self.assertEqual(info.fields["Read"], "stopped at a fatal error")

    def test_arguments(self):
        missing = self.dir / "no such file.igs"
        cases = [
            ([], 2),
            ([SAMPLE, SAMPLE], 2),
            (["--bogus"], 2),
            ([missing], 2),
            ([self.dir], 2),
            (["--help"], 0),
        ]
        for args, status in cases:
            with self.subTest(args=args):
                result = run(IGES_INFO, *args)
                self.assertEqual(result.returncode, status)
                usage_out = result.stdout if status == 0 else result.stderr
                if args[:1] != [missing] and args[:1] != [self.dir]:
                    self.assertIn("Usage: iges-info FILE", usage_out)
        result = run(IGES_INFO, missing)
        self.assertEqual(result.stdout, "")
        self.assertIn(f"iges-info: {missing}: No such file or directory", result.stderr)


class IgesCopyTest(ToolTestCase):
    def test_copy_of_the_sample_is_the_sample(self):
        out = self.dir / "copy.igs"
        result = run(IGES_COPY, SAMPLE, out)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(
            result.stdout.splitlines()[-1], f"{SAMPLE} -> {out}: 15 entities, 0 reports"
        )
        self.assertEqual(out.read_bytes(), self.sample)

    def test_keep_zeros_writes_zeros_that_read_back_the_same(self):
        zeros = self.dir / "zeros.igs"
        result = run(IGES_COPY, SAMPLE, zeros, "--keep-zeros")
        self.assertEqual(result.returncode, 0, result.stderr)
        empty = [p for entity in parameter_tokens(self.sample) for p in entity if not p.strip()]
        self.assertTrue(empty, "the sample has no empty parameters to compare with")
        for entity in parameter_tokens(zeros.read_bytes()):
            self.assertNotIn("", [p.strip() for p in entity], entity)
        self.assertEqual(self.info(zeros)[0].rows, SAMPLE_ROWS)
        back = self.dir / "back.igs"
        self.assertEqual(run(IGES_COPY, zeros, back).returncode, 0)
        self.assertEqual(back.read_bytes(), self.sample)

    def test_damaged_ends(self):
        # A damaged end is copied with a correct Terminate record; a fatal read writes nothing.
        out = self.dir / "out.igs"
        for name, data, fault in damaged_ends(self.sample):
            for strict in (False, True):
                with self.subTest(name, strict=strict):
                    damaged = fault and not strict
                    args = [self.file("damaged.igs", data), out]
                    result = run(IGES_COPY, *args, *(["--strict-end"] if strict else []))
                    self.assertEqual(result.returncode, 3 if damaged else 1, result.stderr)
                    self.assertGreaterEqual(reports_in(result.stderr), 1)
                    if damaged:
                        self.assertEqual(out.read_bytes(), self.sample)
                        out.unlink()
                    self.assertFalse(out.exists())

    def test_arguments_and_paths(self):
        out = self.dir / "out.igs"
        cases = [
            ([], 2),
            ([SAMPLE], 2),
            ([SAMPLE, out, out], 2),
            (["--bogus", SAMPLE, out], 2),
            ([self.dir / "missing.igs", out], 2),
            ([SAMPLE, self.dir / "no" / "dir.igs"], 2),
            (["--help"], 0),
        ]
        for args, status in cases:
            with self.subTest(args=args):
                result = run(IGES_COPY, *args)
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertFalse(out.exists())


class SampleTest(ToolTestCase):
    def test_the_examples_give_their_committed_files(self):
        for program, name in ((MAKE_SAMPLE, "sample_part.igs"), (MAKE_CSG, "csg_part.igs"),
                              (MAKE_FEM, "fem_part.igs")):
            with self.subTest(program=program.name):
                out = self.dir / name
                result = run(program, out)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertEqual(out.read_bytes(), (ROOT / "examples/data" / name).read_bytes(),
                                 "examples/data/%s is not what %s writes: run it again"
                                 % (name, program.name))


def corpus_files():
    if not CORPUS.is_dir():
        return []
    return sorted(p for p in CORPUS.iterdir() if p.suffix.lower() in (".igs", ".iges"))


class CorpusTest(ToolTestCase):
    def setUp(self):
        super().setUp()
        self.files = corpus_files()
        if not self.files:
            self.skipTest("../shared/corpus is absent: corpus checks skipped")

    def test_every_file(self):
        for path in self.files:
            with self.subTest(path.name):
                data = path.read_bytes()
                # A last record without its line end, when the others have one, is a damaged
                # end: the read completes with its own status.
                last = data.replace(b"\r", b"\n").rpartition(b"\n")[2]
                damaged = b"\n" in data and len(last) >= 73
                status, stdout, reports = run_counting_reports(IGES_INFO, path)
                self.assertEqual(status, 3 if damaged else 0)
                info = Info(stdout)
                self.assertEqual(int(info.fields["Reports"]), reports)
                pairs = directory_pairs(data)
                self.assertEqual(int(info.fields["Total entities"]), len(pairs))
                self.assertEqual(info.by_type(), collections.Counter(t for t, _ in pairs))

                out = self.dir / path.name
                status, stdout = run_quietly(IGES_COPY, path, out)
                self.assertEqual(status, 3 if damaged else 0)
                self.assertRegex(stdout.splitlines()[-1], f" {len(pairs)} entities, ")
                status, stdout = run_quietly(IGES_INFO, out)
                self.assertEqual(Info(stdout).rows, info.rows)
                out.unlink()

if __name__ == "__main__":
    unittest.main()
