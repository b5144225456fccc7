// The script selection classes of the reference host and the status bar.
//
// Each selection is a data object with one model property (read-write, empty at start) and
// one bit set of that model's elements (numbered from 1). It answers its class name, its
// interface of hostapi/iqorselection.h, "Selection", "ISelectionBits" and the names of
// DataObject. The services that make them give a new object (count 0) on every fetch.
#pragma once
#include <cstdint>
#include <memory>

#include "base/bitvector.h"
#include "hostapi/iqorselection.h"

namespace refhost {

class RefComponentManager;

// What every selection shares: the kind's names, the model property and the bits.
class RefSelection : public Selection {
 public:
  // The fixed names of one selection class.
  struct Kind {
    const char* className;  // "TriangleSelection"
    const char* service;    // "mesh::IQorMeshTriangleSelection"
    const char* type;       // the script type, "qorapi.mesh.TriangleSelection"
    const char* property;   // the model property, "mesh"
  };
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return kind_.className; }
  const char* typeString() override { return kind_.type; }
  BitVector& selectionBits() override { return *bits_; }
  // The object in the model property (borrowed), or null.
  DataObject* model();
  const Kind& kind() const { return kind_; }

 protected:
  // Adds the model property (made by the subclass) and starts with an empty set.
  RefSelection(const Kind& kind, IQorProperty* property);
  // The view answering the kind's interface name.
  virtual void* interfaceView() = 0;
  std::unique_ptr<BitVector> bits_;

 private:
  const Kind& kind_;
};

class TriangleSelection : public RefSelection, public mesh::TriangleSelection {
 public:
  TriangleSelection();
  IQorUnknown* meshObject() override { return model(); }
  const BitVector& markedBits() override { return *bits_; }
  // Takes ownership of `bits` (null: a new empty vector) and drops the old vector; the
  // vector it already holds changes nothing.
  void setMarkedBits(BitVector* bits) override;
  BitVector* markedBitsPointer() override { return bits_.get(); }

 protected:
  void* interfaceView() override { return static_cast<mesh::TriangleSelection*>(this); }
};

class EdgeSelection : public RefSelection, public mesh::EdgeSelection {
 public:
  EdgeSelection();
  IQorUnknown* meshObject() override { return model(); }
  const BitVector& markedBits() override { return *bits_; }

 protected:
  void* interfaceView() override { return static_cast<mesh::EdgeSelection*>(this); }
};

class VertexSelection : public RefSelection, public mesh::VertexSelection {
 public:
  VertexSelection();
  IQorUnknown* meshObject() override { return model(); }
  const BitVector& markedBits() override { return *bits_; }

 protected:
  void* interfaceView() override { return static_cast<mesh::VertexSelection*>(this); }
};

class PointSelection : public RefSelection, public points::PointSelection {
 public:
  PointSelection();
  IQorUnknown* pointsObject() override { return model(); }
  const BitVector& markedBits() override { return *bits_; }
  BitVector& bits() override { return *bits_; }

 protected:
  void* interfaceView() override { return static_cast<points::PointSelection*>(this); }
};

class QuadSelection : public RefSelection, public griddedpoints::QuadSelection {
 public:
  QuadSelection();
  IQorUnknown* griddedPointsObject() override { return model(); }
  const BitVector& markedBits() override { return *bits_; }
  void setMarkedBits(const BitVector& bits) override { bits_->assign(bits); }

 protected:
  void* interfaceView() override { return static_cast<griddedpoints::QuadSelection*>(this); }
};

// Its bits are CAD faces (from 1).
class CADFaceSelection : public RefSelection, public cad::CADFaceSelection {
 public:
  CADFaceSelection();
  // The host mesh of the CAD model in "cadModel", or null.
  IQorUnknown* hostMesh() override;
  const BitVector& markedFaces() override { return *bits_; }

 protected:
  void* interfaceView() override { return static_cast<cad::CADFaceSelection*>(this); }
};

class CurveSelection : public RefSelection, public curves::IQorCurveSelection {
 public:
  CurveSelection();
  BitVector& bits() override { return *bits_; }

 protected:
  void* interfaceView() override { return static_cast<curves::IQorCurveSelection*>(this); }
};

// The status bar: counts and logs ("statusbar.refresh") its refreshes.
class RefStatusBar : public IGuiStatusBar {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefStatusBar"; }
  void reserved0() override {}
  void reserved1() override {}
  void reserved2() override {}
  void reserved3() override {}
  void refresh() override;
  int32_t refreshes() const { return refreshes_; }

 private:
  int32_t refreshes_ = 0;
};
RefStatusBar& statusBar();

// The interface name of each selection class's service ("mesh::IQorMeshTriangleSelection"
// for "TriangleSelection"), or null for another name.
const char* selectionService(const char* className);
// Registers the seven selection factories and "IGuiStatusBar".
void registerSelections(RefComponentManager& manager);

}  // namespace refhost
