#include "analysis/morphologymatcher.h"

#include "store/signalsource.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kPass = 0.95; // one channel this alike is enough
constexpr double kSecond = 0.90; // or two channels this alike
constexpr int kMatchShift = 2; // samples at 125 Hz, beat against template
constexpr int kMergeShift = 3; // samples at 125 Hz, template against template

} // namespace

MorphologyMatcher::MorphologyMatcher(double pre, double post, SignalSource* source)
    : m_pre(pre)
    , m_post(post)
{
    setSource(source);
}

void MorphologyMatcher::setSource(SignalSource* source)
{
    m_source = source;
    m_rate = source ? source->samplingRate() : 0;
    m_length = int((m_pre + m_post) * m_rate + 0.5);
    m_channels = source ? std::min(source->channelCount(), int(Beat::kChannels)) : 0;
}

int MorphologyMatcher::rrClass(const Beat& beat)
{
    const double median = beat.timing[Beat::MedianRR];
    const double x = median != 0.0 ? beat.timing[Beat::RR] / median : 0.0;
    if (x < 0.8)
        return 0;
    return x < 0.9 ? 2 : 1;
}

double MorphologyMatcher::shiftedCorrelation(
    const std::vector<double>& a, const std::vector<double>& b, int maxShift)
{
    double best = -std::numeric_limits<double>::infinity();
    const int n = int(std::min(a.size(), b.size()));
    for (int s = -maxShift; s <= maxShift; ++s) {
        double sum = 0.0;
        for (int i = std::max(0, -s); i < n && i + s < n; ++i)
            sum += a[size_t(i)] * b[size_t(i + s)];
        best = std::max(best, sum);
    }
    return best;
}

void MorphologyMatcher::normalise(std::vector<double>& v)
{
    double norm = 0.0;
    for (double x : v)
        norm += x * x;
    norm = std::sqrt(norm);
    if (norm < 1e-6)
        return;
    for (double& x : v)
        x /= norm;
}

std::vector<double> MorphologyMatcher::unitWindow(const Beat& beat, int channel) const
{
    std::vector<double> w(size_t(m_length), 0.0);
    if (!m_source || m_length == 0)
        return w;
    const qint64 start = qint64((beat.windowStartTime() - m_pre) * m_rate + 0.5);
    m_source->readSamples(channel, start, m_length, w.data());
    double mean = 0.0;
    for (double x : w)
        mean += x;
    mean /= m_length;
    for (double& x : w)
        x -= mean;
    normalise(w);
    return w;
}

const MorphologyMatcher::Cluster* MorphologyMatcher::findCluster(int id) const
{
    for (const auto& c : m_clusters) {
        if (c->id == id)
            return c.get();
    }
    return nullptr;
}

void MorphologyMatcher::addToCluster(Cluster& cluster, const Beat& beat)
{
    if (cluster.members.empty()) {
        for (int c = 0; c < m_channels; ++c)
            cluster.polarity[c] = int(beat.measure[c][Beat::QrsPolarity]);
        cluster.rrClass = rrClass(beat);
    }
    for (int c = 0; c < m_channels; ++c) {
        const std::vector<double> w = unitWindow(beat, c);
        std::vector<double>& t = cluster.templ[c];
        t.resize(w.size(), 0.0);
        for (size_t i = 0; i < w.size(); ++i)
            t[i] = cluster.weight * w[i] + (1.0 - cluster.weight) * t[i];
        normalise(t);
    }
    // Halving weights: the first beats fix the shape, so a cluster cannot drift away from them.
    cluster.weight *= 0.5;
    cluster.members.push_back(beat.index);
}

// Stable insertion of the cluster at `position` after its count grew.
void MorphologyMatcher::sortFrom(size_t position)
{
    while (position > 0
        && m_clusters[position - 1]->memberCount() < m_clusters[position]->memberCount()) {
        std::swap(m_clusters[position - 1], m_clusters[position]);
        --position;
    }
}

int MorphologyMatcher::classify(const Beat& beat)
{
    int polarity[Beat::kChannels] = {};
    std::vector<double> windows[Beat::kChannels];
    for (int c = 0; c < m_channels; ++c) {
        polarity[c] = int(beat.measure[c][Beat::QrsPolarity]);
        if (beat.measure[c][Beat::HasQrs] != 0.0)
            windows[c] = unitWindow(beat, c);
    }
    const int beatRrClass = rrClass(beat);

    size_t chosen = m_clusters.size();
    double chosenProduct = -std::numeric_limits<double>::infinity();
    int candidates = 0;
    const size_t searched = std::min(m_clusters.size(), size_t(kMaxSearched));
    for (size_t p = 0; p < searched && candidates < kMaxCandidates; ++p) {
        const Cluster& cl = *m_clusters[p];
        if (cl.rrClass != beatRrClass || !std::equal(polarity, polarity + m_channels, cl.polarity))
            continue;
        double best = -std::numeric_limits<double>::infinity();
        double product = 1.0;
        int n90 = 0;
        for (int c = 0; c < m_channels; ++c) {
            if (beat.measure[c][Beat::HasQrs] == 0.0)
                continue;
            const double corr = shiftedCorrelation(windows[c], cl.templ[c], kMatchShift);
            best = std::max(best, corr);
            if (corr >= kSecond)
                ++n90;
            product *= corr;
        }
        if (!(best >= kPass || n90 >= 2))
            continue;
        ++candidates;
        if (product > chosenProduct) {
            chosenProduct = product;
            chosen = p;
        }
    }

    if (chosen == m_clusters.size()) {
        auto cl = std::make_unique<Cluster>();
        cl->id = m_nextId++;
        m_clusters.push_back(std::move(cl));
    }
    Cluster& target = *m_clusters[chosen];
    const int id = target.id;
    addToCluster(target, beat);
    sortFrom(chosen);
    return id;
}

void MorphologyMatcher::close()
{
    const size_t n = m_clusters.size();
    std::vector<bool> merged(n, false);
    for (size_t i = 1; i < n; ++i) {
        Cluster& ci = *m_clusters[i];
        size_t chosen = n;
        double chosenScore = -std::numeric_limits<double>::infinity();
        int candidates = 0;
        for (size_t j = 0; j < i && candidates < kMaxCandidates; ++j) {
            if (merged[j])
                continue;
            const Cluster& cj = *m_clusters[j];
            if (cj.memberCount() < 2)
                break;
            if (cj.rrClass != ci.rrClass
                || !std::equal(ci.polarity, ci.polarity + m_channels, cj.polarity))
                continue;
            double best = -std::numeric_limits<double>::infinity();
            double score = 1.0;
            int n90 = 0;
            for (int c = 0; c < m_channels; ++c) {
                if (ci.polarity[c] == 0)
                    continue;
                const double corr = shiftedCorrelation(ci.templ[c], cj.templ[c], kMergeShift);
                best = std::max(best, corr);
                if (corr >= kSecond)
                    ++n90;
                score *= corr;
            }
            if (!(best >= kPass || n90 >= 2))
                continue;
            ++candidates;
            if (score > chosenScore) {
                chosenScore = score;
                chosen = j;
            }
        }
        if (chosen == n)
            continue;
        Cluster& target = *m_clusters[chosen];
        const double wt = target.memberCount();
        const double wi = ci.memberCount();
        for (int c = 0; c < m_channels; ++c) {
            std::vector<double>& t = target.templ[c];
            const std::vector<double>& s = ci.templ[c];
            for (size_t k = 0; k < t.size() && k < s.size(); ++k)
                t[k] = wt * t[k] + wi * s[k];
            normalise(t);
        }
        target.members.insert(target.members.end(), ci.members.begin(), ci.members.end());
        if (m_listener)
            m_listener->merged(target.id, ci.id);
        merged[i] = true;
    }

    std::vector<std::unique_ptr<Cluster>> kept;
    for (size_t i = 0; i < n; ++i) {
        if (!merged[i])
            kept.push_back(std::move(m_clusters[i]));
    }
    std::stable_sort(kept.begin(), kept.end(),
        [](const auto& a, const auto& b) { return a->memberCount() > b->memberCount(); });
    m_clusters = std::move(kept);
}
