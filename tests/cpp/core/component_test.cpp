// The component and its entry, before any locator is installed.
#include "core/component.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "core/locator.h"

namespace {

IQorCompInternal* internalOf(IQorComponent* c) {
  return qorQuery<IQorCompInternal>(c, "IQorCompInternal");
}

struct ThrowingFactory : IQorComponentFactory {
  bool useInt;
  explicit ThrowingFactory(bool i) : useInt(i) {}
  IQorComponent* create() override {
    if (useInt) throw 42;
    throw std::runtime_error("no");
  }
};

TEST(Component, EntryPointHandsOutTheComponentAndSurvivesEveryFailure) {
  uint32_t version = 7;
  uintptr_t comp = 0;
  ASSERT_EQ(qor::entryPoint(&version, &comp), 1);
  auto* c = reinterpret_cast<IQorComponent*>(comp);
  EXPECT_TRUE(version == 100u && qor::currentComponent() == c);
  EXPECT_STREQ(c->version(), "5.3.21.373382");
  EXPECT_EQ(c->refCount(), 0u) << "the host manages the reference from here";
  delete c;
  version = 77;
  EXPECT_EQ(qor::entryPoint(&version, nullptr), 0);
  EXPECT_EQ(version, 77u) << "a null component writes nothing";
  IQorComponentFactory* saved = qor::componentFactory().load();
  for (bool useInt : {true, false}) {
    ThrowingFactory f(useInt);
    qor::componentFactory().store(&f);
    uint32_t v = 5;
    comp = 9;
    EXPECT_TRUE(qor::entryPoint(&v, &comp) == 0 && v == 0u && comp == 0u);
  }
  qor::componentFactory().store(nullptr);
  comp = 9;
  EXPECT_EQ(qor::entryPoint(&version, &comp), 0) << "no factory";
  EXPECT_EQ(version, 77u);
  qor::componentFactory().store(saved);
}

TEST(Component, IdentityAndTheEmptyClassFactoryOrNone) {
  QorStaticBaseComponent c;
  IQorCompInternal* ci = internalOf(&c);
  ASSERT_NE(ci, nullptr);
  EXPECT_STREQ(ci->moduleName(), "brindle");
  EXPECT_EQ(Platform::guidToString(*ci->componentGuid()), "5D68CF6F-4618-40B4-AE7D-34B224BB02BF");
  EXPECT_EQ(QorDefaultClassFactory::bucketCount(), 131) << "nextPrime(99)";
  EXPECT_TRUE(ci->reserved3() == 0 && ci->reserved4()) << "placeholder slots keep their answers";
  IQorClassFactory* saved = qor::classFactory().load();
  for (IQorClassFactory* f : {saved, static_cast<IQorClassFactory*>(nullptr)}) {
    qor::classFactory().store(f);
    GUID g{};
    EXPECT_TRUE(ci->classCount() == 0 && !ci->firstClass(&g) && !ci->nextClass(&g));
    EXPECT_EQ(ci->classInfo(&qor::componentId), nullptr);
    void* out = reinterpret_cast<void*>(0x10);
    EXPECT_TRUE(c.createInstance(&qor::componentId, &out) == 0 && out == nullptr);
  }
  qor::classFactory().store(saved);
}

TEST(Component, ProxyNameAndBreakFlagAreProcessState) {
  QorStaticBaseComponent a, b;
  a.setProxyName(QorCString("other.component"));
  QorBaseComponent twin;
  EXPECT_EQ(twin.version(), nullptr);
  for (IQorUnknown* x : {static_cast<IQorUnknown*>(&a), static_cast<IQorUnknown*>(&twin)})
    for (const char* n : {x->className(), "IQorUnknown", "IQorComponent", "IQorCompInternal"})
      EXPECT_NE(qorQuery<void>(x, n), nullptr) << n;
  for (const char* seen :
       {b.getProxyName().c_str(), qor::proxyName().c_str(), twin.getProxyName().c_str()})
    EXPECT_STREQ(seen, "other.component");
  a.setProxyName(QorCString());
  EXPECT_TRUE(qor::proxyName().isEmpty());
  uint8_t old = b.getBreakEnabled();
  a.setBreakEnabled(1);
  EXPECT_EQ(b.getBreakEnabled(), 1);
  a.setBreakEnabled(old);
}

TEST(Component, ClassFactoryTableFindsAndWalksRegisteredClasses) {
  // The module registers none; the table itself must still work for a host that does.
  QorDefaultClassFactory f;
  int32_t before = f.classCount();
  static int made = 0;
  GUID ids[300];
  for (int i = 0; i < 300; ++i) {
    ids[i] = Platform::generateGuid();
    QorDefaultClassFactory::registerClass({ids[i],
                                           []() -> void* {
                                             ++made;
                                             return &made;
                                           },
                                           "test class"});
  }
  EXPECT_EQ(f.classCount(), before + 300);
  EXPECT_GT(QorDefaultClassFactory::bucketCount(), 300 / 0.8 - 1) << "grown past 0.8 load";
  void* out = nullptr;
  EXPECT_TRUE(f.createInstance(&ids[123], &out) == 1 && out == &made);
  EXPECT_STREQ(f.classInfo(&ids[7]), "test class");
  int walked = 0;
  GUID g{};
  for (bool ok = f.firstClass(&g); ok; ok = f.nextClass(&g)) ++walked;
  EXPECT_EQ(walked, before + 300);
}

}  // namespace
