// Application: the central access point for scripts. A facade without state: each
// operation fetches a host service, asks it, and turns what comes back into script
// objects. Services the operations expect are guarded: a missing one gives the "not found"
// answer (0, null or false) rather than a crash.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "base/qorstring.h"
#include "document/iqorapplication.h"

class DataObject;
class IQorObject;
class IQorSubObject;
class IQorSubObjectMgr;

class Application : public IQorApplication {
 public:
  // Answers "Application", "IQorUnknown", "IQorApplication".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Application"; }

  // The host's "IQorApplication" service queried for "Application", or null. Never makes one.
  static Application* instance();

  // ---- IQorApplication ----
  // Rebuilds every graphics object first when asked, renders, touches "Document/ModelInfo".
  void redraw(bool rebuildAll = false) override;
  void updateGUI() override;
  void rebuildGfx() override;
  IQorUnknown* activeObject() override;
  IterStack<DataObject*> activeObjects() override;
  void setActiveObject(IModel* model) override;
  void addActiveObject(IModel* model) override;
  IQorUnknown* namedReferenceObject(const char* ref) override;
  void setNamedReferenceObject(const char* ref, IModel* model) override;
  bool isNamedReferenceObject(const char* ref, IModel* model) override;
  void clearNamedReference(const char* ref) override;
  IterStack<DataObject*> getModels() override;
  IQorUnknown* getModelByName(const QorString& name) override;
  IQorUnknown* getModelById(int id) override;
  IQorUnknown* newGroup(const QorString& name) override;

  // ---- its own virtual operations ----
  // Refreshes the graphics of a feature, a model or a model's data; raises "object not
  // found or not supported." (label "refresh") for anything else.
  virtual void refresh(DataObject* object);
  virtual void updateGfx();
  // The host's display units; 4 when unset (7) or without the unit service.
  virtual int displayUnits();

  // ---- features and coordinate systems of models ----
  bool setVisible(DataObject* object, bool visible);
  bool isVisible(DataObject* object);
  bool setSelected(DataObject* object, bool selected);
  bool isSelected(DataObject* object);

  // ---- documents ----
  bool open(const QorString& filename);
  bool save();
  bool importFile(const QorString& filename);
  bool newFile();
  bool saveAs(const QorString& filename);
  void createReport();
  // Always true.
  bool compareFeatures(int viewType, int maxFeaturesPerView, int decimalPlaces);
  // Writes the opposite of `enable` to "GUI/DisableInCommandSensitivity".
  void enableSensitivityChecks(bool enable);

  // The correspondence set up between a test model and a reference model, or null.
  IQorUnknown* getDefaultCorrespondence(IModel* test, IModel* reference);
  IQorUnknown* getCADPolyCorrespondence(IModel* test, IModel* reference);

 private:
  void refreshObject(IQorObject* host);
  void refreshView();
  bool hostOfData(DataObject* object, IQorObject** out);
  bool findFeatureSubObject(DataObject* object, IQorSubObjectMgr** mgr, IQorSubObject** sub);
  bool findCSysSubObject(DataObject* object, IQorSubObjectMgr** mgr, IQorSubObject** sub);
  // The sub-object of a feature or coordinate system, or the class error with `label`.
  void findSubObject(DataObject* object, const char* label, IQorSubObjectMgr** mgr,
                     IQorSubObject** sub);
  // `kind` is the tag of the correspondence's name: "Default" or "CADPoly".
  IQorUnknown* correspondence(IModel* test, IModel* reference, const char* kind);
};
