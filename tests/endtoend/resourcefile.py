"""Reads the head of a packed file byte by byte, by rules written down here a second time on purpose."""

import struct
from collections import namedtuple

Resource = namedtuple("Resource", "kind big_endian block_size sizes references third_words body")

KINDS = {b"ARTY": "ARTY", b"RRTY": "RRTY", b"ChrT": "ChrT"}
ADDED = 0x80000000  # the flags under which packers add a reference


def parse(data):
    """A Resource; ValueError names what is wrong. References are pairs of text and flags, in order."""
    if len(data) < 24:
        raise ValueError("%d bytes are no header" % len(data))
    code = bytes(data[:4])
    if code in KINDS:
        order, kind = ">", KINDS[code]
    elif code[::-1] in KINDS:
        order, kind = "<", KINDS[code[::-1]]
    else:
        raise ValueError("unknown type %r" % code)
    block, zero, *sizes = struct.unpack_from(order + "5I", data, 4)
    if zero:
        raise ValueError("the third word is %d" % zero)
    references, third = [], []
    if block:
        (count,) = struct.unpack_from(order + "I", data, 24)
        if 8 * count + 12 > block:
            raise ValueError("%d references in %d bytes" % (count, block))
        third = list(struct.unpack_from(order + "%dI" % count, data, 28))
        names_at, text_at = struct.unpack_from(order + "2I", data, 28 + 4 * count)
        if (names_at, text_at) != (4 * count + 12, 8 * count + 12):
            raise ValueError("tables at %d and %d" % (names_at, text_at))
        text = data[24 + text_at : 24 + block]
        at = 0
        for word in struct.unpack_from(order + "%dI" % count, data, 24 + names_at):
            flags, offset = word & 0xE0000000, word & 0x1FFFFFFF
            if offset != at:
                raise ValueError("a name at %d, the one before ends at %d" % (offset, at))
            end = text.index(0, offset)
            references.append((text[offset:end].decode("utf-8"), flags))
            at = end + 1
        if at != len(text):
            raise ValueError("%d bytes behind the last name" % (len(text) - at))
    body = data[24 + block :]
    if len(body) != sizes[0]:
        raise ValueError("%d bytes of data, the header says %d" % (len(body), sizes[0]))
    return Resource(kind, order == ">", block, sizes, references, third, body)


Entry = namedtuple("Entry", "name reference blend_space")


def parse_character(resource):
    """The entries of an animation database, in the file's order; ValueError names what is wrong."""
    order = ">" if resource.big_endian else "<"
    body = resource.body
    (count,) = struct.unpack_from(order + "I", body, 0)
    positions = struct.unpack_from(order + "%dI" % count, body, 4)
    flags = body[4 + 4 * count : 4 + 5 * count]
    offsets = struct.unpack_from(order + "%dI" % count, body, 4 + 5 * count)
    table = 4 + 5 * count
    entries, at = [], 4 * count
    for position, flag, offset in zip(positions, flags, offsets):
        if offset != at:
            raise ValueError("a name at %d, the one before ends at %d" % (offset, at))
        if flag not in (0, 1):
            raise ValueError("a flag of %d" % flag)
        end = body.index(0, table + offset)
        entries.append(Entry(body[table + offset : end].decode("utf-8"), resource.references[position][0], bool(flag)))
        at = end + 1 - table
    if table + at != len(body):
        raise ValueError("%d bytes behind the last name" % (len(body) - table - at))
    return entries


def parse_file(path):
    with open(path, "rb") as f:
        return parse(f.read())
