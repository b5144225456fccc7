#include "refhost/modulebridge.h"

#include "document/application.h"
#include "document/model.h"
#include "refhost/componentmanager.h"

namespace refhost {

void registerModuleServices(RefComponentManager& manager) {
  // Never destroyed: static pointers of the module hold it until the very end.
  static Application* const application = [] {
    auto* a = new Application();
    a->addRef();
    return a;
  }();
  manager.registerService("IQorApplication", static_cast<IQorApplication*>(application));
}

IQorUnknown* makeModelFor(IQorObject* host) {
  auto* model = new Model();
  model->setHostObject(host);
  // Through a reference: the conversion to the virtual base needs no null test (which
  // g++ at -O0 with sanitizers takes for an uninitialised read).
  IQorUnknown& view = static_cast<IModel&>(*model);
  return &view;
}

}  // namespace refhost
