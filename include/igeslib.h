// igeslib: one compiled class for every IGES entity type and form, read from and written to
// 80-column ASCII IGES files. Including this header gives the whole public interface.
#pragma once

#include "lumo.h"

#include "iges_types_schema.h"
#include "iges_curve_and_surface_geometry_schema.h"
#include "iges_annotation_schema.h"
#include "iges_boundary_representation_schema.h"
#include "iges_constructive_solid_geometry_schema.h"
#include "iges_structure_schema.h"

// The filer's public face beside igs_iges_file: the entity-type registry and its accessors,
// the limits and settings of a read, and the fields of directory records.
#include "igeslib_directory.h"
#include "igeslib_io.h"
#include "igeslib_registry.h"

// The model object of applications: one call to read a file, one to write it.
#include "igeslib_model.h"

// Geometry: curves and surfaces evaluated, placed in model space, sampled and bounded.
#include "igeslib_geometry.h"

// The checker: every fault of a file named with a stable code.
#include "igeslib_check.h"

// The version of the library that the program runs with, e.g. "0.1.0".
const char* igeslib_version();
