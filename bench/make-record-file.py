#!/usr/bin/env python3
"""Writes a benchmark file of N ISO 2709 records made from real records.

Every record of the source files whose first five characters state its length is taken, and
the set is repeated until N records are written. The records keep their real sizes and
contents; only their order repeats.

usage: make-record-file.py SOURCE_DIR OUT N
"""
import pathlib
import sys


def good_records(folder):
    records = []
    for path in sorted(pathlib.Path(folder).iterdir()):
        if not path.is_file() or path.suffix.lower() in (".md", ".txt", ".xml"):
            continue
        for piece in path.read_bytes().split(b"\x1d"):
            record = piece + b"\x1d"
            head = record[:5]
            if head.isdigit() and int(head) == len(record) and len(record) > 26:
                records.append(record)
    return records


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    source, out, count = sys.argv[1], pathlib.Path(sys.argv[2]), int(sys.argv[3])
    records = good_records(source)
    if not records:
        sys.exit("no usable records in " + source)
    out.parent.mkdir(parents=True, exist_ok=True)
    with out.open("wb") as f:
        for i in range(count):
            f.write(records[i % len(records)])
    print(f"{out}: {count} records from {len(records)} distinct, {out.stat().st_size} bytes")


if __name__ == "__main__":
    main()
