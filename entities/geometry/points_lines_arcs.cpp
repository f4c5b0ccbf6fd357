// Parameter data of the plainest geometry: point, line, circular and conic arc, plane,
// transformation matrix and flash. Every parameter is a real but for the pointers; the
// values are kept as they stand, with no defaults of the standard applied and nothing
// normalised, and the form of the directory record plays no part.
#include "../igeslib_parameters.h"

namespace {

using Point = igs_point_entity;
constexpr double Point::*kPointReals[] = {&Point::x_, &Point::y_, &Point::z_};

using Line = igs_line_entity;
constexpr double Line::*kLineReals[] = {&Line::x1_, &Line::y1_, &Line::z1_,
                                        &Line::x2_, &Line::y2_, &Line::z2_};

using Arc = igs_circular_arc_entity;
constexpr double Arc::*kArcReals[] = {&Arc::zt_, &Arc::x1_, &Arc::y1_, &Arc::x2_,
                                      &Arc::y2_, &Arc::x3_, &Arc::y3_};

using Conic = igs_conic_arc_entity;
constexpr double Conic::*kConicReals[] = {&Conic::a_,  &Conic::b_,  &Conic::c_,  &Conic::d_,
                                          &Conic::e_,  &Conic::f_,  &Conic::zt_, &Conic::x1_,
                                          &Conic::y1_, &Conic::x2_, &Conic::y2_};

using Plane = igs_plane_entity;
constexpr double Plane::*kPlaneCoefficients[] = {&Plane::a_, &Plane::b_, &Plane::c_, &Plane::d_};
constexpr double Plane::*kPlaneSymbol[] = {&Plane::x_, &Plane::y_, &Plane::z_, &Plane::size_};

using Matrix = igs_transformation_matrix_entity;
constexpr double Matrix::*kMatrixReals[] = {
    &Matrix::r11_, &Matrix::r12_, &Matrix::r13_, &Matrix::t1_,  &Matrix::r21_, &Matrix::r22_,
    &Matrix::r23_, &Matrix::t2_,  &Matrix::r31_, &Matrix::r32_, &Matrix::r33_, &Matrix::t3_};

using Flash = igs_flash_entity;
constexpr double Flash::*kFlashReals[] = {&Flash::x_, &Flash::y_, &Flash::dim1_, &Flash::dim2_,
                                          &Flash::rot_};

}  // namespace

void igs_point_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  igeslib_read_reals(io, this, kPointReals);
  ptr(igeslib_read_pointer<igs_subfigure_definition_entity>(io));
}

void igs_point_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  igeslib_write_reals(io, this, kPointReals);
  igeslib_write_pointer(io, ptr());
}

void igs_line_entity::pdread() {
  if (IgeslibIO* io = igeslib_filer()) igeslib_read_reals(io, this, kLineReals);
}

void igs_line_entity::pdwrite() {
  if (IgeslibIO* io = igeslib_filer()) igeslib_write_reals(io, this, kLineReals);
}

void igs_circular_arc_entity::pdread() {
  if (IgeslibIO* io = igeslib_filer()) igeslib_read_reals(io, this, kArcReals);
}

void igs_circular_arc_entity::pdwrite() {
  if (IgeslibIO* io = igeslib_filer()) igeslib_write_reals(io, this, kArcReals);
}

void igs_conic_arc_entity::pdread() {
  if (IgeslibIO* io = igeslib_filer()) igeslib_read_reals(io, this, kConicReals);
}

void igs_conic_arc_entity::pdwrite() {
  if (IgeslibIO* io = igeslib_filer()) igeslib_write_reals(io, this, kConicReals);
}

void igs_plane_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  igeslib_read_reals(io, this, kPlaneCoefficients);
  ptr(igeslib_read_pointer<igs_geometric_entity>(io));
  igeslib_read_reals(io, this, kPlaneSymbol);
}

void igs_plane_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  igeslib_write_reals(io, this, kPlaneCoefficients);
  igeslib_write_pointer(io, ptr());
  igeslib_write_reals(io, this, kPlaneSymbol);
}

void igs_transformation_matrix_entity::pdread() {
  if (IgeslibIO* io = igeslib_filer()) igeslib_read_reals(io, this, kMatrixReals);
}

void igs_transformation_matrix_entity::pdwrite() {
  if (IgeslibIO* io = igeslib_filer()) igeslib_write_reals(io, this, kMatrixReals);
}

void igs_flash_entity::pdread() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  igeslib_read_reals(io, this, kFlashReals);
  de(igeslib_read_pointer<igs_geometric_entity>(io));
}

void igs_flash_entity::pdwrite() {
  IgeslibIO* io = igeslib_filer();
  if (!io) return;
  igeslib_write_reals(io, this, kFlashReals);
  igeslib_write_pointer(io, de());
}
