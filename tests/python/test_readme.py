"""The Python example of README.md runs as it stands on the sample part."""

import subprocess
import sys
import unittest
from pathlib import Path


class Readme(unittest.TestCase):
    def test_the_python_example_runs(self):
        text = Path("README.md").read_text()
        section = text[text.index("## Read and write from C++ and Python"):]
        start = section.index("```python\n") + len("```python\n")
        example = section[start:section.index("```", start)]
        self.assertEqual(len(example.splitlines()), 5)
        run = subprocess.run([sys.executable, "-c", example], capture_output=True, text=True)
        self.assertEqual(run.returncode, 0, run.stderr)
        lines = run.stdout.splitlines()
        self.assertEqual(len(lines), 16)
        self.assertTrue(lines[0].endswith(" 15 []"), lines[0])
        self.assertTrue(lines[2].startswith("3 110 0 line_entity EDGE ["), lines[2])


if __name__ == "__main__":
    unittest.main()
