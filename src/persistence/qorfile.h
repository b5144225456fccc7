// The data-model file: a tree of chunks on the big-endian streams. Each chunk starts with
// one 32-bit word, (kind << 8) | version, then its whole length in bytes (header included),
// 4 or 8 bytes wide; the root chunk "WEX" decides the width for the whole file. A reader
// skips any chunk it does not know with one seek.
#pragma once
#include <concepts>
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "base/wexrealloc.h"
#include "math/qorcolor.h"
#include "math/qormaterial.h"
#include "math/qormatrix.h"
#include "math/qorquaternion.h"
#include "math/qorrect.h"
#include "math/qorvector.h"
#include "math/vector2d.h"
#include "math/vector2f.h"
#include "persistence/binio.h"
#include "persistence/iqordatamodel.h"
#include "persistence/qorid.h"

// The chunk kinds this layer fixes. Value chunks have version 0.
namespace qor::tag {
inline constexpr uint32_t kRoot = 0x574558;    // "WEX"; version 0: 4-byte lengths, 1: 8-byte
inline constexpr uint32_t kObject = 0x0B0002;  // class id behind the header, then fields
inline constexpr uint32_t kVector = 0x010000;  // 3 doubles
inline constexpr uint32_t kColor = 0x010001;   // 4 floats
inline constexpr uint32_t kMaterial = 0x010002;
inline constexpr uint32_t kCString = 0x010003;     // its bytes, no terminator
inline constexpr uint32_t kMatrix = 0x010004;      // 16 doubles, row by row
inline constexpr uint32_t kString = 0x010005;      // 16-bit units, no terminator
inline constexpr uint32_t kRect = 0x010006;        // xMin, yMin, xMax, yMax
inline constexpr uint32_t kQuaternion = 0x010007;  // 4 doubles in field order
inline constexpr uint32_t kId = 0x010008;          // 16 bytes
inline constexpr uint32_t kVector2D = 0x010009;    // 2 doubles
inline constexpr uint32_t kVector2F = 0x010010;    // 2 floats
}  // namespace qor::tag

namespace qor {
// A one-based stack of stream positions, one per open chunk; slot 0 stays unused. It grows
// by the system's growth rule and never shrinks while a file is open.
class ChunkPositions {
 public:
  explicit ChunkPositions(int32_t capacity);
  ~ChunkPositions();
  ChunkPositions(const ChunkPositions&) = delete;
  ChunkPositions& operator=(const ChunkPositions&) = delete;

  // Number of open chunks.
  int32_t size() const { return count_; }
  int32_t capacity() const { return capacity_; }
  void push(int64_t position);
  int64_t top() const { return slots_[count_]; }
  void pop() {
    if (count_ > 0) --count_;
  }
  void clear() { count_ = 0; }

 private:
  int64_t* slots_ = nullptr;
  int32_t capacity_ = 0;
  int32_t count_ = 0;
};
}  // namespace qor

// Writes a data-model file on a BinOutput. Lengths are filled in when a chunk closes; a
// chunk still open has length 0 in the medium, which a reader takes, for the root, as a
// file whose writer never finished.
class QorFileWrite : public IQorDataModelWriter {
 public:
  // No stream: good, not owning, finishing, generation 0.
  QorFileWrite();
  // On `stream`, not owned, with the stream's generation. No root chunk is started.
  QorFileWrite(BinOutput* stream, bool finishes);
  // Closes every chunk still open down to the root; a finishing writer also closes the
  // root, flushes, and deletes a stream it owns. The file is well formed even after an
  // early return left chunks open.
  ~QorFileWrite() override;
  QorFileWrite(const QorFileWrite&) = delete;
  QorFileWrite& operator=(const QorFileWrite&) = delete;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorFileWrite"; }

  bool write(IQorBinaryIO* object) override;
  bool write(IQorPersistable* object) override;
  bool write(const QorID& id) override;
  bool write(const Vector2F& v) override;
  bool write(const Vector2D& v) override;
  bool write(const Transform3D& m) override;
  bool write(const QorVector& v) override;
  // A null string is written as an empty chunk.
  bool write(const QorString& text) override;
  bool write(const QorCString& text) override;
  bool write(double value) override;
  bool write(float value) override;
  bool write(uint32_t value) override;
  bool write(int32_t value) override;
  bool write(int8_t value) override;
  bool write(uint8_t value) override;
  bool beginObject(IQorWriteable* object, int32_t version) override;
  bool endObject() override;
  bool writeObjectName(const QorString& name) override;
  bool endObjectName() override;
  bool beginObjectChunk(const QorID& id, int32_t version) override;
  bool beginChunk(uint32_t tag, int32_t version) override;
  bool endChunk() override;
  bool good() override { return good_; }
  // Makes the stream for open: a BinOutputFile on `path`.
  virtual BinOutput* openStream(const QorString& path);

  // Further value chunks: 4 doubles each.
  bool write(const QorQuaternion& q);
  bool write(const QorRect& r);
  // A colour chunk: its four floats.
  bool write(const QorColor& c);
  // A material chunk: the four colours, each in its own chunk, then transmission and
  // shininess as floats and face as a 32-bit signed integer.
  bool write(const QorMaterial& m);
  // A chunk of kind `tag`, version 0, holding `count` values.
  template <BinWireValue T>
  bool writeValueChunk(uint32_t tag, const T* values, uint64_t count);

  // `count` vector chunks, one per vector from `vectors` on: the bytes that `count` calls of
  // write(const QorVector&) give, formatted in blocks instead of chunk by chunk.
  bool writeVectorChunks(const QorVector* vectors, int64_t count);

  // Opens a file on `path`, owned by the writer, and starts its root chunk. Takes the
  // assertion road if a stream is already attached.
  bool open(const QorString& path);
  // Starts the root chunk on an attached stream: version 0 for 4-byte lengths, 1 for 8.
  bool beginFile();
  // Moves to another stream (not owned). The same stream does nothing. From the old one, a
  // finishing writer closes the chunks down to the root (the root stays open) and closes
  // the stream; any other closes all its chunks. The writer takes the new stream's
  // generation, so the chunks it writes there have the lengths of the file they belong to.
  void attach(BinOutput* stream, bool finishes);
  // Ends only the innermost chunk; a finishing writer then flushes. An owned stream is
  // deleted, and the writer forgets the stream.
  bool close();
  // The format generation, in the writer and its stream. 1 to 9 give 4-byte lengths.
  void setVersion(int32_t version);
  int32_t version() const { return version_; }
  BinOutput* stream() const { return bo_; }
  // Number of open chunks.
  int32_t depth() const { return end_.size(); }
  // Width of the length field: 4 bytes for generations 1 to 9, else 8.
  uint32_t lengthBytes() const { return static_cast<uint32_t>(version_ - 1) > 8 ? 8 : 4; }

  // Stream-style forms of the value operations.
  template <class T>
  QorFileWrite& operator<<(const T& value) requires requires(QorFileWrite& w) {
    w.write(value);
  }
  {
    write(value);
    return *this;
  }

 private:
  // One bare value in the current chunk.
  template <BinWireValue T>
  bool writeBare(T value) {
    if (!QOR_ASSERT(bo_)) return false;
    if (!bo_->write(&value, 1)) good_ = false;
    return good_;
  }

  qor::ChunkPositions end_{2};  // where the header of each open chunk starts
  BinOutput* bo_ = nullptr;
  bool owns_ = false;
  bool good_ = true;
  bool finishes_ = true;
  int32_t version_ = 0;
};

// Reads a data-model file from a BinInput. Every chunk length is checked against the size
// of the source when the chunk opens, so a corrupt length fails at the chunk that carries it.
class QorFileRead : public IQorDataModelReader {
 public:
  QorFileRead() = default;
  // Releases the ids and closes a stream it owns.
  ~QorFileRead() override;
  QorFileRead(const QorFileRead&) = delete;
  QorFileRead& operator=(const QorFileRead&) = delete;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorFileRead"; }

  bool read(IQorBinaryIO* object) override;
  bool read(IQorPersistable* object) override;
  // Typed reads open the next chunk, clear good if its kind differs (the fields are read
  // anyway, and must not be used), read the fields and close the chunk, skipping whatever
  // a newer version put behind them.
  bool read(QorID& id) override;
  bool read(Vector2F& v) override;
  bool read(Vector2D& v) override;
  bool read(Transform3D& m) override;
  bool read(QorVector& v) override;
  // Takes half the chunk's payload in units; empty when good is false.
  bool read(QorString& text) override;
  // Takes the chunk's payload; empty when good is false or the payload passes 32 bits.
  bool read(QorCString& text) override;
  bool read(double& value) override;
  bool read(float& value) override;
  bool read(uint32_t& value) override;
  bool read(int32_t& value) override;
  bool read(int8_t& value) override;
  bool read(uint8_t& value) override;
  const QorID& peekObjectId() override;
  bool beginObject(IQorWriteable* object, int32_t* version) override;
  bool endObject() override;
  const QorString& peekObjectName() override;
  bool readObjectName(const QorString& name, QorID* id) override;
  bool endObjectName(const QorString& name) override;
  bool beginChunk() override;
  bool atEnd() override;
  bool endChunk() override;
  uint32_t tag() override { return tag_; }
  int32_t version() override { return version_; }
  const QorID& objectId() override;
  bool good() override { return good_; }
  uint32_t peekTag() override;
  // Makes the stream for open: a BinInputFile on `path`.
  virtual BinInput* openStream(const QorString& path);

  bool read(QorQuaternion& q);
  // Sorts each pair of the corners read, so they may be stored in any order.
  bool read(QorRect& r);
  bool read(QorColor& c);
  bool read(QorMaterial& m);
  // A value chunk of kind `tag` holding `count` values.
  template <BinWireValue T>
  bool readValueChunk(uint32_t tag, T* values, uint64_t count);

  // Opens `path` and its root chunk. False if the path is not readable or the stream does
  // not open; otherwise true, with good telling whether the root is a "WEX" chunk of
  // version 0 or 1. Takes the assertion road if a stream is attached.
  bool open(const QorString& path);
  // Opens the root chunk on an attached stream, with the same check as open.
  bool beginFile();
  // Moves to another stream (not owned); the same stream does nothing. Drops the object id,
  // closes an owned stream and starts with good true and no open chunk. The width of the
  // lengths is the stream's: a root chunk sets it if it is unset.
  void attach(BinInput* stream);
  // Ends the innermost chunk if one is open, closes and deletes an owned stream, forgets
  // the stream; good turns false.
  bool close();
  // Opens the next chunk and answers false, clearing good, unless it is of kind `tag`.
  bool beginChunk(uint32_t tag);
  // The same, also requiring a version of at most maxVersion.
  bool beginChunk(uint32_t tag, int32_t maxVersion);
  // Opens and closes the next chunk; answers good.
  bool skipChunk();
  // Bytes left in the innermost chunk (in the source when none is open); 0 when good is
  // false.
  int64_t remaining();
  // Whether the next chunk is of kind `tag`; *version gets its version, else -1. Does not
  // move.
  bool isChunk(uint32_t tag, int32_t* version);
  // Whether the next chunk is a sound object chunk of class `id`; *version gets its
  // version, else -1. Does not move.
  bool isObject(const QorID& id, int32_t* version);
  void setVersion(int32_t version) { version_ = version; }
  BinInput* stream() const { return bi_; }
  int32_t depth() const { return end_.size(); }

  // Stream-style forms of the value operations.
  template <class T>
  QorFileRead& operator>>(T& value) requires requires(QorFileRead& r) {
    r.read(value);
  }
  {
    read(value);
    return *this;
  }

 private:
  // Reads the word and length at the current position and checks the length against the
  // source. On success *start and *end bound the chunk; the stream stands behind the header.
  bool readHeader(int64_t* start, uint64_t* end);
  // Opens the next chunk for a typed read; a wrong kind clears good.
  bool openValue(uint32_t tag);
  bool closeValue(bool opened);
  // Reads `count` bare values, clearing good if the stream runs short.
  template <BinWireValue T>
  bool readBare(T* values, uint64_t count);

  qor::ChunkPositions end_{3};  // where each open chunk ends
  BinInput* bi_ = nullptr;
  uint32_t tag_ = 0;
  int32_t version_ = 0;
  QorID* objectId_ = nullptr;
  bool good_ = true;
  bool owns_ = false;
  QorID* peekedId_ = nullptr;
  QorString* peekedName_ = nullptr;
};

// Strings on a bare stream, outside a file object: one chunk each, written and read through
// a process-wide writer and reader (one pair per string class) that attach to the stream
// without owning it. Not locked: two threads may not stream strings at once.
//
// Width of the lengths: the writer takes the stream's generation, so a fresh stream gets
// 8-byte lengths and a stream inside a file the file's width. The reader gives a stream
// whose width is still unset the 8-byte width of a fresh writer; a stream inside a file
// already has its width from the root chunk and keeps it. A bare stream of an older
// generation is read correctly once its owner has called setLengthWidth32.
bool writeStringChunk(BinOutput& out, const QorString& text);
bool readStringChunk(BinInput& in, QorString& text);
bool writeStringChunk(BinOutput& out, const QorCString& text);
bool readStringChunk(BinInput& in, QorCString& text);

// ---- templates ----

template <BinWireValue T>
bool QorFileWrite::writeValueChunk(uint32_t tag, const T* values, uint64_t count) {
  if (!QOR_ASSERT(bo_)) return false;
  bool ok = beginChunk(tag, 0);
  ok = bo_->write(values, count) && ok;
  ok = endChunk() && ok;
  if (!ok) good_ = false;
  return ok;
}

template <BinWireValue T>
bool QorFileRead::readBare(T* values, uint64_t count) {
  if (!QOR_ASSERT(bi_)) return false;
  if (!bi_->read(values, count)) good_ = false;
  return good_;
}

template <BinWireValue T>
bool QorFileRead::readValueChunk(uint32_t tag, T* values, uint64_t count) {
  if (!QOR_ASSERT(bi_)) return false;
  bool opened = openValue(tag);
  readBare(values, count);
  return closeValue(opened);
}
