#include "analysis/blockbeatdetector.h"

#include "analysis/wavedelineator.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <algorithm>
#include <cmath>

BlockBeatDetector::BlockBeatDetector(BeatList* beats)
    : m_beats(beats)
    , m_amplitude(kMaxChannels, RollingMedian(10))
{
}

BlockBeatDetector::~BlockBeatDetector() = default;

void BlockBeatDetector::init(
    SignalSource* source, double startTime, double endTime, int forcedChannel)
{
    m_source = source;
    m_channelCount = source ? std::min(source->channelCount(), int(kMaxChannels)) : 0;
    m_rate = source && source->samplingRate() > 0 ? source->samplingRate() : 250.0;
    m_blockLength = source ? std::max(source->blockSize(), 1) : 1;
    m_startTime = startTime;
    m_endTime = endTime > startTime ? endTime : 0.0;
    m_forcedChannel = forcedChannel >= 0 && forcedChannel < m_channelCount ? forcedChannel : -1;
    m_blockIndex = int(qint64(m_rate * startTime + 0.5) / m_blockLength);
    m_beatCount = 0;
    for (int ch = 0; ch < kMaxChannels; ++ch) {
        m_rejectedExcess[ch] = 0;
        m_reliable[ch] = false;
        m_grade[ch] = 0;
        m_queue[ch].clear();
        m_amplitude[size_t(ch)].reset();
    }
    m_lastBeat = Beat();
    m_haveLast = false;
    m_pendingBeat = Beat();
    m_havePending = false;
    m_runningRr.reset();
    m_normalRr.reset();
    m_lag10Index = 0;
    m_lag5Index = 0;
}

void BlockBeatDetector::finish()
{
    fuse(true);
    m_havePending = false; // a doubtful beat with no successor is not kept
}

double BlockBeatDetector::currentTime() const
{
    return double(m_blockIndex) * m_blockLength / m_rate;
}

void BlockBeatDetector::gradeChannel(int channel, int records, int rejectedCount)
{
    if (!validChannel(channel))
        return;
    m_rejectedExcess[channel] = std::max(rejectedCount - records, 0);
    // More than 4 beats make a channel reliable, while grading starts at 4: two limits on
    // purpose.
    m_reliable[channel] = records > 4;
    if (records < 4) {
        m_grade[channel] = 0;
        return;
    }
    const double q = double(rejectedCount) / records;
    m_grade[channel] = q < 10.0 ? 3 : (q < 20.0 ? 2 : 1);
}

void BlockBeatDetector::enqueue(int channel, const LeadBeatRecord& record)
{
    if (validChannel(channel))
        m_queue[channel].push_back(record);
}

void BlockBeatDetector::fuse(bool finalMode)
{
    const int tolerance = int(m_rate * 0.075);
    while (true) {
        bool ready = false;
        for (int ch = 0; ch < m_channelCount; ++ch)
            ready = ready || (finalMode ? !m_queue[ch].empty() : m_queue[ch].size() >= 3);
        if (!ready)
            return;

        bool present[kMaxChannels] = {};
        int first = -1;
        for (int ch = 0; ch < m_channelCount; ++ch) {
            present[ch] = !m_queue[ch].empty();
            if (present[ch] && (first < 0 || m_queue[ch].front().qrs < m_queue[first].front().qrs))
                first = ch;
        }
        const qint32 firstPos = m_queue[first].front().qrs;
        LeadBeatRecord records[kMaxChannels];
        std::vector<qint32> positions;
        for (int ch = 0; ch < m_channelCount; ++ch) {
            // A head far behind the earliest belongs to a later heartbeat; it waits.
            if (present[ch] && m_queue[ch].front().qrs - firstPos > tolerance)
                present[ch] = false;
            if (present[ch]) {
                records[ch] = m_queue[ch].front();
                positions.push_back(records[ch].qrs);
            }
        }
        std::sort(positions.begin(), positions.end());
        const size_t n = positions.size();
        const qint32 common
            = n % 2 == 1 ? positions[n / 2] : (positions[n / 2 - 1] + positions[n / 2]) / 2;
        for (int ch = 0; ch < m_channelCount; ++ch)
            records[ch].qrs = common;

        acceptCandidate(records, common);
        lag5Correction();
        lag10Median();

        for (int ch = 0; ch < m_channelCount; ++ch)
            if (present[ch])
                m_queue[ch].pop_front();
    }
}

int BlockBeatDetector::qrsCount(const LeadBeatRecord* records) const
{
    int q = 0;
    for (int ch = 0; ch < m_channelCount; ++ch)
        q += records[ch].qrsPolarity != 0 ? 1 : 0;
    return q;
}

void BlockBeatDetector::fill(Beat& beat, const LeadBeatRecord* records, qint64 position) const
{
    WaveDelineator::fillBeat(beat, m_source, records, position, m_rate, m_runningRr.current());
}

void BlockBeatDetector::appendNew(Beat& beat)
{
    beat.index = m_beatCount++;
    m_beats->append(beat);
}

void BlockBeatDetector::commitPending()
{
    m_havePending = false;
    appendNew(m_pendingBeat);
}

void BlockBeatDetector::emitNoise(const LeadBeatRecord* records, qint64 position)
{
    if (m_havePending)
        commitPending();
    Beat beat;
    fill(beat, records, position);
    beat.isBeat = false;
    appendNew(beat);
}

double BlockBeatDetector::peakToPeak(
    SignalSource* source, int channel, qint64 start, qint64 count) const
{
    if (!source || count <= 0)
        return 0.0;
    std::vector<double>& v = m_scratch;
    v.resize(size_t(count));
    source->readSamples(channel, start, count, v.data());
    const auto mm = std::minmax_element(v.begin(), v.end());
    return *mm.second - *mm.first;
}

bool BlockBeatDetector::tWaveTest(const LeadBeatRecord* records) const
{
    // An upright complex without P wave where the last beat showed no T wave is likely that
    // T wave, seen again.
    for (int ch = 0; ch < m_channelCount; ++ch) {
        const LeadBeatRecord& r = records[ch];
        if (r.qrsPolarity == 0)
            continue;
        if (r.qrsPolarity <= 0 || r.pPolarity != 0 || m_lastBeat.hasChannelMeasure(ch, Beat::TPeak))
            return false;
    }
    return true;
}

bool BlockBeatDetector::checkChannels(
    LeadBeatRecord* records, double t, int& pass, bool& gradeA, bool& gradeB)
{
    const int bits = m_source->resolution();
    const double minSpan = bits <= 12 ? double((1 << bits) >> 6) : 10.0;
    const qint64 rawStart = qint64(std::floor((t - 0.2) * m_rate + 0.5));
    const qint64 rawCount = qint64(0.4 * m_rate + 0.5);
    int gradeSum = 0;
    pass = 0;
    for (int ch = 0; ch < m_channelCount; ++ch) {
        LeadBeatRecord& r = records[ch];
        if (!m_reliable[ch]) {
            r = LeadBeatRecord::empty(r.qrs);
            continue;
        }
        const double typical = m_amplitude[size_t(ch)].current();
        if (m_beatCount > 10 && typical > 0.0
            && peakToPeak(m_source, ch, rawStart, rawCount) > 15.0 * typical) {
            r = LeadBeatRecord::empty(r.qrs); // an artefact far beyond the usual QRS
            continue;
        }
        if (peakToPeak(scaleSource(), ch, qint64(int((t - 2.0) * m_rate)), int(m_rate * 3.0))
            < minSpan) {
            r = LeadBeatRecord::empty(r.qrs); // a lead with next to no signal
            continue;
        }
        ++pass;
        if (r.qrsPolarity != 0) {
            gradeSum += m_grade[ch];
            if (m_grade[ch] == 3)
                gradeA = true;
        }
        if (m_grade[ch] == 3)
            gradeB = true;
    }
    return pass > 0 && gradeSum > 1;
}

void BlockBeatDetector::acceptCandidate(LeadBeatRecord* records, qint64 position)
{
    const double t = double(position) / m_rate;
    bool confirm = true;
    int pass = m_channelCount;
    int q = qrsCount(records);
    const bool allChannels = m_forcedChannel == -1;

    if (t < m_startTime + 0.2 || (m_endTime > 0.0 && t > m_endTime))
        return;
    if (m_beatCount == 0) {
        Beat beat;
        fill(beat, records, position);
        appendNew(beat);
        m_lastBeat = beat;
        m_haveLast = true;
        return;
    }
    Beat last;
    if (m_beats->last(last) && !(t > last.timing[Beat::RTime] + 0.02))
        return;
    if (m_havePending) {
        const double tp = m_pendingBeat.timing[Beat::RTime];
        if (tp > 0.0) {
            if (t <= tp + 0.1)
                m_havePending = false; // this candidate replaces the doubtful one
            else if (t <= tp + 0.2)
                commitPending();
        }
    }

    bool anyGood = false;
    for (int ch = 0; ch < m_channelCount; ++ch)
        anyGood = anyGood || m_grade[ch] >= 2;
    if (!anyGood && allChannels && q < m_channelCount) {
        emitNoise(records, position);
        return;
    }
    int c = 0;
    for (int ch = 0; ch < m_channelCount; ++ch)
        c += m_reliable[ch] && m_grade[ch] >= 2 ? 1 : 0;

    bool gradeA = false, gradeB = false;
    if (m_channelCount > 1 && allChannels) {
        if (!checkChannels(records, t, pass, gradeA, gradeB)) {
            emitNoise(records, position);
            return;
        }
        if (gradeB && !gradeA)
            confirm = false;
    }
    q = qrsCount(records);
    if (allChannels && q == 1 && !gradeA && pass >= 3)
        confirm = false;

    if (m_haveLast && !m_havePending) {
        const double dt = t - m_lastBeat.timing[Beat::RTime];
        const double median = m_lastBeat.timing[Beat::MedianRR];
        const int lastQ = qrsChannels(m_lastBeat);
        if (dt <= 0.15 && q < lastQ)
            return;
        if (dt <= 0.3) {
            if (q > lastQ) {
                // Seen in more channels than the last beat, so the last one was the artefact.
                Beat stored;
                if (m_beats->get(m_lastBeat.index, stored)) {
                    stored.isBeat = false;
                    m_beats->replace(stored);
                }
                Beat previous;
                if (m_beats->previousBeat(m_lastBeat.index, previous)) {
                    m_lastBeat = previous;
                } else {
                    Beat beat;
                    fill(beat, records, position);
                    appendNew(beat);
                    m_lastBeat = beat;
                    return;
                }
            } else if (median > 0.0 && dt < 0.5 * median && tWaveTest(records)) {
                emitNoise(records, position);
                return;
            }
        } else if (dt <= 0.4 && median > 0.0 && dt < 0.7 * median && q < m_channelCount
            && tWaveTest(records)) {
            emitNoise(records, position);
            return;
        }
    }

    Beat beat;
    fill(beat, records, position);
    double rr = beat.timing[Beat::RTime] - m_lastBeat.timing[Beat::RTime];
    beat.setTiming(Beat::RR, rr);
    double median = m_lastBeat.timing[Beat::MedianRR];
    c = std::min(c, pass);

    if (allChannels && m_channelCount > 1 && q <= 1 && c >= 2 && rr > 0.0 && rr < 1.0
        && median > 0.0 && median < 2.0) {
        // Premature and seen in one channel only, while others are good: doubtful.
        if (c == 2) {
            if (rr < 0.5 * median) {
                emitNoise(records, position);
                return;
            }
            if (rr < 0.75 * median)
                confirm = false;
        } else {
            if (rr < 0.6 * median) {
                emitNoise(records, position);
                return;
            }
            if (rr < 0.85 * median)
                confirm = false;
        }
    }

    if (m_havePending) {
        median = m_lastBeat.timing[Beat::MedianRR];
        if (rr > 0.0 && median > 0.0 && rr / median > 1.5 && rr / median < 4.0) {
            // The gap would be a pause without it: the pending beat was real.
            commitPending();
            rr -= m_pendingBeat.timing[Beat::RR];
            beat.setTiming(Beat::RR, rr);
            m_lastBeat = m_pendingBeat;
        } else {
            commitPending();
        }
    }

    beat.setTiming(Beat::QrsShare, c > 0 ? double(q) / c : 0.1);
    beat.setTiming(Beat::MedianRR, m_runningRr.push(rr));

    if (confirm) {
        appendNew(beat);
        m_lastBeat = beat;
        const qint64 rawStart = qint64(std::floor((t - 0.2) * m_rate + 0.5));
        const qint64 rawCount = qint64(0.4 * m_rate + 0.5);
        for (int ch = 0; ch < m_channelCount; ++ch)
            if (beat.measure[ch][Beat::HasQrs] != 0.0)
                m_amplitude[size_t(ch)].push(peakToPeak(m_source, ch, rawStart, rawCount));
    } else {
        m_pendingBeat = beat;
        m_havePending = true;
    }
}
