#include "refhost/curvekit.h"

#include <cmath>
#include <string>

#include "persistence/qorfile.h"
#include "refhost/host.h"
#include "refhost/strsupport.h"

namespace refhost::curvekit {

bool writeDoubles(QorFileWrite& w, uint32_t tag, const double* values, int64_t count) {
  return w.writeValueChunk(tag, values, static_cast<uint64_t>(count));
}

bool writePoles(QorFileWrite& w, const QorVector* poles, int64_t count) {
  static_assert(sizeof(QorVector) == 3 * sizeof(double));
  return w.writeValueChunk(kPolesTag, count > 0 ? poles->data() : nullptr,
                           static_cast<uint64_t>(count) * 3);
}

bool readDoubles(QorFileRead& r, uint32_t tag, int64_t count, std::vector<double>& out) {
  if (count < 0 || count > kMaxCount || !r.beginChunk(tag, 0)) return false;
  // The chunk must hold exactly the doubles: checked before anything is allocated.
  bool ok = r.remaining() == count * 8;
  if (ok) {
    out.resize(static_cast<size_t>(count));
    ok = count == 0 || r.stream()->read(out.data(), static_cast<uint64_t>(count));
  }
  r.endChunk();
  return ok && r.good();
}

bool readPoles(QorFileRead& r, int64_t count, std::vector<QorVector>& out) {
  if (count < 0 || count > kMaxCount) return false;
  if (!r.beginChunk(kPolesTag, 0)) return false;
  bool ok = r.remaining() == count * 24;
  if (ok) {
    out.resize(static_cast<size_t>(count));
    ok = count == 0 || r.stream()->read(out.data()->data(), static_cast<uint64_t>(count) * 3);
  }
  r.endChunk();
  return ok && r.good();
}

const char* affineFault(const QorMatrix& m) {
  for (int i = 0; i < 16; ++i)
    if (!std::isfinite(m[i])) return "the matrix is not finite";
  if (m[12] != 0 || m[13] != 0 || m[14] != 0 || m[15] != 1) return "the matrix is projective";
  if (m.determinant3() == 0) return "the matrix is singular";
  return nullptr;
}

// ---- the base ----

void CurveHostBase::defaults() {
  table_->setText("Name", name_);
}

bool CurveHostBase::moveBy(const QorMatrix& m, const Similarity&) {
  moveAffine(m);
  return false;
}

IQorFeature* CurveHostBase::clone() {
  IQorFeature* made = RefFeatureHost::clone();
  auto* c = dynamic_cast<CurveHostBase*>(made);
  if (c) guarded("clone", [&] { copyInto(*c); });
  return made;
}

void CurveHostBase::transform(const QorMatrix& matrix) {
  guarded("transform", [&] {
    if (const char* why = affineFault(matrix)) {
      fault("transform", (std::string(why) + "; the geometry stays").c_str());
      return;
    }
    moveAffine(matrix);
  });
}

void CurveHostBase::noteOnce(const char* what, const char* text) {
  if (noted_) return;
  noted_ = true;
  fault(what, text);
}

bool CurveHostBase::write(QorFileWrite* writer) {
  if (!writer) return false;
  bool ok = writer->beginObjectChunk(classId(), 1);
  ok = table_->write(*writer) && ok;
  bool body = false;
  guarded("write", [&] { body = writeBody(*writer); });
  ok = body && ok;
  ok = writer->endChunk() && ok;
  return ok && writer->good();
}

bool CurveHostBase::read(QorFileRead* reader) {
  if (!reader || !reader->beginChunk(qor::tag::kObject, 1)) return false;
  bool ok = reader->objectId() == classId();
  IPtr<RefParameterTable> table(new RefParameterTable());
  std::function<void()> install;
  if (ok) ok = table->read(*reader);
  if (ok) guarded("read", [&] { install = readBody(*reader); });
  // Every byte of the record belongs to a field.
  ok = ok && install && reader->good() && reader->remaining() == 0;
  reader->endChunk();
  ok = ok && reader->good();
  if (!ok) return false;
  bool installed = false;
  guarded("read", [&] {
    install();
    installed = true;
  });
  if (installed) setParameterTable(table.get());
  return installed;
}

}  // namespace refhost::curvekit
