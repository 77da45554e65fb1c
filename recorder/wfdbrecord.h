#pragma once

#include "recorder/wfdbannotation.h" // WfdbError
#include "store/signalsource.h"

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QString>
#include <QTime>
#include <QVector>

#include <cstdio>
#include <vector>

// One signal line of a WFDB header:
// "file format[xsamp][:skew][+offset] gain[(baseline)][/units] adcres adczero initval checksum
// blocksize description". Missing trailing fields take their documented defaults.
struct WfdbSignalSpec
{
    static constexpr double kDefaultGain = 200.0; // ADC units per physical unit

    QString fileName; // as written, relative to the header's folder
    int format = 0; // 212, 16, ...
    int samplesPerFrame = 1; // xsamp
    int skew = 0; // samples
    qint64 byteOffset = 0; // bytes before the first sample of the file
    double gain = kDefaultGain; // ADC units per `units`; 0 or absent in the file means 200
    int baseline = 0; // ADC value of physical zero; defaults to adcZero
    QByteArray units = "mV";
    int adcResolution = 0; // bits; 0 means the format's natural width
    int adcZero = 0;
    int initialValue = 0; // first sample (ADC units); defaults to adcZero
    int checksum = 0; // 16-bit sum of all samples, valid when hasChecksum
    bool hasChecksum = false;
    int blockSize = 0;
    QByteArray description;

    // ADC units per millivolt, converting "uV" and "V" units; other units are taken as given.
    double gainPerMillivolt() const;
};

// A parsed WFDB header (.hea): "record nsig [fs[/counterfreq[(base)]] [nsamples [basetime
// [basedate]]]]" then one line per signal; "#" lines are comments. Multi-segment records are
// refused.
struct WfdbHeader
{
    QString headerPath; // the .hea file, for messages and to find the data files
    QByteArray recordName;
    double samplingRate = 250.0; // frames per second
    double counterFrequency = 0.0;
    qint64 sampleCount = 0; // per signal; 0 when the header does not say
    QTime baseTime; // invalid when absent
    QDate baseDate; // invalid when absent
    QVector<WfdbSignalSpec> channels;
    QVector<QByteArray> comments; // without the "#"

    // The .hea path for a record given as "path/100.hea" or "path/100".
    static QString headerPathFor(const QString& record);
    // Reads and parses a header; throws WfdbError naming the file (and the line where one
    // line is at fault).
    static WfdbHeader read(const QString& record);
    // Parses header text; `path` names it in messages and locates its data files.
    static WfdbHeader parse(const QByteArray& text, const QString& path);

    // Start of the recording from base date and time (midnight without a time); invalid
    // without a date.
    QDateTime baseDateTime() const;
    // Full path of a signal's data file.
    QString dataPath(int channel) const;
};

// A WFDB record (formats 212 and 16, 1 to 4 signals interleaved in one data file) read in
// place. A block of 4096 samples costs one seek and one read of the data file; the other
// channels of that block are kept decoded, since callers tend to walk all channels together.
// A stored sample is the ADC value minus the signal's baseline, so one step is 1/gain mV.
class WfdbSource : public SignalSource
{
public:
    static constexpr int kBlockSize = 4096; // samples per channel

    // Reads the header and opens the data file. Throws WfdbError naming the file for
    // anything it can't read faithfully: unknown format, more than 4 signals, signals spread
    // over several files, a data file shorter than the header promises, a missing data file.
    explicit WfdbSource(const QString& record);
    explicit WfdbSource(const WfdbHeader& header);
    ~WfdbSource() override;

    const WfdbHeader& header() const { return m_header; }
    QString dataPath() const { return m_dataPath; }

    // Decodes frames [first, first + count) of all channels into out[c][0..count).
    // Throws WfdbError on a short read.
    void readFrames(qint64 first, qint64 count, qint16* const* out);

    qint16* loadBlock(int channel, int block) override;
    // A record is read only: these throw WfdbError.
    void appendRaw(const char* bytes, qint64 size) override;
    void appendChannels(const qint16* const* channels, qint64 count) override;
    void appendChannelsF64(const double* const* channels, qint64 count) override;

    // Bytes that `samples` interleaved samples take in a format (212: 3 bytes per pair).
    static qint64 bytesForSamples(int format, qint64 samples);

private:
    void open();

    WfdbHeader m_header;
    QString m_dataPath;
    std::FILE* m_file = nullptr;
    int m_format = 0;
    qint64 m_byteOffset = 0;
    std::vector<int> m_baselines;
    // The last block decoded, all channels, so that a walk over the channels reads once.
    int m_scratchBlock = -1;
    std::vector<std::vector<qint16>> m_scratch;
};

// The converter resolution of a record in bits: the largest of its signals', 16 when the header
// doesn't say.
int recordResolution(const WfdbHeader& header);
