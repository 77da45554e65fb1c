#pragma once

#include "store/beat.h"

#include <memory>
#include <vector>

class SignalSource;

// Told when clusters go away, so that whoever mirrors them can follow.
class MorphologyListener
{
public:
    virtual ~MorphologyListener() = default;
    // Cluster `absorbed` was merged into cluster `target`.
    virtual void merged(int target, int absorbed) = 0;
    virtual void removed(int cluster) = 0;
};

// Groups beats by the shape of their derivative: each cluster keeps a unit-length template per
// channel, built with halving weights so that its first beats define it, and a key (QRS
// polarity per channel and the RR class of its first beat) that a beat must share to join.
class MorphologyMatcher
{
public:
    static constexpr int kMaxCandidates = 3;
    static constexpr int kMaxSearched = 5000;

    struct Cluster
    {
        int id = 0; // from 1
        std::vector<int> members;
        std::vector<double> templ[Beat::kChannels]; // unit length
        int polarity[Beat::kChannels] = {}; // key: (int) measure 6 per channel
        int rrClass = 0; // key: RR class of the first beat
        double weight = 1.0; // of the next beat in the template
        int memberCount() const { return int(members.size()); }
    };

    // pre and post: seconds of the template window around the beat's time; `source` gives the
    // differentiated signal at its own rate (not owned).
    MorphologyMatcher(double pre, double post, SignalSource* source = nullptr);

    void setSource(SignalSource* source);
    void setListener(MorphologyListener* listener) { m_listener = listener; }

    // Puts the beat into the best matching cluster, or a new one, and returns the cluster's id.
    int classify(const Beat& beat);
    // Merges clusters that have come to look alike, largest first; tells the listener.
    void close();

    int clusterCount() const { return int(m_clusters.size()); }
    // In size order, largest first.
    const Cluster& cluster(int position) const { return *m_clusters[size_t(position)]; }
    const Cluster* findCluster(int id) const;
    int templateLength() const { return m_length; }

    // 0 below 0.8 of the median RR, 2 from 0.8 to below 0.9, 1 from 0.9 on.
    static int rrClass(const Beat& beat);
    // Highest dot product of a against b shifted by -maxShift..maxShift (zeros shifted in).
    static double shiftedCorrelation(
        const std::vector<double>& a, const std::vector<double>& b, int maxShift);
    // Scales to unit length unless the norm is below 1e-6.
    static void normalise(std::vector<double>& v);

private:
    std::vector<double> unitWindow(const Beat& beat, int channel) const;
    void addToCluster(Cluster& cluster, const Beat& beat);
    void sortFrom(size_t position);

    double m_pre;
    double m_post;
    SignalSource* m_source = nullptr; // not owned
    int m_rate = 0;
    int m_length = 0;
    int m_channels = 0;
    int m_nextId = 1;
    std::vector<std::unique_ptr<Cluster>> m_clusters; // size order, largest first
    MorphologyListener* m_listener = nullptr; // not owned
};
