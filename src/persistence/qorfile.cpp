#include "persistence/qorfile.h"

#include <cstring>
#include <memory>

#include "hostapi/iqorpersistable.h"
#include "persistence/iqorwriteable.h"
#include "platform/file.h"

namespace qor {

ChunkPositions::ChunkPositions(int32_t capacity) {
  void* block = nullptr;
  capacity_ = wexRealloc(&block, sizeof(int64_t), 0, capacity, static_cast<uint32_t>(capacity));
  slots_ = static_cast<int64_t*>(block);
}

ChunkPositions::~ChunkPositions() {
  wexFree(slots_);
}

void ChunkPositions::push(int64_t position) {
  if (count_ + 1 >= capacity_) {
    int32_t want = wexGrowCapacity(capacity_, count_ + 2);
    void* block = slots_;
    capacity_ = wexRealloc(&block, sizeof(int64_t), capacity_, want, static_cast<uint32_t>(want));
    slots_ = static_cast<int64_t*>(block);
  }
  slots_[++count_] = position;
}

}  // namespace qor

// ======================= QorFileWrite =======================

QorFileWrite::QorFileWrite() = default;

QorFileWrite::QorFileWrite(BinOutput* stream, bool finishes)
    : bo_(stream), finishes_(finishes), version_(stream ? stream->version() : 0) {}

QorFileWrite::~QorFileWrite() {
  if (!bo_) return;
  while (end_.size() > 1) endChunk();
  if (finishes_) {
    if (end_.size() > 0) endChunk();
    bo_->flush();
  }
  if (owns_) delete bo_;
}

void QorFileWrite::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "QorFileWrite"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorDataModelWriter"))
    *out = static_cast<IQorDataModelWriter*>(this);
}

bool QorFileWrite::write(IQorBinaryIO* object) {
  if (!QOR_ASSERT(bo_)) return false;
  return object && object->write(*bo_);
}

bool QorFileWrite::write(IQorPersistable* object) {
  return object && object->write(this);
}

bool QorFileWrite::write(const QorID& id) {
  if (!QOR_ASSERT(bo_)) return false;
  bool ok = beginChunk(qor::tag::kId, 0);
  ok = id.write(*bo_) && ok;
  ok = endChunk() && ok;
  if (!ok) good_ = false;
  return ok;
}

bool QorFileWrite::write(const Vector2F& v) {
  return writeValueChunk(qor::tag::kVector2F, v.data(), 2);
}

bool QorFileWrite::write(const Vector2D& v) {
  return writeValueChunk(qor::tag::kVector2D, v.data(), 2);
}

bool QorFileWrite::write(const Transform3D& m) {
  return writeValueChunk(qor::tag::kMatrix, m.data(), 16);
}

bool QorFileWrite::write(const QorVector& v) {
  return writeValueChunk(qor::tag::kVector, v.data(), 3);
}

bool QorFileWrite::writeVectorChunks(const QorVector* vectors, int64_t count) {
  if (!QOR_ASSERT(bo_)) return false;
  // A record: the word, the length (header and three doubles), the doubles.
  const uint32_t width = lengthBytes();
  const uint64_t record = 4 + width + 24;
  const uint32_t word = qor::tag::kVector << 8;
  uint8_t header[12];
  qor::wire::storeBig(header, &word, 1);
  if (width == 8) {
    qor::wire::storeBig(header + 4, &record, 1);
  } else {
    const auto narrow = static_cast<uint32_t>(record);
    qor::wire::storeBig(header + 4, &narrow, 1);
  }
  auto format = [&](uint8_t* at, const QorVector& v) {
    std::memcpy(at, header, 4 + width);
    qor::wire::storeBig(at + 4 + width, v.data(), 3);
  };
  // Records go straight into the stream's buffer; one that would straddle its end goes
  // through writeBytes.
  bool ok = true;
  for (int64_t i = 0; i < count && ok;) {
    uint8_t* at = nullptr;
    const uint64_t room = bo_->reserve(&at, ~uint64_t{0});
    int64_t fit = static_cast<int64_t>(room / record);
    if (fit == 0) {
      uint8_t one[36];
      format(one, vectors[i++]);
      ok = bo_->writeBytes(one, record);
      continue;
    }
    if (fit > count - i) fit = count - i;
    for (int64_t k = 0; k < fit; ++k) format(at + k * record, vectors[i + k]);
    ok = bo_->commit(static_cast<uint64_t>(fit) * record);
    i += fit;
  }
  if (!ok) good_ = false;
  return ok;
}

bool QorFileWrite::write(const QorQuaternion& q) {
  double v[4] = {q.w, q.x, q.y, q.z};
  return writeValueChunk(qor::tag::kQuaternion, v, 4);
}

bool QorFileWrite::write(const QorRect& r) {
  double v[4] = {r.xMin, r.yMin, r.xMax, r.yMax};
  return writeValueChunk(qor::tag::kRect, v, 4);
}

bool QorFileWrite::write(const QorColor& c) {
  float v[4] = {c.red, c.green, c.blue, c.alpha};
  return writeValueChunk(qor::tag::kColor, v, 4);
}

bool QorFileWrite::write(const QorMaterial& m) {
  if (!QOR_ASSERT(bo_)) return false;
  bool ok = beginChunk(qor::tag::kMaterial, 0);
  for (const QorColor* c : {&m.ambient, &m.diffuse, &m.specular, &m.emission}) ok = write(*c) && ok;
  ok = writeBare(m.transmission) && ok;
  ok = writeBare(m.shininess) && ok;
  ok = writeBare(m.face) && ok;
  ok = endChunk() && ok;
  if (!ok) good_ = false;
  return ok;
}

bool QorFileWrite::write(const QorString& text) {
  const char16_t* units = text.wide();
  return writeValueChunk(qor::tag::kString, units ? units : u"",
                         static_cast<uint64_t>(units ? text.length() : 0));
}

bool QorFileWrite::write(const QorCString& text) {
  return writeValueChunk(qor::tag::kCString, text.c_str(),
                         static_cast<uint64_t>(text.data() ? text.length() : 0));
}

bool QorFileWrite::write(double value) {
  return writeBare(value);
}
bool QorFileWrite::write(float value) {
  return writeBare(value);
}
bool QorFileWrite::write(uint32_t value) {
  return writeBare(value);
}
bool QorFileWrite::write(int32_t value) {
  return writeBare(value);
}
bool QorFileWrite::write(int8_t value) {
  return writeBare(value);
}
bool QorFileWrite::write(uint8_t value) {
  return writeBare(value);
}

bool QorFileWrite::beginObject(IQorWriteable* object, int32_t version) {
  if (!object) return false;
  return beginObjectChunk(object->classId(), version);
}

bool QorFileWrite::endObject() {
  return endChunk();
}

bool QorFileWrite::writeObjectName(const QorString& name) {
  return write(name);
}

bool QorFileWrite::endObjectName() {
  return true;
}

bool QorFileWrite::beginObjectChunk(const QorID& id, int32_t version) {
  if (!QOR_ASSERT(bo_)) return false;
  bool ok = beginChunk(qor::tag::kObject, version);
  ok = id.write(*bo_) && ok;
  if (!ok) good_ = false;
  return ok;
}

bool QorFileWrite::beginChunk(uint32_t tag, int32_t version) {
  if (!QOR_ASSERT(bo_)) return false;
  int64_t position = bo_->logicalTell();
  uint32_t word = tag << 8 | static_cast<uint32_t>(version);
  bool ok = bo_->write(&word, 1);
  end_.push(position);
  if (lengthBytes() == 8) {
    uint64_t zero = 0;
    ok = bo_->write(&zero, 1) && ok;
  } else {
    uint32_t zero = 0;
    ok = bo_->write(&zero, 1) && ok;
  }
  if (!ok) good_ = false;
  return ok;
}

bool QorFileWrite::endChunk() {
  if (!QOR_ASSERT(bo_)) return false;
  if (!QOR_ASSERT(end_.size() > 0)) return false;
  int64_t here = bo_->logicalTell();
  int64_t start = end_.top();
  uint64_t length = static_cast<uint64_t>(here - start);
  uint8_t field[8];
  uint32_t width = lengthBytes();
  if (width == 8) {
    qor::wire::storeBig(field, &length, 1);
  } else {
    uint32_t narrow = static_cast<uint32_t>(length);
    if (length > 0xFFFFFFFFu) {
      narrow = 0xFFFFFFFFu;
      good_ = false;
    }
    qor::wire::storeBig(field, &narrow, 1);
  }
  // While the header is still pending in the stream's buffer the length goes straight
  // there; otherwise the writer seeks back to it and returns. The bytes are the same.
  bool ok = bo_->patchPending(start + 4, field, width);
  if (!ok) {
    ok = bo_->seekTo(start + 4, true);
    ok = bo_->writeBytes(field, width) && ok;
    ok = bo_->seekTo(here, true) && ok;
  }
  end_.pop();
  if (!ok) good_ = false;
  return ok;
}

BinOutput* QorFileWrite::openStream(const QorString& path) {
  return new BinOutputFile(path);
}

bool QorFileWrite::open(const QorString& path) {
  if (!QOR_ASSERT(!bo_)) return false;
  BinOutput* stream = openStream(path);
  if (!stream) return false;
  stream->setVersion(version_);
  if (!stream->good()) {
    delete stream;
    return false;
  }
  bo_ = stream;
  owns_ = true;
  good_ = true;
  end_.clear();
  beginFile();
  return true;
}

bool QorFileWrite::beginFile() {
  return beginChunk(qor::tag::kRoot, lengthBytes() == 8 ? 1 : 0);
}

void QorFileWrite::attach(BinOutput* stream, bool finishes) {
  if (stream == bo_) return;
  if (bo_) {
    if (finishes_) {
      while (end_.size() > 1) endChunk();
      bo_->closeStream();
    } else {
      while (end_.size() > 0) endChunk();
    }
    if (owns_) delete bo_;
  }
  bo_ = stream;
  finishes_ = finishes;
  good_ = true;
  owns_ = false;
  end_.clear();
  if (stream) version_ = stream->version();
}

bool QorFileWrite::close() {
  if (!bo_) return false;
  bool ok = end_.size() > 0 ? endChunk() : true;
  if (finishes_) ok = bo_->flush() && ok;
  // An owned stream goes with the writer; the writer made it and nobody else holds it.
  if (owns_) delete bo_;
  bo_ = nullptr;
  owns_ = false;
  end_.clear();
  return ok && good_;
}

void QorFileWrite::setVersion(int32_t version) {
  version_ = version;
  if (bo_) bo_->setVersion(version);
}

// ======================= QorFileRead =======================

QorFileRead::~QorFileRead() {
  delete objectId_;
  delete peekedId_;
  delete peekedName_;
  if (owns_ && bi_) {
    bi_->close();
    delete bi_;
  }
}

void QorFileRead::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "QorFileRead"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorDataModelReader"))
    *out = static_cast<IQorDataModelReader*>(this);
}

bool QorFileRead::read(IQorBinaryIO* object) {
  if (!QOR_ASSERT(bi_)) return false;
  return object && object->read(*bi_);
}

bool QorFileRead::read(IQorPersistable* object) {
  return object && object->read(this);
}

bool QorFileRead::openValue(uint32_t tag) {
  bool opened = beginChunk();
  if (opened && tag_ != tag) good_ = false;
  return opened;
}

bool QorFileRead::closeValue(bool opened) {
  if (opened) endChunk();
  return good_;
}

bool QorFileRead::read(QorID& id) {
  if (!QOR_ASSERT(bi_)) return false;
  bool opened = openValue(qor::tag::kId);
  if (!id.read(*bi_)) good_ = false;
  return closeValue(opened);
}

bool QorFileRead::read(Vector2F& v) {
  return readValueChunk(qor::tag::kVector2F, v.data(), 2);
}

bool QorFileRead::read(Vector2D& v) {
  return readValueChunk(qor::tag::kVector2D, v.data(), 2);
}

bool QorFileRead::read(Transform3D& m) {
  return readValueChunk(qor::tag::kMatrix, m.data(), 16);
}

bool QorFileRead::read(QorVector& v) {
  return readValueChunk(qor::tag::kVector, v.data(), 3);
}

bool QorFileRead::read(QorQuaternion& q) {
  double v[4] = {q.w, q.x, q.y, q.z};
  bool ok = readValueChunk(qor::tag::kQuaternion, v, 4);
  q = QorQuaternion(v[0], v[1], v[2], v[3]);
  return ok;
}

bool QorFileRead::read(QorRect& r) {
  double v[4] = {r.xMin, r.yMin, r.xMax, r.yMax};
  bool ok = readValueChunk(qor::tag::kRect, v, 4);
  r.xMin = v[0];
  r.yMin = v[1];
  r.xMax = v[2];
  r.yMax = v[3];
  r.sort();  // stored corners may come in any order
  return ok;
}

bool QorFileRead::read(QorColor& c) {
  float v[4] = {c.red, c.green, c.blue, c.alpha};
  bool ok = readValueChunk(qor::tag::kColor, v, 4);
  c = QorColor(v[0], v[1], v[2], v[3]);
  return ok;
}

bool QorFileRead::read(QorMaterial& m) {
  if (!QOR_ASSERT(bi_)) return false;
  bool opened = openValue(qor::tag::kMaterial);
  for (QorColor* c : {&m.ambient, &m.diffuse, &m.specular, &m.emission}) read(*c);
  readBare(&m.transmission, 1);
  readBare(&m.shininess, 1);
  readBare(&m.face, 1);
  return closeValue(opened);
}

bool QorFileRead::read(QorString& text) {
  if (!QOR_ASSERT(bi_)) return false;
  bool opened = openValue(qor::tag::kString);
  int64_t units = remaining() / 2;
  if (units > INT32_MAX - 1) {
    units = 0;
    good_ = false;
  }
  std::unique_ptr<char16_t[]> block(new char16_t[static_cast<size_t>(units) + 1]);
  if (units && !bi_->read(block.get(), static_cast<uint64_t>(units))) good_ = false;
  if (!good_) units = 0;
  block[static_cast<size_t>(units)] = 0;
  text = QorString(block.get(), static_cast<int32_t>(units));
  return closeValue(opened);
}

bool QorFileRead::read(QorCString& text) {
  if (!QOR_ASSERT(bi_)) return false;
  bool opened = openValue(qor::tag::kCString);
  int64_t bytes = remaining();
  if (bytes > INT32_MAX - 1) {
    bytes = 0;
    good_ = false;
  }
  std::unique_ptr<char[]> block(new char[static_cast<size_t>(bytes) + 1]);
  if (bytes && !bi_->read(block.get(), static_cast<uint64_t>(bytes))) good_ = false;
  if (!good_) bytes = 0;
  block[static_cast<size_t>(bytes)] = 0;
  text = QorCString(block.get());
  return closeValue(opened);
}

bool QorFileRead::read(double& value) {
  return readBare(&value, 1);
}
bool QorFileRead::read(float& value) {
  return readBare(&value, 1);
}
bool QorFileRead::read(uint32_t& value) {
  return readBare(&value, 1);
}
bool QorFileRead::read(int32_t& value) {
  return readBare(&value, 1);
}
bool QorFileRead::read(int8_t& value) {
  return readBare(&value, 1);
}
bool QorFileRead::read(uint8_t& value) {
  return readBare(&value, 1);
}

bool QorFileRead::readHeader(int64_t* start, uint64_t* end) {
  *start = bi_->tell();
  uint32_t word = 0;
  bool ok = bi_->read(&word, 1);
  uint32_t tag = word >> 8;
  if (ok) {
    tag_ = tag;
    version_ = static_cast<int32_t>(word & 0xFF);
  }
  if (ok && tag == qor::tag::kRoot) {
    if ((word & 0xFF) != 0)
      bi_->setLengthWidth64();
    else
      bi_->setLengthWidth32();
  }
  bool wide = bi_->lengthWidth() == 64;
  uint64_t length = 0;
  if (ok && wide) {
    ok = bi_->read(&length, 1);
  } else if (ok) {
    uint32_t narrow = 0;
    ok = bi_->read(&narrow, 1);
    length = narrow;
  }
  uint64_t header = wide ? 12 : 8;
  int64_t size = bi_->size();
  // A root of length 0 was never finished: it runs to the end of the source.
  if (ok && tag == qor::tag::kRoot && length == 0) length = static_cast<uint64_t>(size);
  ok = ok && bi_->good() && *start >= 0 && *start <= size && length >= header &&
       length <= static_cast<uint64_t>(size - *start);
  if (!ok) return false;
  *end = static_cast<uint64_t>(*start) + length;
  return true;
}

bool QorFileRead::beginChunk() {
  if (!QOR_ASSERT(bi_)) return false;
  int64_t start;
  uint64_t end;
  bool ok = readHeader(&start, &end);
  if (ok && tag_ == qor::tag::kObject) {
    if (!objectId_) objectId_ = new QorID;
    ok = objectId_->read(*bi_);
  }
  if (!ok) {
    bi_->seek(start, true);
    good_ = false;
    return false;
  }
  end_.push(static_cast<int64_t>(end));
  return true;
}

bool QorFileRead::beginChunk(uint32_t tag) {
  if (!beginChunk()) return false;
  if (tag_ != tag) {
    good_ = false;
    return false;
  }
  return true;
}

bool QorFileRead::beginChunk(uint32_t tag, int32_t maxVersion) {
  if (!beginChunk(tag)) return false;
  if (version_ > maxVersion) {
    good_ = false;
    return false;
  }
  return true;
}

bool QorFileRead::endChunk() {
  if (!QOR_ASSERT(bi_)) return false;
  if (end_.size() < 1) {
    if (good_) QOR_ASSERT(end_.size() > 0 || !good_);
    return false;
  }
  // After a failure the reader stays where it is, so that every close is harmless.
  if (good_) bi_->seek(end_.top(), true);
  end_.pop();
  good_ = good_ && bi_->good();
  return good_;
}

bool QorFileRead::skipChunk() {
  if (beginChunk()) endChunk();
  return good_;
}

int64_t QorFileRead::remaining() {
  if (!good_ || !bi_) return 0;
  int64_t end = end_.size() > 0 ? end_.top() : bi_->size();
  int64_t left = end - bi_->tell();
  return left > 0 ? left : 0;
}

bool QorFileRead::atEnd() {
  if (!good_ || !bi_) return true;
  int64_t end = end_.size() > 0 ? end_.top() : bi_->size();
  return bi_->tell() >= end;
}

bool QorFileRead::isChunk(uint32_t tag, int32_t* version) {
  if (!QOR_ASSERT(bi_)) return false;
  int32_t word = bi_->peekInt();
  bool same = (static_cast<uint32_t>(word) >> 8) == tag;
  if (version) *version = same ? (word & 0xFF) : -1;
  return same;
}

bool QorFileRead::isObject(const QorID& id, int32_t* version) {
  if (!QOR_ASSERT(bi_)) return false;
  uint32_t tag = tag_;
  int32_t chunkVersion = version_;
  int64_t start;
  uint64_t end;
  bool same = readHeader(&start, &end) && tag_ == qor::tag::kObject;
  int32_t found = version_;
  QorID stored;
  same = same && stored.read(*bi_) && stored == id;
  bi_->seek(start, true);
  tag_ = tag;
  version_ = chunkVersion;
  if (version) *version = same ? found : -1;
  return same;
}

const QorID& QorFileRead::peekObjectId() {
  delete peekedId_;
  peekedId_ = new QorID;
  if (!QOR_ASSERT(bi_)) return *peekedId_;
  int64_t start = bi_->tell();
  uint32_t word;
  bool ok = bi_->read(&word, 1);
  if (ok && bi_->lengthWidth() == 64) {
    uint64_t length;
    ok = bi_->read(&length, 1);
  } else if (ok) {
    uint32_t length;
    ok = bi_->read(&length, 1);
  }
  if (!(ok && peekedId_->read(*bi_))) *peekedId_ = QorID();
  bi_->seek(start, true);
  return *peekedId_;
}

bool QorFileRead::beginObject(IQorWriteable*, int32_t* version) {
  bool opened = beginChunk();
  if (version) *version = version_;
  if (!opened) return false;
  if (tag_ != qor::tag::kObject) {
    good_ = false;
    return false;
  }
  return true;
}

bool QorFileRead::endObject() {
  return endChunk();
}

const QorString& QorFileRead::peekObjectName() {
  if (!peekedName_) peekedName_ = new QorString;
  if (!QOR_ASSERT(bi_)) return *peekedName_;
  int64_t start = bi_->tell();
  read(*peekedName_);
  bi_->seek(start, true);
  return *peekedName_;
}

bool QorFileRead::readObjectName(const QorString&, QorID* id) {
  QorString name;
  read(name);
  const QorID& next = peekObjectId();
  if (id) *id = next;
  return good_;
}

bool QorFileRead::endObjectName(const QorString&) {
  return true;
}

const QorID& QorFileRead::objectId() {
  if (!objectId_) objectId_ = new QorID;
  return *objectId_;
}

uint32_t QorFileRead::peekTag() {
  if (!QOR_ASSERT(bi_)) return 0;
  return static_cast<uint32_t>(bi_->peekInt()) >> 8;
}

BinInput* QorFileRead::openStream(const QorString& path) {
  return new BinInputFile(path);
}

bool QorFileRead::open(const QorString& path) {
  if (!QOR_ASSERT(!bi_)) return false;
  if (!Platform::isReadable(path)) return false;
  BinInput* stream = openStream(path);
  if (!stream) return false;
  if (!stream->good()) {
    delete stream;
    return false;
  }
  bi_ = stream;
  owns_ = true;
  good_ = true;
  end_.clear();
  beginFile();
  return true;
}

bool QorFileRead::beginFile() {
  if (!QOR_ASSERT(bi_)) return false;
  bool opened = beginChunk();
  good_ = good_ && opened && tag_ == qor::tag::kRoot && version_ < 2;
  return good_;
}

void QorFileRead::attach(BinInput* stream) {
  if (stream == bi_) return;
  delete objectId_;
  objectId_ = nullptr;
  if (owns_ && bi_) {
    bi_->close();
    delete bi_;
  }
  end_.clear();
  bi_ = stream;
  good_ = true;
  owns_ = false;
}

bool QorFileRead::close() {
  if (bi_ && end_.size() > 0) endChunk();
  if (owns_ && bi_) {
    bi_->close();
    delete bi_;
  }
  bi_ = nullptr;
  owns_ = false;
  end_.clear();
  good_ = false;
  return true;
}

// ======================= strings on a bare stream =======================

namespace {

template <class S>
bool writeChunkOf(BinOutput& out, const S& text) {
  static QorFileWrite writer;
  writer.attach(&out, false);
  bool ok = writer.write(text);
  writer.attach(nullptr, false);
  return ok;
}

template <class S>
bool readChunkOf(BinInput& in, S& text) {
  static QorFileRead reader;
  in.setLengthWidth64();  // only takes effect while the width is unset
  reader.attach(&in);
  bool ok = reader.read(text);
  reader.attach(nullptr);
  return ok;
}

}  // namespace

bool writeStringChunk(BinOutput& out, const QorString& text) {
  return writeChunkOf(out, text);
}
bool readStringChunk(BinInput& in, QorString& text) {
  return readChunkOf(in, text);
}
bool writeStringChunk(BinOutput& out, const QorCString& text) {
  return writeChunkOf(out, text);
}
bool readStringChunk(BinInput& in, QorCString& text) {
  return readChunkOf(in, text);
}
