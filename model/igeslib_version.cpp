#include "igeslib.h"

// The build passes the project version in IGESLIB_VERSION.
#ifndef IGESLIB_VERSION
#error "IGESLIB_VERSION is not defined; build this file through the project's CMake files"
#endif

const char* igeslib_version() { return IGESLIB_VERSION; }
