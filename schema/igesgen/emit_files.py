"""Writes every generated file into the build tree."""

import os

from .model import ModelError
from .emit_classes import (COMMON_HEADER, SOURCE_PARTS, SUPPORT, SUPPORT_HEADER,
    compiled_entries, emit_common, emit_header, emit_load, emit_source)
from .emit_rows import ROWS_HEADER, emit_rows_header, emit_rows_source, registry_rows
from .emit_tables import emit_tables
from .emit_parameters import PARAMETER_SOURCE, emit_parameter_code


def emit(model, out):
    """Writes every generated file under out; a file whose text is unchanged is
    left alone, so that the build does not redo its work."""
    texts = {"include/" + COMMON_HEADER: emit_common(model),
             "src/" + SUPPORT_HEADER: SUPPORT, "src/igeslib_load.cpp": emit_load(model),
             "src/igeslib_builtin_schemas.cpp": emit_tables(model)}
    rows = registry_rows(model)
    texts["include/" + ROWS_HEADER] = emit_rows_header(rows)
    texts["src/igeslib_entity_rows.cpp"] = emit_rows_source(rows)
    texts["src/" + PARAMETER_SOURCE] = emit_parameter_code(model)
    graph = {}
    for s in model.schemas:
        if s.internal:
            continue
        texts["include/%s.h" % s.name], graph[s.name] = emit_header(model, s)
        entries = compiled_entries(model, s)
        parts = SOURCE_PARTS.get(s.name, 1)
        size = -(-len(entries) // parts)
        for k in range(parts):
            name = "src/%s%s.cpp" % (s.name, "_%d" % (k + 1) if parts > 1 else "")
            texts[name] = emit_source(model, entries[k * size:(k + 1) * size], name)
    check_includes(graph)
    for path, text in texts.items():
        full = os.path.join(out, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        if os.path.exists(full):
            with open(full) as f:
                if f.read() == text:
                    continue
        with open(full, "w") as f:
            f.write(text)
    return sorted(texts)


def check_includes(graph):
    def walk(name, path):
        if name in path:
            raise ModelError("the schemas %s include each other through their bases"
                             % " -> ".join(path + [name]))
        for n in graph.get(name, []):
            walk(n, path + [name])
    for name in graph:
        walk(name, [])


def output_files(model):
    """Paths, relative to the output folder, of everything the emitter writes."""
    headers = ["include/" + COMMON_HEADER, "include/" + ROWS_HEADER]
    sources = ["src/" + SUPPORT_HEADER, "src/igeslib_load.cpp",
               "src/igeslib_builtin_schemas.cpp", "src/igeslib_entity_rows.cpp",
               "src/" + PARAMETER_SOURCE]
    for s in model.schemas:
        if s.internal:
            continue
        headers.append("include/%s.h" % s.name)
        parts = SOURCE_PARTS.get(s.name, 1)
        sources += ["src/%s%s.cpp" % (s.name, "_%d" % (k + 1) if parts > 1 else "")
                    for k in range(parts)]
    return headers + sources
