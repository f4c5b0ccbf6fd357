"""Meshes from Python: model.mesh() as numpy arrays of vertices, triangles and the face of each
triangle, with the faces that could not be meshed and the shells' closure."""

import unittest
from pathlib import Path

import numpy as np

import igeslib

CUBE = Path("../shared/corpus/occtimportjs__Cube_10x10.igs")


@unittest.skipUnless(hasattr(igeslib.Model, "mesh"), "the mesh library is not built")
class Mesh(unittest.TestCase):
    def test_empty_model_and_bad_arguments(self):
        vertices, triangles, faces = igeslib.Model().mesh()
        self.assertEqual((vertices.shape, triangles.shape, faces.shape), ((0, 3), (0, 3), (0,)))
        for args in ((-1,), (0, 0), (0, 90)):
            with self.assertRaises(ValueError):
                igeslib.Model().mesh(*args)

    @unittest.skipUnless(CUBE.exists(), "../shared/corpus is absent")
    def test_cube_is_closed_with_its_volume_and_faces(self):
        model = igeslib.read(CUBE)
        mesh = model.mesh(0.1)
        vertices, triangles, faces = mesh
        self.assertEqual(triangles.shape, (12, 3))
        self.assertEqual(len(vertices), 8)  # the faces share the corners
        # Every edge is used twice, once each way; the volume is the cube's (10 mm a side).
        directed = np.concatenate([triangles[:, [0, 1]], triangles[:, [1, 2]], triangles[:, [2, 0]]])
        self.assertEqual(len(np.unique(directed, axis=0)), 36)
        _, uses = np.unique(np.sort(directed, axis=1), axis=0, return_counts=True)
        self.assertTrue((uses == 2).all())
        a, b, c = (vertices[triangles[:, k]] for k in range(3))
        self.assertAlmostEqual(np.einsum("ij,ij->i", a, np.cross(b, c)).sum() / 6, 1000, places=6)
        self.assertEqual(sorted(set(faces.tolist())), list(range(6)))
        by_de = {e.de_number: e for e in model.entities}
        for e in mesh.face_entities:
            self.assertEqual(e.type, 510)
            self.assertIs(e, by_de[e.de_number])
        self.assertEqual(mesh.failures, [])
        self.assertEqual(len(mesh.shells), 1)
        self.assertTrue(mesh.shells[0]["closed"])
        self.assertAlmostEqual(mesh.shells[0]["area"], 600)


if __name__ == "__main__":
    unittest.main()
