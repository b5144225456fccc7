// ModelManager: the script's view of the document's list of top-level models. It owns no
// model: the list lives in the host, reached through the document, the object builder and
// the remover. It answers to "PropertyMap" and below, never to "ModelManager".
#pragma once
#include <cstdint>

#include "datamodel/propertymap.h"

class DataObject;

class ModelManager : public PropertyMap {
 public:
  // Adds the routed read-only properties "numObjects" and "numFeatures", in that order.
  ModelManager();

  // The process's one manager, made on first use and destroyed at exit.
  static ModelManager* instance();

  // A Mesh, Points or GriddedPoints object as a new host object; 1 on success. The object
  // keeps one more reference for the life of the process once its host data exists.
  int addObject(DataObject* object, bool makeActive);
  // Removes the object's host object; 1 when there was one to remove.
  int removeObject(DataObject* object);
  // Hangs a script feature on the model's host object as a new feature sub-object.
  int addFeature(DataObject* model, DataObject* feature);
  // Takes the feature's sub-object out of whichever object holds it.
  int removeFeature(DataObject* feature);
  // The same for a coordinate system.
  int removeCoordinateSystem(DataObject* csys);
  // Top-level objects of the document; 0 without the document.
  int getNumObjects() const;
  // Feature sub-objects of all those objects, counted by walking each manager.
  int getNumFeatures() const;
};
