// igeslib: one compiled class for every IGES entity type and form, read from and written to
// 80-column ASCII IGES files. Including this header gives the whole public interface.
#pragma once

#include "lumo.h"

// The version of the library that the program runs with, e.g. "0.1.0".
const char* igeslib_version();
