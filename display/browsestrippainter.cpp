#include "display/browsestrippainter.h"

#include "display/beatlabelpainter.h"
#include "display/gridpainter.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QPaintDevice>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

QFont helvetica(int points, bool bold)
{
    QFont f(QStringLiteral("Helvetica"), points);
    if (bold)
        f.setWeight(QFont::Bold);
    return f;
}

QPen pen(const QColor& c, double width, Qt::PenStyle style = Qt::SolidLine)
{
    return QPen(QBrush(c), width, style, Qt::SquareCap, Qt::BevelJoin);
}

QColor colorOf(const BrowseStripPainter::Scene& s, int id)
{
    return s.colors.value(id, BrowseStripPainter::defaultColors().value(id, Qt::black));
}

// Seconds of a record on the strip: its R wave.
double recordTime(const Beat& b)
{
    return beatTimeSeconds(b);
}

double averageMean(const std::vector<double>& v)
{
    double sum = 0.0;
    for (double x : v)
        sum += x;
    return v.empty() ? 0.0 : sum / double(v.size());
}

} // namespace

QMap<int, QColor> BrowseStripPainter::defaultColors()
{
    return {
        { 0, Qt::black },
        { 1, Qt::white },
        { 2, QColor(220, 200, 180, 255) },
        { 3, Qt::gray },
        { 4, Qt::darkBlue },
        { 5, Qt::darkGreen },
        { 6, QColor(255, 128, 0, 128) },
        { 7, Qt::blue },
        { 9, Qt::darkRed },
        { 10, QColor(128, 128, 128, 128) },
        { 11, Qt::darkGray },
        { 12, QColor(192, 192, 192, 160) },
    };
}

BrowseStripLayout BrowseStripPainter::layoutFor(const QPaintDevice* device, const Scene& scene,
    double startSeconds, double speed, double gain, double averageSeconds,
    const QVector<int>& visibleChannels, int topMarginPx)
{
    BrowseStripLayout::Input in;
    if (device) {
        in.widthPx = device->width();
        in.heightPx = device->height();
        in.widthMm = device->widthMM();
    }
    in.speedMmPerSecond = speed;
    in.gainMmPerMillivolt = gain;
    in.startSeconds = startSeconds;
    in.averageSeconds = averageSeconds;
    in.topMarginPx = topMarginPx;
    in.visibleChannels = visibleChannels;
    if (scene.signal) {
        in.rangeMillivolts = scene.signal->gainMax() - scene.signal->gainMin();
        in.resolutionBits = scene.signal->resolution();
    }
    return BrowseStripLayout(in);
}

QVector<int> BrowseStripPainter::channelBaselines(SignalSource* signal, const BrowseStripLayout& l)
{
    QVector<int> out(SignalSource::kMaxChannels, 0);
    if (!signal || signal->samplingRate() <= 0)
        return out;
    const int rate = signal->samplingRate();
    const qint64 first = stripSampleOf(l.input().startSeconds, rate);
    const qint64 count = stripSampleOf(l.visibleSeconds(), rate);
    if (count <= 0)
        return out;
    std::vector<double> v(size_t(count), 0.0);
    for (int ch : l.input().visibleChannels) {
        if (ch < 0 || ch >= signal->channelCount())
            continue;
        signal->readSamples(ch, first, count, v.data());
        qint64 sum = 0;
        for (double x : v)
            sum += qint64(x);
        out[ch] = int(sum / count);
    }
    return out;
}

void BrowseStripPainter::paintGrid(QPainter* painter, const QRectF& area, double pxPerCm,
    int gridStyle, const QMap<int, QColor>& colors)
{
    GridPainter::Style style = GridPainter::screenStyle(
        gridStyle == 1 ? GridPainter::Paper::Lined : GridPainter::Paper::Dotted);
    style.backgroundColor = colors.value(BackgroundColor, Qt::white);
    style.majorColor = colors.value(GridColor, QColor(220, 200, 180));
    style.minorColor = gridStyle == 1 ? style.majorColor.lighter(110) : style.majorColor;
    if (gridStyle == 1) {
        // Lined paper: 1.25 and 0.75 pixel pens, in millimetres of this device.
        style.majorWidthMm = 1.25 / (pxPerCm / 10.0);
        style.minorWidthMm = 0.75 / (pxPerCm / 10.0);
    }
    GridPainter(style).paint(painter, area, pxPerCm / 10.0);
}

void BrowseStripPainter::paint(QPainter* painter, const BrowseStripLayout& l, const Scene& s)
{
    const QRectF all(0, 0, l.input().widthPx, l.input().heightPx);
    paintGrid(painter, all, l.pxPerCm(), s.gridStyle, s.colors);
    paintContent(painter, l, s);
}

void BrowseStripPainter::paintContent(QPainter* p, const BrowseStripLayout& l, const Scene& s)
{
    if (!p || !s.signal || s.signal->channelCount() == 0 || l.input().visibleChannels.isEmpty()
        || l.visibleSeconds() <= 0.0)
        return;
    paintLeadNames(p, l, s);
    paintSelection(p, l, s);
    paintTraces(p, l, s);
    paintAverage(p, l, s);
    paintClock(p, l, s);
    paintBeatMarks(p, l, s); // with the hatching over gaps of the analysis
    if (s.caliperMode)
        paintCaliper(p, l, s);
}

void BrowseStripPainter::paintLeadNames(QPainter* p, const BrowseStripLayout& l, const Scene& s)
{
    p->save();
    const QFont font = helvetica(12, true);
    p->setFont(font);
    p->setPen(colorOf(s, LabelColor));
    const int h = QFontMetrics(font, p->device()).height();
    double top = l.input().topMarginPx;
    for (int ch : l.input().visibleChannels) {
        SignalChannel* c = s.signal->channel(ch);
        const QString name = c ? QString::fromLatin1(c->name()) : QString();
        if (!name.isEmpty())
            p->drawText(QPointF(4, int(top) + h), name);
        top += l.rowHeightPx();
    }
    p->restore();
}

void BrowseStripPainter::paintSelection(QPainter* p, const BrowseStripLayout& l, const Scene& s)
{
    if (!s.beats)
        return;
    const StripGeometry g = l.stripGeometry();
    const QRectF area = l.traceRect();
    p->save();
    p->setClipRect(area);
    BeatLabelPainter::paintBeatBars(p, area, g, s.beats, s.selection, colorOf(s, SelectionColor));
    Beat b;
    if (s.selectedBeat >= 0 && s.beats->get(s.selectedBeat, b)) {
        if (b.isBeat) {
            BeatLabelPainter::paintBeatBars(p, area, g, s.beats, { s.selectedBeat },
                colorOf(s, s.focused ? FocusedCurrentColor : SelectionColor));
        } else {
            const double x = l.xOfTime(recordTime(b));
            p->setPen(pen(colorOf(s, InsertionCursorColor), 2.0, Qt::DashLine));
            p->drawLine(QPointF(x, 0), QPointF(x, l.input().heightPx));
        }
    }
    p->restore();
}

TracePainter::Style BrowseStripPainter::traceStyle(const Scene& s)
{
    TracePainter::Style style;
    style.color = colorOf(s, TraceColor);
    style.widthMm = 0.0;
    style.cap = Qt::SquareCap;
    style.colorByBeatType = true;
    style.noiseColor = colorOf(s, NoiseColor);
    return style;
}

void BrowseStripPainter::paintTraces(QPainter* p, const BrowseStripLayout& l, const Scene& s)
{
    SignalSource* src = s.signal;
    const int rate = src->samplingRate();
    if (rate <= 0)
        return;
    const QRectF tr = l.traceRect();
    const StripGeometry g = l.stripGeometry();
    p->save();
    if (TracePainter::modeFor(g, rate) == TracePainter::Mode::Polyline && l.averageWidthPx() != 0) {
        p->setPen(pen(colorOf(s, TraceColor), 1.0));
        p->drawLine(
            QPointF(l.averageWidthPx(), 0), QPointF(l.averageWidthPx(), l.input().heightPx));
    }
    const TracePainter traces(traceStyle(s));
    TracePainter::RowInput in;
    in.beats = s.beats;
    in.noiseSeconds = s.noiseIntervals;
    for (int row = 0; row < l.input().visibleChannels.size(); ++row) {
        const int ch = l.input().visibleChannels[row];
        if (!src->channel(ch))
            continue;
        in.baselineUnits = s.channelBaseline.value(ch);
        QRectF clip;
        if (s.clipTraces) {
            const double rowTop = l.rowCentreY(row) - l.rowHeightPx() / 2.0;
            QColor dash = colorOf(s, TraceColor);
            dash.setAlpha(80);
            p->setPen(pen(dash, 1.0, Qt::DashLine));
            p->drawLine(QPointF(tr.left(), rowTop), QPointF(tr.right(), rowTop));
            clip = QRectF(tr.left(), rowTop, tr.width(), l.rowHeightPx());
        }
        traces.paintRow(p, clip, g, row, src, in);
    }
    p->restore();
}

void BrowseStripPainter::paintAverage(QPainter* p, const BrowseStripLayout& l, const Scene& s)
{
    if (l.averageSeconds() <= 0.0 || s.average.empty())
        return;
    const double x0 = l.averageLeftPx();
    const double width = l.averageWidthPx() - int(l.pxPerCm() * 0.5);
    p->save();
    p->setRenderHint(QPainter::Antialiasing, true);
    for (int row = 0; row < l.input().visibleChannels.size(); ++row) {
        const int ch = l.input().visibleChannels[row];
        const double y = l.rowCentreY(row);
        const bool has
            = s.averageHasBeats && ch < int(s.average.size()) && s.average[size_t(ch)].size() > 1;
        if (!has) {
            p->setPen(pen(colorOf(s, AverageColor), 1.0, Qt::DotLine));
            p->drawLine(QPointF(x0, y), QPointF(x0 + width, y));
            continue;
        }
        const std::vector<double>& v = s.average[size_t(ch)];
        const double mean = averageMean(v);
        QPolygonF line;
        line.reserve(int(v.size()));
        for (size_t i = 0; i < v.size(); ++i)
            line << QPointF(x0 + i * width / double(v.size() - 1), l.sampleY(row, v[i], mean));
        QPen avg(QBrush(colorOf(s, AverageColor)), 0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
        avg.setCosmetic(true);
        p->setPen(avg);
        p->drawPolyline(line);
    }
    p->restore();
}

void BrowseStripPainter::paintClock(QPainter* p, const BrowseStripLayout& l, const Scene& s)
{
    const QRectF tr = l.traceRect();
    const double v = l.visibleSeconds();
    const double start = l.input().startSeconds;
    const int h = l.input().heightPx;
    p->save();
    p->setClipRect(tr);
    const QFont font = helvetica(10, true);
    p->setFont(font);
    p->setPen(colorOf(s, LabelColor));
    const QFontMetricsF fm(font, p->device());
    const double labelWidth = fm.horizontalAdvance(QStringLiteral("00:00:00"));
    const double needed = labelWidth * v / tr.width();
    int step = 60;
    for (int candidate : { 1, 5, 10, 30 }) {
        if (candidate >= needed) {
            step = candidate;
            break;
        }
    }
    double secondsOfDay = 0.0;
    if (s.startDateTime.isValid()) {
        secondsOfDay = QTime(0, 0).msecsTo(s.startDateTime.time()) / 1000.0;
        const QString date
            = s.startDateTime.addSecs(qint64(std::floor(start))).toString(QStringLiteral("d MMM"));
        p->drawText(QPointF(tr.left() + 5, h - 19), date);
    }
    const double from = secondsOfDay + start;
    for (qint64 t = qint64(std::ceil(from / step)) * step; t <= from + v; t += step) {
        const qint64 day = t % 86400;
        const QString text = QString::asprintf(
            "%2.2i:%2.2i:%2.2i", int(day / 3600), int(day / 60 % 60), int(day % 60));
        const double x = l.xOfTime(start + (t - from));
        const double width = fm.horizontalAdvance(text);
        // A label cut by the strip's edge reads as another time ("7:00" for 10:17:00).
        if (x - width / 2.0 < tr.left() || x + width / 2.0 > tr.right())
            continue;
        p->drawText(QPointF(x - width / 2.0, h - 4), text);
    }
    p->restore();
}

void BrowseStripPainter::paintBeatMarks(QPainter* p, const BrowseStripLayout& l, const Scene& s)
{
    if (!s.beats)
        return;
    BeatLabelPainter::Style style = BeatLabelPainter::screenStyle();
    style.tickColor = colorOf(s, BeatMarkColor);
    style.textColor = colorOf(s, TraceColor);
    style.insertionPoints = s.showInsertionPoints;
    const StripGeometry g = l.stripGeometry();
    p->save();
    p->setClipRect(l.traceRect());
    BeatLabelPainter(style).paint(p, l.traceRect(), g, s.beats);
    p->restore();
}

bool BrowseStripPainter::caliperPoint(
    const BrowseStripLayout& l, const Scene& s, int sample, QPointF* point, double* value)
{
    const int row = l.visibleRowOf(s.caliper.channel);
    if (!s.signal || row < 0 || s.signal->samplingRate() <= 0)
        return false;
    const double rate = s.signal->samplingRate();
    if (s.caliper.inAverage) {
        const int ch = s.caliper.channel;
        if (ch >= int(s.average.size()) || sample < 0
            || sample >= int(s.average[size_t(ch)].size()))
            return false;
        const std::vector<double>& v = s.average[size_t(ch)];
        *value = v[size_t(sample)];
        *point = QPointF(l.averageXOfTime(sample / rate), l.sampleY(row, *value, averageMean(v)));
        return true;
    }
    *value = s.signal->sampleAt(s.caliper.channel, sample);
    *point = QPointF(l.xOfTime(sample / rate),
        l.sampleY(row, *value, s.channelBaseline.value(s.caliper.channel)));
    return true;
}

void BrowseStripPainter::paintCaliper(QPainter* p, const BrowseStripLayout& l, const Scene& s)
{
    const Caliper& c = s.caliper;
    QPointF a, b;
    double va = 0.0, vb = 0.0;
    if (!c.active || !caliperPoint(l, s, c.fromSample, &a, &va)
        || !caliperPoint(l, s, c.toSample, &b, &vb))
        return;
    p->save();
    p->setRenderHint(QPainter::Antialiasing, true);
    const QFont font = helvetica(10, true);
    p->setFont(font);
    p->setPen(Qt::red);
    p->setBrush(QColor(255, 0, 0, 128));
    if (!c.dragging) {
        p->drawLine(QPointF(a.x(), a.y() - 8), QPointF(a.x(), a.y() + 8));
        p->restore();
        return;
    }
    p->drawPolygon(QPolygonF({ a, b, QPointF(b.x(), a.y()) }));
    p->drawEllipse(a, 2.0, 2.0);
    p->drawEllipse(b, 2.0, 2.0);
    const CaliperReading r = caliperReading(
        c.fromSample, c.toSample, va, vb, s.signal->samplingRate(), s.signal->gainStep());
    const QByteArray ms = QCoreApplication::translate("BrowseStripPainter", "ms").toUtf8();
    const QByteArray mv = QCoreApplication::translate("BrowseStripPainter", "mv").toUtf8();
    const QByteArray mm = QCoreApplication::translate("BrowseStripPainter", "mm").toUtf8();
    const QString timeText = QString::asprintf("%.0f %s", r.milliseconds, ms.constData());
    const QString voltText = QString::asprintf(
        "%.1f %s (%.0f %s)", r.millivolts, mv.constData(), r.standardMillimetres(), mm.constData());
    const QFontMetricsF fm(font, p->device());
    const QColor back(255, 255, 255, 192);
    const double centreX = (a.x() + b.x()) / 2.0;
    const double baseline = std::min(a.y(), b.y()) - 10;
    const double tw = fm.horizontalAdvance(timeText);
    QRectF box(centreX - tw / 2.0, baseline - fm.ascent(), tw, fm.height());
    p->fillRect(box, back);
    p->drawText(QPointF(box.left(), baseline), timeText);
    const double vx = std::max(a.x(), b.x()) + 10;
    const double vy = (a.y() + b.y()) / 2.0 + (fm.ascent() - fm.descent()) / 2.0;
    box = QRectF(vx, vy - fm.ascent(), fm.horizontalAdvance(voltText), fm.height());
    p->fillRect(box, back);
    p->drawText(QPointF(vx, vy), voltText);
    p->restore();
}
