// A simulated day's memory card copied into a new study through the download dialog, the way a
// technician does it: the card found on a "removable volume" (a temporary folder), the form
// filled, Download pressed, the delete question answered No. Timed from the click to the
// question, with the progress bar and the event loop running after every block; the bare
// importCard on the same card is timed beside it. Goal: 24 hours in 2 s or less.
//   bench_download [hours [card-folder]]   (default 24)

#include "benchcard.h"
#include "benchstudy.h"
#include "benchutil.h"
#include "recorder/downloaddialog.h"

#include <QApplication>
#include <QDateTimeEdit>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir temp;
    double hours = 0.0;
    QString card;
    if (const int status = bench::startDay(argc, argv, "bench_download", temp, hours, card))
        return status;
    try {
        bench::ensureSimulatedCard(card, hours);
        auto store = bench::openStore(temp.filePath("store"));

        DownloadDialog dialog(
            *store, nullptr, std::make_unique<FolderVolumes>(QStringList { card }));
        dialog.show();
        if (!QTest::qWaitFor([&] { return !dialog.folder().isEmpty(); }, 5000))
            throw std::runtime_error("the dialog did not find the card");
        dialog.findChild<QLineEdit*>("txtLastName")->setText("Bench");
        dialog.findChild<QLineEdit*>("txtFirstName")->setText("Day");
        // The date's signal runs the form check, which enables Download.
        dialog.findChild<QDateTimeEdit*>("studyDateTime")
            ->setDateTime(QDateTime(QDate(2026, 1, 15), QTime(9, 0)));
        auto* download = dialog.findChild<QPushButton*>("btnDownload");
        if (!download->isEnabled())
            throw std::runtime_error("the form was not taken as complete");

        QSignalSpy downloaded(&dialog, &DownloadDialog::downloaded);
        double copySeconds = -1.0;
        bench::Stopwatch clock;
        QTimer answer;
        QObject::connect(&answer, &QTimer::timeout, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box)
                return;
            if (copySeconds < 0.0)
                copySeconds = clock.seconds();
            if (QAbstractButton* no = box->button(QMessageBox::No))
                no->click();
            else
                box->accept(); // an error: reported below
        });
        answer.start(1);
        bench::resetPeakRss();
        clock = bench::Stopwatch();
        download->click();
        if (downloaded.count() != 1)
            throw std::runtime_error("the copy failed");
        const double peakMb = bench::peakRssMb();

        bench::Stopwatch bare;
        bench::importSimulatedDay(*store, card, hours);
        const double bareSeconds = bare.seconds();

        std::printf("download dialog, %.1f h card (%lld blocks)\n", hours, qlonglong(hours * 900));
        std::printf("  through the dialog: %.2f s (goal <= %.1f s) %s, peak RSS %.0f MB\n",
            copySeconds, 2.0 * hours / 24.0, copySeconds <= 2.0 * hours / 24.0 ? "ok" : "SLOW",
            peakMb);
        std::printf("  importCard alone:   %.2f s\n", bareSeconds);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_download: %s\n", e.what());
        return 1;
    }
    return 0;
}
