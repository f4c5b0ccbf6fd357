// Parameter data of the curves and surfaces whose records are sized by counts that the objects
// keep as array sizes: the piecewise copious data, the parametric splines and the rational
// B-splines. The file's counts are trusted as far as the file could hold them; the writers
// derive the counts back from the arrays, each in its own way, and write 0 where an array
// falls short of what a count says.
#include <cstring>
#include <vector>

#include "../igeslib_parameters.h"

namespace {

void read_coefficients(IgeslibIO* io, int n, ArrayOfDouble* (&arrays)[3]) {
  for (ArrayOfDouble*& array : arrays) array = igeslib_read_real_array(io, n);
}

void write_coefficients(IgeslibIO* io, int n, ArrayOfDouble* x, ArrayOfDouble* y,
                        ArrayOfDouble* z) {
  for (ArrayOfDouble* array : {x, y, z})
    for (int i = 0; i < n; ++i) io->write_real(igeslib_real_at(array, i));
}

// The element of a list at i; null past its end, or for no list.
template <class L>
auto item_at(L* list, unsigned i) -> decltype((*list)[i]) {
  return list ? (*list)[i] : nullptr;
}

}  // namespace

// 106 forms 12 and 13: the IP of the file says what a point is, whatever the form; for an IP
// other than 2 and 3 no point is read, and a count is written with no points behind it.
void igs_piecewise_curve_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ip(io->read_int());
  int n = io->count(io->read_int());
  auto* points = new (LUMO.design()) ListOfigs_piecewise_representation(igeslib_reserve(n));
  piecewise_curve(points);
  if (ip_ != 2 && ip_ != 3) return;
  for (int i = 0; i < n; ++i) {
    auto* point = new (LUMO.design()) igs_piecewise_representation;
    if (ip_ == 2) {
      point->_coordinate(igeslib_read_coordinate(io));
    } else {
      auto* sextuple = new (LUMO.design()) igs_sextuple;
      for (double igs_sextuple::*field : {&igs_sextuple::x_, &igs_sextuple::y_, &igs_sextuple::z_,
                                          &igs_sextuple::i_, &igs_sextuple::j_, &igs_sextuple::k_})
        lumo_update_prim(sextuple, &(sextuple->*field), io->read_real());
      point->_sextuple(sextuple);
    }
    points->add(point);
  }
}

// A point of the other kind than the IP, or none, is written as zeros.
void igs_piecewise_curve_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  io->write_int(ip());
  ListOfigs_piecewise_representation* points = piecewise_curve_ ? piecewise_curve() : nullptr;
  unsigned n = points ? points->size() : 0;
  io->write_int(static_cast<int>(n));
  if (ip_ != 2 && ip_ != 3) return;
  for (unsigned i = 0; i < n; ++i) {
    igs_piecewise_representation* point = (*points)[i];
    if (ip_ == 2) {
      igeslib_write_coordinate(io,
                               point && point->is_coordinate() ? point->_coordinate() : nullptr);
      continue;
    }
    igs_sextuple* s = point && point->is_sextuple() ? point->_sextuple() : nullptr;
    for (double value : {s ? s->x() : 0.0, s ? s->y() : 0.0, s ? s->z() : 0.0, s ? s->i() : 0.0,
                         s ? s->j() : 0.0, s ? s->k() : 0.0})
      io->write_real(value);
  }
}

// 112: N + 1 break points, N polynomials of x, y and z coefficients, twelve terminal values;
// all three coordinates whatever ndim says.
void igs_parametric_spline_curve_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ctype(io->read_int());
  h(io->read_int());
  ndim(io->read_int());
  int n = io->read_int();
  t(igeslib_read_real_array(io, igeslib_count(io, n + 1LL)));
  n = io->count(n);
  auto* items = new (LUMO.design()) ListOfigs_polynomial_coefficients(igeslib_reserve(n));
  polynomials(items);
  for (int i = 0; i < n; ++i) {
    auto* item = new (LUMO.design()) igs_polynomial_coefficients;
    ArrayOfDouble* arrays[3];
    read_coefficients(io, 4, arrays);
    item->x_coefficients(arrays[0]);
    item->y_coefficients(arrays[1]);
    item->z_coefficients(arrays[2]);
    items->add(item);
  }
  using Curve = igs_parametric_spline_curve_entity;
  for (double Curve::*field :
       {&Curve::tpx0_, &Curve::tpx1_, &Curve::tpx2_, &Curve::tpx3_, &Curve::tpy0_, &Curve::tpy1_,
        &Curve::tpy2_, &Curve::tpy3_, &Curve::tpz0_, &Curve::tpz1_, &Curve::tpz2_, &Curve::tpz3_})
    lumo_update_prim(this, &(this->*field), io->read_real());
}

// The count comes from the break points: one polynomial fewer than there are of them.
void igs_parametric_spline_curve_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  io->write_int(static_cast<int>(ctype()));
  io->write_int(h());
  io->write_int(ndim());
  ArrayOfDouble* breaks = t();
  int n = breaks ? static_cast<int>(breaks->size()) - 1 : -1;
  io->write_int(n);
  for (int i = 0; i <= n; ++i) io->write_real(igeslib_real_at(breaks, i));
  ListOfigs_polynomial_coefficients* items = polynomials_ ? polynomials() : nullptr;
  for (int i = 0; i < n; ++i) {
    igs_polynomial_coefficients* item = item_at(items, static_cast<unsigned>(i));
    if (item)
      write_coefficients(io, 4, item->x_coefficients(), item->y_coefficients(),
                         item->z_coefficients());
    else
      write_coefficients(io, 4, nullptr, nullptr, nullptr);
  }
  for (double value :
       {tpx0_, tpx1_, tpx2_, tpx3_, tpy0_, tpy1_, tpy2_, tpy3_, tpz0_, tpz1_, tpz2_, tpz3_})
    io->write_real(value);
}

// 114: M + 1 and N + 1 break points, and a patch of 16 x, y and z coefficients for every pair
// of break points: a row and a column more than there are spans.
void igs_parametric_spline_surface_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ctype(io->read_int());
  ptype(io->read_int());
  int m = io->read_int();
  int n = io->read_int();
  int rows = igeslib_count(io, m + 1LL);
  int columns = igeslib_count(io, n + 1LL);
  igeslib_count(io, static_cast<long long>(rows) * columns);
  tu(igeslib_read_real_array(io, rows));
  tv(igeslib_read_real_array(io, columns));
  auto* grid = new (LUMO.design()) ListOfListOfigs_patch(igeslib_reserve(rows));
  patches(grid);
  for (int i = 0; i < rows; ++i) {
    auto* row = new (LUMO.design()) ListOfigs_patch(igeslib_reserve(columns));
    for (int j = 0; j < columns; ++j) {
      auto* patch = new (LUMO.design()) igs_patch;
      ArrayOfDouble* arrays[3];
      read_coefficients(io, 16, arrays);
      patch->x_coefficients(arrays[0]);
      patch->y_coefficients(arrays[1]);
      patch->z_coefficients(arrays[2]);
      row->add(patch);
    }
    grid->add(row);
  }
}

void igs_parametric_spline_surface_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  io->write_int(static_cast<int>(ctype()));
  io->write_int(static_cast<int>(ptype()));
  ArrayOfDouble* u = tu();
  ArrayOfDouble* v = tv();
  unsigned rows = u ? u->size() : 0;
  unsigned columns = v ? v->size() : 0;
  io->write_int(static_cast<int>(rows) - 1);
  io->write_int(static_cast<int>(columns) - 1);
  for (unsigned i = 0; i < rows; ++i) io->write_real(igeslib_real_at(u, i));
  for (unsigned j = 0; j < columns; ++j) io->write_real(igeslib_real_at(v, j));
  ListOfListOfigs_patch* grid = patches_ ? patches() : nullptr;
  for (unsigned i = 0; i < rows; ++i) {
    ListOfigs_patch* row = item_at(grid, i);
    for (unsigned j = 0; j < columns; ++j) {
      igs_patch* patch = item_at(row, j);
      if (patch)
        write_coefficients(io, 16, patch->x_coefficients(), patch->y_coefficients(),
                           patch->z_coefficients());
      else
        write_coefficients(io, 16, nullptr, nullptr, nullptr);
    }
  }
}

// 126: the file gives the upper index K and the degree; the object keeps the arrays, and the
// writer takes every count from the weights: K from their number, the knots from it and m.
// The degree is kept only once the knot count it gives has passed as a count.
void igs_rational_bspline_curve_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  int k = io->read_int();
  int degree = io->read_int();
  igeslib_read_code(io, [&](int n) { return prop1(n); }, {"prop1", &lumotype_igs_property1});
  igeslib_read_code(io, [&](int n) { return prop2(n); }, {"prop2", &lumotype_igs_property2});
  igeslib_read_code(io, [&](int n) { return prop3(n); }, {"prop3", &lumotype_igs_property3});
  igeslib_read_code(io, [&](int n) { return prop4(n); }, {"prop4", &lumotype_igs_property4});
  int knots = igeslib_count(io, static_cast<long long>(k) + degree + 2);
  m(degree);
  t(igeslib_read_shared_real_array(io, knots));
  int points = igeslib_count(io, k + 1LL);
  w(igeslib_read_shared_real_array(io, points));
  auto* list = new (LUMO.design()) ListOfigs_coordinate(igeslib_reserve(points), true);
  control_points(list);
  igeslib_read_coordinates_onto(io, list, points);
  v(igeslib_read_shared_real_array(io, 2));
  xnorm(io->read_real());
  ynorm(io->read_real());
  znorm(io->read_real());
}

// The knots, points and parameter range are taken from their fields as they stand.
void igs_rational_bspline_curve_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ArrayOfDouble* weights = lumo_is_delayed(w_) ? w() : w_;  // as it stands: maybe shared
  long long n = weights ? weights->size() : 0;
  io->write_int(static_cast<int>(n - 1));
  io->write_int(m_);
  for (int value : {int{prop1_}, int{prop2_}, int{prop3_}, int{prop4_}}) io->write_int(value);
  for (long long i = 0; i < m_ + n + 1; ++i) io->write_real(igeslib_real_at(t_, i));
  for (long long i = 0; i < n; ++i) io->write_real(igeslib_real_at(weights, i));
  for (long long i = 0; i < n; ++i)
    igeslib_write_coordinate_at(io, control_points_, static_cast<unsigned>(i));
  io->write_real(igeslib_real_at(v_, 0));
  io->write_real(igeslib_real_at(v_, 1));
  io->write_real(xnorm_);
  io->write_real(ynorm_);
  io->write_real(znorm_);
}

// 128: the weights and points run with the first index fastest; the object keeps them as rows
// of the first index, so that w[i][j] and control_points[i][j] are at (i, j).
void igs_rational_bspline_surface_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  int k1 = io->read_int();
  int k2 = io->read_int();
  int degree1 = io->read_int();
  int degree2 = io->read_int();
  igeslib_read_code(io, [&](int n) { return prop1(n); }, {"prop1", &lumotype_igs_property2});
  igeslib_read_code(io, [&](int n) { return prop2(n); }, {"prop2", &lumotype_igs_property2});
  igeslib_read_code(io, [&](int n) { return prop3(n); }, {"prop3", &lumotype_igs_property3});
  igeslib_read_code(io, [&](int n) { return prop4(n); }, {"prop4", &lumotype_igs_property4});
  igeslib_read_code(io, [&](int n) { return prop5(n); }, {"prop5", &lumotype_igs_property4});
  int knots1 = igeslib_count(io, static_cast<long long>(k1) + degree1 + 2);
  int knots2 = igeslib_count(io, static_cast<long long>(k2) + degree2 + 2);
  int rows = igeslib_count(io, k1 + 1LL);
  int columns = igeslib_count(io, k2 + 1LL);
  igeslib_count(io, static_cast<long long>(rows) * columns);
  m1(degree1);
  m2(degree2);
  s(igeslib_read_shared_real_array(io, knots1));
  t(igeslib_read_shared_real_array(io, knots2));
  auto* weights = new (LUMO.design()) ListOfArrayOfDouble(igeslib_reserve(rows));
  auto* points = new (LUMO.design()) ListOfListOfigs_coordinate(0);
  w(weights);
  control_points(points);
  // The net's points go into one block, row after row; its rows are made when asked for.
  double* net = points->startRows(static_cast<unsigned>(rows), static_cast<unsigned>(columns));
  if (!net && rows > 0) points->capacity(igeslib_reserve(rows));
  for (int i = 0; !net && i < rows; ++i)
    points->add(new (LUMO.design()) ListOfigs_coordinate(static_cast<unsigned>(columns), true));
  // Rows of weights repeat (all 1 in a polynomial surface): short ones are shared, and so the
  // list is marked shared, which gives the surface its own list and rows before any change.
  const auto n = static_cast<unsigned>(columns);
  std::vector<double> grid(std::size_t{n} * static_cast<unsigned>(rows));
  // Weights and points run with the first index fastest: a column of the net is read at a time.
  std::vector<double> column(3 * std::size_t{static_cast<unsigned>(rows)});
  for (unsigned j = 0; j < n; ++j) {
    io->read_reals(column.data(), rows);
    for (int i = 0; i < rows; ++i) grid[i * std::size_t{n} + j] = column[i];
  }
  const bool shared = LUMO.design() && columns <= kIgeslibLongestShared;
  for (int i = 0; i < rows; ++i) {
    const double* row = grid.data() + i * std::size_t{n};
    if (shared) {
      weights->add(igeslib_shared_reals(row, n));
      continue;
    }
    auto* own = new (LUMO.design()) ArrayOfDouble(n);
    if (own->size(n, 0) && n) std::memcpy(own->_data(), row, n * sizeof(double));
    weights->add(own);
  }
  if (shared) weights->markShared();
  for (unsigned j = 0; j < n; ++j) {
    io->read_reals(column.data(), 3 * rows);
    for (int i = 0; i < rows; ++i) {
      const double* point = column.data() + 3 * i;
      if (net)
        std::copy_n(point, 3, net + (static_cast<std::size_t>(i) * n + j) * 3);
      else
        (*points)[static_cast<unsigned>(i)]->addValues(point);
    }
  }
  u(igeslib_read_shared_real_array(io, 2));
  v(igeslib_read_shared_real_array(io, 2));
}

// Both upper indices come from the weights: their rows, and the size of the first row.
void igs_rational_bspline_surface_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  ListOfArrayOfDouble* weights = lumo_is_delayed(w_) ? w() : w_;  // as it stands: maybe shared
  unsigned rows = weights ? weights->size() : 0;
  ArrayOfDouble* first = item_at(weights, 0);
  unsigned columns = first ? first->size() : 0;
  io->write_int(static_cast<int>(rows) - 1);
  io->write_int(static_cast<int>(columns) - 1);
  io->write_int(m1_);
  io->write_int(m2_);
  for (int value : {int{prop1_}, int{prop2_}, int{prop3_}, int{prop4_}, int{prop5_}})
    io->write_int(value);
  for (long long i = 0; i < m1_ + static_cast<long long>(rows) + 1; ++i)
    io->write_real(igeslib_real_at(s_, i));
  for (long long i = 0; i < m2_ + static_cast<long long>(columns) + 1; ++i)
    io->write_real(igeslib_real_at(t_, i));
  for (unsigned j = 0; j < columns; ++j)
    for (unsigned i = 0; i < rows; ++i) io->write_real(igeslib_real_at(item_at(weights, i), j));
  ListOfListOfigs_coordinate* net = control_points_;
  const bool packed = net && !lumo_is_delayed(net) && net->hasPackedRows();
  for (unsigned j = 0; j < columns; ++j)
    for (unsigned i = 0; i < rows; ++i) {
      // Packed rows are written as they stand, making no row lists.
      if (const double* point = packed ? net->packedRowAt(i, j) : nullptr) {
        for (int k = 0; k < 3; ++k) io->write_real(point[k]);
        continue;
      }
      igeslib_write_coordinate_at(io, packed ? nullptr : item_at(control_points_, i), j);
    }
  for (ArrayOfDouble* range : {u_, v_}) {
    io->write_real(igeslib_real_at(range, 0));
    io->write_real(igeslib_real_at(range, 1));
  }
}
