#pragma once

#include "analysis/leadbeatrecord.h"

#include <vector>

// What one channel's detector carries from block to block. Positions count from the start of
// the current block and go negative for the past.
struct ChannelDetectorState
{
    explicit ChannelDetectorState(int blockLength = 0, double samplingRate = 250.0);

    // Per sample of the previous, current and next block: the sign of a kept modulus maximum
    // (+1, -1, 0), and 1 where a maximum was thrown away. Outside the three blocks reads 0 and
    // writes are ignored.
    int label(int position) const { return inside(position) ? labels[index(position)] : 0; }
    void setLabel(int position, int value)
    {
        if (inside(position))
            labels[index(position)] = value;
    }
    int rejectedAt(int position) const { return inside(position) ? rejected[index(position)] : 0; }
    // Clears the label at `position`, marks it rejected and counts it.
    void reject(int position);
    void markRejected(int position)
    {
        if (inside(position))
            rejected[index(position)] = 1;
    }
    // Moves both arrays one block to the left; the newest block starts empty.
    void shiftBlock();
    // Back to the state of a fresh channel.
    void reset();

    bool inside(int position) const
    {
        return position >= -blockLength && position < 2 * blockLength;
    }
    size_t index(int position) const { return size_t(position + blockLength); }

    std::vector<int> labels;
    std::vector<int> rejected;
    double rate;
    double period;
    int blockLength;
    double rrEstimate = 0.75; // seconds
    bool haveLabel = false; // first label not yet paired
    int labelPos = LeadBeatRecord::kNotFound;
    bool haveQrs = false; // the last accepted R position
    int lastQrs = LeadBeatRecord::kNotFound;
    bool haveTEnd = false; // end of the last repolarisation
    int lastTEnd = LeadBeatRecord::kNotFound;
    int rejectedCount = 0; // maxima rejected in this block
};
