#pragma once

#include "store/beat.h"

#include <functional>
#include <map>
#include <vector>

class AverageBeatDelineator;
class BeatClass;
class BeatClassSet;
class BeatList;
class SignalSource;

// The user's prematurity rule is chosen as a percentage ("at least 20 % early") and applied as
// a ratio of the median RR: a beat is early when RR / median RR <= (100 - percent) x 0.01.
constexpr double kDefaultSvpbPrematurityPercent = 20.0;
constexpr double prematurityRatioOfPercent(double percent)
{
    return (100.0 - percent) * 0.01;
}

// What the type rules compare between a class and the reference class, per channel.
struct ClassProfile
{
    int channels = 0;
    int members = 0;
    int type = BeatU;
    int qrsSign[Beat::kChannels] = {};
    double pPolarity[Beat::kChannels] = {};
    double tPolarity[Beat::kChannels] = {};
    double duration[Beat::kChannels] = {}; // seconds from QRS onset to end of the average
    double amplitude[Beat::kChannels] = {}; // peak to peak of the average over R +- 0.1 s
    double meanRrRatio = 0.0;
};

// Scoring of a class against the reference class; `corr` holds the template correlation of
// each channel. Both give the new type, or BeatU when the test settles nothing.
int normalTest(const ClassProfile& cls, const ClassProfile& ref, const double* corr);
int ventricularTest(const ClassProfile& cls, const ClassProfile& ref, const double* corr);

// Decides a type for each morphology class: the automatic rule against the largest normal
// class, the user's prematurity rule, the excluded types, then writes class id and type to every
// member beat. The list, source (250 Hz), class set and delineator are not owned.
class TypeAssignment
{
public:
    TypeAssignment(BeatList* list, SignalSource* source, BeatClassSet* classes,
        AverageBeatDelineator* delineator);

    // Averages the first 1000 members and measures QRS width and amplitude per channel.
    ClassProfile profile(const BeatClass& cls);

    // Reports percent (0 to 100) as it goes when `progress` is set.
    void automaticRule(const std::function<void(double)>& progress = {});
    // ratio: a beat is early when RR / median RR is not above it. compensatory: also require
    // RR + next RR >= 2 x previous RR.
    void userRule(double prematurityRatio, bool compensatory);
    // A class whose type is flagged becomes N.
    void excludeTypes(const bool exclude[5]);
    void writeBeats();

    // The one-member class rule: N when its RR is like its neighbours', else U.
    int loneBeatType(const BeatClass& cls);

private:
    struct Unit
    {
        std::vector<double> templ[Beat::kChannels];
    };
    const Unit& unitTemplates(const BeatClass& cls);
    void correlate(const BeatClass& a, const BeatClass& b, const ClassProfile& pa,
        const ClassProfile& pb, double* corr);
    void matchTest(BeatClass& cls, const std::vector<BeatClass*>& order);

    BeatList* m_list;
    SignalSource* m_source;
    BeatClassSet* m_classes;
    AverageBeatDelineator* m_delineator;
    std::map<const BeatClass*, Unit> m_units; // the templates don't change while types are set
};
