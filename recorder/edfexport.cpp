#include "recorder/edfexport.h"

#include "recorder/recordingerror.h"
#include "store/beatlist.h"
#include "store/resultset.h"
#include "store/signalsource.h"
#include "store/study.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>

#include <edflib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kMaxAnnotationSignals = 64;
constexpr qint64 kEdfAnnotationUnits = 10000; // EDFlib's write unit: 100 microseconds

[[noreturn]] void fail(const QString& path, const QString& what)
{
    throw RecordingError(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), what));
}

struct EpisodeName
{
    const char* key;
    const char* name;
};

const EpisodeName kEpisodes[] = {
    { "afib/afibEvents", "AF" },
    { "pause/pauseEvents", "Pause" },
    { "arrhythmia/tachycardiaEvents", "Tachycardia" },
    { "arrhythmia/bradycardiaEvents", "Bradycardia" },
    { "bigeminy/bigeminyEvents", "Bigeminy" },
    { "trigeminy/trigeminyEvents", "Trigeminy" },
    { "PVC/coupletEvents", "PVC couplet" },
    { "PVC/tripletEvents", "PVC triplet" },
    { "PVC/runEvents", "PVC run" },
    { "SVPB/coupletEvents", "SVPB couplet" },
    { "SVPB/tripletEvents", "SVPB triplet" },
    { "SVPB/runEvents", "SVPB run" },
    { "ST/STElevationEvents", "ST elevation" },
    { "ST/STDepressionEvents", "ST depression" },
};

// The EDFlib handle of a file being written; closed (and the file removed) unless finished.
class EdfWriter
{
public:
    EdfWriter(const QString& path, int signalCount)
        : m_path(path)
    {
        m_handle = edfopen_file_writeonly(
            QFile::encodeName(path).constData(), EDFLIB_FILETYPE_EDFPLUS, signalCount);
        if (m_handle < 0)
            fail(path,
                QCoreApplication::translate(
                    "RecordingExport", "cannot create the file (EDFlib error %1)")
                    .arg(m_handle));
    }
    ~EdfWriter()
    {
        if (m_handle >= 0) {
            edfclose_file(m_handle);
            QFile::remove(m_path);
        }
    }
    EdfWriter(const EdfWriter&) = delete;
    EdfWriter& operator=(const EdfWriter&) = delete;
    int handle() const { return m_handle; }
    void check(int result, const char* what) const
    {
        if (result != 0)
            fail(m_path,
                QCoreApplication::translate("RecordingExport", "cannot write the %1")
                    .arg(QCoreApplication::translate("RecordingExport", what)));
    }
    void finish()
    {
        const int rc = edfclose_file(m_handle);
        m_handle = -1;
        if (rc != 0) {
            QFile::remove(m_path);
            fail(m_path,
                QCoreApplication::translate(
                    "RecordingExport", "cannot complete the file; is the disk full?"));
        }
    }

private:
    QString m_path;
    int m_handle = -1;
};

QByteArray latin1(const QByteArray& utf8)
{
    // EDF headers are ASCII; EDFlib turns Latin-1 accents into their plain letters.
    return QString::fromUtf8(utf8).toLatin1().left(80);
}

// The digital range of the recording's resolution, so that a reader sees its full scale.
int digitalMax(const SignalSource& s)
{
    return (1 << (std::clamp(s.resolution(), 8, 16) - 1)) - 1;
}

void writeHeader(EdfWriter& w, Study& study, const SignalSource& s)
{
    const int h = w.handle();
    const int top = digitalMax(s);
    const double stepUv = s.gainStep() * 1000.0;
    for (int c = 0; c < s.channelCount(); ++c) {
        w.check(edf_set_samplefrequency(h, c, s.samplingRate()),
            QT_TRANSLATE_NOOP("RecordingExport", "sampling rate"));
        w.check(edf_set_digital_minimum(h, c, -top - 1),
            QT_TRANSLATE_NOOP("RecordingExport", "digital range"));
        w.check(edf_set_digital_maximum(h, c, top),
            QT_TRANSLATE_NOOP("RecordingExport", "digital range"));
        w.check(edf_set_physical_minimum(h, c, (-top - 1) * stepUv),
            QT_TRANSLATE_NOOP("RecordingExport", "physical range"));
        w.check(edf_set_physical_maximum(h, c, top * stepUv),
            QT_TRANSLATE_NOOP("RecordingExport", "physical range"));
        w.check(edf_set_physical_dimension(h, c, "uV"),
            QT_TRANSLATE_NOOP("RecordingExport", "physical dimension"));
        const QByteArray label = "ECG " + latin1(s.channel(c)->name());
        w.check(edf_set_label(h, c, label.left(16).constData()),
            QT_TRANSLATE_NOOP("RecordingExport", "signal label"));
    }
    const QByteArray last = latin1(study.property("patient/lastName"));
    const QByteArray first = latin1(study.property("patient/firstName"));
    if (!last.isEmpty() || !first.isEmpty())
        w.check(edf_set_patientname(h, (last + ", " + first).constData()),
            QT_TRANSLATE_NOOP("RecordingExport", "patient name"));
    const QByteArray code = latin1(study.property("patient/medicalHistoryNumber"));
    if (!code.isEmpty())
        w.check(edf_set_patientcode(h, code.constData()),
            QT_TRANSLATE_NOOP("RecordingExport", "patient code"));
    const QByteArray sex = study.property("patient/sex");
    if (sex == "M" || sex == "F")
        w.check(edf_set_gender(h, sex == "M" ? 1 : 0), QT_TRANSLATE_NOOP("RecordingExport", "sex"));
    const QDate birth
        = QDate::fromString(QString::fromLatin1(study.property("patient/birthDate")), "yyyyMMdd");
    if (birth.isValid())
        w.check(edf_set_birthdate(h, birth.year(), birth.month(), birth.day()),
            QT_TRANSLATE_NOOP("RecordingExport", "birth date"));
    QDateTime start
        = QDateTime::fromString(QString::fromLatin1(study.studyDateTime()), "yyyyMMddHHmmss");
    if (!start.isValid() || start.date().year() < 1985 || start.date().year() > 2084)
        start = QDateTime(QDate(1985, 1, 1), QTime(0, 0)); // the format's "unknown"
    w.check(edf_set_startdatetime(h, start.date().year(), start.date().month(), start.date().day(),
                start.time().hour(), start.time().minute(), start.time().second()),
        QT_TRANSLATE_NOOP("RecordingExport", "start"));
    w.check(edf_set_equipment(h, "Holter ECG"), QT_TRANSLATE_NOOP("RecordingExport", "equipment"));
}

} // namespace

QVector<StudyAnnotation> studyAnnotations(Study& study)
{
    QVector<StudyAnnotation> out;
    if (BeatList* beats = study.beats()) {
        Beat b;
        for (int i = 0; i < beats->count(); ++i) {
            if (!beats->get(i, b) || !b.isBeat)
                continue;
            const double r = b.hasTiming(Beat::RTime) ? b.timing[Beat::RTime] : b.windowStart + 0.2;
            QByteArray letter = BeatTypeNames::name(b.type);
            out.append({ r, -1.0, letter.isEmpty() ? QByteArray("U") : letter });
        }
    }
    for (int i = 0; i < study.events().count(); ++i) {
        const StudyEvent& e = study.events().at(i);
        out.append({ e.position, e.duration, e.description });
    }
    for (const EpisodeName& episode : kEpisodes) {
        const auto* list = study.results().findAs<EventListResult>(episode.key);
        if (!list)
            continue;
        for (const EventResult& e : list->events)
            out.append({ e.timestamp, e.duration, episode.name });
    }
    std::stable_sort(out.begin(), out.end(),
        [](const StudyAnnotation& a, const StudyAnnotation& b) { return a.onset < b.onset; });
    return out;
}

void exportStudyEdf(
    Study& study, const QString& path, ProgressSink* progress, const CancelFlag* cancel)
{
    SignalSource* s = study.signal();
    if (!s || s->channelCount() < 1 || s->samplingRate() < 1)
        fail(path,
            QCoreApplication::translate("RecordingExport", "the study has no signal to export"));
    const int n = s->channelCount();
    const int rate = s->samplingRate();
    const qint64 total = s->sampleCount();
    const qint64 records = std::max<qint64>(1, (total + rate - 1) / rate);
    const QVector<StudyAnnotation> annotations = studyAnnotations(study);
    // EDFlib stores one annotation per annotation signal and data record.
    const qint64 annotationSignals
        = std::max<qint64>(1, (annotations.size() + records - 1) / records + 1);
    if (annotationSignals > kMaxAnnotationSignals)
        fail(path,
            QCoreApplication::translate(
                "RecordingExport", "%1 annotations do not fit into %2 seconds of EDF+")
                .arg(annotations.size())
                .arg(records));

    const QString part = path + ".part";
    {
        EdfWriter w(part, n);
        writeHeader(w, study, *s);
        w.check(edf_set_number_of_annotation_signals(w.handle(), int(annotationSignals)),
            QT_TRANSLATE_NOOP("RecordingExport", "annotation signals"));
        std::vector<double> in(static_cast<size_t>(rate));
        std::vector<short> record(size_t(rate) * size_t(n));
        const int top = digitalMax(*s);
        for (qint64 r = 0; r < records; ++r) {
            if (r % 64 == 0 && isCancelled(cancel))
                throw RecordingError(
                    QCoreApplication::translate("RecordingExport", "Export cancelled"));
            for (int c = 0; c < n; ++c) {
                s->readSamples(c, r * rate, rate, in.data()); // zeros past the end
                for (int i = 0; i < rate; ++i)
                    record[size_t(c) * size_t(rate) + size_t(i)]
                        = short(std::clamp(int(in[size_t(i)]), -top - 1, top));
            }
            w.check(edf_blockwrite_digital_short_samples(w.handle(), record.data()),
                QT_TRANSLATE_NOOP("RecordingExport", "samples"));
            if (progress)
                progress->progress(r + 1, records);
        }
        for (const StudyAnnotation& a : annotations) {
            const qint64 duration
                = a.duration < 0 ? -1 : std::llround(a.duration * kEdfAnnotationUnits);
            w.check(
                edfwrite_annotation_utf8(w.handle(), std::llround(a.onset * kEdfAnnotationUnits),
                    duration, a.text.left(40).constData()),
                QT_TRANSLATE_NOOP("RecordingExport", "annotations"));
        }
        w.finish();
    }
    if (std::rename(QFile::encodeName(part).constData(), QFile::encodeName(path).constData())
        != 0) {
        QFile::remove(part);
        fail(path, QCoreApplication::translate("RecordingExport", "cannot replace the file"));
    }
}
