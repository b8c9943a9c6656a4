#!/usr/bin/env python3
"""Generates strake/PEncodingTables.cpp, the built-in conversion tables of PEncoding.

Vietnamese tables: four are read from scripts/data/vietnamese.tsv, four are derived here:
  VNI_SHORT    the last byte of the VNI row
  TCVN3_SHORT  the first byte of the TCVN3 row
  TCVN3_LOW    the TCVN3 row of the lower-case letter
  VILAT        the ASCII base letter without marks (D/d for U+0110/U+0111, A0 for U+00A0)

Single-byte code pages: read from the C library's iconv(3) through ctypes (glibc's own
converters, not Python's codecs, whose tables differ for some pages). Each byte is decoded on
its own and the converter flushed, so stateful converters (CP1258 holds back a base letter for
a following combining mark) still give the plain one-byte mapping.

Run from the repository root: python3 scripts/gen_encoding_tables.py
"""

import ctypes
import ctypes.util
import os
import sys
import unicodedata

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DATA = os.path.join(ROOT, "scripts", "data", "vietnamese.tsv")
OUTPUT = os.path.join(ROOT, "strake", "PEncodingTables.cpp")

# Registry converter name -> glibc iconv name.
CODE_PAGES = [
    ("CP775", "CP775"),
    ("CP866", "CP866"),
    ("CP1251", "CP1251"),
    ("CP1257", "CP1257"),
    ("CP1258", "CP1258"),
    ("CP20127", "US-ASCII"),
    ("KOI8-R", "KOI8-R"),
]

# Order of the byte strings in a generated Vietnamese row; matches PVietnameseTable.
VIETNAMESE_ORDER = ["VNI", "VNI_SHORT", "VPS", "TCVN3", "TCVN3_SHORT", "TCVN3_LOW", "VISCII", "VILAT"]

UNDEFINED = 0xFFFD


def read_vietnamese():
    rows = {}
    with open(DATA, encoding="ascii") as f:
        for line in f:
            line = line.rstrip("\n")
            if not line or line.startswith("#"):
                continue
            cols = line.split("\t")
            if len(cols) != 5:
                sys.exit("bad row: %r" % line)
            cp = int(cols[0], 16)
            rows[cp] = {name: bytes(int(b, 16) for b in col.split())
                        for name, col in zip(["VNI", "VPS", "VISCII", "TCVN3"], cols[1:])}
    return rows


def base_letter(cp):
    if cp == 0x00A0:
        return b"\xa0"
    if cp == 0x0110:
        return b"D"
    if cp == 0x0111:
        return b"d"
    ch = chr(cp)
    while True:
        decomposition = unicodedata.decomposition(ch).split()
        if not decomposition or decomposition[0].startswith("<"):
            break
        ch = chr(int(decomposition[0], 16))
    if ord(ch) > 127:
        sys.exit("no ASCII base letter for U+%04X" % cp)
    return ch.encode("ascii")


def derive_vietnamese(rows):
    for cp, row in rows.items():
        row["VNI_SHORT"] = row["VNI"][-1:]
        row["TCVN3_SHORT"] = row["TCVN3"][:1]
        lower = ord(chr(cp).lower()) if len(chr(cp).lower()) == 1 else cp
        if lower not in rows:
            sys.exit("no lower-case row for U+%04X" % cp)
        row["TCVN3_LOW"] = rows[lower]["TCVN3"]
        row["VILAT"] = base_letter(cp)
    return rows


class Iconv:
    """One converter of the C library, opened once and reset before each conversion."""

    libc = None

    def __init__(self, to_code, from_code):
        if Iconv.libc is None:
            libc = ctypes.CDLL(ctypes.util.find_library("c"), use_errno=True)
            libc.iconv_open.restype = ctypes.c_void_p
            libc.iconv_open.argtypes = [ctypes.c_char_p, ctypes.c_char_p]
            libc.iconv.restype = ctypes.c_size_t
            libc.iconv.argtypes = [ctypes.c_void_p] + [ctypes.c_void_p] * 4
            libc.iconv_close.argtypes = [ctypes.c_void_p]
            Iconv.libc = libc
        self.cd = self.libc.iconv_open(to_code.encode(), from_code.encode())
        if self.cd in (None, ctypes.c_void_p(-1).value):
            sys.exit("iconv cannot convert %s to %s" % (from_code, to_code))
        self.outbuf = ctypes.create_string_buffer(64)

    def close(self):
        self.libc.iconv_close(self.cd)

    def convert(self, data):
        """The converted and flushed bytes, or None when the converter rejects the input."""
        failed = ctypes.c_size_t(-1).value
        self.libc.iconv(self.cd, None, None, None, None)
        inbuf = ctypes.create_string_buffer(data, len(data))
        inptr = ctypes.c_char_p(ctypes.addressof(inbuf))
        outptr = ctypes.c_char_p(ctypes.addressof(self.outbuf))
        inleft = ctypes.c_size_t(len(data))
        outleft = ctypes.c_size_t(len(self.outbuf))
        if self.libc.iconv(self.cd, ctypes.byref(inptr), ctypes.byref(inleft),
                           ctypes.byref(outptr), ctypes.byref(outleft)) == failed:
            return None
        if self.libc.iconv(self.cd, None, None, ctypes.byref(outptr), ctypes.byref(outleft)) == failed:
            return None
        return self.outbuf.raw[:len(self.outbuf) - outleft.value]


def read_code_page(iconv_name):
    decoder = Iconv("UTF-32LE", iconv_name)
    to_unicode = []
    for b in range(256):
        out = decoder.convert(bytes([b]))
        if out is None or len(out) != 4:
            to_unicode.append(UNDEFINED)
            continue
        cp = int.from_bytes(out, "little")
        if cp > 0xFFFF:
            sys.exit("%s byte %02X decodes outside the BMP" % (iconv_name, b))
        to_unicode.append(cp)
    decoder.close()
    # Every BMP character the converter writes as one byte, including those it takes as an
    # equivalent of a table character (CP1258 writes U+0340 as the byte of U+0300).
    encoder = Iconv(iconv_name, "UTF-32LE")
    from_unicode = []
    for cp in range(0x10000):
        if 0xD800 <= cp < 0xE000:
            continue
        out = encoder.convert(cp.to_bytes(4, "little"))
        if out is not None and len(out) == 1:
            from_unicode.append((cp, out[0]))
    encoder.close()
    return to_unicode, from_unicode


def c_bytes(data):
    return '"' + "".join("\\x%02X" % b for b in data) + '"'


def main():
    rows = derive_vietnamese(read_vietnamese())
    out = []
    out.append("// Conversion tables of PEncoding. Generated by scripts/gen_encoding_tables.py: do not edit.")
    out.append('#include "PEncodingTables_p.h"')
    out.append("")
    out.append("namespace strake {")
    out.append("")
    out.append("const PVietnameseRow vietnameseRows[] = {")
    for cp in sorted(rows):
        values = ", ".join(c_bytes(rows[cp][name]) for name in VIETNAMESE_ORDER)
        out.append("    {0x%04X, {%s}}," % (cp, values))
    out.append("};")
    out.append("const size_t vietnameseRowCount = sizeof(vietnameseRows) / sizeof(vietnameseRows[0]);")
    out.append("")
    names = []
    for name, iconv_name in CODE_PAGES:
        to_unicode, from_unicode = read_code_page(iconv_name)
        ident = "codePage" + "".join(c for c in name if c.isalnum())
        names.append((name, ident, len(from_unicode)))
        out.append("// %s, read from iconv's %s." % (name, iconv_name))
        out.append("static const PCodePageEntry %sFrom[] = {" % ident)
        for i in range(0, len(from_unicode), 6):
            chunk = from_unicode[i:i + 6]
            out.append("    " + " ".join("{0x%04X, 0x%02X}," % (cp, b) for cp, b in chunk))
        out.append("};")
        out.append("")
        out.append("static const char16_t %sTo[256] = {" % ident)
        for i in range(0, 256, 8):
            out.append("    " + " ".join("0x%04X," % cp for cp in to_unicode[i:i + 8]))
        out.append("};")
        out.append("")
    out.append("const PSingleByteCodePage singleByteCodePages[] = {")
    for name, ident, size in names:
        out.append('    {"%s", %sTo, %sFrom, %d},' % (name, ident, ident, size))
    out.append("};")
    out.append("const size_t singleByteCodePageCount = sizeof(singleByteCodePages) / sizeof(singleByteCodePages[0]);")
    out.append("")
    out.append("}")
    with open(OUTPUT, "w", encoding="ascii") as f:
        f.write("\n".join(out) + "\n")


if __name__ == "__main__":
    main()
