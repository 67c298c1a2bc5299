"""Binary scene files as trees of records: written and read byte by byte.

A record has a name, values and children. A value is a pair of its type letter and the Python value:
    C bool, Y int16, I int32, L int64, F float, D double, S text or bytes, R bytes,
    b bools, i int32s, l int64s, f floats, d doubles (arrays).
The same tree gives the same bytes: no clock, no random identifiers.
"""

import struct
import zlib

MAGIC = b"Kaydara FBX Binary  \x00\x1a\x00"
ARRAYS = {"b": "?", "i": "i", "l": "q", "f": "f", "d": "d"}
SCALARS = {"C": "?", "Y": "h", "I": "i", "L": "q", "F": "f", "D": "d"}
# Readers of the format check these three against each other; they belong to the creation time written here.
FILE_ID = bytes.fromhex("28b32aebb624ccc2bfc8b02aa92bfcf1")
CREATION_TIME = "1970-01-01 10:00:00:000"
FOOTER_ID = bytes.fromhex("fabcab09d0c8d466b176fb831cf7267e")
FOOTER_END = bytes.fromhex("f85a8c6adef5d97eece90ce3758f290b")


class Record:
    def __init__(self, name, *values, children=(), block=False):
        self.name = name
        self.values = list(values)
        self.children = list(children)
        self.block = block  # has a closing null record even when it is empty

    def add(self, name, *values, **more):
        child = Record(name, *values, **more)
        self.children.append(child)
        return child

    def child(self, name):
        return next((c for c in self.children if c.name == name), None)

    def all(self, name):
        return [c for c in self.children if c.name == name]

    def value(self, index=0):
        """A value without its letter; text decoded."""
        letter, value = self.values[index]
        return value.decode("utf-8") if letter == "S" and isinstance(value, bytes) else value


class Writer:
    """`deflate_from`: arrays of so many bytes and more are compressed."""

    def __init__(self, version, deflate_from=128):
        self.version = version
        self.deflate_from = deflate_from
        self.head = struct.Struct("<QQQB" if version >= 7500 else "<IIIB")

    def value(self, pair):
        letter, value = pair
        if letter in SCALARS:
            return struct.pack("<c" + SCALARS[letter], letter.encode(), value)
        if letter in "SR":
            data = value.encode("utf-8") if isinstance(value, str) else bytes(value)
            return struct.pack("<cI", letter.encode(), len(data)) + data
        raw = struct.pack("<%d%s" % (len(value), ARRAYS[letter]), *value)
        packed, encoding = raw, 0
        if len(raw) >= self.deflate_from:
            packed, encoding = zlib.compress(raw, 9), 1
        return struct.pack("<cIII", letter.encode(), len(value), encoding, len(packed)) + packed

    def record(self, record, start):
        """Bytes of a record that begins at the file offset `start`: offsets in the format are absolute."""
        name = record.name.encode("ascii")
        values = b"".join(self.value(v) for v in record.values)
        at = start + self.head.size + len(name) + len(values)
        parts = []
        for child in record.children:
            parts.append(self.record(child, at))
            at += len(parts[-1])
        if record.children or record.block:
            parts.append(bytes(self.head.size))
            at += self.head.size
        return self.head.pack(at, len(record.values), len(values), len(name)) + name + values + b"".join(parts)

    def file(self, records):
        out = bytearray(MAGIC + struct.pack("<I", self.version))
        for record in records:
            out += self.record(record, len(out))
        out += bytes(self.head.size) + FOOTER_ID + bytes(4)
        out += bytes(-len(out) % 16 or 16)
        return bytes(out + struct.pack("<I", self.version) + bytes(120) + FOOTER_END)


def write(path, records, version=7400, deflate_from=128):
    data = Writer(version, deflate_from).file(records)
    with open(path, "wb") as f:
        f.write(data)
    return data


def read_value(data, at):
    letter = chr(data[at])
    at += 1
    if letter in SCALARS:
        kind = struct.Struct("<" + SCALARS[letter])
        return (letter, kind.unpack_from(data, at)[0]), at + kind.size
    if letter in "SR":
        size = struct.unpack_from("<I", data, at)[0]
        return (letter, data[at + 4 : at + 4 + size]), at + 4 + size
    count, encoding, size = struct.unpack_from("<III", data, at)
    raw = data[at + 12 : at + 12 + size]
    raw = zlib.decompress(raw) if encoding else raw
    return (letter, list(struct.unpack("<%d%s" % (count, ARRAYS[letter]), raw))), at + 12 + size


def read(path):
    """The version and the tree of a sound file, as a nameless record of its top records."""
    with open(path, "rb") as f:
        data = f.read()
    if not data.startswith(MAGIC):
        raise ValueError("%s is not a binary scene file" % path)
    version = struct.unpack_from("<I", data, len(MAGIC))[0]
    head = struct.Struct("<QQQB" if version >= 7500 else "<IIIB")

    def record(at):
        end, count, _, length = head.unpack_from(data, at)
        if end == 0:
            return None, at + head.size
        at += head.size
        out = Record(data[at : at + length].decode("ascii"))
        at += length
        for _ in range(count):
            value, at = read_value(data, at)
            out.values.append(value)
        while at < end:
            child, at = record(at)
            if child is None:
                out.block = not out.children
                break
            out.children.append(child)
        return out, end

    root, at = Record(""), len(MAGIC) + 4
    while True:
        child, at = record(at)
        if child is None:
            return version, root
        root.children.append(child)
