// A property dump provider: the element the host made for it, and the listeners that hear
// its death.
#include "refhost/propertydump.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "commands/addpropertydump.h"
#include "refhost/componentmanager.h"
#include "refhost/host.h"

namespace {

using Heard = std::vector<std::pair<int, IQorLifetimeSubject*>>;

struct Listener : IQorLifetimeListener {
  Listener(Heard* h, int i) : heard(h), id(i) {}
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Listener"; }
  void subjectDeleted(IQorLifetimeSubject* s) override { heard->emplace_back(id, s); }
  Heard* heard;
  int id;
};

}  // namespace

TEST(PropDumpProvider, ListenersHearItsDeathInOrderAndARemovedEntryIsTheFirstEqualOne) {
  // Without the dump service nothing else holds the provider, so the last release ends it.
  refhost::manager().setMode("IQorPropertyDump", refhost::ServiceMode::Absent);
  auto* p = new AddPropertyDumpProvider(QorString(u"probe"));
  refhost::manager().setMode("IQorPropertyDump", refhost::ServiceMode::Normal);
  p->addRef();
  IQorPropDumpXmlElement* element = nullptr;
  p->xmlElement(&element);
  auto* own = qorQuery<refhost::RefDumpElement>(element, "RefDumpElement");
  ASSERT_NE(own, nullptr);
  EXPECT_EQ(own->name, "probe");
  for (const char* name : {"AddPropertyDumpProvider", "QorPropDumpProvider", "IQorUnknown",
                           "IQorPropDumpProvider", "IQorLifetimeSubject"})
    EXPECT_NE(qorQuery<void>(p, name), nullptr) << name;
  auto* subject = qorQuery<IQorLifetimeSubject>(p, "IQorLifetimeSubject");
  Heard heard;
  Listener a(&heard, 1), b(&heard, 2), c(&heard, 3);
  for (Listener* l : {&a, &b, &a, &c}) subject->addListener(l);
  subject->removeListener(&a);
  EXPECT_EQ(p->observerCount(), 3);
  p->release();
  EXPECT_EQ(heard, (Heard{{2, subject}, {1, subject}, {3, subject}}));
}
