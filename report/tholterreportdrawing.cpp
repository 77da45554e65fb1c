// The drawings of the Holter report: logos, ECG strips, full disclosure and the plots.

#include "report/tholterreport.h"

#include "analysis/displayfilterchain.h"
#include "report/piegraphic.h"
#include "report/plotgraphic.h"
#include "report/signalcompressedgraphic.h"
#include "report/signalgraphic.h"
#include "store/result.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/trend.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const char kBrandLogo[] = ":/res/logo-veltrona-report.png";

double largest(const QVector<double>& v)
{
    double m = 0.0;
    for (double x : v) {
        if (std::isfinite(x))
            m = std::max(m, x);
    }
    return m;
}

// A y range that holds every finite value with a little room, for trends whose level matters
// more than their zero.
void fitYRange(PlotGraphic& g, const QVector<double>& ys, double minimumSpan)
{
    double lo = std::numeric_limits<double>::infinity();
    double hi = -lo;
    for (double y : ys) {
        if (std::isfinite(y)) {
            lo = std::min(lo, y);
            hi = std::max(hi, y);
        }
    }
    if (!std::isfinite(lo)) {
        lo = 0.0;
        hi = minimumSpan;
    }
    const double pad = std::max((hi - lo) * 0.1, minimumSpan * 0.5);
    g.setYRange(lo - pad, hi + pad);
}

} // namespace

void THolterReport::reportDrawing(
    int recNo, const QString& paramName, QPainter* painter, const QRect& bounds, int)
{
    if (!painter || bounds.isEmpty() || !m_study)
        return;
    if (paramName == QLatin1String("headerLogo"))
        drawLogo(painter, bounds, m_headerLogoFile);
    else if (paramName == QLatin1String("brandLogo"))
        drawLogo(painter, bounds, QString::fromLatin1(kBrandLogo));
    else if (paramName == QLatin1String("ecgGraphic/event/3by1"))
        drawStrip(recNo, false, painter, bounds);
    else if (paramName == QLatin1String("ecgGraphic/event/rhythm"))
        drawStrip(recNo, true, painter, bounds);
    else if (paramName == QLatin1String("compressedEcgGraphic/event"))
        drawCompressed(recNo, painter, bounds);
    else
        drawPlot(paramName, painter, bounds);
}

// Scaled into the field with its aspect kept, at the left and centred vertically.
void THolterReport::drawLogo(QPainter* painter, const QRect& bounds, const QString& fileName) const
{
    if (fileName.isEmpty())
        return;
    const QImage image(fileName);
    if (image.isNull())
        return;
    const QSize size = image.size().scaled(bounds.size(), Qt::KeepAspectRatio);
    const QRect target(bounds.left(), bounds.top() + (bounds.height() - size.height()) / 2,
        size.width(), size.height());
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(target, image);
}

// The viewing filters chosen for the report over the study's signal; a rate without a filter
// table prints unfiltered rather than not at all.
SignalSource* THolterReport::filteredSignal()
{
    SignalSource* source = m_study->signal();
    if (!source)
        return nullptr;
    if (!m_filters) {
        m_filters = std::make_unique<DisplayFilterChain>(source);
        try {
            m_filters->configure(m_lineNotchFilter, m_muscleNoiseFilter, m_baselineFilter);
        } catch (const FilterError&) {
            m_filters->configure(false, m_muscleNoiseFilter, m_baselineFilter);
        }
    }
    return m_filters->output();
}

void THolterReport::drawStrip(int recNo, bool rhythm, QPainter* painter, const QRect& bounds)
{
    const int index = m_stripEvents.value(recNo, -1);
    SignalSource* source = filteredSignal();
    if (index < 0 || index >= m_study->events().count() || !source)
        return;
    const StudyEvent& e = m_study->events().at(index);
    SignalGraphic g;
    g.setSource(source);
    g.setBeats(m_study->beats());
    // The rhythm strip runs at half speed from twice as far back, so that the event stands at
    // the same place on both.
    if (rhythm) {
        g.setChannels(1u << channelOf(m_rhythmLead));
        g.setSpeed(12.5);
        g.setAmplitude(m_amplitude * 0.5);
        g.setStartTime(e.position - 6.0);
        g.setShowScale(false);
    } else {
        g.setChannels((1u << source->channelCount()) - 1);
        g.setSpeed(25.0);
        g.setAmplitude(m_amplitude);
        g.setStartTime(e.position - 3.0);
        g.setCaption(QStringLiteral("HR %1 bpm"));
    }
    g.paint(painter, bounds);
}

void THolterReport::drawCompressed(int recNo, QPainter* painter, const QRect& bounds)
{
    const int index = m_compressedEvents.value(recNo, -1);
    SignalSource* source = filteredSignal();
    if (index < 0 || index >= m_study->events().count() || !source)
        return;
    const StudyEvent& e = m_study->events().at(index);
    SignalCompressedGraphic g;
    g.setSource(source);
    g.setChannel(channelOf(m_rhythmLead));
    g.setStartTime(e.position);
    g.setDuration(e.printLength);
    g.setAmplitude(m_amplitude * 0.5);
    g.setRecordingStart(m_startTime);
    g.paint(painter, bounds);
}

void THolterReport::initTrendPlot(PlotGraphic& g, const TTrend& trend) const
{
    const double start = m_startTime.isValid() ? double(m_startTime.toSecsSinceEpoch()) : 0.0;
    QVector<double> x;
    QVector<double> y;
    const int n = trend.size();
    x.reserve(n);
    y.reserve(n);
    for (int i = 0; i < n; ++i) {
        x.append(trend.timeAt(i) + start);
        y.append(trend.valueAt(i));
    }
    g.setData(x, y);
    g.setXRange(start, start + std::max(durationSeconds(), 1.0));
    g.setTimeAxis(true);
}

void THolterReport::drawTrendPlot(
    const QByteArray& key, QPainter* painter, const QRect& bounds) const
{
    PlotGraphic g;
    const auto* trend = dynamic_cast<const TTrend*>(result(key));
    if (trend)
        initTrendPlot(g, *trend);
    else
        initTrendPlot(g, TTrend());
    const QVector<double>& ys = g.ys();
    const double top = largest(ys);

    if (key == ResultKeys::HeartRate::kBpmTrend) {
        fitYRange(g, ys, 20.0);
        QVector<double> ticks;
        for (const char* mark :
            { ResultKeys::HeartRate::kMinBpm, ResultKeys::HeartRate::kMaxBpm }) {
            const auto* e = dynamic_cast<const EventResult*>(result(mark));
            if (e && e->value > 0.0)
                ticks.append(e->value);
        }
        if (!ticks.isEmpty())
            g.setYTicks(ticks);
        g.setYFormat(QStringLiteral("%.0f"));
    } else if (key.endsWith("CountPerHour")) {
        g.setYRange(0.0, std::max(1.2 * top, 10.0));
        g.setKind(PlotGraphic::Bars);
        g.setBarWidth(3000.0); // a gap between the hours
    } else if (key.startsWith(QByteArray(ResultKeys::ST::kAnalyzer) + '/')) {
        fitYRange(g, ys, 2.0);
        g.setYFormat(QStringLiteral("%.1f"));
    } else if (key.startsWith(QByteArray(ResultKeys::HRV::kAnalyzer) + '/')) {
        double floor = 1.0;
        if (key == ResultKeys::HRV::kAVGNNPerHour)
            floor = 1500.0;
        else if (key == ResultKeys::HRV::kSDNNPerHour)
            floor = 300.0;
        else if (key == ResultKeys::HRV::kRMSSDPerHour)
            floor = 150.0;
        else if (key == ResultKeys::HRV::kPNN50PerHour)
            floor = 75.0;
        g.setYRange(0.0, std::max(1.2 * top, floor));
    } else {
        // RR, PR, QT and QTc in milliseconds.
        fitYRange(g, ys, 40.0);
        g.setYFormat(QStringLiteral("%.0f"));
    }
    g.paint(painter, bounds);
}

void THolterReport::drawHistogram(QPainter* painter, const QRect& bounds) const
{
    const double binMs = 1000.0 * 0.0078125;
    PlotGraphic g;
    QVector<double> x;
    QVector<double> y;
    if (const auto* h
        = dynamic_cast<const ValueArrayResult*>(result(ResultKeys::HRV::kNNHistogram))) {
        for (int i = 0; i < h->values.size() && i * binMs < 2000.0; ++i) {
            x.append(i * binMs);
            y.append(h->values.at(i));
        }
    }
    g.setData(x, y);
    g.setXRange(0.0, 2000.0);
    g.setYRange(0.0, std::max(1.2 * largest(y), 1.0));
    g.setKind(PlotGraphic::Bars);
    g.setBarWidth(binMs);
    g.paint(painter, bounds);
}

void THolterReport::drawLorenz(QPainter* painter, const QRect& bounds) const
{
    const auto* xs = dynamic_cast<const ValueArrayResult*>(result(ResultKeys::HRV::kLorenzX));
    const auto* ys = dynamic_cast<const ValueArrayResult*>(result(ResultKeys::HRV::kLorenzY));
    PlotGraphic g;
    QVector<double> x;
    QVector<double> y;
    if (xs && ys) {
        const int n = std::min(xs->values.size(), ys->values.size());
        x = xs->values.mid(0, n);
        y = ys->values.mid(0, n);
    }
    // Both axes share one scale so that the identity line is the diagonal.
    const double top = std::max(1.1 * std::max(largest(x), largest(y)), 1500.0);
    g.setData(x, y);
    g.setXRange(0.0, top);
    g.setYRange(0.0, top);
    g.setKind(PlotGraphic::Dots);
    g.paint(painter, bounds);
}

void THolterReport::drawSpectrum(QPainter* painter, const QRect& bounds) const
{
    PlotGraphic g;
    QVector<double> x;
    QVector<double> y;
    if (const auto* psd = dynamic_cast<const ValueArrayResult*>(result(ResultKeys::HRV::kPSD))) {
        const int n = psd->values.size();
        for (int i = 0; i < n; ++i) {
            x.append(i * 0.5 / n);
            y.append(psd->values.at(i));
        }
    }
    g.setData(x, y);
    g.setXRange(0.0, 0.5);
    g.setYRange(0.0, std::max(2.0 * largest(y), 40.0));
    g.paint(painter, bounds);
}

void THolterReport::drawPie(QPainter* painter, const QRect& bounds) const
{
    const auto* lf = dynamic_cast<const ValueResult*>(result(ResultKeys::HRV::kLFPower));
    const auto* hf = dynamic_cast<const ValueResult*>(result(ResultKeys::HRV::kHFPower));
    const double a = lf ? lf->value : 0.0;
    const double b = hf ? hf->value : 0.0;
    if (!(a + b > 0.0))
        return;
    PieGraphic pie;
    pie.addSlice(a, QColor(70, 110, 190), QStringLiteral("LF"));
    pie.addSlice(b, QColor(220, 150, 60), QStringLiteral("HF"));
    pie.paint(painter, bounds);
}

bool THolterReport::drawPlot(const QString& name, QPainter* painter, const QRect& bounds) const
{
    namespace K = ResultKeys;
    static const struct
    {
        const char* name;
        const char* key;
        bool perChannel; // the key is a base for the trend lead's channel
    } trends[] = { { "plotHR", K::HeartRate::kBpmTrend, false },
        { "plotPVC", K::kPvc.totalCountPerHour, false },
        { "plotSVPB", K::kSvpb.totalCountPerHour, false }, { "plotRR", K::QT::kRRTrend, false },
        { "plotPR", K::PR::kPRTrend, true }, { "plotQT", K::QT::kQTTrend, true },
        { "plotQTc", K::QT::kQTcTrend, true }, { "plotST", K::ST::kLevelTrend, true },
        { "plotAVGNN", K::HRV::kAVGNNPerHour, false }, { "plotSDNN", K::HRV::kSDNNPerHour, false },
        { "plotRMSSD", K::HRV::kRMSSDPerHour, false },
        { "plotPNN50", K::HRV::kPNN50PerHour, false },
        { "plotULF", K::HRV::kULFPowerPerHour, false },
        { "plotVLF", K::HRV::kVLFPowerPerHour, false },
        { "plotLF", K::HRV::kLFPowerPerHour, false },
        { "plotHF", K::HRV::kHFPowerPerHour, false } };
    for (const auto& t : trends) {
        if (name == QLatin1String(t.name)) {
            drawTrendPlot(
                t.perChannel ? K::channelKey(t.key, channelOf(m_trendLead)) : QByteArray(t.key),
                painter, bounds);
            return true;
        }
    }
    if (name == QLatin1String("plotNNHistogram"))
        drawHistogram(painter, bounds);
    else if (name == QLatin1String("plotNNLorenz"))
        drawLorenz(painter, bounds);
    else if (name == QLatin1String("plotPSD"))
        drawSpectrum(painter, bounds);
    else if (name == QLatin1String("pieFreqRatio"))
        drawPie(painter, bounds);
    else
        return false;
    return true;
}
