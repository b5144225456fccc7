"""Images from scripts: small models of the grey, drawing, fill, resampling and half-size
rules over random images, compared exactly, and real readers (Pillow, ImageMagick, netpbm,
libtiff) agreeing on the pixels of every file form the image writes itself."""

import os
import re
import subprocess

import numpy as np
import pytest
from PIL import Image

import qorapi
from qorapi import QorImage

from conftest import run_python

f32 = np.float32
rng = np.random.default_rng(7)


def rand_image(w, h, d):
    return rng.integers(0, 256, (h, w, d), dtype=np.uint8)


def model_line(out, w, h, x0, y0, x1, y1):
    """The line rule: outcode clipping, then the stepping with the error from -(d // 2)."""
    code = lambda x, y: (x < 0) | (x >= w) << 1 | (y < 0) << 2 | (y >= h) << 3  # noqa: E731
    c0, c1 = code(x0, y0), code(x1, y1)
    if c0 & c1:
        return

    def clip(x, y, c, ox, oy):
        dx, dy, t = ox - x, oy - y, 0.0
        for bit, r in ((1, lambda: -x / dx), (2, lambda: (w - 1.0 - x) / dx),
                       (4, lambda: -y / dy), (8, lambda: (h - 1.0 - y) / dy)):
            if c & bit:
                t = max(t, r())
        return int(x + t * dx + 0.5), int(y + t * dy + 0.5)

    if c0:
        x0, y0 = clip(x0, y0, c0, x1, y1)
        if code(x0, y0):
            return
    if c1:
        x1, y1 = clip(x1, y1, c1, x0, y0)
        if code(x1, y1):
            return
    dx, dy = abs(x1 - x0), abs(y1 - y0)
    if dx == dy:
        sx, sy = (1 if x1 > x0 else -1), (1 if y1 > y0 else -1)
        for k in range(dx + 1 if dx else 0):
            out.add((x0 + k * sx, y0 + k * sy))
        return
    swap = dy > dx  # step along the longer axis, from its smaller end
    if swap:
        x0, y0, x1, y1, dx, dy = y0, x0, y1, x1, dy, dx
    if x0 > x1:
        x0, y0, x1, y1 = x1, y1, x0, y0
    err, y, sy = -(dx // 2), y0, (1 if y1 > y0 else -1)
    for x in range(x0, x1 + 1):
        out.add((y, x) if swap else (x, y))
        err += dy
        if err > 0:
            y, err = y + sy, err - dx


def model_polygon(w, h, pts):
    """The fill rule: crossings at +0.999 / +1.001, windings summed left to right."""
    out = set()
    for y in range(h):
        cross = []
        for (ax, ay), (bx, by) in zip(pts, pts[1:] + pts[:1]):
            down = ay > by
            (lx, ly), (hx, hy) = ((bx, by), (ax, ay)) if down else ((ax, ay), (bx, by))
            if ly <= y < hy:
                x = lx + (hx - lx) * ((y - ly) / (hy - ly)) + (0.999 if down else 1.001)
                cross.append((int(x), 1 if down else -1))
        cross.sort(key=lambda c: c[0])  # stable: equal crossings keep their order
        for x in range(w):
            if sum(wd for cx, wd in cross if cx <= x):
                out.add((x, y))
    for a, b in zip(pts, pts[1:] + pts[:1]):
        model_line(out, w, h, *a, *b)
    return out


def test_grey_rules_and_numpy_round_trip():
    for d in (1, 2, 3, 4):
        a = rand_image(37, 300, d)  # 300 rows: several row blocks
        im = QorImage.from_numpy(a)
        assert im.size == (37, 300, d) and np.array_equal(im.to_numpy(), a)
    c = rng.random((40, 4)).astype(f32)
    g = QorImage(40, 1, 2)
    for x, col in enumerate(c):
        g.write_pixel(x, 0, tuple(col))
    grey = (f32(0.6) * c[:, 1] + f32(0.25) * c[:, 0] + f32(0.15) * c[:, 2]) * f32(255)
    assert np.array_equal(g.to_numpy()[0, :, 0], grey.astype(np.uint8))
    assert np.array_equal(g.to_numpy()[0, :, 1], (c[:, 3] * f32(255)).astype(np.uint8))
    g.fill(tuple(c[0]))
    assert g.get_bytes(5, 0)[0] == int((c[0, 0] + c[0, 1] + c[0, 2]) * f32(85))
    a = rand_image(30, 20, 4)
    im = QorImage.from_numpy(a)
    p = a.astype(np.int64)
    copy = im.grey_copy().to_numpy()[:, :, 0]
    assert np.array_equal(copy, (p[:, :, 0] + p[:, :, 1] + p[:, :, 2] + 1) // 3)
    im.to_grey()
    expect = (0.59 * p[:, :, 1] + 0.3 * p[:, :, 0] + 0.11 * p[:, :, 2]).astype(np.uint8)
    assert all(np.array_equal(im.to_numpy()[:, :, k], expect) for k in range(3))
    with pytest.raises(ValueError, match="dtype float32"):
        QorImage.from_numpy(a.astype(np.float32))
    with pytest.raises(ValueError, match=r"shape \(2, 3, 5\)"):
        QorImage.from_numpy(np.zeros((2, 3, 5), np.uint8))


def test_drawing_against_the_models():
    for _ in range(60):
        w, h = (int(v) for v in rng.integers(1, 14, 2))
        x0, x1 = (int(v) for v in rng.integers(-4, w + 4, 2))
        y0, y1 = (int(v) for v in rng.integers(-4, h + 4, 2))
        im = QorImage(w, h, 1)
        im.draw_line(x0, y0, x1, y1, (1, 1, 1, 1))
        lit = {(int(x), int(y)) for y, x in zip(*np.nonzero(im.to_numpy()[:, :, 0]))}
        expect = set()
        model_line(expect, w, h, x0, y0, x1, y1)
        assert lit == expect, (w, h, x0, y0, x1, y1)
        pts = [tuple(int(v) for v in p) for p in rng.integers(-2, 16, (int(rng.integers(3, 7)), 2))]
        im = QorImage(w, h, 3)
        im.draw_polygon(pts, (1, 0, 0), filled=True)
        lit = {(int(x), int(y)) for y, x in zip(*np.nonzero(im.to_numpy()[:, :, 0]))}
        assert lit == model_polygon(w, h, pts), (w, h, pts)


def model_half(a):
    """The box filter: 2 x 2 sums, an odd last column doubled, divided by 4 or by 2 on a
    last row of its own."""
    h, w, _ = a.shape
    p = a.astype(np.int64)
    out = np.zeros(((h + 1) // 2, (w + 1) // 2, a.shape[2]), np.int64)
    for r in range(out.shape[0]):
        rows = [y for y in (2 * r, 2 * r + 1) if y < h]
        for c in range(out.shape[1]):
            s = sum(p[y, x] for y in rows for x in (2 * c, 2 * c + 1) if x < w)
            out[r, c] = s * (2 if w % 2 and c == out.shape[1] - 1 else 1) // (2 * len(rows))
    return out


def test_resample_and_half_size_against_the_models():
    for w, h, nw, nh, d in [(2, 2, 4, 6, 3), (5, 3, 3, 7, 1), (7, 9, 7, 2, 4), (40, 31, 17, 60, 2),
                            (11, 3, 29, 4, 3), (50, 5, 19, 2, 3), (1, 2, 3, 1, 3)]:
        a = rand_image(w, h, d)
        out = QorImage.from_numpy(a).resample(nw, nh).to_numpy()
        if nw > w and nh > h and nw % w == 0 and nh % h == 0:
            cols, rows = np.arange(nw) // (nw // w), np.arange(nh) // (nh // h)
        else:
            cols, rows = (w // 2 + np.arange(nw) * w) // nw, (h // 2 + np.arange(nh) * h) // nh
        assert np.array_equal(out, a[rows][:, cols])
        assert np.array_equal(QorImage.from_numpy(a).half_size().to_numpy(), model_half(a))
    for d in (1, 2, 3, 4):  # wide rows: runs of 32 column pairs, then single pairs
        a = rand_image(int(rng.integers(129, 200)), 5, d)
        assert np.array_equal(QorImage.from_numpy(a).half_size().to_numpy(), model_half(a))
    a = rand_image(5, 3, 2)
    for op, model in (("rotate_clockwise", lambda x: np.rot90(x, -1)), ("rotate_counter_clockwise",
                      np.rot90), ("transpose", lambda x: x.transpose(1, 0, 2)),
                      ("mirror_rows", lambda x: x[:, ::-1]), ("flip_rows", lambda x: x[::-1])):
        im = QorImage.from_numpy(a)
        getattr(im, op)()
        assert np.array_equal(im.to_numpy(), model(a)), op


def magick(path):
    """Pixels as ImageMagick's txt: output gives them, grey widened to three channels."""
    text = subprocess.run(["convert", path, "txt:-"], capture_output=True, text=True, check=True)
    rows = {}
    for m in re.finditer(r"^(\d+),(\d+): \(([^)]*)\)", text.stdout, re.M):
        v = [round(float(t)) for t in m.group(3).split(",")]
        rows[int(m.group(2)), int(m.group(1))] = v[:1] * 3 + v[1:] if len(v) <= 2 else v
    h, w = max(rows)[0] + 1, max(rows)[1] + 1
    return np.array([[rows[y, x] for x in range(w)] for y in range(h)])


def pnm(data):
    """Pixels of a binary PGM or PPM."""
    m = re.match(rb"P[56]\s+(\d+)\s+(\d+)\s+\d+\s", data)
    return np.frombuffer(data[m.end():], np.uint8).reshape(int(m.group(2)), int(m.group(1)), -1)


@pytest.mark.parametrize("depth", [1, 2, 3, 4])
def test_readers_agree_on_the_written_pixels(tmp_path, depth):
    a = rand_image(5, 3, depth)
    im = QorImage.from_numpy(a)
    colour = a if depth > 2 else np.repeat(a[:, :, :1], 3, axis=2)
    full = np.concatenate([colour[:, :, :3], a[:, :, -1:]], axis=2) if depth % 2 == 0 else colour
    base = str(tmp_path / "pic")
    assert im.write_ppm(base) and im.write_bmp(base) and im.write_tiff(base) and im.write_rgb(base)
    drop = a[:, :, :1] if depth < 3 else a[:, :, :3]
    assert np.array_equal(np.asarray(Image.open(base + ".ppm")).reshape(3, 5, -1), drop)
    assert np.array_equal(np.asarray(Image.open(base + ".bmp")), colour[:, :, :3])
    assert np.array_equal(np.asarray(Image.open(base + ".tif")).reshape(3, 5, -1), a)
    if depth > 2:  # Pillow reads SGI colour images only
        assert np.array_equal(np.asarray(Image.open(base + ".rgb")), a)
    # ImageMagick reads a grey SGI image's second channel as nothing: grey alone.
    for ext, want in (("ppm", colour[:, :, :3]), ("bmp", colour[:, :, :3]), ("tif", full),
                      ("rgb", colour if depth == 2 else full)):
        assert np.array_equal(magick(f"{base}.{ext}"), want), ext
    pnmfile = subprocess.run(["pnmfile", base + ".ppm"], capture_output=True, text=True)
    assert "5 by 3" in pnmfile.stdout and pnmfile.returncode == 0
    bmp = subprocess.run(["bmptopnm", base + ".bmp"], capture_output=True, check=True)
    assert np.array_equal(pnm(bmp.stdout), colour[:, :, :3])
    sgi = subprocess.run(["sgitopnm", base + ".rgb"], capture_output=True, check=True)
    assert np.array_equal(pnm(sgi.stdout), drop)
    info = subprocess.run(["tiffinfo", base + ".tif"], capture_output=True, text=True)
    assert info.returncode == 0 and "arning" not in info.stderr + info.stdout
    assert ("Extra Samples: 1<unassoc-alpha>" in info.stdout) == (depth % 2 == 0)


def test_stored_forms_and_refusals(tmp_path):
    im = QorImage.from_numpy(rand_image(4, 3, 3))
    stored = im.to_stored()
    assert QorImage.from_stored(stored) == im
    assert QorImage.from_stored(stored[:-1]) is None
    assert not QorImage(0, 0, 0).write_bmp(str(tmp_path / "empty.bmp"))
    assert not QorImage(1, 70000, 1).write_tiff(str(tmp_path / "tall.tif"))
    assert sorted(p.name for p in tmp_path.iterdir()) == []
    assert "70000" in qorapi.host.log_lines()[-1][1]
    assert im.crop(1, 1, 5, 2) is None and im.crop(1, 1, 3, 3).size == (2, 2, 3)


def test_depth_image_example(tmp_path):
    repo = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    models = next((m for m in (os.path.join(p, "shared", "data", "models") for p in
                               (os.path.dirname(repo), os.path.dirname(os.path.dirname(repo))))
                   if os.path.isdir(m)), None)
    if models is None:
        pytest.skip("the shared models are not on this machine")
    r = run_python(args=["-m", "qorapi.run", os.path.join(repo, "examples", "depth_image.py"),
                         models, str(tmp_path)])
    assert r.returncode == 0 and "halved (256, 256, 1)" in r.stdout, r
    half = np.asarray(Image.open(tmp_path / "bunny-depth.tif"))
    assert half.shape == (256, 256) and np.array_equal(half, np.asarray(Image.open(
        tmp_path / "bunny-depth.bmp").convert("L"))) and 2000 < np.count_nonzero(half) < 60000


def test_save_load_and_packing_through_the_host(tmp_path):
    for d in (1, 2, 3, 4):
        a = rand_image(7, 5, d)
        im, packed, back = QorImage.from_numpy(a), QorImage.from_numpy(a), QorImage()
        assert im.save(tmp_path / "p.png", "PNG") and back.load(tmp_path / "p.png")
        assert packed.compress() and packed.is_compressed and back == im
        form2 = packed.to_stored()  # forms 1 and 2 read back; form 2 stays packed
        assert QorImage.from_stored(form2).is_compressed and packed.is_compressed
        form1 = im.to_stored(compress=True)
        assert QorImage.from_stored(form2) == QorImage.from_stored(form1) == im
        assert packed.decompress() and not packed.is_compressed
        assert np.array_equal(packed.to_numpy(), a)
    key, a = "General/Texture Image Format", a[..., :3]
    im = QorImage.from_numpy(a)
    old = qorapi.host.settings_get(key)
    try:  # (format, setting, the path given, the file that must appear); 1 is JPEG: no codec
        for fmt, setting, given, name in (
                ("BMP", 2, "b.bmp", "b.bmp"), ("TIFF", 2, "c", "c.tif"),
                ("DEFAULT", 0, "d.x", "d.bmp"), ("DEFAULT", 2, "e.x", "e.png"),
                ("DEFAULT", 3, "f.x", "f.tif"), ("DEFAULT", 1, "g.x", None)):
            qorapi.host.settings_set_int(key, setting)
            assert im.save(tmp_path / given, fmt) == bool(name), (fmt, setting)
            assert not name or np.array_equal(np.asarray(Image.open(tmp_path / name)), a)
    finally:
        qorapi.host.settings_set_int(key, old)


def model_sample(a, x, y, clamp_x, clamp_y):
    """The bilinear sample: centres at .5, a blend towards the nearer neighbour by |f - 0.5|,
    held at the edges when clamped, else wrapped round."""
    h, w, d = a.shape

    def blend(get, v, size, clamp):
        i = int(v)
        i, f = ((0, 0.0) if clamp and v < 0 else (size - 1, 1.0) if clamp and i >= size
                else (i % size, v - i))
        p, n = get(i), (i + 1 if f > 0.5 else i - 1)
        if f == 0.5 or (clamp and not 0 <= n < size):
            return p
        return [u + (q - u) * abs(f - 0.5) for u, q in zip(p, get(n % size))]

    def px(c, r):
        p = [float(v) for v in a[r, c]]
        return (p[:1] * 3 if d < 3 else p[:3]) + ([p[-1]] if d % 2 == 0 else [255.0])
    return blend(lambda r: blend(lambda c: px(c, r), x, w, clamp_x), y, h, clamp_y)


def test_sample_against_the_model():
    for _ in range(400):
        w, h, d = (int(v) for v in rng.integers(1, [6, 6, 5]))
        a, cx, cy = rand_image(w, h, d), *(bool(v) for v in rng.integers(0, 2, 2))
        x, y = (float(rng.choice([rng.uniform(-2 * s, 3 * s), int(rng.integers(-s, 2 * s)) + 0.5,
                                  float(rng.integers(-s, 2 * s))])) for s in (w, h))
        got = list(QorImage.from_numpy(a).sample(x, y, cx, cy))
        assert got == model_sample(a, x, y, cx, cy), (a.tolist(), x, y, cx, cy)
