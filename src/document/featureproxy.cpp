#include "document/featureproxy.h"

#include "core/iptr.h"
#include "hostapi/iqorappproxymanager.h"

namespace qor {

features::IQorFeature* findFeatureProxy(IQorUnknown* hostFeature) {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  static const char* const kOrder[] = {"IQorPlane",
                                       "IQorLine",
                                       "IQorCylinder",
                                       "IQorPoint",
                                       "IQorRectangularSlot",
                                       "IQorOvalSlot",
                                       "IQorRoundedSlot",
                                       "IQorTargetLine",
                                       "IQorTargetPoint",
                                       "IQorCone",
                                       "IQorSphere",
                                       "IQorTorus",
                                       "IQorArc",
                                       "IQorParallelPlanes",
                                       "IQorCoordinateSystem",
                                       "IQorNurbCurve"};
  if (!hostFeature || !manager) return nullptr;
  for (const char* name : kOrder) {
    if (!qorQuery<void>(hostFeature, name)) continue;
    // Registries key a host by its root, which every view of it shares.
    IQorProxyRegistry* registry = manager->registry(QorCString(kBorrow, name));
    IQorUnknown* shell = registry ? registry->find(hostFeature) : nullptr;
    if (shell) return qorQuery<features::IQorFeature>(shell, "features::IQorFeature");
  }
  return nullptr;
}

}  // namespace qor
