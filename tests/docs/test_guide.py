"""The guide quotes the example programs: every C++ block of docs/guide.md stands in one of
examples/*.cpp, line for line at one indentation, so the guide shows code that builds and runs.

Run from the project root: python3 -m unittest tests/docs/test_guide.py
"""

import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
GUIDE = ROOT / "docs" / "guide.md"
EXAMPLES = ROOT / "examples"


def quoted_in(block, source):
    """True when the block's lines stand consecutively in source, each indented alike."""
    lines = block.split("\n")
    for indent in range(0, 13, 2):
        text = "\n".join(" " * indent + line if line else line for line in lines)
        if re.search(r"(^|\n)" + re.escape(text) + r"(\n|$)", source):
            return True
    return False


class Guide(unittest.TestCase):
    def test_every_snippet_is_quoted_from_an_example(self):
        blocks = re.findall(r"```cpp\n(.*?)\n```", GUIDE.read_text(), re.S)
        self.assertGreaterEqual(len(blocks), 6)
        sources = {p.name: p.read_text() for p in EXAMPLES.glob("*.cpp")}
        for block in blocks:
            with self.subTest(block=block.split("\n")[0]):
                self.assertTrue(any(quoted_in(block, s) for s in sources.values()), block)


if __name__ == "__main__":
    unittest.main()
