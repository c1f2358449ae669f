#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <forward_list>
#include <limits>
#include <optional>
#include <sstream>

#include "foundation/fitter.h"
#include "foundation/image_functions.h"
#include "foundation/stream_archive.h"
#include "hardening/allocation_sweep.h"
#include "hardening/fault_world.h"
#include "ptmatch/adapters.h"
#include "ptmatch/affine_approximation.h"
#include "ptmatch/clutter_chance.h"
#include "ptmatch/condition_estimate.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/pose_covariance.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/score_hashing.h"
#include "ptmatch/space_fit.h"

namespace ptmatch::testing {

namespace {

class AllocationFailureOfValues : public ::testing::TestWithParam<FaultScenario> {};

TEST_P(AllocationFailureOfValues, LeavesWhatIsPromised) {
    expectToWithstandAllocationFailures(GetParam());
}

using Table = std::vector<FaultScenario>;

// ---- copies, assignments and records of everything that has them

template <class T>
struct Operands {
    T source;
    T target;
    std::optional<T> copy;
    ByteVector record;
    std::string stream;
};

template <class T>
using Make = std::function<void(T&)>;

template <class T>
class ValueScenarios {
  public:
    ValueScenarios(Table& all, std::string name, Make<T> make, Make<T> makeOther)
        : all_(all), name_(std::move(name)) {
        table_.prepare = [make, makeOther](Operands<T>& operands) {
            make(operands.source);
            makeOther(operands.target);
        };
        table_.left = [](const Operands<T>& operands) {
            return joined({describe(operands.source), describe(operands.target)});
        };
    }

    ValueScenarios& copies(bool takesMemory = true) {
        FaultTable<Operands<T>> table = table_;
        table.call = [](Operands<T>& operands) { operands.copy.emplace(operands.source); };
        table.outcome = [](const Operands<T>& operands) { return describe(operands.copy.value()); };
        return add(table, "Copy", takesMemory);
    }

    ValueScenarios& assigns(bool takesMemory = true) {
        FaultTable<Operands<T>> table = table_;
        table.call = [](Operands<T>& operands) { operands.target = operands.source; };
        table.outcome = describeTarget;
        return add(table, "Assign", takesMemory);
    }

    /// Of a structure whose members are assigned one after the other: a part of them may be new.
    ValueScenarios& assignsMembers() {
        FaultTable<Operands<T>> table = table_;
        table.call = [](Operands<T>& operands) { operands.target = operands.source; };
        table.outcome = describeTarget;
        table.left = [](const Operands<T>& operands) { return describe(operands.source); };
        return add(table, "AssignMembers", true);
    }

    ValueScenarios& stores() {
        FaultTable<Operands<T>> table = table_;
        table.call = [](Operands<T>& operands) {
            rxMemoryStoreArchive ar;
            ar || operands.source;
            operands.record = ar.takeStored();
        };
        table.outcome = [](const Operands<T>& operands) { return operands.record; };
        return add(table, "Store", true);
    }

    ValueScenarios& storesToStreams() {
        FaultTable<Operands<T>> table = table_;
        table.call = [](Operands<T>& operands) {
            std::ostringstream stream;
            rxStreamStoreArchive ar(stream);
            ar || operands.source;
            operands.stream = stream.str();
        };
        table.outcome = [](const Operands<T>& operands) { return stored(operands.stream); };
        add(table, "StoreToStream", true);
        // A stream keeps to itself why it takes no more.
        all_.back().mayThrowArchiveErrors = true;
        return *this;
    }

    ValueScenarios& loads(bool takesMemory = true) {
        FaultTable<Operands<T>> table = table_;
        table.prepare = [prepare = table_.prepare](Operands<T>& operands) {
            prepare(operands);
            rxMemoryStoreArchive ar;
            ar || operands.source;
            operands.record = ar.takeStored();
        };
        table.call = [](Operands<T>& operands) {
            rxMemoryLoadArchive ar(operands.record);
            ar || operands.target;
        };
        table.outcome = describeTarget;
        return add(table, "Load", takesMemory);
    }

    ValueScenarios& loadsFromStreams() {
        FaultTable<Operands<T>> table = table_;
        table.prepare = [prepare = table_.prepare](Operands<T>& operands) {
            prepare(operands);
            std::ostringstream stream;
            rxStreamStoreArchive ar(stream);
            ar || operands.source;
            operands.stream = stream.str();
        };
        table.call = [](Operands<T>& operands) {
            std::istringstream stream(operands.stream);
            rxStreamLoadArchive ar(stream);
            ar || operands.target;
        };
        table.outcome = describeTarget;
        return add(table, "LoadFromStream", true);
    }

    ValueScenarios& isRecorded() { return stores().loads(); }

  private:
    static ByteVector describeTarget(const Operands<T>& operands) {
        return describe(operands.target);
    }

    ValueScenarios& add(const FaultTable<Operands<T>>& table, const std::string& what,
                        bool takesMemory) {
        all_.push_back(table.named(what + name_));
        all_.back().takesMemory = takesMemory;
        return *this;
    }

    Table& all_;
    std::string name_;
    FaultTable<Operands<T>> table_;
};

template <class T>
ValueScenarios<T> ofValue(Table& all, std::string name, Make<T> make, Make<T> makeOther) {
    return ValueScenarios<T>(all, std::move(name), std::move(make), std::move(makeOther));
}

/// The same of values that can be made before they are needed.
template <class T>
ValueScenarios<T> ofValues(Table& all, std::string name, T value, T other) {
    const auto kept = std::make_shared<const std::pair<T, T>>(std::move(value), std::move(other));
    return ofValue<T>(
        all, std::move(name), [kept](T& v) { v = kept->first; },
        [kept](T& v) { v = kept->second; });
}

Training after(Training training) {
    return training == Training::eSparse ? Training::eByVotes : Training::eSparse;
}

void addMatchers(Table& all) {
    for (const Training training : kTrainings) {
        auto scenarios = ofValue<rxPointMatcher>(
            all, "Matcher" + nameOf(training), [=](rxPointMatcher& m) { train(m, training); },
            [=](rxPointMatcher& m) { train(m, after(training)); });
        scenarios.copies().assigns().isRecorded().storesToStreams().loadsFromStreams();
    }
}

void addResults(Table& all) {
    for (const Training training : kTrainings) {
        MatcherRun run;
        prepare(run, training);
        run.run();
        // Of the image of a result on a grid, copies share the pixels.
        const bool takesMemory = !isGrid(training);
        rxPointMatcherResultSet more = run.found;
        ofValues(all, "Result" + nameOf(training), run.found.results().at(0),
                 earlierResults().results().at(0))
            .copies(takesMemory)
            .assigns(takesMemory)
            .isRecorded();
        ofValues(all, "ResultSet" + nameOf(training), run.found, earlierResults())
            .copies()
            .assigns()
            .isRecorded();
        // Into a set with room for the results that are to come.
        ofValues(all, "ResultSetOver" + nameOf(training), earlierResults(), run.found)
            .assigns()
            .isRecorded();
    }
}

void addGridTools(Table& all) {
    rx_PointToGridCorresponder dense;
    dense.train(denseImage(), rx_PointToGridCorresponderTrainParams());
    rx_PointToGridCorresponder sparse;
    sparse.train(sparseImage(), rx_PointToGridCorresponderTrainParams(true));
    ofValues(all, "Corresponder", dense, sparse).copies().assigns().isRecorded();
    ofValues(all, "CorresponderParams", rx_PointToGridCorresponderTrainParams(true),
             rx_PointToGridCorresponderTrainParams())
        .copies(false)
        .assigns(false)
        .stores()
        .loads(false);
    const auto placed = [](double time, std::size_t count) {
        return loaded<rx_PointToGridCorresponderResultSet>(
            stored(1100UL, time, std::vector<rx_PointToGridCorresponderResult>(count)));
    };
    ofValues(all, "Placements", placed(1.5, 5), placed(2.5, 1)).copies().assigns().isRecorded();

    const auto mapped = [](bool valid, double x, std::size_t count) {
        return loaded<rxPtToGridMapResult>(
            stored(1100UL, valid, x, poseAt(x, 2), std::vector<rxPair<long>>(count)));
    };
    ofValues(all, "GridMap", mapped(true, 1.5, 7), mapped(false, 2.5, 3))
        .copies()
        .assigns()
        .isRecorded();
    ofValues(all, "GridMapParams", rxPtToGridMapRunParams(rxVector<2>(1, 2)),
             rxPtToGridMapRunParams())
        .copies(false)
        .assigns(false)
        .stores()
        .loads(false);
    ofValues(all, "RunParams", rxPointMatcherRunParams(0.25), rxPointMatcherRunParams())
        .copies(false)
        .assigns(false)
        .stores()
        .loads(false);
}

void addPrimitives(Table& all) {
    ofValues(all, "Text", std::string(100, 'a'), std::string("b")).isRecorded();
    ofValues(all, "Texts", std::vector<std::string>{std::string(50, 'a'), std::string(70, 'b')},
             std::vector<std::string>{"c"})
        .isRecorded()
        .storesToStreams()
        .loadsFromStreams();
    ofValues(all, "Points", tinyModel(), smallModel()).isRecorded();
    ofValues(all, "Lists", std::vector<std::vector<long>>{{1, 2}, {}, {3}},
             std::vector<std::vector<long>>{{4}})
        .isRecorded();
    ofValues(all, "Range", rxRange(1, 2), rxRange::FullRange()).stores().loads(false);
    // Of pixels, so that the assignment of the table, which shares them, is not one of its calls.
    ofValue<rxPelBuffer<unsigned char>>(
        all, "Image", [](rxPelBuffer<unsigned char>& image) { image = denseImage(); },
        [](rxPelBuffer<unsigned char>& image) { image = sparseImage(); })
        .copies(false)
        .assigns(false)
        .isRecorded();
    ofValue<rxPelBuffer<long>>(
        all, "WideImage", [](rxPelBuffer<long>& image) { image = rxPelBuffer<long>(0, 5, 32); },
        [](rxPelBuffer<long>&) {})
        .isRecorded();
}

// ---- transforms and matrices

const std::vector<rxVector<2>> kPlane = {{0, 0}, {4, 1}, {5, 5}, {-1, 4}, {2, 3}, {3, 1}};
const std::vector<rxVector<2>> kImages = {{1, 1}, {9, 3}, {11.5, 11}, {-1, 9}, {5, 7.5}, {7, 3.5}};
const std::vector<rxVector<3>> kSpace = {{0, 0, 0},  {4, 1, 1}, {5, 5, 2},
                                         {-1, 4, 3}, {2, 3, 7}, {3, 1, -4}};
const std::vector<rxVector<3>> kMovedSpace = {{1, 2, 3},  {3, 7, 4},  {-1, 9, 5},
                                              {-2, 1, 6}, {0, 5, 10}, {4, 6, -1}};

rxMatrixExt matrixOf(long rows, long cols, double seed) {
    rxMatrixExt matrix(rows, cols);
    for (long r = 0; r < rows; ++r) {
        for (long c = 0; c < cols; ++c) {
            const auto i = static_cast<double>(r * cols + c);
            matrix.element(r, c, std::sin(seed + i * i) + (r == c ? 3.0 : 0.0));
        }
    }
    return matrix;
}

rxLeastSquares systemOf(long numUnknowns, double seed) {
    rxLeastSquares system(numUnknowns);
    const rxMatrixExt rows = matrixOf(numUnknowns + 3, numUnknowns, seed);
    for (long r = 0; r < rows.rows(); ++r) system.update(rows[r], static_cast<double>(r));
    return system;
}

rxPsuedoInverse normalEquationsOf(long numUnknowns, double seed) {
    rxPsuedoInverse system(numUnknowns);
    const rxMatrixExt rows = matrixOf(numUnknowns + 3, numUnknowns, seed);
    for (long r = 0; r < rows.rows(); ++r) system.update(rows[r], static_cast<double>(r));
    return system;
}

rx2PtMatchTm affineWithPairs() {
    rx2PtMatchTm tm(kPlane, kImages, 6);
    tm.update(rxVector<2>(1, 2), rxVector<2>(3, 4));
    return tm;
}

void addEstimates(Table& all) {
    ofValues(all, "Affine", affineWithPairs(), rx2PtMatchTm())
        .copies(false)
        .assigns(false)
        .stores()
        .loads(false);
    ofValues(all, "Perspective", rx2PTm(kPlane, kImages), rx2PTm()).copies().isRecorded();
    // Accumulators of as many unknowns have the room already.
    ofValue<rx2PTm>(
        all, "PerspectiveOverNone", [](rx2PTm& tm) { tm = rx2PTm(kPlane, kImages); },
        [](rx2PTm& tm) { tm = rx2PTm::I; })
        .assigns();
    ofValues(all, "SpaceTransform", rx3PtMatchTm(kSpace, kMovedSpace), rx3PtMatchTm())
        .copies()
        .assigns()
        .isRecorded();
    ofValues(all, "Matrix", matrixOf(3, 5, 1), matrixOf(2, 2, 2)).copies().assigns().isRecorded();
    ofValues(all, "NormalEquations", normalEquationsOf(4, 1), normalEquationsOf(2, 2))
        .copies()
        .assigns()
        .isRecorded();
    ofValues(all, "LeastSquares", systemOf(4, 1), systemOf(2, 2)).copies().assigns();
}

// ---- plain structures

void addStructures(Table& all) {
    rxMatchedPairs pairs{smallModel(), kPlane, {1, 2, 3}, {4, 5}};
    rxMatchedPairs fewer{tinyModel(), {}, {1}, {}};
    ofValues(all, "MatchedPairs", pairs, fewer).copies().assignsMembers();
    rxCertainty sure;
    sure.pairs = pairs;
    sure.residuals = {0.5, 0.25, 0.125};
    ofValues(all, "Certainty", sure, rxCertainty()).copies().assignsMembers();
    rxVoteImage image;
    image.width = image.height = 2;
    image.votes = {1, 2, 3, 4};
    ofValues(all, "VoteImage", image, rxVoteImage()).copies().assignsMembers();
}

Table valueScenarios() {
    Table all;
    addMatchers(all);
    addResults(all);
    addGridTools(all);
    addPrimitives(all);
    addEstimates(all);
    addStructures(all);
    return all;
}

INSTANTIATE_TEST_SUITE_P(Values, AllocationFailureOfValues, ::testing::ValuesIn(valueScenarios()),
                         nameOfScenario);

// ---- exceptions: copied without memory, recorded with

struct Thrown {
    std::shared_ptr<rxPersistent> exception;
    ByteVector record;
    std::unique_ptr<rxPersistent> loaded;
};

ByteVector recordOf(const rxPersistent& object) {
    rxMemoryStoreArchive ar;
    rfStorePolymorphic(ar, object);
    return ar.takeStored();
}

/// Another one of the class.
template <class Exception>
Exception exceptionLike(const Exception& /*exception*/) {
    return Exception(std::string(30, 'o'));
}
rxArchive::UnknownVersion exceptionLike(const rxArchive::UnknownVersion& /*exception*/) {
    return {nullptr, 3};
}

template <class Exception>
void addException(Table& all, const std::string& name, const Exception& exception) {
    FaultTable<Thrown> store;
    store.prepare = [exception](Thrown& thrown) {
        thrown.exception = std::make_shared<Exception>(exception);
    };
    store.call = [](Thrown& thrown) { thrown.record = recordOf(*thrown.exception); };
    store.outcome = [](const Thrown& thrown) { return thrown.record; };
    store.left = [](const Thrown& thrown) { return recordOf(*thrown.exception); };
    all.push_back(store.named("Store" + name));

    FaultTable<Thrown> load = store;
    load.prepare = [exception](Thrown& thrown) {
        thrown.exception = std::make_shared<Exception>(exception);
        thrown.record = recordOf(exception);
    };
    load.call = [](Thrown& thrown) {
        rxMemoryLoadArchive ar(thrown.record);
        thrown.loaded = rfLoadPolymorphic(ar);
    };
    load.outcome = [](const Thrown& thrown) { return recordOf(*thrown.loaded); };
    all.push_back(load.named("Load" + name));

    // In place of another one: memory may run out when the record has been taken over already.
    const ByteVector older = recordOf(exceptionLike(exception));
    FaultTable<Thrown> over = store;
    over.prepare = [exception](Thrown& thrown) {
        thrown.exception = std::make_shared<Exception>(exceptionLike(exception));
        Exception newer = exception;
        rxMemoryStoreArchive ar;
        ar || newer;
        thrown.record = ar.takeStored();
    };
    over.call = [](Thrown& thrown) {
        rxMemoryLoadArchive ar(thrown.record);
        ar || *thrown.exception;
    };
    over.outcome = store.left;
    over.left = [older, newer = recordOf(exception)](const Thrown& thrown) {
        const ByteVector now = recordOf(*thrown.exception);
        return stored(now == older || now == newer);
    };
    all.push_back(over.named("LoadOver" + name));

    FaultTable<Thrown> copy = store;
    copy.call = [](Thrown& thrown) {
        const Exception same(dynamic_cast<const Exception&>(*thrown.exception));
        EXPECT_EQ(same.message(), dynamic_cast<const Exception&>(*thrown.exception).message());
    };
    copy.outcome = copy.left;
    all.push_back(copy.named("Copy" + name));
    all.back().takesMemory = false;
}

Table exceptionScenarios() {
    const std::string message(40, 'm');
    Table all;
    addException(all, "BadParams", rxPointMatcherDefs::BadParams(message));
    addException(all, "NotTrained", rxPointMatcherDefs::NotTrained(message));
    addException(all, "NotRun", rxPointMatcherDefs::NotRun(message));
    addException(all, "InsufficientPoints", rxPointMatcherDefs::InsufficientModelPoints(message));
    addException(all, "InsufficientPositions",
                 rx_PointToGridCorresponderDefs::InsufficientModelPoints(message));
    addException(all, "InsufficientMemory",
                 rx_PointToGridCorresponderDefs::InsufficientMemory(message));
    addException(all, "ArchiveErrors", rxArchive::Errors(message));
    addException(all, "UnknownVersion", rxArchive::UnknownVersion(message.c_str(), 7));
    addException(all, "MathError", rxMathError(message));
    addException(all, "FitterErrors", rxLSPointToPointFitter::Errors(message));
    addException(all, "ImageErrors", rx_PelBuffer::Errors(message));
    addException(all, "Interrupted", rxAttention::Interrupted(message));
    addException(all, "DeadlinePassed", rxDeadlinePassed(message));
    return all;
}

INSTANTIATE_TEST_SUITE_P(Exceptions, AllocationFailureOfValues,
                         ::testing::ValuesIn(exceptionScenarios()), nameOfScenario);

// ---- fits and solvers

/// A change to a value that is as it was when the change fails.
template <class T>
FaultScenario changeScenario(const std::string& name, const T& value,
                             std::function<void(T&)> change, bool takesMemory = true) {
    FaultTable<std::optional<T>> table;
    table.prepare = [value](std::optional<T>& changed) { changed.emplace(value); };
    table.call = [change](std::optional<T>& changed) { change(*changed); };
    table.outcome = [](const std::optional<T>& changed) { return describe(*changed); };
    FaultScenario scenario = table.named(name);
    scenario.takesMemory = takesMemory;
    return scenario;
}

/// A function of constants.
template <class Ask>
FaultScenario functionScenario(const std::string& name, Ask ask, bool takesMemory = true) {
    using Answer = decltype(ask());
    struct Answered {
        std::optional<Answer> answer;
    };
    FaultTable<Answered> answered;
    answered.prepare = [](Answered&) {};
    answered.call = [ask](Answered& state) { state.answer.emplace(ask()); };
    answered.outcome = [](const Answered& state) { return describe(state.answer.value()); };
    answered.left = [](const Answered& state) { return stored(state.answer.has_value()); };
    FaultScenario scenario = answered.named(name);
    scenario.takesMemory = takesMemory;
    return scenario;
}

void addPlaneFits(Table& all) {
    for (const int dof : {3, 4, 5, 6, -1}) {
        const std::string name = dof < 0 ? "Richest" : std::to_string(dof);
        all.push_back(changeScenario<rx2PtMatchTm>(
            "FitPlane" + name, affineWithPairs(),
            [dof](rx2PtMatchTm& tm) { tm.fit(kPlane, kImages, dof); }, false));
    }
    all.push_back(changeScenario<rx2PTm>("FitPerspectivePairs", rx2PTm(kPlane, kImages),
                                         [](rx2PTm& tm) { tm.fit(); }));
    all.push_back(changeScenario<rx2PTm>(
        "UpdatePerspective", rx2PTm(), [](rx2PTm& tm) { tm.update(kPlane, kImages); }, false));
    all.push_back(
        changeScenario<rx2PTm>("UpdatePerspectiveWithoutMemory", rx2PTm::I,
                               [](rx2PTm& tm) { tm.update(kPlane.front(), kImages.front()); }));
    const rx2PTm oblique(kPlane, kImages);
    all.push_back(changeScenario<rx2PTm>("RotatePerspective", oblique,
                                         [](rx2PTm& tm) { tm.rotate(rxRadian(0.25)); }));
    all.push_back(changeScenario<rx2PTm>("TranslatePerspective", oblique,
                                         [](rx2PTm& tm) { tm.translate(rxVector<2>(1, 2)); }));
    all.push_back(changeScenario<rx2PTm>("ScalePerspective", oblique,
                                         [](rx2PTm& tm) { tm.scale(rxVector<2>(1.5, 2)); }));
    // The pairs are new, the transform is not fitted yet.
    FaultTable<rx2PTm> anew;
    anew.prepare = [oblique](rx2PTm& tm) { tm = oblique; };
    anew.call = [](rx2PTm& tm) { tm.fit(kImages, kPlane); };
    anew.outcome = [](const rx2PTm& tm) { return describe(tm); };
    anew.spoil = [](rx2PTm& tm) {
        tm.identity();
        tm.update(kImages, kPlane);
    };
    all.push_back(anew.named("FitPerspectiveAnew"));

    const auto add = [&all](const std::string& name, auto ask, bool takesMemory = true) {
        all.push_back(functionScenario(name, ask, takesMemory));
    };
    add("MakePerspective", [] { return rx2PTm(kPlane, kImages); });
    add("AffineAsPerspective", [tm = affineWithPairs()] { return rx2PTm(tm); });
    add("FitPerspectiveNormalized", [] { return rfFitPerspectiveNormalized(kPlane, kImages); });
    add("ExactPerspective", [=] { return rfExactPerspective(oblique.a2bParams()); });
    add("ConcatPerspective", [=] { return rfConcatPerspective(oblique, oblique); });
    add(
        "PerspectiveConditioning", [] { return rfPerspectiveConditioning(kPlane, kImages); },
        false);
    add(
        "AffineOfPerspective", [=] { return oblique.a2bTm(); }, false);
    add(
        "AffineApproximation",
        [=] { return rfAffineApproximation(oblique, rxRectangle<double>(0, 0, 3, 3)); }, false);
}

void addSpaceFits(Table& all) {
    const rx3PtMatchTm moved(kSpace, kMovedSpace);
    all.push_back(
        changeScenario<rx3PtMatchTm>("FitSpacePairs", moved, [](rx3PtMatchTm& tm) { tm.fit(); }));
    all.push_back(changeScenario<rx3PtMatchTm>(
        "UpdateSpaceWithoutMemory", rx3PtMatchTm::I,
        [](rx3PtMatchTm& tm) { tm.update(kSpace.front(), kMovedSpace.front()); }));
    const auto change = [&](const std::string& name, std::function<void(rx3PtMatchTm&)> act) {
        all.push_back(changeScenario<rx3PtMatchTm>(name, moved, std::move(act)));
    };
    change("TranslateSpace", [](rx3PtMatchTm& tm) { tm.translate(rxVector<3>(1, 2, 3)); });
    change("RotateSpaceOnX", [](rx3PtMatchTm& tm) { tm.rotateOnX(rxRadian(0.25)); });
    change("RotateSpaceOnY", [](rx3PtMatchTm& tm) { tm.rotateOnY(rxRadian(0.25)); });
    change("RotateSpaceOnZ", [](rx3PtMatchTm& tm) { tm.rotateOnZ(rxRadian(0.25)); });
    change("ScaleSpace", [](rx3PtMatchTm& tm) { tm.scale(2.0); });
    FaultTable<rx3PtMatchTm> anew;
    anew.prepare = [moved](rx3PtMatchTm& tm) { tm = moved; };
    anew.call = [](rx3PtMatchTm& tm) { tm.fit(kMovedSpace, kSpace); };
    anew.outcome = [](const rx3PtMatchTm& tm) { return describe(tm); };
    anew.spoil = [](rx3PtMatchTm& tm) {
        tm.identity();
        tm.update(kMovedSpace, kSpace);
    };
    all.push_back(anew.named("FitSpaceAnew"));

    const auto add = [&all](const std::string& name, auto ask) {
        all.push_back(functionScenario(name, ask));
    };
    add("FitRigid3D", [] { return rfFitRigid3D(kSpace, kMovedSpace); });
    add("FitSimilarity3D", [] { return rfFitSimilarity3D(kSpace, kMovedSpace); });
    add("FitAffine3D", [] { return rfFitAffine3D(kSpace, kMovedSpace); });
    add("ExactSpaceTransform", [=] { return rfExactSpaceTransform(moved.a2bParams()); });
}

struct Equations {
    rxMatrixExt matrix;
    rxMatrixExt right;
    std::vector<long> index;
};

void addSolvers(Table& all) {
    const rxMatrixExt tall = matrixOf(9, 5, 3);
    const rxMatrixExt wide = matrixOf(3, 5, 4);
    const std::vector<double> right = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const auto add = [&all](const std::string& name, auto ask, bool takesMemory = true) {
        all.push_back(functionScenario(name, ask, takesMemory));
    };
    add("SolveLeastSquares", [=] { return rfSolveLeastSquares(tall, right); });
    add("SolveOpenSystem", [=] { return rfSolveLeastSquares(wide, right); });
    add("SingularValues", [=] { return rfSingularValues(tall); });
    add("FitLeastSquares", [system = systemOf(5, 1)] { return system.fit(); });
    add("FitNormalEquations", [system = normalEquationsOf(5, 1)] { return system.fit(); });
    add("FitManyNormalEquations", [system = normalEquationsOf(12, 1)] { return system.fit(); });
    add("MatrixRow", [=] { return tall[2]; });
    add("OneNorm", [=] { return rfOneNorm(tall); });
    all.push_back(changeScenario<rxMatrixExt>("ResizeMatrix", tall,
                                              [](rxMatrixExt& m) { m.resize(20, 20); }));
    all.push_back(changeScenario<rxLeastSquares>("ResizeLeastSquares", systemOf(3, 1),
                                                 [](rxLeastSquares& s) { s.resize(9); }));
    all.push_back(changeScenario<rxPsuedoInverse>("ResizeNormalEquations", normalEquationsOf(3, 1),
                                                  [](rxPsuedoInverse& s) { s.resize(9); }));

    for (const long size : {5L, 20L}) {
        FaultTable<Equations> table;
        table.prepare = [size](Equations& e) {
            e.matrix = matrixOf(size, size, 1);
            e.right = matrixOf(size, 2, 2);
            e.index.assign(static_cast<std::size_t>(size), -1);
        };
        table.outcome = [](const Equations& e) { return stored(e.matrix, e.right, e.index); };
        table.call = [](Equations& e) { e.matrix.ludcmp(e.index); };
        all.push_back(table.named("Decompose" + std::to_string(size)));
        all.back().takesMemory = size > 8;
        table.call = [](Equations& e) { e.matrix.gaussj(e.right); };
        all.push_back(table.named("Eliminate" + std::to_string(size)));
        table.prepare = [prepare = table.prepare](Equations& e) {
            prepare(e);
            e.matrix.ludcmp(e.index);
        };
        table.call = [](Equations& e) {
            e.right.element(0, 0, rfConditionEstimate(e.matrix, e.index, 3.0));
        };
        all.push_back(table.named("EstimateCondition" + std::to_string(size)));
    }
}

/// How well fits hold: all of it without memory.
void addJudgements(Table& all) {
    const auto add = [&all](const std::string& name, auto ask) {
        all.push_back(functionScenario(name, ask, false));
    };
    const rx2PtMatchTm affine = affineWithPairs();
    add("ResidualOfAffine", [=] { return rfFitResidual(affine, kPlane, kImages); });
    add("ResidualOfPerspective",
        [tm = rx2PTm(kPlane, kImages)] { return rfFitResidual(tm, kPlane, kImages); });
    add("ResidualInSpace", [tm = rx3PtMatchTm(kSpace, kMovedSpace)] {
        return rfFitResidual(tm, kSpace, kMovedSpace);
    });
    add("PoseCovariance", [=] { return rfPoseCovariance(affine.a2bXform(), kPlane, kImages, 6); });
    add("FalseAlarms", [] {
        return rfLog10FalseAlarms({.numDataPoints = 30,
                                   .area = 1e4,
                                   .captureRange = 1.5,
                                   .numModelPoints = 10,
                                   .modelRadius = 40,
                                   .translationWidth = 60,
                                   .translationHeight = 60},
                                  7);
    });
    for (const int dof : {3, 4, 5, 6}) {
        add("Fitter" + std::to_string(dof),
            [=] { return rxLSPointToPointFitter(kImages, kPlane).fit(dof); });
    }
}

struct Scores {
    std::unique_ptr<rxScoreHashing> store;
};

FaultTable<Scores> scoreTable() {
    FaultTable<Scores> table;
    table.prepare = [](Scores& scores) {
        scores.store = std::make_unique<rxScoreHashing>(50, 3);
        for (long i = 0; i < 5; ++i) scores.store->add(10 * i, rxPair<long>(i, -i));
    };
    table.outcome = [](const Scores& scores) {
        std::vector<rxPair<long>> positions;
        rxPair<long> position;
        for (long s = scores.store->first(position); s >= 0; s = scores.store->next(position)) {
            positions.push_back(position);
        }
        return stored(positions, scores.store->maxScore(), scores.store->maxResults());
    };
    return table;
}

void addScores(Table& all) {
    FaultTable<Scores> table = scoreTable();
    table.call = [](Scores& scores) { scores.store->max(70, 9); };
    all.push_back(table.named("ResizeScores"));
    table.call = [](Scores& scores) { scores.store = std::make_unique<rxScoreHashing>(70, 9); };
    all.push_back(table.named("MakeScores"));
    table.call = [](Scores& scores) { scores.store->add(30, rxPair<long>(8, 8)); };
    all.push_back(table.named("AddScore"));
    all.back().takesMemory = false;
}

// ---- points and pixels on their way in and out

void addConversions(Table& all) {
    struct Dot {
        float x, y;
    };
    const auto add = [&all](const std::string& name, auto ask, bool takesMemory = true) {
        all.push_back(functionScenario(name, ask, takesMemory));
    };
    add("PointsOfHost",
        [dots = std::vector<Dot>{{1, 2}, {3, 4}, {5, 6}}] { return rfPoints(dots); });
    // Of a range that does not tell its size.
    add("PointsOfHostOneByOne",
        [dots = std::forward_list<Dot>{{1, 2}, {3, 4}, {5, 6}}] { return rfPoints(dots); });
    add(
        "PointForHost", [] { return rfPoint(rfPointAs<Dot>(rxVector<2>(1.5, 2.5))); }, false);
    static const std::vector<unsigned char> kNegative = {1, 0};
    add("MapPixels", [] { return rfPelMap(denseImage(), kNegative); });
}

Table fitScenarios() {
    Table all;
    addPlaneFits(all);
    addSpaceFits(all);
    addSolvers(all);
    addJudgements(all);
    addScores(all);
    addConversions(all);
    return all;
}

INSTANTIATE_TEST_SUITE_P(Fits, AllocationFailureOfValues, ::testing::ValuesIn(fitScenarios()),
                         nameOfScenario);

}  // namespace

}  // namespace ptmatch::testing
