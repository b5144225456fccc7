// The two directions between host objects and script-side objects: the script object of a
// host object, through the host's proxy tables, and the host object behind a data object.
#pragma once
#include "core/qorobject.h"

class DataObject;
class IQorObject;

// The script-side object of a host object from the proxy table of one interface name;
// null for a null host, without the proxy manager or without the table. The "IQorObject"
// table makes a Model on demand.
IQorUnknown* proxyForObject(IQorObject* host);
IQorUnknown* proxyForMesh(IQorUnknown* host);
IQorUnknown* proxyForPoints(IQorUnknown* host);
IQorUnknown* proxyForScan(IQorUnknown* host);
IQorUnknown* proxyForCurveSet(IQorUnknown* host);
IQorUnknown* proxyForMeshExt(IQorUnknown* host);

// The host object behind a data object: a bound Model's own host, else the document's
// object whose model data has `object` as its script object; null otherwise.
IQorObject* find_(DataObject* object);
