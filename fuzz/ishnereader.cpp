// An ISHNE header. Mutated bytes would almost never keep the header checksum right, and then
// nothing after it is ever read; so the checksum is set to what the bytes need before reading.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "recorder/ishneheader.h"

#include <QtEndian>

#include <algorithm>

namespace {

void readIshne(QByteArray input) // a copy: the checksum is patched
{
    constexpr int fixedEnd = IshneHeader::kPreambleBytes + IshneHeader::kFixedBytes;
    if (input.size() >= fixedEnd) {
        const qint32 variable = qFromLittleEndian<qint32>(input.constData() + 10);
        const qint64 end
            = variable < 0 ? fixedEnd : std::min<qint64>(input.size(), qint64(fixedEnd) + variable);
        const quint16 crc = ishneCrc(input.constData() + 10, end - 10);
        qToLittleEndian(crc, input.data() + 8);
    }
    const QString path = fuzzsupport::writeScratch("fuzz.ecg", input);
    const IshneHeader header = IshneHeader::read(path);
    for (int lead = 0; lead < header.leadCount; ++lead)
        IshneHeader::leadName(header.leadSpec.value(lead), lead);
}

} // namespace

void fuzzreaders::ishne(const QByteArray& input)
{
    readIshne(input);
}
