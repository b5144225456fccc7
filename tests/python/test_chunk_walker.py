"""Files made by the system's data-model writer, walked by the independent reader: every
length must nest inside its parent, children must tile their parent's payload, and the
values must decode to what was written."""
import struct
import uuid

import pytest

import qorapi
from wexreader import BULK, CSTRING, EXTRA, ID, OBJECT, ROOT, STRING, WexReader

# Bare bytes in front of and behind the children of each container kind in the sample.
CONTAINERS = {ROOT: (0, 1), OBJECT: (16 + 4, 0), EXTRA: (0, 0)}
SAMPLE_ID = uuid.UUID("6b29fc40-ca47-1067-b31d-00dd010662da").bytes


def sample(tmp_path, generation):
    """The bytes of the writer's sample document for a stream of `generation`."""
    path = tmp_path / "sample.wex"
    assert qorapi._qorapi.write_sample_document(str(path), generation)
    return path.read_bytes()


@pytest.mark.parametrize("generation,width", [(0, 8), (5, 4)])
def test_writer_output_nests_and_decodes(tmp_path, generation, width):
    data = sample(tmp_path, generation)
    r = WexReader(data)
    root = r.tree(CONTAINERS)
    assert r.width == width and root.end == len(data)
    assert root.version == (1 if width == 8 else 0)
    assert data[-1:] == b"\x00"  # the bare byte behind the object

    # Each chunk's own bytes are pinned by the writer's golden-byte tests; here the whole
    # nests: a name and an object of three keyed extras (a text and an id) and a bulk chunk.
    name, obj = root.kids
    assert [(k.tag, k.version) for k in root.kids] == [(STRING, 0), (OBJECT, 5)]
    assert r.payload(name).decode("utf-16-be") == "sample" and r.payload(obj)[:16] == SAMPLE_ID
    assert [k.tag for k in obj.kids] == [STRING, EXTRA] * 3 + [BULK]
    assert all([k.tag for k in extra.kids] == [CSTRING, ID] for extra in obj.kids[1:6:2])
    bulk = obj.kids[-1]
    assert r.payload(bulk) == struct.pack(">400d", *([0.5] * 400))
    assert bulk.end - bulk.start > 1024, "longer than the stream's buffer"


def test_reader_rejects_a_length_that_does_not_nest(tmp_path):
    data = bytearray(sample(tmp_path, 0))
    first = WexReader(bytes(data)).tree(CONTAINERS).kids[1].kids[0]
    # Grow the object's first child by one byte: it now overlaps its sibling.
    (length,) = struct.unpack_from(">Q", data, first.start + 4)
    struct.pack_into(">Q", data, first.start + 4, length + 1)
    with pytest.raises(AssertionError):
        WexReader(bytes(data)).tree(CONTAINERS)
