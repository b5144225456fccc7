// AddModel: puts a new model into the document, holding a Mesh, Points, GriddedPoints,
// Curves or CADModel object, or a feature model with no data (type 7).
#pragma once
#include "commands/modifier.h"

class DataObject;
class IQorDataObject;

class IQorAddModel : public virtual IQorUnknown {
 public:
  virtual int32_t run() = 0;
};

class AddModel : public Modifier, public IQorAddModel {
 public:
  // Properties after the base's: object (read-only), model, type (0..7), name ("None",
  // replacing the base's), active (0..1, 1).
  AddModel();

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "AddModel"; }

  // Reads "model" and "type" and adds the model; 1, or a class error.
  int32_t run() override;
  // The same with the inputs given, leaving the "model" and "type" properties alone.
  int32_t run(DataObject* model, int32_t type);

 private:
  int32_t addModel(DataObject* model, int32_t type);
};
