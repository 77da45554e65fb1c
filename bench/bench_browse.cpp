// The review's ECG displays on a processed synthetic day of three leads at 500 Hz: rebuilding a
// 1920 x 400 strip (goal: median <= 10 ms), paging through the whole day key by key, and one
// full-disclosure page of 15 rows x 30 s (goal <= 30 ms). Memory must not grow with the
// recording's length: run with a shorter day to compare the peaks.
//   bench_browse [hours]   (default 24)

#include "benchutil.h"
#include "review/qsignalbrowsedisplay.h"
#include "review/qsignalcompresseddisplay.h"
#include "tests/report/holterreportstudy.h"

#include <QApplication>
#include <QPixmap>
#include <QScrollBar>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const double hours = argc > 1 ? std::atof(argv[1]) : 24.0;
    const double seconds = hours * 3600.0;
    auto study = reportstudy::makeStudy(seconds);
    bench::resetPeakRss();
    const double baseMb = bench::peakRssMb();
    std::mt19937 random(7);

    QSignalBrowseDisplay strip;
    strip.setSignal(study->signal());
    strip.setBeats(study->beats());
    strip.resize(1920, 400 + strip.scrollBarWidget()->sizeHint().height());
    strip.show();
    QApplication::processEvents();
    const QSize size = strip.strip().size();
    const double v = strip.visibleSeconds();

    std::vector<double> rebuilds;
    std::uniform_real_distribution<double> anywhere(0.0, seconds - v);
    for (int i = 0; i < 200; ++i) {
        strip.setStartTime(anywhere(random));
        bench::Stopwatch t;
        strip.strip();
        rebuilds.push_back(t.seconds() * 1000.0);
    }
    const double rebuildMs = median(rebuilds);

    strip.setStartTime(0.0);
    int pages = 0;
    double worstPageMs = 0.0;
    bench::Stopwatch day;
    while (strip.startTime() < strip.scrollBarWidget()->maximum() / 100.0) {
        bench::Stopwatch t;
        QTest::keyClick(&strip, Qt::Key_PageDown);
        strip.strip();
        worstPageMs = std::max(worstPageMs, t.seconds() * 1000.0);
        ++pages;
    }
    const double daySeconds = day.seconds();

    QSignalCompressedDisplay page;
    page.setSignal(study->signal());
    page.setBeats(study->beats());
    page.setRows(15);
    page.setRowSeconds(30.0);
    page.resize(1200 + page.scrollBarWidget()->sizeHint().width(), 720);
    page.show();
    QApplication::processEvents();
    std::vector<double> pagesMs;
    std::uniform_real_distribution<double> anyPage(0.0, seconds - 15 * 30.0);
    for (int i = 0; i < 50; ++i) {
        page.setStartTime(anyPage(random));
        bench::Stopwatch t;
        page.page();
        pagesMs.push_back(t.seconds() * 1000.0);
    }
    const double pageMs = median(pagesMs);

    std::printf("review displays on %.0f h, 3 leads at %d Hz\n", hours, reportstudy::kRate);
    std::printf("  strip %dx%d px, %.2f s visible: rebuild median %.2f ms (goal <= 10 ms) %s\n",
        size.width(), size.height(), v, rebuildMs, rebuildMs <= 10.0 ? "ok" : "SLOW");
    std::printf("  paging the whole recording: %d pages in %.2f s, worst page %.2f ms\n", pages,
        daySeconds, worstPageMs);
    std::printf("  full disclosure 15 x 30 s, %dx%d px: median %.2f ms, worst %.2f ms (goal <= "
                "30 ms) %s\n",
        page.page().width(), page.page().height(), pageMs,
        *std::max_element(pagesMs.begin(), pagesMs.end()), pageMs <= 30.0 ? "ok" : "SLOW");
    std::printf("  memory: %.0f MB before drawing, peak %.0f MB while drawing\n", baseMb,
        bench::peakRssMb());
    return 0;
}
