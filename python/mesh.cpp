// Meshes in the Python module: model.mesh(tolerance) tessellates every surface and B-rep face
// and answers numpy arrays of the points, the triangles and the face of each triangle.
#include <pybind11/numpy.h>

#include <cmath>
#include <unordered_map>

#include <igeslib_mesh.h>

#include "module.h"

namespace igeslib_python {

namespace {

struct Mesh {
  py::array_t<double> vertices;
  py::array_t<std::uint32_t> triangles;
  py::array_t<std::int32_t> faces;
  py::list face_entities;
  py::list failures;
  py::list shells;
  double chord = 0;
};

py::object mesh_model(const StatePtr& self, double tolerance, double angle, bool blanked) {
  if (!(tolerance >= 0) || !std::isfinite(tolerance))
    throw py::value_error("the tolerance is a distance of 0 or more");
  if (!(angle > 0) || !(angle < 90))
    throw py::value_error("the angle is in degrees, over 0 and under 90");
  igeslib::MeshOptions options;
  options.chord = tolerance;
  options.angle = angle * M_PI / 180;
  options.blanked = blanked;
  igeslib::Tessellation t;
  std::vector<igs_directory_entry*> face_of;
  igeslib::TriangleMesh merged;
  {
    py::gil_scoped_release free;
    t = igeslib::tessellate(self->model.entities(), options);
    merged = igeslib::merged_mesh(t, &face_of);
  }
  // Entities are wrapped through the model's list, so that each is the one object it is
  // everywhere else.
  std::unordered_map<igs_directory_entry*, std::size_t> position;
  auto entities = self->model.entities();
  for (std::size_t i = 0; i < entities.size(); ++i) position.emplace(entities[i], i);
  py::object list = py::cast(self).attr("entities");
  auto wrap = [&](igs_directory_entry* e) -> py::object {
    auto found = position.find(e);
    if (found == position.end()) return py::none();
    return list[py::int_(found->second)];
  };

  Mesh m;
  m.chord = t.chord;
  m.vertices = py::array_t<double>({py::ssize_t(merged.points.size()), py::ssize_t(3)});
  auto v = m.vertices.mutable_unchecked<2>();
  for (py::ssize_t i = 0; i < py::ssize_t(merged.points.size()); ++i)
    v(i, 0) = merged.points[i].x, v(i, 1) = merged.points[i].y, v(i, 2) = merged.points[i].z;
  m.triangles = py::array_t<std::uint32_t>({py::ssize_t(merged.triangles.size()), py::ssize_t(3)});
  m.faces = py::array_t<std::int32_t>(py::ssize_t(merged.triangles.size()));
  auto tri = m.triangles.mutable_unchecked<2>();
  auto face = m.faces.mutable_unchecked<1>();
  std::unordered_map<igs_directory_entry*, std::int32_t> face_index;
  for (py::ssize_t i = 0; i < py::ssize_t(merged.triangles.size()); ++i) {
    for (int k = 0; k < 3; ++k) tri(i, k) = merged.triangles[i][k];
    auto [it, fresh] = face_index.try_emplace(face_of[i], std::int32_t(face_index.size()));
    if (fresh) m.face_entities.append(wrap(face_of[i]));
    face(i) = it->second;
  }
  for (const igeslib::MeshFailure& f : t.failures)
    m.failures.append(py::make_tuple(wrap(f.entity), f.reason));
  for (const igeslib::MeshBody& body : t.bodies) {
    for (const igeslib::ShellCheck& s : body.shells) {
      py::dict d;
      d["shell"] = wrap(s.shell);
      d["body"] = wrap(body.entity);
      d["closed"] = s.closed();
      d["faces"] = s.faces;
      d["failed_faces"] = s.failed_faces;
      d["open_edges"] = s.open_edges;
      d["turned"] = s.turned;
      d["area"] = s.area;
      d["volume"] = s.volume;
      m.shells.append(d);
    }
  }
  return py::cast(std::move(m));
}

}  // namespace

void bind_mesh(py::module_& m) {
  py::class_<Mesh>(m, "Mesh",
                   "Triangles of a model in model space: vertices (n, 3), triangles (m, 3) of "
                   "vertex indices, faces (m,) the index in face_entities of the face each "
                   "triangle belongs to. Unpacks as (vertices, triangles, faces).")
      .def_readonly("vertices", &Mesh::vertices)
      .def_readonly("triangles", &Mesh::triangles)
      .def_readonly("faces", &Mesh::faces)
      .def_readonly("face_entities", &Mesh::face_entities,
                    "The surface or B-rep face entity of each value of faces.")
      .def_readonly("failures", &Mesh::failures,
                    "(entity, reason) of each face that could not be meshed or hole not cut.")
      .def_readonly("shells", &Mesh::shells,
                    "For each B-rep shell: its entity, body, whether its mesh is closed, faces, "
                    "faces not meshed, open edges, area and volume.")
      .def_readonly("chord", &Mesh::chord, "The chord tolerance used, in model units.")
      .def("__iter__",
           [](const Mesh& self) {
             return py::iter(py::make_tuple(self.vertices, self.triangles, self.faces));
           })
      .def("__repr__", [](const Mesh& self) {
        return "<igeslib.Mesh " + std::to_string(self.vertices.shape(0)) + " vertices, " +
               std::to_string(self.triangles.shape(0)) + " triangles>";
      });

  py::object model = m.attr("Model");
  model.attr("mesh") = py::cpp_function(
      &mesh_model, py::name("mesh"), py::is_method(model), py::arg("tolerance") = 0.0,
      py::arg("angle") = 15.0, py::arg("blanked") = false,
      py::doc("Tessellates every surface within its trims and every B-rep face, shared edges "
              "sampled once: a Mesh of numpy arrays in model space. tolerance is the largest "
              "distance between a triangle and its surface (0: 1/1000 of the model's size), "
              "angle the largest turn in degrees between a triangle's normal and the "
              "surface's; blanked bodies are left out unless blanked is true."));
}

}  // namespace igeslib_python
