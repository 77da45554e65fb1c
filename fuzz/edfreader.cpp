// An EDF, EDF+ or BDF file: the header, then every data record with its annotations.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "recorder/edfheader.h"
#include "recorder/edfrecordreader.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr qint64 kMaxRecords = 64;

void readEdf(const QByteArray& input)
{
    EdfHeader::looksLike(input.left(256));
    const QString path = fuzzsupport::writeScratch("fuzz.edf", input);
    const EdfHeader header = EdfHeader::read(path);
    header.patientName();
    header.patientBirthDate();
    header.patientSex();
    header.patientCode();
    QVector<int> chosen;
    for (int s = 0; s < header.signalList.size(); ++s) {
        header.samplingRate(s);
        header.signalList[s].leadName();
        header.signalList[s].millivoltsPerPhysicalUnit();
        if (!header.signalList[s].isAnnotations())
            chosen << s;
    }
    header.ecgSignals();
    EdfRecordReader reader(header, chosen);
    QVector<EdfAnnotation> annotations;
    const qint64 records = std::min(kMaxRecords, header.recordCount);
    for (qint64 r = 0; r < records; ++r)
        reader.readRecord(r, &annotations);
    for (qint64 r = 0; r < records; ++r)
        reader.readAnnotations(r, &annotations);
}

} // namespace

void fuzzreaders::edf(const QByteArray& input)
{
    readEdf(input);
}
