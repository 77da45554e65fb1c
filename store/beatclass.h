#pragma once

#include <QByteArray>
#include <QVector>

#include <map>
#include <memory>
#include <vector>

class BeatList;
class SignalSource;
struct Beat;

// One morphology class: its member beats, signal templates and running statistics.
// Beats and samples are read through the list and source of the owning set (not owned).
class BeatClass
{
public:
    static constexpr int kChannels = 4;

    // `source` gives the samples (and rate) of the templates, `list` the member beats; either
    // may be null, then templates stay empty and add() only counts.
    BeatClass(int id, SignalSource* source, BeatList* list);

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
    double qrsDuration[kChannels] = {}; // seconds, mean over members that have measure 9
    double meanRr = 0.0; // seconds, over members with RR and median RR positive
    double meanRrRatio = 0.0; // RR / median RR, same members

    int memberCount() const { return int(members.size()); }
    int channelCount() const { return m_channels; }
    // Samples of a template: (int)(0.5 x rate + 0.5), 0 without a source.
    int templateLength() const { return m_templateLength; }

    void setType(int code);
    // The letter, with the user's label after a space when there is one.
    QByteArray displayName() const;

    // Sign of the mean QRS polarity of a channel: -1, 0, +1.
    int qrsSign(int channel) const;

    // Adds the beat at list index `index`, updating the running means (and the templates when
    // `withTemplate`). A beat the list doesn't have is ignored.
    void add(int index, bool withTemplate);
    // Takes the beat out again, reversing add(); false when it isn't a member.
    bool removeMember(int index, bool withTemplate);
    // Moves all of `other`'s members and statistics into this class, weighted by member counts.
    void absorb(BeatClass& other);

    // Mean of the first (at most 200) members' mean-removed windows of `lead`, from R - 0.2 s.
    // All zero without members.
    QVector<double> shape(int lead) const;

private:
    // The mean-removed template window of a beat on a channel, from R - 0.2 s.
    QVector<double> window(const Beat& beat, int channel) const;
    void update(const Beat& beat, bool withTemplate, int sign);
    void clearStatistics();

    SignalSource* m_source; // not owned
    BeatList* m_list; // not owned
    int m_channels = 0;
    int m_templateLength = 0;
};

// The classes of a study, by id; classes 0 ("none yet") and -1 ("no beat") exist from the start,
// outside the map. Owns its classes; the source and list are not owned.
class BeatClassSet
{
public:
    using Map = std::map<int, std::unique_ptr<BeatClass>>;

    BeatClassSet(SignalSource* source = nullptr, BeatList* list = nullptr);
    BeatClassSet(const BeatClassSet&) = delete;
    BeatClassSet& operator=(const BeatClassSet&) = delete;
    virtual ~BeatClassSet();

    virtual int classCount() const;
    // Null when there is no class of that id in the map.
    virtual BeatClass* find(int id) const;
    // The class of that id, made when missing; raises the largest id.
    virtual BeatClass* create(int id);
    // A class with the largest id so far + 1.
    virtual BeatClass* createNext();
    // Moves b into a and deletes b; nothing happens unless both exist and differ.
    virtual void merge(int a, int b);
    virtual void remove(int id);
    // Iteration in id order: first() restarts, next() goes on; null at the end.
    virtual BeatClass* first();
    virtual BeatClass* next();
    virtual BeatClass* classZero() { return m_zero.get(); }
    virtual BeatClass* classNone() { return m_none.get(); }

    int largestId() const { return m_largestId; }
    const Map& classes() const { return m_classes; }
    // The type letters as they were when the set was made.
    QByteArray typeName(int code) const;
    SignalSource* source() const { return m_source; }
    BeatList* list() const { return m_list; }

private:
    SignalSource* m_source; // not owned
    BeatList* m_list; // not owned
    QByteArray m_typeNames[5];
    Map m_classes;
    int m_cursorId = 0; // id of the class next() went from
    bool m_cursorValid = false;
    int m_largestId = 0;
    std::unique_ptr<BeatClass> m_zero;
    std::unique_ptr<BeatClass> m_none;
};
