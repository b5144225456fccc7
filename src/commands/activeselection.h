// The active selection commands: what the user has marked on a model at this moment, read
// into a new script selection (the Get commands, whose output property is read-only) and
// made the host's state from a script selection (the Set commands). Seven pairs: mesh
// triangles, edges and vertices, points, grid cells (quads), CAD faces and curves.
//
// Each command is a Modifier with an interface of its own name behind "IQor", with the one
// operation run, and two properties behind the base's name: its model and its selection.
// It answers its class name, "IQorUnknown", its interface's name, "Modifier", then the
// names of Modifier.
#pragma once
#include "commands/modifier.h"

// Declares the interface IQor<Name> and the command class <Name>.
#define BRINDLE_ACTIVE_SELECTION_COMMAND(Name)                                      \
  class IQor##Name : public virtual IQorUnknown {                                   \
   public:                                                                          \
    virtual int32_t run() = 0;                                                      \
  };                                                                                \
  class Name : public Modifier, public IQor##Name {                                 \
   public:                                                                          \
    Name();                                                                         \
    void queryInterface(const char* name, void** out, uintptr_t reserved) override; \
    const char* className() override { return #Name; }                              \
    /* 1, or a class error. */                                                      \
    int32_t run() override;                                                         \
  };

// mesh (MeshProperty), outputTriangleSelection (read-only TriangleSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(GetActiveTriangleSelection)
// mesh (MeshProperty), inputTriangleSelection (TriangleSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(SetActiveTriangleSelection)
// mesh (MeshProperty), outputEdgeSelection (read-only EdgeSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(GetActiveEdgeSelection)
// mesh (MeshProperty), inputEdgeSelection (EdgeSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(SetActiveEdgeSelection)
// mesh (MeshProperty), outputVertexSelection (read-only VertexSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(GetActiveVertexSelection)
// mesh (MeshProperty), inputVertexSelection (VertexSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(SetActiveVertexSelection)
// points (PointsProperty), outputPointSelection (read-only PointSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(GetActivePointSelection)
// points (PointsProperty), inputPointSelection (PointSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(SetActivePointSelection)
// griddedPointsModel (GriddedPointsProperty), outputQuadSelection (read-only
// QuadSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(GetActiveQuadSelection)
// pointModel (GriddedPointsProperty), inputQuadSelection (QuadSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(SetActiveQuadSelection)
// cad (CADModelProperty), outputCadFaceSelection (read-only CADFaceSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(GetActiveCadFaceSelection)
// cad (CADModelProperty), inputCadFaceSelection (CADFaceSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(SetActiveCadFaceSelection)
// curveSet (CurvesProperty), outputCurveSelection (read-only CurveSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(GetActiveCurveSelection)
// curveSet (CurvesProperty), inputCurveSelection (CurveSelectionProperty).
BRINDLE_ACTIVE_SELECTION_COMMAND(SetActiveCurveSelection)

#undef BRINDLE_ACTIVE_SELECTION_COMMAND
