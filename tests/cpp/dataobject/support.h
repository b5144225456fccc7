// Test support for data objects: catching the system's exception, writing and reading a
// whole document in memory, and a recorder of events.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "properties/support.h"
#include "refhost/host.h"
#include "refhost/persistence.h"

namespace dobj_test {

using props_test::argsText;
using props_test::raised;
using props_test::Recorder;

using testkit::Bytes;

// A new file (8-byte lengths) holding the document of `root`.
inline Bytes saved(DataObject* root) {
  refhost::persistentRefMap().clear();
  BinOutputMemory out;
  {
    QorFileWrite w(&out, true);
    EXPECT_TRUE(w.beginFile());
    EXPECT_TRUE(root->writeDocument(&w));
    EXPECT_TRUE(w.good());
  }
  refhost::persistentRefMap().clear();
  return Bytes(out.data(), out.data() + out.size());
}

// Reads the document in `file` into `root`, a new object by default.
inline IPtr<DataObject> loaded(const Bytes& file, IPtr<DataObject> root = new DataObject()) {
  refhost::persistentRefMap().clear();
  BinInputMemory in(file.data(), file.size());
  QorFileRead r;
  r.attach(&in);
  EXPECT_TRUE(r.beginFile());
  root->readDocument(&r);
  r.close();
  refhost::persistentRefMap().clear();
  return root;
}

inline std::string name(DataObject* o) {
  QorString n;
  o->getName(n);
  return n.utf8();
}

}  // namespace dobj_test
