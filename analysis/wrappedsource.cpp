#include "analysis/wrappedsource.h"

WrappedSource::WrappedSource(SignalSource* source, int rate)
    : SignalSource(source ? source->channelCount() : 0, rate, source ? source->blockSize() : 1)
    , m_source(source)
{
    if (!m_source)
        return;
    for (int c = 0; c < channelCount(); ++c)
        channel(c)->setName(m_source->channel(c)->name());
    setResolution(m_source->resolution());
    setGainRange(m_source->gainMin(), m_source->gainMax());
    setFullScale(m_source->fullScale());
    m_source->addListener(this);
}

WrappedSource::~WrappedSource()
{
    if (m_source)
        m_source->removeListener(this);
}

void WrappedSource::signalChanged(SignalSource* source)
{
    if (source != m_source)
        return;
    followCounts();
    dropStaleBlocks();
    notifyChanged();
}

void WrappedSource::signalDestroyed(SignalSource* source)
{
    if (source != m_source)
        return;
    m_source = nullptr;
    followCounts();
    notifyChanged();
}
