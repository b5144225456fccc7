#include "refhost/propertydump.h"

#include <fcntl.h>
#include <libxml/xmlwriter.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>

#include "base/utf8text.h"
#include "core/listing.h"
#include "hostapi/iqormodeldata.h"
#include "refhost/componentmanager.h"
#include "refhost/datamodels.h"

namespace refhost {
namespace {

bool gRefuseChildren = false;

// Children removed by a clear: kept alive, as whoever was given one may still write to it.
std::vector<IPtr<RefDumpElement>>& detached() {
  static auto* kept = new std::vector<IPtr<RefDumpElement>>();
  return *kept;
}

bool xmlAllowed(uint32_t c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

void put(std::string& s, uint32_t c) {
  qor::appendUtf8(s, xmlAllowed(c) ? c : 0xFFFD);
}

// 16-bit text as UTF-8 that XML can carry.
std::string fromWide(const QorString& text) {
  std::string s;
  const char16_t* p = text.text();
  // Plain ASCII, the common case, goes across unit by unit with no check per byte.
  const char16_t* q = p;
  while (*q >= 0x20 && *q < 0x80) ++q;
  s.assign(p, q);
  for (p = q; *p; ++p) {
    uint32_t c = *p;
    if (c >= 0x20 && c < 0x80) {
      s += static_cast<char>(c);
      continue;
    }
    if (c >= 0xD800 && c <= 0xDBFF && p[1] >= 0xDC00 && p[1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (p[1] - 0xDC00u);
      ++p;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    put(s, c);
  }
  return s;
}

// UTF-8 text checked: each malformed sequence becomes U+FFFD.
std::string fromUtf8(const char* text) {
  static const uint32_t least[4] = {0, 0x80, 0x800, 0x10000};
  const auto* p = reinterpret_cast<const unsigned char*>(text ? text : "");
  const auto* q = p;
  while (*q >= 0x20 && *q < 0x80) ++q;
  std::string s(reinterpret_cast<const char*>(p), static_cast<size_t>(q - p));
  for (p = q; *p;) {
    const uint32_t b = *p;
    if (b < 0x80) {
      put(s, b);
      ++p;
      continue;
    }
    int more = 0;
    uint32_t c = 0;
    if (b >= 0xC2 && b <= 0xDF)
      more = 1, c = b & 0x1F;
    else if (b >= 0xE0 && b <= 0xEF)
      more = 2, c = b & 0x0F;
    else if (b >= 0xF0 && b <= 0xF4)
      more = 3, c = b & 0x07;
    int k = 1;
    for (; more && k <= more && (p[k] & 0xC0) == 0x80; ++k) c = (c << 6) | (p[k] & 0x3F);
    if (!more || k <= more || c < least[more] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      put(s, 0xFFFD);
      ++p;
      continue;
    }
    put(s, c);
    p += more + 1;
  }
  return s;
}

using Writer = std::unique_ptr<xmlTextWriter, void (*)(xmlTextWriterPtr)>;

const xmlChar* x(const char* s) {
  return reinterpret_cast<const xmlChar*>(s);
}

bool writeTriple(xmlTextWriterPtr w, const std::string& name, const std::string& value,
                 const std::string& type) {
  return xmlTextWriterWriteAttribute(w, x("name"), x(name.c_str())) >= 0 &&
         xmlTextWriterWriteAttribute(w, x("value"), x(value.c_str())) >= 0 &&
         xmlTextWriterWriteAttribute(w, x("type"), x(type.c_str())) >= 0;
}

bool writeElement(xmlTextWriterPtr w, const RefDumpElement& e) {
  if (xmlTextWriterStartElement(w, x("item")) < 0) return false;
  if (!writeTriple(w, e.name, e.value, e.type)) return false;
  for (const auto& a : e.attributes) {
    if (xmlTextWriterStartElement(w, x("attribute")) < 0 ||
        !writeTriple(w, a.name, a.value, a.type) || xmlTextWriterEndElement(w) < 0)
      return false;
  }
  for (const auto& c : e.children)
    if (!writeElement(w, *c)) return false;
  return xmlTextWriterEndElement(w) >= 0;
}

RefDumpElement* ownElement(IQorUnknown* e) {
  return qorQuery<RefDumpElement>(e, "RefDumpElement");
}

}  // namespace

// ---- elements ----

void RefDumpElement::queryInterface(const char* n, void** out, uintptr_t) {
  if (!out) return;
  if (!n) {
    walkEnterClass("RefDumpElement", out);
    walkAddInterface("IQorPropDumpXmlElement", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(n, "RefDumpElement"))
    *out = this;
  else if (qorNameIs(n, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(n, "IQorPropDumpXmlElement"))
    *out = static_cast<IQorPropDumpXmlElement*>(this);
}

void RefDumpElement::setName(const QorString& n) {
  name = fromWide(n);
}

void RefDumpElement::addAttribute(const char* n, const QorString& v, const QorString& t) {
  attributes.push_back({fromUtf8(n), fromWide(v), fromWide(t)});
}

IQorPropDumpXmlElement* RefDumpElement::addChild(const char* n, const QorString& v,
                                                 const QorString& t) {
  if (gRefuseChildren) return nullptr;
  auto* child = new RefDumpElement();
  child->name = fromUtf8(n);
  child->value = fromWide(v);
  child->type = fromWide(t);
  children.emplace_back(child);
  return child;
}

IQorPropDumpXmlElement* RefDumpElement::findChild(const char* n) {
  const std::string wanted = fromUtf8(n);
  for (const auto& c : children)
    if (c->name == wanted) return c.get();
  return nullptr;
}

void RefDumpElement::clear() {
  attributes.clear();
  auto& kept = detached();
  kept.insert(kept.end(), std::make_move_iterator(children.begin()),
              std::make_move_iterator(children.end()));
  children.clear();
}

// ---- the dump ----

void RefPropertyDump::queryInterface(const char* n, void** out, uintptr_t) {
  if (!out || !n) return;
  *out = nullptr;
  if (qorNameIs(n, "RefPropertyDump") || qorNameIs(n, "IQorUnknown") ||
      qorNameIs(n, "IQorPropertyDump"))
    *out = static_cast<IQorPropertyDump*>(this);
}

void RefPropertyDump::addProvider(IQorPropDumpProvider* provider) {
  if (provider) providers_.emplace_back(provider);
}

bool RefPropertyDump::writeAll(xmlTextWriter* w) {
  xmlTextWriterSetIndent(w, 1);
  xmlTextWriterSetIndentString(w, x("  "));
  bool ok = xmlTextWriterStartDocument(w, "1.0", "UTF-8", nullptr) >= 0 &&
            xmlTextWriterStartElement(w, x("propertyDump")) >= 0;
  for (const auto& p : providers_) {
    IQorPropDumpXmlElement* root = nullptr;
    p->xmlElement(&root);
    if (RefDumpElement* e = ownElement(root)) ok = ok && writeElement(w, *e);
  }
  return ok && xmlTextWriterEndDocument(w) >= 0 && xmlTextWriterFlush(w) >= 0;
}

bool RefPropertyDump::render(std::string& out) {
  out.clear();
  xmlOutputBufferPtr o = xmlOutputBufferCreateIO(
      [](void* to, const char* bytes, int n) {
        static_cast<std::string*>(to)->append(bytes, static_cast<size_t>(n));
        return n;
      },
      nullptr, &out, nullptr);
  Writer w(o ? xmlNewTextWriter(o) : nullptr, xmlFreeTextWriter);
  if (!w) {
    if (o) xmlOutputBufferClose(o);
    return false;
  }
  const bool ok = writeAll(w.get());
  w.reset();  // flushes the last bytes into `out`
  return ok;
}

std::string RefPropertyDump::xml() {
  std::string text;
  if (!render(text)) text.clear();
  return text;
}

bool RefPropertyDump::write(const std::string& path, int* error, std::string* why) {
  if (!render(scratch_)) {
    *error = EIO;
    *why = "the XML writer failed";
    return false;
  }
  static std::atomic<int> serial{0};
  const std::string temp =
      path + ".writing-" + std::to_string(getpid()) + "-" + std::to_string(serial++);
  int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) {
    *error = errno;
    *why = std::string("cannot create a file next to it: ") + std::strerror(*error);
    return false;
  }
  auto fail = [&](const char* what) {
    *error = errno;
    *why = std::string(what) + ": " + std::strerror(*error);
    if (fd >= 0) close(fd);
    std::remove(temp.c_str());
    return false;
  };
  struct stat old;
  if (stat(path.c_str(), &old) == 0) fchmod(fd, old.st_mode & 07777);
  for (size_t done = 0; done < scratch_.size();) {
    const ssize_t n = ::write(fd, scratch_.data() + done, scratch_.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return fail("writing failed");
    done += static_cast<size_t>(n);
  }
  if (fsync(fd) != 0) return fail("writing failed");
  const int closing = close(fd);
  fd = -1;
  if (closing != 0) return fail("writing failed");
  if (std::rename(temp.c_str(), path.c_str()) != 0) return fail("cannot rename over it");
  return true;
}

void RefPropertyDump::clear() {
  for (const auto& p : providers_) {
    IQorPropDumpXmlElement* root = nullptr;
    p->xmlElement(&root);
    if (RefDumpElement* e = ownElement(root))
      for (const auto& branch : e->children) branch->clear();
  }
}

// ---- the utility ----

void RefPropertyDumpUtil::queryInterface(const char* n, void** out, uintptr_t) {
  if (!out || !n) return;
  *out = nullptr;
  if (qorNameIs(n, "RefPropertyDumpUtil") || qorNameIs(n, "IQorUnknown") ||
      qorNameIs(n, "IQorPropertyDumpUtil"))
    *out = static_cast<IQorPropertyDumpUtil*>(this);
}

void RefPropertyDumpUtil::addFeature(IQorUnknown* hostFeature, const QorString& name,
                                     IQorPropDumpXmlElement* element) {
  if (!element || !hostFeature) return;
  element->addChild("class", QorString::fromUtf8(hostFeature->className()), u"string");
  if (!name.isEmpty()) element->addChild("name", name, u"string");
}

void RefPropertyDumpUtil::addCADModel(IQorUnknown* hostCAD, IQorPropDumpXmlElement* element) {
  auto* data = qorQuery<RefMeshData>(hostCAD, "RefMeshData");
  if (!element || !data || !data->geometry) return;
  element->addChild("triangles", QorString(static_cast<long long>(data->geometry->triangleCount())),
                    u"int");
  element->addChild("vertices", QorString(static_cast<long long>(data->geometry->vertexCount())),
                    u"int");
}

void RefDumpFeature::queryInterface(const char* n, void** out, uintptr_t) {
  if (!out || !n) return;
  *out = nullptr;
  if (qorNameIs(n, "RefDumpFeature") || qorNameIs(n, "IQorSubject"))
    *out = this;
  else if (qorNameIs(n, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(n, "IQorFeature"))
    *out = static_cast<IQorFeature*>(this);
}

RefPropertyDump& propertyDump() {
  return immortal<RefPropertyDump>();
}

void setDumpRefusesChildren(bool refuse) {
  gRefuseChildren = refuse;
}

void registerPropertyDump(RefComponentManager& m) {
  m.registerService("IQorPropertyDump", static_cast<IQorPropertyDump*>(&propertyDump()));
  m.registerFactory("IQorPropDumpXmlElement",
                    [] { return static_cast<IQorUnknown*>(new RefDumpElement()); });
  m.registerService("IQorPropertyDumpUtil",
                    static_cast<IQorPropertyDumpUtil*>(&immortal<RefPropertyDumpUtil>()));
}

}  // namespace refhost
