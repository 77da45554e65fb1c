#include "analysis/waveletbeatdetector.h"

#include "analysis/waveletbank.h"
#include "store/signalsource.h"

WaveletBeatDetector::WaveletBeatDetector(WaveletBank* bank, BeatList* beats)
    : BlockBeatDetector(beats)
    , m_bank(bank)
{
}

WaveletBeatDetector::~WaveletBeatDetector() = default;

void WaveletBeatDetector::init(
    SignalSource* source, double startTime, double endTime, int forcedChannel)
{
    BlockBeatDetector::init(source, startTime, endTime, forcedChannel);
    for (ScaleWindow& w : m_windows)
        w = ScaleWindow(m_blockLength);
    m_channels.assign(size_t(channelCount()), ChannelDetector(m_blockLength, m_rate));
}

SignalSource* WaveletBeatDetector::scaleSource() const
{
    return m_bank ? m_bank->bandPass() : nullptr;
}

void WaveletBeatDetector::processBlock()
{
    const ScaleWindow* scales[4] = { &m_windows[0], &m_windows[1], &m_windows[2], &m_windows[3] };
    const qint32 offset = qint32(qint64(m_blockIndex) * m_blockLength);
    // The recording's last block is mostly zero padding: its few beats say nothing about the
    // channel, so it keeps the grades of the block before (a recording shorter than one block
    // has only this block to go by).
    const bool regrade = m_blockIndex == 0 || !m_source
        || qint64(offset) + m_blockLength <= m_source->sampleCount();
    for (int ch = 0; ch < channelCount(); ++ch) {
        if (!detectsChannel(ch))
            continue;
        for (int s = 0; s < 4; ++s)
            m_windows[s].load(m_bank ? m_bank->scale(s + 1) : nullptr, ch, m_blockIndex);
        m_records.clear();
        ChannelDetector& detector = m_channels[size_t(ch)];
        detector.detectBlock(scales, m_records);
        if (regrade)
            gradeChannel(ch, int(m_records.size()), detector.state().rejectedCount);
        for (const LeadBeatRecord& r : m_records) {
            const LeadBeatRecord absolute = r.shifted(offset);
            if (m_recordObserver)
                m_recordObserver(ch, absolute);
            enqueue(ch, absolute);
        }
    }
    fuse(false);
    ++m_blockIndex;
}

void WaveletBeatDetector::finish()
{
    for (ScaleWindow& w : m_windows)
        w = ScaleWindow();
    for (ChannelDetector& c : m_channels)
        c.reset();
    BlockBeatDetector::finish();
}
