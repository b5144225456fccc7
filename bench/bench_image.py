"""Image work on a 4096 x 4096 x 3 image, against Pillow and numpy, same run.

halfSize against Image.reduce(2), resample to 3000 x 2000 against resize(NEAREST), the
PPM, BMP and TIFF writers against Pillow's save of the same form, and to_numpy against a
numpy copy of an array of the same size (a plain memcpy). Prints the median of several
alternating rounds in ms of the calling thread's CPU time (other processes on a shared
machine then move the figures little) and the ratio ours / peer (lower is better)."""
import os
import tempfile
import time

import numpy as np
from PIL import Image

import qorapi

W = H = 4096


def medians_ms(ours, peer, repeat=9):
    """The median CPU times in ms of `repeat` calls of each, after one call of each to warm
    up. The calls alternate, so both meet the allocator in the same state (whether freed
    memory went back to the system and has to be faulted in again)."""
    ours(), peer()
    times = ([], [])
    for _ in range(repeat):
        for fn, into in zip((ours, peer), times):
            t0 = time.thread_time()
            fn()
            into.append(time.thread_time() - t0)
    return [sorted(t)[repeat // 2] * 1e3 for t in times]


def main():
    a = np.random.default_rng(7).integers(0, 256, (H, W, 3), dtype=np.uint8)
    ours_im, pil = qorapi.QorImage.from_numpy(a), Image.fromarray(a)
    tmp = tempfile.mkdtemp(prefix="bench-image-")
    # Pillow picks its nearest pixels by its own rounding, so the two results differ in
    # places; the work per output pixel is the same.
    assert ours_im.resample(3000, 2000).size == (3000, 2000, 3)
    rows = [
        ("halfSize vs reduce(2)", lambda: ours_im.half_size(), lambda: pil.reduce(2)),
        ("resample vs resize(NEAREST)", lambda: ours_im.resample(3000, 2000),
         lambda: pil.resize((3000, 2000), Image.NEAREST)),
        ("PPM vs Pillow save", lambda: ours_im.write_ppm(os.path.join(tmp, "a.ppm")),
         lambda: pil.save(os.path.join(tmp, "b.ppm"))),
        ("BMP vs Pillow save", lambda: ours_im.write_bmp(os.path.join(tmp, "a.bmp")),
         lambda: pil.save(os.path.join(tmp, "b.bmp"))),
        ("TIFF vs Pillow save", lambda: ours_im.write_tiff(os.path.join(tmp, "a.tif")),
         lambda: pil.save(os.path.join(tmp, "b.tif"))),
        ("to_numpy vs numpy copy", ours_im.to_numpy, a.copy),
    ]
    print(f"bench_image: {W} x {H} x 3")
    for name, ours, peer in rows:
        t_ours, t_peer = medians_ms(ours, peer)
        print(f"  {name:30s} ours {t_ours:8.2f} ms  peer {t_peer:8.2f} ms  "
              f"ratio {t_ours / t_peer:5.2f}")
    for f in os.listdir(tmp):
        os.remove(os.path.join(tmp, f))
    os.rmdir(tmp)


if __name__ == "__main__":
    main()
