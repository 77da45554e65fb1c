#include "report/signalgraphic.h"

#include "report/paperscale.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <vector>

namespace {

QFont labelFont()
{
    QFont f(QStringLiteral("Helvetica"));
    f.setPointSizeF(6.0);
    f.setBold(true);
    return f;
}

double rTimeOf(const Beat& b)
{
    return b.hasTiming(Beat::RTime) ? b.rInstant() : b.windowStartTime() + 0.2;
}

} // namespace

void paintTrace(QPainter* painter, SignalSource* source, int channel, double startSample,
    qint64 count, double x0, double pxPerSample, double y0, double pxPerUnit)
{
    if (!source || count < 1 || pxPerSample <= 0.0)
        return;
    const qint64 first = qint64(std::floor(startSample));
    std::vector<double> v(size_t(count + 1));
    source->readSamples(channel, first, count + 1, v.data());
    const double shift = (double(first) - startSample) * pxPerSample;
    auto yOf = [&](double s) { return y0 - s * pxPerUnit; };
    QPainterPath path;
    if (pxPerSample >= 1.0) {
        path.moveTo(x0 + shift, yOf(v[0]));
        for (qint64 i = 1; i <= count; ++i)
            path.lineTo(x0 + shift + i * pxPerSample, yOf(v[size_t(i)]));
    } else {
        // Several samples per pixel column: one vertical stroke per column, joined.
        const double samplesPerPx = 1.0 / pxPerSample;
        const int columns = int(std::ceil(count * pxPerSample));
        double lastY = yOf(v[0]);
        path.moveTo(x0 + shift, lastY);
        for (int c = 0; c < columns; ++c) {
            const qint64 a = qint64(c * samplesPerPx);
            const qint64 b = qMin(count, qint64((c + 1) * samplesPerPx));
            if (a >= b)
                continue;
            double lo = v[size_t(a)];
            double hi = lo;
            for (qint64 i = a; i < b; ++i) {
                lo = qMin(lo, v[size_t(i)]);
                hi = qMax(hi, v[size_t(i)]);
            }
            const double x = x0 + shift + c;
            path.lineTo(x, yOf(v[size_t(a)]));
            path.moveTo(x, yOf(lo));
            path.lineTo(x, yOf(hi));
            lastY = yOf(v[size_t(b - 1)]);
            path.moveTo(x, lastY);
        }
    }
    painter->drawPath(path);
}

SignalGraphic::SignalGraphic(QObject* parent)
    : QObject(parent)
{
}

void SignalGraphic::paint(QPainter* painter, const QRect& bounds) const
{
    const double pxPerMm = PaperScale(painter->device()).pixelsPerMillimetre();
    const double margin = kMarginMm * pxPerMm;
    const QRectF strip(
        bounds.left() + margin, bounds.top(), bounds.width() - margin, bounds.height());
    if (strip.width() <= 0 || strip.height() <= 0)
        return;
    const double pxPerSecond = m_speed * pxPerMm;
    const double seconds = strip.width() / pxPerSecond;

    painter->save();
    painter->fillRect(strip, Qt::white);
    if (m_showGrid)
        paintGrid(painter, strip, pxPerMm);

    QVector<int> shown;
    if (m_source) {
        for (int c = 0; c < m_source->channelCount(); ++c) {
            if (m_channels & (1u << c))
                shown.append(c);
        }
    }
    const double share = shown.isEmpty() ? strip.height() : strip.height() / shown.size();
    const double pxPerMv = m_amplitude * pxPerMm;
    QPen tracePen(Qt::black, 0.2 * pxPerMm);
    tracePen.setCapStyle(Qt::FlatCap);
    for (int i = 0; i < shown.size(); ++i) {
        const double zeroY = strip.top() + share * (i + 0.5);
        if (m_showScale) {
            // A 1 mV calibration pulse in the left margin.
            painter->setPen(tracePen);
            const double x0 = bounds.left() + 1.0 * pxPerMm;
            const double x1 = bounds.left() + 4.0 * pxPerMm;
            const QPointF pts[] = { { x0, zeroY }, { x0, zeroY - pxPerMv }, { x1, zeroY - pxPerMv },
                { x1, zeroY } };
            painter->drawPolyline(pts, 4);
        }
        painter->save();
        painter->setClipRect(strip);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(tracePen);
        const int rate = m_source->samplingRate();
        paintTrace(painter, m_source, shown[i], m_startTime * rate,
            qint64(std::ceil(seconds * rate)), strip.left(), pxPerSecond / rate, zeroY,
            m_source->gainStep() * pxPerMv);
        painter->restore();
        if (m_showLabels) {
            painter->setFont(labelFont());
            painter->setPen(Qt::gray);
            const QString name = QString::fromUtf8(m_source->channel(shown[i])->name());
            painter->drawText(
                QRectF(strip.left() + pxPerMm, strip.top() + share * i, strip.width() / 4, share),
                Qt::AlignLeft | Qt::AlignTop, name);
        }
    }
    paintBeats(painter, strip, pxPerMm);
    painter->restore();
}

void SignalGraphic::paintGrid(QPainter* painter, const QRectF& strip, double pxPerMm) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, false);
    const int cols = int(strip.width() / pxPerMm);
    const int rows = int(strip.height() / pxPerMm);
    QVector<QPointF> dots;
    dots.reserve((cols + 1) * (rows + 1));
    for (int r = 0; r <= rows; ++r) {
        for (int c = 0; c <= cols; ++c)
            dots.append(QPointF(strip.left() + c * pxPerMm, strip.top() + r * pxPerMm));
    }
    painter->setPen(QPen(Qt::gray, 0.15 * pxPerMm));
    painter->drawPoints(dots.constData(), dots.size());
    painter->setPen(QPen(Qt::gray, 0.2 * pxPerMm));
    for (int c = 0; c <= cols; c += 5) {
        const double x = strip.left() + c * pxPerMm;
        painter->drawLine(QPointF(x, strip.top()), QPointF(x, strip.bottom()));
    }
    for (int r = 0; r <= rows; r += 5) {
        const double y = strip.top() + r * pxPerMm;
        painter->drawLine(QPointF(strip.left(), y), QPointF(strip.right(), y));
    }
    painter->restore();
}

double SignalGraphic::meanHeartRate(double seconds) const
{
    if (!m_beats)
        return 0.0;
    Beat b;
    if (!m_beats->nearest(m_startTime, b))
        return 0.0;
    double sum = 0.0;
    int n = 0;
    for (int i = b.index; m_beats->get(i, b); ++i) {
        const double t = rTimeOf(b);
        if (t < m_startTime)
            continue;
        if (t >= m_startTime + seconds)
            break;
        if (b.isBeat && b.rr() > 0.0 && b.rr() < 2.0) {
            sum += b.rr();
            ++n;
        }
    }
    return n > 0 ? 60.0 / (sum / n) : 0.0;
}

void SignalGraphic::paintBeats(QPainter* painter, const QRectF& strip, double pxPerMm) const
{
    const double pxPerSecond = m_speed * pxPerMm;
    const double seconds = strip.width() / pxPerSecond;
    painter->setFont(labelFont());
    painter->setPen(Qt::gray);
    const QFontMetricsF fm(painter->font(), painter->device());
    Beat b;
    if (m_beats && m_beats->nearest(m_startTime, b)) {
        for (int i = b.index; m_beats->get(i, b); ++i) {
            const double t = rTimeOf(b);
            if (t < m_startTime)
                continue;
            if (t >= m_startTime + seconds)
                break;
            if (!b.isBeat)
                continue;
            const double x = strip.left() + (t - m_startTime) * pxPerSecond;
            if (m_showLabels) {
                const QString mark = QString::fromLatin1(BeatTypeNames::name(b.type));
                painter->drawText(QRectF(x - 10 * pxPerMm, strip.top(), 20 * pxPerMm, fm.height()),
                    Qt::AlignHCenter | Qt::AlignTop, mark);
            }
            if (b.rr() > 0.0 && b.rr() < 2.0) {
                const double mid = x - b.rr() / 2.0 * pxPerSecond;
                if (mid > strip.left()) {
                    painter->drawText(QRectF(mid - 10 * pxPerMm, strip.bottom() - fm.height(),
                                          20 * pxPerMm, fm.height()),
                        Qt::AlignHCenter | Qt::AlignBottom,
                        QString::number(qRound(b.rr() * 1000.0)));
                }
            }
        }
    }
    if (!m_caption.isEmpty()) {
        const double hr = meanHeartRate(seconds);
        const QString text = m_caption.contains(QLatin1String("%1"))
            ? m_caption.arg(hr > 0.0 ? QString::number(hr, 'f', 0) : QStringLiteral("-"))
            : m_caption;
        painter->drawText(strip.adjusted(0, 0, -pxPerMm, 0), Qt::AlignRight | Qt::AlignTop, text);
    }
}
