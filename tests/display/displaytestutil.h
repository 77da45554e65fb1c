#pragma once

#include "analysis/memorybeatlist.h"
#include "tests/analysis/memorysource.h"

#include <QImage>

#include <functional>
#include <memory>
#include <vector>

// Helpers shared by the drawing tests: sources, beats and measurements on images.
namespace displaytest {

// One channel at `rate` whose sample i is f(i); a gain range of 4 mV over 16 bits makes 16384
// units one millivolt.
inline std::unique_ptr<MemorySource> functionSource(
    int rate, qint64 samples, const std::function<qint16(qint64)>& f)
{
    std::vector<qint16> v(static_cast<size_t>(samples));
    for (qint64 i = 0; i < samples; ++i)
        v[size_t(i)] = f(i);
    auto s = std::make_unique<MemorySource>(rate, 1024, std::vector<std::vector<qint16>> { v });
    s->setGainRange(-2.0, 2.0);
    return s;
}
constexpr qint16 kOneMillivolt = 16384;

// A beat at R time `seconds`; `rr` 0 leaves the interval unset.
inline Beat beatAt(int index, double seconds, int type, double rr = 0.0, bool real = true)
{
    Beat b;
    b.index = index;
    b.windowStart = seconds - 0.2;
    b.windowLength = 0.5;
    b.setTiming(Beat::RTime, seconds);
    if (rr > 0.0)
        b.setTiming(Beat::RR, rr);
    b.type = type;
    b.isBeat = real;
    return b;
}

// A white image of `widthMm` by `heightMm` at `dotsPerMetre`, whose widthMM() is exact.
inline QImage paper(int widthMm, int heightMm, int dotsPerMetre)
{
    QImage img(widthMm * dotsPerMetre / 1000, heightMm * dotsPerMetre / 1000, QImage::Format_RGB32);
    img.setDotsPerMeterX(dotsPerMetre);
    img.setDotsPerMeterY(dotsPerMetre);
    img.fill(Qt::white);
    return img;
}

inline bool dark(QRgb c)
{
    return qRed(c) < 100 && qGreen(c) < 100 && qBlue(c) < 100;
}
inline bool grayish(QRgb c)
{
    return qRed(c) < 230 && qRed(c) > 100 && qAbs(qRed(c) - qBlue(c)) < 20;
}
inline bool reddish(QRgb c)
{
    return qRed(c) > 180 && qGreen(c) < 80 && qBlue(c) < 80;
}
inline bool bluish(QRgb c)
{
    return qBlue(c) > 180 && qRed(c) < 80 && qGreen(c) < 80;
}
inline bool notWhite(QRgb c)
{
    return c != qRgb(255, 255, 255);
}

// Centres of the runs of pixels along a row (or a column) that satisfy `pick`, in [from, to).
inline QVector<double> runCentres(const QImage& img, bool alongRow, int fixed, int from, int to,
    const std::function<bool(QRgb)>& pick)
{
    QVector<double> centres;
    int start = -1;
    for (int i = from; i <= to; ++i) {
        const bool on = i < to && pick(alongRow ? img.pixel(i, fixed) : img.pixel(fixed, i));
        if (on && start < 0)
            start = i;
        if (!on && start >= 0) {
            centres.append((start + i - 1) / 2.0);
            start = -1;
        }
    }
    return centres;
}

// Pixels satisfying `pick` inside a rectangle.
inline int countPixels(const QImage& img, const QRect& r, const std::function<bool(QRgb)>& pick)
{
    int n = 0;
    const QRect inside = r.intersected(img.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        for (int x = inside.left(); x <= inside.right(); ++x)
            n += pick(img.pixel(x, y)) ? 1 : 0;
    return n;
}

} // namespace displaytest
