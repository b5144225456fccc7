// A whole document read from arbitrary bytes into a data object, with the full reference
// host: object chunks, properties of every stored class (the arrays with their counts and
// element chunks among them), numbers that resolve late or never, and classes the host
// cannot make. What was read is stored again. Reading and storing may raise the system's
// exception; neither may crash, hang or leak. Reference cycles the input builds are cut afterwards,
// as a script would cut them.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/locator.h"
#include "core/platformexception.h"
#include "datamodel/dataobject.h"
#include "datamodel/dataobjectarray.h"
#include "datamodel/dataobjectarrayproperty.h"
#include "datamodel/objectproperty.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "refhost/host.h"
#include "refhost/persistence.h"

namespace {

// Empties every object and array property of `o`, so no cycle keeps anything alive.
void cut(DataObject* o) {
  if (!o || !o->storage()) return;
  for (const auto& [key, property] : *o->storage()) {
    if (auto* p = qorQuery<ObjectProperty>(property.get(), "ObjectProperty"))
      p->initialize(p->getName(), nullptr, p->isReadOnly());
    else if (auto* a = qorQuery<DataObjectArrayProperty>(property.get(), "DataObjectArrayProperty"))
      a->initialize(a->getName(), nullptr, a->isReadOnly());
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  refhost::boot("full");
  qor::setLocator(&refhost::manager());
  refhost::log().setSink(nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  refhost::RefPersistentRefMap& refs = refhost::persistentRefMap();
  refs.clear();
  std::vector<IPtr<DataObject>> seen;
  {
    BinInputMemory in(data, size);
    QorFileRead r;
    r.attach(&in);
    IPtr<DataObject> root(new DataObject());
    if (r.beginFile()) {
      try {
        root->readDocument(&r);
      } catch (PlatformException* e) {
        delete e;
      }
    }
    r.close();
    BinOutputMemory out;
    try {
      QorFileWrite w(&out, true);
      if (w.beginFile()) root->writeDocument(&w);
    } catch (PlatformException* e) {
      delete e;
    }
    seen.emplace_back(root.get());
    for (IQorPersistentRef* held : refs.heldObjects())
      if (auto* o = qorQuery<DataObject>(held, "DataObject")) seen.emplace_back(o);
  }
  for (auto& o : seen) cut(o.get());
  refs.clear();
  refhost::log().clear();
  return 0;
}
