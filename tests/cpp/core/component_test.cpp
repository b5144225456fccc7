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

TEST(Component, EntryPointHandsOutTheComponent) {
  uint32_t version = 7;
  uintptr_t comp = 0;
  ASSERT_EQ(qor::entryPoint(&version, &comp), 1);
  EXPECT_EQ(version, 100u);
  auto* c = reinterpret_cast<IQorComponent*>(comp);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(qor::currentComponent(), c);
  EXPECT_STREQ(c->version(), "5.3.21.373382");
  EXPECT_STREQ(c->className(), "QorStaticBaseComponent");
  EXPECT_EQ(c->refCount(), 0u) << "the host manages the reference from here";
  delete c;
}

TEST(Component, EntryPointWithNullComponentWritesNothing) {
  uint32_t version = 77;
  EXPECT_EQ(qor::entryPoint(&version, nullptr), 0);
  EXPECT_EQ(version, 77u);
}

struct ThrowingFactory : IQorComponentFactory {
  bool useInt;
  explicit ThrowingFactory(bool i) : useInt(i) {}
  IQorComponent* create() override {
    if (useInt) throw 42;
    throw std::runtime_error("no");
  }
};

TEST(Component, EntryPointSurvivesAThrowingFactory) {
  IQorComponentFactory* saved = qor::componentFactory().load();
  for (bool useInt : {true, false}) {
    ThrowingFactory f(useInt);
    qor::componentFactory().store(&f);
    uint32_t version = 5;
    uintptr_t comp = 9;
    EXPECT_EQ(qor::entryPoint(&version, &comp), 0);
    EXPECT_EQ(version, 0u);
    EXPECT_EQ(comp, 0u);
  }
  qor::componentFactory().store(nullptr);
  uint32_t version = 5;
  uintptr_t comp = 9;
  EXPECT_EQ(qor::entryPoint(&version, &comp), 0) << "no factory";
  EXPECT_EQ(version, 5u);
  qor::componentFactory().store(saved);
}

TEST(Component, AnswersItsFourNamesInOrderAndNothingElse) {
  QorStaticBaseComponent c;
  const char* names[] = {"QorStaticBaseComponent", "IQorUnknown", "IQorComponent",
                         "IQorCompInternal"};
  for (const char* n : names) {
    void* out = nullptr;
    c.queryInterface(n, &out, 0);
    EXPECT_NE(out, nullptr) << n;
  }
  void* out = reinterpret_cast<void*>(0x10);
  c.queryInterface("IQorComponentManager", &out, 0);
  EXPECT_EQ(out, nullptr);
  out = reinterpret_cast<void*>(0x10);
  c.queryInterface(nullptr, &out, 0);
  EXPECT_EQ(out, reinterpret_cast<void*>(0x10)) << "a component doesn't describe itself";
  void* comp = nullptr;
  void* internal = nullptr;
  c.queryInterface("IQorComponent", &comp, 0);
  c.queryInterface("IQorCompInternal", &internal, 0);
  EXPECT_EQ(static_cast<IQorComponent*>(comp), static_cast<IQorComponent*>(&c));
  EXPECT_EQ(static_cast<IQorCompInternal*>(internal), static_cast<IQorCompInternal*>(&c));
}

TEST(Component, IdentityAndEmptyClassFactory) {
  QorStaticBaseComponent c;
  IQorCompInternal* ci = internalOf(&c);
  ASSERT_NE(ci, nullptr);
  EXPECT_STREQ(ci->moduleName(), "brindle");
  EXPECT_EQ(ci->componentGuid(), &qor::componentId);
  EXPECT_EQ(Platform::guidToString(*ci->componentGuid()), "5D68CF6F-4618-40B4-AE7D-34B224BB02BF");
  const uint8_t data4[8] = {0xAE, 0x7D, 0x34, 0xB2, 0x24, 0xBB, 0x02, 0xBF};
  EXPECT_EQ(0, std::memcmp(qor::componentId.Data4, data4, 8));
  EXPECT_EQ(ci->classCount(), 0);
  GUID g{};
  EXPECT_FALSE(ci->firstClass(&g));
  EXPECT_FALSE(ci->nextClass(&g));
  EXPECT_EQ(ci->classInfo(&qor::componentId), nullptr);
  void* out = reinterpret_cast<void*>(0x10);
  EXPECT_EQ(c.createInstance(&qor::componentId, &out), 0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(QorDefaultClassFactory::bucketCount(), 131) << "nextPrime(99)";
  // The placeholder slots keep their answers.
  EXPECT_EQ(ci->reserved3(), 0);
  EXPECT_TRUE(ci->reserved4());
}

TEST(Component, WithoutAClassFactoryNothingIsMade) {
  IQorClassFactory* saved = qor::classFactory().load();
  qor::classFactory().store(nullptr);
  QorStaticBaseComponent c;
  void* out = reinterpret_cast<void*>(0x10);
  EXPECT_EQ(c.createInstance(&qor::componentId, &out), 0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(c.classCount(), 0);
  GUID g{};
  EXPECT_FALSE(c.firstClass(&g));
  EXPECT_EQ(c.classInfo(&g), nullptr);
  qor::classFactory().store(saved);
}

TEST(Component, ProxyNameAndBreakFlagAreProcessState) {
  QorStaticBaseComponent a, b;
  a.setProxyName(QorCString("other.component"));
  EXPECT_STREQ(b.getProxyName().c_str(), "other.component");
  EXPECT_STREQ(qor::proxyName().c_str(), "other.component");
  a.setProxyName(QorCString());
  EXPECT_TRUE(qor::proxyName().isEmpty());
  uint8_t old = b.getBreakEnabled();
  a.setBreakEnabled(1);
  EXPECT_EQ(b.getBreakEnabled(), 1);
  a.setBreakEnabled(old);
}

TEST(Component, BaseComponentTwinHasNoVersion) {
  QorBaseComponent c;
  EXPECT_EQ(c.version(), nullptr);
  EXPECT_STREQ(c.className(), "QorBaseComponent");
  void* out = nullptr;
  c.queryInterface("QorBaseComponent", &out, 0);
  EXPECT_NE(out, nullptr);
  c.queryInterface("QorStaticBaseComponent", &out, 0);
  EXPECT_EQ(out, nullptr);
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
  EXPECT_EQ(f.createInstance(&ids[123], &out), 1);
  EXPECT_EQ(out, &made);
  EXPECT_STREQ(f.classInfo(&ids[7]), "test class");
  int walked = 0;
  GUID g{};
  for (bool ok = f.firstClass(&g); ok; ok = f.nextClass(&g)) ++walked;
  EXPECT_EQ(walked, before + 300);
}

}  // namespace
