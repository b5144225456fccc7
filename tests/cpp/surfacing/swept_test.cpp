// The swept shells where a script does not reach: the surface factory on null, on a sweep
// and on a host whose angles left their bounds, and every property read after undo and redo
// (under the sanitizer build this shows that no view stays on a released host).
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "features/linefeature.h"
#include "surfacing/curveconverter.h"
#include "surfacing/sweptsurface.h"
#include "testkit.h"

using namespace surfacing;
using testkit::raised;

namespace {

// Every property's printed value, in key order; printing reads each value (an object by its
// class name, so the sketch views are built).
std::string printed(DataObject* o) {
  std::string all;
  for (const auto& [name, property] : *o->storage()) {
    QorString text;
    property->printValue(name, text);
    all += std::string(text.utf8()) + "\n";
  }
  return all;
}

}  // namespace

TEST(SweptShells, TheFactoryAnswersNullOrPassesTheSettersFailures) {
  EXPECT_EQ(makeSurface(nullptr), nullptr);
  IPtr<SweepSurface> sweep(new SweepSurface());
  EXPECT_EQ(sweep->clone(), nullptr) << "the factory has no case for a sweep";
  IPtr<RotationalSurface> turned(new RotationalSurface());
  turned->typedHost()->setAngleTo(7.0);
  EXPECT_EQ(raised([&] { makeSurface(turned->surface()); }).text,
            "Error in class : Value for property 'angleTo' is out of bounds '7.000000', value "
            "between '0.000000' and '6.283185' is expected.");
}

TEST(SweptShells, EveryPropertyReadsTheLiveHostAfterUndoAndRedo) {
  const std::vector<std::function<SweptShell*()>> kinds = {[] { return new ExtrudedSurface(); },
                                                           [] { return new DraftedSurface(); },
                                                           [] { return new RotationalSurface(); }};
  const QorMatrix shift = QorMatrix::fromTranslation(QorVector(3, -2, 1));
  for (const auto& make : kinds) {
    IPtr<SweptShell> shell(make());
    IPtr<features::LineFeature> sketch(new features::LineFeature());
    sketch->initialize(QorVector(1, 0, 0), QorVector(1, 2, 3));
    shell->set("sketch", static_cast<DataObject*>(sketch.get()));
    const std::string before = printed(shell.get());
    IPtr<IQorUndoInfo> record(shell->createUndoInfo());
    shell->transform(shift);
    sketch->initialize(QorVector(4, 0, 0), QorVector(5, 0, 1));
    shell->set("sketch", static_cast<DataObject*>(sketch.get()));
    record->captureAfter();
    const std::string after = printed(shell.get());
    EXPECT_NE(before, after) << shell->className();
    record->undo();
    EXPECT_EQ(printed(shell.get()), before) << shell->className();
    record->redo();
    EXPECT_EQ(printed(shell.get()), after) << shell->className();
  }
}
