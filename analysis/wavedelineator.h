#pragma once

#include "analysis/leadbeatrecord.h"

struct Beat;
struct ChannelDetectorState;
class ScaleWindow;
class SignalSource;

// Wave limits of single beats from the wavelet scales, after Martinez et al., "A wavelet-based
// ECG delineator: evaluation on standard databases" (IEEE TBME 2004), adapted to the scales of
// the detector's three-block window. A rising signal gives negative W values.
class WaveDelineator
{
public:
    // Delineates the beat at `qrs` in one channel; `nextQrs` (the channel's following QRS)
    // bounds the T-wave search. t2/t4 are the W2/W4 thresholds of the current block. Fills
    // `record` (whose positions should be empty) and updates the state's end of repolarisation.
    static void delineate(const ScaleWindow& w2, const ScaleWindow& w3, const ScaleWindow& w4,
        double t2, double t3, double t4, int qrs, int nextQrs, double rrEstimate,
        ChannelDetectorState& state, LeadBeatRecord& record);

    // Fills a beat from the absolute records of all the source's channels (`records` holds
    // `source->channelCount()` entries) and the common position, at `rate` samples per second.
    // `medianRr` goes to timing[2].
    static void fillBeat(Beat& beat, SignalSource* source, const LeadBeatRecord* records,
        qint64 position, double rate, double medianRr);

private:
    static void delineateQrs(const ScaleWindow& w2, const ScaleWindow& w3, double t2, int qrs,
        double rate, LeadBeatRecord& record);
    static void delineateP(const ScaleWindow& w4, double t4, int qrs, double rate,
        const ChannelDetectorState& state, LeadBeatRecord& record);
    static void delineateT(const ScaleWindow& w4, double t4, int qrs, int nextQrs,
        double rrEstimate, double rate, LeadBeatRecord& record);
    static void helperPoints(
        const ScaleWindow& w3, const ScaleWindow& w4, double rate, LeadBeatRecord& record);
};
