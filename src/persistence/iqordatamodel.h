// The two interfaces of the data-model file: the writer that turns values and objects into
// nested chunks, and the reader that walks them. Host objects reach them by slot, so the
// order of the operations below is part of the contract.
#pragma once
#include <cstdint>

#include "core/qorobject.h"
#include "persistence/binio.h"

class QorCString;
class QorString;
struct QorID;
class IQorPersistable;
class IQorWriteable;

class QorVector;
class Vector2D;
class Vector2F;
class QorMatrix;
using Transform3D = QorMatrix;

// An object that writes itself straight on the streams.
class IQorBinaryIO : public virtual IQorUnknown {
 public:
  virtual bool write(BinOutput& out) = 0;
  virtual bool read(BinInput& in) = 0;
};

// IQorBinaryIO for a class that has write(BinOutput&) and read(BinInput&) of its own but
// does not implement the interface: forwards both to an object it does not own.
template <class T>
class QorBinaryIO : public IQorBinaryIO {
 public:
  explicit QorBinaryIO(T* object) : object_(object) {}
  bool write(BinOutput& out) override { return object_->write(out); }
  bool read(BinInput& in) override { return object_->read(in); }
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "QorBinaryIO"))
      *out = this;
    else if (qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorUnknown*>(this);
    else if (qorNameIs(name, "IQorBinaryIO"))
      *out = static_cast<IQorBinaryIO*>(this);
  }
  const char* className() override { return "QorBinaryIO"; }

 private:
  T* object_;
};

// Writes a data-model file: values become typed chunks or bare numbers inside the current
// chunk; objects open object chunks. Every operation answers true on success.
class IQorDataModelWriter : public virtual IQorUnknown {
 public:
  virtual bool write(IQorBinaryIO* object) = 0;
  // The object's own write, given this writer.
  virtual bool write(IQorPersistable* object) = 0;
  virtual bool write(const QorID& id) = 0;
  virtual bool write(const Vector2F& v) = 0;
  virtual bool write(const Vector2D& v) = 0;
  virtual bool write(const Transform3D& m) = 0;
  virtual bool write(const QorVector& v) = 0;
  virtual bool write(const QorString& text) = 0;
  virtual bool write(const QorCString& text) = 0;
  virtual bool write(double value) = 0;
  virtual bool write(float value) = 0;
  virtual bool write(uint32_t value) = 0;
  virtual bool write(int32_t value) = 0;
  virtual bool write(int8_t value) = 0;
  virtual bool write(uint8_t value) = 0;
  // Opens an object chunk with the object's class id and the given version.
  virtual bool beginObject(IQorWriteable* object, int32_t version) = 0;
  virtual bool endObject() = 0;
  // The name in front of a stored object: a QorString chunk.
  virtual bool writeObjectName(const QorString& name) = 0;
  // Does nothing.
  virtual bool endObjectName() = 0;
  // Opens an object chunk and writes the class id behind its header.
  virtual bool beginObjectChunk(const QorID& id, int32_t version) = 0;
  // Opens a chunk of kind `tag` (24 bits) with `version` (0 to 255).
  virtual bool beginChunk(uint32_t tag, int32_t version) = 0;
  // Closes the innermost chunk and fills in its length.
  virtual bool endChunk() = 0;
  virtual bool good() = 0;
};

// Reads a data-model file. A failure clears the reader's good flag, which stays clear; the
// reads go on calling the stream, and callers test good where they care.
class IQorDataModelReader : public virtual IQorUnknown {
 public:
  virtual bool read(IQorBinaryIO* object) = 0;
  // The object's own read, given this reader.
  virtual bool read(IQorPersistable* object) = 0;
  virtual bool read(QorID& id) = 0;
  virtual bool read(Vector2F& v) = 0;
  virtual bool read(Vector2D& v) = 0;
  virtual bool read(Transform3D& m) = 0;
  virtual bool read(QorVector& v) = 0;
  virtual bool read(QorString& text) = 0;
  virtual bool read(QorCString& text) = 0;
  virtual bool read(double& value) = 0;
  virtual bool read(float& value) = 0;
  virtual bool read(uint32_t& value) = 0;
  virtual bool read(int32_t& value) = 0;
  virtual bool read(int8_t& value) = 0;
  virtual bool read(uint8_t& value) = 0;
  // The class id of the object chunk at the current position, without moving.
  virtual const QorID& peekObjectId() = 0;
  // Opens the next chunk and answers whether it is an object chunk (if not, good turns
  // false). Gives the chunk's version either way.
  virtual bool beginObject(IQorWriteable* object, int32_t* version) = 0;
  virtual bool endObject() = 0;
  // The QorString chunk at the current position, without moving.
  virtual const QorString& peekObjectName() = 0;
  // Reads the name chunk, then gives the class id of the object chunk behind it without
  // moving past it. `name` is not used.
  virtual bool readObjectName(const QorString& name, QorID* id) = 0;
  // Does nothing.
  virtual bool endObjectName(const QorString& name) = 0;
  // Opens the next chunk, whatever its kind.
  virtual bool beginChunk() = 0;
  // True when good is false or the innermost chunk has been read to its end.
  virtual bool atEnd() = 0;
  // Closes the innermost chunk, skipping what was not read of it.
  virtual bool endChunk() = 0;
  // Kind and version of the chunk opened last.
  virtual uint32_t tag() = 0;
  virtual int32_t version() = 0;
  // The class id of the object chunk opened last; the null id if there was none.
  virtual const QorID& objectId() = 0;
  virtual bool good() = 0;
  // The kind of the chunk at the current position, without moving.
  virtual uint32_t peekTag() = 0;
};
