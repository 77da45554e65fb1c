#pragma once

#include "analysis/classifierfilters.h"
#include "analysis/morphologymatcher.h"
#include "analysis/recentbeatwindow.h"
#include "analysis/typeassignment.h"

#include <functional>
#include <memory>

class AverageBeatDelineator;
class BeatClass;
class BeatClassSet;
class BeatList;
class SignalSource;

// Stage 3 and 4 of processing: groups the beats into morphology classes in one pass over the
// list (step), gives a first type to classes that clearly match the recent normal beats, and at
// the end (finish) settles a type for every class and writes class id and type to its beats.
//
// Use: set the options, init(), call step() while index() < list.count(), then finish() once.
class BeatClassifier : public MorphologyListener
{
public:
    static constexpr int kStepEntries = 100; // list entries per step()
    static constexpr int kClusterClassBase = 10000; // class of matcher cluster k: base + k
    static constexpr int kPrivateClassBase = 1000000; // class of a beat without usable RR

    BeatClassifier();
    ~BeatClassifier() override;
    BeatClassifier(const BeatClassifier&) = delete;
    BeatClassifier& operator=(const BeatClassifier&) = delete;

    // Options, copied in before init().
    bool excludeType[5] = { false, false, false, false, false }; // by type code; such classes end N
    bool svpbUserDefined = false;
    // With the user rule: a ratio of the median RR (see prematurityRatioOfPercent).
    double svpbPrematurityRatio = prematurityRatioOfPercent(kDefaultSvpbPrematurityPercent);
    bool svpbCompensatory = false;
    // Refine the automatic types with the criteria of LabelRefinement; off, the type rules run
    // as they stand.
    bool refineLabels = true;

    // list, source250 (the 250 Hz analysis source) and classSet are not owned and must outlive
    // the classifier. Builds the 125 Hz reference and derivative sources.
    void init(BeatList* list, SignalSource* source250, BeatClassSet* classSet);
    // Next list entry to look at.
    int index() const { return m_index; }
    // Classifies up to kStepEntries list entries from index(); noise entries are skipped.
    void step();
    // Closes the matcher and assigns types (see TypeAssignment); call once after the last step.
    void finish();

    // Classifying one beat, as step() does for each real beat.
    void classify(const Beat& beat);

    // Type assignment's own progress, 0 to 100; optional.
    void setTypeProgress(std::function<void(double)> progress) { m_progress = std::move(progress); }
    // Replaces the delineator that measures class averages (not owned); for tests.
    void setDelineator(AverageBeatDelineator* delineator) { m_delineator = delineator; }

    RecentBeatWindow& window() { return m_window; }
    MorphologyMatcher& matcher() { return m_matcher; }
    SignalSource* referenceSource() const { return m_reference.output.get(); }

    void merged(int target, int absorbed) override;
    void removed(int cluster) override;

private:
    BeatClass* clusterClass(const Beat& beat);
    void referenceMatch(const Beat& beat, double& best, int& close);

    BeatList* m_list = nullptr; // not owned
    SignalSource* m_source250 = nullptr; // not owned
    BeatClassSet* m_classes = nullptr; // not owned
    AverageBeatDelineator* m_delineator = nullptr; // not owned
    std::unique_ptr<AverageBeatDelineator> m_ownDelineator;
    ClassifierSource m_reference; // low-passed, 125 Hz
    ClassifierSource m_derivative; // differentiated, 125 Hz
    RecentBeatWindow m_window;
    MorphologyMatcher m_matcher;
    int m_index = 0;
    std::function<void(double)> m_progress;
};
