// Run-time members of the file object: the directory list and the working record of the
// read or write under way.
#include "igeslib.h"

ListOfigs_directory_entry* igs_iges_file::directory_entries() {
  if (directory_populated) return &directory_list_;
  directory_list_.emptyYourself();
  if (LumoDesign* design = LUMO.design()) design->findObjects(&directory_list_, 0, 1);
  return &directory_list_;
}

IgeslibIO* igs_iges_file::igesFiler() { return filer_; }
