#!/usr/bin/env python3
"""Compare what a built Kestrel library exports with the reference list.

The reference list is tests/exports/*.txt, one export a line:
    Name N          a function with the library's calling convention, taking
                    N bytes of arguments on 32-bit Windows (__stdcall: exported
                    there as Name@N)
    Name cdecl      a __cdecl function (exported plainly everywhere)
    Name data       an exported data global
A trailing word "posix" marks exports that exist only outside Windows,
"windows" those that exist only in the DLLs.
Lines starting with # are comments.

When you add an exported function, add its line here; the i686 build checks
the byte count (each argument is rounded up to 4 bytes, a double takes 8).
"""
import argparse
import glob
import os
import re
import subprocess
import sys


def load_reference(folder, fmt):
    expected = set()
    for path in sorted(glob.glob(os.path.join(folder, "*.txt"))):
        with open(path) as f:
            for lineno, raw in enumerate(f, 1):
                line = raw.split("#", 1)[0].strip()
                if not line:
                    continue
                parts = line.split()
                if len(parts) not in (2, 3) or (len(parts) == 3 and parts[2] not in ("posix", "windows")):
                    sys.exit(f"{path}:{lineno}: cannot read '{raw.rstrip()}'")
                name, kind = parts[0], parts[1]
                if len(parts) == 3 and (parts[2] == "posix") != (fmt == "elf"):
                    continue
                if kind in ("data", "cdecl"):
                    expected.add(name)
                elif kind.isdigit():
                    expected.add(f"{name}@{kind}" if fmt == "pe32" else name)
                else:
                    sys.exit(f"{path}:{lineno}: unknown kind '{kind}'")
    return expected


def elf_exports(lib):
    out = subprocess.run(["nm", "-D", "--defined-only", lib], capture_output=True, text=True, check=True).stdout
    names = set()
    for line in out.splitlines():
        parts = line.split()
        if len(parts) < 3:
            continue
        name = parts[2].split("@")[0]
        if name in ("_init", "_fini", "__bss_start", "_edata", "_end"):
            continue
        if name.startswith(("__odr_asan", "__asan", "__ubsan", "__sanitizer")):
            continue  # sanitizer instrumentation, not the interface
        names.add(name)
    return names


def pe_exports(lib, objdump):
    out = subprocess.run([objdump, "-p", lib], capture_output=True, text=True, check=True).stdout
    names = set()
    in_table = False
    for line in out.splitlines():
        if "[Ordinal/Name Pointer] Table" in line:
            in_table = True
            continue
        if in_table:
            m = re.match(r"\s*\[\s*\d+\]\s+(\S+)", line)
            if not m:
                if line.strip():
                    break
                continue
            names.add(m.group(1))
    return names


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--format", choices=["elf", "pe", "pe32"], required=True)
    ap.add_argument("--lib", required=True)
    ap.add_argument("--ref", required=True)
    ap.add_argument("--objdump", default="objdump")
    a = ap.parse_args()
    expected = load_reference(a.ref, a.format)
    actual = elf_exports(a.lib) if a.format == "elf" else pe_exports(a.lib, a.objdump)
    missing = sorted(expected - actual)
    extra = sorted(actual - expected)
    for n in missing:
        print(f"missing export: {n}")
    for n in extra:
        print(f"unexpected export: {n}")
    print(f"{len(actual)} exported, {len(expected)} in the reference list, "
          f"{len(missing)} missing, {len(extra)} unexpected")
    if missing or extra:
        print("Fix the library, or (for a deliberate change) the lists in tests/exports/.")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
