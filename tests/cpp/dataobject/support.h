// Test support for data objects: catching the system's exception, writing and reading a
// whole document in memory, and a recorder of events.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/iptr.h"
#include "core/platformexception.h"
#include "datamodel/dataobject.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "refhost/host.h"
#include "refhost/persistence.h"

namespace dobj_test {

using Bytes = std::vector<uint8_t>;

// The message of what `f` raised, or "" when it raised nothing.
template <class F>
std::string raised(F&& f) {
  try {
    f();
  } catch (PlatformException* e) {
    std::string text = e->message.utf8();
    delete e;
    return text;
  }
  return "";
}

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

// Reads the document in `file` into a new root object.
inline IPtr<DataObject> loaded(const Bytes& file) {
  refhost::persistentRefMap().clear();
  IPtr<DataObject> root(new DataObject());
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

// Records every event it hears: the event name and the names of the argument properties.
class Recorder : public IQorEventSubscriber {
 public:
  struct Heard {
    std::string event;
    std::vector<std::string> keys;
    std::string nameValue;                  // the argument "name", when a string
    std::vector<IQorProperty*> properties;  // by key order; compare, never use
    IQorDataEventArgs* args;                // compare only: it dies after the firing
    IQorDataEventSource* sender;
  };
  bool handleEvent(IQorDataEventSource* sender, const QorCString& event,
                   IQorDataEventArgs* args) override {
    Heard h{event.c_str(), {}, {}, {}, args, sender};
    if (auto* map = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap")) {
      std::string all = map->propertyNames().utf8();
      size_t start = 0;
      while (!all.empty() && start <= all.size()) {
        size_t comma = all.find(',', start);
        h.keys.push_back(all.substr(start, comma - start));
        if (comma == std::string::npos) break;
        start = comma + 1;
      }
      for (const std::string& k : h.keys) h.properties.push_back(map->getProperty(k.c_str()));
      if (map->hasProperty("name")) h.nameValue = map->getString("name").utf8();
    }
    heard.push_back(h);
    return false;
  }
  void queryInterface(const char* n, void** out, uintptr_t) override {
    *out = nullptr;
    if (qorNameIs(n, "IQorEventSubscriber")) *out = static_cast<IQorEventSubscriber*>(this);
  }
  const char* className() override { return "Recorder"; }
  std::vector<Heard> heard;
};

}  // namespace dobj_test
