// Directory pointers and the fixed fields of directory records. A DE number n names the entity
// at place (|n| - 1) / 2 of the directory list of the file object that is the root of the
// current design.
#pragma once

#include <cstdint>

#include "lumo_base.h"

class igs_directory_entry;

// The entity that DE pointer n names, or null: no file object, no such place, or n zero.
LUMO_HOT igs_directory_entry* igeslib_resolve_de(int n);

// The decimal digits of value, the last just before end, two at a time; the place of the
// first. No NUL.
char* igeslib_digits_before(char* end, std::uint64_t value);

// value as "%*d" gives it with that width, and a NUL behind it; the length written. A value
// with more characters than the width takes them all, as the formatted print does.
int igeslib_format_int(char* out, int width, int value);

// Fields of a directory record, each followed by a NUL that the next field overwrites.
// Eight columns: "%8d"; blanks; a label right-justified, cut to its first eight characters.
void igeslib_de_write_int(char* out, int value);
void igeslib_de_write_blank(char* out);
void igeslib_de_write_label(char* out, const char* text);
// Two columns of a status field: "0%1d".
void igeslib_de_write_digit(char* out, int value);
