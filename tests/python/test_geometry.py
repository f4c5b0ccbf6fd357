"""Geometry from Python: curves and surfaces evaluated in model space as numpy arrays, and
lists of reals and coordinates read as arrays."""

import math
import unittest
from pathlib import Path

import numpy as np

import igeslib

SAMPLE = Path("examples/data/sample_part.igs")
SPHERE = Path("../shared/corpus/gmsh__sphere_Rhino3D_default.igs")


def bspline(model, degree, knots, points, weights=None):
    """A rational B-spline curve made through the dictionary."""
    c = model.create("rational_bspline_curve_entity")
    c.m = degree
    c.prop3 = "rational" if weights else "polynomial"
    c.t = knots
    c.w = weights or [1.0] * len(points)
    for x, y, z in points:
        p = model.create("coordinate")
        p.x, p.y, p.z = x, y, z
        c.control_points.append(p)
    c.v = [knots[0], knots[-1]]
    return c


class Geometry(unittest.TestCase):
    def test_sample_curves_in_model_space(self):
        model = igeslib.read(SAMPLE)
        arcs = [e for e in model.entities if e.type == 100]
        # The second bore is drawn about the origin and moved to (70, 30) by its matrix.
        bore = arcs[-1]
        t = np.linspace(*bore.range, 9)
        pts = bore.point(t)
        self.assertEqual(pts.shape, (9, 3))
        np.testing.assert_allclose(np.hypot(pts[:, 0] - 70, pts[:, 1] - 30), 8, atol=1e-12)
        np.testing.assert_allclose(bore.derivative(0.0), [0, 8, 0], atol=1e-12)
        poly = bore.points(0.01)
        middles = (poly[:-1, :2] + poly[1:, :2]) / 2 - [70, 30]
        self.assertLessEqual(8 - np.hypot(middles[:, 0], middles[:, 1]).min(), 0.0101)
        params, pts = bore.polyline(0.01)
        self.assertEqual(params.shape, (len(pts),))
        lo, hi = model.bounds()
        np.testing.assert_allclose(lo[:2], [0, 0], atol=0.2)
        np.testing.assert_allclose(hi[:2], [100, 60], atol=0.2)

    def test_lists_as_arrays_and_bspline_circle(self):
        model = igeslib.Model()
        w = math.sqrt(0.5)
        c = bspline(model, 2, [0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4],
                    [(1, 0, 0), (1, 1, 0), (0, 1, 0), (-1, 1, 0), (-1, 0, 0), (-1, -1, 0),
                     (0, -1, 0), (1, -1, 0), (1, 0, 0)], [1, w, 1, w, 1, w, 1, w, 1])
        cp = np.asarray(c.control_points)
        self.assertEqual(cp.shape, (9, 3))
        self.assertEqual(cp[1].tolist(), [1, 1, 0])
        np.testing.assert_array_equal(np.asarray(c.t), [0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4])
        self.assertEqual(np.asarray(model.create("rational_bspline_curve_entity").t).shape, (0,))
        radii = np.linalg.norm(c.point(np.linspace(0, 4, 41)), axis=1)
        np.testing.assert_allclose(radii, 1, atol=1e-14)

    @unittest.skipUnless(SPHERE.exists(), "no ../shared/corpus beside the checkout")
    def test_rational_sphere_points_and_normals(self):
        model = igeslib.read(SPHERE)
        (sphere,) = [e for e in model.entities if e.is_surface]
        (u0, u1), (v0, v1) = sphere.domain
        u, v = np.meshgrid(np.linspace(u0, u1, 7), np.linspace(v0 + 0.1, v1 - 0.1, 5))
        p, n = sphere.point(u, v), sphere.normal(u, v)
        self.assertEqual(p.shape, (5, 7, 3))
        np.testing.assert_allclose(np.linalg.norm(p, axis=-1), 1, atol=1e-12)
        np.testing.assert_allclose(np.abs(np.sum(p * n, axis=-1)), 1, atol=1e-9)
        point, du, dv = sphere.derivatives(1.0, 0.5)
        np.testing.assert_allclose(np.cross(du, dv) / np.linalg.norm(np.cross(du, dv)),
                                   sphere.normal(1.0, 0.5), atol=1e-12)
        np.testing.assert_allclose(model.bounds()[1], [1, 1, 1], atol=1e-9)

    def test_errors(self):
        model = igeslib.Model()
        line = model.create("line_entity")
        with self.assertRaises(TypeError):
            line.point(0.5, 0.5)
        with self.assertRaises(TypeError):
            model.create("color_definition_entity").points()
        bad = bspline(model, 2, [0, 0, 0, 1, 0.5, 1], [(0, 0, 0), (1, 0, 0), (2, 0, 0)])
        with self.assertRaisesRegex(ValueError, "knots out of order"):
            bad.point(0.5)
        self.assertTrue(line.is_curve)
        self.assertFalse(line.is_surface)


if __name__ == "__main__":
    unittest.main()
