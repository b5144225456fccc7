// AddSelectionSubObject and GetSelectionSubObject: a script selection stored as a named
// sub-object of its model's host object, and a new script selection made from a stored one.
// The model's kind is taken from the selections manager's owner: "GenModel" (a mesh or a
// CAD model), then "PointModel", then "ScanModel".
#pragma once
#include "commands/modifier.h"

class Model;
class Selection;
class IModel;

class IQorAddSelectionSubObject : public virtual IQorUnknown {
 public:
  virtual const QorString& name() = 0;
  virtual int32_t run(Model* model, Selection* selection) = 0;
  virtual int32_t run() = 0;
};

class IQorGetSelectionSubObject : public virtual IQorUnknown {
 public:
  virtual const QorString& name() = 0;
  virtual int32_t run(Model* model, QorString& selectionName) = 0;
  virtual int32_t run() = 0;
};

class AddSelectionSubObject : public Modifier, public IQorAddSelectionSubObject {
 public:
  // Properties after the base's: object (the model), selection (the selection to store).
  AddSelectionSubObject();

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "AddSelectionSubObject"; }

  // The class name.
  const QorString& name() override;
  // Reads "object" and "selection" and stores the selection; 1, or a class error.
  int32_t run() override;
  // The same with the inputs given, leaving the properties alone.
  int32_t run(Model* model, Selection* selection) override;

 private:
  int32_t store(IModel* model, IQorUnknown* selection);
};

class GetSelectionSubObject : public Modifier, public IQorGetSelectionSubObject {
 public:
  // Properties after the base's: object (the model), selectionName ("None"), selection
  // (read-only output: the new script selection, or null when no stored one has the name).
  GetSelectionSubObject();

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "GetSelectionSubObject"; }

  // The class name.
  const QorString& name() override;
  // Reads "object" and "selectionName" and fills "selection"; 1, or a class error.
  int32_t run() override;
  // The same with the inputs given, leaving the input properties alone.
  int32_t run(Model* model, QorString& selectionName) override;

 private:
  int32_t fetch(IModel* model, const QorString& selectionName);
};
