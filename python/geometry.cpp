// Geometry in the Python module: an entity's curve or surface evaluated in model space, its
// polyline and box as numpy arrays; lists of reals and coordinates as numpy arrays made in one
// pass, with no Python object for each element; the model's units and box.
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cmath>
#include <string>
#include <vector>

#include "module.h"

namespace igeslib_python {

namespace {

using igeslib::Vec3;

igs_directory_entry* entity_of(Entity& self) { return lumo_cast<igs_directory_entry>(self.object); }

std::string describe(igs_directory_entry* e) {
  LumoDomain* domain = e->domain();
  return "entity " + std::to_string(e->de_number) + " (" +
         (domain && domain->name() ? domain->name() : "?") + ")";
}

// The entity's curve in model space; TypeError for an entity of another class, ValueError
// with the reason for one whose data can't be evaluated.
std::unique_ptr<igeslib::Curve> curve_of(Entity& self) {
  igs_directory_entry* e = entity_of(self);
  if (!igeslib::is_curve(e)) throw py::type_error(describe(e) + " is not a curve");
  std::string why;
  auto curve = igeslib::make_placed_curve(e, &why);
  if (!curve) throw py::value_error(describe(e) + " can't be evaluated: " + why);
  return curve;
}

std::unique_ptr<igeslib::Surface> surface_of(Entity& self) {
  igs_directory_entry* e = entity_of(self);
  if (!igeslib::is_surface(e)) throw py::type_error(describe(e) + " is not a surface");
  std::string why;
  auto surface = igeslib::make_placed_surface(e, &why);
  if (!surface) throw py::value_error(describe(e) + " can't be evaluated: " + why);
  return surface;
}

py::array_t<double> vec(const Vec3& v) {
  py::array_t<double> out(3);
  auto o = out.mutable_unchecked<1>();
  o(0) = v.x, o(1) = v.y, o(2) = v.z;
  return out;
}

// Vectors as an array of shape (n, 3).
py::array_t<double> vecs(const std::vector<Vec3>& points) {
  py::array_t<double> out({py::ssize_t(points.size()), py::ssize_t(3)});
  auto o = out.mutable_unchecked<2>();
  for (py::ssize_t i = 0; i < py::ssize_t(points.size()); ++i)
    o(i, 0) = points[i].x, o(i, 1) = points[i].y, o(i, 2) = points[i].z;
  return out;
}

// f(x) for a number x gives an array of shape (3,); for an array of any shape S, one of
// shape S + (3,).
template <class F>
py::object map_points(py::handle x, F f) {
  if (py::isinstance<py::float_>(x) || py::isinstance<py::int_>(x)) return vec(f(x.cast<double>()));
  auto in = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(x);
  if (!in) throw py::type_error("a number or an array of numbers is expected");
  std::vector<py::ssize_t> shape(in.shape(), in.shape() + in.ndim());
  shape.push_back(3);
  py::array_t<double> out(shape);
  const double* t = in.data();
  double* o = out.mutable_data();
  for (py::ssize_t i = 0; i < in.size(); ++i) {
    Vec3 p = f(t[i]);
    o[3 * i] = p.x, o[3 * i + 1] = p.y, o[3 * i + 2] = p.z;
  }
  return out;
}

template <class F>
py::object map_points(py::handle u, py::handle v, F f) {
  bool scalar = (py::isinstance<py::float_>(u) || py::isinstance<py::int_>(u)) &&
                (py::isinstance<py::float_>(v) || py::isinstance<py::int_>(v));
  if (scalar) return vec(f(u.cast<double>(), v.cast<double>()));
  auto us = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(u);
  auto vs = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(v);
  if (!us || !vs) throw py::type_error("numbers or arrays of numbers are expected");
  // u and v broadcast against each other, as numpy's arithmetic does.
  py::tuple both = py::module_::import("numpy").attr("broadcast_arrays")(us, vs);
  auto bu = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(both[0]);
  auto bv = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(both[1]);
  std::vector<py::ssize_t> shape(bu.shape(), bu.shape() + bu.ndim());
  shape.push_back(3);
  py::array_t<double> out(shape);
  double* o = out.mutable_data();
  for (py::ssize_t i = 0; i < bu.size(); ++i) {
    Vec3 p = f(bu.data()[i], bv.data()[i]);
    o[3 * i] = p.x, o[3 * i + 1] = p.y, o[3 * i + 2] = p.z;
  }
  return out;
}

igeslib::Tolerance tolerance(double chord, double angle_degrees) {
  igeslib::Tolerance t;
  t.chord = chord;
  if (angle_degrees > 0) t.angle = angle_degrees * M_PI / 180.0;
  return t;
}

py::tuple box(const igeslib::Box& b) {
  if (b.empty()) return py::make_tuple(py::none(), py::none());
  return py::make_tuple(vec(b.min), vec(b.max));
}

// ---- aggregates as arrays

// The shape and values of an aggregate: reals, integers, coordinates (3 columns), sextuples
// (6), and aggregates of those of equal shape, one level deeper each.
struct Gathered {
  std::vector<py::ssize_t> shape;
  std::vector<double> reals;
  std::vector<long long> integers;
  bool integral = false;
};

void gather(LumoAggregate* a, Gathered& g, std::size_t level) {
  unsigned n = a->size();
  if (g.shape.size() == level) {
    g.shape.push_back(n);
  } else if (g.shape[level] != py::ssize_t(n)) {
    throw py::value_error("the aggregate is ragged: its lists differ in length");
  }
  using K = LumoAggregate::Elements;
  void* data = a->data().v;
  switch (a->elementKind()) {
    case K::real:
      for (unsigned i = 0; i < n; ++i) g.reals.push_back(static_cast<double*>(data)[i]);
      break;
    case K::single:
      for (unsigned i = 0; i < n; ++i) g.reals.push_back(static_cast<float*>(data)[i]);
      break;
    case K::integer:
      g.integral = true;
      for (unsigned i = 0; i < n; ++i) g.integers.push_back(static_cast<int*>(data)[i]);
      break;
    case K::boolean:
      g.integral = true;
      for (unsigned i = 0; i < n; ++i) g.integers.push_back(static_cast<char*>(data)[i]);
      break;
    case K::pointer: {
      LumoAttribute* element = a->getAttribute(nullptr);
      for (unsigned i = 0; i < n; ++i) {
        void* slot = static_cast<void**>(data)[i];
        LumoObject* o = nullptr;
        if (slot && !lumo_is_delayed(slot)) o = (&*a->slotType(element, i))->toObject(slot);
        std::size_t columns = 0;
        double v[6] = {NAN, NAN, NAN, NAN, NAN, NAN};
        if (auto* c = lumo_cast<igs_coordinate>(o)) {
          columns = 3, v[0] = c->x(), v[1] = c->y(), v[2] = c->z();
        } else if (auto* s = lumo_cast<igs_sextuple>(o)) {
          columns = 6, v[0] = s->x(), v[1] = s->y(), v[2] = s->z();
          v[3] = s->i(), v[4] = s->j(), v[5] = s->k();
        } else if (auto* inner = lumo_cast<LumoAggregate>(o)) {
          gather(inner, g, level + 1);
          continue;
        } else {
          throw py::type_error(o ? "a list of objects other than coordinates has no array form"
                                 : "the list holds an unset element");
        }
        if (g.shape.size() == level + 1) g.shape.push_back(py::ssize_t(columns));
        if (g.shape[level + 1] != py::ssize_t(columns))
          throw py::value_error("the aggregate mixes coordinates and sextuples");
        g.reals.insert(g.reals.end(), v, v + columns);
      }
      break;
    }
    case K::text:
      throw py::type_error("a list of text has no array form");
  }
}

py::array aggregate_array(Aggregate& self) {
  Gathered g;
  gather(self.aggregate, g, 0);
  // An empty list of lists has no known inner shape: it is one-dimensional and empty.
  if (g.integral && g.reals.empty()) {
    py::array_t<long long> out(g.shape);
    std::copy(g.integers.begin(), g.integers.end(), out.mutable_data());
    return out;
  }
  if (g.integral) throw py::type_error("the aggregate mixes integers and reals");
  py::ssize_t count = 1;
  for (py::ssize_t s : g.shape) count *= s;
  if (count != py::ssize_t(g.reals.size())) g.shape.resize(1);  // empty inner lists
  py::array_t<double> out(g.shape);
  std::copy(g.reals.begin(), g.reals.end(), out.mutable_data());
  return out;
}

}  // namespace

void bind_geometry(py::module_& m) {
  py::object entity = m.attr("Entity");
  auto method = [&](const char* name, auto&& f, const char* doc, auto... args) {
    entity.attr(name) =
        py::cpp_function(std::forward<decltype(f)>(f), py::name(name), py::is_method(entity),
                         py::sibling(py::getattr(entity, name, py::none())), py::doc(doc), args...);
  };
  auto property = [&](const char* name, auto&& f, const char* doc) {
    entity.attr(name) =
        py::module_::import("builtins")
            .attr("property")(py::cpp_function(std::forward<decltype(f)>(f), py::is_method(entity)),
                              py::none(), py::none(), doc);
  };

  property(
      "is_curve", [](Entity& self) { return igeslib::is_curve(entity_of(self)); },
      "Whether the entity evaluates as a curve.");
  property(
      "is_surface", [](Entity& self) { return igeslib::is_surface(entity_of(self)); },
      "Whether the entity evaluates as a surface.");
  property(
      "range",
      [](Entity& self) {
        igeslib::Interval r = curve_of(self)->range();
        return py::make_tuple(r.lo, r.hi);
      },
      "A curve's parameter range (lo, hi); an unbounded end is infinite.");
  property(
      "domain",
      [](Entity& self) {
        igeslib::Domain d = surface_of(self)->domain();
        return py::make_tuple(py::make_tuple(d.u.lo, d.u.hi), py::make_tuple(d.v.lo, d.v.hi));
      },
      "A surface's parameter domain ((u0, u1), (v0, v1)).");
  method(
      "point",
      [](Entity& self, py::object a, py::object b) -> py::object {
        igs_directory_entry* e = entity_of(self);
        if (igeslib::is_surface(e)) {
          if (b.is_none()) throw py::type_error("a surface is evaluated at (u, v)");
          auto s = surface_of(self);
          return map_points(a, b, [&](double u, double v) { return s->point(u, v); });
        }
        if (!b.is_none()) throw py::type_error(describe(e) + " is not a surface");
        auto c = curve_of(self);
        return map_points(a, [&](double t) { return c->point(t); });
      },
      "The point in model space at parameter t of a curve, or at (u, v) of a surface; arrays of "
      "parameters give an array of points (shape + (3,)).",
      py::arg("t"), py::arg("v") = py::none());
  method(
      "derivative",
      [](Entity& self, py::object t) {
        auto c = curve_of(self);
        return map_points(t, [&](double x) { return c->derivative(x); });
      },
      "A curve's first derivative at t (or an array of parameters), in model space.", py::arg("t"));
  method(
      "derivatives",
      [](Entity& self, double u, double v) {
        igeslib::SurfacePoint p = surface_of(self)->evaluate(u, v);
        return py::make_tuple(vec(p.point), vec(p.du), vec(p.dv));
      },
      "A surface's point and partial derivatives (point, du, dv) at (u, v), in model space.",
      py::arg("u"), py::arg("v"));
  method(
      "normal",
      [](Entity& self, py::object u, py::object v) {
        auto s = surface_of(self);
        return map_points(u, v, [&](double a, double b) { return s->normal(a, b); });
      },
      "A surface's unit normal at (u, v) (arrays broadcast); zero where it is degenerate.",
      py::arg("u"), py::arg("v"));
  method(
      "points",
      [](Entity& self, double chord, double angle) {
        return vecs(curve_of(self)->polyline(tolerance(chord, angle)).points);
      },
      "A curve's polyline in model space as an (n, 3) array: within chord of the curve (0: "
      "1/1000 of its size) and turning by at most angle degrees along a segment.",
      py::arg("tolerance") = 0.0, py::arg("angle") = 15.0);
  method(
      "polyline",
      [](Entity& self, double chord, double angle) {
        igeslib::Polyline line = curve_of(self)->polyline(tolerance(chord, angle));
        return py::make_tuple(py::array_t<double>(line.t.size(), line.t.data()), vecs(line.points));
      },
      "A curve's polyline as (parameters (n,), points (n, 3)).", py::arg("tolerance") = 0.0,
      py::arg("angle") = 15.0);
  method(
      "iso_points",
      [](Entity& self, char direction, double value, double chord) {
        auto s = surface_of(self);
        auto c = direction == 'u' ? s->iso_u(value) : s->iso_v(value);
        return vecs(c->polyline(tolerance(chord, 0)).points);
      },
      "The polyline of a surface's iso-curve: direction 'u' holds u at value, 'v' holds v.",
      py::arg("direction"), py::arg("value"), py::arg("tolerance") = 0.0);
  method(
      "bounds",
      [](Entity& self) {
        igs_directory_entry* e = entity_of(self);
        return box(igeslib::entity_bounds(e, igeslib::placement_of(e)));
      },
      "The entity's box in model space as (min, max) arrays; (None, None) for no geometry.");

  py::object aggregate = m.attr("Aggregate");
  aggregate.attr("__array__") = py::cpp_function(
      [](Aggregate& self, py::object dtype) -> py::object {
        py::array a = aggregate_array(self);
        return dtype.is_none() ? py::object(a) : py::object(a.attr("astype")(dtype));
      },
      py::name("__array__"), py::is_method(aggregate), py::arg("dtype") = py::none(),
      py::doc("The list as a numpy array: reals (n,), coordinates (n, 3), sextuples (n, 6), "
              "lists of those one dimension more."));
  aggregate.attr("array") = aggregate.attr("__array__");

  py::object model = m.attr("Model");
  model.attr("units") = py::module_::import("builtins")
                            .attr("property")(py::cpp_function(
                                [](const StatePtr& self) {
                                  igeslib::Units u =
                                      igeslib::model_units(self->model.global_section());
                                  py::dict d;
                                  d["flag"] = u.flag;
                                  d["name"] = u.name;
                                  d["symbol"] = u.symbol();
                                  d["model_space_scale"] = u.model_space_scale;
                                  d["millimetres"] = u.millimetres;
                                  return d;
                                },
                                py::is_method(model)));
  model.attr("bounds") = py::cpp_function(
      [](const StatePtr& self) { return box(igeslib::model_bounds(self->model.entities())); },
      py::name("bounds"), py::is_method(model),
      py::doc("The box of every shown entity in model space, (min, max) arrays."));
}

}  // namespace igeslib_python
