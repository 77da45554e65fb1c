#pragma once

#include "analysis/blockbeatdetector.h"
#include "analysis/channeldetector.h"
#include "analysis/scalewindow.h"

#include <functional>
#include <vector>

class WaveletBank;

// Beat detection on the dyadic wavelet scales W1..W4 of a 250 Hz source: each channel finds
// its QRS complexes block by block with three blocks of memory per scale, and the base class
// fuses the channels and appends beats and noise entries to the list.
class WaveletBeatDetector : public BlockBeatDetector
{
public:
    // `bank` (over the source given to init) and `beats` are not owned.
    WaveletBeatDetector(WaveletBank* bank, BeatList* beats);
    ~WaveletBeatDetector() override;

    void init(SignalSource* source, double startTime, double endTime, int forcedChannel) override;
    // Detects one block in every channel and fuses what is ready.
    void processBlock() override;
    void finish() override;
    SignalSource* scaleSource() const override;

    // Sees every channel's record, with absolute positions, as it enters fusion. The records
    // hold what never reaches a Beat (wave onsets and ends); accuracy tools read them here.
    using RecordObserver = std::function<void(int channel, const LeadBeatRecord& record)>;
    void setRecordObserver(RecordObserver observer) { m_recordObserver = std::move(observer); }

    // Search spans, seconds.
    static constexpr double kCrossScaleWindow = 0.05;
    static constexpr double kSameSignWindow = 0.2;

private:
    WaveletBank* m_bank; // not owned
    ScaleWindow m_windows[4];
    std::vector<ChannelDetector> m_channels;
    std::vector<LeadBeatRecord> m_records;
    RecordObserver m_recordObserver;
};
