"""Files made by the system's data-model writer, walked by an independent chunk reader
written here with struct: every length must nest inside its parent, children must tile
their parent's payload, and the values must decode to what was written."""
import struct
import uuid

import pytest

import qorapi

ROOT, OBJECT, EXTRA, BULK = 0x574558, 0x0B0002, 0xB00BBE, 0x0A5004
CSTRING, STRING, ID = 0x010003, 0x010005, 0x010008
# Bare bytes in front of and behind the children of each container kind in the sample.
CONTAINERS = {ROOT: (0, 1), OBJECT: (16 + 4, 0), EXTRA: (0, 0)}
SAMPLE_ID = uuid.UUID("6b29fc40-ca47-1067-b31d-00dd010662da")


class Chunk:
    def __init__(self, tag, version, start, end, body, kids):
        self.tag, self.version, self.start, self.end = tag, version, start, end
        self.body, self.kids = body, kids


def walk(data):
    """The root chunk of `data`, with its tree. Width from the root's version byte."""
    assert data[:3] == b"WEX", data[:4]
    width = 8 if data[3] else 4
    header = 4 + width
    length_format = ">Q" if width == 8 else ">I"

    def chunk_at(pos, limit):
        (word,) = struct.unpack_from(">I", data, pos)
        (length,) = struct.unpack_from(length_format, data, pos + 4)
        end = pos + length
        assert header <= length and end <= limit, (hex(word), pos, length, limit)
        tag, version = word >> 8, word & 0xFF
        body = (pos + header, end)
        kids = []
        if tag in CONTAINERS:
            before, after = CONTAINERS[tag]
            at, stop = body[0] + before, end - after
            while at < stop:
                kid = chunk_at(at, stop)
                kids.append(kid)
                at = kid.end
            assert at == stop, "children must tile the payload"
        return Chunk(tag, version, pos, end, body, kids)

    root = chunk_at(0, len(data))
    assert root.end == len(data)
    return root, width


def payload(data, c):
    return data[c.body[0]:c.body[1]]


@pytest.mark.parametrize("generation,width", [(0, 8), (5, 4)])
def test_writer_output_nests_and_decodes(tmp_path, generation, width):
    path = tmp_path / "sample.wex"
    assert qorapi._qorapi.write_sample_document(str(path), generation)
    data = path.read_bytes()
    root, found_width = walk(data)
    assert found_width == width
    assert root.version == (1 if width == 8 else 0)
    assert data[-1:] == b"\x00"  # the bare byte behind the object

    name, obj = root.kids
    assert (name.tag, name.version) == (STRING, 0)
    assert payload(data, name).decode("utf-16-be") == "sample"
    assert (obj.tag, obj.version) == (OBJECT, 5)
    body = payload(data, obj)
    assert uuid.UUID(bytes=body[:16]) == SAMPLE_ID
    assert struct.unpack(">i", body[16:20]) == (3,)

    kinds = [k.tag for k in obj.kids]
    assert kinds == [STRING, EXTRA] * 3 + [BULK]
    for key, extra in zip(obj.kids[0:6:2], obj.kids[1:6:2]):
        assert payload(data, key).decode("utf-16-be") == "key"
        assert extra.version == 2
        text, ident = extra.kids
        assert (text.tag, payload(data, text)) == (CSTRING, b"value")
        assert ident.tag == ID and payload(data, ident) == SAMPLE_ID.bytes
        assert ident.end - ident.start == 4 + width + 16
    bulk = obj.kids[-1]
    assert payload(data, bulk) == struct.pack(">400d", *([0.5] * 400))
    assert bulk.end - bulk.start > 1024, "longer than the stream's buffer"


def test_walker_rejects_a_length_that_does_not_nest(tmp_path):
    path = tmp_path / "sample.wex"
    assert qorapi._qorapi.write_sample_document(str(path), 0)
    data = bytearray(path.read_bytes())
    root, _ = walk(bytes(data))
    obj = root.kids[1]
    # Grow the object's first child by one byte: it now overlaps its sibling.
    first = obj.kids[0]
    (length,) = struct.unpack_from(">Q", data, first.start + 4)
    struct.pack_into(">Q", data, first.start + 4, length + 1)
    with pytest.raises(AssertionError):
        walk(bytes(data))
