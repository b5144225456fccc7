// The reference host's property dump: the dump service with its providers, the element tree
// ("IQorPropDumpXmlElement", a new element on each fetch) and the utility that writes host
// data into an element. The dump's XML is written with libxml2:
//
//   <propertyDump>
//     <item name="provider" value="" type="">          one per provider, in order
//       <attribute name="M0" value="1.000000" type=""/> the element's attributes, in order
//       <item name="child" value="1" type="int"/>       then its children, in order
//     </item>
//   </propertyDump>
//
// Names are attribute values, so any text can be a name. Text is kept as UTF-8; a character
// XML 1.0 can't carry (a control other than tab, line feed and carriage return, a lone
// surrogate, U+FFFE, U+FFFF, a byte that is not UTF-8) is kept as U+FFFD.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "core/iptr.h"
#include "hostapi/iqorfeature.h"
#include "hostapi/iqorpropertydump.h"

struct _xmlTextWriter;
typedef struct _xmlTextWriter xmlTextWriter;

namespace refhost {

class RefComponentManager;

class RefDumpElement : public IQorPropDumpXmlElement {
 public:
  struct Attribute {
    std::string name, value, type;
  };

  // Answers "RefDumpElement", "IQorUnknown", "IQorPropDumpXmlElement".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefDumpElement"; }

  void setName(const QorString& name) override;
  void addAttribute(const char* name, const QorString& value, const QorString& type) override;
  // Null while the host refuses children (setDumpRefusesChildren).
  IQorPropDumpXmlElement* addChild(const char* name, const QorString& value,
                                   const QorString& type) override;
  IQorPropDumpXmlElement* findChild(const char* name) override;
  // Removes the attributes and children. The removed children stay alive, detached, until
  // the process ends: a caller may still hold one it was given.
  void clear() override;

  std::string name, value, type;
  std::vector<Attribute> attributes;
  std::vector<IPtr<RefDumpElement>> children;
};

class RefPropertyDump : public IQorPropertyDump {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefPropertyDump"; }
  void reserved0() override {}
  void reserved1() override {}
  void reserved2() override {}
  void reserved3() override {}
  void reserved4() override {}
  void reserved5() override {}
  // Keeps the provider (counted), after those already there.
  void addProvider(IQorPropDumpProvider* provider) override;

  int32_t providerCount() const { return static_cast<int32_t>(providers_.size()); }
  // The whole dump as XML text (UTF-8).
  std::string xml();
  // Writes the XML into a temporary file next to `path`, then renames it over `path`. On
  // failure the errno and the reason; the target is left as it was.
  bool write(const std::string& path, int* error, std::string* why);
  // Empties every branch (each child of a provider's element), as a script's reset does.
  void clear();

 private:
  // The whole document through `w`; false when the writer failed.
  bool writeAll(xmlTextWriter* w);
  // The whole document into `out`.
  bool render(std::string& out);

  std::vector<IPtr<IQorPropDumpProvider>> providers_;
  std::string scratch_;  // the text of the last write, its memory kept for the next
};

// Writes marker children: for a feature its host class ("class") and the name when one is
// given ("name"); for a CAD model the "triangles" and "vertices" of its mesh.
class RefPropertyDumpUtil : public IQorPropertyDumpUtil {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefPropertyDumpUtil"; }
  void addFeature(IQorUnknown* hostFeature, const QorString& name,
                  IQorPropDumpXmlElement* element) override;
  void addCADModel(IQorUnknown* hostCAD, IQorPropDumpXmlElement* element) override;
};

// A host feature for tests: answers "IQorFeature" and "IQorSubject".
class RefDumpFeature : public IQorFeature {
 public:
  IQorFeature* clone() override { return nullptr; }
  void setParameterTable(IQorParameterTable*) override {}
  IQorParameterTable* parameterTable() override { return nullptr; }
  void setParameter(const QorString&, IQorParameter*) override {}
  void transform(const QorMatrix&) override {}
  void boundingBox(QorBounds&) override {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefDumpFeature"; }
};

RefPropertyDump& propertyDump();
// While on, every element refuses new children.
void setDumpRefusesChildren(bool refuse);
// Registers "IQorPropertyDump", "IQorPropDumpXmlElement" and "IQorPropertyDumpUtil".
void registerPropertyDump(RefComponentManager& m);

}  // namespace refhost
