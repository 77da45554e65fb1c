// A WFDB header and, when it parses, the record's samples. The input is the header text, a
// zero byte, then the data file's bytes; the data file takes the name the header gives it
// (only plain names: the scratch folder is the only place written).
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "recorder/wfdbrecord.h"

#include <algorithm>
#include <vector>

namespace {

constexpr qint64 kMaxFrames = 20000;

// A name the scratch folder can hold: short printable ASCII without separators. Other names
// are left to the reader, which reports the data file missing.
bool isPlainName(const QString& name)
{
    if (name.isEmpty() || name.size() > 64 || name == "." || name == ".." || name == "-"
        || name.endsWith(".hea"))
        return false;
    for (QChar c : name)
        if (c.unicode() <= ' ' || c.unicode() >= 127 || c == '/' || c == '\\')
            return false;
    return true;
}

void readRecord(const QByteArray& input)
{
    const int split = input.indexOf('\0');
    const QByteArray text = split < 0 ? input : input.left(split);
    const QByteArray data = split < 0 ? QByteArray() : input.mid(split + 1);
    const QString headerPath = fuzzsupport::scratchPath("rec.hea");
    const WfdbHeader header = WfdbHeader::parse(text, headerPath);
    header.baseDateTime();
    recordResolution(header);
    if (header.channels.isEmpty() || !isPlainName(header.channels[0].fileName))
        return;
    for (const WfdbSignalSpec& s : header.channels)
        if (s.fileName != header.channels[0].fileName)
            return;
    fuzzsupport::writeScratch(header.channels[0].fileName, data);
    WfdbSource source(header);
    const qint64 frames = std::min(kMaxFrames, source.sampleCount());
    std::vector<std::vector<qint16>> out(
        size_t(source.channelCount()), std::vector<qint16>(size_t(std::max<qint64>(frames, 1))));
    std::vector<qint16*> pointers;
    for (auto& channel : out)
        pointers.push_back(channel.data());
    source.readFrames(0, frames, pointers.data());
    for (int c = 0; c < source.channelCount(); ++c)
        for (int b = 0; b < std::min(4, source.blockCount() + 1); ++b)
            if (source.getBlock(c, b))
                source.releaseBlock(c, b);
}

} // namespace

void fuzzreaders::wfdbheader(const QByteArray& input)
{
    readRecord(input);
}
