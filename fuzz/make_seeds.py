#!/usr/bin/env python3
"""Builds the seed corpora of the fuzz targets.

    make_seeds.py --corpus DIR --crafted DIR --out DIR [--max-len N]

OUT/read_write/ gets every file of the corpus folder and of the crafted folder; a file longer
than --max-len is cut down to its Start and Global sections, its first entities and a
Terminate record with the new counts, so that it still reads to its end.

OUT/global_tokens/ gets inputs in the form fuzz_global_tokens takes (a control byte, then
text): the Global section data of every file, plain, as card images and as short records;
the Parameter Data text of a few entities of every type a file holds, with operation bytes
guessed from the text; and a handful of crafted token texts.

Seeds are named by a hash of their content, so a run over the same files makes the same set.
"""

import argparse
import hashlib
import os
import re
import shutil
import sys

RECORD_END = re.compile(rb"([SGDPT])\s*(\d{1,7})\s*$")
POINTER_END = re.compile(rb"(\d{1,7})\s*P\s*\d{1,7}\s*$")

# Control byte of fuzz_global_tokens: bit 0 tokens, bit 1 strict/own delimiters, bit 2 card
# images, bit 3 short records, bits 4-7 operation count.
GLOBAL_PLAIN, GLOBAL_CARDS, GLOBAL_SHORT = 0x00, 0x04, 0x08
TOKENS = 0x01
OWN_DELIMITERS = 0x02

# Operation bytes of fuzz_global_tokens.
OP_INT, OP_REAL, OP_LOGICAL, OP_STRING = 0, 1, 2, 3
OP_SCAN_STRING_GLOBAL = 8
OP_DATUM_TYPE = 9

CRAFTED_TOKENS = [
    # (control flags, delimiters, operations, text)
    (0, b"", [OP_INT] * 3, b"5,,7;"),
    (0, b"", [OP_INT], b"12 34,"),
    (0, b"", [OP_REAL] * 4, b"1..5,1.5.,.5,-5;"),
    (0, b"", [OP_REAL] * 4, b"1.5D3,1.5d-3,1.5E+3,1.E3;"),
    (0, b"", [OP_STRING] * 3, b"0H,3Habc,   11Hhello world;"),
    (0, b"", [OP_LOGICAL] * 4, b"0,1,,2;"),
    (0, b"", [OP_STRING], b" " * 60 + b"10Hab" + b" " * 64 + b"cdefghij,;"),
    (OWN_DELIMITERS, b"/!", [OP_STRING, OP_INT, OP_REAL], b"3Ha/c/42/7.5!"),
    (OWN_DELIMITERS, b"  ", [OP_INT] * 2, b"1 2 3"),
    (0, b"", [OP_SCAN_STRING_GLOBAL] * 2, b"1H//1H;/"),
    (0, b"", [OP_DATUM_TYPE | 0x20, OP_DATUM_TYPE | 0x20, OP_DATUM_TYPE | 0x10,
              OP_DATUM_TYPE | 0x30], b"1.5,2Hab,3,-1;"),
    (0, b"", [11, OP_REAL], b"3,1.,2.,3.;"),
    (0, b"", [11], b"2000000000,1.;"),
    (0, b"", [OP_STRING], b"2147483647Habc;"),
    (0, b"", [OP_INT], b"+" * 100 + b";"),
    (0, b"", [OP_REAL], b"9" * 100 + b";"),
]


def write_seed(folder, data):
    name = hashlib.sha1(data).hexdigest()
    with open(os.path.join(folder, name), "wb") as out:
        out.write(data)


def records(data):
    """The records of a file: its lines, or 80-column card images when it has no line ends."""
    if b"\n" not in data and b"\r" not in data:
        return [data[i:i + 80] for i in range(0, len(data), 80)]
    return [line for line in re.split(rb"\r\n|\r|\n", data) if line]


def letter_of(record):
    m = RECORD_END.search(record)
    return chr(m.group(1)[0]) if m else None


def pointer_of(record):
    m = POINTER_END.search(record)
    return int(m.group(1)) if m else None


def cut_down(data, max_len):
    """The file with only as many of its first entities as fit in max_len bytes."""
    recs = records(data)
    by_section = {letter: [r for r in recs if letter_of(r) == letter] for letter in "SGDPT"}
    start, glob, directory, params = (by_section[x] for x in "SGDP")
    entities = len(directory) // 2

    def build(n):
        kept_params = [r for r in params if (pointer_of(r) or 0) <= 2 * n - 1]
        terminate = b"S%7dG%7dD%7dP%7d" % (len(start), len(glob), 2 * n, len(kept_params))
        terminate = terminate.ljust(72) + b"T      1"
        lines = start + glob + directory[:2 * n] + kept_params + [terminate]
        return b"".join(line + b"\n" for line in lines)

    low, high = 0, entities
    while low < high:
        mid = (low + high + 1) // 2
        if len(build(mid)) <= max_len:
            low = mid
        else:
            high = mid - 1
    result = build(low)
    return result if len(result) <= max_len else None


def section_text(recs, letter, width):
    return b"".join(r[:width].ljust(width) for r in recs if letter_of(r) == letter)


def guessed_operations(text):
    """One operation per parameter, told from the text: string, real or integer."""
    ops = []
    i = 0
    n = len(text)
    while i < n and len(ops) < 15:
        m = re.match(rb"\s*(\d+)H", text[i:])
        if m:
            length = int(m.group(1))
            ops.append(OP_STRING)
            i += m.end() + length
        else:
            j = i
            while j < n and text[j:j + 1] not in (b",", b";"):
                j += 1
            token = text[i:j].strip()
            ops.append(OP_REAL if re.search(rb"[.DEde]", token) else OP_INT)
            i = j
        if i < n and text[i:i + 1] == b";":
            break
        i += 1
    return ops


def token_seeds(recs, per_type=2):
    """Parameter Data text of the first entities of each type, with their operations."""
    entities = {}
    order = []
    for r in recs:
        if letter_of(r) != "P":
            continue
        pointer = pointer_of(r)
        if pointer is None:
            continue
        if pointer not in entities:
            entities[pointer] = []
            order.append(pointer)
        entities[pointer].append(r[:64].ljust(64))
    seen = {}
    out = []
    for pointer in order:
        text = b"".join(entities[pointer][:20])
        kind = text.split(b",", 1)[0].strip()
        if seen.get(kind, 0) >= per_type:
            continue
        seen[kind] = seen.get(kind, 0) + 1
        ops = guessed_operations(text)
        out.append(bytes([TOKENS | (len(ops) << 4)]) + bytes(ops) + text)
    return out


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--corpus", help="folder of real IGES files (may be absent)")
    parser.add_argument("--crafted", help="folder of small crafted files")
    parser.add_argument("--out", required=True)
    parser.add_argument("--max-len", type=int, default=65536)
    args = parser.parse_args()

    read_write = os.path.join(args.out, "read_write")
    global_tokens = os.path.join(args.out, "global_tokens")
    for folder in (read_write, global_tokens):
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)

    sources = []
    for folder in (args.corpus, args.crafted):
        if folder and os.path.isdir(folder):
            sources += sorted(os.path.join(folder, f) for f in os.listdir(folder)
                              if os.path.isfile(os.path.join(folder, f)))
    if args.corpus and not os.path.isdir(args.corpus):
        print("make_seeds: no corpus at %s; crafted seeds only" % args.corpus, file=sys.stderr)

    counts = [0, 0]
    for path in sources:
        with open(path, "rb") as f:
            data = f.read()
        whole = data if len(data) <= args.max_len else cut_down(data, args.max_len)
        if whole:
            write_seed(read_write, whole)
            counts[0] += 1
        recs = records(data)
        glob = section_text(recs, "G", 72).rstrip()
        if glob:
            for control in (GLOBAL_PLAIN, GLOBAL_CARDS, GLOBAL_SHORT):
                write_seed(global_tokens, bytes([control]) + glob)
                counts[1] += 1
        for seed in token_seeds(recs):
            write_seed(global_tokens, seed)
            counts[1] += 1

    for flags, delimiters, ops, text in CRAFTED_TOKENS:
        write_seed(global_tokens, bytes([TOKENS | flags | (len(ops) << 4)]) + delimiters +
                   bytes(ops) + text)
        counts[1] += 1

    print("make_seeds: %d read_write seeds, %d global_tokens seeds in %s" %
          (counts[0], counts[1], args.out))


if __name__ == "__main__":
    main()
