#include "commands/addpropertydump.h"

#include <cstdio>
#include <string>

#include "base/utf8text.h"
#include "core/listing.h"
#include "datamodel/stringproperty.h"
#include "features/feature.h"
#include "hostapi/iqormodeldata.h"
#include "math/qorbounds.h"
#include "math/qormatrix.h"
#include "math/qorvector.h"

namespace {
// Set once, on first use, and never cleared: the tree the host writes keeps the provider's
// element, and the host's dump holds the provider.
AddPropertyDumpProvider* gProvider = nullptr;

const QorString& emptyText() {
  static const QorString empty(u"");
  return empty;
}

// The type texts of the value kinds, made on first use.
const QorString& doubleType() {
  static const QorString text(u"double");
  return text;
}
const QorString& intType() {
  static const QorString text(u"int");
  return text;
}
const QorString& stringType() {
  static const QorString text(u"string");
  return text;
}
}  // namespace

// ---- QorPropDumpProvider ----

QorPropDumpProvider::QorPropDumpProvider() : observers_(20) {}

QorPropDumpProvider::~QorPropDumpProvider() {
  for (int32_t i = 1; i <= observers_.count(); ++i)
    observers_.get(i)->subjectDeleted(static_cast<IQorLifetimeSubject*>(this));
}

void QorPropDumpProvider::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out) return;
  if (!name) {
    walkEnterClass(className(), out);
    walkAddInterface("IQorPropDumpProvider", out);
    walkAddInterface("IQorLifetimeSubject", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<IQorPropDumpProvider*>(this));
  else if (qorNameIs(name, "QorPropDumpProvider"))
    *out = this;
  else if (qorNameIs(name, "IQorPropDumpProvider"))
    *out = static_cast<IQorPropDumpProvider*>(this);
  else if (qorNameIs(name, "IQorLifetimeSubject"))
    *out = static_cast<IQorLifetimeSubject*>(this);
}

void QorPropDumpProvider::addListener(IQorLifetimeListener* observer) {
  observers_.push(observer);
}

void QorPropDumpProvider::removeListener(IQorLifetimeListener* observer) {
  for (int32_t i = 1; i <= observers_.count(); ++i) {
    if (observers_.get(i) == observer) {
      observers_.removeAt(i);
      return;
    }
  }
}

// ---- AddPropertyDumpProvider ----

AddPropertyDumpProvider::AddPropertyDumpProvider(const QorString& name) {
  SPtr<IQorPropertyDump> dump("IQorPropertyDump");
  if (dump) dump->addProvider(this);
  element_ = SPtr<IQorPropDumpXmlElement>("IQorPropDumpXmlElement");
  if (element_) element_->setName(name);
}

void AddPropertyDumpProvider::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (out && name && qorNameIs(name, "AddPropertyDumpProvider")) {
    *out = this;
    return;
  }
  QorPropDumpProvider::queryInterface(name, out, reserved);
}

void AddPropertyDumpProvider::xmlElement(IQorPropDumpXmlElement** out) {
  if (out) *out = element_.get();
}

AddPropertyDumpProvider* AddPropertyDumpProvider::instance() {
  if (!gProvider) {
    gProvider = new AddPropertyDumpProvider(QorString(u"Custom"));
    gProvider->addRef();  // the module's own, never given back
  }
  return gProvider;
}

AddPropertyDumpProvider* AddPropertyDumpProvider::existing() {
  return gProvider;
}

// ---- AddPropertyDump ----

AddPropertyDump::AddPropertyDump() : elementStack_(4) {
  makeProperties();
}

AddPropertyDump::AddPropertyDump(const char* basename) : AddPropertyDump() {
  set("basename", qor::wideOfStandardUtf8(basename ? basename : ""));
}

AddPropertyDump::~AddPropertyDump() = default;

void AddPropertyDump::makeProperties() {
  IPtr<IQorProperty> p(
      new StringProperty(QorString(u"basename"), QorString(u"Custom"), false, true));
  addProperty(p.get());
}

void AddPropertyDump::resolveBase(AddPropertyDumpProvider* provider) {
  IQorPropDumpXmlElement* root = nullptr;
  provider->xmlElement(&root);
  if (!root) return;
  const std::string name = qor::standardUtf8(getString("basename").text());
  IQorPropDumpXmlElement* base = root->findChild(name.c_str());
  if (!base) base = root->addChild(name.c_str(), emptyText(), emptyText());
  baseElement_ = base;
}

IQorPropDumpXmlElement* AddPropertyDump::currentElement() {
  if (!elementStack_.isEmpty()) return elementStack_.top();
  if (!baseElement_) resolveBase(AddPropertyDumpProvider::instance());
  return baseElement_.get();
}

bool AddPropertyDump::push(const char* propname) {
  return push(propname, emptyText());
}

bool AddPropertyDump::push(const char* propname, const QorString& stringVal) {
  IQorPropDumpXmlElement* e = currentElement();
  if (!e) return false;
  IQorPropDumpXmlElement* child = e->addChild(propname, emptyText(), stringVal);
  if (child) elementStack_.push(child);
  return child != nullptr;
}

bool AddPropertyDump::pop() {
  if (elementStack_.isEmpty()) return false;
  elementStack_.pop();
  return true;
}

bool AddPropertyDump::reset() {
  AddPropertyDumpProvider* provider = AddPropertyDumpProvider::existing();
  if (!provider) return true;
  elementStack_.clear();
  if (!baseElement_) resolveBase(provider);
  if (baseElement_) baseElement_->clear();
  return true;
}

bool AddPropertyDump::add(const char* propname, double doubleVal) {
  IQorPropDumpXmlElement* e = currentElement();
  return e && e->addChild(propname, QorString(doubleVal), doubleType());
}

bool AddPropertyDump::add(const char* propname, int intVal) {
  IQorPropDumpXmlElement* e = currentElement();
  return e && e->addChild(propname, QorString(int32_t{intVal}), intType());
}

bool AddPropertyDump::add(const char* propname, const QorString& stringVal) {
  IQorPropDumpXmlElement* e = currentElement();
  return e && e->addChild(propname, stringVal, stringType());
}

bool AddPropertyDump::addVector(const char* propname, const QorVector& vec, const char* type,
                                const char* const names[3]) {
  IQorPropDumpXmlElement* e = currentElement();
  if (!e) return false;
  IQorPropDumpXmlElement* child = e->addChild(propname, emptyText(), QorString(type));
  // A refused child ends the build; the answer stays true.
  if (!child) return true;
  for (int k = 0; k < 3; ++k) child->addChild(names[k], QorString(vec[k]), emptyText());
  return true;
}

bool AddPropertyDump::addPoint(const char* propname, const QorVector& vec) {
  static const char* const names[3] = {"X", "Y", "Z"};
  return addVector(propname, vec, "point", names);
}

bool AddPropertyDump::addDirection(const char* propname, const QorVector& vec) {
  static const char* const names[3] = {"XDir", "YDir", "ZDir"};
  return addVector(propname, vec, "vector", names);
}

bool AddPropertyDump::addMatrix(const char* propname, const QorMatrix& mat) {
  IQorPropDumpXmlElement* e = currentElement();
  if (!e) return false;
  IQorPropDumpXmlElement* child = e->addChild(propname, emptyText(), QorString(u"matrix"));
  if (!child) return false;
  char name[8];
  for (int i = 0; i < 16; ++i) {
    std::snprintf(name, sizeof name, "M%d", i);
    child->addAttribute(name, QorString(mat[i]), emptyText());
  }
  return true;
}

bool AddPropertyDump::addBounds(const char* propname, const QorBounds& bnds) {
  IQorPropDumpXmlElement* e = currentElement();
  if (!e) return false;
  IQorPropDumpXmlElement* child = e->addChild(propname, emptyText(), QorString(u"boundbox"));
  if (!child) return true;
  const struct {
    const char* name;
    double value;
  } sides[] = {{"XMin", bnds.minX}, {"XMax", bnds.maxX}, {"YMin", bnds.minY},
               {"YMax", bnds.maxY}, {"ZMin", bnds.minZ}, {"ZMax", bnds.maxZ}};
  for (const auto& s : sides) child->addAttribute(s.name, QorString(s.value), emptyText());
  return true;
}

bool AddPropertyDump::haveUtil() {
  if (!propertyDumpUtil_) propertyDumpUtil_ = SPtr<IQorPropertyDumpUtil>("IQorPropertyDumpUtil");
  return static_cast<bool>(propertyDumpUtil_);
}

bool AddPropertyDump::addFeature(const char* propName, DataObject* dobj) {
  IQorPropDumpXmlElement* e = currentElement();
  if (!e || !dobj) return false;
  auto* shell = qorQuery<features::IQorFeature>(dobj, "features::IQorFeature");
  IQorUnknown* hostFeature = shell ? shell->host() : nullptr;
  if (!hostFeature) return false;
  if (!haveUtil()) return false;
  IQorPropDumpXmlElement* child = e->addChild(propName, emptyText(), QorString(u"feature"));
  if (!child) return false;
  propertyDumpUtil_->addFeature(hostFeature, emptyText(), child);
  return true;
}

bool AddPropertyDump::addCADModel(const char* propName, DataObject* dobj) {
  IQorPropDumpXmlElement* e = currentElement();
  if (!e || !dobj) return false;
  auto* cad = qorQuery<cad::IQorCADModel>(dobj, "cad::IQorCADModel");
  IQorUnknown* host = cad ? cad->mesh() : nullptr;
  if (!host) return false;
  IQorPropDumpXmlElement* child = e->addChild(propName, emptyText(), QorString(u"cadModel"));
  if (!haveUtil()) return false;  // the child stays in the tree
  if (!child) return false;
  propertyDumpUtil_->addCADModel(host, child);
  return true;
}
