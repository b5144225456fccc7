"""Raster images: 8 bits per channel, one to four channels (grey; grey and alpha; red, green,
blue; red, green, blue and alpha), held natively in row blocks of at most 24 KiB. Images are
exchanged with numpy as (height, width, depth) uint8 arrays in one copy per row block.

Colours are (red, green, blue, alpha) floats from 0 to 1; a 3-tuple means alpha 1."""

import numpy as _np

from . import _qorapi

__all__ = ["QorImage"]

_BLACK = (0.0, 0.0, 0.0, 1.0)


def _color(c):
    """A colour as the 4-tuple of floats the native side takes."""
    c = tuple(float(v) for v in c)
    if len(c) == 3:
        c += (1.0,)
    if len(c) != 4:
        raise ValueError(f"a colour has 3 or 4 components, got {len(c)}: {c}")
    return c


class QorImage:
    """A raster image of ``width`` x ``height`` pixels with ``depth`` channels (0 to 4).

    A new image is all zero bytes; any size of 0 gives an empty image (all sizes 0)."""

    def __init__(self, width=0, height=0, depth=3):
        """An image of the given size, every byte 0."""
        self._ref = _qorapi.image_new(int(width), int(height), int(depth))

    @classmethod
    def _wrap(cls, ref):
        if ref is None:
            return None
        image = cls.__new__(cls)
        image._ref = ref
        return image

    # ---- size and pixels ----

    @property
    def width(self):
        """Pixels per row."""
        return _qorapi.image_info(self._ref)[0]

    @property
    def height(self):
        """Rows."""
        return _qorapi.image_info(self._ref)[1]

    @property
    def depth(self):
        """Channels per pixel."""
        return _qorapi.image_info(self._ref)[2]

    @property
    def size(self):
        """(width, height, depth)."""
        return _qorapi.image_info(self._ref)[:3]

    @property
    def is_compressed(self):
        """Whether the image holds only its packed form (see compress)."""
        return _qorapi.image_info(self._ref)[3]

    def to_numpy(self):
        """A new (height, width, depth) uint8 array holding a copy of the pixels."""
        w, h, d = self.size
        out = _np.empty((h, w, d), dtype=_np.uint8)
        _qorapi.image_copy_out(self._ref, out)
        return out

    @classmethod
    def from_numpy(cls, a):
        """A new image from a uint8 array of shape (height, width, depth), depth 1 to 4, or
        (height, width) for grey, copied in one piece per row block (a strided view is
        made contiguous first). ValueError names a wrong dtype or shape."""
        if not isinstance(a, _np.ndarray):
            raise ValueError(f"expected a numpy uint8 array, got {type(a).__name__}")
        if a.dtype != _np.uint8:
            raise ValueError(f"expected dtype uint8 for an image array, got dtype {a.dtype}")
        if a.ndim == 2:
            a = a[:, :, None]
        if a.ndim != 3 or not 1 <= a.shape[2] <= 4:
            raise ValueError("expected shape (height, width, depth) with depth 1 to 4, "
                             f"got shape {a.shape}")
        image = cls(0, 0, 0)
        h, w, d = a.shape
        _qorapi.image_copy_in(image._ref, _np.ascontiguousarray(a), w, h, d)
        return image

    def get_bytes(self, x, y):
        """The pixel's bytes, or None outside the image."""
        return _qorapi.image_get_bytes(self._ref, x, y)

    def set_bytes(self, x, y, pixel):
        """Writes ``depth`` bytes at (x, y); False outside the image."""
        return _qorapi.image_set_bytes(self._ref, x, y, bytes(pixel))

    def read_pixel(self, x, y):
        """The pixel as (r, g, b, a) floats (grey repeated, alpha 1 where there is none), or
        None outside the image."""
        return _qorapi.image_read_pixel(self._ref, x, y)

    def write_pixel(self, x, y, color):
        """Writes a colour: each channel * 255 truncated; grey is (0.6 g + 0.25 r + 0.15 b)
        * 255 in single precision. False outside the image."""
        return _qorapi.image_write_pixel(self._ref, x, y, _color(color))

    def __eq__(self, other):
        """Same size and the same bytes; an image without rows equals only itself."""
        if not isinstance(other, QorImage):
            return NotImplemented
        return _qorapi.image_equal(self._ref, other._ref)

    __hash__ = None

    def __repr__(self):
        w, h, d = self.size
        return f"QorImage({w}, {h}, {d})"

    # ---- drawing ----

    def fill(self, color):
        """Every pixel takes the colour: channels * 255, grey (r + g + b) * 85."""
        _qorapi.image_fill(self._ref, _color(color))

    def draw_line(self, x0, y0, x1, y1, color, grow=False, background=_BLACK):
        """A line, both ends included, clipped to the image; equal ends draw nothing. With
        ``grow`` the image first extends (filled with ``background``) to hold both ends."""
        _qorapi.image_draw(self._ref, "line", (x0, y0, x1, y1), _color(color), False,
                           bool(grow), _color(background))

    def draw_rectangle(self, x0, y0, x1, y1, color, filled=False, grow=False,
                       background=_BLACK):
        """The rectangle with corners (x0, y0) and (x1, y1) inclusive, clipped to the image;
        ``filled`` writes each channel as value * 255 (a grey image takes r * 255)."""
        _qorapi.image_draw(self._ref, "rect", (x0, y0, x1, y1), _color(color), bool(filled),
                           bool(grow), _color(background))

    def draw_border(self, thickness, color):
        """A frame ``thickness`` pixels wide along the edges."""
        _qorapi.image_draw(self._ref, "border", (thickness,), _color(color), False, False,
                           _BLACK)

    def draw_polygon(self, points, color, filled=False, grow=False, background=_BLACK):
        """The closed polygon through ``points`` ((x, y) pairs); ``filled`` fills it by its
        winding, row by row, then the outline is drawn."""
        flat = [int(v) for p in points for v in p]
        _qorapi.image_draw(self._ref, "polygon", flat, _color(color), bool(filled),
                           bool(grow), _color(background))

    def blit(self, source, x, y, grow=False, background=_BLACK):
        """Copies ``source`` (converted to this depth) with its top-left pixel at (x, y); what
        falls beyond the image is cut unless ``grow``. A negative place copies nothing."""
        _qorapi.image_blit(self._ref, source._ref, x, y, bool(grow), _color(background))

    # ---- whole-image operations ----

    def clear(self):
        """Every byte becomes 0."""
        _qorapi.image_apply(self._ref, "clear")

    def to_grey(self):
        """In place, for depth 3 and 4: red, green and blue become 0.59 g + 0.3 r + 0.11 b."""
        _qorapi.image_apply(self._ref, "grey")

    def invert(self):
        """The first min(depth, 3) channels become 255 minus themselves."""
        _qorapi.image_apply(self._ref, "invert")

    def mirror_rows(self):
        """Reverses the pixels of each row."""
        _qorapi.image_apply(self._ref, "mirror")

    def flip_rows(self):
        """Reverses the order of the rows."""
        _qorapi.image_apply(self._ref, "flip")

    def transpose(self):
        """Pixel (x, y) moves to (y, x)."""
        _qorapi.image_apply(self._ref, "transpose")

    def rotate_clockwise(self):
        """A quarter turn clockwise."""
        _qorapi.image_apply(self._ref, "cw")

    def rotate_counter_clockwise(self):
        """A quarter turn counter-clockwise."""
        _qorapi.image_apply(self._ref, "ccw")

    def set_alpha(self, value):
        """Alpha becomes value * 255; a grey or colour image without alpha gains it unless
        the value is 1."""
        _qorapi.image_set_alpha(self._ref, float(value))

    def set_depth(self, depth):
        """Converts to ``depth`` channels (missing ones 0, alpha 255 from colour)."""
        _qorapi.image_set_depth(self._ref, int(depth))

    def resample(self, width, height):
        """A new image of the given size by nearest source pixel (index tables; exact
        multiples replicate)."""
        return QorImage._wrap(_qorapi.image_resample(self._ref, int(width), int(height)))

    def half_size(self):
        """A new image of half the size by a 2 x 2 box filter (rounded up sizes)."""
        return QorImage._wrap(_qorapi.image_half(self._ref))

    def crop(self, x0, y0, x1, y1):
        """A new image of the pixels from (x0, y0) up to but excluding (x1, y1), or None
        when that rectangle leaves the image."""
        return QorImage._wrap(_qorapi.image_crop(self._ref, x0, y0, x1, y1))

    def grey_copy(self):
        """A new one-channel image: (r + g + b + 1) // 3 for colour."""
        return QorImage._wrap(_qorapi.image_grey_copy(self._ref))

    def sample(self, x, y, clamp_x=True, clamp_y=True):
        """The bilinear sample at (x, y), pixel centres at .5, as four floats from 0 to 255;
        without clamping the image repeats."""
        return _qorapi.image_sample(self._ref, float(x), float(y), bool(clamp_x),
                                    bool(clamp_y))

    # ---- files ----

    def write_ppm(self, path):
        """Writes P5 (grey) or P6 (colour); alpha is dropped. "ppm" is added to a path
        without extension. False when nothing could be written."""
        return _qorapi.image_write(self._ref, "ppm", str(path))

    def write_bmp(self, path, first_row_first=False):
        """Writes a 24-bit BMP, the last row first unless ``first_row_first``."""
        return _qorapi.image_write(self._ref, "bmp-top" if first_row_first else "bmp",
                                   str(path))

    def write_tiff(self, path):
        """Writes a little-endian, uncompressed TIFF ("tif"); heights above 65535 are
        refused."""
        return _qorapi.image_write(self._ref, "tif", str(path))

    def write_rgb(self, path):
        """Writes an SGI image ("rgb"); sizes above 65535 are refused."""
        return _qorapi.image_write(self._ref, "rgb", str(path))

    def save(self, path, format="DEFAULT", quality=100):
        """Writes through the host's image writer: "PNG", "BMP", "TIFF", "JPEG" as the host
        has them; "DEFAULT" follows the host setting "General/Texture Image Format"; None
        takes the path's extension. False without a writer."""
        return _qorapi.image_save(self._ref, str(path), format, int(quality))

    def load(self, path):
        """Reads a file through the host's image writer; False if it cannot."""
        return _qorapi.image_load(self._ref, str(path))

    def compress(self):
        """Packs the image through the host; False without the host's packer."""
        return _qorapi.image_compress(self._ref, True)

    def decompress(self):
        """Unpacks a packed image; False if it is not packed or the host cannot."""
        return _qorapi.image_compress(self._ref, False)

    def to_stored(self, version=0, compress=False):
        """The stored form (chunk 0x0A5004) on a fresh stream of ``version``; with
        ``compress`` the host writer's PNG form. None when the image cannot be stored."""
        return _qorapi.image_stored(self._ref, int(version), bool(compress))

    @classmethod
    def from_stored(cls, data):
        """An image read from its stored form, or None when the bytes are refused."""
        return cls._wrap(_qorapi.image_from_stored(bytes(data)))
