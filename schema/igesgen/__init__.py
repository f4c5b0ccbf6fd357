"""The generator of the data model: reads the model source (see ../FORMAT.md), checks
it, counts it, and writes the C++ classes, the dictionary tables, the registry rows and
the parameter code of the entity classes."""

from .model import ModelError, dictionary_name
from .parse import parse, load
from .check import check, all_attributes
from .counts import derive_counts, read_expected, compare
from .emit_classes import (Writer, emit_common, emit_header, emit_source, define_binding,
                           overridden)
from .emit_rows import ANY_FORM, registry_rows, emit_rows_header, emit_rows_source
from .emit_tables import dictionary_tables
from .emit_files import emit, output_files
