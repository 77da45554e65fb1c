#pragma once

#include "recorder/edfheader.h"

#include <QByteArray>
#include <QVector>

#include <cstdio>
#include <vector>

// One EDF+ annotation: onset in seconds from the file's start, duration in seconds or
// negative when absent, and its text.
struct EdfAnnotation
{
    double onset = 0.0;
    double duration = -1.0;
    QByteArray text;
};

// Parses the time-stamped annotation lists of one annotation signal's bytes in one data
// record. The record's own start, the first list's empty annotation, comes back in
// `recordOnset` (NaN when the bytes have none); the rest go to `out`. Throws RecordingError
// naming `path` on lists that break the format.
void parseEdfAnnotationLists(
    const QByteArray& bytes, double* recordOnset, QVector<EdfAnnotation>* out, const QString& path);

// Reads an EDF/BDF file record by record, without EDFlib: what discontinuous files need,
// since each record carries its own start time and EDFlib refuses such files.
class EdfRecordReader
{
public:
    // Opens the file of a checked header; `signals` are the header's indices to decode.
    EdfRecordReader(const EdfHeader& header, const QVector<int>& signalIndices);
    ~EdfRecordReader();
    EdfRecordReader(const EdfRecordReader&) = delete;
    EdfRecordReader& operator=(const EdfRecordReader&) = delete;

    // Reads record `r`: the digital samples of each chosen signal into samples()[i], its
    // start in seconds from the file's start (NaN without an annotation signal) and its
    // annotations appended to `annotations`.
    double readRecord(qint64 r, QVector<EdfAnnotation>* annotations);
    const std::vector<std::vector<int>>& samples() const { return m_samples; }
    // Reads only the annotation signals of record `r`: the same as readRecord without the
    // samples, for files whose samples come through EDFlib.
    double readAnnotations(qint64 r, QVector<EdfAnnotation>* annotations);

private:
    double parseAnnotationSignals(qint64 r, QVector<EdfAnnotation>* annotations);

    const EdfHeader& m_header;
    QVector<int> m_signals;
    std::FILE* m_file = nullptr;
    QByteArray m_record;
    std::vector<qint64> m_offsets; // byte offset of each header signal within a record
    std::vector<std::vector<int>> m_samples;
};
