#include "tools/simulator.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <algorithm>
#include <cmath>

namespace {

void writeOrThrow(QSaveFile& file, const char* data, qint64 size)
{
    if (file.write(data, size) != size) {
        file.cancelWriting();
        throw SimulatorError(
            QString("Cannot write %1: %2").arg(file.fileName(), file.errorString()));
    }
}

void commitOrThrow(QSaveFile& file)
{
    if (!file.commit())
        throw SimulatorError(
            QString("Cannot write %1: %2").arg(file.fileName(), file.errorString()));
}

void openOrThrow(QSaveFile& file)
{
    if (!file.open(QIODevice::WriteOnly))
        throw SimulatorError(
            QString("Cannot create %1: %2").arg(file.fileName(), file.errorString()));
}

QJsonObject eventJson(const SimEvent& e, bool withRate)
{
    QJsonObject o;
    o["kind"] = simKindInfo(e.kind).name;
    o["start"] = std::round(e.start * 1000.0) / 1000.0;
    o["duration"] = std::round(e.duration * 1000.0) / 1000.0;
    if (withRate && e.rate > 0.0)
        o["rate"] = e.rate;
    return o;
}

} // namespace

Simulator::Simulator(const SimulatorScript& script, std::uint64_t seed)
    : m_script(script)
    , m_seed(seed)
    , m_schedule(m_script, seed)
    , m_rhythm(m_script, m_schedule, seed)
    , m_synth(m_script, m_schedule, seed)
{
    m_blocks = qint64(std::ceil(m_script.seconds() * kRate / kFrames - 1e-9));
    for (const SimEvent& e : m_schedule.instants())
        if (e.kind == SimKind::Button)
            m_buttons.append(e.start);
}

quint16 Simulator::statusWord(qint64 block) const
{
    const double t0 = double(block) * kFrames / kRate;
    const double t1 = t0 + double(kFrames) / kRate;
    quint16 word = 0xC000;
    for (double t : m_buttons)
        if (t >= t0 && t < t1)
            word |= 0x0001;
    for (const SimEvent& e : m_schedule.overlays()) {
        if (e.start >= t1 || e.end() <= t0)
            continue;
        if (e.kind == SimKind::LowBattery)
            word |= 0x0002;
        else if (e.kind == SimKind::SdError)
            word |= 0x0004;
        else if (e.kind == SimKind::ElectrodeOff)
            word |= quint16(0x0010 << e.lead);
    }
    return word;
}

bool Simulator::nextBlock(std::array<qint16, 3 * kFrames>& samples, quint16& status)
{
    if (m_nextBlock >= m_blocks)
        return false;
    const qint64 first = m_nextBlock * kFrames;
    const double t0 = double(first) / kRate;
    const double t1 = double(first + kFrames) / kRate;
    // Beats are scheduled ahead far enough for their P waves, and kept until their T waves end.
    while (m_beats.empty() || m_beats.back().time < t1 + WaveformSynth::kReachBefore)
        m_beats.push_back(m_rhythm.next());
    while (!m_beats.empty() && m_beats.front().time < t0 - WaveformSynth::kReachAfter)
        m_beats.pop_front();

    float buffer[3][kFrames];
    const std::array<float*, 3> leads = { buffer[0], buffer[1], buffer[2] };
    m_synth.renderBackground(first, kFrames, leads);
    for (const SimBeat& beat : m_beats)
        m_synth.addBeat(beat, first, kFrames, leads);
    m_synth.applyElectrodeOff(first, kFrames, leads);
    for (int c = 0; c < 3; ++c) {
        for (int f = 0; f < kFrames; ++f) {
            const double steps = std::nearbyint(double(buffer[c][f]) * kStepsPerMillivolt);
            samples[std::size_t(c * kFrames + f)] = qint16(std::clamp(steps, -32768.0, 32767.0));
        }
    }
    status = statusWord(m_nextBlock);
    ++m_nextBlock;
    return true;
}

QVector<WfdbAnnotation> Simulator::truthAnnotations() const
{
    const qint64 end = m_nextBlock * kFrames;
    QVector<WfdbAnnotation> out;
    for (const WfdbAnnotation& a : m_rhythm.annotations())
        if (a.sample < end)
            out.append(a);
    // A rhythm label with no beat after it says nothing.
    while (!out.isEmpty() && out.last().code == 28)
        out.removeLast();
    return out;
}

QJsonObject Simulator::truthJson() const
{
    const double seconds = double(m_nextBlock) * kFrames / kRate;
    QJsonObject root;
    root["recorder"] = m_script.recorderId;
    root["start"] = m_script.start.toString("yyyy-MM-dd'T'HH:mm:ss");
    root["seconds"] = seconds;
    root["seed"] = QString::number(m_seed);
    root["samplingRate"] = kRate;
    root["millivoltsPerStep"] = 1.0 / kStepsPerMillivolt;

    std::vector<SimEvent> episodes = m_schedule.rhythms();
    for (const SimEvent& e : m_rhythm.realized())
        if (simKindInfo(e.kind).cls == SimKindClass::Instant)
            episodes.push_back(e);
    QJsonArray episodeArray;
    QJsonArray statusArray;
    for (const SimEvent& e : m_schedule.overlays()) {
        if (e.kind == SimKind::StElevation || e.kind == SimKind::StDepression
            || e.kind == SimKind::Muscle || e.kind == SimKind::Motion)
            episodes.push_back(e);
    }
    std::sort(episodes.begin(), episodes.end(),
        [](const SimEvent& a, const SimEvent& b) { return a.start < b.start; });
    for (const SimEvent& e : episodes) {
        if (e.start >= seconds)
            continue;
        QJsonObject o = eventJson(e, true);
        if (e.kind == SimKind::StElevation || e.kind == SimKind::StDepression)
            o["levelMv"] = e.level;
        if (e.kind == SimKind::Motion)
            o["lead"] = e.lead + 1;
        episodeArray.append(o);
    }
    for (const SimEvent& e : m_schedule.instants()) {
        if (e.kind == SimKind::Button && e.start < seconds)
            statusArray.append(QJsonObject { { "kind", "button" }, { "start", e.start } });
    }
    for (const SimEvent& e : m_schedule.overlays()) {
        if (e.start >= seconds)
            continue;
        QJsonObject o = eventJson(e, false);
        if (e.kind == SimKind::ElectrodeOff) {
            o["kind"] = "electrodes-off";
            o["lead"] = e.lead + 1;
        } else if (e.kind != SimKind::LowBattery && e.kind != SimKind::SdError) {
            continue;
        }
        statusArray.append(o);
    }
    root["episodes"] = episodeArray;
    root["statusEvents"] = statusArray;

    QJsonObject counts;
    int n = 0, v = 0, s = 0, f = 0;
    for (const WfdbAnnotation& a : truthAnnotations()) {
        n += a.code == 1;
        v += a.code == 5;
        s += a.code == 8;
        f += a.code == 6;
    }
    counts["N"] = n;
    counts["V"] = v;
    counts["S"] = s;
    counts["F"] = f;
    const QMap<QString, int>& c = m_rhythm.counts();
    for (const char* key : { "pvc", "svpb", "fusion", "couplet", "triplet", "pause", "dropped" })
        counts[key] = c.value(key);
    root["counts"] = counts;
    return root;
}

void Simulator::writeAll(
    const QString& folder, int preambleBytes, ProgressSink* progress, const CancelFlag* cancel)
{
    if (preambleBytes < 0)
        throw SimulatorError("The preamble can't be negative");
    const QDir dir(folder);
    if (!dir.exists() && !QDir().mkpath(folder))
        throw SimulatorError(QString("Cannot create folder %1").arg(folder));

    QSaveFile card(dir.filePath("HECG.VTF"));
    openOrThrow(card);
    // A recognisable text, zeros, and a status word at the very end, as the recorder leaves
    // before its first block: the reader finds the blocks by that marker. Nothing else in the
    // preamble may look like one.
    QByteArray preamble(preambleBytes, '\0');
    const QByteArray label = QString("HOLTER SIMULATOR %1 seed %2")
                                 .arg(m_script.recorderId)
                                 .arg(m_seed)
                                 .toLatin1()
                                 .left(std::max(0, preambleBytes - 2));
    preamble.replace(0, label.size(), label);
    if (preambleBytes >= 2)
        preamble[preambleBytes - 2] = char(0xC0);
    writeOrThrow(card, preamble.constData(), preamble.size());

    constexpr int kBlocksPerWrite = 16;
    std::vector<char> chunk;
    chunk.reserve(std::size_t(kBlockBytes) * kBlocksPerWrite);
    std::array<qint16, 3 * kFrames> samples;
    quint16 status = 0;
    int lastPercent = -1;
    while (nextBlock(samples, status)) {
        if (isCancelled(cancel)) {
            card.cancelWriting(); // the card's old contents, if any, stay
            throw SimulatorError(QString("Simulation cancelled; %1 was not written")
                                     .arg(QDir::toNativeSeparators(card.fileName())));
        }
        const std::size_t base = chunk.size();
        chunk.resize(base + kBlockBytes);
        char* out = chunk.data() + base;
        for (int f = 0; f < kFrames; ++f) {
            for (int c = 0; c < 3; ++c) {
                // Channel 3 comes first in a frame.
                const quint16 v = quint16(samples[std::size_t(c * kFrames + f)]);
                char* p = out + 6 * f + 2 * (2 - c);
                p[0] = char(v >> 8);
                p[1] = char(v & 0xFF);
            }
        }
        out[12000] = char(status >> 8);
        out[12001] = char(status & 0xFF);
        if (chunk.size() >= std::size_t(kBlockBytes) * kBlocksPerWrite) {
            writeOrThrow(card, chunk.data(), qint64(chunk.size()));
            chunk.clear();
        }
        const int percent = int(m_nextBlock * 100 / std::max<qint64>(1, m_blocks));
        // Once per percent: a card has tens of thousands of blocks.
        if (progress && percent != lastPercent)
            progress->progress(m_nextBlock, m_blocks);
        lastPercent = percent;
    }
    writeOrThrow(card, chunk.data(), qint64(chunk.size()));
    commitOrThrow(card);

    writeWfdbAnnotations(dir.filePath("truth.atr"), truthAnnotations());

    QSaveFile json(dir.filePath("truth.json"));
    openOrThrow(json);
    const QByteArray jsonBytes = QJsonDocument(truthJson()).toJson(QJsonDocument::Indented);
    writeOrThrow(json, jsonBytes.constData(), jsonBytes.size());
    commitOrThrow(json);

    QSaveFile inf(dir.filePath("HECG.INF"));
    openOrThrow(inf);
    const QByteArray text
        = QString("RECORDER=%1\nSTART=%2\nHOURS=%3\nBLOCKS=%4\n")
              .arg(m_script.recorderId, m_script.start.toString("yyyy-MM-dd HH:mm:ss"))
              .arg(m_script.hours)
              .arg(m_blocks)
              .toLatin1();
    writeOrThrow(inf, text.constData(), text.size());
    commitOrThrow(inf);
}
