#include "analysis/memorybeatlist.h"
#include "display/browsestrippainter.h"
#include "report/signalgraphic.h"
#include "tests/report/reporttestutil.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

// The screen strip and the printed strip draw their traces through the same routine: drawn with
// the same style at the same scale on the same device, their traces are the same pixels.
namespace {

using reporttest::FunctionSource;

constexpr int kRate = 250;
constexpr int kWidthMm = 150;
constexpr int kHeightMm = 60;
constexpr double kStartSeconds = 4.3;

// Three leads of a spiky wave: a QRS-like spike every 0.8 s over a slow sine, each lead its own
// sign and size, so that columns and polylines both have steep edges to draw.
qint16 lead(int channel, qint64 i)
{
    const double t = double(i) / kRate;
    const double phase = std::fmod(t, 0.8);
    const double spike = phase < 0.04 ? 1.0 - std::fabs(phase - 0.02) / 0.02 : 0.0;
    const double mv = (channel == 1 ? -1.2 : 1.0 + 0.3 * channel) * spike
        + 0.2 * std::sin(2.0 * M_PI * 0.3 * t + channel);
    return qint16(std::lround(mv * 16384.0)); // 4 mV over 16 bits
}

std::unique_ptr<FunctionSource> threeLeads()
{
    auto s = std::make_unique<FunctionSource>(3, kRate, 60 * kRate, lead);
    s->setGainRange(-2.0, 2.0);
    return s;
}

QImage sheet(int dotsPerMetre)
{
    QImage img(
        kWidthMm * dotsPerMetre / 1000, kHeightMm * dotsPerMetre / 1000, QImage::Format_RGB32);
    img.setDotsPerMeterX(dotsPerMetre);
    img.setDotsPerMeterY(dotsPerMetre);
    img.fill(Qt::white);
    return img;
}

struct Scale
{
    double speedMmPerSecond;
    double gainMmPerMillivolt;
    int dotsPerMetre;
};

class ScreenAndPaperStrip : public ::testing::TestWithParam<Scale>
{
protected:
    // Everything but the traces drawn in a clear colour.
    static BrowseStripPainter::Scene scene(SignalSource* source, BeatList* beats)
    {
        BrowseStripPainter::Scene s;
        s.signal = source;
        s.beats = beats;
        s.showInsertionPoints = false;
        s.channelBaseline = QVector<int>(SignalSource::kMaxChannels, 0);
        for (int id : { BrowseStripPainter::LabelColor, BrowseStripPainter::BeatMarkColor,
                 BrowseStripPainter::SelectionColor })
            s.colors[id] = Qt::transparent;
        return s;
    }

    QImage screen(const BrowseStripPainter::Scene& s) const
    {
        QImage img = sheet(GetParam().dotsPerMetre);
        const BrowseStripLayout layout = BrowseStripPainter::layoutFor(&img, s, kStartSeconds,
            GetParam().speedMmPerSecond, GetParam().gainMmPerMillivolt, 0.0, { 0, 1, 2 }, 0);
        QPainter p(&img);
        BrowseStripPainter::paintContent(&p, layout, s);
        return img;
    }

    // The printed strip in the screen's trace style, its left margin pushed off the sheet so
    // that both strips start at x = 0.
    QImage paper(const BrowseStripPainter::Scene& s) const
    {
        SignalGraphic g;
        g.setSource(s.signal);
        g.setBeats(s.beats);
        g.setChannels(0x7);
        g.setShowGrid(false);
        g.setShowLabels(false);
        g.setShowScale(false);
        g.setStartTime(kStartSeconds);
        g.setSpeed(GetParam().speedMmPerSecond);
        g.setAmplitude(GetParam().gainMmPerMillivolt);
        g.setTraceStyle(BrowseStripPainter::traceStyle(s));
        QImage img = sheet(GetParam().dotsPerMetre);
        const int marginPx
            = int(std::lround(SignalGraphic::kMarginMm * GetParam().dotsPerMetre / 1000.0));
        QPainter p(&img);
        g.paint(&p, QRect(-marginPx, 0, img.width() + marginPx, img.height()));
        return img;
    }
};

int countWhere(const QImage& img, const std::function<bool(QRgb)>& f, int fromY = 0, int toY = -1)
{
    int n = 0;
    for (int y = fromY; y < (toY < 0 ? img.height() : toY); ++y) {
        for (int x = 0; x < img.width(); ++x)
            n += f(img.pixel(x, y)) ? 1 : 0;
    }
    return n;
}

int differing(const QImage& a, const QImage& b, const std::function<bool(QRgb)>& which,
    int fromY = 0, int toY = -1)
{
    int n = 0;
    for (int y = fromY; y < (toY < 0 ? a.height() : toY); ++y) {
        for (int x = 0; x < a.width(); ++x)
            n += which(a.pixel(x, y)) != which(b.pixel(x, y)) ? 1 : 0;
    }
    return n;
}

bool notWhite(QRgb c)
{
    return c != qRgb(255, 255, 255);
}

bool red(QRgb c)
{
    return qRed(c) > 200 && qGreen(c) < 60 && qBlue(c) < 60;
}

} // namespace

TEST_P(ScreenAndPaperStrip, TracesAreTheSamePixels)
{
    auto source = threeLeads();
    const BrowseStripPainter::Scene s = scene(source.get(), nullptr);
    const QImage onScreen = screen(s);
    const QImage onPaper = paper(s);
    ASSERT_EQ(onScreen.size(), onPaper.size());
    // Three leads with a spike every 0.8 s leave plenty of ink; an empty strip would match too.
    const int ink = countWhere(onScreen, notWhite);
    EXPECT_GT(ink, onScreen.width() * 3);
    EXPECT_EQ(countWhere(onPaper, notWhite), ink);
    EXPECT_EQ(differing(onScreen, onPaper, [](QRgb c) { return c; }), 0);
}

// With beats both strips colour the ventricular beat alike. Their beat labels differ by design:
// the screen writes its letters in the top band and the paper its intervals in the bottom one,
// so only the bands between are compared.
TEST_P(ScreenAndPaperStrip, VentricularBeatsTakeTheSameRedPixels)
{
    auto source = threeLeads();
    MemoryBeatList beats;
    for (int i = 0; i < 20; ++i) {
        Beat b;
        b.index = i;
        const double r = 0.02 + 0.8 * i;
        b.windowStart = r - 0.2;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, r);
        if (i > 0)
            b.setTiming(Beat::RR, 0.8);
        b.type = i == 6 ? BeatV : BeatN; // at 4.82 s, on the strip at every scale
        b.isBeat = true;
        beats.append(b);
    }
    const BrowseStripPainter::Scene s = scene(source.get(), &beats);
    const QImage onScreen = screen(s);
    const QImage onPaper = paper(s);
    const double pxPerMm = GetParam().dotsPerMetre / 1000.0;
    const int top = int(10 * pxPerMm);
    const int bottom = int((kHeightMm - 10) * pxPerMm);
    EXPECT_GT(countWhere(onScreen, red, top, bottom), onScreen.height() / 10);
    EXPECT_EQ(differing(onScreen, onPaper, red, top, bottom), 0);
}

// At 250 Hz and 4 px/mm, 25 and 50 mm/s put several samples in a pixel column (2.5 and 1.25)
// and 100 mm/s spreads them over the pixels; 12 px/mm is a printer's page.
INSTANTIATE_TEST_SUITE_P(Scales, ScreenAndPaperStrip,
    ::testing::Values(Scale { 25, 10, 4000 }, Scale { 50, 5, 4000 }, Scale { 100, 20, 4000 },
        Scale { 25, 10, 12000 }),
    [](const ::testing::TestParamInfo<Scale>& info) {
        return QStringLiteral("speed%1_gain%2_dpm%3")
            .arg(info.param.speedMmPerSecond)
            .arg(info.param.gainMmPerMillivolt)
            .arg(info.param.dotsPerMetre)
            .toStdString();
    });
