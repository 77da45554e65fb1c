#pragma once

#include "store/beat.h"

#include <map>
#include <vector>

class BeatClass;
class BeatClassSet;
class BeatList;
class SignalSource;

// Refines the types that the automatic rule gave, with criteria a cardiologist can check on a
// strip (see labelcriteria.h): classes whose QRS is far from the dominant normal beat, or wide
// and different, become V; classes of the dominant shape, or on time and like it under noise,
// become N; noise entries that show the dominant beat in time become beats; a beat inside a run
// of ventricular beats of its own shape takes the run's type; beats typed S inside atrially
// fibrillating rhythm are conducted beats and become N; and a normal-shaped beat that comes
// early, before a longer interval or more early beats, becomes S.
//
// Whole classes are retyped where the criterion is about the class; beats that change type on
// their own leave their class for a new one of that type (one per class left), so every beat
// keeps its class's type. Runs after the automatic rule; list, source and classes are not owned.
class LabelRefinement
{
public:
    LabelRefinement(BeatList* list, SignalSource* source, BeatClassSet* classes);

    void run();

    // The steps of run(), in its order.
    void ventricularClasses();
    void normalShapedClasses();
    // Through stretches where noise leaves only doubtful entries (noise entries and beats alone
    // in a U class), follows the rhythm: of the entries where the next beat is due, the one most
    // like the dominant beat becomes a normal beat, and the doubtful beats passed over become
    // noise.
    void trackNoisyStretches();
    void ventricularRuns();
    void conductedFibrillation();
    void prematureSupraventricular();

private:
    struct Shape
    {
        std::vector<double> unit[Beat::kChannels]; // unit-length templates, from R - 0.2 s
        double width[Beat::kChannels] = {}; // seconds, 0 where the lead has no QRS
        int sign[Beat::kChannels] = {};
    };
    // One real beat of the list with its class (null for a beat outside every class).
    struct Entry
    {
        int index = 0;
        double rInstant = 0.0;
        double rr = 0.0;
        double medianRr = 0.0;
        BeatClass* cls = nullptr;
        int type() const;
    };

    BeatClass* referenceClass() const;
    // The mean P polarity is clear on a lead that carries the class's QRS.
    static bool hasClearP(const BeatClass& cls);
    // The class's shape, measured once: the classes keep their members while it is used, except
    // where forget() is called.
    const Shape& shapeOf(const BeatClass& cls);
    Shape measureShape(const BeatClass& cls) const;
    void forget(const BeatClass* cls) { m_shapes.erase(cls); }
    // The mean T polarity is clearly against the QRS sign on every lead with a QRS.
    static bool discordantT(const BeatClass& cls);
    // Classes of one or two members like an established V class on every QRS lead become V.
    void smallVentricularMatches();
    std::vector<double> beatWindow(const Entry& e, int channel) const;
    // Highest correlation of a beat with the dominant shape over the leads where it has a QRS.
    double likeness(const Shape& reference, double rInstant) const;
    void loadEntries();
    // The rhythm's irregularity per entry, left out the intervals next to V beats.
    std::vector<bool> fibrillating() const;
    // Moves the entries at `positions` to `type`: a class all of whose members go is retyped,
    // otherwise they go to a new class, one per class left.
    void retype(const std::vector<size_t>& positions, int type);

    BeatList* m_list;
    SignalSource* m_source;
    BeatClassSet* m_classes;
    std::vector<Entry> m_entries; // the real beats in list order
    std::vector<bool> m_fibrillating; // per entry, once the V types are settled
    std::map<const BeatClass*, Shape> m_shapes;
};
