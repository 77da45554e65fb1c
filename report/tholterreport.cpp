#include "report/tholterreport.h"

#include "analysis/displayfilterchain.h"
#include "report/holterreportformat.h"
#include "report/treportengine.h"
#include "resources/holterresources.h"
#include "store/beatlist.h"
#include "store/result.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "store/trend.h"

#include <QFont>
#include <QSettings>
#include <QStringList>

#include <algorithm>

namespace Fmt = HolterReportFormat;

const char THolterReport::kTemplate[] = ":res/holterreport1.xml";
const char THolterReport::kVeterinaryTemplate[] = ":res/holterreport1-vet.xml";

namespace {

const int kFirstPageHours = 24;

// The template's family is a Windows dialog font; elsewhere it would fall to whatever sans the
// machine prefers, often a much wider one. Tahoma, then the Helvetica-metric faces, keep the
// layout's proportions. Filled once for the process.
void installFontSubstitutes()
{
    static const bool installed = [] {
        QFont::insertSubstitutions(QStringLiteral("MS Shell Dlg 2"),
            { QStringLiteral("Tahoma"), QStringLiteral("Liberation Sans"), QStringLiteral("Arial"),
                QStringLiteral("Helvetica") });
        return true;
    }();
    Q_UNUSED(installed);
}

} // namespace

THolterReport::THolterReport(Study* study, QObject* parent)
    : QObject(parent)
    , m_study(study)
    , m_engine(std::make_unique<TReportEngine>())
{
    m_startTime = Fmt::startOf(study ? study->studyDateTime() : QByteArray());
    m_noiseSeconds = computeNoiseSeconds();
    for (const char* key : { ResultKeys::HRV::kPNN50, ResultKeys::HRV::kHRVIndex })
        m_formats.insert(key, QStringLiteral("%.1f"));
    for (int channel = 0; channel < 3; ++channel)
        m_formats.insert(
            ResultKeys::channelKey(ResultKeys::ST::kLevelAvg, channel), QStringLiteral("%.1f"));
    m_formats.insert(ResultKeys::HRV::kLFHFRatio, QStringLiteral("%.2f"));

    connect(m_engine.get(), &TReportEngine::setValue, this, &THolterReport::reportValue);
    connect(m_engine.get(), &TReportEngine::setValueImage, this, &THolterReport::reportImage);
    connect(m_engine.get(), &TReportEngine::drawing, this, &THolterReport::reportDrawing);
    connect(m_engine.get(), &TReportEngine::pageOverlay, this, &THolterReport::reportOverlay);
    connect(m_engine.get(), &TReportEngine::progress, this, &THolterReport::progress);
}

THolterReport::~THolterReport() = default;

double THolterReport::durationSeconds() const
{
    const SignalSource* s = m_study ? m_study->signal() : nullptr;
    return s ? s->duration() : 0.0;
}

// Noise reaches the beat list as runs of entries that are not beats; the time from the last
// trusted beat before such a run to the first one after it is time that was not analysed.
double THolterReport::computeNoiseSeconds() const
{
    BeatList* beats = m_study ? m_study->beats() : nullptr;
    if (!beats)
        return 0.0;
    const double duration = durationSeconds();
    double total = 0.0;
    double lastBeat = 0.0;
    bool inNoise = false;
    Beat b;
    const int n = beats->count();
    for (int i = 0; i < n; ++i) {
        if (!beats->get(i, b))
            continue;
        const double r = b.hasTiming(Beat::RTime) ? b.rInstant() : b.windowStartTime() + 0.2;
        if (!b.isBeat) {
            inNoise = true;
            continue;
        }
        if (inNoise)
            total += std::max(0.0, r - lastBeat);
        inNoise = false;
        lastBeat = r;
    }
    if (inNoise)
        total += std::max(0.0, duration - lastBeat);
    return duration > 0.0 ? std::min(total, duration) : total;
}

void THolterReport::prepare()
{
    initHolterResources();
    installFontSubstitutes();
    if (!m_engine->loadTemplate(m_veterinary ? kVeterinaryTemplate : kTemplate))
        throw ReportError("Cannot load report resource file");

    m_params = AnalysisParams();
    m_params.readSettings(QSettings());
    m_filters.reset();

    QList<int> rows = { 1, 0, 0, 0, 0, 0, 0 };
    QList<int> skipped;
    if (m_printTrendsAndTable) {
        rows[HourlyTable] = kFirstPageHours;
        // Hour bins as the results count them: whole minutes rounded up to hours.
        const int hours = (int(durationSeconds() / 60.0) + 59) / 60;
        if (hours > kFirstPageHours)
            rows[HourlyTableSecond] = 2 * kFirstPageHours;
        else
            skipped << HourlyTableSecond;
    } else {
        skipped << HourlyTable << HourlyTableSecond;
    }
    if (m_printExtraTrends)
        rows[ExtraTrends] = 1;
    else
        skipped << ExtraTrends;
    if (m_printHRV)
        rows[Hrv] = 1;
    else
        skipped << Hrv;

    m_stripEvents.clear();
    m_compressedEvents.clear();
    if (m_study) {
        const StudyEventList& events = m_study->events();
        for (int i = 0; i < events.count(); ++i) {
            const StudyEvent& e = events.at(i);
            if (!e.print)
                continue;
            if (e.printLength == 0)
                m_stripEvents.insert(m_stripEvents.size(), i);
            else if (e.printLength > 0)
                m_compressedEvents.insert(m_compressedEvents.size(), i);
        }
    }
    rows[Strips] = m_stripEvents.size();
    if (m_stripEvents.isEmpty())
        skipped << Strips;
    rows[FullDisclosure] = m_compressedEvents.size();
    if (m_compressedEvents.isEmpty())
        skipped << FullDisclosure;

    m_engine->setRowCounts(rows);
    m_engine->setSkippedSections(skipped);
}

void THolterReport::run(const QString& pdfFileName)
{
    if (pdfFileName.isEmpty())
        throw ReportError("The report needs a file name");
    prepare();
    const bool written = m_engine->printToPdf(pdfFileName, false);
    m_filters.reset();
    if (!written) {
        throw ReportError(
            QStringLiteral("Report file %1 could not be written").arg(pdfFileName).toStdString());
    }
}

void THolterReport::run(QPagedPaintDevice* device)
{
    prepare();
    const bool printed = device && m_engine->render(device);
    m_filters.reset();
    if (!printed)
        throw ReportError("The report could not be printed");
}

void THolterReport::reportValue(
    int recNo, const QString& paramName, QVariant& paramValue, int reportPage)
{
    paramValue = value(recNo, paramName, reportPage);
}

void THolterReport::reportImage(int, const QString&, QByteArray&, int) { }

void THolterReport::reportOverlay(QPainter*, const QRect&, int) { }

int THolterReport::hourIndex(int recNo, int reportPage) const
{
    return reportPage == HourlyTableSecond ? recNo + kFirstPageHours : recNo;
}

int THolterReport::channelOf(const QString& lead) const
{
    const SignalSource* s = m_study ? m_study->signal() : nullptr;
    if (!s)
        return 0;
    const SignalChannel* c = s->channelByName(lead.toUtf8());
    return c ? c->index() : 0;
}

QString THolterReport::measurementChannel() const
{
    const SignalSource* s = m_study ? m_study->signal() : nullptr;
    if (!s || s->channelCount() < 1)
        return m_trendLead;
    if (s->channelByName(m_trendLead.toUtf8()))
        return m_trendLead;
    return QString::fromUtf8(s->channel(0)->name());
}

const Result* THolterReport::result(const QByteArray& key) const
{
    return m_study ? m_study->results().find(key) : nullptr;
}

QString THolterReport::value(int recNo, const QString& paramName, int reportPage)
{
    if (!m_study)
        return QString();
    const Study& study = *m_study;
    const ResultSet& results = study.results();
    const QString& name = paramName;

    if (name.startsWith(QLatin1String("results/")))
        return resultText(recNo, name.mid(8), reportPage);
    if (name.startsWith(QLatin1String("demo/")))
        return QString::fromUtf8(study.property(name.mid(5).toUtf8()));
    if (name.startsWith(QLatin1String("analysisParam/")))
        return QString::number(m_params.value(name.mid(14).toUtf8()), 'g', 6);
    if (name == QLatin1String("headerTitle"))
        return m_headerTitle;
    if (name == QLatin1String("headerInfo"))
        return m_headerInfo;
    if (name == QLatin1String("eventDescription"))
        return eventDescription(m_stripEvents, recNo);
    if (name == QLatin1String("compressedEventDescription"))
        return eventDescription(m_compressedEvents, recNo);
    if (name == QLatin1String("patientIdLabel")) {
        return study.property("patient/medicalHistoryNumber").isEmpty()
            ? QStringLiteral("Doc.")
            : QStringLiteral("ID / #H.C.");
    }
    if (name == QLatin1String("patientIdValue")) {
        const QByteArray history = study.property("patient/medicalHistoryNumber");
        if (!history.isEmpty())
            return QString::fromUtf8(history);
        return QStringLiteral("%1 %2")
            .arg(QString::fromUtf8(study.property("patient/personIdType")),
                QString::fromUtf8(study.property("patient/personIdNumber")))
            .trimmed();
    }
    if (name == QLatin1String("studyDateTime"))
        return Fmt::clock(m_startTime, 0.0, QStringLiteral("dd/MM/yyyy"));
    if (name == QLatin1String("recordingStartDateTime"))
        return Fmt::clock(m_startTime, 0.0, QStringLiteral("d/M HH:mm"));
    if (name == QLatin1String("recordingEndDateTime"))
        return Fmt::clock(m_startTime, durationSeconds(), QStringLiteral("d/M HH:mm"));
    if (name == QLatin1String("recordingTime"))
        return Fmt::hoursMinutes(durationSeconds());
    if (name == QLatin1String("analyzeTime"))
        return Fmt::hoursMinutes(durationSeconds() - m_noiseSeconds);
    if (name == QLatin1String("analyzeTimePct")) {
        const double d = durationSeconds();
        return d > 0.0 ? QString::number(int((d - m_noiseSeconds) * 100.0 / d)) : Fmt::missing();
    }
    if (name == QLatin1String("patientBMI")) {
        return Fmt::bodyMassIndex(study.property("patient/weight").trimmed().toDouble(),
            study.property("patient/height").trimmed().toDouble());
    }
    if (name == QLatin1String("patientRiskFactors"))
        return riskFactorsText();
    if (name == QLatin1String("ecgFilters")) {
        QStringList on;
        if (m_lineNotchFilter)
            on << QStringLiteral("notch 50hz");
        if (m_muscleNoiseFilter)
            on << QStringLiteral("muscle noise");
        if (m_baselineFilter)
            on << QStringLiteral("baseline fix");
        return on.isEmpty() ? QStringLiteral("none") : on.join(QStringLiteral(", "));
    }
    if (name == QLatin1String("ampScale"))
        return QString::number(qRound(m_amplitude));
    if (name == QLatin1String("hour"))
        return Fmt::clock(m_startTime, hourIndex(recNo, reportPage) * 3600.0, "HH:mm");
    if (name == QLatin1String("measurementChannel"))
        return measurementChannel();
    if (name == QLatin1String("maxPause")) {
        const auto* pauses = results.findAs<EventListResult>(ResultKeys::Pause::kEvents);
        const EventResult* longest = nullptr;
        if (pauses) {
            for (const EventResult& e : pauses->events) {
                if (!longest || e.duration > longest->duration)
                    longest = &e;
            }
        }
        return longest ? Fmt::pause(m_startTime, longest->timestamp, longest->duration)
                       : Fmt::missing();
    }
    if (name == QLatin1String("afibTotalTime")) {
        const auto* t = results.findAs<ValueResult>(ResultKeys::AFib::kTotalTime);
        return Fmt::afibTotal(t != nullptr, t ? t->value : 0.0, durationSeconds());
    }
    if (name == QLatin1String("pvcTotalCount") || name == QLatin1String("svpbTotalCount")) {
        const auto* c = results.findAs<ValueResult>(
            name.startsWith('p') ? ResultKeys::kPvc.totalCount : ResultKeys::kSvpb.totalCount);
        const auto* n = results.findAs<ValueResult>(ResultKeys::HeartRate::kTotalBeatCount);
        return Fmt::countWithPercent(
            c != nullptr, c ? c->value : 0.0, n != nullptr, n ? n->value : 0.0);
    }
    return QString();
}

QString THolterReport::resultText(int recNo, QString key, int reportPage) const
{
    key.replace(QLatin1String("%measurementChannel"), QString::number(channelOf(m_trendLead)));
    const QByteArray k = key.toUtf8();
    const Result* r = result(k);
    if (!r)
        return Fmt::missing();
    switch (r->kind()) {
    case ResultKind::Value: {
        const double v = static_cast<const ValueResult*>(r)->value;
        if (v == 0.0)
            return Fmt::missing();
        return Fmt::number(m_formats.value(k, QStringLiteral("%.0f")), v);
    }
    case ResultKind::Event: {
        const auto* e = static_cast<const EventResult*>(r);
        if (!(e->value > 0.0))
            return Fmt::missing();
        return QStringLiteral("%1 [%2]").arg(Fmt::number(QStringLiteral("%.0f"), e->value),
            Fmt::clock(m_startTime, e->timestamp, QStringLiteral("d/M HH:mm")));
    }
    case ResultKind::Trend: {
        const auto* t = static_cast<const TTrend*>(r);
        const int i = hourIndex(recNo, reportPage);
        if (i < 0 || i >= t->size() || t->valueAt(i) == 0.0)
            return Fmt::missing();
        return Fmt::number(QStringLiteral("%.0f"), t->valueAt(i));
    }
    default:
        return QString();
    }
}

QString THolterReport::eventDescription(const QMap<int, int>& rows, int recNo) const
{
    const int index = rows.value(recNo, -1);
    if (!m_study || index < 0 || index >= m_study->events().count())
        return QString();
    const StudyEvent& e = m_study->events().at(index);
    return QStringLiteral("[%1] %2").arg(
        Fmt::clock(m_startTime, e.position, "d/M HH:mm"), QString::fromUtf8(e.description));
}

// Factors that are present, in the order the study dialog offers them, then any others the
// study holds; one per line with its detail in brackets.
QString THolterReport::riskFactorsText() const
{
    QStringList order = StudyRepository::defaultRiskFactorNames();
    for (const auto& f : m_study->riskFactors()) {
        const QString name = QString::fromUtf8(f.first);
        if (!order.contains(name))
            order << name;
    }
    QStringList lines;
    for (const QString& name : order) {
        QByteArray comment;
        if (!m_study->riskFactor(name.toUtf8(), comment))
            continue;
        QString line = name;
        if (!comment.trimmed().isEmpty())
            line += QStringLiteral(" [%1]").arg(QString::fromUtf8(comment.trimmed()));
        lines << line;
    }
    return lines.join(QLatin1Char('\n'));
}
