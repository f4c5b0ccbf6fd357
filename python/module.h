// The wrappers that the parts of the Python module share: a model with the one wrapper of each
// of its objects, an object (an entity is an Object of the subclass Entity), and a live view
// of a list or array attribute.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <unordered_map>

#include <igeslib.h>

namespace igeslib_python {

namespace py = pybind11;

// What a wrapper needs of its model: the model itself (its design owns every object) and the
// one wrapper of each object now alive, so that an object is the same Python object each time.
struct ModelState {
  igeslib::Model model;
  std::unordered_map<LumoObject*, PyObject*> wrappers;  // borrowed: each wrapper erases itself
  py::object reports;                                   // the read's, made on first request
};
using StatePtr = std::shared_ptr<ModelState>;

// A structure of a model: an entity, or a value structure such as the Global section or a
// coordinate. Entities are wrapped as the subclass Entity.
struct Object {
  Object(StatePtr s, LumoObject* o) : state(std::move(s)), object(o) {}
  ~Object() { state->wrappers.erase(object); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  StatePtr state;
  LumoObject* object;
};
struct Entity : Object {
  using Object::Object;
};

// A live view of an aggregate attribute (a list or array of values, objects or aggregates).
struct Aggregate {
  StatePtr state;
  LumoAggregate* aggregate;
};

// Adds the geometry to the module: evaluation on Entity, numpy arrays of Aggregate, the
// model's units and bounds.
void bind_geometry(py::module_& m);

// Adds model.mesh() (python/mesh.cpp), where the mesh library is built.
void bind_mesh(py::module_& m);

}  // namespace igeslib_python
