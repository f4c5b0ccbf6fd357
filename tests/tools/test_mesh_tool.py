"""iges-mesh run as a user runs it, on the cube that examples/make_box writes: the glTF it
writes parsed as the format lays it down (the GLB container, the JSON, every accessor within
its buffer), the STL by its size, and the arguments it refuses.

Run from the project root after a build: python3 -m unittest tests/tools/test_mesh_tool.py
"""

import base64
import json
import os
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("IGESLIB_BUILD_DIR", ROOT / "build" / "default"))
IGES_MESH = BUILD / "tools" / "iges-mesh"
MAKE_BOX = BUILD / "examples" / "make_box"


def run(*args):
    return subprocess.run([str(a) for a in args], capture_output=True, text=True, timeout=600)


def check_gltf(test, document, buffer):
    """The parts of a glTF document refer to each other and to bytes that exist."""
    test.assertEqual(document["asset"]["version"], "2.0")
    for view in document["bufferViews"]:
        test.assertLessEqual(view.get("byteOffset", 0) + view["byteLength"], len(buffer))
    sizes = {5126: 4, 5125: 4}
    widths = {"VEC3": 3, "SCALAR": 1}
    for accessor in document["accessors"]:
        view = document["bufferViews"][accessor["bufferView"]]
        test.assertLessEqual(accessor["count"] * widths[accessor["type"]] *
                             sizes[accessor["componentType"]], view["byteLength"])
    for mesh in document["meshes"]:
        for primitive in mesh["primitives"]:
            position = document["accessors"][primitive["attributes"]["POSITION"]]
            test.assertEqual(len(position["min"]), 3)  # required of positions
            test.assertLess(primitive["material"], len(document["materials"]))
    for node in document["nodes"]:
        for child in node.get("children", []):
            test.assertLess(child, len(document["nodes"]))


@unittest.skipUnless(IGES_MESH.exists(), "iges-mesh is not built")
class MeshTool(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.box = Path(self.dir.name) / "box.igs"
        self.assertEqual(run(MAKE_BOX, self.box).returncode, 0)

    def tearDown(self):
        self.dir.cleanup()

    def test_writes_glb_gltf_and_stl(self):
        out = Path(self.dir.name)
        glb = run(IGES_MESH, self.box, "-o", out / "box.glb")
        self.assertEqual(glb.returncode, 0, glb.stderr)
        for line in ("Faces meshed: 6", "Triangles: 12",
                     "Closed shells: 1, with every edge used twice: 1, meshes closed: 1",
                     "Not meshed: 0"):
            self.assertIn(line + "\n", glb.stdout)
        data = (out / "box.glb").read_bytes()
        magic, version, length = struct.unpack_from("<4sII", data)
        self.assertEqual((magic, version, length), (b"glTF", 2, len(data)))
        json_length, json_type = struct.unpack_from("<II", data, 12)
        self.assertEqual(json_type, 0x4E4F534A)
        document = json.loads(data[20:20 + json_length])
        bin_length, bin_type = struct.unpack_from("<II", data, 20 + json_length)
        self.assertEqual(bin_type, 0x004E4942)
        check_gltf(self, document, data[28 + json_length:28 + json_length + bin_length])
        self.assertEqual(len(document["meshes"]), 6)

        self.assertEqual(run(IGES_MESH, self.box, "-o", out / "box.gltf").returncode, 0)
        document = json.loads((out / "box.gltf").read_text())
        uri = document["buffers"][0]["uri"]
        self.assertTrue(uri.startswith("data:application/octet-stream;base64,"))
        check_gltf(self, document, base64.b64decode(uri.split(",", 1)[1]))

        self.assertEqual(run(IGES_MESH, self.box, "-o", out / "box.stl").returncode, 0)
        self.assertEqual((out / "box.stl").stat().st_size, 84 + 50 * 12)

    def test_refuses_bad_arguments(self):
        out = Path(self.dir.name) / "box.glb"
        for args in ((self.box,), (self.box, "-o", Path(self.dir.name) / "box.obj"),
                     (self.box, "-o", out, "--tolerance", "-1"),
                     (self.box, "-o", out, "--angle", "90"),
                     (Path(self.dir.name) / "missing.igs", "-o", out)):
            with self.subTest(args=args):
                self.assertEqual(run(IGES_MESH, *args).returncode, 2)
        self.assertFalse(out.exists())


if __name__ == "__main__":
    unittest.main()
