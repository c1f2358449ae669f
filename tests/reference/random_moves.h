#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "foundation/angle.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "reference/random_problems.h"

namespace ptmatch::reference {

/// What is asked of a fitted transform, in the plane or in space. Where a class lacks a call, the
/// test of that class takes another in its place.
enum class Call {
    kUpdate,
    kUpdateLists,
    kFit,
    kFitLists,
    kReset,
    kIdentity,
    kTranslate,
    kRotate,
    kScale,
    kScaleEvenly,
    kAppend,
    kConcat,
    kAppendItself,
    kConcatItself,
    kSave,        ///< Copies the transform aside.
    kRestore,     ///< Assigns the copy.
    kLoad,        ///< Loads the record of the copy.
    kLoadCutOff,  ///< The same from a record that ends too early.
    kConstructFromLists,
    kConstructFromXform,
};

/// One call with all that it may take; of the lists, a single pair is the first of each.
struct PlaneMove {
    Call call = Call::kIdentity;
    std::vector<rxVector<2>> a;
    std::vector<rxVector<2>> b;
    int dof = 6;
    rxRadian angle;
    rxVector<2> vector;  ///< A translation or the factors of a scaling.
    rxXform<2> other;
    double part = 0.5;  ///< How much is there of a record that is cut off.
};

struct SpaceMove {
    Call call = Call::kIdentity;
    std::vector<rxVector<3>> a;
    std::vector<rxVector<3>> b;
    int axis = 0;  ///< 0 x, 1 y, 2 z
    rxRadian angle;
    rxVector<3> vector;
    double part = 0.5;
};

/// A way to make sequences of calls, named by why it hurts.
struct MoveKind {
    std::string name;
    double (*coordinate)(Random&);
    double (*factor)(Random&);
    double (*angle)(Random&);
    /// How the points lie: what becomes of three coordinates.
    void (*arrange)(double& x, double& y, double& z);
    /// How many of a thousand pairs have nothing to do with the transform behind the others.
    long unrelatedPerMille = 0;

    /// Shown for the parameter of a test.
    friend std::ostream& operator<<(std::ostream& out, const MoveKind& kind) {
        return out << kind.name;
    }
};

[[nodiscard]] const std::vector<MoveKind>& moveKinds();

[[nodiscard]] std::vector<PlaneMove> planeMoves(Random& random, const MoveKind& kind, long count);
[[nodiscard]] std::vector<SpaceMove> spaceMoves(Random& random, const MoveKind& kind, long count);

}  // namespace ptmatch::reference
