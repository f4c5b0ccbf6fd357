"""The cost of Python: igeslib.read of the generated 100 MB model against the C++ read of the
same file, and a walk of every attribute of every entity of a corpus file.

    PYTHONPATH=build/default/python python3 bench/python_read.py [--build DIR] [--rounds N]
        [--passes N] [--corpus-file FILE]

The generated file is the one igeslib-bench writes (bench-data/), made first when absent. Each
round times a few C++ reads (igeslib-read-time: igs_iges_file::read into a fresh design) in one
process and as many Python reads in this one; the least processor time of each over all rounds
is compared, since the machine is shared and the least is the steadiest figure."""

import argparse
import os
import subprocess
import sys
import time
from pathlib import Path

import igeslib


def generated_file(build):
    path = build / "bench" / "bench-data" / "generated-100MB.igs"
    if not path.is_file():
        subprocess.run([str(build / "bench" / "igeslib-bench"), "--sets=generated", "--no-peer",
                        "--iterations=1", "--benchmark_filter=write/"],
                       capture_output=True, check=True)
    return path


def cpp_read_ms(build, path, passes):
    run = subprocess.run([str(build / "bench" / "igeslib-read-time"), str(path), str(passes)],
                         capture_output=True, text=True, check=True)
    return float(run.stdout.split()[0])


def python_read_ms(path, passes):
    least = None
    for _ in range(passes):
        start = time.process_time()
        model = igeslib.read(path, threads=1)
        spent = time.process_time() - start
        entities = len(model)
        del model
        least = spent if least is None else min(least, spent)
    return least * 1e3, entities


def walk(obj, seen, counts):
    if isinstance(obj, igeslib.Object):
        if id(obj) in seen:
            return
        seen[id(obj)] = obj
        for name in obj.attributes():
            counts[0] += 1
            walk(obj[name], seen, counts)
    elif isinstance(obj, igeslib.Select):
        walk(obj.value, seen, counts)
    elif isinstance(obj, igeslib.Aggregate):
        for item in obj:
            counts[0] += 1
            walk(item, seen, counts)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default=os.environ.get("IGESLIB_BUILD_DIR", "build/default"))
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--passes", type=int, default=3)
    parser.add_argument("--corpus-file", default="../shared/corpus/pyiges__impeller.igs")
    args = parser.parse_args()
    build = Path(args.build)

    path = generated_file(build)
    cpp_ms = py_ms = None
    for _ in range(args.rounds):
        cpp = cpp_read_ms(build, path, args.passes)
        py, entities = python_read_ms(path, args.passes)
        cpp_ms = cpp if cpp_ms is None else min(cpp_ms, cpp)
        py_ms = py if py_ms is None else min(py_ms, py)
    size = path.stat().st_size / 1e6
    print(f"{path.name}: {size:.1f} MB, {entities} entities, least processor time of a read "
          f"({args.rounds} x {args.passes}): C++ {cpp_ms:.0f} ms, Python {py_ms:.0f} ms, "
          f"ratio {py_ms / cpp_ms:.2f}")

    corpus_file = Path(args.corpus_file)
    if not corpus_file.is_file():
        print(f"{corpus_file}: not found; the walk is skipped")
        return
    start = time.process_time()
    model = igeslib.read(corpus_file)
    read_s = time.process_time() - start
    start = time.process_time()
    seen, counts = {}, [0]
    for entity in model.entities:
        walk(entity, seen, counts)
    walk_s = time.process_time() - start
    print(f"{corpus_file.name}: {corpus_file.stat().st_size / 1e6:.1f} MB, {len(model)} "
          f"entities, read {read_s * 1e3:.0f} ms; walk of every attribute: {len(seen)} objects, "
          f"{counts[0]} values in {walk_s * 1e3:.0f} ms ({counts[0] / walk_s / 1e6:.2f} million "
          f"values/s)")


if __name__ == "__main__":
    sys.exit(main())
