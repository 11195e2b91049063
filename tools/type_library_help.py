#!/usr/bin/env python3
"""type_library_help.py INPUT RESULT_CODES OUTPUT: gives the enumerators of a compiled type library their help strings.

The IDL compiler takes none for enumerators. A code's help string is its message text; every code must be an enumerator
of the library.

The file: a header, the offset of every type's record within segment 0, the table of segments, then the segments and,
for every type, one block with its members. Segments and blocks stand at absolute offsets, which the table of segments
and the types' records name; all else is relative to a segment. So this tool lengthens the blocks of enumerations and
the segment of strings, and lays the pieces out anew in their old order.
"""
import struct
import sys
from typing import NamedTuple

from result_codes import read_result_codes

SIGNATURE = b"MSFT"
HEADER_SIZE = 0x54
HEADER_FLAGS, HEADER_TYPE_COUNT = 0x14, 0x20
FLAG_HELP_MODULE = 0x100  # one more number follows the header
SEGMENTS, SEGMENT_ENTRY = 15, 16
TYPES, NAMES, STRINGS = 0, 7, 8  # segments

TYPE_KIND, TYPE_MEMBERS, TYPE_COUNTS = 0x00, 0x04, 0x18
KIND_MASK, KIND_ENUM = 0xF, 0

# A name: two numbers, its length in one byte, three bytes of flags, its characters.
NAME_LENGTH, NAME_TEXT = 8, 12

# A variable's record: five fixed numbers, then as many optional ones as its size says.
VARIABLE_FIXED = 0x14
VARIABLE_HELP_CONTEXT, VARIABLE_HELP_STRING = 0x14, 0x18
FILLER = b"\x57"


def number_at(data, offset):
    return struct.unpack_from("<i", data, offset)[0]


class Piece(NamedTuple):
    """A segment or a type's members: where it stood, what it holds now, and who names its place."""

    offset: int  # in the file as it was, like the size
    size: int
    data: bytes
    segment: int  # -1: members
    type_record: int


class Strings:
    """The segment of strings; a string is stored once."""

    def __init__(self, data):
        self.data = bytearray(data)
        self.added = {}

    def add(self, text):
        if text not in self.added:
            self.added[text] = len(self.data)
            encoded = text.encode("ascii")
            entry = struct.pack("<H", len(encoded)) + encoded
            self.data += entry + FILLER * max(8 - len(entry), -len(entry) % 4)
        return self.added[text]


class TypeLibrary:
    def __init__(self, data):
        if data[:4] != SIGNATURE:
            raise SystemExit("not a compiled type library")
        self.data = data
        count = number_at(data, HEADER_TYPE_COUNT)
        offsets = HEADER_SIZE + (4 if number_at(data, HEADER_FLAGS) & FLAG_HELP_MODULE else 0)
        self.type_records = struct.unpack_from(f"<{count}i", data, offsets)
        self.table = offsets + 4 * count
        self.body = self.table + SEGMENTS * SEGMENT_ENTRY

    def segment_place(self, segment):
        return struct.unpack_from("<ii", self.data, self.table + segment * SEGMENT_ENTRY)

    def segment(self, segment):
        offset, size = self.segment_place(segment)
        return self.data[offset : offset + size] if size > 0 else b""

    def name(self, offset):
        entry = self.segment_place(NAMES)[0] + offset
        length = self.data[entry + NAME_LENGTH]
        return self.data[entry + NAME_TEXT : entry + NAME_TEXT + length].decode("ascii")

    def add_help(self, texts):
        """The library anew, the enumerators that `texts` names with their help strings."""
        strings = Strings(self.segment(STRINGS))
        left = dict(texts)
        pieces = self.members(left, strings) + self.segments(strings)
        if left:
            raise SystemExit(f"not in the type library: {', '.join(left)}")
        pieces.sort()
        self.check_complete(pieces)
        return self.lay_out(pieces)

    def members(self, texts, strings):
        pieces = []
        for record in self.type_records:
            place = self.segment_place(TYPES)[0] + record
            offset, counts = number_at(self.data, place + TYPE_MEMBERS), number_at(self.data, place + TYPE_COUNTS)
            functions, variables = counts & 0xFFFF, counts >> 16
            if functions + variables == 0:
                continue
            size = 4 + number_at(self.data, offset) + 12 * (functions + variables)
            data = self.data[offset : offset + size]
            if number_at(self.data, place + TYPE_KIND) & KIND_MASK == KIND_ENUM:
                data = self.enumeration(data, variables, texts, strings)
            pieces.append(Piece(offset, size, data, -1, record))
        return pieces

    def segments(self, strings):
        return [
            Piece(*self.segment_place(s), bytes(strings.data) if s == STRINGS else self.segment(s), s, -1)
            for s in range(SEGMENTS)
            if self.segment_place(s)[1] > 0
        ]

    def check_complete(self, pieces):
        end = self.body
        for piece in pieces:
            if piece.offset != end:
                break
            end += piece.size
        if end != len(self.data):
            raise SystemExit("the type library has parts that this tool does not know")

    def enumeration(self, members, count, texts, strings):
        """Members with help strings added; takes what it used out of `texts`."""
        tables = 4 + number_at(members, 0)
        ids, names, starts = (struct.unpack_from(f"<{count}i", members, tables + 4 * count * i) for i in range(3))
        records, new_starts = b"", []
        for name, start in zip(names, starts):
            size = number_at(members, 4 + start) & 0xFFFF
            record = members[4 + start : 4 + start + size]
            text = texts.pop(self.name(name), None)
            if text is not None:
                record = with_help(record, strings.add(text))
            new_starts.append(len(records))
            records += record
        return struct.pack(f"<i{len(records)}s{3 * count}i", len(records), records, *ids, *names, *new_starts)

    def lay_out(self, pieces):
        output = bytearray(self.data[: self.body])
        places = []
        for piece in pieces:
            places.append(len(output))
            output += piece.data
        types = next(place for place, piece in zip(places, pieces) if piece.segment == TYPES)
        for place, piece in zip(places, pieces):
            if piece.segment >= 0:
                struct.pack_into("<ii", output, self.table + piece.segment * SEGMENT_ENTRY, place, len(piece.data))
            else:
                struct.pack_into("<i", output, types + piece.type_record + TYPE_MEMBERS, place)
        return bytes(output)


def with_help(record, offset):
    if len(record) not in (VARIABLE_FIXED, VARIABLE_HELP_STRING):
        raise SystemExit("an enumerator has more attributes than this tool knows")
    longer = bytearray(record.ljust(VARIABLE_HELP_STRING + 4, b"\0"))
    struct.pack_into("<i", longer, VARIABLE_HELP_STRING, offset)
    struct.pack_into("<H", longer, 0, len(longer))
    return bytes(longer)


def main():
    source, codes, target = sys.argv[1:]
    with open(source, "rb") as file:
        library = TypeLibrary(file.read())
    result = library.add_help({code.name: code.text for code in read_result_codes(codes)})
    with open(target, "wb") as file:
        file.write(result)


main()
