#pragma once

#include "analysis/leadbeatrecord.h"
#include "analysis/rollingmedian.h"
#include "store/beat.h"

#include <deque>
#include <vector>

class BeatList;
class SignalSource;

// The part of beat detection that doesn't depend on how channels find their QRS: fusion of
// the channels' records into one candidate per heartbeat, the decision beat or noise, and the
// delayed corrections of the list. A derived class feeds the channel queues block by block.
class BlockBeatDetector
{
public:
    static constexpr int kMaxChannels = 4;

    // `beats` is the sink, not owned.
    explicit BlockBeatDetector(BeatList* beats);
    BlockBeatDetector(const BlockBeatDetector&) = delete;
    BlockBeatDetector& operator=(const BlockBeatDetector&) = delete;
    virtual ~BlockBeatDetector();

    // Prepares a run over `source` (the 250 Hz signal, not owned). Candidates before
    // startTime + 0.2 s and, when endTime is above startTime, after endTime are dropped.
    // forcedChannel -1 detects all channels; otherwise only that one, without the
    // multi-channel checks.
    virtual void init(SignalSource* source, double startTime, double endTime, int forcedChannel);
    virtual void processBlock() = 0;
    // Ends the run: whatever waits in the queues is fused; a pending beat is dropped.
    virtual void finish();
    // The band-pass source the acceptance checks read.
    virtual SignalSource* scaleSource() const = 0;

    double currentTime() const;
    int blockIndex() const { return m_blockIndex; }
    int beatCount() const { return m_beatCount; }
    int grade(int channel) const { return validChannel(channel) ? m_grade[channel] : 0; }
    bool reliable(int channel) const { return validChannel(channel) && m_reliable[channel]; }
    int rejectedExcess(int channel) const
    {
        return validChannel(channel) ? m_rejectedExcess[channel] : 0;
    }
    double rate() const { return m_rate; }

protected:
    // Sets the grade of a channel after its detection of a block gave `records` records with
    // `rejectedCount` rejected maxima.
    void gradeChannel(int channel, int records, int rejectedCount);
    // Adds an absolute record to a channel's queue.
    void enqueue(int channel, const LeadBeatRecord& record);
    // Combines queue heads into candidates: normal mode waits for a queue of 3, final mode
    // empties the queues.
    void fuse(bool finalMode);
    int channelCount() const { return m_channelCount; }
    bool validChannel(int channel) const { return channel >= 0 && channel < m_channelCount; }
    bool detectsChannel(int channel) const
    {
        return m_forcedChannel < 0 || m_forcedChannel == channel;
    }

    SignalSource* m_source = nullptr; // not owned
    int m_blockIndex = 0;
    int m_blockLength = 1;
    double m_rate = 250.0;

private:
    void acceptCandidate(LeadBeatRecord* records, qint64 position);
    bool checkChannels(LeadBeatRecord* records, double t, int& pass, bool& gradeA, bool& gradeB);
    void fill(Beat& beat, const LeadBeatRecord* records, qint64 position) const;
    void appendNew(Beat& beat);
    void emitNoise(const LeadBeatRecord* records, qint64 position);
    void commitPending();
    bool tWaveTest(const LeadBeatRecord* records) const;
    double peakToPeak(SignalSource* source, int channel, qint64 start, qint64 count) const;
    int qrsCount(const LeadBeatRecord* records) const;

    // Delayed passes over the list (blockbeatdetectorlag.cpp).
    void lag5Correction();
    bool splitInterval(Beat& b);
    bool moveToNoiseNeighbour(Beat& b);
    bool restoreBeat(Beat& b);
    bool moveToBeatNeighbour(Beat& b);
    void lag10Median();
    int qrsChannels(const Beat& beat) const;

    BeatList* m_beats; // not owned
    int m_channelCount = 0;
    int m_beatCount = 0;
    double m_startTime = 0.0;
    double m_endTime = 0.0;
    int m_forcedChannel = -1;
    int m_rejectedExcess[kMaxChannels] = {};
    bool m_reliable[kMaxChannels] = {};
    int m_grade[kMaxChannels] = {};
    std::deque<LeadBeatRecord> m_queue[kMaxChannels];
    Beat m_lastBeat;
    bool m_haveLast = false;
    Beat m_pendingBeat;
    bool m_havePending = false;
    RollingMedian m_runningRr { 8 };
    RollingMedian m_normalRr { 10 };
    std::vector<RollingMedian> m_amplitude;
    int m_lag10Index = 0;
    int m_lag5Index = 0;
    mutable std::vector<double> m_scratch; // sample buffer for the checks
};
