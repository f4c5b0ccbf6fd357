"""iges-dump run as a user runs it: its JSON read by Python's json module, on the sample part
and on every file of the shared corpus.

Run from the project root after a build: python3 -m unittest tests/tools/test_dump.py
"""

import json
import os
import subprocess
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("IGESLIB_BUILD_DIR", ROOT / "build" / "default"))
IGES_DUMP = BUILD / "tools" / "iges-dump"
SAMPLE = ROOT / "examples" / "data" / "sample_part.igs"
CORPUS = ROOT / ".." / "shared" / "corpus"


def dump(*args):
    result = subprocess.run(
        [str(IGES_DUMP), *map(str, args)], capture_output=True, timeout=900
    )
    return result.returncode, result.stdout, result.stderr


def directory_pairs(path):
    """The number of entities a file holds: its D records, two to an entity. Records are
    lines split at any line end; a line with none is cut into card images of 80 columns."""
    records = []
    for line in path.read_bytes().replace(b"\r", b"\n").split(b"\n"):
        if len(line) > 82:
            records.extend(line[at : at + 80] for at in range(0, len(line), 80))
        elif line:
            records.append(line)
    return sum(1 for record in records if record[72:73] == b"D") // 2


class Sample(unittest.TestCase):
    def test_json_holds_every_entity_with_its_values(self):
        status, out, _ = dump(SAMPLE, "--json")
        self.assertEqual(status, 0)
        document = json.loads(out)
        self.assertEqual(list(document)[:2], ["schema_version", "file"])
        self.assertEqual(document["schema_version"], 1)
        self.assertEqual(document["global"]["unit_flag"], "millimeters")
        entities = document["entities"]
        self.assertEqual(len(entities), 15)
        self.assertEqual([e["de"] for e in entities], list(range(1, 31, 2)))
        point = entities[-1]
        self.assertEqual((point["type"], point["form"], point["class"]), (116, 0, "point_entity"))
        self.assertEqual(point["attributes"]["ptr"], {"de": 27, "class": "subfigure_definition_entity"})
        self.assertEqual(point["attributes"]["color"], {"choice": "_color_number", "value": "red"})
        self.assertEqual(point["status"]["use"], "geometry")
        bore = entities[10]
        self.assertEqual(bore["attributes"]["transformation"]["de"], 1)
        self.assertIsInstance(bore["attributes"]["x2"], float)

    def test_selections_and_bad_arguments(self):
        cases = [
            # arguments, exit status, DE numbers shown
            (["--type", "110"], 0, [3, 7, 11, 15, 23, 25]),
            (["--type=100,0", "--entity", "5"], 0, [5]),
            (["--type", "100,1"], 0, []),
            (["--entity", "5", "--type", "110"], 0, []),
            (["--entity", "4"], 2, None),
            (["--entity", "31"], 2, None),
            (["--entity", "x"], 2, None),
            (["--type", "100,"], 2, None),
            (["--xml"], 2, None),
        ]
        for args, expected_status, expected in cases:
            with self.subTest(args=args):
                status, out, err = dump(SAMPLE, "--json", *args)
                self.assertEqual(status, expected_status, err)
                if expected is None:
                    self.assertEqual(out, b"")
                    self.assertTrue(err)
                else:
                    self.assertEqual([e["de"] for e in json.loads(out)["entities"]], expected)

    def test_text_names_each_entity_and_help_names_the_json_reals(self):
        status, out, _ = dump(SAMPLE)
        self.assertEqual(status, 0)
        text = out.decode()
        self.assertIn("Entity 29: point_entity (type 116, form 0)\n", text)
        self.assertIn("  ptr: #27 subfigure_definition_entity\n", text)
        self.assertEqual(text.count("\nEntity "), 15)
        status, out, _ = dump("--help")
        self.assertEqual(status, 0)
        self.assertIn(b'"Infinity"', out)


@unittest.skipUnless(CORPUS.is_dir(), f"no corpus at {CORPUS}")
class Corpus(unittest.TestCase):
    def test_every_file_dumps_in_both_forms(self):
        files = sorted(p for p in CORPUS.iterdir() if p.suffix.lower() in (".igs", ".iges"))
        self.assertTrue(files)
        for path in files:
            with self.subTest(file=path.name):
                status, out, _ = dump(path, "--json")
                self.assertIn(status, (0, 3))
                document = json.loads(out)
                count = directory_pairs(path)
                self.assertEqual(document["entity_count"], count)
                self.assertEqual(len(document["entities"]), count)
                text_status, text, _ = dump(path)
                self.assertEqual(text_status, status)
                self.assertEqual(text.count(b"\nEntity "), count)


if __name__ == "__main__":
    unittest.main()
