#pragma once

#include <QByteArray>
#include <QVector>

#include <map>
#include <memory>
#include <vector>

class BeatList;
class SignalSource;

// One morphology class: its member beats, signal templates and running statistics.
class BeatClass
{
public:
    static constexpr int kChannels = 4;

    int id = 0;
    int type = -1; // type code; -1 when new, 0 after the first setType
    QByteArray label;
    QByteArray typeName;
    std::vector<int> members; // beat indices
    QVector<double> templ[kChannels]; // (int)(0.5 x rate + 0.5) samples from R - 0.2 s
    double qrsPolarity[kChannels] = {};
    double pPolarity[kChannels] = {};
    double tPolarity[kChannels] = {};
    int qrsCount[kChannels] = {};
    double qrsDuration[kChannels] = {};
    double meanRr = 0.0;
    double meanRrRatio = 0.0;
    // The extra state the running means need lives with the implementation.
};

// The classes of a study, by id; classes 0 and -1 exist from the start, outside the map.
class BeatClassSet
{
public:
    BeatClassSet();
    BeatClassSet(const BeatClassSet&) = delete;
    BeatClassSet& operator=(const BeatClassSet&) = delete;
    virtual ~BeatClassSet();
};
