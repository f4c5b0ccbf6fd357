// Directory pointers: a DE number n names the entity at place (|n| - 1) / 2 of the directory
// list of the file object that is the root of the current design.
#pragma once

class igs_directory_entry;

// The entity that DE pointer n names, or null: no file object, no such place, or n zero.
igs_directory_entry* igeslib_resolve_de(int n);
