#pragma once

#include "analysis/channeldetectorstate.h"
#include "analysis/leadbeatrecord.h"

#include <vector>

class ScaleWindow;

// The thresholds of one block, from the RMS of the scales over four segments.
struct BlockThresholds
{
    bool flat = true;
    double t1 = 0.0; // computed for completeness; no test reads it
    double t2 = 0.0;
    double t3 = 0.0;
    double t4 = 0.0;
};

// QRS detection in one channel by modulus maxima across dyadic wavelet scales, after Li, Zheng
// and Tai, "Detection of ECG characteristic points using wavelet transforms" (IEEE TBME 1995)
// and Martinez et al. (2004). Runs block by block on three-block windows of W1..W4.
class ChannelDetector
{
public:
    explicit ChannelDetector(int blockLength, double rate = 250.0);

    // Runs on the current block of the windows (scales[0..3] = W1..W4) and appends a
    // block-relative record for each QRS that the following QRS has now confirmed.
    void detectBlock(const ScaleWindow* const scales[4], std::vector<LeadBeatRecord>& out);

    // Thresholds from the current block; flat when the W3 reference is 3.0 or less.
    static BlockThresholds thresholds(const ScaleWindow* const scales[4]);
    // Labels modulus maxima over [from, to] and rejects isolated and redundant ones.
    void searchMaxima(const ScaleWindow& w2, const ScaleWindow& w3, const ScaleWindow& w4, int from,
        int to, double t2, double t3, double t4);

    ChannelDetectorState& state() { return m_state; }
    const ChannelDetectorState& state() const { return m_state; }
    void reset() { m_state.reset(); }

private:
    void pair(const ScaleWindow* const scales[4], const BlockThresholds& th,
        std::vector<LeadBeatRecord>& out);
    // First label at a position in (after, end of the current block); kNotFound if none.
    int firstLabelAfter(int after) const;

    ChannelDetectorState m_state;
};
