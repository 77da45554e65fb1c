#pragma once

#include "analysis/wrappedsource.h"

// A source at another sampling rate: a copy at the same rate, a box average when the target
// divides the source rate, linear interpolation otherwise. Samples keep the source's scale.
class ResampledSource : public WrappedSource
{
public:
    // `source` is not owned.
    ResampledSource(SignalSource* source, int targetRate);
    ~ResampledSource() override;

    double factor() const { return m_factor; }
    double invFactor() const { return m_invFactor; }
    bool decimates() const { return m_decimate; }
    int step() const { return m_step; }

    qint16* loadBlock(int channel, int block) override;

private:
    void followCounts() override;

    double m_factor; // target rate / source rate
    double m_invFactor;
    bool m_decimate;
    int m_step = 1; // source samples per output sample when decimating
};
