"""An independent reader of the chunked data-model file, written from the format alone with
struct: a chunk is a big-endian word (tag << 8 | version) and a length that counts the
header, 4 bytes wide when the root's version is 0 and 8 bytes wide otherwise."""
import collections
import struct

ROOT, OBJECT, EXTRA, BULK = 0x574558, 0x0B0002, 0xB00BBE, 0x0A5004
CSTRING, STRING, ID = 0x010003, 0x010005, 0x010008


Chunk = collections.namedtuple("Chunk", "tag version start end body kids")
Chunk.__doc__ = "One chunk: tag, version, start and end offsets, payload offsets, children."


class WexReader:
    """A cursor over a whole file. Every length must nest inside the limit it is read
    against, or an AssertionError names the chunk."""

    def __init__(self, data):
        assert data[:3] == b"WEX", data[:4]
        self.data, self.width, self.pos = data, 8 if data[3] else 4, 0

    def header(self, limit=None):
        """Reads the header at the cursor: (tag, version, end offset of the chunk)."""
        limit = len(self.data) if limit is None else limit
        word, length = struct.unpack_from(">IQ" if self.width == 8 else ">II", self.data, self.pos)
        start = self.pos
        assert 4 + self.width <= length and start + length <= limit, (hex(word), start, length, limit)
        self.pos += 4 + self.width
        return word >> 8, word & 0xFF, start + length

    def bare(self, fmt):
        """Reads one bare value in struct format `fmt` at the cursor."""
        (value,) = struct.unpack_from(fmt, self.data, self.pos)
        self.pos += struct.calcsize(fmt)
        return value

    def string(self, limit=None):
        """Reads a 16-bit text chunk at the cursor."""
        tag, _, end = self.header(limit)
        assert tag == STRING, hex(tag)
        text = self.data[self.pos:end].decode("utf-16-be", "surrogatepass")
        self.pos = end
        return text

    def tree(self, containers, pos=0, limit=None):
        """The chunk at `pos` with its children. `containers` maps a tag to the bare bytes in
        front of and behind its children, which must tile the rest of its payload."""
        self.pos = pos
        tag, version, end = self.header(limit)
        body = (self.pos, end)
        kids = []
        if tag in containers:
            before, after = containers[tag]
            at, stop = body[0] + before, end - after
            while at < stop:
                kids.append(self.tree(containers, at, stop))
                at = kids[-1].end
            assert at == stop, "children must tile the payload"
        return Chunk(tag, version, pos, end, body, kids)

    def payload(self, chunk):
        """The payload bytes of a chunk."""
        return self.data[chunk.body[0]:chunk.body[1]]
