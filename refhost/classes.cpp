#include "refhost/classes.h"

#include "datamodel/arrayproperties.h"
#include "datamodel/boolproperty.h"
#include "datamodel/dataobject.h"
#include "datamodel/dataobjectarrayproperty.h"
#include "datamodel/doubleproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/objectproperty.h"
#include "datamodel/ortriproperties.h"
#include "datamodel/progressproperty.h"
#include "datamodel/qorboundsproperty.h"
#include "datamodel/qorcolorproperty.h"
#include "datamodel/qormaterialproperty.h"
#include "datamodel/stringproperty.h"
#include "datamodel/transform3dproperty.h"
#include "datamodel/vector2dproperty.h"
#include "datamodel/vector2fproperty.h"
#include "datamodel/vector3dproperty.h"
#include "features/feature.h"
#include "surfacing/compositecurve.h"
#include "surfacing/curves.h"
#include "surfacing/nurbcurve.h"
#include "surfacing/polylinecurve.h"

namespace refhost {
namespace {

template <class P>
void add(RefComponentManager& m) {
  m.registerClass(P::classIdentifier(), [] { return static_cast<IQorUnknown*>(new P()); });
}

template <class O>
void addObject(RefComponentManager& m) {
  m.registerClass(O::classIdentifier(),
                  [] { return static_cast<IQorUnknown*>(static_cast<DataObject*>(new O())); });
}

}  // namespace

void registerDataModelClasses(RefComponentManager& m) {
  add<IntProperty>(m);
  add<DoubleProperty>(m);
  add<BoolProperty>(m);
  add<StringProperty>(m);
  add<Vector3DProperty>(m);
  add<Vector2DProperty>(m);
  add<Vector2FProperty>(m);
  add<Transform3DProperty>(m);
  add<QorBoundsProperty>(m);
  add<QorColorProperty>(m);
  add<QorMaterialProperty>(m);
  add<ObjectProperty>(m);
  add<DataObjectArrayProperty>(m);
  add<ProgressProperty>(m);
  add<DoubleArrayProperty>(m);
  add<IntArrayProperty>(m);
  add<ByteArrayProperty>(m);
  add<StringArrayProperty>(m);
  add<ColorArrayProperty>(m);
  add<Vector2DArrayProperty>(m);
  add<Vector2FArrayProperty>(m);
  add<Vector3DArrayProperty>(m);
  add<Array3DProperty>(m);
  add<Transform3DArrayProperty>(m);
  add<DoubleArray2DProperty>(m);
  add<Vector3DArray2DProperty>(m);
  add<ImageArrayProperty>(m);
  add<DirIndexProperty>(m);
  add<OrientedTriangleProperty>(m);
  add<OrientedTriangleStackProperty>(m);
  add<OrientedTriangleStackListProperty>(m);
  m.registerClass(QorID(), [] { return static_cast<IQorUnknown*>(new DataObject()); });
  // The curve shells that are plain data objects: each makes its own host, which reading
  // then fills.
  addObject<surfacing::NurbCurve>(m);
  addObject<surfacing::PolylineCurve>(m);
  addObject<surfacing::CompositeCurve>(m);
  // The curve set: made without a set; reading makes the set its record names.
  addObject<curves::Curves>(m);
  // The module's feature shells, made without a host: reading one makes its host.
  for (int32_t i = 0; i < features::shellClassCount(); ++i) {
    const QorID id = features::shellClassId(i);
    m.registerClass(id, [id]() -> IQorUnknown* {
      IQorUnknown* made = nullptr;
      if (features::Feature* shell = features::makeShell(id))
        made = static_cast<features::IQorFeature*>(shell);
      return made;
    });
  }
}

}  // namespace refhost
