#pragma once

// Signals for the codec tests: simulated ECG, a reference recording, noise, and the vtecg
// files made of them.

#include "recorder/wfdbrecord.h"
#include "store/ecgfile.h"
#include "tools/simulator.h"

#include <QJsonObject>
#include <QString>

#include <array>
#include <random>
#include <vector>

namespace ecgcodectest {

using Channels = std::vector<std::vector<qint16>>;

// `frames` samples per channel of the simulator's default script (3 channels, 500 Hz).
inline Channels simulatedChannels(qint64 frames, std::uint64_t seed = 7)
{
    SimulatorScript script = parseSimulatorScript(defaultSimulatorScript(), "default");
    setSimulationHours(script, double(frames) / Simulator::kRate / 3600.0 + 0.01);
    Simulator sim(script, seed);
    Channels out(3);
    std::array<qint16, 3 * Simulator::kFrames> block;
    quint16 status = 0;
    while (qint64(out[0].size()) < frames && sim.nextBlock(block, status)) {
        for (int c = 0; c < 3; ++c)
            for (int i = 0; i < Simulator::kFrames && qint64(out[size_t(c)].size()) < frames; ++i)
                out[size_t(c)].push_back(block[size_t(c * Simulator::kFrames + i)]);
    }
    return out;
}

// All channels of a WFDB record (path without extension).
inline Channels wfdbChannels(const QString& record)
{
    WfdbSource source(record);
    const qint64 n = source.sampleCount();
    Channels out(size_t(source.channelCount()), std::vector<qint16>(size_t(n)));
    std::vector<qint16*> ptrs;
    for (auto& ch : out)
        ptrs.push_back(ch.data());
    source.readFrames(0, n, ptrs.data());
    return out;
}

// Uniform 16-bit noise over the whole range.
inline Channels noiseChannels(int channels, qint64 frames, unsigned seed)
{
    std::mt19937 rng(seed);
    Channels out(static_cast<size_t>(channels));
    for (auto& ch : out)
        for (qint64 i = 0; i < frames; ++i)
            ch.push_back(qint16(quint16(rng() & 0xffff)));
    return out;
}

// A vtecg file of these channels, with a study and patient header like a real one.
inline void writeEcgFile(const QString& path, const Channels& channels, int rate = 500)
{
    EcgFile f(path, int(channels.size()), rate, EcgFile::kHeaderSize, true);
    f.setGainRange(-450.0, 450.0);
    for (int c = 0; c < f.channelCount(); ++c)
        f.channel(c)->setName(QByteArray("V") + QByteArray::number(c + 1));
    QJsonObject study { { "baseFilename", "H0001" }, { "studyDateTime", "20261124093000" } };
    QJsonObject patient { { "lastName", "Muñoz" }, { "firstName", "Ana" } };
    f.writeHeader(study, patient);
    std::vector<const qint16*> ptrs;
    for (const auto& ch : channels)
        ptrs.push_back(ch.data());
    if (!channels.empty() && !channels[0].empty())
        f.appendChannels(ptrs.data(), qint64(channels[0].size()));
}

} // namespace ecgcodectest
