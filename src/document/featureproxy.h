// Script features as the document layer sees them: the feature interface of a shell and the
// lookup of the shell of a host feature in the host's registries.
#pragma once
#include "core/qorobject.h"

namespace features {
// The shell's own interface, queried as "features::IQorFeature". Slot order as declared.
class IQorFeature : public virtual IQorUnknown {
 public:
  virtual void connect(IQorUnknown* host) = 0;  // 0
  virtual void mirrorParameters() = 0;          // 1
  virtual void reserved2() = 0;                 // 2
  // 3: the host feature, borrowed.
  virtual IQorUnknown* host() = 0;
};
}  // namespace features

namespace qor {
// The shell of a host feature: the host is asked for each feature interface in the fixed
// order, and the first one whose registry holds it gives the shell; null when none does,
// for a null host, or without the proxy manager. Never makes a shell.
features::IQorFeature* findFeatureProxy(IQorUnknown* hostFeature);
}  // namespace qor
