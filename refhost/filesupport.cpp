#include "refhost/filesupport.h"

#include <filesystem>
#include <memory>

#include "core/iptr.h"
#include "datamodel/progress.h"
#include "hostapi/icurveset.h"
#include "refhost/componentmanager.h"
#include "refhost/docfile.h"
#include "refhost/document.h"
#include "refhost/host.h"
#include "refhost/importer.h"
#include "refhost/progress.h"
#include "refhost/strsupport.h"

namespace refhost {
namespace {

// One run of long work on the host's display: the module's reporter, begun now and ended
// (or left cancelled) when the run goes out of scope.
class Run {
 public:
  Run() : reporter_(new ProgressCallbackObject()) { reporter_->begin(); }
  ~Run() {
    if (!reporter_->wasCancelled()) reporter_->end();
    progress().endRun();
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  std::function<bool(float)> report() {
    return [r = reporter_.get()](float fraction) { return r->update(fraction); };
  }

 private:
  IPtr<ProgressCallbackObject> reporter_;
};

std::string pathOf(const QorString& filename) {
  return wideToUtf8(filename.text());
}

uint8_t fail(const std::string& why) {
  log().logError(utf8ToWide(("[File] " + why).c_str()));
  return 0;
}

}  // namespace

void RefFileSupport::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefFileSupport") || qorNameIs(name, "IQorLodexFileSupport"))
    *out = static_cast<IQorLodexFileSupport*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

uint8_t RefFileSupport::openFile(const QorString& filename) {
  const std::string path = pathOf(filename);
  DocumentSnapshot record;
  std::string why;
  {
    Run run;
    if (!readDocumentFile(path, &record, &why, run.report())) return fail(why);
  }
  document().restore(record);
  path_ = path;
  return 1;
}

uint8_t RefFileSupport::saveFile() {
  if (path_.empty()) return fail("The document has no file yet: save it with saveAs first.");
  return saveFileAs(utf8ToWide(path_.c_str()));
}

uint8_t RefFileSupport::importFile(const QorString& filename) {
  const std::string path = pathOf(filename);
  auto geometry = std::make_shared<Geometry>();
  Polylines lines;
  std::string why;
  {
    Run run;
    if (!importGeometry(path, geometry.get(), &lines, &why, run.report())) return fail(why);
  }
  const std::string stem = std::filesystem::path(path).stem().string();
  const std::u16string name(utf8ToWide(stem.c_str()).text());
  // Lines become a curve-set model; the vertices make a model of their own only when faces
  // use them, so a file of lines alone gives just the curves.
  const bool mesh = geometry->kind == Geometry::Kind::Mesh;
  if (mesh || !lines.count()) document().addModelObject(name, geometry, true);
  if (lines.count()) {
    IPtr<ICurveSet> set(polylineCurveSet(*geometry, lines));
    document().addCurveObject(mesh ? name + u" curves" : name, set.get(), true);
  }
  return 1;
}

uint8_t RefFileSupport::newFile() {
  document().clear();
  path_.clear();
  return 1;
}

uint8_t RefFileSupport::saveFileAs(const QorString& filename) {
  const std::string path = pathOf(filename);
  std::string why;
  {
    Run run;
    if (!writeDocumentFile(path, document().snapshot(), &why, run.report())) return fail(why);
  }
  path_ = path;
  return 1;
}

RefFileSupport& fileSupport() {
  return immortal<RefFileSupport>();
}

}  // namespace refhost
