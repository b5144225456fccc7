#include "python/qorapi/imagelevers.h"

#include <cstring>
#include <string>
#include <vector>

#include "bulk/qorimage.h"
#include "persistence/memstream.h"

namespace {

constexpr const char* kCapsule = "qorapi.QorImage";

void destroy(PyObject* capsule) {
  delete static_cast<QorImage*>(PyCapsule_GetPointer(capsule, kCapsule));
}

QorImage* imageOf(PyObject* capsule) {
  return static_cast<QorImage*>(PyCapsule_GetPointer(capsule, kCapsule));
}

PyObject* wrap(QorImage* image) {
  if (!image) Py_RETURN_NONE;
  return PyCapsule_New(image, kCapsule, destroy);
}

// A C-contiguous byte buffer of exactly `want` bytes; false with an error set.
bool bytesView(PyObject* obj, Py_buffer* view, bool writable, Py_ssize_t want) {
  if (PyObject_GetBuffer(obj, view, PyBUF_C_CONTIGUOUS | (writable ? PyBUF_WRITABLE : 0)) != 0)
    return false;
  if (view->len != want) {
    PyErr_Format(PyExc_ValueError, "expected %zd bytes of pixels, got %zd", want, view->len);
    PyBuffer_Release(view);
    return false;
  }
  return true;
}

bool colorOf(PyObject* obj, QorColor* c) {
  return PyArg_ParseTuple(obj, "ffff", &c->red, &c->green, &c->blue, &c->alpha) != 0;
}

bool pathOf(PyObject* obj, QorString* out) {
  const char* s = PyUnicode_AsUTF8(obj);
  if (!s) return false;
  *out = QorString::fromUtf8(s);
  return true;
}

PyObject* answer(bool ok) {
  return PyBool_FromLong(ok);
}

}  // namespace

PyObject* image_new(int width, int height, int depth) {
  if (width < 0 || height < 0 || depth < 0 || depth > 4) {
    PyErr_Format(PyExc_ValueError,
                 "image size %d x %d x %d: sizes must not be negative and "
                 "depth must be 0 to 4",
                 width, height, depth);
    return nullptr;
  }
  return wrap(new QorImage(width, height, depth));
}

PyObject* image_info(PyObject* image) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  return Py_BuildValue("(iiiO)", im->width(), im->height(), im->depth(),
                       im->isCompressed() ? Py_True : Py_False);
}

PyObject* image_copy_out(PyObject* image, PyObject* out) {
  QorImage* im = imageOf(image);
  Py_buffer view;
  if (!im || !im->unpack() || !bytesView(out, &view, true, Py_ssize_t(im->byteSize())))
    return nullptr;
  auto* dst = static_cast<uint8_t*>(view.buf);
  uint8_t* data = nullptr;
  int32_t first = 0, rows = 0;
  for (int32_t b = 0; im->blockInfo(b, &data, &first, &rows); ++b)
    std::memcpy(dst + int64_t(first) * im->rowBytes(), data, size_t(rows) * im->rowBytes());
  PyBuffer_Release(&view);
  Py_RETURN_NONE;
}

PyObject* image_copy_in(PyObject* image, PyObject* pixels, int width, int height, int depth) {
  QorImage* im = imageOf(image);
  Py_buffer view;
  if (width < 0 || height < 0 || depth < 0 || depth > 4) {
    PyErr_Format(PyExc_ValueError,
                 "image size %d x %d x %d: sizes must not be negative and "
                 "depth must be 0 to 4",
                 width, height, depth);
    return nullptr;
  }
  if (!im || !bytesView(pixels, &view, false, Py_ssize_t(width) * height * depth)) return nullptr;
  im->create(width, height, depth);
  const auto* src = static_cast<const uint8_t*>(view.buf);
  uint8_t* data = nullptr;
  int32_t first = 0, rows = 0;
  for (int32_t b = 0; im->blockInfo(b, &data, &first, &rows); ++b)
    std::memcpy(data, src + int64_t(first) * im->rowBytes(), size_t(rows) * im->rowBytes());
  PyBuffer_Release(&view);
  Py_RETURN_NONE;
}

PyObject* image_get_bytes(PyObject* image, int x, int y) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  uint8_t px[4];
  if (!im->readBytes(px, x, y)) Py_RETURN_NONE;
  return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(px), im->depth());
}

PyObject* image_set_bytes(PyObject* image, int x, int y, PyObject* pixel) {
  QorImage* im = imageOf(image);
  Py_buffer view;
  if (!im || !bytesView(pixel, &view, false, im->depth())) return nullptr;
  const bool ok = im->writeBytes(x, y, static_cast<const uint8_t*>(view.buf));
  PyBuffer_Release(&view);
  return answer(ok);
}

PyObject* image_read_pixel(PyObject* image, int x, int y) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  float c[4];
  if (!im->readPixel(c, x, y)) Py_RETURN_NONE;
  return Py_BuildValue("(ffff)", c[0], c[1], c[2], c[3]);
}

PyObject* image_write_pixel(PyObject* image, int x, int y, PyObject* rgba) {
  QorImage* im = imageOf(image);
  QorColor c;
  if (!im || !colorOf(rgba, &c)) return nullptr;
  const float v[4] = {c.red, c.green, c.blue, c.alpha};
  return answer(im->writePixel(x, y, v));
}

PyObject* image_draw(PyObject* image, const char* what, PyObject* ints, PyObject* color,
                     bool filled, bool grow, PyObject* background) {
  QorImage* im = imageOf(image);
  QorColor c, bg;
  if (!im || !colorOf(color, &c) || !colorOf(background, &bg)) return nullptr;
  PyObject* seq = PySequence_Fast(ints, "expected a sequence of integers");
  if (!seq) return nullptr;
  std::vector<int32_t> v;
  for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(seq); ++i) {
    const long n = PyLong_AsLong(PySequence_Fast_GET_ITEM(seq, i));
    if (n == -1 && PyErr_Occurred()) {
      Py_DECREF(seq);
      return nullptr;
    }
    v.push_back(int32_t(n));
  }
  Py_DECREF(seq);
  const std::string w(what);
  const size_t need = w == "border" ? 1 : w == "polygon" ? v.size() - v.size() % 2 : 4;
  if (v.size() != need || (w != "line" && w != "rect" && w != "border" && w != "polygon")) {
    PyErr_Format(PyExc_ValueError, "drawing '%s' got %zd coordinates", what, v.size());
    return nullptr;
  }
  if (w == "line") im->drawLine(v[0], v[1], v[2], v[3], c, grow, bg);
  if (w == "rect") im->drawRectangle(v[0], v[1], v[2], v[3], c, filled, grow, bg);
  if (w == "border") im->drawBorder(v[0], c);
  if (w == "polygon") im->drawPolygon(v.data(), int32_t(v.size() / 2), c, filled, grow, bg);
  Py_RETURN_NONE;
}

PyObject* image_fill(PyObject* image, PyObject* color) {
  QorImage* im = imageOf(image);
  QorColor c;
  if (!im || !colorOf(color, &c)) return nullptr;
  im->fill(c);
  Py_RETURN_NONE;
}

PyObject* image_apply(PyObject* image, const char* what) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  const std::string w(what);
  if (w == "grey")
    im->toGrey();
  else if (w == "invert")
    im->invert();
  else if (w == "mirror")
    im->mirrorRows();
  else if (w == "flip")
    im->flipRows();
  else if (w == "transpose")
    im->transpose();
  else if (w == "cw")
    im->rotateClockwise();
  else if (w == "ccw")
    im->rotateCounterClockwise();
  else if (w == "clear")
    im->clear();
  else {
    PyErr_Format(PyExc_ValueError, "unknown image operation '%s'", what);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject* image_set_alpha(PyObject* image, double value) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  im->setAlpha(value);
  Py_RETURN_NONE;
}

PyObject* image_set_depth(PyObject* image, int depth) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  if (depth < 0 || depth > 4) {
    PyErr_Format(PyExc_ValueError, "depth must be 0 to 4, got %d", depth);
    return nullptr;
  }
  im->setDepth(depth);
  Py_RETURN_NONE;
}

PyObject* image_resample(PyObject* image, int width, int height) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  if (width < 0 || height < 0 || (im->byteSize() == 0 && int64_t(width) * height != 0)) {
    PyErr_Format(PyExc_ValueError, "cannot resample a %d x %d image to %d x %d", im->width(),
                 im->height(), width, height);
    return nullptr;
  }
  return wrap(im->resized(width, height));
}

PyObject* image_half(PyObject* image) {
  QorImage* im = imageOf(image);
  return im ? wrap(im->halfSizeImage()) : nullptr;
}

PyObject* image_crop(PyObject* image, int x0, int y0, int x1, int y1) {
  QorImage* im = imageOf(image);
  return im ? wrap(im->crop(x0, y0, x1, y1)) : nullptr;
}

PyObject* image_grey_copy(PyObject* image) {
  QorImage* im = imageOf(image);
  return im ? wrap(im->greyCopy()) : nullptr;
}

PyObject* image_blit(PyObject* image, PyObject* source, int x, int y, bool grow,
                     PyObject* background) {
  QorImage* im = imageOf(image);
  QorImage* src = im ? imageOf(source) : nullptr;
  QorColor bg;
  if (!src || !colorOf(background, &bg)) return nullptr;
  im->blit(*src, x, y, grow, bg);
  Py_RETURN_NONE;
}

PyObject* image_sample(PyObject* image, double x, double y, bool clampX, bool clampY) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  double c[4];
  im->sample(x, y, clampX, clampY, c);
  return Py_BuildValue("(dddd)", c[0], c[1], c[2], c[3]);
}

PyObject* image_write(PyObject* image, const char* form, PyObject* path) {
  QorImage* im = imageOf(image);
  QorString p;
  if (!im || !pathOf(path, &p)) return nullptr;
  const std::string f(form);
  bool ok = false;
  Py_BEGIN_ALLOW_THREADS if (f == "ppm") ok = im->writePpm(p);
  else if (f == "bmp" || f == "bmp-top") ok = im->writeBmp(p, f == "bmp-top");
  else if (f == "tif") ok = im->writeTiff(p);
  else if (f == "rgb") ok = im->writeRgb(p);
  Py_END_ALLOW_THREADS return answer(ok);
}

PyObject* image_save(PyObject* image, PyObject* path, PyObject* format, int quality) {
  QorImage* im = imageOf(image);
  QorString p;
  if (!im || !pathOf(path, &p)) return nullptr;
  const char* f = format == Py_None ? nullptr : PyUnicode_AsUTF8(format);
  if (format != Py_None && !f) return nullptr;
  return answer(im->save(p, f, 0, quality));
}

PyObject* image_load(PyObject* image, PyObject* path) {
  QorImage* im = imageOf(image);
  QorString p;
  if (!im || !pathOf(path, &p)) return nullptr;
  return answer(im->load(p, 0, 0, 0));
}

PyObject* image_compress(PyObject* image, bool pack) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  return answer(pack ? im->compress() : im->decompress());
}

PyObject* image_equal(PyObject* a, PyObject* b) {
  QorImage* x = imageOf(a);
  QorImage* y = x ? imageOf(b) : nullptr;
  if (!y) return nullptr;
  return answer(x->equalsImage(*y));
}

PyObject* image_stored(PyObject* image, int version, bool compress) {
  QorImage* im = imageOf(image);
  if (!im) return nullptr;
  BinOutputMemory out;
  out.setVersion(version);
  out.setCompress(compress);
  if (!im->write(out) || !out.flush()) Py_RETURN_NONE;
  return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(out.data()),
                                   Py_ssize_t(out.size()));
}

PyObject* image_from_stored(PyObject* data) {
  Py_buffer view;
  if (PyObject_GetBuffer(data, &view, PyBUF_C_CONTIGUOUS) != 0) return nullptr;
  auto* im = new QorImage();
  BinInputMemory in(view.buf, uint64_t(view.len));
  const bool ok = im->read(in);
  PyBuffer_Release(&view);
  if (!ok) {
    delete im;
    Py_RETURN_NONE;
  }
  return wrap(im);
}
