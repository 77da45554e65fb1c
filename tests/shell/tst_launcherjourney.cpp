// A technician's road through the real windows: the card found on a volume, the download
// form filled in, the copy, the card kept, the run's options accepted, and the study
// processed in the background.

#include "recorder/removablevolumes.h"
#include "shell/launcherdialogs.h"
#include "shell/mainwindow.h"
#include "store/beatlist.h"
#include "store/studystatus.h"
#include "tests/shell/launchertestutil.h"
#include "tests/support/testsupport.h"

#include <QDateTimeEdit>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace {

// Plays the user in whichever modal window is up: fills in and starts the download, keeps the
// card, accepts the run's options. Records what it saw.
class User
{
public:
    User()
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { act(); });
        m_timer.start(10);
    }
    QStringList seen;

private:
    void act()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal)
            return;
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            seen << box->text();
            clickLater(box->button(QMessageBox::No) ? box->button(QMessageBox::No)
                                                    : box->buttons().value(0));
            return;
        }
        const QString kind = modal->metaObject()->className();
        if (kind == "DownloadDialog") {
            auto* download = modal->findChild<QPushButton*>("btnDownload");
            auto* last = modal->findChild<QLineEdit*>("txtLastName");
            if (!last->isEnabled()
                || !modal->findChild<QLabel*>("lblMessage")->text().contains("Enter"))
                return; // copying, or the card not found yet
            if (last->text().isEmpty()) {
                seen << kind;
                QTest::keyClicks(last, "Paz");
                QTest::keyClicks(modal->findChild<QLineEdit*>("txtFirstName"), "Eva");
                modal->findChild<QDateTimeEdit*>("studyDateTime")
                    ->setDateTime(QDateTime(QDate(2026, 11, 20), QTime(9, 0)));
            }
            if (download->isEnabled())
                clickLater(download);
        } else if (kind == "OpenStudyDialog") {
            seen << kind;
            auto* tree = modal->findChild<QTreeWidget*>("treeStudies");
            tree->setCurrentItem(tree->topLevelItem(0));
            clickLater(
                modal->findChild<QDialogButtonBox*>("buttonBox")->button(QDialogButtonBox::Ok));
        } else if (kind == "PreprocessDialog") {
            seen << kind;
            clickLater(modal->findChild<QPushButton*>("btnApply"));
        }
    }

    // A click that opens a modal window runs a nested loop, in which this timer would not
    // fire again; the click is posted so that the timer's slot returns first.
    static void clickLater(QAbstractButton* button)
    {
        QMetaObject::invokeMethod(button, "click", Qt::QueuedConnection);
    }

    QTimer m_timer;
};

TEST(LauncherJourney, CardOnAVolumeBecomesAProcessedStudyThroughTheRealDialogs)
{
    testsupport::TempRoot temp;
    launchertest::simulateCard(temp.file("card"), 3.0);
    StudyRepository::Options options;
    options.rootOverride = temp.file("store");
    MainWindow window(options);
    const QString card = temp.file("card");
    window.setDialogs(makeLauncherDialogs(
        [card] { return std::make_unique<FolderVolumes>(QStringList { card }); }));
    window.show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.isStarted(); }, 5000));
    QSignalSpy finished(&window, &MainWindow::processingFinished);

    User user;
    QTest::mouseClick(window.findChild<QPushButton*>("btnDownloadStudy"), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return finished.count() > 0; }, 60000))
        << user.seen.join(" | ").toStdString();
    EXPECT_EQ(finished[0][1].value<ProcessingOutcome>(), ProcessingOutcome::Done);
    EXPECT_TRUE(user.seen.contains("DownloadDialog"));
    EXPECT_TRUE(user.seen.contains("PreprocessDialog"));
    EXPECT_TRUE(user.seen.contains("Study has been downloaded. Delete from memory card?"));
    EXPECT_TRUE(QFileInfo::exists(temp.file("card/HECG.VTF"))) << "the card was kept on No";

    const QList<StudyInfo> studies = window.repository()->listStudies();
    ASSERT_EQ(studies.size(), 1);
    EXPECT_EQ(studies[0].patientLastName, QByteArray("Paz"));
    EXPECT_EQ(studies[0].status, QByteArray(StudyStatus::Processed));
    Study* study = window.repository()->openStudy(studies[0].id);
    ASSERT_NE(study, nullptr);
    EXPECT_GT(study->beats()->count(), 150);
    window.repository()->closeStudy(study);

    // Opened again from the browser: processed, so it goes to review.
    QTest::mouseClick(window.findChild<QPushButton*>("btnOpenStudy"), Qt::LeftButton);
    EXPECT_TRUE(user.seen.contains("OpenStudyDialog"));
    EXPECT_TRUE(user.seen.last().startsWith("The study is ready for review"))
        << user.seen.join(" | ").toStdString();
    EXPECT_FALSE(window.repository()->isStudyOpen(studies[0].id));
}

} // namespace
