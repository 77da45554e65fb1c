// The workstation's launcher processing a simulated day in the background: how long the run
// takes through the window, and how responsive the window's event loop stays meanwhile (the
// longest gap between two turns of the main thread's loop).
//   bench_launcher [hours [card-folder]]

#include "bench/benchstudy.h"
#include "shell/launcherdialogs.h"
#include "shell/mainwindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

// Downloads the simulated card and accepts the default options.
class BenchDialogs : public LauncherDialogs
{
public:
    BenchDialogs(QString card, double hours)
        : m_card(std::move(card))
        , m_hours(hours)
    {
    }
    void download(
        QWidget*, StudyRepository& repository, const std::function<void(int)>& downloaded) override
    {
        downloaded(bench::importSimulatedDay(repository, m_card, m_hours));
    }
    std::optional<ProcessingOptions> preprocess(QWidget*, StudyRepository&, Study*, bool) override
    {
        return ProcessingOptions();
    }
    std::optional<int> chooseStudy(QWidget*, StudyRepository&) override { return std::nullopt; }
    void configure(QWidget*) override { }

private:
    QString m_card;
    double m_hours;
};

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir temp;
    qputenv("XDG_CONFIG_HOME", temp.filePath("config").toUtf8()); // no user settings
    QApplication app(argc, argv);
    double hours = 0.0;
    QString card;
    if (const int status = bench::startDay(argc, argv, "bench_launcher", temp, hours, card))
        return status;
    bench::ensureSimulatedCard(card, hours);

    StudyRepository::Options options;
    options.rootOverride = temp.filePath("store");
    MainWindow window(options);
    window.setDialogs(std::make_unique<BenchDialogs>(card, hours));
    window.show();
    if (!QTest::qWaitFor([&] { return window.isStarted(); }, 10000) || !window.repository()) {
        std::fprintf(stderr, "bench_launcher: the window did not start\n");
        return 1;
    }

    QSignalSpy finished(&window, &MainWindow::processingFinished);
    QElapsedTimer clock;
    qint64 lastTurn = -1, longestGapMs = 0, longestGapEndMs = 0;
    bool measuring = false;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        const qint64 now = clock.elapsed();
        if (measuring && lastTurn >= 0 && now - lastTurn > longestGapMs) {
            longestGapMs = now - lastTurn;
            longestGapEndMs = now;
        }
        lastTurn = now;
    });
    tick.start(1);
    clock.start();

    QElapsedTimer download;
    download.start();
    // The click returns once the card is in the store and the run has been started.
    window.findChild<QPushButton*>("btnDownloadStudy")->click();
    const qint64 downloadMs = download.elapsed();
    if (window.processingStudyId() == 0) {
        std::fprintf(stderr, "bench_launcher: processing did not start\n");
        return 1;
    }
    QElapsedTimer run;
    run.start();
    const qint64 runStartMs = clock.elapsed();
    lastTurn = clock.elapsed();
    measuring = true;
    while (finished.isEmpty())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    measuring = false;
    const qint64 runMs = run.elapsed();
    const auto outcome = finished.first().at(1).value<ProcessingOutcome>();
    std::printf(
        "launcher, %.0f h card: import %lld ms, processing through the window %lld ms "
        "(%s), longest gap of the main loop while processing %lld ms, ending %lld ms into the run "
        "(goal <= 50 ms)\n",
        hours, static_cast<long long>(downloadMs), static_cast<long long>(runMs),
        outcome == ProcessingOutcome::Done ? "done" : "NOT done",
        static_cast<long long>(longestGapMs), static_cast<long long>(longestGapEndMs - runStartMs));
    return outcome == ProcessingOutcome::Done ? 0 : 1;
}
