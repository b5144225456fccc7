/* The native levers of raster images: an image lives in a capsule that owns it; pixels
   cross in bulk through any C-contiguous buffer of bytes, one block copy per row block. */
#pragma once
#include <Python.h>

/* A new image of width x height pixels of `depth` channels, all bytes 0. */
PyObject* image_new(int width, int height, int depth);
/* (width, height, depth, packed). */
PyObject* image_info(PyObject* image);
/* Copies every pixel into `out`, a writable C-contiguous buffer of height * width * depth
   bytes, row after row. */
PyObject* image_copy_out(PyObject* image, PyObject* out);
/* Makes the image width x height x depth and fills it from `pixels`, a C-contiguous buffer
   of exactly that many bytes. */
PyObject* image_copy_in(PyObject* image, PyObject* pixels, int width, int height, int depth);
/* The bytes of one pixel, or None outside the image. */
PyObject* image_get_bytes(PyObject* image, int x, int y);
/* Writes one pixel's bytes; whether (x, y) lies inside. */
PyObject* image_set_bytes(PyObject* image, int x, int y, PyObject* pixel);
/* The pixel as four floats (writePixel's reverse), or None outside. */
PyObject* image_read_pixel(PyObject* image, int x, int y);
/* Writes a colour of four floats by the checked pixel rule; whether (x, y) lies inside. */
PyObject* image_write_pixel(PyObject* image, int x, int y, PyObject* rgba);
/* Drawing: `what` is "line" (x0, y0, x1, y1), "rect" (x0, y0, x1, y1), "border"
   (thickness) or "polygon" (x, y pairs); colours are 4-tuples of floats. */
PyObject* image_draw(PyObject* image, const char* what, PyObject* ints, PyObject* color,
                     bool filled, bool grow, PyObject* background);
/* Fills every pixel with the colour by the fill rule. */
PyObject* image_fill(PyObject* image, PyObject* color);
/* One-image operations that answer nothing: "grey", "invert", "mirror", "flip",
   "transpose", "cw", "ccw", "clear". */
PyObject* image_apply(PyObject* image, const char* what);
PyObject* image_set_alpha(PyObject* image, double value);
PyObject* image_set_depth(PyObject* image, int depth);
/* New images as capsules: resampled, halved, cropped (None when the corners leave the
   image), the grey copy. */
PyObject* image_resample(PyObject* image, int width, int height);
PyObject* image_half(PyObject* image);
PyObject* image_crop(PyObject* image, int x0, int y0, int x1, int y1);
PyObject* image_grey_copy(PyObject* image);
/* Copies `source` onto the image at (x, y); see QorImage.blit. */
PyObject* image_blit(PyObject* image, PyObject* source, int x, int y, bool grow,
                     PyObject* background);
/* The bilinear sample: four doubles in the byte scale. */
PyObject* image_sample(PyObject* image, double x, double y, bool clampX, bool clampY);
/* A file form the image writes itself: "ppm", "bmp", "bmp-top", "tif", "rgb". */
PyObject* image_write(PyObject* image, const char* form, PyObject* path);
/* Through the host's image writer; format may be None. */
PyObject* image_save(PyObject* image, PyObject* path, PyObject* format, int quality);
PyObject* image_load(PyObject* image, PyObject* path);
PyObject* image_compress(PyObject* image, bool pack);
PyObject* image_equal(PyObject* a, PyObject* b);
/* The stored form on a fresh memory stream of `version`, as bytes; None when the image
   refused (form 1 without the host's writer). */
PyObject* image_stored(PyObject* image, int version, bool compress);
/* A new image read from its stored form; None when the bytes are refused. */
PyObject* image_from_stored(PyObject* data);
